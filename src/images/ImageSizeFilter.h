#pragma once

#include "base/Filter.h"

namespace PDF
{

// Passes the samples of an image through, and reports once where they are fewer or more than expected.
class CImageSizeFilter final : public BSE::CFilter
{
public:
  CImageSizeFilter(BSE::IByteStream* pSource, std::int64_t nExpected,
                   BSE::IErrorContext* pErrorContext = nullptr)
      : CFilter(pSource, pErrorContext), m_nExpected(nExpected)
  {
  }

  bool Rewind() override;

  // By reading; only forward.
  bool Skip(std::int64_t n) override { return BSE::SkipByReading(*this, n); }
  bool Seek(std::int64_t nPos) override { return nPos >= m_nPos && Skip(nPos - m_nPos); }
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;
  std::int64_t Write(const unsigned char*, std::int64_t) override { return BSE::RefuseWrite(); }

private:
  std::int64_t m_nExpected;
  bool m_bReported = false;
};

}  // namespace PDF
