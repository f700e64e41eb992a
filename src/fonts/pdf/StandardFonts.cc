#include "fonts/pdf/StandardFonts.h"

#include "fonts/pdf/GlyphNames.h"

#include <cstring>

namespace PDF
{

namespace
{

#include "fonts/pdf/StandardFonts.inc"

struct TAlias
{
  const char* m_szName;
  int m_nFont;
};

// In the order of the names' bytes.
constexpr TAlias g_aliases[] = {
    {"Arial", 4},
    {"Arial,Bold", 5},
    {"Arial,BoldItalic", 6},
    {"Arial,Italic", 7},
    {"Arial-Bold", 5},
    {"Arial-BoldItalic", 6},
    {"Arial-BoldItalicMT", 6},
    {"Arial-BoldMT", 5},
    {"Arial-Italic", 7},
    {"Arial-ItalicMT", 7},
    {"ArialMT", 4},
    {"ArialMT,Bold", 5},
    {"ArialMT,BoldItalic", 6},
    {"ArialMT,Italic", 7},
    {"Courier", 0},
    {"Courier,Bold", 1},
    {"Courier,BoldItalic", 2},
    {"Courier,BoldOblique", 2},
    {"Courier,Italic", 3},
    {"Courier,Oblique", 3},
    {"Courier-Bold", 1},
    {"Courier-BoldOblique", 2},
    {"Courier-Oblique", 3},
    {"CourierNew", 0},
    {"CourierNew,Bold", 1},
    {"CourierNew,BoldItalic", 2},
    {"CourierNew,Italic", 3},
    {"CourierNew-Bold", 1},
    {"CourierNew-BoldItalic", 2},
    {"CourierNew-Italic", 3},
    {"CourierNewPS-BoldItalicMT", 2},
    {"CourierNewPS-BoldMT", 1},
    {"CourierNewPS-ItalicMT", 3},
    {"CourierNewPSMT", 0},
    {"Helvetica", 4},
    {"Helvetica,Bold", 5},
    {"Helvetica,BoldItalic", 6},
    {"Helvetica,BoldOblique", 6},
    {"Helvetica,Italic", 7},
    {"Helvetica,Oblique", 7},
    {"Helvetica-Bold", 5},
    {"Helvetica-BoldItalic", 6},
    {"Helvetica-BoldOblique", 6},
    {"Helvetica-Italic", 7},
    {"Helvetica-Oblique", 7},
    {"Symbol", 8},
    {"SymbolMT", 8},
    {"Times,Bold", 9},
    {"Times,BoldItalic", 10},
    {"Times,Italic", 11},
    {"Times-Bold", 9},
    {"Times-BoldItalic", 10},
    {"Times-Italic", 11},
    {"Times-Roman", 12},
    {"TimesNewRoman", 12},
    {"TimesNewRoman,Bold", 9},
    {"TimesNewRoman,BoldItalic", 10},
    {"TimesNewRoman,Italic", 11},
    {"TimesNewRoman-Bold", 9},
    {"TimesNewRoman-BoldItalic", 10},
    {"TimesNewRoman-Italic", 11},
    {"TimesNewRomanPS", 12},
    {"TimesNewRomanPS-Bold", 9},
    {"TimesNewRomanPS-BoldItalic", 10},
    {"TimesNewRomanPS-BoldItalicMT", 10},
    {"TimesNewRomanPS-BoldMT", 9},
    {"TimesNewRomanPS-Italic", 11},
    {"TimesNewRomanPS-ItalicMT", 11},
    {"TimesNewRomanPSMT", 12},
    {"ZapfDingbats", 13},
};

// The longest alias is shorter.
constexpr std::size_t g_nMaxAlias = 64;

}  // namespace

std::span<const TGlyphWidth> TStandardFont::GetWidths() const
{
  return std::span(g_standardWidths)
      .subspan(static_cast<std::size_t>(m_nFirstWidth), static_cast<std::size_t>(m_nWidthCount));
}

int TStandardFont::GetWidth(const char* szGlyph) const
{
  const int nName = FindGlyphName(szGlyph);
  const std::span<const TGlyphWidth> widths = GetWidths();
  const auto it =
      std::lower_bound(widths.begin(), widths.end(), nName,
                       [](const TGlyphWidth& width, int nOther) { return width.m_nName < nOther; });
  return it != widths.end() && it->m_nName == nName ? it->m_nWidth : -1;
}

int GetSubsetPrefixLength(const char* szName)
{
  return szName && std::strlen(szName) > 7 && szName[6] == '+' ? 7 : 0;
}

const TStandardFont* FindStandardFont(const char* szName)
{
  if (!szName)
    return nullptr;
  char szPlain[g_nMaxAlias];
  std::size_t nLength = 0;
  for (const char* p = szName + GetSubsetPrefixLength(szName); *p; ++p)
    if (*p != ' ')
    {
      if (nLength + 1 == g_nMaxAlias)
        return nullptr;
      szPlain[nLength++] = *p;
    }
  szPlain[nLength] = 0;
  const TAlias* pEnd = std::end(g_aliases);
  const TAlias* pFound = std::lower_bound(std::begin(g_aliases), pEnd, szPlain,
                                          [](const TAlias& alias, const char* szOther)
                                          { return std::strcmp(alias.m_szName, szOther) < 0; });
  return pFound != pEnd && std::strcmp(pFound->m_szName, szPlain) == 0 ? &g_standardFonts[pFound->m_nFont]
                                                                       : nullptr;
}

}  // namespace PDF
