#include "base/Tracer.h"
#include "fonts/pdf/Font.h"
#include "fonts/pdf/FontProgramTrueType.h"
#include "fonts/pdf/FontRegistry.h"
#include "fonts/pdf/StandardFonts.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace PDF
{

namespace
{

// Glyphs of a program whose names are all looked through for one that is missing.
constexpr int g_nMaxNamesTried = 4096;

// Characters that have one glyph with most fonts.
bool IsSameCharacter(char32_t nA, char32_t nB)
{
  constexpr char32_t aPairs[][2] = {{0x20, 0xA0},    {0x2D, 0xAD},     {0xB5, 0x3BC},  {0x2126, 0x3A9},
                                    {0x2206, 0x394}, {0x162, 0x21A},   {0x163, 0x21B}, {0xAF, 0x2C9},
                                    {0xB7, 0x2219},  {0x2215, 0x2044}, {0x110, 0xD0},  {0x15E, 0x218},
                                    {0x15F, 0x219},  {0x2D, 0x2010},   {0x2D, 0x2011}, {0x27, 0x2019}};
  if (nA == nB)
    return true;
  for (const auto& pair : aPairs)
    if ((nA == pair[0] && nB == pair[1]) || (nA == pair[1] && nB == pair[0]))
      return true;
  return false;
}

// The code of a name in the code page of the Macintosh, which has more than MacRomanEncoding (ISO 32000-1,
// Table 115); -1 without one.
int FindMacCode(const CSimpleEncoding& macRoman, const char* szName)
{
  static constexpr struct
  {
    const char* m_szName;
    int m_nCode;
  } others[] = {{"notequal", 173},    {"infinity", 176},  {"lessequal", 178}, {"greaterequal", 179},
                {"partialdiff", 182}, {"summation", 183}, {"product", 184},   {"pi", 185},
                {"integral", 186},    {"Omega", 189},     {"radical", 195},   {"approxequal", 197},
                {"Delta", 198},       {"lozenge", 215},   {"Euro", 219},      {"apple", 240}};
  for (const auto& other : others)
    if (std::strcmp(other.m_szName, szName) == 0)
      return other.m_nCode;
  return macRoman.FindName(szName);
}

}  // namespace

double CSimpleFont::GetSpaceWidth() const
{
  const int nCode = GetSimpleEncoding().FindName("space");
  return nCode < 0 ? 0 : GetWidth(nCode);
}

std::span<const double> CSimpleFont::GetWidths() const
{
  if (m_widths.IsEmpty())
    ReadWidths();
  return m_widths.GetSpan();
}

double CSimpleFont::GetWidth(int nCharacter) const
{
  return nCharacter >= 0 && nCharacter < g_nCodes ? GetWidths()[static_cast<std::size_t>(nCharacter)] : 0;
}

void CSimpleFont::SetWidth(int nCharacter, double dWidth)
{
  if (!GetWidths().empty())
    m_widths.SetAt(nCharacter, dWidth);
}

void CSimpleFont::ReadWidths() const
{
  m_widths.SetSize(g_nCodes);
  const std::span<double> all = m_widths.GetSpan();
  const CFontDescriptor* pDescriptor = GetFontDescriptor();
  std::fill(all.begin(), all.end(), pDescriptor && !IsType3() ? pDescriptor->GetNumber("MissingWidth") : 0.0);
  const CObjectPtr widths = m_object["Widths"];
  if (!widths.IsArray())
  {
    ReadMissingWidths(all);
    return;
  }
  const std::int64_t nFirst = m_object["FirstChar"].GetIntegerValue();
  if (nFirst <= -g_nCodes || nFirst >= g_nCodes)
    return;
  int nCount = std::min(widths.GetSize(), g_nCodes);
  // No reader goes on beyond the last code.
  if (const CObjectPtr last = m_object["LastChar"]; last.IsNumber() && last.GetIntegerValue() >= nFirst)
    nCount = static_cast<int>(std::min<std::int64_t>(
        nCount, std::min<std::int64_t>(last.GetIntegerValue(), g_nCodes) - nFirst + 1));
  for (int i = 0; i < nCount; ++i)
    if (nFirst + i >= 0 && nFirst + i < g_nCodes)
      m_widths.SetAt(static_cast<int>(nFirst + i), widths[i].GetRealValue());
}

// Of a standard font, or else as the program has them.
void CSimpleFont::ReadMissingWidths(std::span<double> widths) const
{
  const CSimpleEncoding& encoding = GetSimpleEncoding();
  CFontProgram* pProgram = GetProgram();
  const TStandardFont* pStandard = pProgram ? nullptr : FindStandardFont(GetBaseName());
  for (unsigned i = 0; i < g_nCodes; ++i)
  {
    TGlyphs glyphs;
    if (pProgram)
      FindGlyphs(*pProgram, i, glyphs);
    if (glyphs.m_nCount > 0)
      widths[i] = pProgram->GetWidth(glyphs.m_aGlyphs[0]);
    else if (const int nWidth = pStandard ? pStandard->GetWidth(encoding.GetGlyphName(i)) : -1; nWidth >= 0)
      widths[i] = nWidth;
    else if (pStandard && widths[i] == 0)
      widths[i] = pStandard->m_nMissingWidth;
  }
}

CSimpleEncoding& CSimpleFont::GetSimpleEncoding() const
{
  if (!m_pEncoding)
    m_pEncoding = CreateEncoding();
  return *m_pEncoding;
}

BSE::CObjectPtr<CSimpleEncoding> CSimpleFont::CreateEncoding() const
{
  const CObjectPtr encoding = m_object["Encoding"];
  if (encoding.IsName())
  {
    if (const auto pEncoding = m_registry.GetPredefinedEncoding(encoding.GetNameValue()))
      return pEncoding;
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "Font Encoding", "Unknown encoding %s.", encoding.GetNameValue());
  }
  if (!encoding.IsDictionary())
    return CreateDefaultEncoding();
  BSE::CObjectPtr<CSimpleEncoding> pBase =
      m_registry.GetPredefinedEncoding(encoding["BaseEncoding"].GetNameValue());
  if (!pBase)
    pBase = CreateDefaultEncoding();
  return new CDifferenceEncoding(pBase, m_registry.GetDifferences(encoding));
}

BSE::CObjectPtr<CSimpleEncoding> CSimpleFont::CreateDefaultEncoding() const
{
  if (CFontProgram* pProgram = GetProgram())
    return new CIntrinsicEncoding(*pProgram);
  const TStandardFont* pStandard = FindStandardFont(GetBaseName());
  return m_registry.GetPredefinedEncoding(pStandard ? pStandard->m_szEncoding : "StandardEncoding");
}

void CSimpleFont::FindGlyphs(CFontProgram& program, unsigned nCode, TGlyphs& glyphs) const
{
  const char* szName = GetSimpleEncoding().GetGlyphName(nCode);
  if (!szName)
  {
    glyphs.Add(program.GetGlyphIndexByCode(nCode));
    return;
  }
  glyphs.Add(program.GetGlyphIndexByName(szName));
  // Other names for the same.
  char16_t unit = 0;
  if (glyphs.m_nCount == 0 && GetGlyphText(szName, &unit, 1) == 1)
    if (const char* szOther = FindCharacterName(unit == 0xA0 ? u' ' : unit == 0xAD ? u'-' : unit))
      glyphs.Add(program.GetGlyphIndexByName(szOther));
  // Some readers go by the code then.
  if (glyphs.m_nCount == 0)
    glyphs.Add(program.GetGlyphIndexByCode(nCode));
}

bool CSimpleFont::GetCodeToGlyphMap(BSE::CBasicArray<std::uint16_t>& map) const
{
  map.RemoveAll();
  CFontProgram* pProgram = GetProgram();
  if (!pProgram)
    return !GetFontFile();
  map.SetSize(g_nCodes);
  for (unsigned i = 0; i < g_nCodes; ++i)
  {
    TGlyphs glyphs;
    FindGlyphs(*pProgram, i, glyphs);
    map.SetAt(static_cast<int>(i), static_cast<std::uint16_t>(glyphs.m_nCount > 0 ? glyphs.m_aGlyphs[0] : 0));
  }
  return true;
}

void CSimpleFont::MarkUsedGlyphs(CFontProgram& program) const
{
  const std::span<unsigned char> used = program.GetUsedGlyphs();
  if (!used.empty())
    used[0] = 1;
  if (AreAllGlyphsUsed() || program.HasUnknownCodes())
    std::fill(used.begin(), used.end(), static_cast<unsigned char>(1));
  ForEachUsed(
      [&](unsigned nCode)
      {
        MarkCode(program, nCode, used);
        TGlyphs glyphs;
        FindGlyphs(program, nCode, glyphs);
        if (glyphs.m_nCount == 0 && !AreAllGlyphsUsed())
          program.NoteMissing(nCode, GetSimpleEncoding().GetGlyphName(nCode), FindCodeCharacter(nCode));
      });
}

char32_t CSimpleFont::FindCodeCharacter(unsigned nCode) const
{
  const char* szName = GetSimpleEncoding().GetGlyphName(nCode);
  char16_t units[2];
  return szName && GetGlyphText(szName, units, 2) == 1 ? units[0] : 0;
}

void CSimpleFont::MarkCode(CFontProgram& program, unsigned nCode, std::span<unsigned char> used) const
{
  TGlyphs glyphs;
  FindGlyphs(program, nCode, glyphs);
  for (int i = 0; i < glyphs.m_nCount; ++i)
    MarkGlyph(used, glyphs.m_aGlyphs[i]);
  const char* szName = GetSimpleEncoding().GetGlyphName(nCode);
  if (!szName || program.GetGlyphIndexByName(szName) > 0)
    return;
  // A number in a name is that of a glyph with some readers.
  const std::size_t nDigits = std::strspn(szName, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
  if (szName[nDigits] >= '0' && szName[nDigits] <= '9')
    MarkGlyph(used, static_cast<int>(std::min(std::strtol(szName + nDigits, nullptr, 10), 65535L)));
  // The program has another name for it: many characters have several.
  MarkGlyph(used, program.GetGlyphIndexByCode(nCode));
  const char32_t nCharacter = FindCodeCharacter(nCode);
  if (nCharacter == 0 || std::cmp_greater(program.GetGlyphCount(), g_nMaxNamesTried))
    return;
  for (int nGlyph = 1; nGlyph < program.GetGlyphCount(); ++nGlyph)
  {
    char16_t unit = 0;
    const char* szOther = program.GetGlyphName(nGlyph);
    if (GetGlyphText(szOther, &unit, 1) == 1 && IsSameCharacter(unit, nCharacter))
      MarkGlyph(used, nGlyph);
  }
}

bool CTrueTypeFont::FindSymbolic() const
{
  const CFontDescriptor* pDescriptor = GetFontDescriptor();
  const int nFlags = pDescriptor ? pDescriptor->GetFlags() : 0;
  if ((nFlags & g_nNonsymbolicFlag) != 0)
    return false;
  const CObjectPtr encoding = m_object["Encoding"];
  if (encoding.IsName("MacRomanEncoding"))
    return false;
  if (encoding.IsName("WinAnsiEncoding"))
  {
    const auto* pProgram = dynamic_cast<const CFontProgramTrueType*>(GetProgram());
    if (pProgram && pProgram->HasCMap(3, 1))
      return false;
    return (nFlags & g_nSymbolicFlag) != 0;
  }
  return CSimpleFont::FindSymbolic();
}

BSE::CObjectPtr<CSimpleEncoding> CTrueTypeFont::CreateDefaultEncoding() const
{
  if (IsSymbolic())
    return CSimpleFont::CreateDefaultEncoding();
  return m_registry.GetPredefinedEncoding("StandardEncoding");
}

// ISO 32000-1, 9.6.6.4. What a font should be and what it is are two things, and readers differ in which they
// go by: all the ways lead to glyphs that may be shown.
void CTrueTypeFont::FindGlyphs(CFontProgram& program, unsigned nCode, TGlyphs& glyphs) const
{
  if (!IsSymbolic())
    FindByName(program, nCode, glyphs);
  glyphs.Add(program.GetGlyphIndexByCode(nCode));
  if (const auto* pTrueType = dynamic_cast<const CFontProgramTrueType*>(&program))
  {
    glyphs.Add(pTrueType->GetMappedGlyph(1, 0, nCode));
    glyphs.Add(pTrueType->GetMappedGlyph(3, 1, nCode));
  }
  if (IsSymbolic())
    FindByName(program, nCode, glyphs);
  // Without any table a code is a glyph.
  if (glyphs.m_nCount == 0 && std::cmp_less(nCode, program.GetGlyphCount()) && !m_object["Encoding"])
    glyphs.Add(static_cast<int>(nCode));
}

void CTrueTypeFont::MarkCode(CFontProgram& program, unsigned nCode, std::span<unsigned char> used) const
{
  CSimpleFont::MarkCode(program, nCode, used);
  bool bFound = false;
  const char32_t nNamed = FindCodeCharacter(nCode);
  if (const auto* pTrueType = dynamic_cast<const CFontProgramTrueType*>(&program))
    for (const char32_t nCharacter : {nNamed, GetSimpleEncoding().GetUnicode32(nCode)})
      pTrueType->ForEachMapped(nCode, nCharacter,
                               [&](int nGlyph)
                               {
                                 bFound = bFound || nGlyph > 0;
                                 MarkGlyph(used, nGlyph);
                               });
  if (bFound || GetSimpleEncoding().GetGlyphName(nCode))
    return;
  // Readers take the names of StandardEncoding where the tables say nothing.
  const auto pStandard = m_registry.GetPredefinedEncoding("StandardEncoding");
  MarkGlyph(used, program.GetGlyphIndexByName(pStandard->GetGlyphName(nCode)));
  MarkGlyph(used, program.GetGlyphIndexByUnicode(pStandard->GetUnicode32(nCode)));
}

void CTrueTypeFont::FindByName(CFontProgram& program, unsigned nCode, TGlyphs& glyphs) const
{
  const char* szName = GetSimpleEncoding().GetGlyphName(nCode);
  if (!szName)
    return;
  char16_t units[2];
  const int nUnits = GetGlyphText(szName, units, 2);
  const char32_t nCharacter = nUnits == 1 ? units[0] : GetSimpleEncoding().GetUnicode32(nCode);
  if (nCharacter != 0)
    glyphs.Add(program.GetGlyphIndexByUnicode(nCharacter));
  const auto* pTrueType = dynamic_cast<const CFontProgramTrueType*>(&program);
  const int nMacCode = FindMacCode(*m_registry.GetPredefinedEncoding("MacRomanEncoding"), szName);
  if (pTrueType && nMacCode >= 0)
    glyphs.Add(pTrueType->GetMappedGlyph(1, 0, static_cast<std::uint32_t>(nMacCode)));
  glyphs.Add(program.GetGlyphIndexByName(szName));
}

CObjectPtr CType3Font::GetCharProc(unsigned nCode) const
{
  const char* szName = GetSimpleEncoding().GetGlyphName(nCode);
  return szName ? m_object["CharProcs"][szName] : CObjectPtr();
}

double CType3Font::GetGlyphSpaceFactor() const
{
  const CObjectPtr factor = GetFontMatrix()[0];
  return factor.IsNumber() ? factor.GetRealValue() : 0.001;
}

// Without a name no code has a glyph.
BSE::CObjectPtr<CSimpleEncoding> CType3Font::CreateDefaultEncoding() const
{
  return new CDifferenceEncoding(nullptr, nullptr);
}

}  // namespace PDF
