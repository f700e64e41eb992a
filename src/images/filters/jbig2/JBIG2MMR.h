#pragma once

#include "images/filters/jbig2/JBIG2Bitmap.h"

#include <cstddef>
#include <span>

namespace BSE
{

// Decodes a bitmap in MMR coding (ITU-T T.88, 6.2.6): the two-dimensional code of T.6, whose end code need
// not be there. Decodes into a white bitmap; nTaken are the bytes up to the end of the code. False, with the
// reason in the run, if the data does not hold all of it; the rows up to there are kept.
bool DecodeJBIG2MMR(CJBIG2Run& run, std::span<const unsigned char> data, CJBIG2Bitmap& bitmap,
                    std::size_t& nTaken);

}  // namespace BSE
