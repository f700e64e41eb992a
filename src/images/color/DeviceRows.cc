#include "images/color/DeviceRows.h"

#include <algorithm>
#include <cstring>

namespace DOC
{

namespace
{

// 0.3, 0.59 and 0.11 in parts of 256; together they are 256.
int GetLuminance(int nRed, int nGreen, int nBlue)
{
  return (77 * nRed + 151 * nGreen + 28 * nBlue + 128) >> 8;
}

unsigned char ToByte(int n)
{
  return static_cast<unsigned char>(n);
}

}  // namespace

void GrayToRGB(const unsigned char* pSource, unsigned char* pTarget, int nCount)
{
  for (; nCount > 0; --nCount, ++pSource, pTarget += 3)
    pTarget[0] = pTarget[1] = pTarget[2] = *pSource;
}

void GrayToCMYK(const unsigned char* pSource, unsigned char* pTarget, int nCount)
{
  for (; nCount > 0; --nCount, ++pSource, pTarget += 4)
  {
    pTarget[0] = pTarget[1] = pTarget[2] = 0;
    pTarget[3] = ToByte(255 - *pSource);
  }
}

void RGBToGray(const unsigned char* pSource, unsigned char* pTarget, int nCount)
{
  for (; nCount > 0; --nCount, pSource += 3)
    *pTarget++ = ToByte(GetLuminance(pSource[0], pSource[1], pSource[2]));
}

// Black takes the place of all gray.
void RGBToCMYK(const unsigned char* pSource, unsigned char* pTarget, int nCount)
{
  for (; nCount > 0; --nCount, pSource += 3, pTarget += 4)
  {
    const int nMost = std::max({pSource[0], pSource[1], pSource[2]});
    for (int i = 0; i < 3; ++i)
      pTarget[i] = ToByte(nMost - pSource[i]);
    pTarget[3] = ToByte(255 - nMost);
  }
}

void CMYKToGray(const unsigned char* pSource, unsigned char* pTarget, int nCount)
{
  for (; nCount > 0; --nCount, pSource += 4)
    *pTarget++ = ToByte(std::max(255 - GetLuminance(pSource[0], pSource[1], pSource[2]) - pSource[3], 0));
}

void CMYKToRGB(const unsigned char* pSource, unsigned char* pTarget, int nCount)
{
  for (; nCount > 0; --nCount, pSource += 4, pTarget += 3)
    for (int i = 0; i < 3; ++i)
      pTarget[i] = ToByte(std::max(255 - pSource[i] - pSource[3], 0));
}

}  // namespace DOC
