#pragma once

#include "base/Filter.h"

namespace BSE
{

// Passes everything to a source that can be replaced, at a position of its own: a seekable source is
// positioned before each access, so that several delegates can share it.
class CDelegateFilter : public CFilter
{
public:
  explicit CDelegateFilter(IByteStream* pSource, IErrorContext* pErrorContext = nullptr);

  // The position stays. Null makes the stream invalid.
  void SetSource(IByteStream* pSource) { m_pSource = pSource; }

  std::int64_t GetLength() override { return m_pSource ? m_pSource->GetLength() : -1; }
  bool IsSeekable() const override { return m_pSource && m_pSource->IsSeekable(); }
  bool Rewind() override;
  bool Skip(std::int64_t n) override;
  bool Seek(std::int64_t nPos) override;
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;
  std::int64_t ReadEx(unsigned char* pBuffer, std::int64_t n) override;
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;
  bool IsFile() const override { return m_pSource && m_pSource->IsFile(); }

  // Another delegate of the same source, at the same position; null if the source is not seekable.
  IStreamBase<unsigned char>* Dup() override;

private:
  bool SeekSource();
  void TakePosition();
};

}  // namespace BSE
