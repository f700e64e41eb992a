#pragma once

#include "base/Filter.h"

namespace BSE
{

// The section [offset, offset + length) of a source; a length of -1 reaches to the source's end. The source
// is positioned before each access, so that several sections can share it.
class CEmbeddedStream : public CFilter
{
public:
  CEmbeddedStream(IByteStream* pSource, std::int64_t nOffset, std::int64_t nLength);

  std::int64_t GetLength() override;
  bool IsSeekable() const override { return m_pSource && m_pSource->IsSeekable(); }
  bool Rewind() override;
  bool Skip(std::int64_t n) override;
  bool Seek(std::int64_t nPos) override;
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;
  std::int64_t ReadEx(unsigned char* pBuffer, std::int64_t n) override;

  // Grows a known length when the position passes it.
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;

  // Another section of the same source, at the same position; null if the source is not seekable.
  IStreamBase<unsigned char>* Dup() override;

  std::int64_t GetOffset() const { return m_nOffset; }

private:
  bool SeekSource();

  std::int64_t m_nOffset;
};

}  // namespace BSE
