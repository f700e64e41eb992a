#pragma once

#include "base/DecodeFilter.h"
#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

namespace BSE
{

using CBytes = std::vector<unsigned char>;

inline constexpr std::size_t g_nMaxFuzzOutput = 1 << 20;

// The first bytes of a stream, read in pieces of a size.
inline CBytes ReadPieces(IByteStream& stream, std::size_t nPiece)
{
  CBytes bytes;
  std::int64_t nRead = 1;
  while (nRead > 0 && bytes.size() < g_nMaxFuzzOutput)
  {
    const std::size_t nPos = bytes.size();
    const std::size_t nSize = std::min(nPiece, g_nMaxFuzzOutput - nPos);
    bytes.resize(nPos + nSize);
    nRead = stream.Read(bytes.data() + nPos, static_cast<std::int64_t>(nSize));
    bytes.resize(nPos + static_cast<std::size_t>(nRead));
  }
  return bytes;
}

inline void Require(bool bHolds)
{
  if (!bHolds)
    std::abort();
}

// Decodes with an F made with the arguments between source and reports. The pieces in which a reader asks
// make no difference.
template <class F, class... A>
void FuzzDecoder(std::span<const uint8_t> data, const A&... arguments)
{
  CErrorHandler handler;
  const CObjectPtr<IByteStream> pSource(
      new CMemoryStream(data.data(), static_cast<std::int64_t>(data.size())));
  const CObjectPtr<F> pFilter(new F(pSource.Get(), arguments..., &handler));
  const CBytes first = ReadPieces(*pFilter, 4096);
  Require(pFilter->Tell() == static_cast<std::int64_t>(first.size()));
  Require(pFilter->Reset());
  Require(ReadPieces(*pFilter, 13) == first);
  Require(pFilter->Reset() && pFilter->SkipToEnd());
  Require(ReadPieces(*pFilter, 100).empty());
}

}  // namespace BSE
