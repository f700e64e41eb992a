#pragma once

#include <span>

namespace FONT
{

// Text without a zero at its end.
using TName = std::span<const char>;

bool IsSameName(TName a, TName b);
TName MakeName(const char* szName);
TName MakeName(std::span<const unsigned char> bytes);
std::span<const unsigned char> GetNameBytes(TName name);

// The strings that CFF has a number for (SID): glyph names first, then versions and weights.
inline constexpr int g_nStandardStrings = 391;

// Empty for a number that is none.
TName GetStandardString(int nString);

// -1 if it is none.
int FindStandardString(TName name);

// Number of the glyph name that Standard and Expert Encoding have for a code; 0 (.notdef) for none.
int GetStandardEncoding(int nCode);
int GetExpertEncoding(int nCode);

// The glyph names of a charset, by the order of its glyphs, in the predefined charsets of CFF: 0 ISOAdobe, 1
// Expert, 2 ExpertSubset. -1 for a glyph that it does not have.
int GetCharsetString(int nCharset, int nGlyph);

}  // namespace FONT
