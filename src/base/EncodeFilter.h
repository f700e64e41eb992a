#pragma once

#include "base/BufferedOutputStream.h"
#include "base/Filter.h"

namespace BSE
{

// Base of encoders: what is written goes encoded to the sink. Complete only after Close; reading is refused
// with a trace line. The position counts the bytes taken.
class CEncodeFilter : public CFilter
{
public:
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;
  bool Rewind() override { return false; }
  bool Skip(std::int64_t) override { return false; }
  bool Seek(std::int64_t nPos) override { return nPos == m_nPos; }

  // Writes the final bytes, once; closes nested encode filters after it too when bChain. False if anything
  // failed. Destructors of the concrete encoders call it as a fallback.
  bool Close(bool bChain = true);

protected:
  using CFilter::CFilter;

  // Encodes all bytes of the block; false on failure.
  virtual bool EncodeBlock(std::span<const unsigned char> block) = 0;

  // Writes what is pending and the end marker.
  virtual bool Finish() { return true; }

  // Close without the chain, for the destructors of the concrete encoders; failures are swallowed.
  void CloseOnRelease();

  bool m_bClosed = false;
  bool m_bFailed = false;
};

// Encoder that puts single bytes to its sink through an inner buffer, which Close flushes.
class CBufferedEncodeFilter : public CEncodeFilter
{
protected:
  explicit CBufferedEncodeFilter(IByteStream* pSink, IErrorContext* pErrorContext = nullptr);

  // Writes an encoder's own final bytes into m_pOutput; the base flushes afterwards.
  virtual bool FinishBuffered() { return true; }
  bool Finish() final;

  CObjectPtr<CBufferedOutputStream> m_pOutput;
};

}  // namespace BSE
