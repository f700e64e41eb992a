#pragma once

#include "base/BufferedInputStream.h"
#include "base/Filter.h"
#include "base/StatusCodes.h"

namespace BSE
{

// Base of decoders: the source holds encoded data. Tolerant by design: what is sound is delivered, damage is
// reported to the error context, and the data ends. Writing is refused with a trace line.
class CDecodeFilter : public CFilter
{
public:
  // Reads up to n decoded bytes; 0 at the end of the data. Delivers through DecodeBlock. Unless
  // a filter has a limit of its own, at most g_nMaxDecodedSize bytes are delivered, and beyond
  // g_nFreeDecodedSize at most g_nMaxDecodeRatio times what has been taken from the source; a stream with
  // more is reported and ends there.
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

  // True once data were skipped, missing or made up, reported or not: another reader may see more of it.
  // Passes leave such pictures as they are, and keep all glyphs of the fonts that such content uses. Data
  // that ends in good order without its end marker has no gap.
  bool HasGap() const { return m_bGap; }

protected:
  using CFilter::CFilter;

  // Decodes into the block; returns the bytes produced. Sets m_bEnd once no more will come: 0 without the end
  // flag counts as the end too.
  virtual int DecodeBlock(std::span<unsigned char> block) = 0;

  // Puts the decoder's own state back to the start.
  virtual void ResetState() {}

  // Moves the source back over what was read ahead, if the source can do that. Called at the end of the data.
  virtual void ReturnUnread() {}

  virtual bool RewindSource();

  // Bytes that the stream may decode to, as things stand. Filters whose output is bounded otherwise, by the
  // dimensions of an image or by what their source may give, override it.
  virtual std::int64_t GetSizeLimit() const;

  bool m_bEnd = false;
  bool m_bGap = false;
};

// True if one of the decoders that the data come through had a gap.
bool HasGap(IByteStream* pData);

// Decoder that pulls single bytes from its source through an inner buffer. A decoder holds no more bytes of
// the source than that buffer does: a seekable source is right after the end marker at the end.
class CBufferedDecodeFilter : public CDecodeFilter
{
protected:
  explicit CBufferedDecodeFilter(IByteStream* pSource, IErrorContext* pErrorContext = nullptr);

  void ReturnUnread() override;
  bool RewindSource() override;

  CObjectPtr<CBufferedInputStream> m_pInput;
};

}  // namespace BSE
