#pragma once

#include "base/BasicString.h"

#include <span>

// Text in UTF-8, UTF-16, code points and the process locale's multibyte encoding. wchar_t holds code points
// (32 bits). Sequences are judged strictly: overlong forms, surrogates outside a UTF-16 pair and values above
// U+10FFFF are invalid.
namespace BSE
{

// Results of DecodeCharacter that are not code points.
inline constexpr char32_t g_nInvalidCharacter = 0xFFFFFFFFU;
inline constexpr char32_t g_nIncompleteCharacter = 0xFFFFFFFEU;

inline constexpr char32_t g_nReplacementCharacter = 0xFFFD;

// What a conversion does with an invalid sequence.
enum class TInvalidText
{
  Fail,    // no result at all
  Replace  // U+FFFD takes its place
};

// Reads the character at the beginning of a text that is not empty. nUnits becomes the units that it takes;
// for an invalid sequence those to skip, at least 1. A text that ends inside a sequence is incomplete, and
// nUnits is its length.
char32_t DecodeCharacter(std::span<const char> text, int& nUnits);
char32_t DecodeCharacter(std::span<const unsigned char> text, int& nUnits);
char32_t DecodeCharacter(std::span<const char16_t> text, int& nUnits);
char32_t DecodeCharacter(std::span<const wchar_t> text, int& nUnits);
char32_t DecodeCharacter(std::span<const char32_t> text, int& nUnits);

// Writes a valid code point at pUnits, which has room for 4 bytes, 2 UTF-16 units or 1 wide unit. Returns the
// units written; 0 for a value that is not a code point.
int EncodeCharacter(char32_t nCharacter, char* pUnits);
int EncodeCharacter(char32_t nCharacter, unsigned char* pUnits);
int EncodeCharacter(char32_t nCharacter, char16_t* pUnits);
int EncodeCharacter(char32_t nCharacter, wchar_t* pUnits);
int EncodeCharacter(char32_t nCharacter, char32_t* pUnits);

// Converts between the encodings that belong to the unit types: char is UTF-8, char16_t UTF-16, wchar_t and
// char32_t code points. With a null buffer: the units that the result needs, its terminator included. With a
// buffer of nSize units: writes as many whole characters as fit and a terminator, and returns the units
// written with the terminator. 0 for an invalid text with TInvalidText::Fail (the buffer is then empty text),
// for nSize below 1, and for a result that an int cannot count.
template <class TOut, class TIn>
int ConvertText(std::span<const TIn> text, TOut* pBuffer, int nSize,
                TInvalidText invalid = TInvalidText::Fail);

// The same into a string. False, and an empty string, for an invalid text with TInvalidText::Fail.
template <class TOut, class TIn>
bool ConvertText(std::span<const TIn> text, CBasicString<TOut>& result,
                 TInvalidText invalid = TInvalidText::Fail);

// Text ended by zero; a null text gives an empty string.
template <class TOut, class TIn>
bool ConvertText(const TIn* szText, CBasicString<TOut>& result, TInvalidText invalid = TInvalidText::Fail)
{
  const auto nLength = static_cast<std::size_t>(CBasicString<TIn>::Length(szText));
  return ConvertText(std::span<const TIn>(szText, nLength), result, invalid);
}

// Locale conversions of the C library (mbstowcs, wcstombs), in the locale that the process has set. A text
// with a character that the other side cannot express makes the result empty and gives false, as does a null
// text.
bool ConvertLocaleToUtf16(const char* szText, CStr16& result);
bool ConvertUtf16ToLocale(const char16_t* szText, CStr8& result);
bool ConvertLocaleToWide(const char* szText, CBasicString<wchar_t>& result);
bool ConvertWideToLocale(const wchar_t* szText, CStr8& result);

}  // namespace BSE
