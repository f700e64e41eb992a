#pragma once

#include "base/EncodeFilter.h"

namespace BSE
{

// Encodes LZW (ISO 32000-1, 7.4.4) with 8-bit literals, high bit first, with early change.
class CLZWEncodeFilter final : public CBufferedEncodeFilter
{
public:
  explicit CLZWEncodeFilter(IByteStream* pSink, IErrorContext* pErrorContext = nullptr);
  ~CLZWEncodeFilter() override { CloseOnRelease(); }

protected:
  bool EncodeBlock(std::span<const unsigned char> block) override;
  bool FinishBuffered() override;

private:
  static constexpr int g_nSlots = 6143;
  static constexpr int g_nEmpty = -1;

  void ClearTable();
  bool WriteCode(int nCode);

  // Writes a code and counts the entry that the decoder makes of it.
  bool WriteString(int nCode);

  // Writes the clear code that the data starts with, once.
  bool Start();

  // Writes the string matched and makes the entry of it and the byte after it.
  bool EndString(int nSlot, int nByte);

  // The slot of the key: with its code, or free; -1 if the search was given up.
  int FindSlot(int nPrefix, int nByte) const;

  unsigned m_nBits = 0;
  int m_nBitCount = 0;
  int m_nCodeBits = 0;
  int m_nNextCode = 0;
  int m_nPrefix = -1;  // the string matched so far
  bool m_bStarted = false;

  int m_keys[g_nSlots];
  unsigned short m_codes[g_nSlots];
};

}  // namespace BSE
