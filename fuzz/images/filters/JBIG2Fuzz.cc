// JBIG2 data, with globals as long as the second byte says; or, if the first byte is odd, a picture that is
// encoded and decoded again.

#include "images/filters/jbig2/JBIG2DecodeFilter.h"
#include "images/filters/jbig2/JBIG2EncodeFilter.h"

#include "FilterFuzz.h"

namespace
{

// The first rows in pieces of so many.
BSE::CBytes ReadRows(BSE::CJBIG2DecodeFilter& filter, std::size_t nPieceRows)
{
  const std::size_t nRowSize = (static_cast<std::size_t>(filter.GetParameters().nWidth) + 7) / 8;
  BSE::CBytes rows;
  if (nRowSize > BSE::g_nMaxFuzzOutput)
    return rows;
  nPieceRows = std::min(nPieceRows, BSE::g_nMaxFuzzOutput / nRowSize);
  BSE::CBytes piece(nRowSize * nPieceRows + 3);
  std::int64_t nRead = 1;
  for (int i = 0; nRead > 0 && i < 5000 && rows.size() < BSE::g_nMaxFuzzOutput; ++i)
  {
    nRead = filter.Read(piece.data(), static_cast<std::int64_t>(piece.size()));
    BSE::Require(static_cast<std::size_t>(nRead) % nRowSize == 0);
    rows.insert(rows.end(), piece.begin(), piece.begin() + nRead);
  }
  return rows;
}

BSE::CObjectPtr<BSE::IByteStream> MakeSource(std::span<const uint8_t> data)
{
  return BSE::CObjectPtr<BSE::IByteStream>(
      new BSE::CMemoryStream(data.data(), static_cast<std::int64_t>(data.size())));
}

void Decode(std::span<const uint8_t> globals, std::span<const uint8_t> data)
{
  BSE::CErrorHandler handler;
  BSE::CJBIG2Parameters parameters;
  if (!globals.empty())
    parameters.pGlobals = MakeSource(globals);
  const BSE::CObjectPtr<BSE::CJBIG2DecodeFilter> pFilter(
      new BSE::CJBIG2DecodeFilter(MakeSource(data).Get(), parameters, &handler));
  if (!pFilter->IsValid())
    return BSE::Require(handler.GetLastCode() != 0);
  const BSE::CBytes first = ReadRows(*pFilter, 20);
  BSE::Require(pFilter->Reset());
  const BSE::CBytes second = ReadRows(*pFilter, 1);
  BSE::Require(std::equal(second.begin(), second.end(), first.begin()));
}

void RoundTrip(int nWidth, std::span<const uint8_t> rows)
{
  const auto nRowSize = static_cast<std::size_t>(nWidth + 7) / 8;
  BSE::CJBIG2Parameters parameters;
  parameters.nWidth = nWidth;
  parameters.nHeight = static_cast<int>(rows.size() / nRowSize);
  if (parameters.nHeight == 0)
    return;
  BSE::CBytes picture(rows.begin(),
                      rows.begin() + static_cast<std::ptrdiff_t>(nRowSize) * parameters.nHeight);
  const auto nUnused =
      static_cast<unsigned char>((1 << (8 * nRowSize - static_cast<std::size_t>(nWidth))) - 1);
  for (std::size_t i = nRowSize - 1; i < picture.size(); i += nRowSize)
    picture[i] |= nUnused;
  const BSE::CObjectPtr<BSE::CMemoryStream> pEncoded(new BSE::CMemoryStream);
  const BSE::CObjectPtr<BSE::CJBIG2EncodeFilter> pEncoder(
      new BSE::CJBIG2EncodeFilter(pEncoded.Get(), parameters));
  BSE::Require(pEncoder->WriteAll(picture.data(), static_cast<std::int64_t>(picture.size())) &&
               pEncoder->Close() && pEncoded->Rewind());
  BSE::CErrorHandler handler;
  const BSE::CObjectPtr<BSE::CJBIG2DecodeFilter> pDecoder(
      new BSE::CJBIG2DecodeFilter(pEncoded.Get(), BSE::CJBIG2Parameters(), &handler));
  BSE::Require(ReadRows(*pDecoder, 9) == picture && handler.GetLastCode() == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  if (nSize < 2 || nSize > 1 << 15)
    return 0;
  const std::span<const uint8_t> data(pData + 2, nSize - 2);
  const std::size_t nGlobals = std::min<std::size_t>(pData[1], data.size());
  if (pData[0] % 2 == 0)
    Decode(data.first(nGlobals), data.subspan(nGlobals));
  else
    RoundTrip(1 + (pData[0] >> 1 << 8 | pData[1]) % 1500, data);
  return 0;
}
