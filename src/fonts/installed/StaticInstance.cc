#include "fonts/installed/StaticInstance.h"

#include "base/Limits.h"
#include "base/Tracer.h"
#include "base/Unicode.h"
#include "fonts/cff/CharStringGenerator.h"
#include "fonts/installed/FontFile.h"
#include "fonts/installed/VariableFont.h"
#include "fonts/pdf/CompositeFont.h"
#include "fonts/pdf/FontProgramType1C.h"

#include <cmath>
#include <cstdio>

namespace PDF
{

namespace
{

BSE::CScopedPtr<CFontProgram> Fail(const char* szSeverity, const char* szFormat, const CFont& font)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace(szSeverity, "PdfFontProgram", szFormat, font.GetBaseName());
  return nullptr;
}

char32_t GetSingle(std::span<const char16_t> units)
{
  int nUnits = 0;
  if (units.empty())
    return 0;
  const char32_t nCharacter = BSE::DecodeCharacter(units, nUnits);
  return std::cmp_equal(nUnits, units.size()) && nCharacter <= 0x10FFFF ? nCharacter : 0;
}

// The encoding from text to the CIDs of a collection; null for others.
const char* FindCollectionEncoding(const char* szOrdering)
{
  static constexpr const char* aEncodings[][2] = {{"Japan1", "UniJIS-UTF16-H"},
                                                  {"GB1", "UniGB-UTF16-H"},
                                                  {"CNS1", "UniCNS-UTF16-H"},
                                                  {"Korea1", "UniKS-UTF16-H"}};
  for (const auto& encoding : aEncodings)
    if (KeyEquals(szOrdering, encoding[0]))
      return encoding[1];
  return nullptr;
}

}  // namespace

CCharacterText::CCharacterText(const CFont& font) : m_font(font)
{
  const auto* pComposite = dynamic_cast<const CType0Font*>(&font);
  if (!pComposite)
    return;
  const CObjectPtr ordering = pComposite->GetDescendant().GetObject()["CIDSystemInfo"]["Ordering"];
  const BSE::CObjectPtr<CEncoding> pEncoding = font.GetEncoding();
  const auto* pCMap = dynamic_cast<const CCMapEncoding*>(pEncoding.Get());
  const char* szOrdering = ordering.IsString()
                               ? reinterpret_cast<const char*>(ordering.GetStringValue().GetData())
                               : (pCMap ? pCMap->GetOrdering() : "");
  if (const char* szEncoding = FindCollectionEncoding(szOrdering))
    m_pCollection = new CStandardCMapEncoding(szEncoding);
  if (m_pCollection && !m_pCollection->IsKnown())
    m_pCollection.Reset();
}

char32_t CCharacterText::Find(int nCharacter) const
{
  char16_t units[3];
  const int nUnits = m_font.GetCharacterText(nCharacter, units, 3);
  if (nUnits > 0)
    return nUnits <= 2 ? GetSingle({units, static_cast<std::size_t>(nUnits)}) : 0;
  int nLength = 0;
  const std::int64_t nCode = m_pCollection ? m_pCollection->FindCode(nCharacter, nLength) : -1;
  if (nCode < 0 || (nLength != 2 && nLength != 4))
    return 0;
  const char16_t aUnits[] = {static_cast<char16_t>(nCode >> 16), static_cast<char16_t>(nCode)};
  return GetSingle(nLength == 2 ? std::span<const char16_t>(aUnits).subspan(1)
                                : std::span<const char16_t>(aUnits));
}

BSE::CScopedPtr<CFontProgram> CStaticInstance::Make(const CInstalledFont& installed)
{
  if (m_font.AreAllGlyphsUsed())
    return nullptr;
  const BSE::CObjectPtr<BSE::CFileStream> pFile =
      OpenRegularFile(installed.m_sFile.GetText(), BSE::g_nMaxFontFile, nullptr);
  BSE::CBasicArray<unsigned char> data;
  if (!pFile || !pFile->ReadToArray(data, BSE::g_nMaxFontFile))
    return Fail("E", "Failed to load variable font.", m_font);
  CVariableFont variable;
  double dWeight = m_target.m_dWeight;
  double dWidth =
      m_target.m_bWidthKnown && installed.m_dWidth > 0 ? 100 * m_target.m_dWidth / installed.m_dWidth : 100;
  if (!variable.Open(data.GetSpan(), installed.m_nIndex) || !variable.SetAxes(dWeight, dWidth))
    return nullptr;
  auto* pProgram = new CFontProgramType1C(nullptr);
  m_pProgram.Reset(pProgram);
  m_pCFF = &pProgram->GetFont();
  m_pCFF->Create(FONT::MakeName(m_font.GetBaseName()));
  if (!AddGlyphs(variable))
    return nullptr;
  const double aBox[] = {m_box.m_dLeft, m_box.m_dBottom, m_box.m_dRight, m_box.m_dTop};
  m_pCFF->GetTop().SetArray(CFF::CTypes::eFontBBox, aBox);
  pProgram->SetValid();
  if (m_font.IsComposite() && (!m_pProgram->MakeCIDKeyed() || !m_pProgram->SetCIDs(m_cids.GetSpan())))
    return Fail("E", "Failed to build CFF from variable font outlines.", m_font);
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace(
        "D", "PdfFontProgram",
        "Font %s replaced by static CFF from variable font (wght=%d, wdth=%f, serif=%d, italic=%d).",
        m_font.GetBaseName(), static_cast<int>(dWeight), dWidth, int{m_target.m_bSerif},
        int{m_target.m_bItalic});
  return std::move(m_pProgram);
}

bool CStaticInstance::AddGlyphs(CVariableFont& variable)
{
  m_cids.Add(0);
  if (!AddOutline(variable, 0, ".notdef"))
  {
    Fail("E", "Failed to build CFF from variable font outlines.", m_font);
    return false;
  }
  for (int i = 0; i < m_font.GetCharCount(); ++i)
    if (m_font.IsUsed(i) && !(i == 0 && m_font.IsComposite()) && !AddGlyph(variable, i))
      return false;
  return true;
}

bool CStaticInstance::AddGlyph(CVariableFont& variable, int nCharacter)
{
  const char32_t nText = m_text.Find(nCharacter);
  const int nGlyph = nText != 0 ? variable.GetGlyph(nText) : 0;
  if (nGlyph == 0)
  {
    Fail("D", "Variable font does not cover all glyphs needed by font %s, falling back.", m_font);
    return false;
  }
  char szUnicode[32];
  const char* szName =
      m_font.IsComposite() ? nullptr : m_font.GetEncoding()->GetGlyphName(static_cast<unsigned>(nCharacter));
  if (!szName)
  {
    // Several CIDs may have one text.
    std::snprintf(szUnicode, sizeof szUnicode, m_font.IsComposite() ? "uni%04X.%d" : "uni%04X",
                  static_cast<unsigned>(nText), nCharacter);
    szName = szUnicode;
  }
  int nNew = m_pCFF->FindGlyph(FONT::MakeName(szName));
  if (nNew < 0 && !AddOutline(variable, nGlyph, szName))
  {
    Fail("E", "Failed to build CFF from variable font outlines.", m_font);
    return false;
  }
  if (nNew < 0)
    nNew = m_pCFF->GetGlyphCount() - 1;
  if (m_font.IsComposite())
    m_cids.Add(static_cast<std::uint16_t>(nCharacter));
  else
    m_pCFF->SetEncodedGlyph(nCharacter, nNew);
  return true;
}

bool CStaticInstance::AddOutline(CVariableFont& variable, int nGlyph, const char* szName)
{
  FONT::CGlyph glyph;
  CFF::CType2Writer writer(0, 0);
  if (!variable.GetOutline(nGlyph, glyph) || !writer.Write(glyph) ||
      m_pCFF->AddGlyph(FONT::MakeName(szName), writer.GetCharString()) < 0)
    return false;
  for (const FONT::TSegment& segment : glyph.m_segments.GetSpan())
  {
    m_box.m_dLeft = std::min(m_box.m_dLeft, segment.GetX());
    m_box.m_dBottom = std::min(m_box.m_dBottom, segment.GetY());
    m_box.m_dRight = std::max(m_box.m_dRight, segment.GetX());
    m_box.m_dTop = std::max(m_box.m_dTop, segment.GetY());
  }
  return true;
}

}  // namespace PDF
