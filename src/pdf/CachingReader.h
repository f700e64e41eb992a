#pragma once

#include "base/BasicArray.h"
#include "base/ObjectPtr.h"
#include "base/Stream.h"

namespace PDF
{

// Cache in front of a stream that is slow to access, such as one of a caller's callbacks: holds the block
// read last, so that the many small reads of loading objects reach the source rarely. Starts at the source's
// position; from then on nobody else may move or change the source.
class CCachingReader : public BSE::IByteStream, public BSE::CObject
{
public:
  explicit CCachingReader(BSE::IByteStream* pSource, int nBlockSize = 8 * BSE::g_nDefaultBlockSize);

  bool IsValid() const override { return m_pSource && m_pSource->IsValid(); }

  // Asked of the source once.
  std::int64_t GetLength() override;
  bool IsSeekable() const override { return m_pSource && m_pSource->IsSeekable(); }
  bool Rewind() override { return Seek(0); }
  bool Skip(std::int64_t n) override;
  std::int64_t Tell() override { return m_nPos; }

  // After the end nothing is read. The source is positioned by the next access that needs it.
  bool Seek(std::int64_t nPos) override;
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;
  std::int64_t ReadEx(unsigned char* pBuffer, std::int64_t n) override;

  // Goes to the source at once, and the block is forgotten.
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;
  bool IsFile() const override { return m_pSource && m_pSource->IsFile(); }
  const char* GetFileName() const override { return m_pSource ? m_pSource->GetFileName() : nullptr; }

  // A reader with a block of its own on a duplicate of the source, at the same position; null where the
  // source has none.
  BSE::IStreamBase<unsigned char>* Dup() override;

private:
  // Reads the block that holds the position; false on failure.
  bool Load();

  BSE::CObjectPtr<BSE::IByteStream> m_pSource;
  BSE::CBasicArray<unsigned char> m_block;
  std::int64_t m_nStart = 0;  // position of the block
  std::int64_t m_nValid = 0;  // bytes in it
  std::int64_t m_nPos = 0;
  std::int64_t m_nLength = -1;
};

}  // namespace PDF
