#pragma once

#include "images/color/CMS.h"

#include <cmath>
#include <utility>

namespace DOC
{

// A matrix of three rows.
struct CMatrix3
{
  double m_values[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};

  void Apply(const double* pSource, double* pTarget) const
  {
    for (int i = 0; i < 3; ++i)
      pTarget[i] = m_values[i][0] * pSource[0] + m_values[i][1] * pSource[1] + m_values[i][2] * pSource[2];
  }

  friend CMatrix3 operator*(const CMatrix3& a, const CMatrix3& b)
  {
    CMatrix3 result;
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j)
        result.m_values[i][j] = a.m_values[i][0] * b.m_values[0][j] + a.m_values[i][1] * b.m_values[1][j] +
                                a.m_values[i][2] * b.m_values[2][j];
    return result;
  }

  // By elimination with full pivoting. False, with the result unchanged, if there is none.
  bool Invert(CMatrix3& result) const;
};

// White of the two illuminants that colours meet at.
inline constexpr TXYZ g_d50 = {0.9642, 1.0, 0.8249};
inline constexpr TXYZ g_d65 = {0.95047, 1.0, 1.08883};

// Linear sRGB to XYZ under D65 (IEC 61966-2-1).
inline constexpr CMatrix3 g_sRGB = {{{0.4124564, 0.3575761, 0.1804375},
                                     {0.2126729, 0.7151522, 0.0721750},
                                     {0.0193339, 0.1191920, 0.9503041}}};

// Whether a white can be one: a luminance above 0, and finite values.
bool IsWhite(const TXYZ& white);

// Colours under one white as the eye sees them under another (Bradford). The whites are white.
CMatrix3 GetAdaptation(const TXYZ& from, const TXYZ& to);

// L*, a* and b* for tristimulus values relative to a white, and back (ISO 11664-4).
void XYZToLab(const double* pXYZ, const TXYZ& white, double* pLab);
void LabToXYZ(const double* pLab, const TXYZ& white, double* pXYZ);

}  // namespace DOC
