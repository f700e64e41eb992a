#pragma once

#include "base/DecodeFilter.h"

namespace BSE
{

// Decodes runs up to the length byte 128 (ISO 32000-1, 7.4.5). Bytes of a run that the source does not have
// are delivered as 255, and are a gap. A source that ends after a run, without the end byte, has none.
class CRunLengthDecodeFilter final : public CBufferedDecodeFilter
{
public:
  explicit CRunLengthDecodeFilter(IByteStream* pSource, IErrorContext* pErrorContext = nullptr)
      : CBufferedDecodeFilter(pSource, pErrorContext)
  {
  }

  // Looks for a byte 128 only, wherever it is, and reports nothing.
  bool SkipToEnd() override;

protected:
  int DecodeBlock(std::span<unsigned char> block) override;
  void ResetState() override { m_nLeft = 0; }

private:
  // Reads the next length byte; false at the end of the data.
  bool StartRun();

  int m_nLeft = 0;       // bytes of the run yet to deliver
  int m_nRepeated = -1;  // the byte of a repeat run, -1 in a copy run
};

}  // namespace BSE
