// Fax data, or rows that are encoded and decoded again; the first four bytes give the parameters.

#include "images/filters/CCITTFaxDecodeFilter.h"
#include "images/filters/CCITTFaxEncodeFilter.h"

#include "FilterFuzz.h"

namespace
{

BSE::CCCITTFaxParameters ReadParameters(std::span<const uint8_t> head)
{
  constexpr int modes[] = {-1, 0, 1, 4, 1099, 1200};
  BSE::CCCITTFaxParameters parameters;
  parameters.BlackIs1 = (head[0] & 1) != 0;
  parameters.EndOfLine = (head[0] & 2) != 0;
  parameters.EndOfBlock = (head[0] & 4) == 0;
  parameters.EncodedByteAlign = (head[0] & 8) != 0;
  parameters.bAlignEndOfLine = (head[0] & 16) != 0;
  parameters.bReverseBits = (head[0] & 32) != 0;
  parameters.Rows = (head[0] & 64) != 0 ? 5 : 0;
  parameters.DamagedRowsBeforeError = head[1] / 6 % 3;
  parameters.K = modes[head[1] % 6];
  parameters.Columns = 1 + (head[2] << 8 | head[3]);
  return parameters;
}

BSE::CBytes ReadRows(BSE::CCCITTFaxDecodeFilter& filter, std::size_t nRowSize, std::size_t nPieceRows)
{
  BSE::CBytes rows;
  BSE::CBytes piece(nRowSize * nPieceRows);
  while (rows.size() < BSE::g_nMaxFuzzOutput)
  {
    const std::int64_t nRead = filter.Read(piece.data(), static_cast<std::int64_t>(piece.size()));
    BSE::Require(nRead % static_cast<std::int64_t>(nRowSize) == 0);
    rows.insert(rows.end(), piece.begin(), piece.begin() + nRead);
    if (nRead == 0)
      break;
  }
  return rows;
}

void Decode(std::span<const uint8_t> data, const BSE::CCCITTFaxParameters& parameters, std::size_t nRowSize)
{
  BSE::CErrorHandler handler;
  const BSE::CObjectPtr<BSE::IByteStream> pSource(
      new BSE::CMemoryStream(data.data(), static_cast<std::int64_t>(data.size())));
  const BSE::CObjectPtr<BSE::CCCITTFaxDecodeFilter> pFilter(
      new BSE::CCCITTFaxDecodeFilter(pSource.Get(), parameters, &handler));
  BSE::CBytes first = ReadRows(*pFilter, nRowSize, 8);
  BSE::Require(pFilter->Reset());
  BSE::CBytes second = ReadRows(*pFilter, nRowSize, 1);
  const std::size_t nSize = std::min(first.size(), second.size());
  BSE::Require(std::equal(first.begin(), first.begin() + static_cast<std::ptrdiff_t>(nSize), second.begin()));
  BSE::Require(pFilter->Reset() && pFilter->SkipToEnd() && pFilter->HasEnded());
}

void RoundTrip(std::span<const uint8_t> data, BSE::CCCITTFaxParameters parameters, std::size_t nRowSize)
{
  const std::size_t nRows = data.size() / nRowSize;
  BSE::CBytes rows(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(nRows * nRowSize));
  const int nUnused = (8 - parameters.Columns % 8) % 8;
  const auto nMask = static_cast<unsigned char>((1 << nUnused) - 1);
  for (std::size_t i = nRowSize - 1; i < rows.size(); i += nRowSize)
    rows[i] = static_cast<unsigned char>(parameters.BlackIs1 ? rows[i] & ~nMask : rows[i] | nMask);
  parameters.bReverseBits = false;
  parameters.bAlignEndOfLine = parameters.bAlignEndOfLine && parameters.EndOfLine;
  const BSE::CObjectPtr<BSE::CMemoryStream> pEncoded(new BSE::CMemoryStream);
  const BSE::CObjectPtr<BSE::CCCITTFaxEncodeFilter> pEncoder(
      new BSE::CCCITTFaxEncodeFilter(pEncoded.Get(), parameters));
  BSE::Require(pEncoder->WriteAll(rows.data(), static_cast<std::int64_t>(rows.size())) && pEncoder->Close() &&
               pEncoded->Rewind());
  parameters.Rows = static_cast<int>(nRows);
  const BSE::CObjectPtr<BSE::CCCITTFaxDecodeFilter> pDecoder(
      new BSE::CCCITTFaxDecodeFilter(pEncoded.Get(), parameters));
  BSE::Require(nRows == 0 || ReadRows(*pDecoder, nRowSize, 3) == rows);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  if (nSize < 4 || nSize > 1 << 16)
    return 0;
  const std::span<const uint8_t> data(pData, nSize);
  const BSE::CCCITTFaxParameters parameters = ReadParameters(data);
  const auto nRowSize = static_cast<std::size_t>(parameters.Columns + 7) / 8;
  if ((data[0] & 128) != 0)
    RoundTrip(data.subspan(4), parameters, nRowSize);
  else
    Decode(data.subspan(4), parameters, nRowSize);
  return 0;
}
