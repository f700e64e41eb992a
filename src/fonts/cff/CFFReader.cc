// Reads a font as Adobe Technical Note 5176 lays it out: header and the first four INDEXes one after the
// other, everything else at offsets that the top DICT gives. Each offset opens a cursor of its own that
// cannot leave the data, so parts may overlap or lie in any order; nothing is copied, and charstrings and
// subroutines stay spans of the data. The order of reading counts: charstrings first, since they give the
// number of glyphs; the charset before the encoding, since predefined encodings refer to glyphs by their
// names.
//
// What glyphs are drawn with must be readable, or the font is refused; what merely names things is repaired.

#include "fonts/cff/CFF.h"

#include "base/Limits.h"

#include <algorithm>
#include <cstdio>
#include <limits>

namespace CFF
{

bool CCFF::Read(BSE::IByteStream& stream, const char* szName)
{
  BSE::CBasicArray<unsigned char> data;
  if (stream.ReadToArray(data, BSE::g_nMaxDecodedSize))
    return Read(std::move(data), szName);
  FONT::CFontLog("CFF", m_log.GetErrorContext(), szName).ReportEnd();
  return false;
}

bool CCFF::Read(BSE::CBasicArray<unsigned char>&& data, const char* szName)
{
  m_own = std::move(data);
  return Borrow(m_own.GetSpan(), szName);
}

bool CCFF::Borrow(TData data, const char* szName)
{
  m_sName.Assign(szName);
  m_log = FONT::CFontLog("CFF", m_log.GetErrorContext(), m_sName.GetText());
  m_log.Note("D", "Reading CFF font \"%s\"...", szName ? szName : "(null)");
  m_data = data;
  m_nDataSize = static_cast<std::int64_t>(data.size());
  if (!ReadAll())
  {
    m_log.ReportEnd();
    return false;
  }
  CheckStrings();
  if (m_log.GetFaults() > 0)
    m_log.ReportRepair();
  return true;
}

bool CCFF::ReadAll()
{
  const BSE::CByteCursor data(m_data);
  BSE::CByteCursor cursor(data);
  const unsigned nMajor = cursor.Card8();
  cursor.Skip(1);
  const unsigned nHeaderSize = cursor.Card8();
  cursor.Seek(nHeaderSize);
  CIndex names;
  CIndex tops;
  if (nMajor != 1 || nHeaderSize < 4 || !names.Read(cursor, m_log))
    return false;
  if (names.GetSize() < 1)
  {
    m_log.Fault("Invalid Names Index");
    return false;
  }
  m_name = names[0];
  if (!tops.Read(cursor, m_log) || tops.GetSize() < 1 || !m_strings.Read(cursor, m_log) ||
      !m_globalSubrs.Read(cursor, m_log) || !m_top.Parse(tops[0], m_log))
    return false;
  if (m_top.Has(CTypes::eSyntheticBase))
  {
    m_log.Fault("Synthetic fonts are not supported");
    return false;
  }
  BSE::CByteCursor charStrings = Seek(data, CTypes::eCharStrings);
  if (charStrings.HasFailed() || !m_charStrings.Read(charStrings, m_log) || GetGlyphCount() == 0)
    return false;
  m_fontDicts.Add(new TFontDict);
  const bool bRead =
      ReadCharset(data) && (IsCIDKeyed() ? ReadFontDicts(data) && ReadFDSelect(data)
                                         : ReadPrivate(data, m_top, *m_fontDicts[0]) && ReadEncoding(data));
  // Offsets are those of this data; the writer sets its own.
  for (const CTypes::TKey nKey : {CTypes::eCharset, CTypes::eEncoding, CTypes::eCharStrings, CTypes::ePrivate,
                                  CTypes::eFDArray, CTypes::eFDSelect})
    m_top.Remove(nKey);
  return bRead;
}

BSE::CByteCursor CCFF::Seek(const BSE::CByteCursor& data, CTypes::TKey nKey)
{
  BSE::CByteCursor cursor = data.GetPart(m_top.Has(nKey) ? m_top.GetInteger(nKey) : -1);
  if (cursor.HasFailed() || cursor.IsAtEnd())
    m_log.Fault("Positioning error.");
  return cursor;
}

bool CCFF::ReadFontDicts(const BSE::CByteCursor& data)
{
  BSE::CByteCursor cursor = Seek(data, CTypes::eFDArray);
  CIndex dicts;
  if (cursor.HasFailed() || !dicts.Read(cursor, m_log) || dicts.GetSize() < 1 || dicts.GetSize() > 256)
    return false;
  for (int i = 0; i < dicts.GetSize(); ++i)
  {
    if (i > 0)
    {
      m_fontDicts.Reserve(i + 1);
      m_fontDicts.Add(new TFontDict);
    }
    TFontDict& fontDict = *m_fontDicts[i];
    if (!fontDict.m_dict.Parse(dicts[i], m_log) || !ReadPrivate(data, fontDict.m_dict, fontDict))
      return false;
    fontDict.m_dict.Remove(CTypes::ePrivate);
  }
  return true;
}

bool CCFF::ReadPrivate(const BSE::CByteCursor& data, const CDictionary& dict, TFontDict& fontDict)
{
  const std::span<const double> where = dict.GetValues(CTypes::ePrivate);
  if (where.size() < 2 || where[0] == 0)
    return true;
  // Both may be real numbers of any size.
  constexpr double dMax = std::numeric_limits<int>::max();
  const auto nSize = static_cast<std::int64_t>(std::clamp(where[0], -dMax, dMax));
  const auto nOffset = static_cast<std::int64_t>(std::clamp(where[1], -dMax, dMax));
  BSE::CByteCursor cursor = data.GetPart(nOffset, nSize);
  if (cursor.HasFailed())
  {
    m_log.Fault("Invalid DICT size %8d", static_cast<int>(nSize));
    return false;
  }
  CDictionary& values = fontDict.m_private;
  if (!values.Parse(cursor.Take(nSize), m_log))
    return false;
  const int nSubrs = values.GetInteger(CTypes::eSubrs);
  values.Remove(CTypes::eSubrs);
  if (nSubrs == 0)
    return true;
  BSE::CByteCursor subrs = data.GetPart(nOffset + nSubrs);
  if (subrs.HasFailed())
    m_log.Fault("Positioning error.");
  return !subrs.HasFailed() && fontDict.m_subrs.Read(subrs, m_log);
}

bool CCFF::ReadCharset(const BSE::CByteCursor& data)
{
  const int nCount = GetGlyphCount();
  m_glyphIDs.SetSize(nCount);
  const int nCharset = m_top.GetInteger(CTypes::eCharset);
  if (nCharset >= 0 && nCharset <= 2)
  {
    // Predefined charsets are lists of names. If a font by CIDs has one anyway, its CIDs are its glyph
    // numbers.
    for (int i = 0; i < nCount; ++i)
      m_glyphIDs[i] =
          static_cast<unsigned short>(IsCIDKeyed() ? i : std::max(0, FONT::GetCharsetString(nCharset, i)));
    return true;
  }
  BSE::CByteCursor cursor = Seek(data, CTypes::eCharset);
  const int nFormat = static_cast<int>(cursor.Card8());
  if (nFormat > 2)
    m_log.Fault("Charset format not supported: %d", nFormat);
  for (int i = 1; i < nCount && nFormat <= 2 && !cursor.HasFailed();)
  {
    const unsigned nFirst = cursor.Card16();
    const unsigned nLeft = nFormat == 0 ? 0 : cursor.Card(nFormat);
    for (unsigned n = 0; n <= nLeft && i < nCount; ++n)
      m_glyphIDs[i++] = static_cast<unsigned short>(nFirst + n);
  }
  return nFormat <= 2 && !cursor.HasFailed();
}

bool CCFF::ReadFDSelect(const BSE::CByteCursor& data)
{
  const int nCount = GetGlyphCount();
  m_fdSelect.SetSize(nCount);
  if (!m_top.Has(CTypes::eFDSelect) && GetFontDictCount() == 1)
    return true;
  BSE::CByteCursor cursor = Seek(data, CTypes::eFDSelect);
  const int nFormat = static_cast<int>(cursor.Card8());
  if (nFormat == 0)
  {
    const TData select = cursor.Take(nCount);
    std::copy(select.begin(), select.end(), m_fdSelect.GetData());
  }
  else if (nFormat == 3)
  {
    const int nRanges = static_cast<int>(cursor.Card16());
    int nFirst = static_cast<int>(cursor.Card16());
    for (int i = 0; i < nRanges && !cursor.HasFailed(); ++i)
    {
      const unsigned nDict = cursor.Card8();
      const int nNext = static_cast<int>(cursor.Card16());
      for (int n = nFirst; n < std::min(nNext, nCount); ++n)
        m_fdSelect[n] = static_cast<unsigned char>(nDict);
      nFirst = nNext;
    }
  }
  else
    m_log.Fault("FDSelect format not supported: %d", nFormat);
  bool bFault = false;
  for (unsigned char& nDict : m_fdSelect.GetSpan())
    if (nDict >= GetFontDictCount())
    {
      bFault = true;
      nDict = 0;
    }
  if (bFault)
    m_log.Fault("Invalid font dictionary");
  return !cursor.HasFailed() && (nFormat == 0 || nFormat == 3);
}

bool CCFF::ReadEncoding(const BSE::CByteCursor& data)
{
  const int nEncoding = m_top.GetInteger(CTypes::eEncoding);
  if (nEncoding == 0 || nEncoding == 1)
  {
    // From names to glyphs; the first glyph of a name wins.
    unsigned short glyphs[FONT::g_nStandardStrings] = {};
    for (int i = GetGlyphCount() - 1; i > 0; --i)
      if (m_glyphIDs[i] < FONT::g_nStandardStrings)
        glyphs[m_glyphIDs[i]] = static_cast<unsigned short>(i);
    glyphs[0] = 0;
    for (int i = 0; i < 256; ++i)
      m_encoding[i] = glyphs[nEncoding == 0 ? FONT::GetStandardEncoding(i) : FONT::GetExpertEncoding(i)];
    return true;
  }
  BSE::CByteCursor cursor = Seek(data, CTypes::eEncoding);
  const unsigned nFormat = cursor.Card8();
  const int nCount = static_cast<int>(cursor.Card8());
  int nGlyph = 1;
  for (int i = 0; i < nCount; ++i)
  {
    const unsigned nFirst = cursor.Card8();
    const unsigned nLeft = (nFormat & 0x7F) == 0 ? 0 : cursor.Card8();
    for (unsigned n = 0; n <= nLeft && nFirst + n < 256; ++n, ++nGlyph)
      if (nGlyph < GetGlyphCount())
        m_encoding[nFirst + n] = static_cast<unsigned short>(nGlyph);
  }
  if (nGlyph > std::min(GetGlyphCount(), 256))
    m_log.Note("E", "Number of encoded glyphs is %8d (greater than 255).", nGlyph - 1);
  if ((nFormat & 0x7F) > 1)
    m_log.Fault("Encoding format not supported: %d", static_cast<int>(nFormat));
  else if ((nFormat & 0x80) != 0)
    ReadSupplements(cursor);
  return (nFormat & 0x7F) <= 1 && !cursor.HasFailed();
}

void CCFF::ReadSupplements(BSE::CByteCursor& cursor)
{
  const int nCount = static_cast<int>(cursor.Card8());
  m_log.Note("D", "No. of supplemental encodings is %8d (more than 0).", nCount);
  for (int i = 0; i < nCount; ++i)
  {
    const unsigned nCode = cursor.Card8();
    const auto nString = static_cast<unsigned short>(cursor.Card16());
    const int nGlyph = m_glyphIDs.Find(nString);
    if (nGlyph < GetGlyphCount() && !cursor.HasFailed())
      m_encoding[nCode] = static_cast<unsigned short>(nGlyph);
  }
}

// Glyphs whose names are missing get made-up ones that no document uses, so that all names stay distinct.
void CCFF::CheckStrings()
{
  const int nStrings = FONT::g_nStandardStrings + m_strings.GetSize();
  const auto Check = [&](double& dString)
  {
    if (dString >= 0 && dString < nStrings)
      return;
    m_log.Fault("String not defined: %8d", static_cast<int>(std::clamp(dString, -1e9, 1e9)));
    dString = 0;
  };
  m_top.VisitStrings(Check);
  for (TFontDict* pDict : m_fontDicts.GetSpan())
    pDict->m_dict.VisitStrings(Check);
  for (int i = 1; i < GetGlyphCount() && !IsCIDKeyed(); ++i)
    if (m_glyphIDs[i] >= nStrings)
    {
      m_log.Fault("Invalid SID: %8d", m_glyphIDs[i]);
      char szName[32];
      std::snprintf(szName, sizeof szName, "g%d.unnamed", i);
      if (m_strings.GetSize() < 0xFFFF - FONT::g_nStandardStrings)
        m_glyphIDs[i] = static_cast<unsigned short>(AddString(FONT::MakeName(szName)));
      else
        m_glyphIDs[i] = 0;
    }
}

}  // namespace CFF
