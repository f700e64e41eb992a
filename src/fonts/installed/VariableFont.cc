#include "fonts/installed/VariableFont.h"

#include "base/Tracer.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_MULTIPLE_MASTERS_H
#include FT_OUTLINE_H

#include <algorithm>
#include <cmath>

namespace PDF
{

namespace
{

constexpr double g_dFixed = 65536;
constexpr double g_dMaxCoordinate = 30000;

double FromFixed(FT_Fixed nValue)
{
  return static_cast<double>(nValue) / g_dFixed;
}

bool Fail(const char* szText)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PdfFontProgram", "%s", szText);
  return false;
}

// Takes the outline of a glyph. Each point is rounded by itself, so that contours stay closed.
class CPen
{
public:
  CPen(FONT::CGlyph& glyph, double dScale) : m_glyph(glyph), m_dScale(dScale) {}

  bool Draw(FT_Outline& outline)
  {
    FT_Outline_Funcs functions = {};
    functions.move_to = [](const FT_Vector* pTo, void* p) { return static_cast<CPen*>(p)->Move(*pTo); };
    functions.line_to = [](const FT_Vector* pTo, void* p) { return static_cast<CPen*>(p)->Line(*pTo); };
    functions.conic_to = [](const FT_Vector* pControl, const FT_Vector* pTo, void* p)
    { return static_cast<CPen*>(p)->Conic(*pControl, *pTo); };
    functions.cubic_to = [](const FT_Vector* pA, const FT_Vector* pB, const FT_Vector* pTo, void* p)
    { return static_cast<CPen*>(p)->Cubic(*pA, *pB, *pTo); };
    return FT_Outline_Decompose(&outline, &functions, this) == 0 && !m_bTooLarge;
  }

private:
  struct TPoint
  {
    double m_dX;
    double m_dY;
  };

  TPoint Scale(const FT_Vector& vector) const
  {
    return {static_cast<double>(vector.x) * m_dScale, static_cast<double>(vector.y) * m_dScale};
  }

  // The way to a point from the last one, which it becomes.
  TPoint Advance(const TPoint& point)
  {
    const TPoint to = {std::round(point.m_dX), std::round(point.m_dY)};
    m_bTooLarge = m_bTooLarge || std::abs(to.m_dX) > g_dMaxCoordinate || std::abs(to.m_dY) > g_dMaxCoordinate;
    const TPoint step = {to.m_dX - m_last.m_dX, to.m_dY - m_last.m_dY};
    m_last = to;
    return step;
  }

  int Move(const FT_Vector& to)
  {
    const TPoint step = Advance(m_exact = Scale(to));
    m_glyph.MoveBy(step.m_dX, step.m_dY);
    return 0;
  }
  int Line(const FT_Vector& to)
  {
    const TPoint step = Advance(m_exact = Scale(to));
    if (step.m_dX != 0 || step.m_dY != 0)
      m_glyph.LineBy(step.m_dX, step.m_dY);
    return 0;
  }
  int Conic(const FT_Vector& control, const FT_Vector& to)
  {
    const TPoint middle = Scale(control);
    const TPoint end = Scale(to);
    return Curve({m_exact.m_dX + (middle.m_dX - m_exact.m_dX) * 2 / 3,
                  m_exact.m_dY + (middle.m_dY - m_exact.m_dY) * 2 / 3},
                 {end.m_dX + (middle.m_dX - end.m_dX) * 2 / 3, end.m_dY + (middle.m_dY - end.m_dY) * 2 / 3},
                 end);
  }
  int Cubic(const FT_Vector& a, const FT_Vector& b, const FT_Vector& to)
  {
    return Curve(Scale(a), Scale(b), Scale(to));
  }
  int Curve(const TPoint& a, const TPoint& b, const TPoint& to)
  {
    const TPoint first = Advance(a);
    const TPoint second = Advance(b);
    const TPoint third = Advance(m_exact = to);
    m_glyph.CurveBy(first.m_dX, first.m_dY, second.m_dX, second.m_dY, third.m_dX, third.m_dY);
    return 0;
  }

  FONT::CGlyph& m_glyph;
  double m_dScale;
  TPoint m_last = {0, 0};   // as it is drawn
  TPoint m_exact = {0, 0};  // the same before it was rounded
  bool m_bTooLarge = false;
};

}  // namespace

struct CVariableFont::TState
{
  TState() = default;
  TState(const TState&) = delete;
  TState& operator=(const TState&) = delete;
  ~TState()
  {
    if (m_face)
      FT_Done_Face(m_face);
    if (m_library)
      FT_Done_FreeType(m_library);
  }

  FT_Library m_library = nullptr;
  FT_Face m_face = nullptr;
};

CVariableFont::CVariableFont() : m_pState(new TState) {}

CVariableFont::~CVariableFont() = default;

bool CVariableFont::Open(std::span<const unsigned char> data, int nIndex)
{
  if (FT_Init_FreeType(&m_pState->m_library) != 0)
  {
    m_pState->m_library = nullptr;
    return Fail("Failed to initialize FreeType for variable font substitution.");
  }
  if (FT_New_Memory_Face(m_pState->m_library, data.data(), static_cast<FT_Long>(data.size()), nIndex,
                         &m_pState->m_face) != 0)
  {
    m_pState->m_face = nullptr;
    return Fail("Failed to load variable font.");
  }
  return FT_HAS_MULTIPLE_MASTERS(m_pState->m_face) && FT_IS_SCALABLE(m_pState->m_face) &&
         m_pState->m_face->units_per_EM > 0;
}

bool CVariableFont::SetAxes(double& dWeight, double& dWidth)
{
  FT_MM_Var* pAxes = nullptr;
  if (FT_Get_MM_Var(m_pState->m_face, &pAxes) != 0)
    return Fail("Failed to load variable font.");
  BSE::CBasicArray<FT_Fixed> coordinates;
  for (FT_UInt i = 0; i < pAxes->num_axis; ++i)
  {
    const FT_Var_Axis& axis = pAxes->axis[i];
    const bool bWeight = axis.tag == FT_MAKE_TAG('w', 'g', 'h', 't');
    FT_Fixed nValue = axis.def;
    if (bWeight || axis.tag == FT_MAKE_TAG('w', 'd', 't', 'h'))
    {
      double& dValue = bWeight ? dWeight : dWidth;
      if (axis.minimum <= axis.maximum)
        dValue = std::clamp(dValue, FromFixed(axis.minimum), FromFixed(axis.maximum));
      nValue = static_cast<FT_Fixed>(std::round(std::clamp(dValue, -32767.0, 32767.0) * g_dFixed));
    }
    coordinates.Add(nValue);
  }
  const bool bSet =
      FT_Set_Var_Design_Coordinates(m_pState->m_face, static_cast<FT_UInt>(coordinates.GetSize()),
                                    coordinates.GetData()) == 0;
  FT_Done_MM_Var(m_pState->m_library, pAxes);
  return bSet || Fail("Failed to load variable font.");
}

int CVariableFont::GetGlyph(char32_t nCharacter) const
{
  return static_cast<int>(FT_Get_Char_Index(m_pState->m_face, nCharacter));
}

bool CVariableFont::GetOutline(int nGlyph, FONT::CGlyph& glyph) const
{
  const FT_Face face = m_pState->m_face;
  glyph.Clear();
  if (FT_Load_Glyph(face, static_cast<FT_UInt>(nGlyph), FT_LOAD_NO_SCALE | FT_LOAD_NO_BITMAP) != 0 ||
      face->glyph->format != FT_GLYPH_FORMAT_OUTLINE)
    return false;
  const double dScale = 1000.0 / face->units_per_EM;
  glyph.m_dWidth = std::round(static_cast<double>(face->glyph->metrics.horiAdvance) * dScale);
  return std::abs(glyph.m_dWidth) <= g_dMaxCoordinate && CPen(glyph, dScale).Draw(face->glyph->outline);
}

}  // namespace PDF
