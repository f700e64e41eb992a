#include "metadata/XmpEncoding.h"

#include "base/Unicode.h"

#include <algorithm>
#include <initializer_list>

namespace XMP
{

namespace
{

struct TForm
{
  TPacketEncoding m_encoding;
  int m_nUnit;
  bool m_bBigEndian;
};

bool StartsWith(std::span<const unsigned char> bytes, std::initializer_list<unsigned char> start)
{
  return bytes.size() >= start.size() && std::equal(start.begin(), start.end(), bytes.begin());
}

TForm FindForm(std::span<const unsigned char> bytes)
{
  constexpr TForm utf32Big = {TPacketEncoding::Utf32, 4, true};
  constexpr TForm utf32Little = {TPacketEncoding::Utf32, 4, false};
  constexpr TForm utf16Big = {TPacketEncoding::Utf16, 2, true};
  constexpr TForm utf16Little = {TPacketEncoding::Utf16, 2, false};
  if (StartsWith(bytes, {0, 0, 0xFE, 0xFF}))
    return utf32Big;
  if (StartsWith(bytes, {0xFF, 0xFE, 0, 0}))
    return utf32Little;
  if (StartsWith(bytes, {0xFE, 0xFF}))
    return utf16Big;
  if (StartsWith(bytes, {0xFF, 0xFE}))
    return utf16Little;
  if (StartsWith(bytes, {0, 0, 0}))
    return utf32Big;
  if (bytes.size() >= 4 && bytes[1] == 0 && bytes[2] == 0 && bytes[3] == 0)
    return utf32Little;
  if (bytes.size() >= 2 && bytes[0] == 0)
    return utf16Big;
  if (bytes.size() >= 2 && bytes[1] == 0)
    return utf16Little;
  return {TPacketEncoding::Utf8, 1, false};
}

char32_t ReadUnit(std::span<const unsigned char> bytes, const TForm& form)
{
  char32_t nUnit = 0;
  for (int i = 0; i < form.m_nUnit; ++i)
    nUnit = nUnit << 8 | bytes[static_cast<std::size_t>(form.m_bBigEndian ? i : form.m_nUnit - 1 - i)];
  return nUnit;
}

template <class TUnit>
bool DecodeUnits(std::span<const unsigned char> bytes, const TForm& form, BSE::CStr8& text)
{
  const auto nUnit = static_cast<std::size_t>(form.m_nUnit);
  BSE::CBasicArray<TUnit> units;
  units.Reserve(static_cast<int>(bytes.size() / nUnit));
  for (; bytes.size() >= nUnit; bytes = bytes.subspan(nUnit))
    units.Add(static_cast<TUnit>(ReadUnit(bytes, form)));
  return BSE::ConvertText(std::span<const TUnit>(units.GetSpan()), text);
}

void DecodeLatin1(std::span<const unsigned char> bytes, BSE::CStr8& text)
{
  text.RemoveAll();
  for (const unsigned char n : bytes)
  {
    char units[4];
    text.Append(units, BSE::EncodeCharacter(n, units));
  }
}

bool IsUtf8(std::span<const unsigned char> bytes)
{
  while (!bytes.empty())
  {
    int nUnits = 1;
    const char32_t n = bytes.front() < 0x80 ? bytes.front() : BSE::DecodeCharacter(bytes, nUnits);
    if (n == BSE::g_nInvalidCharacter || n == BSE::g_nIncompleteCharacter)
      return false;
    bytes = bytes.subspan(static_cast<std::size_t>(nUnits));
  }
  return true;
}

bool IsBlank(char c)
{
  return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == 0;
}

template <class TUnit>
std::span<const TUnit> SkipTo(std::span<const TUnit> text, std::span<const char> wanted)
{
  const auto found = std::search(text.begin(), text.end(), wanted.begin(), wanted.end());
  return text.subspan(static_cast<std::size_t>(found - text.begin()));
}

// Up to the end of the processing instruction that closes the packet, where there is one: it cannot be
// inside.
template <class TUnit>
std::span<const TUnit> CutOff(std::span<const TUnit> text)
{
  constexpr char last[] = {'<', '?', 'x', 'p', 'a', 'c', 'k', 'e', 't', ' ', 'e', 'n', 'd'};
  constexpr char close[] = {'?', '>'};
  const std::span<const TUnit> rest = SkipTo<TUnit>(SkipTo<TUnit>(text, last), close);
  return rest.empty() ? text : text.first(text.size() - rest.size() + sizeof close);
}

// Drops what may be around the packet but not around an XML document.
void Trim(BSE::CStr8& text)
{
  std::span<const char> rest = CutOff<char>(text.GetSpan());
  constexpr char mark[] = {'\xEF', '\xBB', '\xBF'};
  for (bool bMore = true; bMore;)
  {
    bMore = false;
    if (rest.size() >= 3 && std::equal(mark, mark + 3, rest.begin()))
    {
      rest = rest.subspan(3);
      bMore = true;
    }
    while (!rest.empty() && IsBlank(rest.front()))
      rest = rest.subspan(1);
  }
  while (!rest.empty() && IsBlank(rest.back()))
    rest = rest.first(rest.size() - 1);
  const BSE::CStr8 trimmed(rest.data(), static_cast<int>(rest.size()));
  text = trimmed;
}

}  // namespace

bool DecodePacket(std::span<const unsigned char> bytes, BSE::CStr8& text, TPacketEncoding& encoding)
{
  const TForm form = FindForm(bytes);
  encoding = form.m_encoding;
  // Other data after the packet says nothing about its encoding.
  if (form.m_nUnit == 1)
    bytes = CutOff(bytes);
  bool bDone = true;
  if (form.m_nUnit == 4)
    bDone = DecodeUnits<char32_t>(bytes, form, text);
  else if (form.m_nUnit == 2)
    bDone = DecodeUnits<char16_t>(bytes, form, text);
  else if (IsUtf8(bytes))
    text.Assign(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()));
  else
  {
    encoding = TPacketEncoding::Latin1;
    DecodeLatin1(bytes, text);
  }
  if (bDone)
    Trim(text);
  return bDone;
}

}  // namespace XMP
