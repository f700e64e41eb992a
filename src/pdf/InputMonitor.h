#pragma once

#include "base/Filter.h"

namespace PDF
{

// The input of a file, as all readers over it share it: remembers that it could not be read where it has
// data, whoever asked, and whatever it was taken for.
class CInputMonitor : public BSE::CFilter
{
public:
  explicit CInputMonitor(BSE::IByteStream* pSource) : CFilter(pSource) {}

  bool HasFailed() const { return m_bFailed; }

  std::int64_t GetLength() override { return m_pSource->GetLength(); }
  bool IsSeekable() const override { return m_pSource->IsSeekable(); }
  bool Rewind() override { return Note(m_pSource->Rewind()); }
  bool Skip(std::int64_t n) override { return m_pSource->Skip(n); }
  std::int64_t Tell() override { return m_pSource->Tell(); }
  bool Seek(std::int64_t nPos) override;
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;

  // A source that gives nothing before its end has failed as well.
  std::int64_t ReadEx(unsigned char* pBuffer, std::int64_t n) override;
  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override
  {
    return m_pSource->Write(pBuffer, n);
  }
  bool IsFile() const override { return m_pSource->IsFile(); }

private:
  bool Note(bool bGood)
  {
    m_bFailed = m_bFailed || !bGood;
    return bGood;
  }

  bool m_bFailed = false;
};

}  // namespace PDF
