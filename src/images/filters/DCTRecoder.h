#pragma once

#include "base/BasicArray.h"

#include <cstddef>
#include <span>

namespace BSE
{

// Codes the coefficients of JPEG data (ISO/IEC 10918-1) anew: no sample changes. Each image is tried in one
// scan and in progressive scans, both with Huffman tables made for it. Of the markers of applications, those
// that affect the colours are kept: JFIF without its thumbnail, and Adobe. Comments are dropped.
class CDCTRecoder
{
public:
  // Replaces the result by data that is shorter than nLimit bytes; false, with an empty result, if there is
  // none. What a decoder would complain about is left alone, and so are arithmetic coding, other depths than
  // 8 bits, and images that would take more memory or work than BSE::g_nMaxRecodedDCT and its neighbours
  // allow. Reports nothing.
  bool Recode(std::span<const unsigned char> data, std::size_t nLimit, CBasicArray<unsigned char>& result);
};

}  // namespace BSE
