#pragma once

#include "base/EncodeFilter.h"

namespace BSE
{

// Writes runs of up to 128 bytes and the end byte 128 (ISO 32000-1, 7.4.5). Two equal bytes start a repeat
// run.
class CRunLengthEncodeFilter final : public CBufferedEncodeFilter
{
public:
  explicit CRunLengthEncodeFilter(IByteStream* pSink, IErrorContext* pErrorContext = nullptr)
      : CBufferedEncodeFilter(pSink, pErrorContext)
  {
  }
  ~CRunLengthEncodeFilter() override { CloseOnRelease(); }

protected:
  bool EncodeBlock(std::span<const unsigned char> block) override;
  bool FinishBuffered() override;

private:
  static constexpr int g_nMaxRun = 128;

  bool FlushWindow();
  bool Put(unsigned char nByte);

  unsigned char m_window[g_nMaxRun];
  int m_nFilled = 0;
  bool m_bRepeat = false;
};

}  // namespace BSE
