#pragma once

#include <cstdint>
#include <span>

namespace PDF
{

struct TGlyphWidth
{
  std::uint16_t m_nName;  // see GlyphNames.h
  std::uint16_t m_nWidth;
};

// One of the fourteen fonts that every reader has (ISO 32000-1, 9.6.2.2), with what its descriptor would say.
struct TStandardFont
{
  const char* m_szName;
  const char* m_szEncoding;  // name of the predefined encoding that is its own
  int m_nWeight;
  int m_nFlags;
  int m_aBox[4];
  double m_dItalicAngle;
  int m_nAscent;
  int m_nDescent;
  int m_nCapHeight;
  int m_nXHeight;
  int m_nStemV;
  int m_nStemH;
  int m_nMissingWidth;
  int m_nFirstWidth;  // in the table of all widths
  int m_nWidthCount;

  // By the number of the name, ascending.
  std::span<const TGlyphWidth> GetWidths() const;

  // Width of a glyph; -1 if the font does not have it.
  int GetWidth(const char* szGlyph) const;
};

// The length of the prefix of a subset, 7 or 0: six letters or whatever else and "+", and a name after it.
int GetSubsetPrefixLength(const char* szName);

// By one of its names, of which some are those of fonts that replace it; null for other names. Blanks and a
// subset's prefix do not count.
const TStandardFont* FindStandardFont(const char* szName);

}  // namespace PDF
