#include "Text.h"

#include <algorithm>
#include <cstdio>

namespace Tool
{
namespace
{

constexpr char32_t g_nReplacement = 0xFFFD;
constexpr char32_t g_nInvalid = 0xFFFFFFFF;

// The character that starts at nAt, and moves nAt after it; g_nInvalid where there is none.
char32_t ReadUtf8(std::string_view sText, size_t& nAt)
{
  const auto nFirst = static_cast<unsigned char>(sText[nAt]);
  const size_t nLength = nFirst < 0x80   ? 1
                         : nFirst < 0xC2 ? 0
                         : nFirst < 0xE0 ? 2
                         : nFirst < 0xF0 ? 3
                         : nFirst < 0xF5 ? 4
                                         : 0;
  if (nLength == 0 || nAt + nLength > sText.size())
  {
    return g_nInvalid;
  }
  char32_t nCharacter = nLength == 1 ? nFirst : nFirst & (0x7FU >> nLength);
  for (size_t i = 1; i < nLength; ++i)
  {
    const auto nNext = static_cast<unsigned char>(sText[nAt + i]);
    if ((nNext & 0xC0) != 0x80)
    {
      return g_nInvalid;
    }
    nCharacter = nCharacter << 6 | (nNext & 0x3FU);
  }
  constexpr char32_t g_nSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool bSurrogate = nCharacter >= 0xD800 && nCharacter <= 0xDFFF;
  if (nCharacter < g_nSmallest[nLength] || nCharacter > 0x10FFFF || bSurrogate)
  {
    return g_nInvalid;
  }
  nAt += nLength;
  return nCharacter;
}

void AppendUtf8(std::string& sOut, char32_t nCharacter)
{
  if (nCharacter < 0x80)
  {
    sOut += static_cast<char>(nCharacter);
    return;
  }
  const int nMore = nCharacter < 0x800 ? 1 : nCharacter < 0x10000 ? 2 : 3;
  const unsigned nLead = nMore == 1 ? 0xC0 : nMore == 2 ? 0xE0 : 0xF0;
  sOut += static_cast<char>(nLead | nCharacter >> (6 * nMore));
  for (int i = nMore - 1; i >= 0; --i)
  {
    sOut += static_cast<char>(0x80U | (nCharacter >> (6 * i) & 0x3FU));
  }
}

}  // namespace

std::u16string ToUtf16(std::string_view sText)
{
  std::u16string sOut;
  for (size_t nAt = 0; nAt < sText.size();)
  {
    char32_t nCharacter = ReadUtf8(sText, nAt);
    if (nCharacter == g_nInvalid)
    {
      nCharacter = static_cast<unsigned char>(sText[nAt++]);
    }
    if (nCharacter < 0x10000)
    {
      sOut += static_cast<char16_t>(nCharacter);
    }
    else
    {
      sOut += static_cast<char16_t>(0xD7C0 + (nCharacter >> 10));
      sOut += static_cast<char16_t>(0xDC00 + (nCharacter & 0x3FF));
    }
  }
  return sOut;
}

std::string ToUtf8(const char16_t* szText)
{
  std::string sOut;
  for (; szText != nullptr && *szText != 0; ++szText)
  {
    char32_t nCharacter = *szText;
    if (nCharacter >= 0xD800 && nCharacter <= 0xDBFF && szText[1] >= 0xDC00 && szText[1] <= 0xDFFF)
    {
      nCharacter = 0x10000 + ((nCharacter - 0xD800) << 10) + (szText[1] - 0xDC00U);
      ++szText;
    }
    else if (nCharacter >= 0xD800 && nCharacter <= 0xDFFF)
    {
      nCharacter = g_nReplacement;
    }
    AppendUtf8(sOut, nCharacter);
  }
  return sOut;
}

std::string MakePrintable(std::string_view sText)
{
  std::string sOut;
  for (size_t nAt = 0; nAt < sText.size();)
  {
    const size_t nStart = nAt;
    const char32_t nCharacter = ReadUtf8(sText, nAt);
    const bool bControl = nCharacter < 0x20 || (nCharacter >= 0x7F && nCharacter < 0xA0);
    nAt += nCharacter == g_nInvalid ? 1 : 0;
    if (nCharacter != g_nInvalid && !bControl)
    {
      sOut += sText.substr(nStart, nAt - nStart);
      continue;
    }
    for (const char c : sText.substr(nStart, nAt - nStart))
    {
      char szCode[8];
      std::snprintf(szCode, sizeof szCode, "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
      sOut += szCode;
    }
  }
  return sOut;
}

std::string GroupDigits(unsigned long long nValue)
{
  std::string sText = std::to_string(nValue);
  for (size_t nAt = sText.size(); nAt > 3;)
  {
    nAt -= 3;
    sText.insert(nAt, 1, ',');
  }
  return sText;
}

bool IsAscii(std::string_view sText)
{
  return std::all_of(sText.begin(), sText.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

}  // namespace Tool
