// The search of the catalogue for a font that stands for another one.

#include "base/Tracer.h"
#include "base/Unicode.h"
#include "fonts/installed/InstalledFontCollection.h"
#include "fonts/installed/StaticInstance.h"
#include "fonts/pdf/Font.h"
#include "fonts/pdf/StandardFonts.h"

#include <cstring>

namespace PDF
{

namespace
{

BSE::CStr8 ToUtf8(const BSE::CStr16& text)
{
  BSE::CStr8 utf8;
  BSE::ConvertText(text.GetText(), utf8, BSE::TInvalidText::Replace);
  return utf8;
}

BSE::CStr16 ToUtf16(const char* szText)
{
  BSE::CStr16 utf16;
  BSE::ConvertText(szText, utf16, BSE::TInvalidText::Replace);
  return utf16;
}

void TraceFound(const char* szComponent, const char* szFormat, const CFontTarget& target,
                const CInstalledFont& found)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("D", szComponent, szFormat, ToUtf8(target.m_sName).GetText(),
                        ToUtf8(found.m_sName).GetText());
}

const CInstalledFont* TraceNone(const CFont& font)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "GetNearestFont", "No substition found for font %s.", font.GetBaseName());
  return nullptr;
}

// Fonts that are known to have the scripts, in the order in which they are tried. Bits of -1 are any.
struct TScriptFont
{
  int m_nBit;
  int m_nOtherBit;
  const char16_t* m_szName;
};

constexpr TScriptFont g_scriptFonts[] = {
    {CFontCharacteristics::g_nNeedsSymbol, -1, u"Symbol"},
    {CFontCharacteristics::g_nNeedsDingbats, -1, u"ZapfDingbats"},
    {CFontCharacteristics::g_nKorean, CFontCharacteristics::g_nKoreanJohab, u"ArialUnicodeMS"},
    {CFontCharacteristics::g_nKorean, CFontCharacteristics::g_nKoreanJohab, u"MalgunGothic"},
    {CFontCharacteristics::g_nKorean, CFontCharacteristics::g_nKoreanJohab, u"NotoSansCJKkr-Regular"},
    {CFontCharacteristics::g_nKorean, CFontCharacteristics::g_nKoreanJohab, u"NotoSerifCJKkr-Regular"},
    {CFontCharacteristics::g_nSimplifiedChinese, -1, u"NotoSansCJKsc-Regular"},
    {CFontCharacteristics::g_nSimplifiedChinese, -1, u"NotoSerifCJKsc-Regular"},
    {CFontCharacteristics::g_nTraditionalChinese, -1, u"ArialUnicodeMS"},
    {CFontCharacteristics::g_nTraditionalChinese, -1, u"MicrosoftJhengHei"},
    {CFontCharacteristics::g_nTraditionalChinese, -1, u"NotoSansCJKtc-Regular"},
    {CFontCharacteristics::g_nTraditionalChinese, -1, u"NotoSerifCJKtc-Regular"},
    {CFontCharacteristics::g_nThai, -1, u"NotoSansThai-Regular"},
    {CFontCharacteristics::g_nThai, -1, u"NotoSerifThai-Regular"},
    {-1, -1, u"LucidaSansUnicode"},
    {-1, -1, u"NotoSans-Regular"},
    {-1, -1, u"NotoSerif-Regular"}};

// Fonts that were made in the measures of the standard ones, by the names of these, and of the narrow ones
// that many documents take for granted as well.
struct TClones
{
  const char* m_szStandard;
  const char16_t* m_aNames[3];
};

constexpr TClones g_clones[] = {
    {"Courier", {u"NimbusMonoPS-Regular", u"NimbusMonL-Regu", u"LiberationMono"}},
    {"Courier-Bold", {u"NimbusMonoPS-Bold", u"NimbusMonL-Bold", u"LiberationMono-Bold"}},
    {"Courier-BoldOblique",
     {u"NimbusMonoPS-BoldItalic", u"NimbusMonL-BoldObli", u"LiberationMono-BoldItalic"}},
    {"Courier-Oblique", {u"NimbusMonoPS-Italic", u"NimbusMonL-ReguObli", u"LiberationMono-Italic"}},
    {"Helvetica", {u"NimbusSans-Regular", u"NimbusSanL-Regu", u"LiberationSans"}},
    {"Helvetica-Bold", {u"NimbusSans-Bold", u"NimbusSanL-Bold", u"LiberationSans-Bold"}},
    {"Helvetica-BoldOblique",
     {u"NimbusSans-BoldItalic", u"NimbusSanL-BoldItal", u"LiberationSans-BoldItalic"}},
    {"Helvetica-Oblique", {u"NimbusSans-Italic", u"NimbusSanL-ReguItal", u"LiberationSans-Italic"}},
    {"Narrow", {u"NimbusSansNarrow-Regular", u"NimbusSanL-ReguCond", u"LiberationSansNarrow"}},
    {"Narrow-Bold", {u"NimbusSansNarrow-Bold", u"NimbusSanL-BoldCond", u"LiberationSansNarrow-Bold"}},
    {"Narrow-BoldOblique",
     {u"NimbusSansNarrow-BoldOblique", u"NimbusSanL-BoldCondItal", u"LiberationSansNarrow-BoldItalic"}},
    {"Narrow-Oblique",
     {u"NimbusSansNarrow-Oblique", u"NimbusSanL-ReguCondItal", u"LiberationSansNarrow-Italic"}},
    {"Symbol", {u"StandardSymbolsPS", u"StandardSymL", nullptr}},
    {"Times-Bold", {u"NimbusRoman-Bold", u"NimbusRomNo9L-Medi", u"LiberationSerif-Bold"}},
    {"Times-BoldItalic",
     {u"NimbusRoman-BoldItalic", u"NimbusRomNo9L-MediItal", u"LiberationSerif-BoldItalic"}},
    {"Times-Italic", {u"NimbusRoman-Italic", u"NimbusRomNo9L-ReguItal", u"LiberationSerif-Italic"}},
    {"Times-Roman", {u"NimbusRoman-Regular", u"NimbusRomNo9L-Regu", u"LiberationSerif"}}};

// Codes without an encoding in a font of symbols mean what they do in that font alone.
bool HasOwnCodes(const CFont& font)
{
  const CFontDescriptor* pDescriptor = font.GetFontDescriptor();
  return !font.IsComposite() && pDescriptor &&
         (pDescriptor->GetFlags() & (g_nSymbolicFlag | g_nNonsymbolicFlag)) == g_nSymbolicFlag &&
         !font.GetObject()["Encoding"] && !FindStandardFont(font.GetBaseName());
}

// The name of the measures in that table; null for any others.
const char* FindMeasures(const CFontTarget& target, const TStandardFont* pStandard)
{
  static constexpr const char* aNarrow[] = {"Narrow", "Narrow-Oblique", "Narrow-Bold", "Narrow-BoldOblique"};
  const BSE::CStr8 name = ToUtf8(target.m_sName);
  if (pStandard)
    return pStandard->m_szName;
  if (!target.m_bNarrow ||
      (!std::strstr(name.GetText(), "Arial") && !std::strstr(name.GetText(), "Helvetica")))
    return nullptr;
  return aNarrow[target.m_bBold * 2 + target.m_bItalic];
}

// Japanese fonts with serifs and without.
constexpr const char16_t* g_japaneseFonts[2][4] = {
    {u"MSPGothic", u"MSMincho", u"NotoSansCJKjp-Regular", u"NotoSerifCJKjp-Regular"},
    {u"MSMincho", u"MSPGothic", u"NotoSerifCJKjp-Regular", u"NotoSansCJKjp-Regular"}};

}  // namespace

const CInstalledFont* CInstalledFontCollection::ApplyReplacements(const CFont& font) const
{
  const CFontTarget target(font);
  const std::lock_guard guard(m_lock);
  const BSE::CIniFile::CSection* pSection = m_settings.FindSection(u"replace");
  const char16_t* szValue = pSection ? pSection->FindValue(target.m_sName.GetText()) : nullptr;
  const CInstalledFont* pFound = szValue ? Find(szValue) : nullptr;
  if (pFound)
    TraceFound("Font Collection", "Replace pdf font %s with installed font %s.", target, *pFound);
  return pFound;
}

const CInstalledFont* CInstalledFontCollection::GetScriptFont(const CFontCharacteristics& target) const
{
  const std::lock_guard guard(m_lock);
  for (const TScriptFont& entry : g_scriptFonts)
  {
    // Before all but the two of symbols.
    if (&entry == &g_scriptFonts[2] && target.Covers(CFontCharacteristics::g_nJapanese))
      for (const char16_t* szName : g_japaneseFonts[target.m_bSerif != 0])
        if (const CInstalledFont* pFound = Find(szName))
          return pFound;
    const bool bAsked = entry.m_nBit < 0 || target.Covers(entry.m_nBit) ||
                        (entry.m_nOtherBit >= 0 && target.Covers(entry.m_nOtherBit));
    if (const CInstalledFont* pFound = bAsked ? Find(entry.m_szName) : nullptr)
      return pFound;
  }
  return nullptr;
}

// By the standard font that its name is one of, or by the name itself, or else one like the standard font.
const CInstalledFont* CInstalledFontCollection::FindByName(const CFont& font, const CFontTarget& target) const
{
  const std::lock_guard guard(m_lock);
  const TStandardFont* pStandard = FindStandardFont(font.GetBaseName());
  const CInstalledFont* pFound = pStandard ? Find(ToUtf16(pStandard->m_szName).GetText()) : nullptr;
  if (!pFound)
    pFound = Find(target.m_sName.GetText());
  const char* szMeasures = FindMeasures(target, pStandard);
  for (const TClones& clones : g_clones)
    for (const char16_t* szName : clones.m_aNames)
      if (!pFound && szName && szMeasures && KeyEquals(szMeasures, clones.m_szStandard))
        pFound = Find(szName);
  return pFound;
}

const CInstalledFont* CInstalledFontCollection::FindMostAlike(const CFont& font,
                                                              const CFontTarget& target) const
{
  const std::lock_guard guard(m_lock);
  const CInstalledFont* pBest = nullptr;
  double dBest = CFontCharacteristics::g_dNoDistance;
  for (int i = 0; i < m_fonts.GetSize(); ++i)
    if (const double dDistance = m_fonts[i]->GetDistance(target); dDistance < dBest)
    {
      pBest = m_fonts[i];
      dBest = dDistance;
    }
  if (!pBest)
    return TraceNone(font);
  TraceFound("GetNearestFont", "Font %s replaced by nearest font %s.", target, *pBest);
  return pBest;
}

// Text of one width would lose it.
BSE::CScopedPtr<CFontProgram> CInstalledFontCollection::MakeInstance(const CFont& font,
                                                                     const CFontTarget& target,
                                                                     const CInstalledFont*& pInstalled) const
{
  static constexpr const char16_t* aNames[] = {u"NotoSans", u"NotoSans-Italic", u"NotoSerif",
                                               u"NotoSerif-Italic"};
  pInstalled = nullptr;
  if (!target.m_bLatin || target.m_bFixedPitch)
    return nullptr;
  {
    const std::lock_guard guard(m_lock);
    pInstalled = Find(aNames[target.m_bSerif * 2 + target.m_bItalic]);
  }
  return pInstalled ? CStaticInstance(font, target).Make(*pInstalled) : nullptr;
}

const CInstalledFont* CInstalledFontCollection::GetNearestFont(const CFont& font,
                                                               BSE::CScopedPtr<CFontProgram>& pInstance) const
{
  pInstance.Reset();
  if (font.IsType3())
    return nullptr;
  if (const CInstalledFont* pFound = ApplyReplacements(font))
    return pFound;
  const CFontTarget target(font);
  if (const CInstalledFont* pFound = FindByName(font, target))
  {
    TraceFound("GetNearestFont", "Font %s replaced by installed font %s.", target, *pFound);
    return pFound;
  }
  if (font.IsComposite() && target.HasCoverage())
    if (const CInstalledFont* pFound = GetScriptFont(target))
    {
      TraceFound("GetNearestFont", "Font %s replaced by CJK font %s.", target, *pFound);
      return pFound;
    }
  if (HasOwnCodes(font))
    return TraceNone(font);
  const CInstalledFont* pVariable = nullptr;
  pInstance = MakeInstance(font, target, pVariable);
  return pInstance ? pVariable : FindMostAlike(font, target);
}

}  // namespace PDF
