#pragma once

#include "fonts/common/Glyph.h"
#include "fonts/ttf/Glyf.h"

namespace TTF
{

// A point of a contour: on the curve, or the control point of a quadratic curve. Two control points have a
// point of the curve halfway between them.
struct TPoint
{
  double m_dX;
  double m_dY;
  bool m_bOnCurve;
  bool m_bEnd;  // the last one of its contour
};

using COutline = BSE::CBasicArray<TPoint>;

// The same with the segments of other font formats: each contour from a point on it, with cubic curves, whose
// points are rounded to whole units.
void ToGlyph(const COutline& outline, FONT::CGlyph& glyph);

// Makes the outlines of glyphs, composites with all their components, in the units of the font.
class COutliner
{
public:
  explicit COutliner(const CGlyf& glyf) : m_glyf(glyf) {}

  // False for a glyph that cannot be drawn; the outline is then empty. A glyph without data has an empty one.
  bool Get(int nGlyph, COutline& outline);

  // Points and components of the last outline, which are its cost.
  int GetWork() const { return m_nWork; }

private:
  bool Append(int nGlyph, COutline& outline, int nDepth);
  bool AppendSimple(std::span<const unsigned char> data, COutline& outline);
  bool AppendComponent(const TComponent& component, COutline& outline, int nBase, int nDepth);

  const CGlyf& m_glyf;
  int m_nWork = 0;
};

}  // namespace TTF
