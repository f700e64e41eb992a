// Texts of tokens are parts of the data wherever the data spell them as they are; the scanner has one buffer
// for those that must be decoded, so that no token costs memory of its own (PostScript Language Reference,
// 3.2).

#include "fonts/type1/Scanner.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace PS
{

namespace
{

bool IsSpace(int c)
{
  return c == ' ' || c == '\n' || c == '\r' || c == '\t' || c == '\f' || c == 0;
}

bool IsDelimiter(int c)
{
  return c > 0 && std::strchr("()<>[]{}/%", c) != nullptr;
}

bool IsRegular(int c)
{
  return c >= 0 && !IsSpace(c) && !IsDelimiter(c);
}

int GetDigit(int c)
{
  if (c >= '0' && c <= '9')
    return c - '0';
  if (c >= 'a' && c <= 'z')
    return c - 'a' + 10;
  return c >= 'A' && c <= 'Z' ? c - 'A' + 10 : 36;
}

}  // namespace

TToken CScanner::ReadToken()
{
  SkipSpace();
  m_nTokenOffset = m_nOffset;
  m_text = {};
  m_bCut = false;
  return m_nToken = Scan();
}

bool CScanner::HasText(const char* szText) const
{
  return m_text.size() == std::strlen(szText) && std::equal(m_text.begin(), m_text.end(), szText);
}

std::span<const unsigned char> CScanner::TakeBinary(std::int64_t n)
{
  const std::size_t nRemaining = m_data.size() - m_nOffset;
  if (n < 0 || nRemaining == 0 || std::cmp_greater(n, nRemaining - 1))
    return {};
  const auto bytes = m_data.subspan(m_nOffset + 1, static_cast<std::size_t>(n));
  m_nOffset += 1 + bytes.size();
  return bytes;
}

void CScanner::SkipSpace()
{
  for (int c = Peek(); IsSpace(c) || c == '%'; c = Peek())
  {
    if (c == '%')
      while (Peek() >= 0 && Peek() != '\n' && Peek() != '\r')
        ++m_nOffset;
    else
      ++m_nOffset;
  }
}

TToken CScanner::Scan()
{
  const int c = Peek();
  if (c < 0)
    return eTokenEnd;
  if (IsRegular(c))
    return ReadWord(eTokenName);
  ++m_nOffset;
  switch (c)
  {
  case '/':
    if (Peek() != '/')
      return ReadWord(eTokenLiteralName);
    ++m_nOffset;
    return ReadWord(eTokenImmediateName);
  case '(':
    return ReadString();
  case '{':
    return eTokenProcedureBegin;
  case '}':
    return eTokenProcedureEnd;
  case '[':
    return eTokenArrayBegin;
  case ']':
    return eTokenArrayEnd;
  case '<':
    if (Peek() == '~')
      return ReadBase85String();
    if (Peek() != '<')
      return ReadHexString();
    ++m_nOffset;
    return eTokenDictionaryBegin;
  case '>':
    if (Peek() != '>')
      return eTokenInvalid;
    ++m_nOffset;
    return eTokenDictionaryEnd;
  default:
    return eTokenInvalid;
  }
}

TToken CScanner::ReadWord(TToken nName)
{
  const std::size_t nStart = m_nOffset;
  while (IsRegular(Peek()))
    ++m_nOffset;
  m_text = m_data.subspan(nStart, m_nOffset - nStart);
  if (nName != eTokenName || !ReadNumber(m_text))
    return nName;
  return m_nToken;
}

// Sets the kind of token if the whole word is a number.
bool CScanner::ReadNumber(std::span<const unsigned char> word)
{
  const char* pBegin = reinterpret_cast<const char*>(word.data());
  const char* pEnd = pBegin + word.size();
  if (*pBegin == '+' && word.size() > 1 && pBegin[1] != '-')
    ++pBegin;
  // Words like "inf" are numbers to the library, but not to PostScript.
  const char cFirst = *pBegin == '-' && word.size() > 1 ? pBegin[1] : *pBegin;
  if (cFirst != '.' && (cFirst < '0' || cFirst > '9'))
    return false;
  int nValue = 0;
  const auto integer = std::from_chars(pBegin, pEnd, nValue);
  if (integer.ptr == pEnd && integer.ec == std::errc())
  {
    m_nInteger = nValue;
    m_dReal = nValue;
    m_nToken = eTokenInteger;
    return true;
  }
  double dValue = 0;
  const auto real = std::from_chars(pBegin, pEnd, dValue);
  if (real.ptr != pEnd || real.ec == std::errc::invalid_argument)
    return ReadRadixNumber(word);
  SetReal(dValue);
  return true;
}

bool CScanner::ReadRadixNumber(std::span<const unsigned char> word)
{
  int nBase = 0;
  std::size_t i = 0;
  for (; i < word.size() && i < 2 && word[i] >= '0' && word[i] <= '9'; ++i)
    nBase = 10 * nBase + word[i] - '0';
  if (nBase < 2 || nBase > 36 || i + 1 >= word.size() || word[i] != '#')
    return false;
  std::uint64_t nValue = 0;
  for (++i; i < word.size(); ++i)
  {
    const int nDigit = GetDigit(word[i]);
    if (nDigit >= nBase)
      return false;
    nValue = nValue * static_cast<unsigned>(nBase) + static_cast<unsigned>(nDigit);
    if (nValue > std::numeric_limits<std::uint32_t>::max())
      return false;
  }
  m_nInteger = static_cast<int>(static_cast<std::uint32_t>(nValue));
  m_dReal = m_nInteger;
  m_nToken = eTokenInteger;
  return true;
}

void CScanner::SetReal(double dValue)
{
  constexpr double dMax = std::numeric_limits<int>::max();
  m_dReal = std::isfinite(dValue) ? dValue : 0;
  m_nInteger = static_cast<int>(std::clamp(m_dReal, -dMax, dMax));
  m_nToken = eTokenReal;
}

// Most strings are parts of the data; one with an escape or a line end to change is copied.
TToken CScanner::ReadString()
{
  const std::size_t nStart = m_nOffset;
  int nDepth = 1;
  bool bOwn = false;
  m_own.Truncate(0);
  for (int c = Peek(); c >= 0; c = Peek())
  {
    nDepth += c == '(' ? 1 : (c == ')' ? -1 : 0);
    if (nDepth == 0)
      break;
    if (!bOwn && (c == '\\' || c == '\r'))
    {
      m_own.Append(m_data.subspan(nStart, m_nOffset - nStart));
      bOwn = true;
    }
    ++m_nOffset;
    if (c == '\\')
      ReadEscape();
    else if (c == '\r')
    {
      m_own.Add('\n');
      m_nOffset += Peek() == '\n' ? 1 : 0;
    }
    else if (bOwn)
      m_own.Add(static_cast<unsigned char>(c));
  }
  m_bCut = nDepth > 0;
  m_text = m_data.subspan(nStart, m_nOffset - nStart);
  m_nOffset += m_bCut ? 0 : 1;
  return bOwn ? SetOwnText() : eTokenString;
}

void CScanner::ReadEscape()
{
  const int c = Peek();
  if (c < 0)
    return;
  if (c >= '0' && c <= '7')
  {
    int nCode = 0;
    for (int i = 0; i < 3 && Peek() >= '0' && Peek() <= '7'; ++i, ++m_nOffset)
      nCode = 8 * nCode + Peek() - '0';
    m_own.Add(static_cast<unsigned char>(nCode));
    return;
  }
  ++m_nOffset;
  if (c == '\r')
    m_nOffset += Peek() == '\n' ? 1 : 0;
  if (c == '\r' || c == '\n')
    return;
  static constexpr char szLetters[] = "nrtbf";
  const char* pLetter = c > 0 ? std::strchr(szLetters, c) : nullptr;
  m_own.Add(static_cast<unsigned char>(pLetter ? "\n\r\t\b\f"[pLetter - szLetters] : c));
}

TToken CScanner::ReadHexString()
{
  m_own.Truncate(0);
  int nHigh = -1;
  int c = Peek();
  for (; c >= 0 && c != '>'; c = Peek())
  {
    ++m_nOffset;
    const int nDigit = GetDigit(c);
    if (nDigit > 15)
      continue;
    if (nHigh >= 0)
      m_own.Add(static_cast<unsigned char>(16 * nHigh + nDigit));
    nHigh = nHigh >= 0 ? -1 : nDigit;
  }
  if (nHigh >= 0)
    m_own.Add(static_cast<unsigned char>(16 * nHigh));
  m_bCut = c < 0;
  m_nOffset += m_bCut ? 0 : 1;
  return SetOwnText();
}

TToken CScanner::ReadBase85String()
{
  m_own.Truncate(0);
  unsigned char digits[5] = {};
  int nDigits = 0;
  int c = -1;
  for (++m_nOffset; (c = Peek()) >= 0 && c != '~'; ++m_nOffset)
  {
    if (c == 'z' && nDigits == 0)
      AddGroup({0, 0, 0, 0, 0}, 5);
    else if (c >= '!' && c <= 'u')
      digits[nDigits++] = static_cast<unsigned char>(c - '!');
    if (nDigits == 5)
      AddGroup(digits, std::exchange(nDigits, 0));
  }
  AddGroup(digits, nDigits);
  m_bCut = c < 0;
  m_nOffset += m_bCut ? 0 : (Peek(1) == '>' ? 2 : 1);
  return SetOwnText();
}

void CScanner::AddGroup(const unsigned char (&digits)[5], int nDigits)
{
  std::uint32_t nValue = 0;
  for (int i = 0; i < 5; ++i)
    nValue = 85 * nValue + (i < nDigits ? digits[i] : 84);
  for (int i = 1, nShift = 24; i < nDigits; ++i, nShift -= 8)
    m_own.Add(static_cast<unsigned char>(nValue >> nShift));
}

TToken CScanner::SetOwnText()
{
  m_text = m_own.GetSpan();
  return eTokenString;
}

}  // namespace PS
