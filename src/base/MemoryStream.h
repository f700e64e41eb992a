#pragma once

#include "base/ObjectPtr.h"
#include "base/Stream.h"

namespace BSE
{

// Growable memory in blocks that never move once allocated. Readable, writable, seekable.
class CMemoryStream : public CObject, public IByteStream
{
public:
  // Empty; nInitialSize bytes of blocks are allocated ahead.
  explicit CMemoryStream(std::int64_t nInitialSize = 0, int nBlockSize = g_nDefaultBlockSize);

  // Holds a copy of the bytes in one block; throws when memory is exhausted.
  CMemoryStream(const void* pData, std::int64_t nLength);
  ~CMemoryStream() override;

  bool IsValid() const override { return true; }
  std::int64_t GetLength() override;
  bool IsSeekable() const override { return true; }
  bool Rewind() override;
  bool Skip(std::int64_t n) override;
  std::int64_t Tell() override { return m_nPos; }

  // Beyond the end the stream is extended by zeros, for which nothing is allocated before it is written to.
  // Negative counts from the end, -1 being the end itself.
  bool Seek(std::int64_t nPos) override;
  int GetBlockSize() const override;
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;

  // Shares the blocks; starts at the same position.
  IStreamBase<unsigned char>* Dup() override;

  // Cuts or extends to a length and positions there.
  bool SetLength(std::int64_t nLength);

  // Stored bytes from a position, up to the end of their block at most, for readers without a copy. Empty
  // only at the end.
  std::span<const unsigned char> GetBlockAt(std::int64_t nPos) const;

protected:
  struct TBlocks;
  explicit CMemoryStream(TBlocks* pBlocks);

  TBlocks* m_pBlocks;  // shared and counted among duplicates
  std::int64_t m_nPos = 0;
};

// What CMemoryStream::Dup makes.
class CDupMemoryStream : public CMemoryStream
{
public:
  explicit CDupMemoryStream(TBlocks* pBlocks) : CMemoryStream(pBlocks) {}

private:
  friend class CMemoryStream;  // sets the position
};

}  // namespace BSE
