#include "engine/EmbeddedGlyphs.h"

#include "base/MemoryStream.h"
#include "fonts/pdf/FontProgramTrueType.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace PDF
{

namespace
{

constexpr int g_nMaxCID = 0xFFFE;

// Encodings that every reader knows.
bool IsLatinEncoding(const CObjectPtr& name)
{
  return name.IsName("WinAnsiEncoding") || name.IsName("MacRomanEncoding") ||
         name.IsName("MacExpertEncoding");
}

bool IsNotdef(const char* szName)
{
  return KeyEquals(szName, ".notdef");
}

// The one character that a name stands for, 0 for none or several.
char32_t FindCharacter(const char* szName)
{
  char16_t units[2];
  return szName && GetGlyphText(szName, units, 2) == 1 ? units[0] : 0;
}

void FormatName(char (&szName)[16], char32_t nCharacter)
{
  std::snprintf(szName, sizeof szName, nCharacter > 0xFFFF ? "u%05X" : "uni%04X",
                static_cast<unsigned>(nCharacter));
}

}  // namespace

int CNamedGlyphs::Find(char32_t nCharacter)
{
  const auto isLess = [](const TNamed& a, const TNamed& b) { return a.m_nCharacter < b.m_nCharacter; };
  if (m_glyphs.IsEmpty())
  {
    // What follows a dot makes another form of the character.
    for (int i = 1; i < m_program.GetGlyphCount(); ++i)
      if (const char* szName = m_program.GetGlyphName(i); !std::strchr(szName, '.'))
        if (const char32_t nNamed = FindCharacter(szName); nNamed != 0)
          m_glyphs.Add({nNamed, i});
    m_glyphs.Add({0, 0});
    std::stable_sort(m_glyphs.GetSpan().begin(), m_glyphs.GetSpan().end(), isLess);
  }
  const std::span<const TNamed> glyphs = m_glyphs.GetSpan();
  const auto it = std::lower_bound(glyphs.begin(), glyphs.end(), TNamed{nCharacter, 0}, isLess);
  return it != glyphs.end() && it->m_nCharacter == nCharacter ? it->m_nGlyph : 0;
}

CSimpleGlyphs::CSimpleGlyphs(CFont& font, CFontProgram& program)
    : m_font(font), m_program(program), m_text(font), m_pEncoding(font.GetEncoding()), m_named(program)
{
}

bool CSimpleGlyphs::Find(int& nMissing)
{
  const std::span<const unsigned char> used = m_font.GetUsedChars();
  for (unsigned nCode = 0; nCode < std::size(m_names); ++nCode)
  {
    const bool bShown = used[nCode] != 0;
    if (!bShown && !m_font.AreAllGlyphsUsed())
      continue;
    m_names[nCode] = FindName(nCode);
    if (!m_names[nCode] && bShown && !IsNotdef(m_pEncoding->GetGlyphName(nCode)))
    {
      nMissing = static_cast<int>(nCode);
      return false;
    }
  }
  return true;
}

// Null without a glyph.
const char* CSimpleGlyphs::FindName(unsigned nCode)
{
  const char* szName = m_pEncoding->GetGlyphName(nCode);
  char32_t nCharacter = FindCharacter(szName);
  char szUnicode[16];
  if (!szName && (nCharacter = m_text.Find(static_cast<int>(nCode))) != 0)
  {
    FormatName(szUnicode, nCharacter);
    const char* szKnown = FindCharacterName(nCharacter);
    szName = szKnown ? szKnown : m_pool.Keep(szUnicode);
  }
  if (!szName || IsNotdef(szName))
    return nullptr;
  const auto* pTrueType = dynamic_cast<const CFontProgramTrueType*>(&m_program);
  int& nGlyph = m_glyphs[nCode];
  nGlyph = pTrueType && nCharacter != 0 ? pTrueType->GetMappedGlyph(3, 1, nCharacter) : 0;
  if (nGlyph <= 0)
    nGlyph = m_program.GetGlyphIndexByName(szName);
  if (nGlyph > 0)
    return szName;
  // By a name of the program's for the same character.
  nGlyph = pTrueType || nCharacter == 0 ? 0 : m_named.Find(nCharacter);
  return nGlyph > 0 ? m_program.GetGlyphName(nGlyph) : nullptr;
}

bool CSimpleGlyphs::IsEncodingKept() const
{
  const CObjectPtr encoding = m_font.GetObject()["Encoding"];
  if (!IsLatinEncoding(encoding.IsDictionary() ? encoding["BaseEncoding"] : encoding))
    return false;
  for (unsigned i = 0; i < std::size(m_names); ++i)
    if (m_names[i] && !KeyEquals(m_pEncoding->GetGlyphName(i), m_names[i]))
      return false;
  return true;
}

bool CSimpleGlyphs::IsIntrinsic() const
{
  if (m_program.GetKind() == eFontTrueType || m_font.GetObject()["Encoding"])
    return false;
  for (unsigned i = 0; i < std::size(m_names); ++i)
    if (m_names[i] && !KeyEquals(m_program.GetIntrinsicName(i), m_names[i]))
      return false;
  return true;
}

CObjectPtr CSimpleGlyphs::MakeEncoding() const
{
  const CObjectPtr differences(new CArrayObject);
  unsigned nNext = CSimpleFont::g_nCodes;
  for (unsigned i = 0; i < std::size(m_names); ++i)
  {
    if (!m_names[i])
      continue;
    if (i != nNext)
      differences.Add(new CIntegerObject(i));
    differences.Add(new CNameObject(m_names[i]));
    nNext = i + 1;
  }
  CObjectPtr encoding(new CDictionaryObject);
  encoding.AddEntry("Type", new CNameObject("Encoding"));
  encoding.AddEntry("Differences", differences);
  return encoding;
}

bool CCompositeGlyphs::Find(int& nMissing)
{
  const CObjectPtr descendant = dynamic_cast<CType0Font&>(*m_fonts[0]).GetDescendant().GetObject();
  const CObjectPtr ordering = descendant["CIDSystemInfo"]["Ordering"];
  const char* szOrdering =
      ordering.IsString() ? reinterpret_cast<const char*>(ordering.GetStringValue().GetData()) : "";
  m_bByCID = m_bByCID || (std::strcmp(szOrdering, "Identity") != 0 && m_program.HasOrdering(szOrdering));
  if (!m_bByCID)
    return FindByText(nMissing);
  for (const CFont* pFont : m_fonts)
    for (nMissing = 1; nMissing < pFont->GetCharCount(); ++nMissing)
      if (pFont->IsUsed(nMissing) && !pFont->AreAllGlyphsUsed() &&
          m_program.GetGlyphIndexByCID(nMissing) == 0)
        return false;
  return true;
}

bool CCompositeGlyphs::FindByText(int& nMissing)
{
  nMissing = 0;
  for (const CFont* pFont : m_fonts)
  {
    // Nobody knows what else is shown, or which glyphs are other ones where text goes downwards.
    if (pFont->AreAllGlyphsUsed() || pFont->IsVertical())
      return false;
    const CCharacterText text(*pFont);
    CNamedGlyphs named(m_program);
    for (int nCID = 1; nCID < pFont->GetCharCount() && nCID <= g_nMaxCID; ++nCID)
    {
      if (!pFont->IsUsed(nCID))
        continue;
      const char32_t nCharacter = text.Find(nCID);
      int nGlyph = nCharacter != 0 ? m_program.GetGlyphIndexByUnicode(nCharacter) : 0;
      if (nGlyph <= 0 && nCharacter != 0)
        nGlyph = named.Find(nCharacter);
      if (nGlyph <= 0 || nGlyph > g_nMaxCID)
      {
        nMissing = nCID;
        return false;
      }
      if (m_glyphs.GetSize() <= nCID)
        m_glyphs.SetSize(nCID + 1);
      m_glyphs[nCID] = static_cast<std::uint16_t>(nGlyph);
    }
  }
  return true;
}

BSE::CScopedPtr<CFontProgram> CCompositeGlyphs::MakeProgram() const
{
  BSE::CScopedPtr<CFontProgram> pProgram;
  if (m_program.IsOpenType())
    pProgram = m_program.ToBareCFF();
  else if (m_program.GetKind() == eFontType1)
    pProgram = m_program.ToCFF();
  else
  {
    const BSE::CObjectPtr<BSE::CMemoryStream> pData(new BSE::CMemoryStream);
    if (m_program.Write(*pData, g_nUsedByCID, nullptr) && pData->Rewind())
      pProgram = CFontProgram::Create(*pData, nullptr, false, nullptr);
  }
  if (!pProgram || !AssignCIDs(*pProgram))
    return nullptr;
  return pProgram;
}

// Gives the glyphs the CIDs of the font, and those that it does not use any others.
bool CCompositeGlyphs::AssignCIDs(CFontProgram& program) const
{
  BSE::CBasicArray<std::uint16_t> cids;
  cids.SetSize(program.GetGlyphCount());
  for (int nCID = 1; nCID < m_glyphs.GetSize(); ++nCID)
  {
    int nGlyph = m_glyphs[nCID];
    if (nGlyph == 0)
      continue;
    // A glyph that several CIDs have.
    if (nGlyph >= cids.GetSize())
      return false;
    if (cids[nGlyph] != 0)
    {
      nGlyph = program.DuplicateGlyph(nGlyph, CSimpleFont::g_nCodes, nullptr);
      cids.SetSize(program.GetGlyphCount());
    }
    if (nGlyph <= 0 || nGlyph >= cids.GetSize())
      return false;
    cids[nGlyph] = static_cast<std::uint16_t>(nCID);
  }
  int nFree = 0;
  for (int i = 1; i < cids.GetSize(); ++i)
  {
    if (cids[i] != 0)
      continue;
    for (++nFree; nFree < m_glyphs.GetSize() && m_glyphs[nFree] != 0;)
      ++nFree;
    if (nFree > g_nMaxCID)
      return false;
    cids[i] = static_cast<std::uint16_t>(nFree);
  }
  // All get their accents, since nobody has marked any.
  const std::span<unsigned char> used = program.GetUsedGlyphs();
  std::fill(used.begin(), used.end(), static_cast<unsigned char>(1));
  return program.MakeCIDKeyed() && program.SetCIDs(cids.GetSpan());
}

BSE::CObjectPtr<BSE::IByteStream> CCompositeGlyphs::MakeMap() const
{
  BSE::CObjectPtr<BSE::IByteStream> pStream(new BSE::CMemoryStream);
  for (const std::uint16_t nGlyph : m_glyphs.GetSpan())
  {
    unsigned char bytes[2];
    BSE::StoreBigEndian(nGlyph, bytes);
    pStream->Write(bytes, sizeof bytes);
  }
  pStream->Rewind();
  return pStream;
}

}  // namespace PDF
