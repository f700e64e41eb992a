#include "engine/Deflater.h"

#include <algorithm>
#include <limits>

#include <libdeflate.h>
#include <zlib.h>

namespace PDF
{

namespace
{

// Levels of libdeflate for the efforts 1 to 9. From 10 on they search for the shortest parse by a model of
// the costs, which fails on some very repetitive data: there the second level wins.
constexpr int g_levels[] = {1, 3, 5, 6, 7, 8, 10, 11, 12};
constexpr int g_nFirstSearching = 10;
constexpr int g_nSecondLevel = 9;

constexpr int g_nThirdEffort = 5;
constexpr int g_nAllEffort = 7;

constexpr std::size_t g_nSlack = 64;

// Data that are this many times shorter afterwards consist of little but long matches, among which zlib often
// finds better ones, and is fast.
constexpr std::size_t g_nRepetitive = 32;

}  // namespace

CDeflater::CDeflater(int nEffort)
    : m_nThirdLevel(nEffort < g_nThirdEffort ? 0
                    : nEffort < g_nAllEffort ? 8
                                             : Z_BEST_COMPRESSION)
{
  const int nLevel = g_levels[std::clamp(nEffort, 1, 9) - 1];
  m_compressor.Create(nLevel);
  if (nLevel >= g_nFirstSearching)
    m_second.Create(g_nSecondLevel);
}

CDeflater::CCompressor::~CCompressor()
{
  libdeflate_free_compressor(m_p);
}

void CDeflater::CCompressor::Create(int nLevel)
{
  m_p = libdeflate_alloc_compressor(nLevel);
  if (!m_p)
    BSE::ThrowOutOfMemory();
}

std::size_t CDeflater::GetBound(std::size_t nBytes)
{
  return libdeflate_zlib_compress_bound(m_compressor.Get(), nBytes);
}

bool CDeflater::Run(libdeflate_compressor* pCompressor, std::span<const unsigned char> data,
                    std::size_t nLimit, CByteBuffer& encoded)
{
  // The compressor gives up a few bytes before the room ends.
  const std::size_t nRoom = std::min(nLimit, GetBound(data.size())) + g_nSlack;
  encoded.Provide(nRoom);
  const std::size_t nSize =
      libdeflate_zlib_compress(pCompressor, data.data(), data.size(), encoded.GetRoom().data(), nRoom);
  encoded.SetSize(nSize < nLimit ? nSize : 0);
  return encoded.GetSize() > 0;
}

bool CDeflater::RunThird(std::span<const unsigned char> data, std::size_t nLimit, CByteBuffer& encoded)
{
  encoded.SetSize(0);
  z_stream stream = {};
  if (data.size() > std::numeric_limits<uInt>::max() || nLimit > std::numeric_limits<uInt>::max())
    return false;
  encoded.Provide(nLimit);
  if (deflateInit(&stream, m_nThirdLevel) != Z_OK)
    BSE::ThrowOutOfMemory();
  stream.next_in = const_cast<unsigned char*>(data.data());
  stream.avail_in = static_cast<uInt>(data.size());
  stream.next_out = encoded.GetRoom().data();
  stream.avail_out = static_cast<uInt>(nLimit);
  if (deflate(&stream, Z_FINISH) == Z_STREAM_END && stream.avail_out > 0)
    encoded.SetSize(nLimit - stream.avail_out);
  deflateEnd(&stream);
  return encoded.GetSize() > 0;
}

bool CDeflater::Deflate(std::span<const unsigned char> data, std::size_t nLimit, CByteBuffer& encoded)
{
  bool bFound = Run(m_compressor.Get(), data, nLimit, encoded);
  if (m_second.Get() && Run(m_second.Get(), data, bFound ? encoded.GetSize() : nLimit, m_other))
  {
    encoded.Swap(m_other);
    bFound = true;
  }
  if (m_nThirdLevel > 0 && bFound && encoded.GetSize() < data.size() / g_nRepetitive &&
      RunThird(data, encoded.GetSize(), m_other))
    encoded.Swap(m_other);
  return bFound;
}

}  // namespace PDF
