#pragma once

#include "base/Filter.h"

namespace BSE
{

// The code of a failure to write to a target or to position it, to be asked for at once: what the target has
// left in the thread's error slot; exhausted memory for one in memory; else 0x80300061. The slot is right
// only if it held success before.
unsigned GetWriteFailure(IByteStream* pTarget);

// Write-behind buffer on a target. Flush reports failure; the destructor flushes too, but swallows failures.
class CBufferedOutputStream : public CFilter
{
public:
  explicit CBufferedOutputStream(IByteStream* pTarget, int nCapacity = g_nDefaultBlockSize);
  ~CBufferedOutputStream() override;

  // The larger of the target's length and what is buffered after it.
  std::int64_t GetLength() override;
  bool IsSeekable() const override { return m_pSource && m_pSource->IsSeekable(); }
  bool Rewind() override { return Seek(0); }
  bool Skip(std::int64_t n) override;
  std::int64_t Tell() override;
  bool Seek(std::int64_t nPos) override;

  // Refused with a trace line.
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;

  // 0 once a flush has failed.
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;

  // Appends one byte; false once a flush has failed.
  bool PutByte(unsigned char nByte)
  {
    if (m_pCurrent == m_pLimit && !Flush())
      return false;
    *m_pCurrent++ = nByte;
    return true;
  }

  bool Flush();

  // True once a flush has failed; from then on nothing is written.
  bool HasFailed() const { return m_nFailure != 0; }

  // The code of that failure, as GetWriteFailure has it; 0 for none.
  unsigned GetFailure() const { return m_nFailure; }

private:
  // Makes m_nPos known and returns it.
  std::int64_t GetStart();

  bool WriteToTarget(const unsigned char* pData, std::int64_t n);
  bool Fail();

  unsigned char* m_pBuffer;
  unsigned char* m_pCurrent;
  unsigned char* m_pLimit;
  std::int64_t m_nFill = 0;  // high-water mark of the buffer
  unsigned m_nFailure = 0;   // m_nPos: position of the buffer's start in the target, -1 until known
};

}  // namespace BSE
