#include "api/TextArgument.h"

#include "base/Unicode.h"

#include <cstdlib>

namespace API
{

namespace
{

constexpr std::size_t g_nConversionFailed = static_cast<std::size_t>(-1);

}  // namespace

CLocaleArgument::CLocaleArgument(const char16_t* szText)
{
  if (szText == nullptr)
    return;
  // No more than g_nShort units are looked at before the length is known to be ordinary.
  wchar_t szWide[g_nShort];
  int nLength = 0;
  while (nLength < g_nShort && szText[nLength] != 0)
    ++nLength;
  const std::span<const char16_t> text(szText, static_cast<std::size_t>(nLength));
  const bool bShort = nLength < g_nShort && BSE::ConvertText(text, szWide, g_nShort) > 0;
  // Measured first: a character that does not fit as a whole would end the result without a sign.
  const std::size_t nBytes = bShort ? std::wcstombs(nullptr, szWide, 0) : g_nConversionFailed;
  if (nBytes < g_nShort)
  {
    std::wcstombs(m_szShort, szWide, g_nShort);
    m_szText = m_szShort;
  }
  else
  {
    BSE::ConvertUtf16ToLocale(szText, m_long);
    m_szText = m_long.GetText();
  }
}

CUtf16Argument::CUtf16Argument(const char* szText)
{
  if (szText == nullptr)
    return;
  wchar_t szWide[g_nShort];
  const std::size_t nCharacters = std::mbstowcs(szWide, szText, g_nShort);
  if (nCharacters < g_nShort)
  {
    const std::span<const wchar_t> wide(szWide, nCharacters);
    const int nUnits = BSE::ConvertText<char16_t>(wide, nullptr, 0);
    if (nUnits > 0 && nUnits <= g_nShort)
    {
      BSE::ConvertText(wide, m_szShort, g_nShort);
      m_szText = m_szShort;
      return;
    }
  }
  BSE::ConvertLocaleToUtf16(szText, m_long);
  m_szText = m_long.GetText();
}

}  // namespace API
