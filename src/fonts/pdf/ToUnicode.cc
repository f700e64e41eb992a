#include "fonts/pdf/ToUnicode.h"

#include "base/Tracer.h"

#include <cstdlib>
#include <cstring>

namespace PDF
{

namespace
{

constexpr unsigned g_nMaxCode = 0xFFFF;

// The unit of a code that so many codes come before, in a range.
bool CanStep(char16_t nUnit, std::uint32_t nStep)
{
  return nStep <= 0xFFFFU - nUnit;
}

void TraceConflict(unsigned nFirst, unsigned nLast, std::span<const char16_t> old,
                   std::span<const char16_t> text)
{
  if (!BSE::CTracer::IsOn())
    return;
  if (old.size() == 1 && text.size() == 1)
  {
    BSE::CTracer::Trace("D", "ToUnicode CMap", "Conflicting range 0x%04X - 0x%04X: 0x%04X vs. 0x%04X", nFirst,
                        nLast, unsigned{old[0]}, unsigned{text[0]});
    return;
  }
  wchar_t szOld[CToUnicode::g_nMaxUnits + 1] = {};
  wchar_t szText[CToUnicode::g_nMaxUnits + 1] = {};
  std::copy(old.begin(), old.end(), szOld);
  std::copy(text.begin(), text.end(), szText);
  BSE::CTracer::Trace("D", "ToUnicode CMap", "Conflicting range 0x%04X - 0x%04X: '%S' vs. '%S'", nFirst,
                      nLast, szOld, szText);
}

}  // namespace

CToUnicode::CToUnicode(const CObjectPtr& object, CFontAccount& account)
{
  BSE::CBasicArray<unsigned char> data;
  if (object.IsName("Identity") || object.IsName("Identity-H"))
    SetIdentity();
  else if (object.IsStream() && ReadStream(object, account, data, m_bComplete))
  {
    m_bComplete = m_bComplete && !object["UseCMap"];
    Parse(data.GetSpan());
  }
  else
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "ToUnicode CMap",
                          "Non standard Identity ToUnicode not implemented for encoding type.");
    m_bComplete = false;
  }
  for (const unsigned nCode : m_blanks.GetSpan())
    m_map.Add(nCode, nCode, AddText({u"", 1}));
  m_blanks.RemoveAll();
  m_map.Finish(false);
}

void CToUnicode::SetIdentity()
{
  const char16_t nFirst = 0;
  m_map.Add(0, g_nMaxCode, AddText({&nFirst, 1}));
}

BSE::CObjectPtr<CToUnicode> CToUnicode::Clone() const
{
  BSE::CObjectPtr<CToUnicode> pCopy(new CToUnicode);
  pCopy->m_map = m_map;
  pCopy->m_texts = m_texts;
  pCopy->m_bComplete = m_bComplete;
  for (int i = m_added.GetBegin(); i != m_added.GetEnd(); i = m_added.GetNext(i))
    pCopy->m_added.SetAt(m_added.GetKeyAt(i), m_added.GetAt(i));
  return pCopy;
}

unsigned CToUnicode::AddText(std::span<const char16_t> text)
{
  const auto nPlace = static_cast<unsigned>(m_texts.GetSize());
  m_texts.Add(static_cast<char16_t>(text.size()));
  m_texts.Append(text);
  return nPlace;
}

int CToUnicode::CopyText(unsigned nText, unsigned nStep, char16_t* pUnits, int nSize) const
{
  const int nLength = m_texts[static_cast<int>(nText)];
  for (int i = 0; i < nLength && i < nSize; ++i)
  {
    const unsigned nUnit = m_texts[static_cast<int>(nText) + 1 + i] + (i + 1 == nLength ? nStep : 0);
    pUnits[i] = static_cast<char16_t>(nUnit);
  }
  return nLength;
}

int CToUnicode::GetUnicode(unsigned nCode, char16_t* pUnits, int nSize) const
{
  if (const TCodeRange* pRange = m_map.Find(nCode))
    return CopyText(pRange->m_nValue, pRange->GetStep(nCode), pUnits, nSize);
  const auto nAdded = reinterpret_cast<std::uintptr_t>(m_added.Find(nCode));
  return nAdded > 0 ? CopyText(static_cast<unsigned>(nAdded - 1), 0, pUnits, nSize) : 0;
}

int CToUnicode::GetCode(char32_t nCharacter) const
{
  int nFound = -1;
  for (const TCodeRange& range : m_map.GetRanges())
  {
    if (range.m_nFirst > g_nMaxCode)
      break;
    const int nLength = m_texts[static_cast<int>(range.m_nValue)];
    const std::uint32_t nFirst =
        m_texts[static_cast<int>(range.m_nValue) + 1] + range.GetStep(range.m_nFirst);
    if (nLength == 1 && nCharacter >= nFirst && nCharacter - nFirst <= range.m_nLast - range.m_nFirst)
      return static_cast<int>(range.m_nFirst + (nCharacter - nFirst));
    // Beyond the first plane the last of two units counts up.
    if (nLength == 2 && nCharacter > 0xFFFF)
      for (std::uint32_t nCode = range.m_nFirst; nCode <= range.m_nLast && nCode <= g_nMaxCode; ++nCode)
        if (GetUnicode32(nCode) == nCharacter)
          return static_cast<int>(nCode);
  }
  for (int i = m_added.GetBegin(); nFound < 0 && i != m_added.GetEnd(); i = m_added.GetNext(i))
    if (GetUnicode32(m_added.GetKeyAt(i)) == nCharacter)
      nFound = static_cast<int>(m_added.GetKeyAt(i));
  return nFound;
}

void CToUnicode::AddParsed(const DOC::TCMapCode& low, const DOC::TCMapCode& high,
                           std::span<const char16_t> text)
{
  if (text.empty())
    return;
  if (text.size() > g_nMaxUnits)
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "ToUnicode CMap", "Unicode string too long (%d).",
                          static_cast<int>(text.size()));
    m_bComplete = false;
    text = text.first(g_nMaxUnits);
  }
  // Longer codes are found, but cannot be written.
  m_bComplete = m_bComplete && high.m_nCode <= g_nMaxCode;
  std::uint32_t nLast = high.m_nCode;
  if (!CanStep(text.back(), nLast - low.m_nCode))
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "ToUnicode CMap", "Unicode overflow");
    nLast = low.m_nCode + (0xFFFFU - text.back());
    // Many ranges are as wide as codes are, and end beyond the characters.
  }
  if (nLast == low.m_nCode && text.size() == 1 && text[0] == 0)
    m_blanks.Add(nLast);
  else
    m_map.Add(low.m_nCode, nLast, AddText(text));
}

void CToUnicode::OnTextRange(const DOC::TCMapCode& low, const DOC::TCMapCode& high,
                             std::span<const unsigned char> text)
{
  BSE::CBasicArray<char16_t> units;
  units.Reserve(static_cast<int>(text.size() / 2 + 1));
  if (text.size() == 1)
    units.Add(text[0]);
  for (std::size_t i = 0; i + 1 < text.size(); i += 2)
    units.Add(static_cast<char16_t>(text[i] << 8 | text[i + 1]));
  AddParsed(low, high, units.GetSpan());
}

void CToUnicode::OnNameRange(const DOC::TCMapCode& low, const DOC::TCMapCode& high, const char* szName)
{
  char16_t units[g_nMaxUnits];
  const int nUnits = GetGlyphText(szName, units, g_nMaxUnits);
  m_bComplete = m_bComplete && nUnits > 0 && nUnits <= g_nMaxUnits;
  AddParsed(low, high, {units, static_cast<std::size_t>(std::min(nUnits, g_nMaxUnits))});
}

// Some writers say it so.
void CToUnicode::OnCIDRange(const DOC::TCMapCode& low, const DOC::TCMapCode& high, int nCID)
{
  const auto nUnit = static_cast<char16_t>(nCID);
  if (nCID <= 0xFFFF)
    AddParsed(low, high, {&nUnit, 1});
}

void CToUnicode::OnUseCMap(const char* szName)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("D", "ToUnicode CMap", "Operator usecmap: %s", szName);
  m_bComplete = false;
}

bool CToUnicode::AddMapping(unsigned nFirst, unsigned nLast, std::span<const char16_t> text)
{
  if (text.empty() || text.size() > g_nMaxUnits || nLast > g_nMaxCode || nLast < nFirst ||
      !CanStep(text.back(), nLast - nFirst))
    return false;
  char16_t units[g_nMaxUnits];
  char16_t old[g_nMaxUnits];
  std::copy(text.begin(), text.end(), units);
  for (unsigned nCode = nFirst; nCode <= nLast; ++nCode, ++units[text.size() - 1])
  {
    const int nOld = GetUnicode(nCode, old, g_nMaxUnits);
    const std::span<const char16_t> now(units, text.size());
    const std::span<const char16_t> before(old, static_cast<std::size_t>(nOld));
    if (nOld == 0)
      m_added.SetAt(nCode, reinterpret_cast<char*>(static_cast<std::uintptr_t>(AddText(now) + 1)));
    else if (!std::equal(now.begin(), now.end(), before.begin(), before.end()))
      TraceConflict(nFirst, nLast, before, now);
  }
  return true;
}

namespace
{

// Digits after a letter or a dot: the form of names that fonts without names have.
bool HasNumberForm(const char* szName, bool& bHex)
{
  static constexpr const char* szDecimal = "0123456789";
  if (!szName[0] || !std::strchr("CcGg.", szName[0]))
    return false;
  const std::size_t nDigits = std::strspn(szName + 1, "0123456789ABCDEFabcdef");
  bHex = bHex || std::strspn(szName + 1, szDecimal) != nDigits;
  return nDigits > 0 && szName[1 + nDigits] == 0;
}

// 0 for a number that is no character of the first plane.
char16_t GetNumber(const char* szName, bool bHex)
{
  if (std::strlen(szName) > 6)
    return 0;
  const unsigned long nValue = std::strtoul(szName + 1, nullptr, bHex ? 16 : 10);
  return nValue <= 0xFFFF && !(nValue >= 0xD800 && nValue < 0xE000) ? static_cast<char16_t>(nValue) : u'\0';
}

bool IsUnknown(const char* szName)
{
  return szName && std::strcmp(szName, ".notdef") != 0 && GetGlyphText(szName, nullptr, 0) == 0;
}

}  // namespace

CToUnicodeGuesser::CToUnicodeGuesser(const BSE::CObjectPtr<CToUnicode>& pToUnicode,
                                     const BSE::CObjectPtr<CEncoding>& pEncoding)
    : m_pToUnicode(pToUnicode), m_pEncoding(pEncoding)
{
  if (pEncoding && pEncoding->IsSimple())
    GuessNumbers();
}

void CToUnicodeGuesser::GuessNumbers()
{
  bool bHex = false;
  std::size_t nLength = 0;
  for (unsigned i = 0; i < 256; ++i)
  {
    const char* szName = m_pEncoding->GetGlyphName(i);
    if (!IsUnknown(szName))
      continue;
    if (!HasNumberForm(szName, bHex) || (nLength != 0 && std::strlen(szName) != nLength))
      return;
    nLength = std::strlen(szName);
  }
  for (unsigned i = 0; i < 256; ++i)
    if (const char* szName = m_pEncoding->GetGlyphName(i); IsUnknown(szName))
      m_guesses[i] = GetNumber(szName, bHex);
}

int CToUnicodeGuesser::GetUnicode(unsigned nCode, char16_t* pUnits, int nSize) const
{
  if (const int nUnits = m_pToUnicode ? m_pToUnicode->GetUnicode(nCode, pUnits, nSize) : 0; nUnits > 0)
    return nUnits;
  if (const int nUnits = m_pEncoding ? m_pEncoding->GetUnicode(nCode, pUnits, nSize) : 0; nUnits > 0)
    return nUnits;
  if (nCode > 255 || m_guesses[nCode] == 0)
    return 0;
  if (nSize > 0)
    pUnits[0] = m_guesses[nCode];
  return 1;
}

int CToUnicodeGuesser::GetCode(char32_t nCharacter) const
{
  if (const int nCode = m_pToUnicode ? m_pToUnicode->GetCode(nCharacter) : -1; nCode >= 0)
    return nCode;
  for (unsigned i = 0; i < 256; ++i)
    if (GetUnicode32(i) == nCharacter)
      return static_cast<int>(i);
  return -1;
}

}  // namespace PDF
