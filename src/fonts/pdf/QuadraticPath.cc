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
  CContour(TPlace start, CGlyphPath& path) : m_pen(start), m_path(path)
  {
    Add(TPathStep::eMove, start, {}, {});
  }
  void LineTo(TPlace end)
  {
    Add(TPathStep::eLine, end, {}, {});
    m_pen = end;
  }
  void CurveTo(TPlace control, TPlace end)
  {
    const auto Raise = [&](TPlace from)
    {
      return TPlace{from.m_dX + (control.m_dX - from.m_dX) * 2 / 3,
                    from.m_dY + (control.m_dY - from.m_dY) * 2 / 3};
    };
    Add(TPathStep::eCurve, Raise(m_pen), Raise(end), end);
    m_pen = end;
  }

private:
  void Add(TPathStep::TKind nKind, TPlace a, TPlace b, TPlace c)
  {
    m_path.Add({nKind, {a.m_dX, b.m_dX, c.m_dX}, {a.m_dY, b.m_dY, c.m_dY}});
  }

  TPlace m_pen;
  CGlyphPath& m_path;
};

void AddContour(std::span<const TTF::TPoint> points, CGlyphPath& path)
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
  CContour contour(start, path);
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

void AddQuadratics(std::span<const TTF::TPoint> points, CGlyphPath& path)
{
  std::size_t nStart = 0;
  for (std::size_t i = 0; i < points.size(); ++i)
    if (points[i].m_bEnd)
    {
      AddContour(points.subspan(nStart, i + 1 - nStart), path);
      nStart = i + 1;
    }
}

}  // namespace PDF
