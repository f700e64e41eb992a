#pragma once

#include "base/Stream.h"

namespace BSE
{

// Reads and writes a caller's buffer of a fixed length in place; the buffer must outlive the stream. Writing
// ends at the end of the buffer.
class CBufferStream : public CObject, public IByteStream
{
public:
  CBufferStream(void* pBuffer, std::int64_t nLength);

  bool IsValid() const override { return m_pBuffer != nullptr; }
  std::int64_t GetLength() override { return m_nLength; }
  bool IsSeekable() const override { return true; }
  bool Rewind() override;
  bool Skip(std::int64_t n) override;
  std::int64_t Tell() override { return m_nPos; }

  // False for a position outside the buffer.
  bool Seek(std::int64_t nPos) override;
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;

  // Another stream on the same buffer, at the same position.
  IStreamBase<unsigned char>* Dup() override;

private:
  unsigned char* m_pBuffer;
  std::int64_t m_nLength;
  std::int64_t m_nPos = 0;
};

}  // namespace BSE
