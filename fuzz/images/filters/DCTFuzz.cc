// A JPEG image, or rows that are encoded and decoded again; the first two bytes give the parameters.

#include "images/filters/DCTDecodeFilter.h"
#include "images/filters/DCTEncodeFilter.h"
#include "images/filters/DCTRecoder.h"

#include "FilterFuzz.h"

namespace
{

void Decode(std::span<const uint8_t> data, int nColorTransform)
{
  BSE::CErrorHandler handler;
  BSE::CDCTParameters parameters;
  parameters.nColorTransform = nColorTransform;
  const BSE::CObjectPtr<BSE::IByteStream> pSource(
      new BSE::CMemoryStream(data.data(), static_cast<std::int64_t>(data.size())));
  const BSE::CObjectPtr<BSE::CDCTDecodeFilter> pFilter(
      new BSE::CDCTDecodeFilter(pSource.Get(), parameters, &handler));
  const auto nRowSize = static_cast<std::size_t>(pFilter->GetParameters().nWidth) *
                        static_cast<std::size_t>(pFilter->GetComponents());
  BSE::Require(pFilter->IsValid() == (nRowSize > 0));
  if (nRowSize == 0)
    return;
  const BSE::CBytes first = BSE::ReadPieces(*pFilter, 64 * nRowSize);
  BSE::Require(first.size() % nRowSize == 0);
  BSE::Require(pFilter->Reset());
  BSE::Require(BSE::ReadPieces(*pFilter, nRowSize) == first);
}

void RoundTrip(std::span<const uint8_t> rows, unsigned nForm)
{
  constexpr int spaces[] = {BSE::eDCTGray, BSE::eDCTRGB, BSE::eDCTYCC, BSE::eDCTCMYK, BSE::eDCTYCCK};
  constexpr std::size_t components[] = {1, 3, 3, 4, 4};
  const std::size_t nSpace = nForm % 5;
  BSE::CDCTParameters parameters;
  parameters.nColorSpace = spaces[nSpace];
  parameters.nColorTransform = nForm / 5 % 2 != 0 ? 1 : 0;
  parameters.nQuality = static_cast<int>(nForm);
  parameters.nWidth = static_cast<int>(1 + nForm / 8);
  const std::size_t nRowSize = static_cast<std::size_t>(parameters.nWidth) * components[nSpace];
  parameters.nHeight = static_cast<int>(rows.size() / nRowSize);
  if (parameters.nHeight == 0)
    return;
  const BSE::CObjectPtr<BSE::CMemoryStream> pEncoded(new BSE::CMemoryStream);
  const BSE::CObjectPtr<BSE::CDCTEncodeFilter> pEncoder(
      new BSE::CDCTEncodeFilter(pEncoded.Get(), parameters));
  const std::size_t nSize = rows.size() / nRowSize * nRowSize;
  BSE::Require(pEncoder->WriteAll(rows.data(), static_cast<std::int64_t>(nSize)) && pEncoder->Close() &&
               pEncoded->Rewind());
  const BSE::CObjectPtr<BSE::CDCTDecodeFilter> pDecoder(
      new BSE::CDCTDecodeFilter(pEncoded.Get(), parameters));
  BSE::Require(BSE::ReadPieces(*pDecoder, nRowSize).size() == nSize && !pDecoder->HasGap());
}

// What is coded anew decodes to the same samples, without a complaint.
void Recode(std::span<const uint8_t> data)
{
  BSE::CDCTRecoder recoder;
  BSE::CBasicArray<unsigned char> result;
  if (!recoder.Recode(data, data.size(), result))
    return;
  BSE::Require(static_cast<std::size_t>(result.GetSize()) < data.size());
  const auto read = [](std::span<const uint8_t> encoded)
  {
    const BSE::CObjectPtr<BSE::IByteStream> pSource(
        new BSE::CMemoryStream(encoded.data(), static_cast<std::int64_t>(encoded.size())));
    const BSE::CObjectPtr<BSE::CDCTDecodeFilter> pFilter(
        new BSE::CDCTDecodeFilter(pSource.Get(), BSE::CDCTParameters()));
    const auto nRowSize = static_cast<std::size_t>(pFilter->GetParameters().nWidth) *
                          static_cast<std::size_t>(pFilter->GetComponents());
    return nRowSize > 0 ? BSE::ReadPieces(*pFilter, 16 * nRowSize) : BSE::CBytes();
  };
  BSE::Require(read(result.GetSpan()) == read(data));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  if (nSize < 2 || nSize > 1 << 16)
    return 0;
  const std::span<const uint8_t> data(pData, nSize);
  if ((data[0] & 192) == 64)
    Recode(data.subspan(2));
  if ((data[0] & 128) != 0)
    RoundTrip(data.subspan(2), data[1]);
  else
    Decode(data.subspan(2), data[0] % 3 - 1);
  return 0;
}
