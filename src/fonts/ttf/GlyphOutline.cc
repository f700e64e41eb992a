#include "base/Limits.h"
#include "fonts/ttf/Outline.h"

#include <cmath>

namespace TTF
{

namespace
{

constexpr unsigned g_nOnCurve = 0x01;
constexpr unsigned g_nXShort = 0x02;
constexpr unsigned g_nYShort = 0x04;
constexpr unsigned g_nRepeat = 0x08;
constexpr unsigned g_nXSame = 0x10;
constexpr unsigned g_nYSame = 0x20;
constexpr int g_nMaxWork = 0xFFFF;

// A short coordinate has its sign in the flag that otherwise says that it is the same as the last one.
int ReadDelta(BSE::CByteCursor& cursor, unsigned nFlag, unsigned nShort, unsigned nSame)
{
  if ((nFlag & nShort) != 0)
  {
    const int nValue = static_cast<int>(cursor.Card8());
    return (nFlag & nSame) != 0 ? nValue : -nValue;
  }
  return (nFlag & nSame) != 0 ? 0 : cursor.Int16();
}

TPoint GetMiddle(const TPoint& a, const TPoint& b)
{
  return {(a.m_dX + b.m_dX) / 2, (a.m_dY + b.m_dY) / 2, true, false};
}

// A contour without a point on it begins halfway between two of the others.
void AddContour(std::span<const TPoint> points, FONT::CGlyph& glyph)
{
  const std::size_t nCount = points.size();
  std::size_t nFirst = 0;
  while (nFirst < nCount && !points[nFirst].m_bOnCurve)
    ++nFirst;
  const bool bNone = nFirst == nCount;
  const TPoint start = bNone ? GetMiddle(points[nCount - 1], points[0]) : points[nFirst];
  glyph.MoveBy(start.m_dX - glyph.m_dX, start.m_dY - glyph.m_dY);
  // The points after the start and the start again; all of them if the start lies halfway.
  const auto At = [&](std::size_t n) { return n == nCount ? start : points[(nFirst + n) % nCount]; };
  for (std::size_t n = bNone ? 0 : 1; n < nCount; ++n)
  {
    const TPoint point = At(n);
    if (point.m_bOnCurve)
    {
      glyph.LineBy(point.m_dX - glyph.m_dX, point.m_dY - glyph.m_dY);
      continue;
    }
    const TPoint next = At(n + 1);
    const TPoint end = next.m_bOnCurve ? next : GetMiddle(point, next);
    glyph.QuadraticBy(point.m_dX - glyph.m_dX, point.m_dY - glyph.m_dY, end.m_dX - point.m_dX,
                      end.m_dY - point.m_dY);
    n += next.m_bOnCurve ? 1 : 0;
  }
}

}  // namespace

void ToGlyph(const COutline& outline, FONT::CGlyph& glyph)
{
  const std::span<const TPoint> points = outline.GetSpan();
  for (std::size_t nStart = 0, nEnd = 0; nEnd < points.size(); ++nEnd)
    if (points[nEnd].m_bEnd)
    {
      AddContour(points.subspan(nStart, nEnd + 1 - nStart), glyph);
      nStart = nEnd + 1;
    }
  for (FONT::TSegment& segment : glyph.m_segments.GetSpan())
    for (double& d : segment.m_d)
      d = std::round(d);
}

bool COutliner::Get(int nGlyph, COutline& outline)
{
  m_nWork = 0;
  outline.RemoveAll();
  if (Append(nGlyph, outline, 0))
    return true;
  outline.RemoveAll();
  return false;
}

bool COutliner::Append(int nGlyph, COutline& outline, int nDepth)
{
  if (nGlyph < 0 || nGlyph >= m_glyf.GetGlyphCount() || nDepth > BSE::g_nMaxComponentDepth ||
      ++m_nWork > g_nMaxWork)
    return false;
  const std::span<const unsigned char> data = m_glyf.GetGlyph(nGlyph);
  if (!IsComposite(data))
    return AppendSimple(data, outline);
  const int nBase = outline.GetSize();
  CComponentReader reader(data);
  TComponent component;
  while (reader.Next(component))
    if (!AppendComponent(component, outline, nBase, nDepth + 1))
      return false;
  return !reader.GetCursor().HasFailed();
}

bool COutliner::AppendSimple(std::span<const unsigned char> data, COutline& outline)
{
  TGlyphShape shape;
  if (!MeasureGlyph(data, shape) || shape.m_nPoints > g_nMaxWork - m_nWork)
    return false;
  if (shape.m_nPoints == 0)
    return true;
  m_nWork += shape.m_nPoints;
  const int nFirst = outline.GetSize();
  outline.SetSize(nFirst + shape.m_nPoints);
  BSE::CByteCursor cursor(data);
  cursor.Seek(10);
  for (int i = 0; i < shape.m_nContours; ++i)
    outline[nFirst + static_cast<int>(cursor.Card16())].m_bEnd = true;
  cursor.Skip(cursor.Card16());
  BSE::CBasicArray<unsigned char> flags;
  flags.SetSize(shape.m_nPoints);
  for (int i = 0; i < shape.m_nPoints;)
  {
    const unsigned nFlag = cursor.Card8();
    const int nRun = (nFlag & g_nRepeat) != 0 ? 1 + static_cast<int>(cursor.Card8()) : 1;
    for (const int nEnd = std::min(i + nRun, shape.m_nPoints); i < nEnd; ++i)
      flags[i] = static_cast<unsigned char>(nFlag);
  }
  int nX = 0;
  for (int i = 0; i < shape.m_nPoints; ++i)
  {
    outline[nFirst + i].m_bOnCurve = (flags[i] & g_nOnCurve) != 0;
    outline[nFirst + i].m_dX = nX += ReadDelta(cursor, flags[i], g_nXShort, g_nXSame);
  }
  int nY = 0;
  for (int i = 0; i < shape.m_nPoints; ++i)
    outline[nFirst + i].m_dY = nY += ReadDelta(cursor, flags[i], g_nYShort, g_nYSame);
  return true;
}

// The points of the composite begin at nBase.
bool COutliner::AppendComponent(const TComponent& component, COutline& outline, int nBase, int nDepth)
{
  const int nFirst = outline.GetSize();
  if (!Append(component.m_nGlyph, outline, nDepth))
    return false;
  const std::span<TPoint> points = outline.GetSpan().subspan(static_cast<std::size_t>(nFirst));
  for (TPoint& point : points)
  {
    const double dX = point.m_dX;
    point.m_dX = component.m_dXX * dX + component.m_dXY * point.m_dY;
    point.m_dY = component.m_dYX * dX + component.m_dYY * point.m_dY;
  }
  double dX = component.m_nArgument1;
  double dY = component.m_nArgument2;
  if ((component.m_nFlags & TComponent::g_nArgumentsAreOffsets) == 0)
  {
    // A point of the component is put on one of those before it.
    if (component.m_nArgument1 >= nFirst - nBase || component.m_nArgument2 >= outline.GetSize() - nFirst)
      return false;
    const TPoint& before = outline[nBase + component.m_nArgument1];
    const TPoint& own = outline[nFirst + component.m_nArgument2];
    dX = before.m_dX - own.m_dX;
    dY = before.m_dY - own.m_dY;
  }
  else if ((component.m_nFlags & TComponent::g_nScaledOffset) != 0)
  {
    dX *= std::hypot(component.m_dXX, component.m_dXY);
    dY *= std::hypot(component.m_dYY, component.m_dYX);
  }
  for (TPoint& point : points)
  {
    point.m_dX += dX;
    point.m_dY += dY;
  }
  return true;
}

}  // namespace TTF
