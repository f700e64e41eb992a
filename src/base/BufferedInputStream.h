#pragma once

#include "base/Filter.h"

namespace BSE
{

// Read-ahead buffer on a source. Byte loops run on the buffer through GetByte and PeekByte, without virtual
// calls. Starts at the source's position.
class CBufferedInputStream : public CFilter
{
public:
  explicit CBufferedInputStream(IByteStream* pSource, int nCapacity = g_nDefaultBlockSize);
  ~CBufferedInputStream() override;

  std::int64_t GetLength() override;
  bool IsSeekable() const override { return m_pSource && m_pSource->IsSeekable(); }
  bool Rewind() override;
  bool Skip(std::int64_t n) override;
  std::int64_t Tell() override { return m_nPos + (m_pCurrent - m_pBuffer); }

  // Negative counts from the end, -1 being the end itself. A position outside the stream is clamped to it.
  bool Seek(std::int64_t nPos) override;
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;
  std::int64_t ReadEx(unsigned char* pBuffer, std::int64_t n) override;

  // Refused with a trace line.
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;

  // Next byte, or -1 at the end.
  int GetByte()
  {
    if (m_pCurrent == m_pEnd && !Fill())
      return -1;
    return *m_pCurrent++;
  }
  // Next byte without taking it, or -1 at the end.
  int PeekByte()
  {
    if (m_pCurrent == m_pEnd && !Fill())
      return -1;
    return *m_pCurrent;
  }
  // Steps back over the byte that GetByte gave last; only directly after it.
  void UngetByte()
  {
    if (m_pCurrent != m_pBuffer)
      --m_pCurrent;
  }

  // The unread part of the buffer, for loops of a consumer; after Consume(n) it is n bytes shorter. An empty
  // span means: call Fill for more.
  std::span<const unsigned char> GetBuffered() const
  {
    return {m_pCurrent, static_cast<std::size_t>(m_pEnd - m_pCurrent)};
  }
  void Consume(std::size_t n) { m_pCurrent += n; }

  // Loads the next block once the buffer is used up; false at the end or on failure.
  virtual bool Fill();

  bool HasEnded() const { return m_bEnd; }

  // True once a read of the source has failed, whatever came after it: what a consumer took for the end of
  // the data may have been none.
  bool HadFailure() const { return m_bHadFailure; }

  // Forgets what is buffered, so that the next read sees what has been written to the source meanwhile.
  void Invalidate();

protected:
  // For a stream that reads a memory block in place.
  CBufferedInputStream();

  unsigned char* m_pBuffer = nullptr;
  unsigned char* m_pCurrent = nullptr;
  unsigned char* m_pEnd = nullptr;  // after the last valid byte
  int m_nCapacity = 0;
  bool m_bEnd = false;
  bool m_bFailed = false;      // the last access to the source failed
  bool m_bHadFailure = false;  // any access did
  bool m_bOwnsBuffer = true;

private:
  // Reads what follows the buffer and makes m_nPos its position; 0 at the end and on failure.
  std::int64_t ReadSource(unsigned char* pBuffer, std::int64_t n);

  // Empties the buffer; the next block comes from the position.
  void Drop(std::int64_t nPos);

  bool SkipToSourceEnd();

  unsigned char* m_pSpare = nullptr;  // as large as the buffer; null until it is needed
};

// Reads a caller's memory block in place; the block must outlive the stream.
class CMemoryInputStream : public CBufferedInputStream
{
public:
  CMemoryInputStream(const void* pData, std::int64_t nLength);

  bool IsValid() const override { return true; }
  std::int64_t GetLength() override { return m_pEnd - m_pBuffer; }
  bool IsSeekable() const override { return true; }
  bool Fill() override;
  bool Rewind() override;
  bool Seek(std::int64_t nPos) override;
  bool Skip(std::int64_t n) override;

  // Another stream on the same block, at the same position.
  IStreamBase<unsigned char>* Dup() override;
};

}  // namespace BSE
