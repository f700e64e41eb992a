#include "fonts/ttf/GlyphCheck.h"

#include "base/Limits.h"

namespace TTF
{

namespace
{

enum TState : unsigned char
{
  eNew,
  eOpen,
  eDone,
  eBad
};

constexpr int g_nMaxPoints = 0xFFFF;

}  // namespace

CGlyphChecker::CGlyphChecker(const CGlyf& glyf, Cmaxp& maxp, CFontLog& log)
    : m_glyf(glyf), m_maxp(maxp), m_log(log)
{
}

void CGlyphChecker::Raise(std::uint16_t& nLimit, int nValue, const char* szMessage, int nGlyph)
{
  if (nValue <= nLimit)
    return;
  m_log.Fault(szMessage, nGlyph);
  nLimit = BSE::ClampTo<std::uint16_t>(nValue);
  m_bRaised = true;
}

void CGlyphChecker::Refuse(int nGlyph)
{
  m_refused[nGlyph] = 1;
  m_bRefused = true;
}

void CGlyphChecker::CheckData(int nGlyph)
{
  const std::span<const unsigned char> data = m_glyf.GetGlyph(nGlyph);
  m_first.Add(m_components.GetSize());
  TGlyphShape shape;
  // A glyph that cannot be read to its end keeps its data, since other readers may make something of it.
  if (!MeasureGlyph(data, shape))
    m_log.Fault(shape.m_bComposite ? "Invalid composite glyph %d" : "Unable to load glyph %d.", nGlyph);
  else if (!data.empty() && !shape.m_bComposite && shape.m_nContours == 0)
    m_log.Fault("Zero contour glyph.");
  TTotal& total = m_totals[nGlyph];
  total.m_nPoints = shape.m_nPoints;
  total.m_nContours = shape.m_nContours;
  Raise(m_maxp.m_nMaxSizeOfInstructions, shape.m_nInstructions,
        "Instruction length > maxSizeOfInstructions.");
  if (!shape.m_bComposite)
  {
    Raise(m_maxp.m_nMaxContours, shape.m_nContours, "Number of contours > maxContours.");
    Raise(m_maxp.m_nMaxPoints, shape.m_nPoints, "Number of points > maxPoints.");
    return;
  }
  Raise(m_maxp.m_nMaxComponentElements, shape.m_nComponents, "Number of components > maxComponentElements.");
  CComponentReader reader(data);
  TComponent component;
  for (int i = 0; reader.Next(component); ++i)
    if (component.m_nGlyph < m_glyf.GetGlyphCount())
      m_components.Add(component.m_nGlyph);
    else
      m_log.Fault("Invalid component %d: glyphIndex %d out of range.", i, component.m_nGlyph);
}

void CGlyphChecker::CheckAll()
{
  const int nGlyphs = m_glyf.GetGlyphCount();
  m_totals.SetSize(nGlyphs);
  m_refused.SetSize(nGlyphs);
  for (int i = 0; i < nGlyphs; ++i)
    CheckData(i);
  m_first.Add(m_components.GetSize());
  for (int i = 0; i < nGlyphs; ++i)
    Visit(i);
}

// Goes down on a stack of its own instead of recursing; each glyph is visited once, and each component once.
void CGlyphChecker::Visit(int nGlyph)
{
  if (m_totals[nGlyph].m_state != eNew)
    return;
  m_totals[nGlyph].m_state = eOpen;
  m_stack.Truncate(0);
  m_stack.Add({nGlyph, m_first[nGlyph]});
  while (!m_stack.IsEmpty())
    if (!VisitNext(m_stack[m_stack.GetSize() - 1]))
    {
      const int nDone = m_stack[m_stack.GetSize() - 1].m_nGlyph;
      m_stack.Truncate(m_stack.GetSize() - 1);
      Leave(nDone);
      if (!m_stack.IsEmpty())
        AddComponent(m_stack[m_stack.GetSize() - 1].m_nGlyph, nDone);
    }
}

// False when all components of the glyph on top are done.
bool CGlyphChecker::VisitNext(TFrame& frame)
{
  const int nGlyph = frame.m_nGlyph;
  if (frame.m_nComponent == m_first[nGlyph + 1])
    return false;
  const int nComponent = m_components[frame.m_nComponent++];
  TTotal& total = m_totals[nComponent];
  if (total.m_state == eNew)
  {
    total.m_state = eOpen;
    m_stack.Add({nComponent, m_first[nComponent]});
    return true;
  }
  if (total.m_state == eOpen)
    m_log.Fault("Infinite recursion of composite glyphs.");
  AddComponent(nGlyph, nComponent);
  return true;
}

void CGlyphChecker::AddComponent(int nGlyph, int nComponent)
{
  const TTotal& component = m_totals[nComponent];
  TTotal& total = m_totals[nGlyph];
  // A component on the stack is a glyph that contains itself, and so do all glyphs between.
  if (component.m_state != eDone)
    Refuse(nGlyph);
  total.m_nPoints = std::min(total.m_nPoints + component.m_nPoints, g_nMaxPoints + 1);
  total.m_nContours = std::min(total.m_nContours + component.m_nContours, g_nMaxPoints + 1);
  total.m_nDepth = std::max(total.m_nDepth, component.m_nDepth + 1);
}

void CGlyphChecker::Leave(int nGlyph)
{
  TTotal& total = m_totals[nGlyph];
  if (total.m_nDepth > BSE::g_nMaxComponentDepth || total.m_nPoints > g_nMaxPoints)
    Refuse(nGlyph);
  total.m_state = m_refused[nGlyph] != 0 ? eBad : eDone;
  if (total.m_state == eBad)
  {
    m_log.Fault("Invalid composite glyph %d", nGlyph);
    return;
  }
  if (total.m_nDepth == 0)
    return;
  Raise(m_maxp.m_nMaxComponentDepth, total.m_nDepth, "Component depth > maxComponentDepth.");
  Raise(m_maxp.m_nMaxComponentPoints, total.m_nPoints, "Number of componentPoints > maxComponentPoints.");
  Raise(m_maxp.m_nMaxComponentContours, total.m_nContours,
        "Invalid composite glyph %d: Number of componentContours > maxComponentContours.", nGlyph);
}

void CloseGlyphs(const CGlyf& glyf, BSE::CBasicArray<unsigned char>& used)
{
  used.SetSize(glyf.GetGlyphCount());
  BSE::CBasicArray<int> open;
  used[0] = 1;
  for (int i = 0; i < used.GetSize(); ++i)
    if (used[i] != 0)
      open.Add(i);
  while (!open.IsEmpty())
  {
    const int nGlyph = open[open.GetSize() - 1];
    open.Truncate(open.GetSize() - 1);
    CComponentReader reader(glyf.GetGlyph(nGlyph));
    TComponent component;
    while (reader.Next(component))
      if (component.m_nGlyph < used.GetSize() && used[component.m_nGlyph] == 0)
      {
        used[component.m_nGlyph] = 1;
        open.Add(component.m_nGlyph);
      }
  }
}

}  // namespace TTF
