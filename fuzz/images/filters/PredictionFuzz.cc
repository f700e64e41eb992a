// Predicted rows; the first five bytes give the parameters.

#include "images/filters/PredictionDecodeFilter.h"

#include "FilterFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  if (nSize < 5)
    return 0;
  BSE::CPredictionParameters parameters;
  parameters.Predictor = pData[0] % 18;
  parameters.Colors = pData[1];
  parameters.BitsPerComponent = pData[2] > 32 ? 1 << (pData[2] % 5) : pData[2];
  parameters.Columns = pData[3] << (pData[4] % 24);
  BSE::FuzzDecoder<BSE::CPredictionDecodeFilter>({pData + 5, nSize - 5}, parameters);
  return 0;
}
