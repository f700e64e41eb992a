#pragma once

#include "images/filters/jbig2/JBIG2Bitmap.h"

#include <cstdint>

namespace BSE
{

// A row above the one that is coded, as the contexts of generic regions need it: what is at the right ends of
// their strings.
struct TJBIG2RowAbove
{
  // The pixels that come in with the 64 pixels of a word, for a string that reaches so far to the right.
  std::uint64_t Get(int i, int nStride, int nReach) const
  {
    constexpr int nBits = CJBIG2Bitmap::g_nWordBits;
    if (nReach == 0)
      return 0;
    return m_pRow[i] << nReach | (i + 1 < nStride ? m_pRow[i + 1] >> (nBits - nReach) : 0);
  }

  // What is in the string before the first pixel of the row.
  unsigned GetStart(int nReach) const
  {
    return nReach == 0 ? 0 : static_cast<unsigned>(m_pRow[0] >> (CJBIG2Bitmap::g_nWordBits - nReach));
  }

  const std::uint64_t* m_pRow;
};

}  // namespace BSE
