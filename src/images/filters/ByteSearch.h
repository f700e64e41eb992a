#pragma once

#include "base/BufferedInputStream.h"

namespace BSE
{

// Consumes the input up to and including the next byte of that value, all of it if there is none.
void SkipBehind(CBufferedInputStream& input, unsigned char nByte);

}  // namespace BSE
