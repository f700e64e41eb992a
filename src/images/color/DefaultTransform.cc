// Colours of light go by way of XYZ: a gamma by table, one matrix that joins the primaries of the source and
// the adaptation to the white of the target, one back, and the gamma of the target, for which a byte is
// guessed from a table of roots and corrected by the edges between bytes. Inks are known only by what they
// look like on a screen, so that they go by way of RGB of the device, from and to which other colours have a
// conversion of their own. To find inks for a colour takes many steps; that is done for a grid of 17 points
// in each direction, between which inks are interpolated in tetrahedra, which keeps grays free of other
// colours.

#include "images/color/DefaultTransform.h"

#include "images/color/DeviceRows.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace DOC
{

namespace
{

unsigned char RoundToByte(double d)
{
  const double dRaised = d + 0.5;
  return dRaised >= 255 ? 255 : dRaised > 0 ? static_cast<unsigned char>(dRaised) : 0;
}

bool IsLight(const CDefaultProfile& profile)
{
  return profile.GetKind() != eProfileCMYK;
}

// Three components for each byte of gray, one of which is looked at.
int GetStride(const CDefaultProfile& profile, TSampleForm form)
{
  return profile.GetComponentCount() * (form == eLab16 ? 2 : 1);
}

}  // namespace

CToneEncoder::CToneEncoder(double dGamma)
{
  m_edges[0] = -std::numeric_limits<double>::infinity();
  for (int i = 1; i < 256; ++i)
    m_edges[i] = std::pow((i - 0.5) / 255, dGamma);
  m_edges[256] = std::numeric_limits<double>::infinity();
  int nByte = 0;
  for (int i = 0; i < g_nGuesses; ++i)
  {
    const double dRoot = static_cast<double>(i) / (g_nGuesses - 1);
    while (dRoot * dRoot >= m_edges[nByte + 1])
      ++nByte;
    m_guesses[i] = static_cast<unsigned char>(nByte);
  }
}

unsigned char CToneEncoder::Encode(double dLinear) const
{
  if (!(dLinear > 0))
    return 0;
  if (dLinear >= 1)
    return 255;
  // The root spreads the dark values, where the bytes are close together.
  int nByte = m_guesses[static_cast<int>(std::sqrt(dLinear) * (g_nGuesses - 1))];
  while (dLinear >= m_edges[nByte + 1])
    ++nByte;
  while (dLinear < m_edges[nByte])
    --nByte;
  return static_cast<unsigned char>(nByte);
}

CDefaultTransform::CDefaultTransform(const CDefaultProfile& source, const CDefaultProfile& target,
                                     TSampleForm sourceForm, const CNeugebauer* pTable)
    : m_source(source),
      m_target(target),
      m_sourceForm(sourceForm),
      m_bTable(pTable != nullptr),
      m_encoders{CToneEncoder(target.m_gamma[0]), CToneEncoder(target.m_gamma[1]),
                 CToneEncoder(target.m_gamma[2])}
{
  if (pTable)
    m_table = *pTable;
}

bool CDefaultTransform::Prepare()
{
  CDefaultProfile screen(eProfileRGB, g_d65);
  screen.m_matrix = g_sRGB;
  screen.m_bDevice = true;
  const CNeugebauer* pTable = m_bTable ? &m_table : nullptr;
  const bool bSourceScreen = m_source.GetKind() == eProfileRGB && m_source.m_bDevice;
  const bool bTargetScreen = m_target.GetKind() == eProfileRGB && m_target.m_bDevice;
  if (!IsLight(m_target) && !bSourceScreen && IsLight(m_source))
    m_pFirst = new CDefaultTransform(m_source, screen, m_sourceForm, pTable);
  if (!IsLight(m_source) && !bTargetScreen && IsLight(m_target))
    m_pSecond = new CDefaultTransform(screen, m_target, eBytes, pTable);
  if (m_pFirst || m_pSecond)
    return (!m_pFirst || m_pFirst->Prepare()) && (!m_pSecond || m_pSecond->Prepare());

  for (int i = 0; i < 3; ++i)
    for (int n = 0; n < 256; ++n)
      m_linear[i][n] = std::pow(n / 255.0, m_source.m_gamma[i]);
  m_toXYZ = GetAdaptation(m_source.m_white, m_target.m_white);
  if (m_source.GetKind() != eProfileLab)
    m_toXYZ = m_toXYZ * m_source.m_matrix;
  return m_target.GetKind() != eProfileRGB || m_target.m_matrix.Invert(m_fromXYZ);
}

void CDefaultTransform::Apply(const unsigned char* pSource, unsigned char* pTarget, int nCount)
{
  while (nCount > 0)
  {
    const int nBlock = std::min(nCount, g_nBlock);
    ApplyBlock(pSource, pTarget, nBlock);
    pSource += nBlock * GetStride(m_source, m_sourceForm);
    pTarget += nBlock * m_target.GetComponentCount();
    nCount -= nBlock;
  }
}

void CDefaultTransform::ApplyBlock(const unsigned char* pSource, unsigned char* pTarget, int nCount)
{
  unsigned char screen[3 * g_nBlock];
  if (!IsLight(m_source) && !IsLight(m_target))
    std::memcpy(pTarget, pSource, 4 * static_cast<std::size_t>(nCount));
  else if (!IsLight(m_source))
  {
    DecodeInks(pSource, m_pSecond ? screen : pTarget, nCount);
    if (m_pSecond)
      m_pSecond->Apply(screen, pTarget, nCount);
  }
  else if (!IsLight(m_target))
  {
    if (m_pFirst)
      m_pFirst->Apply(pSource, screen, nCount);
    EncodeInks(m_pFirst ? screen : pSource, pTarget, nCount);
  }
  else
  {
    double light[3 * g_nBlock];
    DecodeLight(pSource, light, nCount);
    EncodeLight(light, pTarget, nCount);
  }
}

void CDefaultTransform::DecodeLight(const unsigned char* pSource, double* pLight, int nCount) const
{
  const TProfileKind kind = m_source.GetKind();
  double values[3];
  for (; nCount > 0; --nCount, pLight += 3)
  {
    if (kind == eProfileGray)
    {
      values[0] = values[1] = values[2] = m_linear[0][*pSource++];
    }
    else if (kind == eProfileRGB)
    {
      for (int i = 0; i < 3; ++i)
        values[i] = m_linear[i][*pSource++];
    }
    else
    {
      double samples[3];
      for (double& dSample : samples)
      {
        std::uint16_t nSample = 0;
        if (m_sourceForm == eLab16)
          std::memcpy(&nSample, pSource, 2);
        dSample = m_sourceForm == eLab16 ? nSample / 257.0 : *pSource;
        pSource += m_sourceForm == eLab16 ? 2 : 1;
      }
      const double lab[3] = {samples[0] / 2.55, samples[1] - 128, samples[2] - 128};
      LabToXYZ(lab, m_source.m_white, values);
    }
    m_toXYZ.Apply(values, pLight);
  }
}

void CDefaultTransform::EncodeLight(const double* pLight, unsigned char* pTarget, int nCount) const
{
  const TProfileKind kind = m_target.GetKind();
  for (; nCount > 0; --nCount, pLight += 3)
  {
    if (kind == eProfileGray)
      *pTarget++ = m_encoders[0].Encode(pLight[1] / m_target.m_white.m_dY);
    else if (kind == eProfileRGB)
    {
      double linear[3];
      m_fromXYZ.Apply(pLight, linear);
      for (int i = 0; i < 3; ++i)
        *pTarget++ = m_encoders[i].Encode(linear[i]);
    }
    else
    {
      double lab[3];
      XYZToLab(pLight, m_target.m_white, lab);
      *pTarget++ = RoundToByte(lab[0] * 2.55);
      *pTarget++ = RoundToByte(lab[1] + 128);
      *pTarget++ = RoundToByte(lab[2] + 128);
    }
  }
}

void CDefaultTransform::DecodeInks(const unsigned char* pSource, unsigned char* pRGB, int nCount) const
{
  if (!m_bTable)
  {
    CMYKToRGB(pSource, pRGB, nCount);
    return;
  }
  for (; nCount > 0; --nCount, pSource += 4)
  {
    const double inks[4] = {pSource[0] / 255.0, pSource[1] / 255.0, pSource[2] / 255.0, pSource[3] / 255.0};
    double color[3];
    m_table.Mix(inks, color);
    for (const double d : color)
      *pRGB++ = RoundToByte(d * 255);
  }
}

void CDefaultTransform::BuildGrid()
{
  m_grid.SetSize(g_nGrid * g_nGrid * g_nGrid * 4);
  float* pInks = m_grid.GetData();
  for (int nRed = 0; nRed < g_nGrid; ++nRed)
    for (int nGreen = 0; nGreen < g_nGrid; ++nGreen)
      for (int nBlue = 0; nBlue < g_nGrid; ++nBlue)
      {
        constexpr double dStep = 1.0 / (g_nGrid - 1);
        const double color[3] = {nRed * dStep, nGreen * dStep, nBlue * dStep};
        double inks[4];
        m_table.Separate(color, inks);
        for (const double dInk : inks)
          *pInks++ = static_cast<float>(dInk * 255);
      }
}

void CDefaultTransform::EncodeInks(const unsigned char* pRGB, unsigned char* pTarget, int nCount)
{
  if (!m_bTable)
  {
    RGBToCMYK(pRGB, pTarget, nCount);
    return;
  }
  if (m_grid.IsEmpty())
    BuildGrid();
  constexpr int strides[3] = {4 * g_nGrid * g_nGrid, 4 * g_nGrid, 4};
  for (; nCount > 0; --nCount, pRGB += 3, pTarget += 4)
  {
    // Walks the edges of the tetrahedron that holds the colour, the direction with the largest fraction
    // first.
    int order[3] = {0, 1, 2};
    int fractions[3];
    const float* pCorner = m_grid.GetData();
    for (int i = 0; i < 3; ++i)
    {
      const int nPlace = pRGB[i] * (g_nGrid - 1);
      fractions[i] = nPlace % 255;
      pCorner += std::ptrdiff_t{nPlace / 255} * strides[i];
    }
    std::sort(order, order + 3, [&fractions](int a, int b) { return fractions[a] > fractions[b]; });
    float inks[4] = {pCorner[0], pCorner[1], pCorner[2], pCorner[3]};
    for (const int nDirection : order)
    {
      if (fractions[nDirection] == 0)
        break;
      const float* pNext = pCorner + strides[nDirection];
      for (int i = 0; i < 4; ++i)
        inks[i] += (pNext[i] - pCorner[i]) * (static_cast<float>(fractions[nDirection]) / 255.0F);
      pCorner = pNext;
    }
    for (int i = 0; i < 4; ++i)
      pTarget[i] = RoundToByte(static_cast<double>(inks[i]));
  }
}

}  // namespace DOC
