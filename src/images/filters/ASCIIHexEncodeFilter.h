#pragma once

#include "base/EncodeFilter.h"

namespace BSE
{

// Writes two upper-case hexadecimal digits for each byte, in lines of 160 digits, and ">" at the end
// (ISO 32000-1, 7.4.2).
class CASCIIHexEncodeFilter final : public CBufferedEncodeFilter
{
public:
  explicit CASCIIHexEncodeFilter(IByteStream* pSink, IErrorContext* pErrorContext = nullptr)
      : CBufferedEncodeFilter(pSink, pErrorContext)
  {
  }
  ~CASCIIHexEncodeFilter() override { CloseOnRelease(); }

protected:
  bool EncodeBlock(std::span<const unsigned char> block) override;
  bool FinishBuffered() override;

private:
  int m_nColumn = 0;  // digits in the line
};

}  // namespace BSE
