#pragma once

#include <array>

// Character classes of PDF syntax (ISO 32000-1, 7.2.2).
enum TPDCharacter : unsigned char
{
  ePDRegular,
  ePDSpace,
  ePDDelimiter
};

inline constexpr std::array<TPDCharacter, 256> g_pdCharacters = []
{
  std::array<TPDCharacter, 256> classes{};
  for (const char c : {'\0', '\t', '\n', '\f', '\r', ' '})
    classes[static_cast<unsigned char>(c)] = ePDSpace;
  for (const char c : {'(', ')', '<', '>', '[', ']', '{', '}', '/', '%'})
    classes[static_cast<unsigned char>(c)] = ePDDelimiter;
  return classes;
}();

inline bool IsPDSpace(unsigned char nByte)
{
  return g_pdCharacters[nByte] == ePDSpace;
}
inline bool IsPDRegular(unsigned char nByte)
{
  return g_pdCharacters[nByte] == ePDRegular;
}

// 0 to 15, or -1.
inline int GetPDHexDigit(unsigned char nByte)
{
  if (nByte >= '0' && nByte <= '9')
    return nByte - '0';
  const int nLower = nByte | 0x20;
  return nLower >= 'a' && nLower <= 'f' ? nLower - 'a' + 10 : -1;
}
