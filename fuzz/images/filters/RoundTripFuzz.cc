// Every encoder followed by its decoder gives back the bytes; the first byte chooses.

#include "images/filters/ASCII85DecodeFilter.h"
#include "images/filters/ASCII85EncodeFilter.h"
#include "images/filters/ASCIIHexDecodeFilter.h"
#include "images/filters/ASCIIHexEncodeFilter.h"
#include "images/filters/FlateDecodeFilter.h"
#include "images/filters/FlateEncodeFilter.h"
#include "images/filters/LZWDecodeFilter.h"
#include "images/filters/LZWEncodeFilter.h"
#include "images/filters/PredictionDecodeFilter.h"
#include "images/filters/PredictionEncodeFilter.h"
#include "images/filters/RunLengthDecodeFilter.h"
#include "images/filters/RunLengthEncodeFilter.h"

#include "FilterFuzz.h"

namespace
{

template <class E, class D, class... A>
void RoundTrip(std::span<const uint8_t> data, const A&... arguments)
{
  const auto nSize = static_cast<std::int64_t>(data.size());
  const BSE::CObjectPtr<BSE::CMemoryStream> pEncoded(new BSE::CMemoryStream);
  const BSE::CObjectPtr<E> pEncoder(new E(pEncoded.Get(), arguments...));
  BSE::Require(pEncoder->WriteAll(data.data(), nSize) && pEncoder->Close() && pEncoded->Rewind());
  const BSE::CObjectPtr<D> pDecoder(new D(pEncoded.Get(), arguments...));
  const BSE::CBytes decoded = BSE::ReadPieces(*pDecoder, 777);
  BSE::Require(std::equal(decoded.begin(), decoded.end(), data.begin(), data.end()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  if (nSize == 0 || nSize > BSE::g_nMaxFuzzOutput)
    return 0;
  const std::span<const uint8_t> data(pData + 1, nSize - 1);
  const int nChoice = pData[0];
  switch (nChoice % 6)
  {
  case 0:
    RoundTrip<BSE::CASCIIHexEncodeFilter, BSE::CASCIIHexDecodeFilter>(data);
    break;
  case 1:
    RoundTrip<BSE::CASCII85EncodeFilter, BSE::CASCII85DecodeFilter>(data);
    break;
  case 2:
    RoundTrip<BSE::CRunLengthEncodeFilter, BSE::CRunLengthDecodeFilter>(data);
    break;
  case 3:
    RoundTrip<BSE::CLZWEncodeFilter, BSE::CLZWDecodeFilter>(data);
    break;
  case 4:
    RoundTrip<BSE::CFlateEncodeFilter, BSE::CFlateDecodeFilter>(data);
    break;
  default:
    RoundTrip<BSE::CPredictionEncodeFilter, BSE::CPredictionDecodeFilter>(
        data, BSE::CPredictionParameters{10 + nChoice % 6, 1 + nChoice / 6 % 4, 5, 8});
  }
  return 0;
}
