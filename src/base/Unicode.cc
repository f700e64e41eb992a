#include "base/Unicode.h"

#include <cstdlib>
#include <limits>

namespace BSE
{

namespace
{

bool IsSurrogate(char32_t nCharacter)
{
  return nCharacter >= 0xD800 && nCharacter <= 0xDFFF;
}

bool IsCodePoint(char32_t nCharacter)
{
  return nCharacter <= 0x10FFFF && !IsSurrogate(nCharacter);
}

// The second byte alone decides about overlong forms, surrogates and values above U+10FFFF (the Unicode
// Standard, table of well-formed UTF-8 byte sequences).
bool IsSecondByte(unsigned nFirst, unsigned nSecond)
{
  switch (nFirst)
  {
  case 0xE0:
    return nSecond >= 0xA0 && nSecond <= 0xBF;
  case 0xED:
    return nSecond >= 0x80 && nSecond <= 0x9F;
  case 0xF0:
    return nSecond >= 0x90 && nSecond <= 0xBF;
  case 0xF4:
    return nSecond >= 0x80 && nSecond <= 0x8F;
  default:
    return nSecond >= 0x80 && nSecond <= 0xBF;
  }
}

template <class T>
char32_t DecodeUtf8(std::span<const T> text, int& nUnits)
{
  const unsigned nFirst = static_cast<unsigned char>(text[0]);
  nUnits = 1;
  if (nFirst < 0x80)
    return nFirst;
  // 0xC0 and 0xC1 begin overlong forms only, 0xF5 and above values beyond U+10FFFF.
  if (nFirst < 0xC2 || nFirst > 0xF4)
    return g_nInvalidCharacter;
  const int nLength = nFirst < 0xE0 ? 2 : (nFirst < 0xF0 ? 3 : 4);
  char32_t nCharacter = nFirst & (0x7FU >> nLength);
  for (; nUnits < nLength; ++nUnits)
  {
    if (static_cast<std::size_t>(nUnits) == text.size())
      return g_nIncompleteCharacter;
    const unsigned nByte = static_cast<unsigned char>(text[static_cast<std::size_t>(nUnits)]);
    if (nUnits == 1 ? !IsSecondByte(nFirst, nByte) : (nByte & 0xC0) != 0x80)
      return g_nInvalidCharacter;
    nCharacter = (nCharacter << 6) | (nByte & 0x3F);
  }
  return nCharacter;
}

template <class T>
char32_t DecodeUtf32(std::span<const T> text, int& nUnits)
{
  nUnits = 1;
  const auto nCharacter = static_cast<char32_t>(text[0]);
  return IsCodePoint(nCharacter) ? nCharacter : g_nInvalidCharacter;
}

template <class T>
int EncodeUtf8(char32_t nCharacter, T* pUnits)
{
  if (!IsCodePoint(nCharacter))
    return 0;
  if (nCharacter < 0x80)
  {
    pUnits[0] = static_cast<T>(nCharacter);
    return 1;
  }
  const int nLength = nCharacter < 0x800 ? 2 : (nCharacter < 0x10000 ? 3 : 4);
  const unsigned nMark = 0xF00U >> nLength;
  for (int i = nLength - 1; i > 0; --i, nCharacter >>= 6)
    pUnits[i] = static_cast<T>(static_cast<unsigned char>(0x80 | (nCharacter & 0x3F)));
  pUnits[0] = static_cast<T>(static_cast<unsigned char>((nMark & 0xFF) | nCharacter));
  return nLength;
}

template <class T>
int EncodeUtf32(char32_t nCharacter, T* pUnits)
{
  if (!IsCodePoint(nCharacter))
    return 0;
  pUnits[0] = static_cast<T>(nCharacter);
  return 1;
}

constexpr std::size_t g_nMaxUnits = 4;

}  // namespace

char32_t DecodeCharacter(std::span<const char> text, int& nUnits)
{
  return DecodeUtf8(text, nUnits);
}

char32_t DecodeCharacter(std::span<const unsigned char> text, int& nUnits)
{
  return DecodeUtf8(text, nUnits);
}

char32_t DecodeCharacter(std::span<const char16_t> text, int& nUnits)
{
  nUnits = 1;
  const char32_t nFirst = text[0];
  if (!IsSurrogate(nFirst))
    return nFirst;
  if (nFirst >= 0xDC00)
    return g_nInvalidCharacter;
  if (text.size() == 1)
    return g_nIncompleteCharacter;
  const char32_t nSecond = text[1];
  if (nSecond < 0xDC00 || nSecond > 0xDFFF)
    return g_nInvalidCharacter;
  nUnits = 2;
  return 0x10000 + ((nFirst - 0xD800) << 10) + (nSecond - 0xDC00);
}

char32_t DecodeCharacter(std::span<const wchar_t> text, int& nUnits)
{
  return DecodeUtf32(text, nUnits);
}

char32_t DecodeCharacter(std::span<const char32_t> text, int& nUnits)
{
  return DecodeUtf32(text, nUnits);
}

int EncodeCharacter(char32_t nCharacter, char* pUnits)
{
  return EncodeUtf8(nCharacter, pUnits);
}

int EncodeCharacter(char32_t nCharacter, unsigned char* pUnits)
{
  return EncodeUtf8(nCharacter, pUnits);
}

int EncodeCharacter(char32_t nCharacter, char16_t* pUnits)
{
  if (!IsCodePoint(nCharacter))
    return 0;
  if (nCharacter < 0x10000)
  {
    pUnits[0] = static_cast<char16_t>(nCharacter);
    return 1;
  }
  pUnits[0] = static_cast<char16_t>(0xD800 + ((nCharacter - 0x10000) >> 10));
  pUnits[1] = static_cast<char16_t>(0xDC00 + (nCharacter & 0x3FF));
  return 2;
}

int EncodeCharacter(char32_t nCharacter, wchar_t* pUnits)
{
  return EncodeUtf32(nCharacter, pUnits);
}

int EncodeCharacter(char32_t nCharacter, char32_t* pUnits)
{
  return EncodeUtf32(nCharacter, pUnits);
}

template <class TOut, class TIn>
int ConvertText(std::span<const TIn> text, TOut* pBuffer, int nSize, TInvalidText invalid)
{
  if (pBuffer && nSize < 1)
    return 0;
  const std::size_t nLimit = static_cast<std::size_t>(pBuffer ? nSize : std::numeric_limits<int>::max()) - 1;
  std::size_t nWritten = 0;
  while (!text.empty())
  {
    int nUnits = 0;
    char32_t nCharacter = DecodeCharacter(text, nUnits);
    text = text.subspan(static_cast<std::size_t>(nUnits));
    if (nCharacter >= g_nIncompleteCharacter)
    {
      if (invalid == TInvalidText::Fail)
      {
        if (pBuffer)
          pBuffer[0] = TOut{};
        return 0;
      }
      nCharacter = g_nReplacementCharacter;
    }
    TOut aUnits[g_nMaxUnits];
    const auto nNew = static_cast<std::size_t>(EncodeCharacter(nCharacter, aUnits));
    if (nNew > nLimit - nWritten)
    {
      if (!pBuffer)
        return 0;
      break;
    }
    if (pBuffer)
      std::copy_n(aUnits, nNew, pBuffer + nWritten);
    nWritten += nNew;
  }
  if (pBuffer)
    pBuffer[nWritten] = TOut{};
  return static_cast<int>(nWritten + 1);
}

template <class TOut, class TIn>
bool ConvertText(std::span<const TIn> text, CBasicString<TOut>& result, TInvalidText invalid)
{
  const int nSize = ConvertText<TOut, TIn>(text, nullptr, 0, invalid);
  CBasicArray<TOut> buffer;
  buffer.SetSize(nSize);
  if (nSize > 1)
    ConvertText<TOut, TIn>(text, buffer.GetData(), nSize, invalid);
  result.Assign(buffer.GetData(), nSize - 1);
  return nSize > 0;
}

// The pairs in use.
#define BSE_CONVERT_TEXT(TOut, TIn)                                                    \
  template int ConvertText<TOut, TIn>(std::span<const TIn>, TOut*, int, TInvalidText); \
  template bool ConvertText<TOut, TIn>(std::span<const TIn>, CBasicString<TOut>&, TInvalidText);
BSE_CONVERT_TEXT(char16_t, char)
BSE_CONVERT_TEXT(char, char16_t)
BSE_CONVERT_TEXT(wchar_t, char)
BSE_CONVERT_TEXT(char, wchar_t)
BSE_CONVERT_TEXT(wchar_t, char16_t)
BSE_CONVERT_TEXT(char16_t, wchar_t)
BSE_CONVERT_TEXT(char32_t, char)
BSE_CONVERT_TEXT(char, char32_t)
BSE_CONVERT_TEXT(char32_t, char16_t)
BSE_CONVERT_TEXT(char16_t, char32_t)
#undef BSE_CONVERT_TEXT

bool ConvertLocaleToWide(const char* szText, CBasicString<wchar_t>& result)
{
  result.RemoveAll();
  if (!szText)
    return false;
  const std::size_t nLength = std::mbstowcs(nullptr, szText, 0);
  if (nLength >= static_cast<std::size_t>(std::numeric_limits<int>::max()))
    return false;
  CBasicArray<wchar_t> buffer;
  buffer.SetSize(static_cast<int>(nLength + 1));
  if (std::mbstowcs(buffer.GetData(), szText, nLength + 1) != nLength)
    return false;
  result.Assign(buffer.GetData(), static_cast<int>(nLength));
  return true;
}

bool ConvertWideToLocale(const wchar_t* szText, CStr8& result)
{
  result.RemoveAll();
  if (!szText)
    return false;
  const std::size_t nLength = std::wcstombs(nullptr, szText, 0);
  if (nLength >= static_cast<std::size_t>(std::numeric_limits<int>::max()))
    return false;
  CBasicArray<char> buffer;
  buffer.SetSize(static_cast<int>(nLength + 1));
  if (std::wcstombs(buffer.GetData(), szText, nLength + 1) != nLength)
    return false;
  result.Assign(buffer.GetData(), static_cast<int>(nLength));
  return true;
}

bool ConvertLocaleToUtf16(const char* szText, CStr16& result)
{
  result.RemoveAll();
  CBasicString<wchar_t> wide;
  return ConvertLocaleToWide(szText, wide) && ConvertText(wide.GetSpan(), result);
}

bool ConvertUtf16ToLocale(const char16_t* szText, CStr8& result)
{
  result.RemoveAll();
  CBasicString<wchar_t> wide;
  return szText && ConvertText(szText, wide) && ConvertWideToLocale(wide.GetText(), result);
}

}  // namespace BSE
