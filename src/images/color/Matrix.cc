#include "images/color/Matrix.h"

#include <algorithm>

namespace DOC
{

namespace
{

constexpr CMatrix3 g_bradford = {
    {{0.8951, 0.2664, -0.1614}, {-0.7502, 1.7135, 0.0367}, {0.0389, -0.0685, 1.0296}}};

constexpr double g_dLabEdge = 6.0 / 29.0;

}  // namespace

bool CMatrix3::Invert(CMatrix3& result) const
{
  double work[3][3];
  double inverse[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  std::copy_n(&m_values[0][0], 9, &work[0][0]);
  int columns[3] = {0, 1, 2};
  for (int nStep = 0; nStep < 3; ++nStep)
  {
    int nRow = nStep;
    int nColumn = nStep;
    for (int i = nStep; i < 3; ++i)
      for (int j = nStep; j < 3; ++j)
        if (std::abs(work[i][j]) > std::abs(work[nRow][nColumn]))
        {
          nRow = i;
          nColumn = j;
        }
    const double dPivot = work[nRow][nColumn];
    if (!(std::abs(dPivot) > 1e-12) || !std::isfinite(dPivot))
      return false;
    std::swap(work[nRow], work[nStep]);
    std::swap(inverse[nRow], inverse[nStep]);
    for (auto& row : work)
      std::swap(row[nColumn], row[nStep]);
    std::swap(columns[nColumn], columns[nStep]);
    for (int j = 0; j < 3; ++j)
    {
      work[nStep][j] /= dPivot;
      inverse[nStep][j] /= dPivot;
    }
    for (int i = 0; i < 3; ++i)
    {
      const double dFactor = work[i][nStep];
      for (int j = 0; j < 3 && i != nStep; ++j)
      {
        work[i][j] -= dFactor * work[nStep][j];
        inverse[i][j] -= dFactor * inverse[nStep][j];
      }
    }
  }
  for (int i = 0; i < 3; ++i)
    std::copy_n(inverse[i], 3, result.m_values[columns[i]]);
  return true;
}

bool IsWhite(const TXYZ& white)
{
  constexpr double dMost = 1e6;
  return white.m_dX > 1e-6 && white.m_dX < dMost && white.m_dY > 1e-6 && white.m_dY < dMost &&
         white.m_dZ > 1e-6 && white.m_dZ < dMost;
}

CMatrix3 GetAdaptation(const TXYZ& from, const TXYZ& to)
{
  const double fromXYZ[3] = {from.m_dX, from.m_dY, from.m_dZ};
  const double toXYZ[3] = {to.m_dX, to.m_dY, to.m_dZ};
  double fromCones[3];
  double toCones[3];
  g_bradford.Apply(fromXYZ, fromCones);
  g_bradford.Apply(toXYZ, toCones);
  CMatrix3 scale;
  CMatrix3 back;
  g_bradford.Invert(back);
  for (int i = 0; i < 3; ++i)
  {
    // Not the white of any light: then each value by itself.
    if (!(std::abs(fromCones[i]) > 1e-9))
    {
      for (int j = 0; j < 3; ++j)
        scale.m_values[j][j] = toXYZ[j] / fromXYZ[j];
      return scale;
    }
    scale.m_values[i][i] = toCones[i] / fromCones[i];
  }
  return back * scale * g_bradford;
}

void XYZToLab(const double* pXYZ, const TXYZ& white, double* pLab)
{
  const double whites[3] = {white.m_dX, white.m_dY, white.m_dZ};
  double values[3];
  for (int i = 0; i < 3; ++i)
  {
    const double d = pXYZ[i] / whites[i];
    values[i] = d > g_dLabEdge * g_dLabEdge * g_dLabEdge ? std::cbrt(d)
                                                         : d / (3 * g_dLabEdge * g_dLabEdge) + 4.0 / 29.0;
  }
  pLab[0] = 116 * values[1] - 16;
  pLab[1] = 500 * (values[0] - values[1]);
  pLab[2] = 200 * (values[1] - values[2]);
}

void LabToXYZ(const double* pLab, const TXYZ& white, double* pXYZ)
{
  const double whites[3] = {white.m_dX, white.m_dY, white.m_dZ};
  const double dMiddle = (pLab[0] + 16) / 116;
  const double values[3] = {dMiddle + pLab[1] / 500, dMiddle, dMiddle - pLab[2] / 200};
  for (int i = 0; i < 3; ++i)
    pXYZ[i] = whites[i] * (values[i] > g_dLabEdge ? values[i] * values[i] * values[i]
                                                  : 3 * g_dLabEdge * g_dLabEdge * (values[i] - 4.0 / 29.0));
}

}  // namespace DOC
