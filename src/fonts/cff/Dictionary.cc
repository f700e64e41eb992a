// Values stay as the file has them, so that an unchanged dictionary is written as it was read; rows of edges
// are turned from differences into positions only where someone asks for the array. One table holds what
// Adobe Technical Note 5176 says of each key: how many values it has, and its default (tables 9, 10 and 23).
// Numbers are encoded as in section 4 of the note.

#include "fonts/cff/Dictionary.h"

#include "base/Tracer.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace CFF
{

namespace
{

constexpr int g_nMaxOperands = 513;

struct TKeyInfo
{
  CTypes::TKey m_nKey;
  const char* m_szName;
  int m_nMin;
  int m_nMax;
  bool m_bEdges;
  std::span<const double> m_default;
};

constexpr double g_unitMatrix[] = {0.001, 0, 0, 0.001, 0, 0};
constexpr double g_zeros[] = {0, 0, 0, 0};
constexpr double g_one[] = {1};
constexpr double g_blueScale[] = {0.039625};
constexpr double g_blueShift[] = {7};
constexpr double g_expansion[] = {0.06};
constexpr double g_underlinePosition[] = {-100};
constexpr double g_underlineThickness[] = {50};
constexpr double g_charstringType[] = {2};
constexpr double g_cidCount[] = {8720};
constexpr std::span<const double> g_zero(g_zeros, 1);

constexpr TKeyInfo g_keys[] = {
    {CTypes::eVersion, "version", 1, 1, false, {}},
    {CTypes::eNotice, "Notice", 1, 1, false, {}},
    {CTypes::eFullName, "FullName", 1, 1, false, {}},
    {CTypes::eFamilyName, "FamilyName", 1, 1, false, {}},
    {CTypes::eWeight, "Weight", 1, 1, false, {}},
    {CTypes::eFontBBox, "FontBBox", 4, 4, false, g_zeros},
    {CTypes::eBlueValues, "BlueValues", 0, 14, true, {}},
    {CTypes::eOtherBlues, "OtherBlues", 0, 10, true, {}},
    {CTypes::eFamilyBlues, "FamilyBlues", 0, 14, true, {}},
    {CTypes::eFamilyOtherBlues, "FamilyOtherBlues", 0, 10, true, {}},
    {CTypes::eStdHW, "StdHW", 1, 1, false, {}},
    {CTypes::eStdVW, "StdVW", 1, 1, false, {}},
    {CTypes::eUniqueID, "UniqueID", 1, 1, false, {}},
    {CTypes::eXUID, "XUID", 0, 16, false, {}},
    {CTypes::eCharset, "charset", 1, 1, false, g_zero},
    {CTypes::eEncoding, "Encoding", 1, 1, false, g_zero},
    {CTypes::eCharStrings, "CharStrings", 1, 1, false, {}},
    {CTypes::ePrivate, "Private", 2, 2, false, {}},
    {CTypes::eSubrs, "Subrs", 1, 1, false, {}},
    {CTypes::eDefaultWidthX, "defaultWidthX", 1, 1, false, g_zero},
    {CTypes::eNominalWidthX, "nominalWidthX", 1, 1, false, g_zero},
    {CTypes::eCopyright, "Copyright", 1, 1, false, {}},
    {CTypes::eIsFixedPitch, "isFixedPitch", 1, 1, false, g_zero},
    {CTypes::eItalicAngle, "ItalicAngle", 1, 1, false, g_zero},
    {CTypes::eUnderlinePosition, "UnderlinePosition", 1, 1, false, g_underlinePosition},
    {CTypes::eUnderlineThickness, "UnderlineThickness", 1, 1, false, g_underlineThickness},
    {CTypes::ePaintType, "PaintType", 1, 1, false, g_zero},
    {CTypes::eCharstringType, "CharstringType", 1, 1, false, g_charstringType},
    {CTypes::eFontMatrix, "FontMatrix", 6, 6, false, g_unitMatrix},
    {CTypes::eStrokeWidth, "StrokeWidth", 1, 1, false, g_zero},
    {CTypes::eBlueScale, "BlueScale", 1, 1, false, g_blueScale},
    {CTypes::eBlueShift, "BlueShift", 1, 1, false, g_blueShift},
    {CTypes::eBlueFuzz, "BlueFuzz", 1, 1, false, g_one},
    {CTypes::eStemSnapH, "StemSnapH", 0, 12, true, {}},
    {CTypes::eStemSnapV, "StemSnapV", 0, 12, true, {}},
    {CTypes::eForceBold, "ForceBold", 1, 1, false, g_zero},
    {CTypes::eLanguageGroup, "LanguageGroup", 1, 1, false, g_zero},
    {CTypes::eExpansionFactor, "ExpansionFactor", 1, 1, false, g_expansion},
    {CTypes::eInitialRandomSeed, "initialRandomSeed", 1, 1, false, g_zero},
    {CTypes::eSyntheticBase, "SyntheticBase", 1, 1, false, {}},
    {CTypes::ePostScript, "PostScript", 1, 1, false, {}},
    {CTypes::eBaseFontName, "BaseFontName", 1, 1, false, {}},
    {CTypes::eBaseFontBlend, "BaseFontBlend", 0, 16, true, {}},
    {CTypes::eROS, "ROS", 3, 3, false, {}},
    {CTypes::eCIDFontVersion, "CIDFontVersion", 1, 1, false, g_zero},
    {CTypes::eCIDFontRevision, "CIDFontRevision", 1, 1, false, g_zero},
    {CTypes::eCIDFontType, "CIDFontType", 1, 1, false, g_zero},
    {CTypes::eCIDCount, "CIDCount", 1, 1, false, g_cidCount},
    {CTypes::eUIDBase, "UIDBase", 1, 1, false, {}},
    {CTypes::eFDArray, "FDArray", 1, 1, false, {}},
    {CTypes::eFDSelect, "FDSelect", 1, 1, false, {}},
    {CTypes::eFontName, "FontName", 1, 1, false, {}},
};

const TKeyInfo* FindKey(int nKey)
{
  for (const TKeyInfo& info : g_keys)
    if (info.m_nKey == nKey)
      return &info;
  return nullptr;
}

// Cuts a row that is too long, as readers of fonts have always done; an odd row of zones stays, with a trace
// line.
void CheckCount(const TKeyInfo& info, int& nCount, FONT::CFontLog& log)
{
  if (nCount > info.m_nMax && info.m_nMax > 4 && info.m_nMax != 6)
    log.Fault("%s: Array overflow.", info.m_szName);
  if (nCount == 0 && info.m_nMin == 0)
    log.Note("I", "%s: Empty array.", info.m_szName);
  nCount = std::min(nCount, info.m_nMax);
  if (nCount % 2 != 0 && (info.m_nKey == CTypes::eBlueValues || info.m_nKey == CTypes::eOtherBlues))
    log.Note("E", "Odd number of %s.", info.m_szName);
}

void PutReal(const char* szText, BSE::CBasicArray<unsigned char>& bytes)
{
  bytes.Add(30);
  int nHigh = -1;
  const auto Put = [&](int nNibble)
  {
    if (nHigh >= 0)
      bytes.Add(static_cast<unsigned char>(16 * nHigh + nNibble));
    nHigh = nHigh >= 0 ? -1 : nNibble;
  };
  for (const char* p = szText; *p; ++p)
  {
    if (*p >= '0' && *p <= '9')
      Put(*p - '0');
    else if (*p == '.')
      Put(10);
    else if (*p == '-')
      Put(14);
    else if (*p == 'e')
    {
      Put(p[1] == '-' ? 12 : 11);
      p += p[1] == '-' || p[1] == '+' ? 1 : 0;
    }
  }
  Put(15);
  if (nHigh >= 0)
    Put(15);
}

// Cuts the zero before the point and zeros at the end of a fraction.
void TrimReal(char* szText)
{
  char* pStart = szText + (*szText == '-' ? 1 : 0);
  if (pStart[0] == '0' && pStart[1] == '.')
    std::memmove(pStart, pStart + 1, std::strlen(pStart));
  if (!std::strchr(szText, '.') || std::strchr(szText, 'e'))
    return;
  char* pEnd = szText + std::strlen(szText);
  while (pEnd[-1] == '0')
    --pEnd;
  *pEnd = '\0';
}

double ParseReal(const char* pBegin, const char* pEnd)
{
  double dValue = 0;
  std::from_chars(pBegin, pEnd, dValue);
  return dValue;
}

}  // namespace

// Reads a dictionary operator by operator.
class CDictParser
{
public:
  CDictParser(CDictionary& dictionary, FONT::CFontLog& log) : m_dictionary(dictionary), m_log(log) {}

  bool Parse(TData data)
  {
    BSE::CByteCursor cursor(data);
    while (!cursor.IsAtEnd())
    {
      const int nByte = static_cast<int>(cursor.Card8());
      if (nByte <= 21)
        ReadOperator(nByte == CTypes::eEscape ? CTypes::Escape(static_cast<int>(cursor.Card8())) : nByte);
      else
        ReadOperand(nByte, cursor);
    }
    if (cursor.HasFailed())
      m_log.Fault("Parser error");
    return !cursor.HasFailed();
  }

private:
  void ReadOperand(int nByte, BSE::CByteCursor& cursor)
  {
    if (nByte >= 32 && nByte <= 246)
      Push(nByte - 139);
    else if (nByte >= 247 && nByte <= 250)
      Push((nByte - 247) * 256 + static_cast<int>(cursor.Card8()) + 108);
    else if (nByte >= 251 && nByte <= 254)
      Push(-(nByte - 251) * 256 - static_cast<int>(cursor.Card8()) - 108);
    else if (nByte == 28)
      Push(cursor.Int16());
    else if (nByte == 29)
      Push(cursor.Int32());
    else if (nByte == 30)
      Push(ReadReal(cursor));
    else
      m_log.Note("I", "Operand not supported: %8d", nByte);
  }

  static double ReadReal(BSE::CByteCursor& cursor)
  {
    static constexpr const char* szNibbles[] = {"0", "1", "2", "3", "4",  "5", "6", "7",
                                                "8", "9", ".", "e", "e-", "",  "-", ""};
    char szText[64];
    int nLength = 0;
    for (bool bEnd = false; !bEnd && !cursor.IsAtEnd();)
    {
      const unsigned nByte = cursor.Card8();
      for (const unsigned nNibble : {nByte >> 4, nByte & 15})
      {
        bEnd = bEnd || nNibble == 15;
        for (const char* p = szNibbles[nNibble]; !bEnd && *p && nLength < 63; ++p)
          szText[nLength++] = *p;
      }
    }
    return ParseReal(szText, szText + nLength);
  }

  void Push(double dValue)
  {
    if (m_values.GetSize() < g_nMaxOperands)
      m_values.Add(dValue);
    else if (!std::exchange(m_bOverflow, true))
      m_log.Fault("Stack overflow");
  }

  void ReadOperator(int nKey)
  {
    const TKeyInfo* pInfo = FindKey(nKey);
    int nCount = m_values.GetSize();
    if (nKey == CTypes::eForceBoldThreshold)
      m_log.Note("I", "Ignore deprecated private DICT operator ForceBoldThreshhold (12 15).");
    else if (nKey == CTypes::eLenIV)
      m_log.Note("I", "Ignore deprecated private DICT operator lenIV (12 16).");
    else if (!pInfo && nKey >= CTypes::Escape(0))
      m_log.Note("I", "Dictionary operator not supported: 12 %8d", nKey & 0xFF);
    else if (!pInfo)
      m_log.Note("I", "Dictionary operator not supported: %8d", nKey);
    else if (nCount < pInfo->m_nMin)
      m_log.Fault("Stack underflow");
    else
    {
      // Of too many values a key that is no row takes the last, which were on top of the stack.
      CheckCount(*pInfo, nCount, m_log);
      const auto values = m_values.GetSpan();
      m_dictionary.SetValues(pInfo->m_nKey, pInfo->m_bEdges ? values.first(static_cast<std::size_t>(nCount))
                                                            : values.last(static_cast<std::size_t>(nCount)));
    }
    m_values.Truncate(0);
  }

  CDictionary& m_dictionary;
  FONT::CFontLog& m_log;
  BSE::CBasicArray<double> m_values;
  bool m_bOverflow = false;
};

bool CDictionary::Parse(TData data, FONT::CFontLog& log)
{
  return CDictParser(*this, log).Parse(data);
}

int CDictionary::Find(CTypes::TKey nKey) const
{
  for (int i = 0; i < m_entries.GetSize(); ++i)
    if (m_entries[i].m_nKey == nKey)
      return i;
  return -1;
}

int CDictionary::GetStringCount(CTypes::TKey nKey)
{
  switch (nKey)
  {
  case CTypes::eVersion:
  case CTypes::eNotice:
  case CTypes::eFullName:
  case CTypes::eFamilyName:
  case CTypes::eWeight:
  case CTypes::eCopyright:
  case CTypes::ePostScript:
  case CTypes::eBaseFontName:
  case CTypes::eFontName:
    return 1;
  case CTypes::eROS:
    return 2;
  default:
    return 0;
  }
}

std::span<const double> CDictionary::GetValues(CTypes::TKey nKey) const
{
  const int nEntry = Find(nKey);
  if (nEntry < 0)
    return {};
  const TEntry& entry = m_entries[nEntry];
  return m_values.GetSpan().subspan(static_cast<std::size_t>(entry.m_nFirst),
                                    static_cast<std::size_t>(entry.m_nCount));
}

double CDictionary::GetNumber(CTypes::TKey nKey) const
{
  std::span<const double> values = GetValues(nKey);
  if (values.empty())
    values = FindKey(nKey)->m_default;
  return values.empty() ? 0 : values[0];
}

int CDictionary::GetInteger(CTypes::TKey nKey) const
{
  constexpr double dMax = std::numeric_limits<int>::max();
  return static_cast<int>(std::clamp(GetNumber(nKey), -dMax, dMax));
}

void CDictionary::GetArray(CTypes::TKey nKey, BSE::CBasicArray<double>& values) const
{
  const TKeyInfo* pInfo = FindKey(nKey);
  values.RemoveAll();
  values.Append(Has(nKey) ? GetValues(nKey) : pInfo->m_default);
  for (int i = 1; pInfo->m_bEdges && i < values.GetSize(); ++i)
    values[i] += values[i - 1];
}

void CDictionary::SetArray(CTypes::TKey nKey, std::span<const double> values)
{
  BSE::CBasicArray<double> differences;
  differences.Append(values);
  for (int i = differences.GetSize() - 1; FindKey(nKey)->m_bEdges && i > 0; --i)
    differences[i] -= differences[i - 1];
  SetValues(nKey, differences.GetSpan());
}

void CDictionary::SetValues(CTypes::TKey nKey, std::span<const double> values)
{
  int nEntry = Find(nKey);
  if (values.empty())
  {
    if (nEntry >= 0)
      m_entries.RemoveAt(nEntry);
    return;
  }
  if (nEntry < 0)
    nEntry = m_entries.Add({nKey, 0, 0});
  TEntry& entry = m_entries[nEntry];
  const int nCount = static_cast<int>(values.size());
  if (nCount > entry.m_nCount)
  {
    entry.m_nFirst = m_values.GetSize();
    m_values.SetSize(entry.m_nFirst + nCount);
  }
  entry.m_nCount = nCount;
  std::copy(values.begin(), values.end(), m_values.GetData() + entry.m_nFirst);
}

bool CDictionary::Write(BSE::CBasicArray<unsigned char>& bytes) const
{
  // ROS must come first: it says that the font is one by CIDs.
  for (const bool bFirst : {true, false})
    for (const TEntry& entry : m_entries.GetSpan())
    {
      if ((entry.m_nKey == CTypes::eROS) != bFirst)
        continue;
      for (const double dValue : GetValues(entry.m_nKey))
        if (!PutDictNumber(dValue, bytes))
          return false;
      if (entry.m_nKey >= CTypes::Escape(0))
        bytes.Add(CTypes::eEscape);
      bytes.Add(static_cast<unsigned char>(entry.m_nKey & 0xFF));
    }
  return true;
}

bool PutDictNumber(double dValue, BSE::CBasicArray<unsigned char>& bytes)
{
  if (!std::isfinite(dValue))
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "CFF", "PutOpnd() failed.");
    return false;
  }
  const auto Put = [&](int nValue) { bytes.Add(static_cast<unsigned char>(nValue)); };
  if (dValue != std::floor(dValue) || std::abs(dValue) > std::numeric_limits<int>::max())
  {
    // Six decimals are enough for most numbers; the others get as many digits as bring them back exactly.
    char szText[64];
    char* const pLimit = szText + sizeof szText - 1;
    const auto [pEnd, error] = std::to_chars(szText, pLimit, dValue, std::chars_format::fixed, 6);
    *pEnd = '\0';
    if (error != std::errc() || std::abs(ParseReal(szText, pEnd) - dValue) > 1e-12 * std::abs(dValue))
      *std::to_chars(szText, pLimit, dValue).ptr = '\0';
    TrimReal(szText);
    PutReal(szText, bytes);
    return true;
  }
  const int nValue = static_cast<int>(dValue);
  if (nValue >= -107 && nValue <= 107)
    Put(nValue + 139);
  else if (nValue >= 108 && nValue <= 1131)
  {
    Put(247 + (nValue - 108) / 256);
    Put((nValue - 108) % 256);
  }
  else if (nValue >= -1131 && nValue <= -108)
  {
    Put(251 + (-nValue - 108) / 256);
    Put((-nValue - 108) % 256);
  }
  else
  {
    const bool bShort = nValue >= -32768 && nValue <= 32767;
    Put(bShort ? 28 : 29);
    for (int nShift = bShort ? 8 : 24; nShift >= 0; nShift -= 8)
      Put(nValue >> nShift);
  }
  return true;
}

}  // namespace CFF
