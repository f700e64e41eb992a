#pragma once

#include "engine/ByteBuffer.h"

struct libdeflate_compressor;

namespace PDF
{

// Deflates whole blocks of data (RFC 1950).
class CDeflater
{
public:
  // 1 (fast) to 9 (small).
  explicit CDeflater(int nEffort) : m_nEffort(nEffort) {}
  CDeflater(const CDeflater&) = delete;
  CDeflater& operator=(const CDeflater&) = delete;
  ~CDeflater();

  // False if the result would not be shorter than nLimit bytes; the buffer is empty then.
  bool Deflate(std::span<const unsigned char> data, std::size_t nLimit, CByteBuffer& encoded);

  // What the data can become at most.
  std::size_t GetBound(std::size_t nBytes);

private:
  libdeflate_compressor* GetCompressor();

  int m_nEffort;
  libdeflate_compressor* m_pCompressor = nullptr;
};

}  // namespace PDF
