#include "engine/Deflater.h"

#include <algorithm>

#include <libdeflate.h>

namespace PDF
{

namespace
{

// Levels of libdeflate for the efforts 1 to 9; from 10 on they search for the shortest parse.
constexpr int g_levels[] = {1, 3, 5, 6, 7, 8, 9, 11, 12};

}  // namespace

CDeflater::~CDeflater()
{
  if (m_pCompressor)
    libdeflate_free_compressor(m_pCompressor);
}

libdeflate_compressor* CDeflater::GetCompressor()
{
  if (!m_pCompressor)
    m_pCompressor = libdeflate_alloc_compressor(g_levels[std::clamp(m_nEffort, 1, 9) - 1]);
  if (!m_pCompressor)
    BSE::ThrowOutOfMemory();
  return m_pCompressor;
}

std::size_t CDeflater::GetBound(std::size_t nBytes)
{
  return libdeflate_zlib_compress_bound(GetCompressor(), nBytes);
}

bool CDeflater::Deflate(std::span<const unsigned char> data, std::size_t nLimit, CByteBuffer& encoded)
{
  encoded.Provide(std::min(nLimit, GetBound(data.size())));
  const std::size_t nSize =
      nLimit == 0
          ? 0
          : libdeflate_zlib_compress(GetCompressor(), data.data(), data.size(), encoded.GetRoom().data(),
                                     std::min(nLimit - 1, encoded.GetCapacity()));
  encoded.SetSize(nSize);
  return nSize > 0;
}

}  // namespace PDF
