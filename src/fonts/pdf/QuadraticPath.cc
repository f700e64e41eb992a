#include "fonts/pdf/QuadraticPath.h"

namespace PDF
{

namespace
{

struct TPlace
{
  double m_dX;
  double m_dY;
};

TPlace GetPlace(const TTF::TPoint& point)
{
  return {point.m_dX, point.m_dY};
}

TPlace GetMiddle(TPlace a, TPlace b)
{
  return {(a.m_dX + b.m_dX) / 2, (a.m_dY + b.m_dY) / 2};
}

// Draws one contour, of which it knows where the pen is.
class CContour
{
public:
  CContour(TPlace start, FONT::CGlyph& outline) : m_outline(outline)
  {
    outline.MoveBy(start.m_dX - outline.m_dX, start.m_dY - outline.m_dY);
  }
  void LineTo(TPlace end) { m_outline.LineBy(end.m_dX - m_outline.m_dX, end.m_dY - m_outline.m_dY); }

  // The control points of the cubic curve are two thirds of the way to the one of the quadratic.
  void CurveTo(TPlace control, TPlace end)
  {
    const double dX1 = (control.m_dX - m_outline.m_dX) * 2 / 3;
    const double dY1 = (control.m_dY - m_outline.m_dY) * 2 / 3;
    const double dX3 = (end.m_dX - control.m_dX) * 2 / 3;
    const double dY3 = (end.m_dY - control.m_dY) * 2 / 3;
    const double dX2 = end.m_dX - dX3 - (m_outline.m_dX + dX1);
    const double dY2 = end.m_dY - dY3 - (m_outline.m_dY + dY1);
    m_outline.CurveBy(dX1, dY1, dX2, dY2, dX3, dY3);
  }

private:
  FONT::CGlyph& m_outline;
};

void AddContour(std::span<const TTF::TPoint> points, FONT::CGlyph& outline)
{
  const std::size_t nCount = points.size();
  std::size_t nFirst = 0;
  while (nFirst < nCount && !points[nFirst].m_bOnCurve)
    ++nFirst;
  // Without a point on the curve it begins between two others.
  const bool bNone = nFirst == nCount;
  const TPlace start =
      bNone ? GetMiddle(GetPlace(points[nCount - 1]), GetPlace(points[0])) : GetPlace(points[nFirst]);
  if (bNone)
    nFirst = nCount - 1;
  CContour contour(start, outline);
  TPlace control{};
  bool bControl = false;
  for (std::size_t i = 1; i <= nCount; ++i)
  {
    const TTF::TPoint& point = points[(nFirst + i) % nCount];
    const TPlace place = GetPlace(point);
    if (bControl)
      contour.CurveTo(control, point.m_bOnCurve ? place : GetMiddle(control, place));
    else if (point.m_bOnCurve && i < nCount)
      contour.LineTo(place);
    control = place;
    bControl = !point.m_bOnCurve;
  }
  if (bControl)
    contour.CurveTo(control, start);
}

}  // namespace

void AddQuadratics(std::span<const TTF::TPoint> points, FONT::CGlyph& outline)
{
  std::size_t nStart = 0;
  for (std::size_t i = 0; i < points.size(); ++i)
    if (points[i].m_bEnd)
    {
      AddContour(points.subspan(nStart, i + 1 - nStart), outline);
      nStart = i + 1;
    }
}

}  // namespace PDF
