#pragma once

#include "base/MemoryStream.h"
#include "base/ObjectPtr.h"
#include "base/Stream.h"

namespace BSE
{

// Random access over a source that can only be read forward: what was read once stays in memory. The source
// is read from where it is, which is position 0 here, and only as far as a position or a read asks for
// it.
class CCachedInputStream : public IByteStream, public CObject
{
public:
  explicit CCachedInputStream(IByteStream* pSource, int nBlockSize = g_nDefaultBlockSize);

  bool IsValid() const override { return m_pSource && m_pSource->IsValid(); }

  // What the source says, or what came once it has ended; -1 before that.
  std::int64_t GetLength() override;
  bool IsSeekable() const override { return true; }
  bool Rewind() override { return Seek(0); }
  bool Skip(std::int64_t n) override;
  std::int64_t Tell() override { return m_nPos; }

  // Reads the source up to the position. A position after the end is clamped to a length that is known, and
  // refused otherwise. Negative counts from the end, for which everything is read.
  bool Seek(std::int64_t nPos) override;
  int GetBlockSize() const override { return m_nBlockSize; }
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;
  std::int64_t ReadEx(unsigned char* pBuffer, std::int64_t n) override;

  // Refused with a trace line.
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;
  bool IsFile() const override { return false; }
  const char* GetFileName() const override { return m_pSource ? m_pSource->GetFileName() : nullptr; }

private:
  // Reads the source until that many bytes are there or it ends, all of it for a negative end; false if they
  // are not there then.
  bool FillTo(std::int64_t nEnd);

  CObjectPtr<IByteStream> m_pSource;
  CObjectPtr<CMemoryStream> m_pCache;
  CBasicArray<unsigned char> m_block;
  std::int64_t m_nLength = -1;
  std::int64_t m_nPos = 0;
  int m_nBlockSize;
  bool m_bEnd = false;
  bool m_bFailed = false;
};

}  // namespace BSE
