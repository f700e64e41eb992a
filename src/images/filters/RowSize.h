#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

namespace BSE
{

// Widest row of one bit a pixel: positions a few pixels beyond it still fit an int.
inline constexpr int g_nMaxBitColumns = std::numeric_limits<int>::max() - 63;

// Bytes of a row of one bit a pixel; 0 for a width that is not valid.
constexpr std::int64_t GetBitRowSize(std::int64_t nColumns)
{
  return nColumns > 0 && nColumns <= g_nMaxBitColumns ? (nColumns + 7) / 8 : 0;
}

// The transfer size of a filter that gives and takes whole rows: as many rows as the usual size has room for,
// and at least one.
constexpr int GetRowBlockSize(int nBlockSize, std::int64_t nRowSize)
{
  if (nRowSize <= 0)
    return nBlockSize;
  const std::int64_t nRows = std::max<std::int64_t>(nBlockSize / nRowSize, 1);
  return static_cast<int>(std::min<std::int64_t>(nRows * nRowSize, std::numeric_limits<int>::max()));
}

}  // namespace BSE
