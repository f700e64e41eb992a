#include "images/color/DeviceColorSpaces.h"

#include "images/color/DeviceRows.h"

#include <algorithm>
#include <cstring>

namespace DOC
{

namespace
{

double ClampUnit(double d)
{
  return TRange{}.Clamp(d);
}

bool CopyColor(std::span<const double> color, std::span<double> result, std::size_t nComponents)
{
  if (color.size() < nComponents || result.size() < nComponents)
    return false;
  for (std::size_t i = 0; i < nComponents; ++i)
    result[i] = ClampUnit(color[i]);
  return true;
}

// YCbCr of BT.601 with full range, in parts of 255.
void YCCToRGB(const unsigned char* pSource, unsigned char* pTarget)
{
  const double dY = pSource[0] / 255.0;
  const double dCb = pSource[1] / 255.0 - 0.5;
  const double dCr = pSource[2] / 255.0 - 0.5;
  const double values[3] = {dY + 1.402 * dCr, dY - 0.3441362862010222 * dCb - 0.7141362862010222 * dCr,
                            dY + 1.772 * dCb};
  for (int i = 0; i < 3; ++i)
    pTarget[i] = TRange{}.ToByte(values[i]);
}

}  // namespace

bool CDeviceGrayColorSpace::ConvertColor(TTarget target, std::span<const double> color,
                                         std::span<double> result)
{
  if (target == eToLab)
    return CColorSpace::ConvertColor(target, color, result);
  const auto nResults = static_cast<std::size_t>(GetTargetComponents(target));
  if (color.empty() || result.size() < nResults)
    return false;
  const double dGray = ClampUnit(color[0]);
  std::fill_n(result.begin(), nResults, target == eToCMYK ? 0 : dGray);
  if (target == eToCMYK)
    result[3] = 1 - dGray;
  return true;
}

bool CDeviceGrayColorSpace::OnConvertRow(TTarget target, const unsigned char* pSource, unsigned char* pResult,
                                         int nCount)
{
  if (target == eToGray)
    std::memcpy(pResult, pSource, static_cast<std::size_t>(nCount));
  else if (target == eToRGB)
    GrayToRGB(pSource, pResult, nCount);
  else if (target == eToCMYK)
    GrayToCMYK(pSource, pResult, nCount);
  else
    return CColorSpace::OnConvertRow(target, pSource, pResult, nCount);
  return true;
}

bool CDeviceRGBColorSpace::ConvertColor(TTarget target, std::span<const double> color,
                                        std::span<double> result)
{
  return target == eToRGB ? CopyColor(color, result, 3) : CColorSpace::ConvertColor(target, color, result);
}

bool CDeviceRGBColorSpace::OnConvertRow(TTarget target, const unsigned char* pSource, unsigned char* pResult,
                                        int nCount)
{
  if (target == eToRGB)
    std::memcpy(pResult, pSource, 3 * static_cast<std::size_t>(nCount));
  else if (CColorSpace::OnConvertRow(target, pSource, pResult, nCount))
    return true;
  else if (target == eToGray)
    RGBToGray(pSource, pResult, nCount);
  else if (target == eToCMYK)
    RGBToCMYK(pSource, pResult, nCount);
  else
    return false;
  return true;
}

void CDeviceCMYKColorSpace::GetDefaultColor(std::span<double> color) const
{
  for (std::size_t i = 0; i < color.size(); ++i)
    color[i] = i == 3 ? 1 : 0;
}

bool CDeviceCMYKColorSpace::ConvertColor(TTarget target, std::span<const double> color,
                                         std::span<double> result)
{
  return target == eToCMYK ? CopyColor(color, result, 4) : CColorSpace::ConvertColor(target, color, result);
}

bool CDeviceCMYKColorSpace::OnConvertRow(TTarget target, const unsigned char* pSource, unsigned char* pResult,
                                         int nCount)
{
  if (target == eToCMYK)
    std::memcpy(pResult, pSource, 4 * static_cast<std::size_t>(nCount));
  else if (CColorSpace::OnConvertRow(target, pSource, pResult, nCount))
    return true;
  else if (target == eToGray)
    CMYKToGray(pSource, pResult, nCount);
  else if (target == eToRGB)
    CMYKToRGB(pSource, pResult, nCount);
  else
    return false;
  return true;
}

bool CColorSpaceYCC::OnConvertRow(TTarget target, const unsigned char* pSource, unsigned char* pResult,
                                  int nCount)
{
  constexpr int nBlock = 256;
  unsigned char rgb[3 * nBlock];
  while (nCount > 0)
  {
    const int nPixels = std::min(nCount, nBlock);
    for (int i = 0; i < nPixels; ++i, pSource += 3)
      YCCToRGB(pSource, rgb + 3 * i);
    const auto nResults =
        static_cast<std::size_t>(nPixels) * static_cast<std::size_t>(GetTargetComponents(target));
    if (!m_pRGB->ConvertRow(target, rgb, {pResult, nResults}, nPixels))
      return false;
    pResult += nResults;
    nCount -= nPixels;
  }
  return true;
}

}  // namespace DOC
