#pragma once

#include <cstdint>

namespace BSE
{

// Codes of fax images: ITU-T T.4, tables 2, 3a and 3b for run lengths and table 4 for two-dimensional rows,
// and T.6. A run is coded as any number of make-up codes, multiples of 64, and one terminating code below 64.

enum TFaxColor
{
  eFaxWhite,
  eFaxBlack,
  eFaxColorCount
};

// A code, high bit first, in the low bits of m_nBits.
struct TFaxCode
{
  std::uint16_t m_nBits;
  std::uint16_t m_nLength;
};

inline constexpr int g_nFaxFirstMakeUp = 64;
inline constexpr int g_nFaxMaxMakeUp = 2560;

// Codes of run lengths by what they stand for.
const TFaxCode& GetFaxTerminating(TFaxColor color, int nRun);  // 0 to 63
const TFaxCode& GetFaxMakeUp(TFaxColor color, int nRun);       // multiples of 64 up to g_nFaxMaxMakeUp

// What a code at the start of a window of bits means: its length in the low 4 bits, 0 if no code is there,
// and its value above them.
using TFaxEntry = std::uint16_t;
constexpr int GetFaxLength(TFaxEntry nEntry)
{
  return nEntry & 15;
}
constexpr int GetFaxValue(TFaxEntry nEntry)
{
  return nEntry >> 4;
}

// Value of an entry for the code that switches to a mode beyond the standard ones.
inline constexpr int g_nFaxExtension = 4095;

// Entries by the next bits of the data: run lengths of a colour, and modes of two-dimensional rows.
inline constexpr int g_nFaxRunBits = 13;
inline constexpr int g_nFaxModeBits = 7;
const TFaxEntry* GetFaxRunTable(TFaxColor color);
const TFaxEntry* GetFaxModeTable();

// Modes of two-dimensional rows: a vertical mode is eFaxVertical and the distance from -3 to 3.
enum TFaxMode
{
  eFaxPass,
  eFaxHorizontal,
  eFaxVertical = 5
};

inline constexpr int g_nFaxMaxVertical = 3;
const TFaxCode& GetFaxMode(int nMode);

inline constexpr TFaxCode g_faxEndOfLine{1, 12};

}  // namespace BSE
