#include "images/color/CalibratedColorSpaces.h"

#include "images/color/Matrix.h"

#include <algorithm>
#include <cmath>

namespace PDF
{

namespace
{

DOC::TXYZ ReadWhite(const CObjectPtr& dictionary)
{
  BSE::CBasicArray<double> values;
  if (!ReadNumbers(dictionary["WhitePoint"], 3, 3, values))
    return DOC::g_d65;
  const DOC::TXYZ white = {values[0], values[1], values[2]};
  return DOC::IsWhite(white) ? white : DOC::g_d65;
}

// Only the key needs it.
void ReadBlack(const CObjectPtr& dictionary, BSE::CBasicArray<double>& black)
{
  if (!ReadNumbers(dictionary["BlackPoint"], 3, 3, black))
  {
    black.RemoveAll();
    black.SetSize(3);
  }
}

double ReadGamma(const CObjectPtr& object)
{
  const double dGamma = ReadNumber(object);
  return dGamma > 0 ? dGamma : 1;
}

std::uint16_t ToWord(double d)
{
  return static_cast<std::uint16_t>(std::lround(std::clamp(d, 0.0, 65535.0)));
}

}  // namespace

CCalGrayColorSpace::CCalGrayColorSpace(const CObjectPtr& object, DOC::CCMS& cms, DOC::IColorSpace& device)
    : CColorSpace(object, cms), m_pDevice(&device)
{
  const CObjectPtr dictionary = object[1];
  const DOC::TXYZ white = ReadWhite(dictionary);
  const double dGamma = ReadGamma(dictionary["Gamma"]);
  BSE::CBasicArray<double> black;
  ReadBlack(dictionary, black);
  m_pProfile = cms.CreateGrayProfile(white, dGamma);
  FormatKey("CG_%5.3lf%5.3lf%5.3lf_%5.3lf%5.3lf%5.3lf_%5.3lf", white.m_dX, white.m_dY, white.m_dZ, black[0],
            black[1], black[2], dGamma);
}

bool CCalGrayColorSpace::OnConvertRow(DOC::TTarget target, const unsigned char* pSource,
                                      unsigned char* pResult, int nCount)
{
  return CColorSpace::OnConvertRow(target, pSource, pResult, nCount) ||
         ConvertBy(*m_pDevice, target, pSource, pResult, nCount);
}

CCalRGBColorSpace::CCalRGBColorSpace(const CObjectPtr& object, DOC::CCMS& cms, DOC::IColorSpace& device)
    : CColorSpace(object, cms), m_pDevice(&device)
{
  const CObjectPtr dictionary = object[1];
  const DOC::TXYZ white = ReadWhite(dictionary);
  BSE::CBasicArray<double> black;
  ReadBlack(dictionary, black);
  const CObjectPtr gammas = dictionary["Gamma"];
  double gamma[3];
  for (int i = 0; i < 3; ++i)
    gamma[i] = ReadGamma(gammas[i]);
  BSE::CBasicArray<double> matrix;
  if (!ReadNumbers(dictionary["Matrix"], 9, 9, matrix))
  {
    matrix.RemoveAll();
    matrix.SetSize(9);
    matrix[0] = matrix[4] = matrix[8] = 1;
  }
  m_pProfile = cms.CreateRGBProfile(white, gamma, matrix.GetSpan());
  FormatKey(
      "CR_%5.3lf%5.3lf%5.3lf_%5.3lf%5.3lf%5.3lf_%5.3lf%5.3lf%5.3lf_"
      "%5.3lf%5.3lf%5.3lf%5.3lf%5.3lf%5.3lf%5.3lf%5.3lf%5.3lf",
      white.m_dX, white.m_dY, white.m_dZ, black[0], black[1], black[2], gamma[0], gamma[1], gamma[2],
      matrix[0], matrix[1], matrix[2], matrix[3], matrix[4], matrix[5], matrix[6], matrix[7], matrix[8]);
}

bool CCalRGBColorSpace::OnConvertRow(DOC::TTarget target, const unsigned char* pSource,
                                     unsigned char* pResult, int nCount)
{
  return CColorSpace::OnConvertRow(target, pSource, pResult, nCount) ||
         ConvertBy(*m_pDevice, target, pSource, pResult, nCount);
}

CLabColorSpace::CLabColorSpace(const CObjectPtr& object, DOC::CCMS& cms)
    : CColorSpace(object, cms), m_ranges{{0, 100}, {-100, 100}, {-100, 100}}
{
  const CObjectPtr dictionary = object[1];
  const DOC::TXYZ white = ReadWhite(dictionary);
  BSE::CBasicArray<TRange> ranges;
  if (ReadRanges(dictionary["Range"], 2, 2, ranges))
    for (int i = 0; i < 2; ++i)
      if (ranges[i].m_dMin < ranges[i].m_dMax)
        m_ranges[i + 1] = ranges[i];
  m_pProfile = cms.CreateLabProfile(white);
  for (int n = 0; n < 256; ++n)
  {
    const auto nByte = static_cast<unsigned char>(n);
    m_words[0][n] = ToWord(m_ranges[0].FromByte(nByte) * 655.35);
    for (int i = 1; i < 3; ++i)
      m_words[i][n] = ToWord((m_ranges[i].FromByte(nByte) + 128) * 257);
  }
  FormatKey("L_%5.3lf%5.3lf%5.3lf_%5.3lf%5.3lf%5.3lf%5.3lf", white.m_dX, white.m_dY, white.m_dZ,
            m_ranges[1].m_dMin, m_ranges[1].m_dMax, m_ranges[2].m_dMin, m_ranges[2].m_dMax);
}

const char* CLabColorSpace::GetAxisName(int nComponent)
{
  static constexpr const char* names[] = {"L*", "a*", "b*"};
  return nComponent >= 0 && nComponent < 3 ? names[nComponent] : nullptr;
}

bool CLabColorSpace::OnConvertRow(DOC::TTarget target, const unsigned char* pSource, unsigned char* pResult,
                                  int nCount)
{
  constexpr int nBlock = 256;
  DOC::CColorTransform* pTransform = target == DOC::eToLab ? nullptr : GetTransform(target);
  if (!pTransform && target != DOC::eToLab)
    return false;
  std::uint16_t words[3 * nBlock];
  for (int nDone = 0; nDone < nCount; nDone += nBlock)
  {
    const int nPixels = std::min(nCount - nDone, nBlock);
    for (int i = 0; i < 3 * nPixels; ++i)
      words[i] = m_words[i % 3][*pSource++];
    if (pTransform)
      pTransform->Apply(reinterpret_cast<const unsigned char*>(words), pResult, nPixels);
    else
      for (int i = 0; i < 3 * nPixels; ++i)
        pResult[i] = static_cast<unsigned char>((words[i] + 128) / 257);
    pResult += nPixels * DOC::GetTargetComponents(target);
  }
  return true;
}

}  // namespace PDF
