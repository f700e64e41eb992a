#pragma once

#include "base/BasicString.h"
#include "base/Error.h"

namespace BSE
{

// A failure or warning of libjpeg, by its message number. The numbers are those of version 8 of its
// interface, whatever version is linked.
class CDCTError : public CError
{
public:
  // First number of the warnings; below it are errors and traces.
  static constexpr int g_nFirstWarning = 116;

  // Numbers that are used by name.
  static constexpr int g_nImageTooBig = 42;
  static constexpr int g_nEmptyInput = 43;
  static constexpr int g_nNoStart = 55;
  static constexpr int g_nUnknownTransform = 116;
  static constexpr int g_nBogusProgression = 118;
  static constexpr int g_nExtraneousData = 119;
  static constexpr int g_nHuffmanCode = 121;
  static constexpr int g_nUnknownRevision = 122;
  static constexpr int g_nNotSequential = 125;

  // szText is what libjpeg says, without a full stop.
  CDCTError(int nNumber, const char* szText);

  int GetMessage(char16_t* pBuffer, int nLength) override;
  IError* Clone() const override { return new CDCTError(*this); }

  // 0x8A040000 with the number; four frequent warnings have codes that do not count as errors.
  static constexpr unsigned GetCodeOf(int nNumber)
  {
    const bool bWarning = nNumber == g_nBogusProgression || nNumber == g_nExtraneousData ||
                          nNumber == g_nHuffmanCode || nNumber == g_nNotSequential;
    return (bWarning ? 0x03428900U : 0x8A040000U) | static_cast<unsigned>(nNumber);
  }

private:
  CStr16 m_text;
};

}  // namespace BSE
