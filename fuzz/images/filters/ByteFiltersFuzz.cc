// The decoders without parameters; the first byte chooses one.

#include "images/filters/ASCII85DecodeFilter.h"
#include "images/filters/ASCIIHexDecodeFilter.h"
#include "images/filters/RunLengthDecodeFilter.h"

#include "FilterFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  if (nSize == 0)
    return 0;
  const std::span<const uint8_t> data(pData + 1, nSize - 1);
  switch (pData[0] % 3)
  {
  case 0:
    BSE::FuzzDecoder<BSE::CASCIIHexDecodeFilter>(data);
    break;
  case 1:
    BSE::FuzzDecoder<BSE::CASCII85DecodeFilter>(data);
    break;
  default:
    BSE::FuzzDecoder<BSE::CRunLengthDecodeFilter>(data);
  }
  return 0;
}
