#pragma once

namespace PDF
{

// Kinds of tokens of a PDF file or content stream. The content operators follow in the order of the keyword
// table.
enum TToken
{
  eTokenNone = 0,
  eTokenNull = 1,
  eTokenFalse = 2,
  eTokenTrue = 3,
  eTokenInteger = 4,
  eTokenReal = 5,
  eTokenString = 6,
  eTokenName = 7,
  eTokenArrayBegin = 8,
  eTokenArrayEnd = 9,
  eTokenDictionaryBegin = 10,
  eTokenDictionaryEnd = 11,
  eTokenStream = 12,
  eTokenEndStream = 13,
  eTokenR = 14,
  eTokenObj = 15,
  eTokenEndObj = 16,
  eTokenXRef = 17,
  eTokenTrailer = 18,
  eTokenStartXRef = 19,
  eTokenKeyword = 20,
  eTokenEnd = 21,
  eTokenInvalid = 22,
  eTokenFirstOperator = 23,
  eTokenLastOperator = 97
};

// Kind of a word of regular characters: a file keyword, a content operator, or eTokenKeyword for any other.
TToken FindKeyword(const char* pText, int nLength);

// Text of an operator kind, or null.
const char* GetOperatorText(int nToken);

// True for a value's first token.
inline bool BeginsValue(TToken nToken)
{
  return (nToken >= eTokenNull && nToken <= eTokenArrayBegin) || nToken == eTokenDictionaryBegin;
}

// Character classes (ISO 32000-1, 7.2.2).
inline constexpr unsigned char g_nClassRegular = 0;
inline constexpr unsigned char g_nClassSpace = 1;
inline constexpr unsigned char g_nClassDelimiter = 2;
extern const unsigned char g_characterClasses[256];

inline bool IsSpace(int c)
{
  return c >= 0 && g_characterClasses[c] == g_nClassSpace;
}
inline bool IsDelimiter(int c)
{
  return c >= 0 && g_characterClasses[c] == g_nClassDelimiter;
}
inline bool IsRegular(int c)
{
  return c >= 0 && g_characterClasses[c] == g_nClassRegular;
}

// Value of a hexadecimal digit, or -1.
inline int GetHexValue(int c)
{
  if (c >= '0' && c <= '9')
    return c - '0';
  if (c >= 'A' && c <= 'F')
    return c - 'A' + 10;
  if (c >= 'a' && c <= 'f')
    return c - 'a' + 10;
  return -1;
}

}  // namespace PDF
