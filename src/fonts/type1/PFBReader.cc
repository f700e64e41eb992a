// A Type 1 font is a PostScript program that builds dictionaries, and it is run: searching its text for keys,
// as simple readers do, fails as soon as a font names its procedures differently or defines things in another
// way. What matters is caught where it is defined, by the names of the key and of the dictionary or array
// that it goes into, whatever way the program takes to get there.
//
// Ciphers are undone in place: the encrypted part once, where eexec is met, and each charstring where the
// program reads its bytes. The scanner never goes back, so no byte is decrypted twice, and charstrings can
// stay parts of the data.

#include "fonts/type1/PFB.h"

#include "base/Limits.h"
#include "fonts/type1/Cipher.h"
#include "fonts/type1/Parser.h"

#include <algorithm>
#include <functional>

namespace PFB
{

namespace
{

constexpr unsigned char g_notdef[] = {139, 139, eHsbw, eEndChar};  // 0 0 hsbw endchar

bool IsHexDigit(unsigned char c)
{
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool IsBlank(unsigned char c)
{
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

}  // namespace

// Takes over what the program of a font defines.
class CParser : public PS::CParser
{
public:
  CParser(std::span<const unsigned char> data, CPFB& font) : PS::CParser(data), m_font(font) {}

protected:
  bool OnDefine(FONT::TName dictionary, FONT::TName key, const PS::TValue& value) override
  {
    if (IsNamed(dictionary, "CharStrings"))
    {
      if (value.m_nType != PS::eString || m_font.GetGlyphCount() >= 0xFFFF)
        return false;
      m_font.m_names.Add(m_font.Keep(key));
      m_font.m_charStrings.Add(KeepData(value.m_text));
      return true;
    }
    // In the dictionaries for blending, each value is a row with one for each design.
    if (IsNamed(dictionary, "Blend") || IsNamed(dictionary, "FontInfo.Blend"))
      return false;
    for (int i = 0; i < eKeyCount; ++i)
      if (IsNamed(key, GetKeyName(static_cast<TKey>(i))))
        TakeValues(static_cast<TKey>(i), value);
    for (int i = 0; i < eTextKeyCount; ++i)
      if (IsNamed(key, GetTextKeyName(static_cast<TTextKey>(i))) && !value.m_text.empty())
        m_font.SetText(static_cast<TTextKey>(i), value.GetName());
    if (IsNamed(key, "Encoding"))
      TakeEncoding(value);
    if (IsNamed(key, "CIDFontType") || IsNamed(key, "CIDCount"))
      m_font.m_bCIDBased = true;
    return false;
  }

  bool OnPut(FONT::TName array, int nIndex, const PS::TValue& value) override
  {
    if (IsNamed(array, "Subrs"))
    {
      if (value.m_nType != PS::eString)
        return false;
      if (nIndex >= m_font.m_subrs.GetSize())
        m_font.m_subrs.SetSize(nIndex + 1);
      m_font.m_subrs[nIndex] = KeepData(value.m_text);
      return true;
    }
    if (!IsNamed(array, "Encoding"))
      return false;
    if (value.m_nType == PS::eName && (!value.m_text.empty() || !m_font.m_encoding[nIndex & 0xFF].empty()))
      m_font.SetEncodedName(nIndex, value.GetName());
    return true;
  }

  std::span<const unsigned char> OnBinary(std::span<const unsigned char> data) override
  {
    const int nSkipped = static_cast<int>(m_font.GetNumber(eLenIV));
    if (nSkipped < 0 || data.empty())
      return data;
    // The data are those of the font, and each byte is read once.
    auto* pData = const_cast<unsigned char*>(data.data());
    CCipher(CCipher::g_nCharStringKey).Decrypt({pData, data.size()});
    return data.subspan(std::min(data.size(), static_cast<std::size_t>(nSkipped)));
  }

  std::span<const unsigned char> OnEncrypted(std::span<const unsigned char> rest) override
  {
    if (std::exchange(m_bDecrypted, true))
      return {};
    // Adobe Type 1 Font Format, 7.2: encrypted bytes do not begin with a blank, and one of the first four is
    // not a hexadecimal digit; otherwise the whole part is in digits.
    while (!rest.empty() && IsBlank(rest[0]))
      rest = rest.subspan(1);
    const bool bDigits = rest.size() >= 4 && std::all_of(rest.begin(), rest.begin() + 4, &IsHexDigit);
    std::span<unsigned char> data(const_cast<unsigned char*>(rest.data()), rest.size());
    if (bDigits)
      data = data.first(DecodeDigits(data));
    CCipher(CCipher::g_nFileKey).Decrypt(data);
    return data.subspan(std::min<std::size_t>(4, data.size()));
  }

private:
  static bool IsNamed(FONT::TName name, const char* szName)
  {
    return FONT::IsSameName(name, FONT::MakeName(szName));
  }

  // Charstrings that are strings of the text, and not binary data, may be in the store of the interpreter,
  // which does not outlive it.
  TData KeepData(TData data)
  {
    const std::less<const unsigned char*> less;
    const TData all = m_font.m_data.GetSpan();
    const bool bOwn =
        !data.empty() && !less(data.data(), all.data()) && less(data.data(), all.data() + all.size());
    return bOwn ? data : m_font.m_store.Add(data);
  }

  // In place, up to the first byte that is not a digit.
  static std::size_t DecodeDigits(std::span<unsigned char> data)
  {
    std::size_t nDone = 0;
    int nHigh = -1;
    for (const unsigned char c : data)
    {
      if (IsBlank(c))
        continue;
      if (!IsHexDigit(c))
        break;
      const int nDigit = c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
      if (nHigh >= 0)
        data[nDone++] = static_cast<unsigned char>(16 * nHigh + nDigit);
      nHigh = nHigh >= 0 ? -1 : nDigit;
    }
    return nDone;
  }

  void TakeValues(TKey nKey, const PS::TValue& value)
  {
    BSE::CBasicArray<double> values;
    if (value.IsNumber() || value.m_nType == PS::eBoolean)
      values.Add(value.IsNumber() ? value.m_dReal : value.m_nInteger);
    for (const PS::TValue& element : GetElements(value))
      if (element.IsNumber())
        values.Add(element.m_dReal);
    const bool bWhole = nKey != eFontMatrix || values.GetSize() == 6;
    if (bWhole && (nKey != eFontBBox || values.GetSize() == 4) && values.GetSize() <= 64)
      m_font.SetValues(nKey, values.GetSpan());
  }

  void TakeEncoding(const PS::TValue& value)
  {
    if (value.m_nType == PS::eName)
      m_font.SetStandardEncoding(IsNamed(value.GetName(), "StandardEncoding"));
    int nCode = 0;
    for (const PS::TValue& element : GetElements(value))
      if (element.m_nType == PS::eName && nCode < 256)
        m_font.SetEncodedName(nCode++, element.GetName());
      else
        ++nCode;
  }

  CPFB& m_font;
  bool m_bDecrypted = false;
};

bool CPFB::Read(BSE::IByteStream& stream, const char* szName)
{
  BSE::CBasicArray<unsigned char> data;
  if (stream.ReadToArray(data, BSE::g_nMaxDecodedSize))
    return Read(std::move(data), szName);
  FONT::CFontLog("PFB", m_log.GetErrorContext(), szName).ReportEnd();
  return false;
}

bool CPFB::Read(BSE::CBasicArray<unsigned char>&& data, const char* szName)
{
  m_sName.Assign(szName);
  m_log = FONT::CFontLog("PFB", m_log.GetErrorContext(), m_sName.GetText());
  m_log.Note("I", "Reading Type1 font \"%s\"...", m_sName.GetText());
  m_data = std::move(data);
  RemoveSegments();
  if (!ReadAll())
  {
    m_log.ReportEnd();
    return false;
  }
  if (m_log.GetFaults() > 0)
    m_log.ReportRepair();
  return true;
}

// Each segment begins with the byte 128, its kind and its length; kind 3 is the end.
void CPFB::RemoveSegments()
{
  constexpr int nHeader = 6;
  const int nSize = m_data.GetSize();
  int nFrom = 0;
  int nTo = 0;
  while (nSize - nFrom >= nHeader && m_data[nFrom] == 0x80 &&
         (m_data[nFrom + 1] == 1 || m_data[nFrom + 1] == 2))
  {
    const std::uint32_t nLength = BSE::LoadLittleEndian<std::uint32_t>(m_data.GetData() + nFrom + 2);
    nFrom += nHeader;
    const int nTaken =
        static_cast<int>(std::min<std::uint32_t>(nLength, static_cast<std::uint32_t>(nSize - nFrom)));
    std::memmove(m_data.GetData() + nTo, m_data.GetData() + nFrom, static_cast<std::size_t>(nTaken));
    nFrom += nTaken;
    nTo += nTaken;
  }
  if (nFrom > 0)
    m_data.Truncate(nTo);
}

bool CPFB::ReadAll()
{
  CParser parser(m_data.GetSpan(), *this);
  if (!parser.Run())
    m_log.Fault("Error while parsing PostScript.");
  if (parser.IsCut())
    m_log.Fault("EOF encountered.");
  if (m_charStrings.IsEmpty() || m_bCIDBased)
    return false;
  if (m_log.GetFaults() > 0)
    m_log.LosePart();
  PlaceNotdef();
  return true;
}

// Glyph 0 of every font is .notdef; one that draws nothing is added if there is none.
void CPFB::PlaceNotdef()
{
  const int nFound = FindGlyph(FONT::MakeName(".notdef"));
  if (nFound < 0)
  {
    m_log.Note("D", ".notdef glyph is missing");
    m_names.InsertAt(0, FONT::MakeName(".notdef"));
    m_charStrings.InsertAt(0, TData(g_notdef));
  }
  else
  {
    std::swap(m_names[0], m_names[nFound]);
    std::swap(m_charStrings[0], m_charStrings[nFound]);
  }
  DropNames();
}

}  // namespace PFB
