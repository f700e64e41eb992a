#include "fonts/cff/CFF.h"

#include "base/Limits.h"
#include "fonts/cff/CharStringGenerator.h"
#include "fonts/cff/Type2Converters.h"

#include <algorithm>
#include <cstdio>

namespace CFF
{

namespace
{

// The map of glyphs holds pointers, and null if there is nothing, so that glyph 0 has to become another
// value.
void* ToValue(int nGlyph)
{
  return reinterpret_cast<void*>(static_cast<std::uintptr_t>(nGlyph) + 1);
}

int ToGlyph(const void* pValue)
{
  return static_cast<int>(reinterpret_cast<std::uintptr_t>(pValue)) - 1;
}

}  // namespace

CCFF::CCFF(BSE::IErrorContext* pErrorContext) : m_log("CFF", pErrorContext, nullptr) {}

CCFF::~CCFF()
{
  for (const TFontDict* pDict : m_fontDicts.GetSpan())
    delete pDict;
}

FONT::TName CCFF::GetString(int nString) const
{
  return nString < FONT::g_nStandardStrings ? FONT::GetStandardString(nString)
                                            : FONT::MakeName(m_strings[nString - FONT::g_nStandardStrings]);
}

bool CCFF::IsFull() const
{
  return GetGlyphCount() >= 0xFFFF || m_strings.GetSize() >= 0xFFFF - FONT::g_nStandardStrings;
}

int CCFF::AddString(FONT::TName text)
{
  const int nStandard = FONT::FindStandardString(text);
  if (nStandard >= 0)
    return nStandard;
  return FONT::g_nStandardStrings + m_strings.Add(m_store.Add(FONT::GetNameBytes(text)));
}

FONT::TName CCFF::GetOrdering() const
{
  const std::span<const double> ros = m_top.GetValues(CTypes::eROS);
  return ros.size() == 3 && ros[1] >= 0 && ros[1] <= 0xFFFF ? GetString(static_cast<int>(ros[1]))
                                                            : FONT::TName();
}

FONT::TName CCFF::GetText(CTypes::TKey nKey) const
{
  return m_top.Has(nKey) ? GetString(m_top.GetInteger(nKey)) : FONT::TName();
}

void CCFF::SetText(CTypes::TKey nKey, FONT::TName text)
{
  m_top.SetNumber(nKey, AddString(text));
}

FONT::TName CCFF::GetGlyphName(int nGlyph) const
{
  return IsCIDKeyed() || nGlyph < 0 || nGlyph >= GetGlyphCount() ? FONT::TName()
                                                                 : GetString(m_glyphIDs[nGlyph]);
}

int CCFF::GetCID(int nGlyph) const
{
  return IsCIDKeyed() ? m_glyphIDs[nGlyph] : 0;
}

void CCFF::DropNames()
{
  m_glyphs.RemoveAll();
  m_bNamesBuilt = false;
}

void CCFF::BuildNames() const
{
  if (m_bNamesBuilt)
    return;
  // The first glyph of a name wins.
  for (int i = GetGlyphCount() - 1; i >= 0; --i)
    if (IsCIDKeyed())
      m_glyphs.SetAt(&m_glyphIDs[i], sizeof(unsigned short), ToValue(i));
    else
      m_glyphs.SetAt(GetGlyphName(i).data(), GetGlyphName(i).size(), ToValue(i));
  m_bNamesBuilt = true;
}

int CCFF::FindGlyph(FONT::TName name) const
{
  if (IsCIDKeyed())
    return -1;
  BuildNames();
  return ToGlyph(m_glyphs.GetValue(m_glyphs.Lookup(name.data(), name.size())));
}

int CCFF::FindGlyphByCID(int nCID) const
{
  if (!IsCIDKeyed() || nCID < 0 || nCID > 0xFFFF)
    return -1;
  BuildNames();
  const auto nKey = static_cast<unsigned short>(nCID);
  return ToGlyph(m_glyphs.GetValue(m_glyphs.Lookup(&nKey, sizeof nKey)));
}

TType2Context CCFF::GetContext(int nGlyph) const
{
  const TFontDict& dict = GetFontDict(GetFontDictOf(nGlyph));
  return {&m_globalSubrs, &dict.m_subrs, dict.m_private.GetNumber(CTypes::eDefaultWidthX),
          dict.m_private.GetNumber(CTypes::eNominalWidthX)};
}

bool CCFF::HasWorkLeft() const
{
  return m_top.GetInteger(CTypes::eCharstringType) == 2 &&
         !BSE::IsOutOfProportion(m_nWork, BSE::g_nFreeOutlineWork, BSE::g_nOutlineWorkRatio, m_nDataSize);
}

int CCFF::GetComponentGlyph(int nCode) const
{
  return nCode < 0 || nCode > 255 ? -1 : FindGlyph(FONT::GetStandardString(FONT::GetStandardEncoding(nCode)));
}

bool CCFF::Run(int nGlyph, CType2Parser& parser)
{
  if (nGlyph < 0 || nGlyph >= GetGlyphCount() || !HasWorkLeft())
    return false;
  const bool bRun = parser.Parse(GetCharString(nGlyph));
  m_nWork += std::max<std::int64_t>(0, parser.GetWork() - BSE::g_nFreeGlyphSteps);
  return bRun;
}

bool CCFF::RunGlyph(int nGlyph, FONT::CGlyph& glyph, bool bComponent)
{
  glyph.Clear();
  if (nGlyph < 0 || nGlyph >= GetGlyphCount())
    return false;
  CType2Recorder recorder(GetContext(nGlyph), glyph);
  const bool bRun = Run(nGlyph, recorder);
  if (!bRun || bComponent || !recorder.HasAccent())
    return bRun;
  FONT::CGlyph part;
  const double dWidth = glyph.m_dWidth;
  if (!RunGlyph(GetComponentGlyph(recorder.GetAccent()), part, true) ||
      !glyph.Append(part, recorder.GetAccentX(), recorder.GetAccentY()) ||
      !RunGlyph(GetComponentGlyph(recorder.GetBase()), part, true) || !glyph.Append(part, 0, 0))
    return false;
  glyph.m_dWidth = dWidth;
  return true;
}

bool CCFF::GetGlyph(int nGlyph, FONT::CGlyph& glyph)
{
  if (RunGlyph(nGlyph, glyph, false))
    return true;
  glyph.Clear();
  m_log.LoseGlyph(nGlyph);
  return false;
}

bool CCFF::GetWidth(int nGlyph, double& dWidth)
{
  dWidth = 0;
  if (nGlyph < 0 || nGlyph >= GetGlyphCount())
    return false;
  CType2WidthParser parser(GetContext(nGlyph));
  return Run(nGlyph, parser) && parser.GetWidth(dWidth);
}

bool CCFF::CloseGlyphs(BSE::CBasicArray<unsigned char>& used)
{
  used.SetSize(GetGlyphCount());
  used[0] = 1;
  if (IsCIDKeyed())
    return true;
  for (int i = 0; i < used.GetSize(); ++i)
  {
    if (used[i] == 0)
      continue;
    CType2SeacChecker parser(GetContext(i));
    // A charstring that fails draws nothing after its fault, so that it has no other parts.
    if (!Run(i, parser) && !HasWorkLeft())
      return false;
    for (const int nCode : {parser.GetBase(), parser.GetAccent()})
      if (const int nPart = parser.HasAccent() ? GetComponentGlyph(nCode) : -1; nPart >= 0)
        used[nPart] = 1;
  }
  return true;
}

bool CCFF::Subset(BSE::CBasicArray<unsigned char>& used, unsigned nUsage)
{
  if (used.IsEmpty())
    return false;
  BSE::CBasicArray<unsigned char> kept(used);
  kept.SetSize(GetGlyphCount());
  kept[0] = 1;
  if ((nUsage & eUsedByCID) != 0 && !IsCIDKeyed() &&
      ((nUsage & (eUsedByName | eUsedBySymbols)) != 0 || !MakeCIDKeyed(kept)))
    return false;
  BSE::CBasicArray<unsigned short> numbers;
  numbers.SetSize(GetGlyphCount());
  BSE::CBasicArray<unsigned char> dictUsed;
  dictUsed.SetSize(GetFontDictCount());
  int nCount = 0;
  for (int i = 0; i < GetGlyphCount(); ++i)
  {
    if (kept[i] == 0)
      continue;
    numbers[i] = static_cast<unsigned short>(nCount);
    m_charStrings.SetAt(nCount, m_charStrings[i]);
    m_glyphIDs[nCount] = m_glyphIDs[i];
    if (IsCIDKeyed())
      m_fdSelect[nCount] = m_fdSelect[i];
    dictUsed[GetFontDictOf(nCount)] = 1;
    ++nCount;
  }
  if (nCount == GetGlyphCount())
    return false;
  m_charStrings.SetSize(nCount);
  m_glyphIDs.SetSize(nCount);
  m_fdSelect.SetSize(IsCIDKeyed() ? nCount : 0);
  for (unsigned short& nGlyph : m_encoding)
    nGlyph = numbers[nGlyph];
  for (int i = 0; i < GetFontDictCount(); ++i)
    if (dictUsed[i] == 0)
      *m_fontDicts[i] = TFontDict();
  DropNames();
  used.SetSize(nCount);
  std::fill(used.GetData(), used.GetData() + nCount, static_cast<unsigned char>(1));
  ReleaseData();
  return true;
}

// A document may have many fonts of which a few glyphs each are left, and the data of most are those of
// glyphs. Dictionaries may share subroutines, so that copies of them may be longer than the file.
void CCFF::ReleaseData()
{
  BSE::CPtrArray<CIndex> parts;
  for (CIndex* pIndex : {&m_strings, &m_globalSubrs, &m_charStrings})
    parts.Add(pIndex);
  for (TFontDict* pDict : m_fontDicts.GetSpan())
    parts.Add(&pDict->m_subrs);
  std::int64_t nKept = 0;
  for (const CIndex* pIndex : parts.GetSpan())
    nKept += pIndex->GetDataSize();
  if (m_own.IsEmpty() || nKept > m_nDataSize / 2)
    return;
  m_name = m_store.Add(m_name);
  for (CIndex* pIndex : parts.GetSpan())
    for (int i = 0; i < pIndex->GetSize(); ++i)
      pIndex->SetAt(i, m_store.Add((*pIndex)[i]));
  m_data = {};
  m_own.RemoveAll();
}

void CCFF::DropUnusedFontDicts()
{
  if (!IsCIDKeyed())
    return;
  bool used[256] = {};
  unsigned char numbers[256] = {};
  for (const unsigned char nDict : m_fdSelect.GetSpan())
    used[nDict] = true;
  int nKept = 0;
  for (int i = 0; i < m_fontDicts.GetSize(); ++i)
    if (used[i])
    {
      numbers[i] = static_cast<unsigned char>(nKept);
      std::swap(m_fontDicts[nKept++], m_fontDicts[i]);
    }
  for (int i = nKept; i < m_fontDicts.GetSize(); ++i)
    delete m_fontDicts[i];
  m_fontDicts.SetSize(nKept);
  for (unsigned char& nDict : m_fdSelect.GetSpan())
    nDict = numbers[nDict];
}

bool CCFF::ReplaceAccents(const BSE::CBasicArray<unsigned char>& used, CIndex& charStrings)
{
  charStrings = m_charStrings;
  for (int i = 0; i < GetGlyphCount(); ++i)
  {
    if (!used.IsEmpty() && used[i] == 0)
      continue;
    CType2SeacChecker parser(GetContext(i));
    if (!Run(i, parser) && !HasWorkLeft())
      return false;
    if (!parser.HasAccent())
      continue;
    FONT::CGlyph glyph;
    CType2ToType2Converter converter(m_fontDicts[0]->m_private);
    if (!RunGlyph(i, glyph, false) || !converter.Convert(glyph))
      return false;
    charStrings.SetAt(i, m_store.Add(converter.GetCharString()));
  }
  return true;
}

bool CCFF::MakeCIDKeyed(const BSE::CBasicArray<unsigned char>& used)
{
  CIndex charStrings;
  if (IsCIDKeyed() || !ReplaceAccents(used, charStrings))
    return false;
  m_charStrings = charStrings;
  const double ros[] = {static_cast<double>(AddString(FONT::MakeName("Adobe"))),
                        static_cast<double>(AddString(FONT::MakeName("Identity"))), 0};
  m_top.SetValues(CTypes::eROS, ros);
  m_top.SetNumber(CTypes::eCIDCount, GetGlyphCount());
  // The top DICT of a font by CIDs names the whole; FontName is in the dictionaries of its glyphs.
  m_fontDicts[0]->m_dict.SetNumber(CTypes::eFontName, AddString(GetFontName()));
  for (int i = 0; i < GetGlyphCount(); ++i)
    m_glyphIDs[i] = static_cast<unsigned short>(i);
  m_fdSelect.RemoveAll();
  m_fdSelect.SetSize(GetGlyphCount());
  std::fill(std::begin(m_encoding), std::end(m_encoding), static_cast<unsigned short>(0));
  DropNames();
  return true;
}

bool CCFF::SetCIDs(std::span<const std::uint16_t> cids)
{
  if (!IsCIDKeyed() || std::cmp_not_equal(cids.size(), GetGlyphCount()) || cids.empty() || cids[0] != 0)
    return false;
  m_glyphIDs.RemoveAll();
  m_glyphIDs.Append(cids);
  m_top.SetNumber(CTypes::eCIDCount, *std::max_element(cids.begin(), cids.end()) + 1);
  DropNames();
  return true;
}

int CCFF::DuplicateGlyph(int nGlyph, int nCode, const char* szName)
{
  if (nGlyph < 0 || nGlyph >= GetGlyphCount() || IsFull())
    return -1;
  int nID = 0;
  char szFree[40];
  if (IsCIDKeyed())
  {
    // The first CID after all that are in use.
    for (const unsigned short nCID : m_glyphIDs.GetSpan())
      nID = std::max(nID, nCID + 1);
    if (nID > 0xFFFF)
      return -1;
    m_fdSelect.Add(m_fdSelect[nGlyph]);
  }
  else
  {
    for (int i = 0; !szName || (szName == szFree && FindGlyph(FONT::MakeName(szFree)) >= 0); ++i)
    {
      std::snprintf(szFree, sizeof szFree, "g%d.dup%d", nGlyph, i);
      szName = szFree;
    }
    if (FindGlyph(FONT::MakeName(szName)) >= 0)
      return -1;
    nID = AddString(FONT::MakeName(szName));
  }
  m_glyphIDs.Add(static_cast<unsigned short>(nID));
  const int nNew = m_charStrings.Add(m_charStrings[nGlyph]);
  if (nCode >= 0 && nCode < 256 && !IsCIDKeyed())
    m_encoding[nCode] = static_cast<unsigned short>(nNew);
  DropNames();
  return nNew;
}

void CCFF::Create(FONT::TName name)
{
  m_name = m_store.Add(FONT::GetNameBytes(name));
  m_fontDicts.Add(new TFontDict);
}

int CCFF::AddGlyph(FONT::TName name, TData charString)
{
  if (IsFull())
    return -1;
  m_glyphIDs.Add(static_cast<unsigned short>(AddString(name)));
  DropNames();
  return m_charStrings.Add(m_store.Add(charString));
}

}  // namespace CFF
