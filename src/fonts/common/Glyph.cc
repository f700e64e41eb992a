#include "fonts/common/Glyph.h"

namespace FONT
{

void CGlyph::Clear()
{
  m_dX = m_dY = m_dWidth = 0;
  m_bOpen = m_bMoved = false;
  m_segments.Truncate(0);
  m_stems.Truncate(0);
  m_masks.Truncate(0);
  m_counters.Truncate(0);
}

void CGlyph::MoveBy(double dX, double dY)
{
  m_dX += dX;
  m_dY += dY;
  m_bOpen = false;
  m_bMoved = true;
}

void CGlyph::SetPoint(double dX, double dY)
{
  m_dX = dX;
  m_dY = dY;
}

// A move that draws nothing leaves no trace.
void CGlyph::Open()
{
  if (!m_bOpen)
    m_segments.Add({TSegment::eMove, 0, {0, 0, 0, 0, m_dX, m_dY}});
  m_bOpen = true;
  m_bMoved = false;
}

void CGlyph::LineBy(double dX, double dY)
{
  Open();
  m_dX += dX;
  m_dY += dY;
  m_segments.Add({TSegment::eLine, 0, {0, 0, 0, 0, m_dX, m_dY}});
}

void CGlyph::CurveBy(double dX1, double dY1, double dX2, double dY2, double dX3, double dY3, bool bFlex)
{
  Open();
  TSegment segment{TSegment::eCurve, bFlex ? 1 : 0, {m_dX + dX1, m_dY + dY1}};
  segment.m_d[2] = segment.m_d[0] + dX2;
  segment.m_d[3] = segment.m_d[1] + dY2;
  segment.m_d[4] = m_dX = segment.m_d[2] + dX3;
  segment.m_d[5] = m_dY = segment.m_d[3] + dY3;
  m_segments.Add(segment);
}

int CGlyph::AddStem(bool bVertical, double dEdge, double dWidth)
{
  const TStem stem{bVertical, dEdge, dWidth};
  for (int i = 0; i < m_stems.GetSize(); ++i)
    if (m_stems[i] == stem)
      return i;
  return m_stems.GetSize() < TStemMask::g_nMaxStems ? m_stems.Add(stem) : -1;
}

void CGlyph::AddMask(const TStemMask& mask)
{
  // The contour begins with the stems that were in force before.
  if (m_bMoved)
    Open();
  // Of masks with nothing between them only the last one matters.
  const int nLast = m_segments.GetSize() - 1;
  if (nLast >= 0 && m_segments[nLast].m_nKind == TSegment::eHints)
  {
    m_masks[m_segments[nLast].m_nValue] = mask;
    return;
  }
  m_segments.Add({TSegment::eHints, m_masks.Add(mask), {0, 0, 0, 0, m_dX, m_dY}});
}

TStemMask CGlyph::GetAllStems() const
{
  TStemMask mask{};
  for (int i = 0; i < m_stems.GetSize(); ++i)
    mask.Set(i);
  return mask;
}

bool CGlyph::Append(const CGlyph& other, double dX, double dY)
{
  int numbers[TStemMask::g_nMaxStems] = {};
  const bool bHinted = m_stems.GetSize() > 0 || other.m_stems.GetSize() > 0;
  if (bHinted && m_masks.IsEmpty() && m_segments.GetSize() > 0)
  {
    m_segments.InsertAt(0, {TSegment::eHints, m_masks.GetSize(), {}});
    m_masks.Add(GetAllStems());
  }
  for (int i = 0; i < other.m_stems.GetSize(); ++i)
  {
    const TStem& stem = other.m_stems[i];
    numbers[i] = AddStem(stem.m_bVertical, stem.m_dEdge + (stem.m_bVertical ? dX : dY), stem.m_dWidth);
    if (numbers[i] < 0)
      return false;
  }
  const auto Renumber = [&](const TStemMask& mask)
  {
    TStemMask result{};
    for (int i = 0; i < other.m_stems.GetSize(); ++i)
      if (mask.Has(i))
        result.Set(numbers[i]);
    return result;
  };
  if (bHinted)
    AddMask(Renumber(other.GetAllStems()));
  for (const TStemMask& mask : other.m_counters.GetSpan())
    AddCounters(Renumber(mask));
  for (TSegment segment : other.m_segments.GetSpan())
  {
    if (segment.m_nKind == TSegment::eHints)
    {
      AddMask(Renumber(other.m_masks[segment.m_nValue]));
      continue;
    }
    for (int i = 0; i < 6; i += 2)
    {
      segment.m_d[i] += dX;
      segment.m_d[i + 1] += dY;
    }
    m_segments.Add(segment);
  }
  m_dX = other.m_dX + dX;
  m_dY = other.m_dY + dY;
  m_bOpen = false;
  return true;
}

}  // namespace FONT
