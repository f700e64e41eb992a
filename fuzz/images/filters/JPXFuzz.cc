// A JPEG 2000 image, or rows that are encoded and decoded again; the first two bytes give the parameters.

#include "images/filters/jpx/JPXDecodeFilter.h"
#include "images/filters/jpx/JPXEncodeFilter.h"

#include "FilterFuzz.h"

namespace
{

void Decode(std::span<const uint8_t> data, unsigned nForm)
{
  BSE::CErrorHandler handler;
  BSE::CJPXParameters parameters;
  parameters.nChannels = static_cast<int>(nForm % 5);
  parameters.bIndices = nForm / 5 % 2 != 0;
  const BSE::CObjectPtr<BSE::IByteStream> pSource(
      new BSE::CMemoryStream(data.data(), static_cast<std::int64_t>(data.size())));
  const BSE::CObjectPtr<BSE::CJPXDecodeFilter> pFilter(
      new BSE::CJPXDecodeFilter(pSource.Get(), parameters, &handler));
  const auto nRowSize = static_cast<std::size_t>(pFilter->GetParameters().nWidth) *
                        static_cast<std::size_t>(pFilter->GetSampleCount());
  BSE::Require(pFilter->IsValid() == (nRowSize > 0));
  if (nRowSize == 0)
    return;
  const BSE::CBytes first = BSE::ReadPieces(*pFilter, 64 * nRowSize);
  BSE::Require(first.size() % nRowSize == 0);
  BSE::Require(pFilter->Reset() && BSE::ReadPieces(*pFilter, nRowSize) == first);
}

void RoundTrip(std::span<const uint8_t> rows, unsigned nForm)
{
  constexpr int spaces[] = {BSE::eJPXGray, BSE::eJPXRGB, BSE::eJPXCMYK, BSE::eJPXLab};
  BSE::CJPXParameters parameters;
  parameters.nColorSpace = spaces[nForm % 4];
  parameters.nChannels = BSE::GetJPXColorCount(parameters.nColorSpace);
  parameters.nQuality = nForm / 4 % 2 != 0 ? 100 : static_cast<int>(nForm / 2);
  parameters.nWidth = static_cast<int>(1 + nForm / 8);
  const std::size_t nRowSize =
      static_cast<std::size_t>(parameters.nWidth) * static_cast<std::size_t>(parameters.nChannels);
  parameters.nHeight = static_cast<int>(rows.size() / nRowSize);
  if (parameters.nHeight == 0)
    return;
  const BSE::CObjectPtr<BSE::CMemoryStream> pEncoded(new BSE::CMemoryStream);
  const BSE::CObjectPtr<BSE::CJPXEncodeFilter> pEncoder(
      new BSE::CJPXEncodeFilter(pEncoded.Get(), parameters));
  const std::size_t nSize = rows.size() / nRowSize * nRowSize;
  BSE::Require(pEncoder->WriteAll(rows.data(), static_cast<std::int64_t>(nSize)) && pEncoder->Close() &&
               pEncoded->Rewind());
  const BSE::CObjectPtr<BSE::CJPXDecodeFilter> pDecoder(new BSE::CJPXDecodeFilter(pEncoded.Get()));
  const BSE::CBytes decoded = BSE::ReadPieces(*pDecoder, nRowSize);
  BSE::Require(decoded.size() == nSize && !pDecoder->HasGap());
  BSE::Require(parameters.nQuality < 100 || std::equal(decoded.begin(), decoded.end(), rows.begin()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  if (nSize < 2 || nSize > 1 << 14)
    return 0;
  const std::span<const uint8_t> data(pData, nSize);
  if ((data[0] & 128) != 0)
    RoundTrip(data.subspan(2), data[1]);
  else
    Decode(data.subspan(2), data[0]);
  return 0;
}
