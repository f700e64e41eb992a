// Flate data; with an odd first byte without the zlib frame.

#include "images/filters/FlateDecodeFilter.h"

#include "FilterFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  if (nSize == 0)
    return 0;
  const std::span<const uint8_t> data(pData + 1, nSize - 1);
  if (pData[0] % 2 == 0)
  {
    BSE::FuzzDecoder<BSE::CFlateDecodeFilter>(data);
    return 0;
  }
  BSE::CErrorHandler handler;
  const BSE::CObjectPtr<BSE::IByteStream> pSource(
      new BSE::CMemoryStream(data.data(), static_cast<std::int64_t>(data.size())));
  const BSE::CObjectPtr<BSE::CFlateDecodeFilter> pFilter(
      new BSE::CFlateDecodeFilter(pSource.Get(), &handler, BSE::TFlateFormat::Raw));
  BSE::ReadPieces(*pFilter, 1000);
  return 0;
}
