#include "fonts/type1/PFB.h"

#include "base/Limits.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace PFB
{

namespace
{

constexpr int g_nMaxGlyphs = 0xFFFF;

constexpr const char* g_keyNames[eKeyCount] = {"PaintType",
                                               "FontType",
                                               "FontMatrix",
                                               "FontBBox",
                                               "UniqueID",
                                               "StrokeWidth",
                                               "ItalicAngle",
                                               "isFixedPitch",
                                               "UnderlinePosition",
                                               "UnderlineThickness",
                                               "BlueValues",
                                               "OtherBlues",
                                               "FamilyBlues",
                                               "FamilyOtherBlues",
                                               "BlueScale",
                                               "BlueShift",
                                               "BlueFuzz",
                                               "StdHW",
                                               "StdVW",
                                               "StemSnapH",
                                               "StemSnapV",
                                               "ForceBold",
                                               "ForceBoldThreshold",
                                               "lenIV",
                                               "LanguageGroup",
                                               "ExpansionFactor",
                                               "WeightVector"};

constexpr const char* g_textNames[eTextKeyCount] = {"FontName", "version",    "Notice", "Copyright",
                                                    "FullName", "FamilyName", "Weight"};

// A glyph that draws nothing and has no width: what subsets have in place of the glyphs left out.
bool IsEmptyGlyph(TData charString)
{
  return charString.empty() || (charString.size() == 1 && charString[0] == eEndChar);
}

bool IsSame(TData a, TData b)
{
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin());
}

bool IsNear(std::span<const double> a, std::span<const double> b, double dTolerance)
{
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](double dA, double dB) { return std::abs(dA - dB) <= dTolerance; });
}

void HashNumber(BSE::CHashFunction& digest, std::uint32_t nValue)
{
  unsigned char bytes[sizeof nValue];
  BSE::StoreBigEndian(nValue, bytes);
  digest.Update(bytes);
}

void HashValues(BSE::CHashFunction& digest, std::span<const double> values, double dScale)
{
  HashNumber(digest, static_cast<std::uint32_t>(values.size()));
  for (const double dValue : values)
    HashNumber(digest, static_cast<std::uint32_t>(static_cast<std::int32_t>(
                           std::clamp(std::floor(dValue * dScale + 0.5), -2147483647.0, 2147483647.0))));
}

}  // namespace

const char* GetKeyName(TKey nKey)
{
  return g_keyNames[nKey];
}

const char* GetTextKeyName(TTextKey nKey)
{
  return g_textNames[nKey];
}

CPFB::CPFB(BSE::IErrorContext* pErrorContext) : m_log("PFB", pErrorContext, nullptr) {}

FONT::TName CPFB::Keep(FONT::TName text)
{
  return FONT::MakeName(m_store.Add(FONT::GetNameBytes(text)));
}

double CPFB::GetNumber(TKey nKey) const
{
  if (Has(nKey))
    return m_values[nKey][0];
  switch (nKey)
  {
  case eFontType:
  case eBlueFuzz:
    return 1;
  case eUnderlinePosition:
    return -100;
  case eUnderlineThickness:
    return 50;
  case eBlueScale:
    return 0.039625;
  case eBlueShift:
    return 7;
  case eLenIV:
    return 4;
  case eExpansionFactor:
    return 0.06;
  default:
    return 0;
  }
}

void CPFB::SetValues(TKey nKey, std::span<const double> values)
{
  m_values[nKey].RemoveAll();
  m_values[nKey].Append(values);
}

void CPFB::SetText(TTextKey nKey, FONT::TName text)
{
  m_texts[nKey] = Keep(text);
}

FONT::TName CPFB::GetEncodedName(int nCode) const
{
  if (nCode < 0 || nCode > 255)
    return {};
  if (!m_bStandardEncoding)
    return m_encoding[nCode];
  const int nString = FONT::GetStandardEncoding(nCode);
  return nString > 0 ? FONT::GetStandardString(nString) : FONT::TName();
}

void CPFB::SetEncodedName(int nCode, FONT::TName name)
{
  for (int i = 0; m_bStandardEncoding && i < 256; ++i)
    m_encoding[i] = GetEncodedName(i);
  m_bStandardEncoding = false;
  if (nCode >= 0 && nCode < 256)
    m_encoding[nCode] = FONT::IsSameName(name, FONT::MakeName(".notdef")) ? FONT::TName() : Keep(name);
}

int CPFB::AddGlyph(FONT::TName name, TData charString)
{
  if (GetGlyphCount() >= g_nMaxGlyphs)
    return -1;
  DropNames();
  m_names.Add(Keep(name));
  return m_charStrings.Add(m_store.Add(charString));
}

void CPFB::DropNames()
{
  m_glyphs.RemoveAll();
  m_bNamesBuilt = false;
}

void CPFB::BuildNames() const
{
  // The first glyph of a name wins.
  for (int i = GetGlyphCount() - 1; i >= 0 && !m_bNamesBuilt; --i)
    m_glyphs.SetAt(m_names[i].data(), m_names[i].size(),
                   reinterpret_cast<void*>(static_cast<std::uintptr_t>(i) + 1));
  m_bNamesBuilt = true;
}

int CPFB::FindGlyph(FONT::TName name) const
{
  BuildNames();
  const int nEntry = m_glyphs.Lookup(name.data(), name.size());
  return static_cast<int>(reinterpret_cast<std::uintptr_t>(m_glyphs.GetValue(nEntry))) - 1;
}

bool CPFB::HasWorkLeft() const
{
  return !BSE::IsOutOfProportion(m_nWork, BSE::g_nFreeOutlineWork, BSE::g_nOutlineWorkRatio,
                                 m_data.GetSize());
}

int CPFB::GetComponentGlyph(int nCode) const
{
  return nCode < 0 || nCode > 255 ? -1 : FindGlyph(FONT::GetStandardString(FONT::GetStandardEncoding(nCode)));
}

bool CPFB::Run(int nGlyph, CType1CharStringParser& parser)
{
  if (nGlyph < 0 || nGlyph >= GetGlyphCount() || !HasWorkLeft())
    return false;
  const bool bRun = parser.Parse(GetCharString(nGlyph));
  m_nWork += std::max<std::int64_t>(0, parser.GetWork() - BSE::g_nFreeGlyphSteps);
  return bRun;
}

bool CPFB::RunGlyph(int nGlyph, FONT::CGlyph& glyph, bool bComponent)
{
  glyph.Clear();
  CType1Recorder recorder(GetSubrs(), glyph);
  const bool bRun = Run(nGlyph, recorder);
  if (!bRun || bComponent || !recorder.HasAccent())
    return bRun;
  FONT::CGlyph part;
  const double dWidth = glyph.m_dWidth;
  glyph.Clear();
  if (!RunGlyph(GetComponentGlyph(recorder.GetBase()), part, true) || !glyph.Append(part, 0, 0) ||
      !RunGlyph(GetComponentGlyph(recorder.GetAccent()), part, true) ||
      !glyph.Append(part, recorder.GetAccentX(), recorder.GetAccentY()))
    return false;
  glyph.m_dWidth = dWidth;
  return true;
}

bool CPFB::GetGlyph(int nGlyph, FONT::CGlyph& glyph)
{
  if (RunGlyph(nGlyph, glyph, false))
    return true;
  glyph.Clear();
  m_log.LoseGlyph(nGlyph);
  return false;
}

bool CPFB::GetWidth(int nGlyph, double& dWidth)
{
  CType1CharWidthParser parser(GetSubrs());
  return Run(nGlyph, parser) && parser.GetWidth(dWidth);
}

bool CPFB::CloseGlyphs(BSE::CBasicArray<unsigned char>& used)
{
  used.SetSize(GetGlyphCount());
  used[0] = 1;
  FONT::CGlyph glyph;
  for (int i = 0; i < used.GetSize(); ++i)
  {
    if (used[i] == 0)
      continue;
    glyph.Clear();
    CType1Recorder recorder(GetSubrs(), glyph);
    // A charstring that fails draws nothing after its fault, so that it has no other parts.
    if (!Run(i, recorder) && !HasWorkLeft())
      return false;
    for (const int nCode : {recorder.GetBase(), recorder.GetAccent()})
      if (const int nPart = recorder.HasAccent() ? GetComponentGlyph(nCode) : -1; nPart >= 0)
        used[nPart] = 1;
  }
  return true;
}

bool CPFB::Subset(BSE::CBasicArray<unsigned char>& used)
{
  if (used.IsEmpty())
    return false;
  int nCount = 0;
  for (int i = 0; i < GetGlyphCount(); ++i)
  {
    if (i > 0 && used[i] == 0)
      continue;
    m_names[nCount] = m_names[i];
    m_charStrings[nCount++] = m_charStrings[i];
  }
  if (nCount == GetGlyphCount())
    return false;
  m_names.SetSize(nCount);
  m_charStrings.SetSize(nCount);
  DropNames();
  used.SetSize(nCount);
  std::fill(used.GetData(), used.GetData() + nCount, static_cast<unsigned char>(1));
  return true;
}

int CPFB::DuplicateGlyph(int nGlyph, int nCode, const char* szName)
{
  if (nGlyph < 0 || nGlyph >= GetGlyphCount() || GetGlyphCount() >= g_nMaxGlyphs)
    return -1;
  char szFree[40];
  for (int i = 0; !szName || (szName == szFree && FindGlyph(FONT::MakeName(szFree)) >= 0); ++i)
  {
    std::snprintf(szFree, sizeof szFree, "g%d.dup%d", nGlyph, i);
    szName = szFree;
  }
  if (FindGlyph(FONT::MakeName(szName)) >= 0)
    return -1;
  m_names.Add(Keep(FONT::MakeName(szName)));
  const int nNew = m_charStrings.Add(m_charStrings[nGlyph]);
  if (nCode >= 0 && nCode < 256)
    SetEncodedName(nCode, FONT::MakeName(szName));
  DropNames();
  return nNew;
}

void CPFB::HashPrivate(BSE::CHashFunction& digest) const
{
  const unsigned char cCID = m_bCIDBased ? 1 : 0;
  digest.Update({&cCID, 1});
  HashValues(digest, GetValues(eFontMatrix), 10000);
  HashValues(digest, GetValues(eBlueValues), 10);
  HashValues(digest, GetValues(eOtherBlues), 10);
  HashNumber(digest, static_cast<std::uint32_t>(m_subrs.GetSize()));
  for (const TData subr : m_subrs.GetSpan())
  {
    HashNumber(digest, static_cast<std::uint32_t>(subr.size()));
    digest.Update(subr);
  }
}

bool CPFB::CompareData(const CPFB& other) const
{
  return !m_bCIDBased && !other.m_bCIDBased && !IsMultipleMaster() && !other.IsMultipleMaster() &&
         IsNear(GetValues(eFontMatrix), other.GetValues(eFontMatrix), 1e-6) &&
         IsNear(GetValues(eBlueValues), other.GetValues(eBlueValues), 0.01) &&
         IsNear(GetValues(eOtherBlues), other.GetValues(eOtherBlues), 0.01) &&
         std::equal(m_subrs.GetSpan().begin(), m_subrs.GetSpan().end(), other.m_subrs.GetSpan().begin(),
                    other.m_subrs.GetSpan().end(), &IsSame);
}

// Fonts that share no glyph give no evidence that they are the same.
bool CPFB::CompareGlyphs(const CPFB& other, BSE::CBasicArray<int>& map, bool& bNew) const
{
  bool bShared = false;
  int nNew = 0;
  map.SetSize(other.GetGlyphCount());
  for (int i = 0; i < other.GetGlyphCount(); ++i)
  {
    const int nGlyph = map[i] = FindGlyph(other.GetGlyphName(i));
    if (nGlyph < 0)
    {
      bNew = true;
      ++nNew;
      continue;
    }
    const TData own = GetCharString(nGlyph);
    const TData others = other.GetCharString(i);
    if (IsEmptyGlyph(own))
      bNew = bNew || !IsEmptyGlyph(others);
    else if (!IsSame(own, others) && !IsEmptyGlyph(others))
      return false;
    bShared = true;
  }
  return bShared && nNew <= g_nMaxGlyphs - GetGlyphCount();
}

bool CPFB::CompareEncodings(const CPFB& other, bool& bNew) const
{
  for (int i = 0; i < 256; ++i)
  {
    const FONT::TName name = other.GetEncodedName(i);
    const FONT::TName own = GetEncodedName(i);
    if (name.empty() || other.FindGlyph(name) < 0)
      continue;
    if (!own.empty() && !FONT::IsSameName(own, name))
      return false;
    bNew = bNew || own.empty();
  }
  return true;
}

int CPFB::Merge(const CPFB& other, bool bEncoding, BSE::CBasicArray<unsigned char>* pUsed,
                const BSE::CBasicArray<unsigned char>* pOtherUsed)
{
  if (&other == this)
    return 2;
  BSE::CBasicArray<int> map;
  bool bNew = false;
  if (!CompareData(other) || !CompareGlyphs(other, map, bNew) ||
      (bEncoding && !CompareEncodings(other, bNew)))
    return 0;
  const bool bMarks = pUsed && !pUsed->IsEmpty() && pOtherUsed;
  for (int i = 0; i < other.GetGlyphCount(); ++i)
  {
    int nGlyph = map[i];
    if (nGlyph < 0)
      nGlyph = AddGlyph(other.GetGlyphName(i), other.GetCharString(i));
    else if (IsEmptyGlyph(GetCharString(nGlyph)))
      m_charStrings[nGlyph] = m_store.Add(other.GetCharString(i));
    if (bMarks && pUsed->GetSize() < GetGlyphCount())
      pUsed->SetSize(GetGlyphCount());
    if (bMarks && (pOtherUsed->IsEmpty() || (*pOtherUsed)[i] != 0))
      (*pUsed)[nGlyph] = 1;
  }
  for (int i = 0; i < 256 && bEncoding; ++i)
    if (const FONT::TName name = other.GetEncodedName(i);
        !name.empty() && GetEncodedName(i).empty() && other.FindGlyph(name) >= 0)
      SetEncodedName(i, name);
  return bNew ? 1 : 2;
}

}  // namespace PFB
