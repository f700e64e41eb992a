#include "fonts/pdf/FontProgramTrueType.h"

#include "fonts/ttf/TTFMerger.h"

#include <cstring>
#include <utility>

namespace PDF
{

namespace
{

constexpr int g_nPlatformMac = 1;
constexpr int g_nPlatformMicrosoft = 3;
constexpr std::uint32_t g_nMaxCharacter = 0x10FFFF;

// Where the codes of symbolic fonts are in a cmap for Windows.
constexpr std::uint32_t g_aSymbolPages[] = {0, 0xF000, 0xF100, 0xF200};

// Entries are numbers and not pointers to objects.
void* ToEntry(int nGlyph)
{
  return reinterpret_cast<void*>(static_cast<std::intptr_t>(nGlyph));
}

}  // namespace

CFontProgramTrueType::CFontProgramTrueType(BSE::IErrorContext* pErrorContext)
    : m_pErrorContext(pErrorContext), m_pFont(new TTF::CTTF(pErrorContext))
{
}

bool CFontProgramTrueType::Read(BSE::CBasicArray<unsigned char>&& data, const char* szName, bool bCheck)
{
  return m_bValid = m_pFont->Read(std::move(data), szName, bCheck);
}

bool CFontProgramTrueType::Write(BSE::IByteStream& stream, unsigned nUsage, int* pLengths)
{
  if (nUsage != 0)
    m_pFont->DropUnneeded((nUsage & ~g_nUsedByCID) != 0);
  // Not before: a blank glyph that another font uses is known by its metrics when fonts are merged.
  if (m_bSubset && HasUsedGlyphs())
  {
    m_pFont->ClearMetrics(m_used);
    m_pFont->DropCodes(m_used);
  }
  const std::int64_t nStart = stream.Tell();
  if (!m_bValid || !m_pFont->Write(stream))
    return false;
  if (pLengths)
  {
    pLengths[0] = static_cast<int>(stream.Tell() - nStart);
    pLengths[1] = pLengths[2] = 0;
  }
  return true;
}

double CFontProgramTrueType::Scale(double dValue) const
{
  const int nUnits = m_pFont->GetHead().m_nUnitsPerEm;
  return nUnits > 0 ? dValue * 1000 / nUnits : dValue;
}

int CFontProgramTrueType::GetGlyphIndexByName(const char* szName)
{
  if (!szName)
    return 0;
  if (!std::exchange(m_bNamesRead, true))
    for (int i = GetGlyphCount() - 1; i > 0; --i)
      if (const std::span<const char> name = m_pFont->GetPost().GetGlyphName(i); !name.empty())
        m_glyphs.SetAt(name.data(), name.size(), ToEntry(i));
  const int nEntry = m_glyphs.Lookup(szName, std::strlen(szName));
  const auto nGlyph = static_cast<int>(reinterpret_cast<std::intptr_t>(m_glyphs.GetValue(nEntry)));
  return nGlyph < GetGlyphCount() ? nGlyph : 0;
}

int CFontProgramTrueType::GetMappedGlyph(int nPlatform, int nEncoding, std::uint32_t nCode) const
{
  const TTF::CCMap& cmap = m_pFont->GetCMap();
  const int nGlyph = cmap.GetGlyph(cmap.Find(nPlatform, nEncoding), nCode);
  return nGlyph < GetGlyphCount() ? nGlyph : 0;
}

int CFontProgramTrueType::GetGlyphIndexByCode(unsigned nCode)
{
  if (nCode > 255)
    return 0;
  for (const std::uint32_t nPage : g_aSymbolPages)
    if (const int nGlyph = GetMappedGlyph(g_nPlatformMicrosoft, 0, nPage + nCode))
      return nGlyph;
  return GetMappedGlyph(g_nPlatformMac, 0, nCode);
}

int CFontProgramTrueType::GetGlyphIndexByUnicode(char32_t nCharacter)
{
  for (const int nEncoding : {10, 1})
    if (const int nGlyph = GetMappedGlyph(g_nPlatformMicrosoft, nEncoding, nCharacter))
      return nGlyph;
  return GetMappedGlyph(0, -1, nCharacter);
}

std::span<const char> CFontProgramTrueType::FindGlyphName(int nGlyph)
{
  return m_pFont->GetPost().GetGlyphName(nGlyph);
}

char32_t CFontProgramTrueType::FindCharacter(int nGlyph)
{
  if (m_characters.GetSize() != GetGlyphCount())
  {
    m_characters.SetSize(GetGlyphCount());
    const TTF::CCMap& cmap = m_pFont->GetCMap();
    BSE::CBasicArray<TTF::TMapping> mappings;
    for (const int nSubtable :
         {cmap.Find(g_nPlatformMicrosoft, 10), cmap.Find(g_nPlatformMicrosoft, 1), cmap.Find(0, -1)})
      if (cmap.GetMappings(nSubtable, g_nMaxCharacter, GetGlyphCount(), mappings))
        for (const TTF::TMapping& mapping : mappings.GetSpan())
          if (char32_t& nCharacter = m_characters[static_cast<int>(mapping.m_nGlyph)]; nCharacter == 0)
            nCharacter = mapping.m_nCode;
  }
  return m_characters[nGlyph];
}

int CFontProgramTrueType::GetWeightClass() const
{
  return m_pFont->GetOS2().IsPresent() ? m_pFont->GetOS2().m_nWeightClass : 400;
}

int CFontProgramTrueType::GetFontFlags()
{
  const bool bSymbolic = !HasCMap(g_nPlatformMicrosoft, 1) && HasCMap(g_nPlatformMicrosoft, 0);
  return (bSymbolic ? 4 : 32) | (m_pFont->GetPost().m_nIsFixedPitch != 0 ? 1 : 0) |
         (GetItalicAngle() != 0 ? 64 : 0);
}

TFontBox CFontProgramTrueType::GetFontBBox()
{
  const TTF::CHead& head = m_pFont->GetHead();
  return {Scale(head.m_nXMin), Scale(head.m_nYMin), Scale(head.m_nXMax), Scale(head.m_nYMax)};
}

double CFontProgramTrueType::GetItalicAngle()
{
  return m_pFont->GetPost().m_nItalicAngle / 65536.0;
}

double CFontProgramTrueType::GetAscent()
{
  return Scale(m_pFont->GetHhea().m_nAscender);
}

double CFontProgramTrueType::GetDescent()
{
  return Scale(m_pFont->GetHhea().m_nDescender);
}

double CFontProgramTrueType::GetLeading()
{
  return Scale(m_pFont->GetHhea().m_nLineGap);
}

double CFontProgramTrueType::GetCapHeight()
{
  return Scale(m_pFont->GetOS2().m_nCapHeight);
}

double CFontProgramTrueType::GetXHeight()
{
  return Scale(m_pFont->GetOS2().m_nXHeight);
}

// The format does not say it: what goes with the weight in fonts of the usual design.
double CFontProgramTrueType::GetStemV()
{
  const double dWeight = GetWeightClass() / 65.0;
  return 50 + dWeight * dWeight;
}

double CFontProgramTrueType::GetWidth(int nGlyph)
{
  return Scale(m_pFont->GetHmtx().GetAdvance(nGlyph));
}

bool CFontProgramTrueType::GetOutline(int nGlyph, FONT::CGlyph& outline)
{
  outline.Clear();
  TTF::COutline points;
  if (!m_pFont->GetOutline(nGlyph, points))
    return false;
  outline.m_dWidth = m_pFont->GetHmtx().GetAdvance(nGlyph);
  TTF::ToGlyph(points, outline);
  return true;
}

double CFontProgramTrueType::GetUnitsPerEm()
{
  return m_pFont->GetHead().m_nUnitsPerEm;
}

bool CFontProgramTrueType::CanSubset()
{
  return HasUsedGlyphs() && m_pFont->CloseGlyphs(m_used);
}

bool CFontProgramTrueType::Subset(unsigned)
{
  return m_bSubset = HasUsedGlyphs() && m_pFont->Subset(m_used);
}

TMergeResult CFontProgramTrueType::DoMerge(CFontProgram& other, unsigned nUsage)
{
  auto* pOther = dynamic_cast<CFontProgramTrueType*>(&other);
  const bool bByNumber = (nUsage & g_nUsedByCID) != 0;
  // Where glyphs are asked for by numbers and by codes, neither can change.
  if (!pOther || (bByNumber && nUsage != g_nUsedByCID))
    return eNotMerged;
  for (CFontProgramTrueType* pProgram : {this, pOther})
    if (pProgram->HasUsedGlyphs())
      pProgram->m_pFont->CloseGlyphs(pProgram->m_used);
  TTF::CTTFMerger merger(*m_pFont, *pOther->m_pFont, m_used.GetSpan(), pOther->m_used.GetSpan());
  const auto nResult = static_cast<TMergeResult>(merger.Merge(bByNumber));
  if (nResult == eNotMerged)
    return nResult;
  m_bSubset = m_bSubset && pOther->m_bSubset;
  if (!HasUsedGlyphs())
    return nResult;
  // What the other one used, this one uses now.
  m_used.SetSize(GetGlyphCount());
  for (int i = 0; i < pOther->m_used.GetSize(); ++i)
    if (const int nGlyph = merger.FindGlyph(i); pOther->m_used[i] != 0 && nGlyph >= 0)
      m_used.SetAt(nGlyph, 1);
  if (!pOther->HasUsedGlyphs())
    m_used.RemoveAll();
  return nResult;
}

void CFontProgramTrueType::HashMergeKey(BSE::CHashFunction& hash)
{
  m_pFont->HashMergeKey(hash);
}

int CFontProgramTrueType::DuplicateGlyph(int nGlyph, int nCode, const char*)
{
  const int nCopy = TTF::CTTFMerger(*m_pFont, *m_pFont, {}, {}).Duplicate(nGlyph, nCode);
  if (nCopy > 0)
    NotifyDuplicated(nCopy);
  return nCopy;
}

}  // namespace PDF
