#include "images/color/Neugebauer.h"

#include "base/BasicArray.h"
#include "images/color/Matrix.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace DOC
{

namespace
{

constexpr int g_nMixes = 16;
constexpr std::int64_t g_nMaxTableFile = 1 << 16;

// The order of tables, as bits of inks.
constexpr int g_order[g_nMixes] = {0, 1, 2, 4, 8, 3, 5, 9, 6, 10, 12, 7, 11, 13, 14, 15};

constexpr double g_table[g_nMixes][3] = {
    {1.0, 1.0, 1.0},          {0.0, 0.6824, 0.9373},    {0.9255, 0.0, 0.549}, {1.0, 0.949, 0.0},
    {0.1373, 0.1216, 0.1255}, {0.1804, 0.1882, 0.5725}, {0.0, 0.651, 0.3137}, {0.0, 0.0549, 0.1373},
    {0.9294, 0.1098, 0.1412}, {0.1373, 0.0, 0.0},       {0.1059, 0.098, 0.0}, {0.2118, 0.2118, 0.2235},
    {0.0, 0.0, 0.0039},       {0.0, 0.0706, 0.0},       {0.1333, 0.0, 0.0},   {0.0, 0.0, 0.0}};

// Three numbers with commas between them; false for anything else.
bool ParseLine(const char* pText, const char* pEnd, double (&values)[3])
{
  for (int i = 0; i < 3; ++i)
  {
    while (pText != pEnd && (*pText == ' ' || *pText == '\t'))
      ++pText;
    const auto [pStop, error] = std::from_chars(pText, pEnd, values[i]);
    if (error != std::errc() || !(values[i] >= 0 && values[i] <= 1))
      return false;
    pText = pStop;
    if (i < 2 && (pText == pEnd || *pText++ != ','))
      return false;
  }
  return true;
}

double Between(double dFrom, double dTo, double d)
{
  return dFrom + (dTo - dFrom) * d;
}

// Means in three directions: the colour and, where it is wanted, how it changes with each.
void Interpolate(const double (&colors)[8][3], const double* pInks, double* pColor, CMatrix3* pChange)
{
  const double c = pInks[0];
  const double m = pInks[1];
  const double y = pInks[2];
  for (int i = 0; i < 3; ++i)
  {
    const double d00 = Between(colors[0][i], colors[1][i], c);
    const double d10 = Between(colors[2][i], colors[3][i], c);
    const double d01 = Between(colors[4][i], colors[5][i], c);
    const double d11 = Between(colors[6][i], colors[7][i], c);
    const double d0 = d00 + (d10 - d00) * m;
    const double d1 = d01 + (d11 - d01) * m;
    pColor[i] = d0 + (d1 - d0) * y;
    if (!pChange)
      continue;
    const double e0 = Between(colors[1][i] - colors[0][i], colors[3][i] - colors[2][i], m);
    const double e1 = Between(colors[5][i] - colors[4][i], colors[7][i] - colors[6][i], m);
    pChange->m_values[i][0] = Between(e0, e1, y);
    pChange->m_values[i][1] = Between(d10 - d00, d11 - d01, y);
    pChange->m_values[i][2] = d1 - d0;
  }
}

}  // namespace

CNeugebauer::CNeugebauer()
{
  for (int i = 0; i < g_nMixes; ++i)
    std::copy_n(g_table[i], 3, m_colors[g_order[i]]);
}

bool CNeugebauer::Read(BSE::IByteStream& stream)
{
  BSE::CBasicArray<unsigned char> data;
  if (!stream.ReadToArray(data, g_nMaxTableFile))
    return false;
  const char* pText = reinterpret_cast<const char*>(data.GetData());
  const char* pEnd = pText + data.GetSize();
  for (int i = 0; i < g_nMixes && pText != pEnd; ++i)
  {
    const char* pLineEnd = std::find(pText, pEnd, '\n');
    double values[3];
    if (!ParseLine(pText, pLineEnd, values))
      break;
    std::copy_n(values, 3, m_colors[g_order[i]]);
    pText = pLineEnd == pEnd ? pEnd : pLineEnd + 1;
  }
  return true;
}

void CNeugebauer::MixBlack(double dBlack, double (&colors)[8][3]) const
{
  for (int nMix = 0; nMix < 8; ++nMix)
    for (int i = 0; i < 3; ++i)
      colors[nMix][i] = m_colors[nMix][i] + (m_colors[nMix + 8][i] - m_colors[nMix][i]) * dBlack;
}

void CNeugebauer::Mix(const double* pCMYK, double* pRGB) const
{
  double colors[8][3];
  MixBlack(pCMYK[3], colors);
  Interpolate(colors, pCMYK, pRGB, nullptr);
}

double CNeugebauer::FindBlack(const double* pRGB) const
{
  // What black alone can make as bright as each component has to be.
  double dMost = 1;
  for (int i = 0; i < 3; ++i)
  {
    const double dDepth = m_colors[0][i] - m_colors[8][i];
    dMost = dDepth > 0 ? std::min(dMost, (m_colors[0][i] - pRGB[i]) / dDepth) : 0;
  }
  dMost = std::max(dMost, 0.0);
  return dMost * std::sqrt(dMost);
}

void CNeugebauer::Separate(const double* pRGB, double* pCMYK) const
{
  constexpr double dClose = 0.002;
  double dBlack = FindBlack(pRGB);
  if (dBlack >= 1)
  {
    pCMYK[0] = pCMYK[1] = pCMYK[2] = 0;
    pCMYK[3] = 1;
    return;
  }
  // Black takes something of what the other inks can do: then less of it, and in the end none.
  double dLeast = std::numeric_limits<double>::infinity();
  for (int nTry = 0; nTry < 5 && dLeast > dClose; ++nTry, dBlack = nTry < 4 ? dBlack / 2 : 0)
  {
    double inks[3];
    const double dError = Solve(pRGB, dBlack, inks);
    if (dError >= dLeast)
      continue;
    dLeast = dError;
    std::copy_n(inks, 3, pCMYK);
    pCMYK[3] = dBlack;
  }
}

double CNeugebauer::Solve(const double* pRGB, double dBlack, double* pInks) const
{
  constexpr int nSteps = 8;
  double colors[8][3];
  MixBlack(dBlack, colors);
  for (int i = 0; i < 3; ++i)
    pInks[i] = 1 - pRGB[i];
  double color[3];
  for (int nStep = 0; nStep < nSteps; ++nStep)
  {
    CMatrix3 change;
    CMatrix3 inverse;
    Interpolate(colors, pInks, color, &change);
    if (!change.Invert(inverse))
      break;
    const double error[3] = {pRGB[0] - color[0], pRGB[1] - color[1], pRGB[2] - color[2]};
    double step[3];
    inverse.Apply(error, step);
    double dMoved = 0;
    for (int i = 0; i < 3; ++i)
    {
      const double dInk = std::clamp(pInks[i] + std::clamp(step[i], -0.5, 0.5), 0.0, 1.0);
      dMoved = std::max(dMoved, std::abs(dInk - pInks[i]));
      pInks[i] = dInk;
    }
    if (dMoved < 1e-5)
      break;
  }
  Interpolate(colors, pInks, color, nullptr);
  return std::max({std::abs(pRGB[0] - color[0]), std::abs(pRGB[1] - color[1]), std::abs(pRGB[2] - color[2])});
}

}  // namespace DOC
