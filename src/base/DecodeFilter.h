#pragma once

#include "base/BufferedInputStream.h"
#include "base/Filter.h"

namespace BSE
{

// Base of decoders: the source holds encoded data. Tolerant by design: what is sound is delivered, damage is
// reported to the error context, and the data ends. Writing is refused with a trace line.
class CDecodeFilter : public CFilter
{
public:
  // Reads up to n decoded bytes; 0 at the end of the data. Delivers through DecodeBlock.
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;

  // Back to the first byte: clears the end flag, resets the decoder and rewinds the source.
  bool Rewind() override { return Reset(); }
  virtual bool Reset();

  // Reads and discards; all ones calls SkipToEnd.
  bool Skip(std::int64_t n) override;

  // Only forward, a backward position is reached through Rewind; a negative one is refused.
  bool Seek(std::int64_t nPos) override;

  // Consumes the source up to and including the end marker.
  virtual bool SkipToEnd();

  bool HasEnded() const { return m_bEnd; }

protected:
  using CFilter::CFilter;

  // Decodes into the block; returns the bytes produced. Sets m_bEnd once no more will come: 0 without the end
  // flag counts as the end too.
  virtual int DecodeBlock(std::span<unsigned char> block) = 0;

  // Puts the decoder's own state back to the start.
  virtual void ResetState() {}

  bool m_bEnd = false;
};

// Decoder that pulls single bytes from its source through an inner buffer.
class CBufferedDecodeFilter : public CDecodeFilter
{
public:
  bool Reset() override;

protected:
  explicit CBufferedDecodeFilter(IByteStream* pSource, IErrorContext* pErrorContext = nullptr);

  CObjectPtr<CBufferedInputStream> m_pInput;
};

}  // namespace BSE
