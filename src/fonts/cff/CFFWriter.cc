// Parts are written in this order: header, name, top DICT, strings and global subroutines; encoding, charset,
// FDSelect, charstrings, font dictionaries, private dictionaries with their subroutines. All but the
// charstrings are made in memory first, since the top DICT and the font dictionaries hold offsets whose size
// depends on their values. SettleOffsets repeats both until they fit the room of the round before. That room
// never shrinks, so it ends, whereas exact sizes could go back and forth; a few bytes may stay unused.
// Charset, encoding and FDSelect each take the smallest of their formats (Adobe Technical Note 5176, sections
// 12, 13 and 19).

#include "fonts/cff/CFFWriter.h"

#include <algorithm>
#include <cstdio>
#include <limits>

namespace CFF
{

namespace
{

void Put16(BSE::CBasicArray<unsigned char>& bytes, unsigned n)
{
  bytes.Add(static_cast<unsigned char>(n >> 8));
  bytes.Add(static_cast<unsigned char>(n));
}

void Put8(BSE::CBasicArray<unsigned char>& bytes, int n)
{
  bytes.Add(static_cast<unsigned char>(n));
}

}  // namespace

bool CCFF::Write(BSE::IByteStream& stream) const
{
  return GetGlyphCount() > 0 && CCFFWriter(*this).Write(stream);
}

unsigned short CCFFWriter::MapString(int nString)
{
  const int nOwn = nString - FONT::g_nStandardStrings;
  if (nOwn < 0)
    return static_cast<unsigned short>(nString);
  unsigned short& nMapped = m_stringMap[nOwn];
  if (nMapped == 0)
    nMapped = static_cast<unsigned short>(FONT::g_nStandardStrings + m_strings.Add(m_font.m_strings[nOwn]));
  return nMapped;
}

bool CCFFWriter::MakeStrings()
{
  m_stringMap.SetSize(m_font.m_strings.GetSize());
  m_top = m_font.m_top;
  const auto Map = [this](double& dString) { dString = MapString(static_cast<int>(dString)); };
  m_top.VisitStrings(Map);
  m_glyphIDs = m_font.m_glyphIDs;
  for (unsigned short& nID : m_glyphIDs.GetSpan())
    if (!m_font.IsCIDKeyed())
      nID = MapString(nID);
  return m_strings.GetSize() <= 0xFFFF - FONT::g_nStandardStrings;
}

bool CCFFWriter::WriteSingle(const CBytes& data, CBytes& bytes)
{
  CIndex index;
  index.Add(data.GetSpan());
  return index.Write(bytes);
}

int CCFFWriter::FindCharset() const
{
  for (int nCharset = 0; nCharset <= 2; ++nCharset)
  {
    int i = 0;
    while (i < m_glyphIDs.GetSize() && m_glyphIDs[i] == FONT::GetCharsetString(nCharset, i))
      ++i;
    if (i == m_glyphIDs.GetSize())
      return nCharset;
  }
  return -1;
}

void CCFFWriter::MakeCharset()
{
  const int nCount = m_glyphIDs.GetSize();
  CBytes formats[2];  // lengths of runs in one byte and in two
  for (const int nSize : {1, 2})
  {
    CBytes& bytes = formats[nSize - 1];
    Put8(bytes, nSize);
    for (int i = 1, nEnd = 1; i < nCount; i = nEnd)
    {
      const int nMax = nSize == 1 ? 0x100 : 0x10000;
      for (nEnd = i + 1; nEnd < nCount && nEnd - i < nMax && m_glyphIDs[nEnd] == m_glyphIDs[nEnd - 1] + 1;)
        ++nEnd;
      Put16(bytes, m_glyphIDs[i]);
      if (nSize == 2)
        Put8(bytes, (nEnd - i - 1) >> 8);
      Put8(bytes, nEnd - i - 1);
    }
  }
  m_charset = formats[formats[0].GetSize() <= formats[1].GetSize() ? 0 : 1];
  if (m_charset.GetSize() <= 1 + 2 * (nCount - 1))
    return;
  m_charset.Truncate(0);
  Put8(m_charset, 0);
  for (int i = 1; i < nCount; ++i)
    Put16(m_charset, m_glyphIDs[i]);
}

void CCFFWriter::MakeFDSelect()
{
  const auto select = m_font.m_fdSelect.GetSpan();
  Put8(m_fdSelect, 3);
  Put16(m_fdSelect, 0);
  unsigned nRanges = 0;
  for (std::size_t i = 0; i < select.size(); ++i)
    if (i == 0 || select[i] != select[i - 1])
    {
      Put16(m_fdSelect, static_cast<unsigned>(i));
      Put8(m_fdSelect, select[i]);
      ++nRanges;
    }
  Put16(m_fdSelect, static_cast<unsigned>(select.size()));
  m_fdSelect[1] = static_cast<unsigned char>(nRanges >> 8);
  m_fdSelect[2] = static_cast<unsigned char>(nRanges);
  if (std::cmp_less_equal(m_fdSelect.GetSize(), select.size() + 1) && nRanges <= 0xFFFF)
    return;
  m_fdSelect.Truncate(0);
  Put8(m_fdSelect, 0);
  m_fdSelect.Append(select);
}

// Whether each code has the glyph that a predefined encoding gives it.
bool CCFFWriter::HasEncoding(int (*pfGetString)(int)) const
{
  for (int i = 0; i < 256; ++i)
  {
    const int nString = pfGetString(i);
    const int nFound = nString > 0 ? m_glyphIDs.Find(static_cast<unsigned short>(nString)) : 0;
    if (m_font.m_encoding[i] != (nFound < m_glyphIDs.GetSize() ? nFound : 0))
      return false;
  }
  return true;
}

// Codes of the first glyphs, one by one or as runs. A glyph without a code is given that of the next one,
// which comes later in the list and so keeps it. Codes of later glyphs, and second codes of the same glyph,
// are supplements.
bool CCFFWriter::MakeEncoding()
{
  int codes[256];
  std::fill(std::begin(codes), std::end(codes), -1);
  for (int nCode = 255; nCode >= 0; --nCode)
    if (const int nGlyph = m_font.m_encoding[nCode]; nGlyph > 0 && nGlyph < 256)
      codes[nGlyph] = nCode;
  for (int i = 254; i > 0; --i)
    codes[i] = codes[i] < 0 ? codes[i + 1] : codes[i];
  int nSupplements = 0;
  for (const unsigned short nGlyph : m_font.m_encoding)
    nSupplements += nGlyph != 0 ? 1 : 0;
  // As many glyphs in the list as make the encoding smallest.
  const int nAll = nSupplements;
  int nGlyphs = 0;
  for (int i = 1, nRuns = 0, nBest = 3 * nAll, nLeft = nAll; i < 256 && codes[i] >= 0; ++i)
  {
    nRuns += i == 1 || codes[i] != codes[i - 1] + 1 ? 1 : 0;
    const bool bOwn = m_font.m_encoding[codes[i]] == i;
    nLeft -= bOwn ? 1 : 0;
    if (const int nSize = std::min(i, 2 * nRuns) + 3 * nLeft; bOwn && nSize <= nBest)
    {
      nBest = nSize;
      nGlyphs = i;
      nSupplements = nLeft;
    }
  }
  WriteEncoding({codes + 1, static_cast<std::size_t>(nGlyphs)}, nSupplements);
  return nSupplements <= 255 && m_strings.GetSize() <= 0xFFFF - FONT::g_nStandardStrings;
}

void CCFFWriter::WriteEncoding(std::span<const int> codes, int nSupplements)
{
  bool done[256] = {};
  CBytes rows[2];
  for (std::size_t i = 0, nEnd = 0; i < codes.size(); i = nEnd)
  {
    for (nEnd = i + 1; nEnd < codes.size() && codes[nEnd] == codes[nEnd - 1] + 1;)
      ++nEnd;
    Put8(rows[1], codes[i]);
    Put8(rows[1], static_cast<int>(nEnd - i - 1));
  }
  for (const int nCode : codes)
  {
    Put8(rows[0], nCode);
    done[nCode] = true;
  }
  const int nFormat = rows[1].GetSize() < rows[0].GetSize() ? 1 : 0;
  Put8(m_encoding, nFormat | (nSupplements > 0 ? 0x80 : 0));
  Put8(m_encoding, rows[nFormat].GetSize() / (nFormat + 1));
  m_encoding.Append(rows[nFormat].GetSpan());
  if (nSupplements == 0)
    return;
  Put8(m_encoding, nSupplements);
  for (int nCode = 0; nCode < 256; ++nCode)
    if (const int nGlyph = m_font.m_encoding[nCode]; nGlyph != 0 && !done[nCode])
    {
      // A supplement leads to the first glyph of a name.
      if (m_glyphIDs.Find(m_glyphIDs[nGlyph]) != nGlyph)
        m_glyphIDs[nGlyph] = AddGlyphName(nGlyph);
      Put8(m_encoding, nCode);
      Put16(m_encoding, m_glyphIDs[nGlyph]);
    }
}

// A name that no other glyph has.
unsigned short CCFFWriter::AddGlyphName(int nGlyph)
{
  char szName[32];
  const auto isTaken = [&](TData text)
  { return FONT::IsSameName(FONT::MakeName(text), FONT::MakeName(szName)); };
  do
    std::snprintf(szName, sizeof szName, "g%d.unnamed", nGlyph++);
  while (std::ranges::any_of(m_strings.GetSpan(), isTaken));
  return static_cast<unsigned short>(FONT::g_nStandardStrings +
                                     m_strings.Add(m_store.Add(FONT::GetNameBytes(FONT::MakeName(szName)))));
}

// Each dictionary is followed by its subroutines. It holds their offset from its own beginning, which is its
// size; that grows until the number fits.
bool CCFFWriter::MakePrivates()
{
  for (int i = 0; i < m_font.GetFontDictCount(); ++i)
  {
    const TFontDict& fontDict = m_font.GetFontDict(i);
    CDictionary values = fontDict.m_private;
    CBytes bytes;
    for (int nSize = -1; nSize != bytes.GetSize();)
    {
      nSize = bytes.GetSize();
      if (fontDict.m_subrs.GetSize() > 0)
        values.SetNumber(CTypes::eSubrs, nSize);
      bytes.Truncate(0);
      if (!values.Write(bytes))
        return false;
    }
    m_privateOffsets.Add(m_privates.GetSize());
    m_privateSizes.Add(bytes.GetSize());
    m_privates.Append(bytes.GetSpan());
    if (fontDict.m_subrs.GetWrittenSize() > std::numeric_limits<int>::max() / 2 - m_privates.GetSize() ||
        (fontDict.m_subrs.GetSize() > 0 && !fontDict.m_subrs.Write(m_privates)))
      return false;
  }
  return true;
}

bool CCFFWriter::MakeFontDicts(std::int64_t nOffset)
{
  BSE::CBasicArray<int> ends;
  CBytes all;
  for (int i = 0; i < m_font.GetFontDictCount(); ++i)
  {
    CDictionary dict = m_font.GetFontDict(i).m_dict;
    dict.VisitStrings([this](double& dString) { dString = MapString(static_cast<int>(dString)); });
    const double where[] = {static_cast<double>(m_privateSizes[i]),
                            static_cast<double>(nOffset + m_privateOffsets[i])};
    dict.SetValues(CTypes::ePrivate, where);
    if (!dict.Write(all))
      return false;
    ends.Add(all.GetSize());
  }
  CIndex index;
  for (int i = 0, nStart = 0; i < ends.GetSize(); nStart = ends[i++])
    index.Add(
        all.GetSpan().subspan(static_cast<std::size_t>(nStart), static_cast<std::size_t>(ends[i] - nStart)));
  m_fontDicts.Truncate(0);
  return index.Write(m_fontDicts);
}

bool CCFFWriter::MakeTop()
{
  m_start.Truncate(0);
  for (const int nByte : {1, 0, 4, 4})
    Put8(m_start, nByte);
  CBytes name;
  CBytes top;
  name.Append(m_font.m_name);
  return WriteSingle(name, m_start) && m_top.Write(top) && WriteSingle(top, m_start) &&
         m_strings.Write(m_start) && m_font.m_globalSubrs.Write(m_start);
}

// Numbers have at most five bytes, so sizes grow in few rounds; the limit guards against an error here.
bool CCFFWriter::SettleOffsets()
{
  const bool bCIDs = m_font.IsCIDKeyed();
  std::int64_t nFontDicts = 0;
  std::int64_t nStart = 0;
  for (int nRound = 0; nRound < 16; ++nRound)
  {
    std::int64_t nOffset = nStart;
    const auto Place = [&](CTypes::TKey nKey, std::int64_t nSize)
    {
      if (nSize > 0)
        m_top.SetNumber(nKey, static_cast<double>(nOffset));
      nOffset += nSize;
    };
    Place(CTypes::eEncoding, m_encoding.GetSize());
    Place(CTypes::eCharset, m_charset.GetSize());
    Place(CTypes::eFDSelect, m_fdSelect.GetSize());
    Place(CTypes::eCharStrings, m_nCharStrings);
    if (bCIDs)
      Place(CTypes::eFDArray, std::max<std::int64_t>(nFontDicts, 1));
    const double where[] = {static_cast<double>(m_privateSizes[0]), static_cast<double>(nOffset)};
    if (!bCIDs && m_privateSizes[0] > 0)
      m_top.SetValues(CTypes::ePrivate, where);
    if (nOffset > std::numeric_limits<int>::max() / 2 || (bCIDs && !MakeFontDicts(nOffset)) || !MakeTop())
      return false;
    if (m_start.GetSize() <= nStart && m_fontDicts.GetSize() <= nFontDicts)
    {
      m_start.SetSize(static_cast<int>(nStart));
      m_fontDicts.SetSize(static_cast<int>(nFontDicts));
      return true;
    }
    nStart = std::max<std::int64_t>(nStart, m_start.GetSize());
    nFontDicts = std::max<std::int64_t>(nFontDicts, m_fontDicts.GetSize());
  }
  return false;
}

bool CCFFWriter::WriteCharStrings(BSE::IByteStream& stream) const
{
  CBytes block;
  if (!m_font.m_charStrings.WriteStart(block))
    return false;
  // In blocks, since most charstrings have only a few bytes.
  for (const TData data : m_font.m_charStrings.GetSpan())
  {
    if (block.GetSize() > 1 << 15)
    {
      if (!stream.WriteAll(block.GetData(), block.GetSize()))
        return false;
      block.Truncate(0);
    }
    block.Append(data);
  }
  return stream.WriteAll(block.GetData(), block.GetSize());
}

bool CCFFWriter::Write(BSE::IByteStream& stream)
{
  if (!MakeStrings() || !MakePrivates())
    return false;
  m_nCharStrings = m_font.m_charStrings.GetWrittenSize();
  if (m_font.IsCIDKeyed())
  {
    MakeCharset();
    MakeFDSelect();
    // For the numbers of their strings, which the INDEX of strings must be complete with before sizes settle.
    if (!MakeFontDicts(0))
      return false;
  }
  else
  {
    // May give glyphs other names.
    if (HasEncoding(&FONT::GetExpertEncoding) && !HasEncoding(&FONT::GetStandardEncoding))
      m_top.SetNumber(CTypes::eEncoding, 1);
    else if (!HasEncoding(&FONT::GetStandardEncoding) && !MakeEncoding())
      return false;
    if (const int nCharset = FindCharset(); nCharset < 0)
      MakeCharset();
    else if (nCharset > 0)
      m_top.SetNumber(CTypes::eCharset, nCharset);
  }
  if (!SettleOffsets() || !stream.WriteAll(m_start.GetData(), m_start.GetSize()))
    return false;
  for (const CBytes* pBytes : {&m_encoding, &m_charset, &m_fdSelect})
    if (!pBytes->IsEmpty() && !stream.WriteAll(pBytes->GetData(), pBytes->GetSize()))
      return false;
  return WriteCharStrings(stream) &&
         (m_fontDicts.IsEmpty() || stream.WriteAll(m_fontDicts.GetData(), m_fontDicts.GetSize())) &&
         (m_privates.IsEmpty() || stream.WriteAll(m_privates.GetData(), m_privates.GetSize()));
}

}  // namespace CFF
