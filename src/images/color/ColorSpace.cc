#include "images/color/ColorSpace.h"

#include "base/Limits.h"
#include "images/color/StatusCodes.h"

#include <algorithm>
#include <limits>

namespace DOC
{

namespace
{

constexpr int g_nMaxPixels = std::numeric_limits<int>::max() / 8;

bool HasRoom(std::size_t nSize, int nCount, int nComponents)
{
  return nSize / static_cast<std::size_t>(nComponents) >= static_cast<std::size_t>(nCount);
}

TProfileKind GetTargetKind(TTarget target)
{
  return target == eToGray  ? eProfileGray
         : target == eToRGB ? eProfileRGB
         : target == eToLab ? eProfileLab
                            : eProfileCMYK;
}

}  // namespace

int GetTargetComponents(TTarget target)
{
  return target == eToGray ? 1 : target == eToCMYK ? 4 : 3;
}

bool IColorSpace::Prepare(TTarget target)
{
  const unsigned char source[BSE::g_nMaxFunctionValues] = {};
  unsigned char result[4];
  return ConvertRow(target, source, result, 1);
}

bool IColorSpace::RowToRGB(std::span<const unsigned char> source, std::span<unsigned char> target, int nCount,
                           TRowFormat format)
{
  if (format == eRowRGB)
    return ConvertRow(eToRGB, source, target, nCount);
  if (nCount < 0 || !HasRoom(target.size(), nCount, 4) || !ConvertRow(eToRGB, source, target, nCount))
    return false;
  // From the end, so that nothing is overwritten before it has been moved.
  for (std::size_t i = static_cast<std::size_t>(nCount); i-- > 0;)
  {
    const unsigned char nRed = target[3 * i];
    const unsigned char nGreen = target[3 * i + 1];
    target[4 * i + 2] = target[3 * i + 2];
    target[4 * i + 1] = nGreen;
    target[4 * i] = nRed;
    target[4 * i + 3] = 255;
  }
  return true;
}

void CColorSpace::GetDefaultColor(std::span<double> color) const
{
  int nComponent = 0;
  for (double& d : color)
    d = GetRange(nComponent++).Clamp(0);
}

void CColorSpace::ToReal(std::span<const unsigned char> bytes, std::span<double> color) const
{
  const std::size_t nCount =
      std::min({bytes.size(), color.size(), static_cast<std::size_t>(GetComponentCount())});
  for (std::size_t i = 0; i < nCount; ++i)
    color[i] = GetRange(static_cast<int>(i)).FromByte(bytes[i]);
}

bool CColorSpace::ConvertRow(TTarget target, std::span<const unsigned char> source,
                             std::span<unsigned char> result, int nCount)
{
  const int nComponents = GetComponentCount();
  if (nComponents < 1 || nCount < 0 || nCount > g_nMaxPixels ||
      !HasRoom(source.size(), nCount, nComponents) ||
      !HasRoom(result.size(), nCount, GetTargetComponents(target)))
    return false;
  return OnConvertRow(target, source.data(), result.data(), nCount);
}

bool CColorSpace::ConvertColor(TTarget target, std::span<const double> color, std::span<double> result)
{
  const int nComponents = GetComponentCount();
  const int nResults = GetTargetComponents(target);
  if (nComponents < 1 || nComponents > BSE::g_nMaxFunctionValues ||
      std::cmp_less(color.size(), nComponents) || std::cmp_less(result.size(), nResults))
    return false;
  unsigned char bytes[BSE::g_nMaxFunctionValues];
  unsigned char converted[4];
  for (int i = 0; i < nComponents; ++i)
    bytes[i] = GetRange(i).ToByte(color[static_cast<std::size_t>(i)]);
  if (!OnConvertRow(target, bytes, converted, 1))
    return false;
  for (int i = 0; i < nResults; ++i)
  {
    const unsigned char nByte = converted[i];
    result[static_cast<std::size_t>(i)] = target != eToLab ? nByte / 255.0
                                          : i == 0         ? nByte / 2.55
                                                           : nByte - 128.0;
  }
  return true;
}

bool CColorSpace::OnConvertRow(TTarget target, const unsigned char* pSource, unsigned char* pResult,
                               int nCount)
{
  CColorTransform* pTransform = GetTransform(target);
  if (pTransform)
    pTransform->Apply(pSource, pResult, nCount);
  return pTransform != nullptr;
}

void CColorSpace::OnNoTransform(TTarget)
{
  BSE::ReportLoss(m_pCMS->GetAccount().GetErrorContext(), g_nInvalidColorSpace);
}

CColorTransform* CColorSpace::GetTransform(TTarget target)
{
  if (!m_bTried[target])
  {
    m_bTried[target] = true;
    CColorProfile* pSource = OnGetProfile();
    CColorProfile* pTarget = m_pCMS->GetDefaultProfile(GetTargetKind(target));
    if (pSource && pTarget)
      m_transforms[target] = m_pCMS->CreateTransform(*pSource, *pTarget, OnGetSampleForm(), OnGetIntent());
    if (!m_transforms[target])
      OnNoTransform(target);
  }
  return m_transforms[target].Get();
}

}  // namespace DOC
