#include "fonts/pdf/FontProgram.h"

#include "base/Tracer.h"
#include "base/Unicode.h"
#include "fonts/pdf/FontProgramOpenType.h"
#include "fonts/pdf/FontProgramTrueType.h"
#include "fonts/pdf/FontProgramType1.h"

#include <cstdio>
#include <cstring>

namespace PDF
{

namespace
{

void Trace(const char* szText)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF Font Program", "%s", szText);
}

// Whose outlines a font file has by its tables, since versions are wrong at times; of a collection the first
// font's, since all share theirs. Where the tables are not in the data, the version counts.
TFontFormat FindTableFormat(BSE::CByteCursor cursor)
{
  constexpr int nFirstOffset = 12;
  const BSE::CByteCursor data = cursor;
  std::uint32_t nVersion = cursor.Card32();
  if (nVersion == TTF::MakeTag("ttcf"))
  {
    cursor.Skip(nFirstOffset - 4);
    cursor = data.GetPart(cursor.Card32());
    nVersion = cursor.Card32();
  }
  bool bGlyphs = false;
  bool bCFF = false;
  const int nTables = static_cast<int>(cursor.Card16());
  cursor.Skip(6);
  for (int i = 0; i < nTables && !cursor.HasFailed(); ++i, cursor.Skip(12))
  {
    const std::uint32_t nTag = cursor.Card32();
    bGlyphs = bGlyphs || nTag == TTF::MakeTag("glyf");
    bCFF = bCFF || nTag == TTF::MakeTag("CFF ");
  }
  const bool bOpenType = bGlyphs == bCFF ? nVersion == TTF::MakeTag("OTTO") : bCFF;
  return bOpenType ? eFormatOpenType : eFormatTrueType;
}

}  // namespace

TFontFormat FindFontFormat(std::span<const unsigned char> data)
{
  const auto BeginsWith = [&](const char* pText, std::size_t nLength)
  { return data.size() >= nLength && std::memcmp(data.data(), pText, nLength) == 0; };
  for (const char* pVersion : {"\0\1\0\0", "true", "OTTO", "ttcf"})
    if (BeginsWith(pVersion, 4))
      return FindTableFormat(BSE::CByteCursor(data));
  if (BeginsWith("\x80\1", 2) || BeginsWith("%!", 2))
    return eFormatType1;
  // Major version 1, a header of at least four bytes, offsets of one to four.
  if (data.size() >= 4 && data[0] == 1 && data[2] >= 4 && data[3] >= 1 && data[3] <= 4)
    return eFormatCFF;
  return eFormatUnknown;
}

BSE::CScopedPtr<CFontProgram> CFontProgram::Create(BSE::IByteStream& stream, const char* szName, bool bCheck,
                                                   BSE::IErrorContext* pErrorContext)
{
  BSE::CBasicArray<unsigned char> data;
  if (!stream.ReadToArray(data))
  {
    Trace("Font program is invalid and could not be read.");
    return nullptr;
  }
  return Create(std::move(data), szName, bCheck, pErrorContext);
}

BSE::CScopedPtr<CFontProgram> CFontProgram::Create(BSE::CBasicArray<unsigned char>&& data, const char* szName,
                                                   bool bCheck, BSE::IErrorContext* pErrorContext)
{
  BSE::CScopedPtr<CFontProgram> pProgram;
  switch (FindFontFormat(data.GetSpan()))
  {
  case eFormatTrueType:
    pProgram.Reset(new CFontProgramTrueType(pErrorContext));
    break;
  case eFormatType1:
    pProgram.Reset(new CFontProgramType1(pErrorContext));
    break;
  case eFormatOpenType:
    pProgram.Reset(new CFontProgramOpenType(pErrorContext));
    break;
  case eFormatCFF:
    pProgram.Reset(new CFontProgramType1C(pErrorContext));
    break;
  default:
    Trace("Font program is of unknown type.");
    return nullptr;
  }
  if (!pProgram->Read(std::move(data), szName, bCheck))
  {
    Trace("Font program is invalid and could not be read.");
    return nullptr;
  }
  return pProgram;
}

int CFontProgram::GetFirstChar()
{
  unsigned nCode = 0;
  while (nCode < 255 && !GetIntrinsicName(nCode))
    ++nCode;
  return static_cast<int>(nCode);
}

int CFontProgram::GetLastChar()
{
  unsigned nCode = 255;
  while (nCode > 0 && !GetIntrinsicName(nCode))
    --nCode;
  return static_cast<int>(nCode);
}

const char* CFontProgram::GetGlyphName(int nGlyph)
{
  if (nGlyph <= 0 || nGlyph >= GetGlyphCount())
    return ".notdef";
  if (m_names.GetSize() != GetGlyphCount())
    m_names.SetSize(GetGlyphCount());
  if (!m_names[nGlyph])
  {
    const std::span<const char> name = FindGlyphName(nGlyph);
    m_names[nGlyph] = name.empty() ? ".notdef" : m_pool.Keep(name.data(), name.size());
  }
  return m_names[nGlyph];
}

const char* CFontProgram::GetIntrinsicName(unsigned nCode)
{
  const int nGlyph = GetGlyphIndexByCode(nCode);
  return nGlyph > 0 ? GetGlyphName(nGlyph) : nullptr;
}

const char* CFontProgram::GetUnicodeName(int nGlyph)
{
  const char* szName = GetGlyphName(nGlyph);
  if (nGlyph <= 0 || std::strcmp(szName, ".notdef") != 0)
    return szName;
  const char32_t nCharacter = FindCharacter(nGlyph);
  if (nCharacter == 0)
    return szName;
  if (const char* szKnown = FindCharacterName(nCharacter))
    return szKnown;
  char szUnicode[16];
  std::snprintf(szUnicode, sizeof(szUnicode), nCharacter > 0xFFFF ? "u%05X" : "uni%04X",
                static_cast<unsigned>(nCharacter));
  return m_pool.Keep(szUnicode);
}

int CFontProgram::GetCode(int nGlyph)
{
  for (unsigned i = 0; i < 256; ++i)
    if (GetGlyphIndexByCode(i) == nGlyph)
      return static_cast<int>(i);
  return -1;
}

std::span<unsigned char> CFontProgram::GetUsedGlyphs()
{
  if (m_used.GetSize() != GetGlyphCount())
    m_used.SetSize(GetGlyphCount());
  return m_used.GetSpan();
}

void CFontProgram::AddMissing(const TMissing& missing)
{
  if (m_missing.GetSize() <= g_nMaxMissing)
    m_missing.Add(missing);
}

void CFontProgram::NoteMissing(unsigned nCode, const char* szName, char32_t nCharacter)
{
  AddMissing({-1, nCode, m_pool.Keep(szName), nCharacter});
}

void CFontProgram::NoteMissingCID(int nCID)
{
  AddMissing({nCID, 0, nullptr, 0});
}

// Whether there are glyphs for codes that the other program has none for.
bool CFontProgram::HasAnyOf(const CFontProgram& other)
{
  const std::span<const TMissing> missing = other.m_missing.GetSpan();
  const auto Has = [this](const TMissing& code)
  {
    return code.m_nCID >= 0
               ? GetGlyphIndexByCID(code.m_nCID) > 0
               : GetGlyphIndexByCode(code.m_nCode) > 0 || GetGlyphIndexByName(code.m_szName) > 0 ||
                     (code.m_nCharacter != 0 && GetGlyphIndexByUnicode(code.m_nCharacter) > 0);
  };
  return std::cmp_greater(missing.size(), g_nMaxMissing) || std::any_of(missing.begin(), missing.end(), Has);
}

TMergeResult CFontProgram::Merge(CFontProgram& other, unsigned nUsage)
{
  if (HasAnyOf(other) || other.HasAnyOf(*this))
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("D", "PDF Font Program", "Aborting merge because of codes without a glyph.");
    return eNotMerged;
  }
  const TMergeResult nResult = DoMerge(other, nUsage);
  for (int i = 0; nResult != eNotMerged && i < other.m_missing.GetSize(); ++i)
  {
    TMissing missing = other.m_missing[i];
    missing.m_szName = m_pool.Keep(missing.m_szName);
    AddMissing(missing);
  }
  if (nResult == eMerged)
    NotifyChanged();
  return nResult;
}

void CFontProgram::NotifyDuplicated(int nCopy)
{
  NotifyChanged();
  if (HasUsedGlyphs())
    GetUsedGlyphs()[static_cast<std::size_t>(nCopy)] = 1;
}

void CFontProgram::NotifyChanged()
{
  m_names.RemoveAll();
}

}  // namespace PDF
