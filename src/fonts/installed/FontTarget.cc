#include "fonts/installed/FontTarget.h"

#include "fonts/pdf/CompositeFont.h"
#include "fonts/pdf/StandardFonts.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace PDF
{

namespace
{

constexpr int g_nMaxName = 255;

// Flags of a descriptor (ISO 32000-1, Table 123).
constexpr int g_nFixedPitch = 1;
constexpr int g_nSerif = 2;
constexpr int g_nScript = 8;
constexpr int g_nItalic = 64;
constexpr int g_nForceBold = 1 << 18;

void SetFlags(CFontCharacteristics& target, int nFlags)
{
  target.m_bFixedPitch = (nFlags & g_nFixedPitch) != 0;
  target.m_bSerif = (nFlags & g_nSerif) != 0;
  target.m_bScript = (nFlags & g_nScript) != 0;
  target.m_bItalic = (nFlags & g_nItalic) != 0;
  target.m_bBold = (nFlags & g_nForceBold) != 0;
}

// What a document says may be any number.
void SetMetric(double& dMetric, double dValue)
{
  if (std::isfinite(dValue) && dValue != 0 && std::abs(dValue) < 100000)
    dMetric = dValue;
}

void SetStandard(CFontCharacteristics& target, const TStandardFont& standard)
{
  SetFlags(target, standard.m_nFlags);
  target.m_dAscent = standard.m_nAscent;
  target.m_dDescent = standard.m_nDescent;
  target.m_dCapHeight = standard.m_nCapHeight;
  target.m_dXHeight = standard.m_nXHeight;
  target.m_dWeight = standard.m_nWeight;
  target.m_dItalicAngle = standard.m_dItalicAngle;
}

void SetDescriptor(CFontTarget& target, const CFontDescriptor& descriptor, const TRectangle& box)
{
  if (descriptor.HasFlags())
    SetFlags(target, descriptor.GetFlags());
  SetMetric(target.m_dAscent, box.m_dTop);
  SetMetric(target.m_dDescent, box.m_dBottom);
  SetMetric(target.m_dAscent, descriptor.GetNumber("Ascent"));
  SetMetric(target.m_dDescent, descriptor.GetNumber("Descent"));
  SetMetric(target.m_dCapHeight, descriptor.GetNumber("CapHeight"));
  SetMetric(target.m_dXHeight, descriptor.GetNumber("XHeight"));
  SetMetric(target.m_dWeight, descriptor.GetNumber("FontWeight"));
  SetMetric(target.m_dItalicAngle, descriptor.GetNumber("ItalicAngle"));
  const double dDefault = std::exchange(target.m_dWidth, 0);
  SetMetric(target.m_dWidth, descriptor.GetNumber("AvgWidth"));
  target.m_bWidthKnown = target.m_dWidth != 0;
  if (!target.m_bWidthKnown)
    target.m_dWidth = dDefault;
}

// Of fonts that many documents leave out.
void AddFamilyHints(CFontCharacteristics& target, const char* szName)
{
  if (std::strstr(szName, "Arial") || std::strstr(szName, "Helvetica"))
    target.m_bSerif = target.m_bFixedPitch = 0;
  else if (std::strstr(szName, "Courier"))
    target.m_bSerif = target.m_bFixedPitch = 1;
  else if (std::strstr(szName, "Times"))
    target.m_bSerif = 1;
}

void AddCollection(CFontCharacteristics& target, const CObjectPtr& font)
{
  static constexpr struct
  {
    const char* m_szOrdering;
    int m_aBits[2];
  } aCollections[] = {
      {"Japan1", {CFontCharacteristics::g_nJapanese, CFontCharacteristics::g_nJapanese}},
      {"Korea1", {CFontCharacteristics::g_nKorean, CFontCharacteristics::g_nKoreanJohab}},
      {"CNS1", {CFontCharacteristics::g_nTraditionalChinese, CFontCharacteristics::g_nTraditionalChinese}},
      {"GB1", {CFontCharacteristics::g_nSimplifiedChinese, CFontCharacteristics::g_nSimplifiedChinese}}};
  const CObjectPtr ordering = font["CIDSystemInfo"]["Ordering"];
  for (const auto& collection : aCollections)
    if (ordering.IsString() && ordering.GetStringValue() == CString(collection.m_szOrdering))
      for (const int nBit : collection.m_aBits)
        target.AddCoverage(nBit);
}

BSE::CStr16 MakeName(const CFont& font)
{
  const BSE::CStr16 name = font.GetName();
  BSE::CStr16 plain;
  for (int i = GetSubsetPrefixLength(font.GetBaseName());
       i < name.GetLength() && plain.GetLength() < g_nMaxName; ++i)
    if (name[i] != u' ')
      plain.Append(name[i]);
  return plain;
}

}  // namespace

CFontTarget::CFontTarget(const CFont& font) : m_sName(MakeName(font))
{
  const char* szName = font.GetBaseName() + GetSubsetPrefixLength(font.GetBaseName());
  const TStandardFont* pStandard = FindStandardFont(szName);
  if (pStandard)
    SetStandard(*this, *pStandard);
  if (const CFontDescriptor* pDescriptor = font.GetFontDescriptor())
    SetDescriptor(*this, *pDescriptor, font.GetFontBBox());
  AddNameHints(szName);
  AddFamilyHints(*this, szName);
  m_bItalic = m_bItalic || m_dItalicAngle != 0;
  if (m_bBold && m_dWeight < 600)
    m_dWeight = 700;
  if (const auto* pComposite = dynamic_cast<const CType0Font*>(&font))
    AddCollection(*this, pComposite->GetDescendant().GetObject());
  else if (pStandard && KeyEquals(pStandard->m_szName, "Symbol"))
    AddCoverage(g_nNeedsSymbol);
  else if (pStandard && KeyEquals(pStandard->m_szName, "ZapfDingbats"))
    AddCoverage(g_nNeedsDingbats);
  m_bLatin = !HasCoverage();
}

const TStandardFont* GetStandardFallback(const CFont& font)
{
  static constexpr const char* aNames[] = {
      "Helvetica",   "Helvetica-Oblique", "Helvetica-Bold", "Helvetica-BoldOblique",
      "Times-Roman", "Times-Italic",      "Times-Bold",     "Times-BoldItalic",
      "Courier",     "Courier-Oblique",   "Courier-Bold",   "Courier-BoldOblique"};
  if (font.IsType3())
    return nullptr;
  const CFontTarget target(font);
  const int nIndex = target.m_bFixedPitch * 8 | target.m_bSerif * 4 | target.m_bBold * 2 | target.m_bItalic;
  return FindStandardFont(aNames[nIndex < 12 ? nIndex : nIndex - 4]);
}

char16_t ToUpper(char16_t nCharacter)
{
  const bool bAscii = nCharacter >= u'a' && nCharacter <= u'z';
  const bool bLatin = nCharacter >= 0xE0 && nCharacter <= 0xFE && nCharacter != 0xF7;
  return bAscii || bLatin ? static_cast<char16_t>(nCharacter - 0x20) : nCharacter;
}

}  // namespace PDF
