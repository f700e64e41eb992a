#pragma once

#include "base/ObjectPtr.h"
#include "base/Stream.h"

#include <cstdint>

namespace BSE
{

struct CJBIG2Parameters
{
  // Decoding: what images share, decoded, or null; read from its start to its end, and its size when it has
  // been.
  CObjectPtr<IByteStream> pGlobals;
  std::int64_t nGlobalsSize = 0;

  // Encoding: of the image. Decoding: those of the page are found in the data.
  int nWidth = 0;
  int nHeight = 0;

  // In dots per inch.
  double nResolutionX = 300.0;
  double nResolutionY = 300.0;
};

}  // namespace BSE
