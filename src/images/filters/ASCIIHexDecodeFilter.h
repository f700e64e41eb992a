#pragma once

#include "base/DecodeFilter.h"

namespace BSE
{

// Decodes pairs of hexadecimal digits up to ">" (ISO 32000-1, 7.4.2). A single digit before ">" is the high
// half of a byte; one before the end of a source without ">" is dropped, a gap without a report. Characters
// up to 32 are skipped; another one is reported, and ends the data with a gap.
class CASCIIHexDecodeFilter final : public CBufferedDecodeFilter
{
public:
  explicit CASCIIHexDecodeFilter(IByteStream* pSource, IErrorContext* pErrorContext = nullptr)
      : CBufferedDecodeFilter(pSource, pErrorContext)
  {
  }

  // Looks for ">" only and reports nothing.
  bool SkipToEnd() override;

protected:
  int DecodeBlock(std::span<unsigned char> block) override;
  void ResetState() override { m_nPending = -1; }

private:
  int m_nPending = -1;  // the first digit of a pair
};

}  // namespace BSE
