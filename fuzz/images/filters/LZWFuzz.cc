// LZW data; the first byte gives the parameters.

#include "images/filters/LZWDecodeFilter.h"

#include "FilterFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  if (nSize == 0)
    return 0;
  BSE::CLZWParameters parameters;
  parameters.EarlyChange = pData[0] & 1;
  parameters.bLSBFirst = (pData[0] & 2) != 0;
  if ((pData[0] & 4) != 0)
    parameters.nCodeSize = pData[0] >> 4;
  BSE::FuzzDecoder<BSE::CLZWDecodeFilter>({pData + 1, nSize - 1}, parameters);
  return 0;
}
