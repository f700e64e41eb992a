#include "pdf/TextString.h"

#include "base/Unicode.h"

#include <algorithm>
#include <array>

namespace PDF
{

namespace
{

// ISO 32000-1, Annex D.2: the two ranges where PDFDocEncoding and Latin-1 differ, and the Euro at 0xA0.
constexpr int g_nFirstAccent = 0x18;
constexpr char16_t g_accents[] = {0x02D8, 0x02C7, 0x02C6, 0x02D9, 0x02DD, 0x02DB, 0x02DA, 0x02DC};

constexpr int g_nFirstSpecial = 0x80;
constexpr char16_t g_specials[] = {0x2022, 0x2020, 0x2021, 0x2026, 0x2014, 0x2013, 0x0192, 0x2044, 0x2039,
                                   0x203A, 0x2212, 0x2030, 0x201E, 0x201C, 0x201D, 0x2018, 0x2019, 0x201A,
                                   0x2122, 0xFB01, 0xFB02, 0x0141, 0x0152, 0x0160, 0x0178, 0x017D, 0x0131,
                                   0x0142, 0x0153, 0x0161, 0x017E, 0x009F, 0x20AC};

constexpr bool IsUndefined(int nByte)
{
  return (nByte < 0x18 && nByte != '\t' && nByte != '\n' && nByte != '\r') || nByte == 0x7F ||
         nByte == 0x9F || nByte == 0xAD;
}

constexpr auto g_pdfDocTable = []
{
  std::array<char16_t, 256> table{};
  for (std::size_t i = 0; i < 256; ++i)
    table[i] = static_cast<char16_t>(i);
  std::copy(std::begin(g_accents), std::end(g_accents), table.begin() + g_nFirstAccent);
  std::copy(std::begin(g_specials), std::end(g_specials), table.begin() + g_nFirstSpecial);
  return table;
}();
static_assert(g_pdfDocTable[0x1F] == 0x02DC && g_pdfDocTable[0x9E] == 0x017E &&
              g_pdfDocTable[0xA0] == 0x20AC);

bool StartsWith(std::span<const unsigned char> data, std::initializer_list<unsigned char> marker)
{
  return data.size() >= marker.size() && std::equal(marker.begin(), marker.end(), data.begin());
}

BSE::CStr16 DecodeUtf16(std::span<const unsigned char> data)
{
  BSE::CBasicArray<char16_t> units;
  units.Reserve(static_cast<int>(data.size() / 2));
  for (std::size_t i = 0; i + 1 < data.size(); i += 2)
    units.Add(static_cast<char16_t>(data[i] << 8 | data[i + 1]));
  BSE::CStr16 text;
  const std::span<const char16_t> source = units.GetSpan();
  for (std::size_t i = 0; i < source.size();)
  {
    int nUnits = 0;
    const char32_t nCharacter = BSE::DecodeCharacter(source.subspan(i), nUnits);
    if (nCharacter >= BSE::g_nIncompleteCharacter)
      text.Append(static_cast<char16_t>(BSE::g_nReplacementCharacter));
    else
      text.Append(&source[i], nUnits);
    i += static_cast<std::size_t>(nUnits);
  }
  return text;
}

BSE::CStr16 DecodeText(std::span<const unsigned char> data)
{
  if (StartsWith(data, {0xFE, 0xFF}))
    return DecodeUtf16(data.subspan(2));
  BSE::CStr16 text;
  if (StartsWith(data, {0xEF, 0xBB, 0xBF}))
  {
    const auto utf8 = data.subspan(3);
    BSE::ConvertText(std::span<const char>(reinterpret_cast<const char*>(utf8.data()), utf8.size()), text,
                     BSE::TInvalidText::Replace);
    return text;
  }
  BSE::CBasicArray<char16_t> units;
  units.SetSize(static_cast<int>(data.size()));
  std::transform(data.begin(), data.end(), units.GetData(), DecodePdfDocByte);
  text.Assign(units.GetData(), units.GetSize());
  return text;
}

bool EncodePdfDoc(std::span<const char16_t> text, BSE::CBasicArray<unsigned char>& bytes)
{
  for (const char16_t nUnit : text)
  {
    const int nByte = EncodePdfDocByte(nUnit);
    if (nByte < 0)
      return false;
    bytes.Add(static_cast<unsigned char>(nByte));
  }
  // Text that would read as a marker goes another way.
  return !StartsWith(bytes.GetSpan(), {0xFE, 0xFF}) && !StartsWith(bytes.GetSpan(), {0xEF, 0xBB, 0xBF});
}

CString EncodeText(std::span<const char16_t> text)
{
  BSE::CBasicArray<unsigned char> bytes;
  bytes.Reserve(static_cast<int>(text.size()));
  if (!EncodePdfDoc(text, bytes))
  {
    bytes.Truncate(0);
    bytes.Add(0xFE);
    bytes.Add(0xFF);
    for (const char16_t nUnit : text)
    {
      bytes.Add(static_cast<unsigned char>(nUnit >> 8));
      bytes.Add(static_cast<unsigned char>(nUnit & 0xFF));
    }
  }
  return CString(bytes.GetData(), bytes.GetSize());
}

}  // namespace

char16_t DecodePdfDocByte(unsigned char nByte)
{
  return g_pdfDocTable[nByte];
}

int EncodePdfDocByte(char32_t nCharacter)
{
  if (nCharacter < 256 && g_pdfDocTable[nCharacter] == nCharacter)
    return IsUndefined(static_cast<int>(nCharacter)) ? -1 : static_cast<int>(nCharacter);
  for (int i = 0; i < static_cast<int>(std::size(g_specials)); ++i)
    if (g_specials[i] == nCharacter)
      return IsUndefined(g_nFirstSpecial + i) ? -1 : g_nFirstSpecial + i;
  for (int i = 0; i < static_cast<int>(std::size(g_accents)); ++i)
    if (g_accents[i] == nCharacter)
      return g_nFirstAccent + i;
  return -1;
}

CTextString::CTextString(const CString& value) : CString(value), m_text(DecodeText(GetSpan())) {}

CTextString::CTextString(const char* szText) : CString(szText), m_text(DecodeText(GetSpan())) {}

CTextString::CTextString(const char16_t* szText) : m_text(szText)
{
  CString::operator=(EncodeText(m_text.GetSpan()));
}

}  // namespace PDF
