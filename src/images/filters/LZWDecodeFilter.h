#pragma once

#include "base/DecodeFilter.h"
#include "images/filters/LZWParameters.h"

namespace BSE
{

// Decodes LZW (ISO 32000-1, 7.4.4; TIFF 6.0, section 13). The first two bytes of the source are looked at
// when the filter is made: data of old TIFF encoders, which start with a clear code in low-bit-first order,
// is recognised there and decoded low bit first without early change, whatever the parameters say. An invalid
// code and a missing end code are reported and end the data; the code is a gap.
class CLZWDecodeFilter final : public CBufferedDecodeFilter
{
public:
  explicit CLZWDecodeFilter(IByteStream* pSource, const CLZWParameters& parameters = {},
                            IErrorContext* pErrorContext = nullptr);

  // As decoding goes, which need not be as they were given.
  const CLZWParameters& GetParameters() const { return m_parameters; }

protected:
  int DecodeBlock(std::span<unsigned char> block) override;
  void ResetState() override;

private:
  static constexpr int g_nMaxBits = 12;
  static constexpr int g_nTableSize = 1 << g_nMaxBits;

  void DetectBitOrder();
  void ClearTable();

  // The next code, or -1 at the end of the source.
  int ReadCode();

  // Handles one code: its string is at the end of m_stack then. False at the end of the data.
  bool DecodeCode();

  // Puts the string of a code on the stack, before what is there.
  void Unwind(int nCode);
  void AddEntry();

  CLZWParameters m_parameters;
  int m_nClearCode;

  unsigned m_nBits = 0;  // bits read ahead
  int m_nBitCount = 0;
  int m_nCodeBits = 0;
  int m_nNextCode = 0;
  int m_nPrevious = -1;  // the code before, -1 after a clear code
  unsigned char m_nFirst = 0;
  int m_nStackPos = g_nTableSize;  // the undelivered string is [m_nStackPos, g_nTableSize)

  unsigned short m_prefix[g_nTableSize];
  unsigned char m_suffix[g_nTableSize];
  unsigned char m_stack[g_nTableSize];
};

}  // namespace BSE
