#pragma once

#include <cstdint>

namespace PDF
{

// Room that any formatted number needs.
inline constexpr int g_nMaxNumberLength = 64;

// Decimal digits with a sign where it is negative. Returns the length; no zero byte is added.
int FormatInteger(std::int64_t nValue, char* pBuffer);

// A real number as PDF writes them (ISO 32000-1, 7.3.3): never an exponent, no trailing zeros or point, "0."
// in front of a fraction. nSignificant limits the significant digits that a fraction may use (0 or below:
// none), nDecimals the digits after the point (negative: none). Without limits there are 12 digits, from 1e15
// on 15 and zeros after them. Magnitudes below 1.175e-38 and values that are not numbers give "0", those
// above 3.403e38 that limit. Returns the length; no zero byte is added.
int FormatReal(double dValue, char* pBuffer, int nSignificant = 0, int nDecimals = -1);

}  // namespace PDF
