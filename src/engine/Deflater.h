#pragma once

#include "engine/ByteBuffer.h"

struct libdeflate_compressor;

namespace PDF
{

// Deflates whole blocks of data (RFC 1950).
class CDeflater
{
public:
  // 1 (fast) to 9 (small). Throws when memory is exhausted.
  explicit CDeflater(int nEffort);
  // False if the result would not be shorter than nLimit bytes; the buffer is empty then.
  bool Deflate(std::span<const unsigned char> data, std::size_t nLimit, CByteBuffer& encoded);

  // What the data can become at most.
  std::size_t GetBound(std::size_t nBytes);

private:
  class CCompressor
  {
  public:
    CCompressor() = default;
    CCompressor(const CCompressor&) = delete;
    CCompressor& operator=(const CCompressor&) = delete;
    ~CCompressor();

    // A level of the library behind it; once.
    void Create(int nLevel);
    libdeflate_compressor* Get() const { return m_p; }

  private:
    libdeflate_compressor* m_p = nullptr;
  };

  bool Run(libdeflate_compressor* pCompressor, std::span<const unsigned char> data, std::size_t nLimit,
           CByteBuffer& encoded);

  // With zlib, for data that became so short that its search, the longest of all, costs little.
  bool RunThird(std::span<const unsigned char> data, std::size_t nLimit, CByteBuffer& encoded);

  CCompressor m_compressor;
  CCompressor m_second;  // empty for the efforts without a second try
  int m_nThirdLevel;     // of zlib; 0 for the efforts without a third try
  CByteBuffer m_other;
};

}  // namespace PDF
