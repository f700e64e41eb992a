// Writing of ToUnicode (ISO 32000-1, 9.10.3).

#include "fonts/pdf/ToUnicode.h"

#include <cstdio>
#include <cstring>

namespace PDF
{

namespace
{

// What an application can read in one block.
constexpr int g_nMaxBlock = 100;
constexpr int g_nMaxName = 255;

struct TRange
{
  unsigned m_nFirst;
  unsigned m_nLast;
  int m_nText;  // of the first code
  int m_nLength;
};

// Codes of one length with their text, in ranges.
class CTextRanges
{
public:
  // Codes ascend.
  void Add(unsigned nCode, std::span<const char16_t> text)
  {
    if (!m_ranges.IsEmpty() && Continues(m_ranges[m_ranges.GetSize() - 1], nCode, text))
    {
      m_ranges[m_ranges.GetSize() - 1].m_nLast = nCode;
      return;
    }
    m_ranges.Add({nCode, nCode, m_texts.GetSize(), static_cast<int>(text.size())});
    m_texts.Append(text);
  }
  bool IsEmpty() const { return m_ranges.IsEmpty(); }
  std::span<const TRange> GetRanges() const { return m_ranges.GetSpan(); }
  std::span<const char16_t> GetText(const TRange& range) const
  {
    return m_texts.GetSpan().subspan(static_cast<std::size_t>(range.m_nText),
                                     static_cast<std::size_t>(range.m_nLength));
  }

private:
  // A range keeps its first byte, and so does the unit that counts up.
  bool Continues(const TRange& range, unsigned nCode, std::span<const char16_t> text) const
  {
    const std::span<const char16_t> first = GetText(range);
    if (nCode != range.m_nLast + 1 || nCode % 256 == 0 || text.size() != first.size())
      return false;
    const unsigned nUnit = first.back() + (nCode - range.m_nFirst);
    return text.back() == nUnit && nUnit >> 8 == unsigned{first.back()} >> 8 &&
           std::equal(text.begin(), text.end() - 1, first.begin());
  }

  BSE::CBasicArray<TRange> m_ranges;
  BSE::CBasicArray<char16_t> m_texts;
};

class CWriter
{
public:
  explicit CWriter(BSE::IByteStream& stream) : m_stream(stream) {}
  void Put(const char* szText)
  {
    const auto nLength = static_cast<std::int64_t>(std::strlen(szText));
    m_bWritten = m_stream.WriteAll(reinterpret_cast<const unsigned char*>(szText), nLength) && m_bWritten;
  }
  template <class... A>
  void Format(const char* szFormat, A... arguments)
  {
    char szText[64];
    std::snprintf(szText, sizeof(szText), szFormat, arguments...);
    Put(szText);
  }
  bool HasWritten() const { return m_bWritten; }

private:
  BSE::IByteStream& m_stream;
  bool m_bWritten = true;
};

// What a name in the CMap's language can hold.
void MakeName(const char16_t* szFontName, char (&szName)[g_nMaxName + 1])
{
  int nLength = 0;
  for (const char16_t* p = szFontName; p && *p && nLength < g_nMaxName - 4; ++p)
  {
    const bool bPlain = *p > ' ' && *p < 0x7F && !std::strchr("()<>[]{}/%\\", static_cast<char>(*p));
    szName[nLength++] = bPlain ? static_cast<char>(*p) : '?';
  }
  std::strcpy(szName + nLength, "-UCS");
}

void WriteRanges(CWriter& writer, const CTextRanges& ranges, int nDigits)
{
  int nLeft = static_cast<int>(ranges.GetRanges().size());
  int nInBlock = 0;
  for (const TRange& range : ranges.GetRanges())
  {
    if (nInBlock == 0)
      writer.Format("%d beginbfrange\n", std::min(nLeft, g_nMaxBlock));
    writer.Format("<%0*X> <%0*X> <", nDigits, range.m_nFirst, nDigits, range.m_nLast);
    for (const char16_t nUnit : ranges.GetText(range))
      writer.Format("%04X", unsigned{nUnit});
    writer.Put(">\n");
    --nLeft;
    if (++nInBlock == g_nMaxBlock || nLeft == 0)
    {
      writer.Put("endbfrange\n");
      nInBlock = 0;
    }
  }
}

void WriteCMap(CWriter& writer, const char* szName, const CTextRanges& bytes, const CTextRanges& words)
{
  writer.Put("/CIDInit /ProcSet findresource begin\n12 dict begin\nbegincmap\n/CIDSystemInfo << /Registry (");
  writer.Put(szName);
  writer.Put(") /Ordering (UCS) /Supplement 0 >> def\n/CMapName /");
  writer.Put(szName);
  writer.Put(" def\n/CMapType 2 def\n");
  const bool bBoth = !bytes.IsEmpty() && !words.IsEmpty();
  const char* szIndent = bBoth ? "  " : "";
  writer.Format("%d begincodespacerange\n", bBoth ? 2 : 1);
  // In a font of both, those of two bytes do not begin as those of one do.
  const unsigned nLastByte = bBoth ? bytes.GetRanges().back().m_nLast : 0xFF;
  const unsigned nFirstWord = bBoth ? words.GetRanges().front().m_nFirst & 0xFF00 : 0;
  if (!bytes.IsEmpty() || words.IsEmpty())
    writer.Format("%s<%02X> <%02X>\n", szIndent, 0U, nFirstWord >> 8 > nLastByte ? nLastByte : 0xFFU);
  if (!words.IsEmpty())
    writer.Format("%s<%04X> <%04X>\n", szIndent, nFirstWord >> 8 > nLastByte ? nFirstWord : 0U, 0xFFFFU);
  writer.Put("endcodespacerange\n");
  WriteRanges(writer, bytes, 2);
  WriteRanges(writer, words, 4);
  writer.Put("endcmap CMapName\ncurrentdict /CMap defineresource pop\nend\nend\n");
}

// Collects the text of the codes that are used.
class CCollector
{
public:
  CCollector(const IToUnicode& toUnicode, const CEncoding& encoding, std::span<const unsigned char> used,
             bool bIdentityCheck)
      : m_toUnicode(toUnicode), m_encoding(encoding), m_used(used), m_bIdentityCheck(bIdentityCheck)
  {
  }

  void Add(unsigned nCode)
  {
    const int nLength = m_encoding.GetCodeLength(nCode);
    if (nLength < 1 || nLength > 2)
      return;
    const int nCharacter = nLength == 1 ? m_encoding.CodeToCID(nCode) : m_encoding.Code2ToCID(nCode);
    if (!IsUsed(nCharacter))
      return;
    char16_t units[CToUnicode::g_nMaxUnits];
    const int nUnits = m_toUnicode.GetUnicode(nCode, units, CToUnicode::g_nMaxUnits);
    m_bComplete = m_bComplete && nUnits <= CToUnicode::g_nMaxUnits;
    const bool bOffset = nUnits == 1 && (units[0] + 4096U == nCode || units[0] + 8192U == nCode);
    if (nUnits > 0 && m_bComplete && !(m_bIdentityCheck && bOffset))
      (nLength == 1 ? m_bytes : m_words).Add(nCode, {units, static_cast<std::size_t>(nUnits)});
  }

  bool IsComplete() const { return m_bComplete; }
  const CTextRanges& GetBytes() const { return m_bytes; }
  const CTextRanges& GetWords() const { return m_words; }

private:
  bool IsUsed(int nCharacter) const
  {
    return m_used.empty() || (nCharacter >= 0 && std::cmp_less(nCharacter, m_used.size()) &&
                              m_used[static_cast<std::size_t>(nCharacter)] != 0);
  }

  const IToUnicode& m_toUnicode;
  const CEncoding& m_encoding;
  std::span<const unsigned char> m_used;
  bool m_bIdentityCheck;
  bool m_bComplete = true;
  CTextRanges m_bytes;
  CTextRanges m_words;
};

}  // namespace

bool WriteToUnicode(BSE::IByteStream* pStream, const char16_t* szFontName, const IToUnicode& toUnicode,
                    const CEncoding& encoding, std::span<const unsigned char> used, bool bIdentityCheck)
{
  const auto* pTable = dynamic_cast<const CToUnicode*>(&toUnicode);
  if (pTable && !pTable->IsWritable())
    return false;
  if (!pStream)
    return true;
  CCollector collector(toUnicode, encoding, used, bIdentityCheck);
  if (pTable)
    pTable->ForEachCode([&](unsigned nCode) { collector.Add(nCode); });
  else
    for (unsigned nCode = 0; nCode < 256; ++nCode)
      collector.Add(nCode);
  if (!collector.IsComplete())
    return false;
  char szName[g_nMaxName + 1];
  MakeName(szFontName, szName);
  CWriter writer(*pStream);
  WriteCMap(writer, szName, collector.GetBytes(), collector.GetWords());
  return writer.HasWritten();
}

}  // namespace PDF
