#pragma once

#include "base/EncodeFilter.h"

namespace BSE
{

// Writes groups of four bytes as five base-85 digits, "z" for four zeros, and "~>" at the end (ISO 32000-1,
// 7.4.3). No line breaks.
class CASCII85EncodeFilter final : public CBufferedEncodeFilter
{
public:
  explicit CASCII85EncodeFilter(IByteStream* pSink, IErrorContext* pErrorContext = nullptr)
      : CBufferedEncodeFilter(pSink, pErrorContext)
  {
  }
  ~CASCII85EncodeFilter() override { CloseOnRelease(); }

protected:
  bool EncodeBlock(std::span<const unsigned char> block) override;
  bool FinishBuffered() override;

private:
  // Writes the first digits of the group.
  void PutGroup(int nDigits);

  unsigned char m_group[4] = {};
  int m_nFilled = 0;
};

}  // namespace BSE
