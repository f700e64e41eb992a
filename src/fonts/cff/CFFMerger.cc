// Nothing in a font says that it is a subset of the same font as another one. It is taken to be if all that
// glyphs are drawn with is equal, dictionaries and subroutines, and so are the charstrings of all glyphs that
// both have: charstrings of one font then mean the same in the other and can be taken over as they are.
// Numbers are compared with a tolerance, since producers round them differently. All comparisons come before
// the first change, so that fonts that do not go together stay untouched.

#include "fonts/cff/CFFMerger.h"

#include "base/Tracer.h"

#include <cmath>

namespace CFF
{

namespace
{

constexpr int g_nMaxGlyphs = 0xFFFF;

bool IsSameArray(const CDictionary& a, const CDictionary& b, CTypes::TKey nKey, double dTolerance)
{
  BSE::CBasicArray<double> valuesA;
  BSE::CBasicArray<double> valuesB;
  a.GetArray(nKey, valuesA);
  b.GetArray(nKey, valuesB);
  bool bSame = valuesA.GetSize() == valuesB.GetSize();
  for (int i = 0; i < valuesA.GetSize(); ++i)
    bSame = bSame && std::abs(valuesA[i] - valuesB[i]) <= dTolerance;
  return bSame;
}

struct TPrivateKey
{
  CTypes::TKey m_nKey;
  const char* m_szName;
};

// Mostly hints; the widths are among them because charstrings hold differences from them.
constexpr TPrivateKey g_privateKeys[] = {
    {CTypes::eBlueValues, "BlueValues"}, {CTypes::eOtherBlues, "OtherBlues"},
    {CTypes::eStdHW, "StdHW"},           {CTypes::eStdVW, "StdVW"},
    {CTypes::eStemSnapH, "StemSnapH"},   {CTypes::eStemSnapV, "StemSnapV"},
    {CTypes::eDefaultWidthX, "widths"},  {CTypes::eNominalWidthX, "widths"}};

// A glyph that draws nothing and has the default width: what subsets have in place of the glyphs left out.
bool IsEmptyGlyph(TData charString)
{
  return charString.empty() || (charString.size() == 1 && charString[0] == CTypes::eEndChar);
}

void HashNumber(BSE::CHashFunction& digest, std::uint32_t nValue)
{
  unsigned char bytes[sizeof nValue];
  BSE::StoreBigEndian(nValue, bytes);
  digest.Update(bytes);
}

void HashArray(BSE::CHashFunction& digest, const CDictionary& dict, CTypes::TKey nKey, double dScale)
{
  BSE::CBasicArray<double> values;
  dict.GetArray(nKey, values);
  HashNumber(digest, static_cast<std::uint32_t>(values.GetSize()));
  for (const double dValue : values.GetSpan())
    HashNumber(digest, static_cast<std::uint32_t>(static_cast<std::int32_t>(
                           std::clamp(std::floor(dValue * dScale + 0.5), -2147483647.0, 2147483647.0))));
}

void HashIndex(BSE::CHashFunction& digest, const CIndex& index)
{
  HashNumber(digest, static_cast<std::uint32_t>(index.GetSize()));
  for (const TData data : index.GetSpan())
  {
    HashNumber(digest, static_cast<std::uint32_t>(data.size()));
    digest.Update(data);
  }
}

}  // namespace

void CCFF::HashTopData(BSE::CHashFunction& digest) const
{
  const unsigned char cCID = IsCIDKeyed() ? 1 : 0;
  digest.Update({&cCID, 1});
  HashArray(digest, m_top, CTypes::eFontMatrix, 10000);
  HashArray(digest, m_top, CTypes::eFontBBox, 10);
  HashArray(digest, m_top, CTypes::eCharstringType, 10);
  // Subsets of a font by CIDs may lack any of its font dictionaries.
  if (!IsCIDKeyed())
  {
    for (const TPrivateKey& key : g_privateKeys)
      HashArray(digest, m_fontDicts[0]->m_private, key.m_nKey, 10);
    HashIndex(digest, m_fontDicts[0]->m_subrs);
  }
  HashIndex(digest, m_globalSubrs);
}

int CCFF::Merge(const CCFF& other, unsigned nUsage, BSE::CBasicArray<unsigned char>* pUsed,
                const BSE::CBasicArray<unsigned char>* pOtherUsed)
{
  return &other == this ? 2 : CCFFMerger(*this, other).Merge(nUsage, pUsed, pOtherUsed);
}

bool CCFFMerger::Abort(const char* szFormat, ...)
{
  if (!BSE::CTracer::IsOn())
    return false;
  std::va_list arguments;
  va_start(arguments, szFormat);
  FONT::TraceList("D", "PDF Font Program", szFormat, arguments);
  va_end(arguments);
  return false;
}

bool CCFFMerger::CompareDicts(const TFontDict& a, const TFontDict& b)
{
  if (!IsSameArray(a.m_dict, b.m_dict, CTypes::eFontMatrix, 1e-5))
    return Abort("Aborting CFF merge because of different font matrices.");
  for (const TPrivateKey& key : g_privateKeys)
    if (!IsSameArray(a.m_private, b.m_private, key.m_nKey, 0.01))
      return Abort("Aborting CFF merge because of different %s.", key.m_szName);
  return a.m_subrs == b.m_subrs || Abort("Aborting CFF merge because of different font dict subr.");
}

bool CCFFMerger::CompareTop() const
{
  if (m_font.IsCIDKeyed() != m_other.IsCIDKeyed())
    return Abort("Aborting CFF merge because of CID type difference.");
  const CDictionary& top = m_font.m_top;
  const CDictionary& otherTop = m_other.m_top;
  if (!IsSameArray(top, otherTop, CTypes::eFontMatrix, 1e-5))
    return Abort("Aborting CFF merge because of different font matrices.");
  if (!IsSameArray(top, otherTop, CTypes::eFontBBox, 0.01))
    return Abort("Aborting CFF merge because of different FontBBox.");
  if (!IsSameArray(top, otherTop, CTypes::eCharstringType, 0.01))
    return Abort("Aborting CFF merge because of different CharstringType.");
  if (!m_font.IsCIDKeyed() && !CompareDicts(m_font.GetFontDict(0), m_other.GetFontDict(0)))
    return false;
  if (!(m_font.m_globalSubrs == m_other.m_globalSubrs))
    return Abort("Aborting CFF merge because of different global subr.");
  return m_font.GetFontDictCount() == m_other.GetFontDictCount() ||
         Abort("Aborting CFF merge because of different FDArray.");
}

int CCFFMerger::FindSame(int nOtherGlyph) const
{
  return m_font.IsCIDKeyed() ? m_font.FindGlyphByCID(m_other.GetCID(nOtherGlyph))
                             : m_font.FindGlyph(m_other.GetGlyphName(nOtherGlyph));
}

// A glyph that is in both must have the same dictionary in both. That of a new glyph is either in use here,
// and has been compared, or is taken over.
bool CCFFMerger::CompareFontDict(int nOtherGlyph, int nGlyph)
{
  const int nDict = m_other.GetFontDictOf(nOtherGlyph);
  if (nGlyph >= 0 && m_font.GetFontDictOf(nGlyph) == nDict && m_fontDicts[nDict] != 0)
    return true;
  if (nGlyph >= 0 && m_font.GetFontDictOf(nGlyph) != nDict && !IsEmptyGlyph(m_font.GetCharString(nGlyph)))
    return false;
  if (m_fontDicts[nDict] != 0)
    return true;
  m_fontDicts[nDict] = 2;
  return true;
}

bool CCFFMerger::CompareGlyphs()
{
  m_fontDicts.SetSize(m_font.GetFontDictCount());
  for (int i = 0; i < m_font.GetGlyphCount(); ++i)
    m_fontDicts[m_font.GetFontDictOf(i)] = 1;
  for (int i = 0; i < m_fontDicts.GetSize() && m_font.IsCIDKeyed(); ++i)
  {
    bool bOther = false;
    for (int n = 0; n < m_other.GetGlyphCount() && !bOther; ++n)
      bOther = m_other.GetFontDictOf(n) == i;
    if (bOther && m_fontDicts[i] != 0 && !CompareDicts(m_font.GetFontDict(i), m_other.GetFontDict(i)))
      return Abort("Aborting CFF merge because of different FDSelect.");
  }
  int nNew = 0;
  m_map.SetSize(m_other.GetGlyphCount());
  for (int i = 0; i < m_other.GetGlyphCount(); ++i)
  {
    const int nGlyph = m_map[i] = FindSame(i);
    const TData own = m_font.GetCharString(nGlyph);
    const TData others = m_other.GetCharString(i);
    const bool bComes = nGlyph < 0 || (IsEmptyGlyph(own) && !IsEmptyGlyph(others));
    nNew += nGlyph < 0 ? 1 : 0;
    m_bTaken = m_bTaken || bComes;
    if (nGlyph >= 0 && !IsEmptyGlyph(own) && !IsEmptyGlyph(others) && !IsSame(own, others))
    {
      if (m_font.IsCIDKeyed())
        return Abort("Aborting CFF merge because of different char string (GID %d).", nGlyph);
      const FONT::TName name = m_font.GetGlyphName(nGlyph);
      return Abort("Aborting CFF merge because of different char string (%.*s).",
                   static_cast<int>(name.size()), name.data());
    }
    if (m_font.IsCIDKeyed() && !CompareFontDict(i, nGlyph))
      return Abort("Aborting CFF merge because of different FDSelect.");
  }
  return nNew <= g_nMaxGlyphs - m_font.GetGlyphCount() &&
         nNew < 0xFFFF - FONT::g_nStandardStrings - m_font.m_strings.GetSize();
}

bool CCFFMerger::CompareEncodings() const
{
  for (int i = 0; i < 256; ++i)
  {
    const int nOther = m_other.m_encoding[i];
    if (nOther != 0 && m_font.m_encoding[i] != 0 && m_map[nOther] != m_font.m_encoding[i])
      return Abort("Aborting CFF merge because of different intrinsic encoding for SID %d.",
                   m_other.m_glyphIDs[nOther]);
  }
  return true;
}

void CCFFMerger::TakeFontDicts()
{
  for (int i = 0; i < m_fontDicts.GetSize(); ++i)
  {
    if (m_fontDicts[i] != 2)
      continue;
    TFontDict& dict = m_font.GetFontDict(i);
    const TFontDict& other = m_other.GetFontDict(i);
    dict.m_private = other.m_private;
    dict.m_dict = other.m_dict;
    dict.m_dict.VisitStrings([&](double& dString)
                             { dString = m_font.AddString(m_other.GetString(static_cast<int>(dString))); });
    dict.m_subrs.SetSize(0);
    for (const TData subr : other.m_subrs.GetSpan())
      dict.m_subrs.Add(m_font.m_store.Add(subr));
  }
}

void CCFFMerger::TakeGlyph(int nOtherGlyph)
{
  const TData data = m_font.m_store.Add(m_other.GetCharString(nOtherGlyph));
  int& nGlyph = m_map[nOtherGlyph];
  const auto nDict = static_cast<unsigned char>(m_other.GetFontDictOf(nOtherGlyph));
  if (nGlyph >= 0)
  {
    m_font.m_charStrings.SetAt(nGlyph, data);
    if (m_font.IsCIDKeyed())
      m_font.m_fdSelect[nGlyph] = nDict;
    return;
  }
  nGlyph = m_font.m_charStrings.Add(data);
  m_font.m_glyphIDs.Add(
      static_cast<unsigned short>(m_font.IsCIDKeyed() ? m_other.GetCID(nOtherGlyph)
                                                      : m_font.AddString(m_other.GetGlyphName(nOtherGlyph))));
  if (m_font.IsCIDKeyed())
    m_font.m_fdSelect.Add(nDict);
}

int CCFFMerger::Merge(unsigned nUsage, BSE::CBasicArray<unsigned char>* pUsed,
                      const BSE::CBasicArray<unsigned char>* pOtherUsed)
{
  const bool bEncoding = (nUsage & eNeedsEncoding) != 0 && !m_font.IsCIDKeyed();
  if (!CompareTop() || !CompareGlyphs() || (bEncoding && !CompareEncodings()))
    return 0;
  const bool bMarks = pUsed && !pUsed->IsEmpty() && pOtherUsed;
  TakeFontDicts();
  for (int i = 0; i < m_other.GetGlyphCount(); ++i)
  {
    const int nGlyph = m_map[i];
    if (nGlyph < 0 || (IsEmptyGlyph(m_font.GetCharString(nGlyph)) && !IsEmptyGlyph(m_other.GetCharString(i))))
      TakeGlyph(i);
    if (!bMarks)
      continue;
    if (pUsed->GetSize() < m_font.GetGlyphCount())
      pUsed->SetSize(m_font.GetGlyphCount());
    if (pOtherUsed->IsEmpty() || (*pOtherUsed)[i] != 0)
      (*pUsed)[m_map[i]] = 1;
  }
  for (int i = 0; i < 256 && !m_font.IsCIDKeyed(); ++i)
    if (m_font.m_encoding[i] == 0 && m_other.m_encoding[i] != 0)
    {
      m_font.m_encoding[i] = static_cast<unsigned short>(m_map[m_other.m_encoding[i]]);
      m_bTaken = true;
    }
  m_font.DropNames();
  return m_bTaken ? 1 : 2;
}

}  // namespace CFF
