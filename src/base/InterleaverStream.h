#pragma once

#include "base/BasicArray.h"
#include "base/Stream.h"

namespace BSE
{

// Takes one unit from each of several streams in turn, as from the planes of an image. Read forward only,
// with Rewind. It ends with the shortest of them; streams of different lengths are traced.
class CInterleaverStream : public CObject, public IByteStream
{
public:
  explicit CInterleaverStream(const CObjectArray<IByteStream>& streams);

  // There is at least one stream and all are valid.
  bool IsValid() const override;

  // The streams times the shortest length; -1 if one of them is not known.
  std::int64_t GetLength() override;
  bool Rewind() override;
  bool Skip(std::int64_t n) override;
  std::int64_t Tell() override { return m_nStart + m_nUsed; }

  // Only to where the stream is.
  bool Seek(std::int64_t nPos) override { return nPos == Tell(); }

  // A multiple of the number of streams.
  int GetBlockSize() const override { return m_block.GetSize(); }
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;
  std::int64_t ReadEx(unsigned char* pBuffer, std::int64_t n) override;

  // Refused with a trace line.
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;

private:
  // Loads the next block once this one is used up; false at the end and on failure.
  bool Fill();

  CObjectArray<IByteStream> m_streams;
  CBasicArray<unsigned char> m_block;  // interleaved
  CBasicArray<unsigned char> m_share;  // of one stream
  int m_nFilled = 0;
  int m_nUsed = 0;
  std::int64_t m_nStart = 0;  // position of the block
  bool m_bEnd = false;
  bool m_bFailed = false;
};

}  // namespace BSE
