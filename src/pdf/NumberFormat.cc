#include "pdf/NumberFormat.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>

namespace PDF
{

namespace
{

constexpr double g_dSmallest = 1.175e-38;
constexpr double g_dLargest = 3.403e38;

// Powers that scale any value between the limits to at most 15 digits.
constexpr int g_nMinPower = -38;
constexpr int g_nMaxPower = 49;

constexpr double g_powers[] = {
    1e-38, 1e-37, 1e-36, 1e-35, 1e-34, 1e-33, 1e-32, 1e-31, 1e-30, 1e-29, 1e-28, 1e-27, 1e-26, 1e-25, 1e-24,
    1e-23, 1e-22, 1e-21, 1e-20, 1e-19, 1e-18, 1e-17, 1e-16, 1e-15, 1e-14, 1e-13, 1e-12, 1e-11, 1e-10, 1e-9,
    1e-8,  1e-7,  1e-6,  1e-5,  1e-4,  1e-3,  1e-2,  1e-1,  1e0,   1e1,   1e2,   1e3,   1e4,   1e5,   1e6,
    1e7,   1e8,   1e9,   1e10,  1e11,  1e12,  1e13,  1e14,  1e15,  1e16,  1e17,  1e18,  1e19,  1e20,  1e21,
    1e22,  1e23,  1e24,  1e25,  1e26,  1e27,  1e28,  1e29,  1e30,  1e31,  1e32,  1e33,  1e34,  1e35,  1e36,
    1e37,  1e38,  1e39,  1e40,  1e41,  1e42,  1e43,  1e44,  1e45,  1e46,  1e47,  1e48,  1e49};
static_assert(std::size(g_powers) == g_nMaxPower - g_nMinPower + 1);

double GetPower(int nExponent)
{
  return g_powers[nExponent - g_nMinPower];
}

// floor(log10(value)) for a value between the limits: an estimate from the binary exponent, then a
// comparison.
int GetDecimalExponent(double dValue)
{
  const int nBinary = static_cast<int>(std::bit_cast<std::uint64_t>(dValue) >> 52 & 0x7FF) - 1023;
  // 1233 / 4096 is log10(2); the estimate is the exponent or one less.
  int nExponent = (nBinary * 1233) >> 12;
  if (nExponent < g_nMinPower)
    nExponent = g_nMinPower;
  while (nExponent > g_nMinPower && dValue < GetPower(nExponent))
    --nExponent;
  while (dValue >= GetPower(nExponent + 1))
    ++nExponent;
  return nExponent;
}

constexpr auto g_digitPairs = []
{
  std::array<char, 200> pairs{};
  for (std::size_t i = 0; i < 100; ++i)
  {
    pairs[2 * i] = static_cast<char>('0' + i / 10);
    pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();

// Writes the digits so that they end at pEnd; returns where they begin.
char* WriteDigits(std::uint64_t nValue, char* pEnd)
{
  while (nValue >= 100)
  {
    pEnd -= 2;
    std::memcpy(pEnd, &g_digitPairs[2 * (nValue % 100)], 2);
    nValue /= 100;
  }
  if (nValue >= 10)
  {
    pEnd -= 2;
    std::memcpy(pEnd, &g_digitPairs[2 * nValue], 2);
    return pEnd;
  }
  *--pEnd = static_cast<char>('0' + nValue);
  return pEnd;
}

// The last digit's place: 10^-result. False if the limits leave no digit.
bool GetScale(int nExponent, int nSignificant, int nDecimals, int& nScale)
{
  if (nExponent >= 15)
  {
    nScale = 14 - nExponent;
    return true;
  }
  if (nExponent >= 12)
  {
    nScale = 0;
    return true;
  }
  int n = 11;
  if (nSignificant > 0)
    n = std::min(nExponent < nSignificant ? nSignificant - 1 : nExponent, 11);
  if (nDecimals >= 0)
    n = std::min(n, std::min(nDecimals, 64) + nExponent);
  nScale = n - nExponent;
  return n >= 0;
}

// The digits with the point nScale places from their end, above 0.
int WriteFraction(const char* pDigits, int nDigits, int nScale, char* pBuffer)
{
  while (nScale > 0 && pDigits[nDigits - 1] == '0')
  {
    --nDigits;
    --nScale;
  }
  const int nWhole = nDigits - nScale;
  char* p = pBuffer;
  if (nWhole > 0)
  {
    std::memcpy(p, pDigits, static_cast<std::size_t>(nWhole));
    p += nWhole;
    pDigits += nWhole;
    nDigits -= nWhole;
  }
  else
  {
    *p++ = '0';
  }
  if (nScale == 0)
    return static_cast<int>(p - pBuffer);
  *p++ = '.';
  for (int i = nWhole; i < 0; ++i)
    *p++ = '0';
  std::memcpy(p, pDigits, static_cast<std::size_t>(nDigits));
  return static_cast<int>(p + nDigits - pBuffer);
}

}  // namespace

int FormatInteger(std::int64_t nValue, char* pBuffer)
{
  char digits[20];
  char* const pEnd = digits + sizeof(digits);
  const auto nMagnitude = static_cast<std::uint64_t>(nValue);
  const char* pBegin = WriteDigits(nValue < 0 ? 0 - nMagnitude : nMagnitude, pEnd);
  char* p = pBuffer;
  if (nValue < 0)
    *p++ = '-';
  const auto nLength = static_cast<std::size_t>(pEnd - pBegin);
  std::memcpy(p, pBegin, nLength);
  return static_cast<int>(p - pBuffer) + static_cast<int>(nLength);
}

int FormatReal(double dValue, char* pBuffer, int nSignificant, int nDecimals)
{
  pBuffer[0] = '0';
  double dMagnitude = std::fabs(dValue);
  if (!(dMagnitude >= g_dSmallest))
    return 1;
  dMagnitude = std::min(dMagnitude, g_dLargest);
  const int nExponent = GetDecimalExponent(dMagnitude);
  int nScale = 0;
  if (!GetScale(nExponent, nSignificant, nDecimals, nScale))
    return 1;
  const double dScaled = nScale >= 0 ? dMagnitude * GetPower(nScale) : dMagnitude / GetPower(-nScale);
  const auto nDigitsValue = static_cast<std::uint64_t>(std::llround(dScaled));
  char digits[24];
  char* const pEnd = digits + sizeof(digits);
  const char* pDigits = WriteDigits(nDigitsValue, pEnd);
  const auto nDigits = static_cast<int>(pEnd - pDigits);
  char* p = pBuffer;
  if (dValue < 0)
    *p++ = '-';
  if (nScale >= 0)
    return static_cast<int>(p - pBuffer) + WriteFraction(pDigits, nDigits, nScale, p);
  std::memcpy(p, pDigits, static_cast<std::size_t>(nDigits));
  std::memset(p + nDigits, '0', static_cast<std::size_t>(-nScale));
  return static_cast<int>(p - pBuffer) + nDigits - nScale;
}

}  // namespace PDF
