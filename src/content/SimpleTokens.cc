// What CContentParserBase reads without its scanner: tokens that are in the buffer as a whole, in the form
// that nearly all have. Each gives what the scanner would give.

#include "content/ContentParserBase.h"

namespace PDF
{

namespace
{

constexpr double g_powersOfTen[] = {1,   1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                    1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

// Digits whose value is exact in a double.
constexpr std::size_t g_nMaxDigits = 15;

}  // namespace

bool CContentParserBase::ReadSimpleToken(TOperand& operand, int& nToken)
{
  std::span<const unsigned char> ahead = m_pContent->GetBuffered();
  std::size_t nSpace = 0;
  while (nSpace < ahead.size() && g_characterClasses[ahead[nSpace]] == g_nClassSpace)
    ++nSpace;
  m_pContent->Consume(nSpace);
  ahead = ahead.subspan(nSpace);
  // One byte more than a token is needed to see its end.
  if (ahead.size() < 2)
    return false;
  const unsigned char c = ahead[0];
  if ((c >= '0' && c <= '9') || c == '-' || c == '.')
  {
    nToken = eTokenInteger;
    if (!ReadSimpleNumber(ahead, operand))
      return false;
    nToken = operand.m_nType;
    return true;
  }
  if (IsRegular(c))
    return ReadSimpleOperator(ahead, nToken);
  switch (c)
  {
  case '/':
    nToken = eTokenName;
    return ReadSimpleName(ahead, operand);
  case '(':
    nToken = eTokenString;
    return ReadSimpleString(ahead, operand);
  case '<':
    if (ahead[1] == '<')
      return ReadSimpleBracket(ahead, nToken);
    nToken = eTokenString;
    return ReadSimpleHex(ahead, operand);
  default:
    return ReadSimpleBracket(ahead, nToken);
  }
}

bool CContentParserBase::ReadSimpleBracket(std::span<const unsigned char> ahead, int& nToken)
{
  std::size_t nLength = 1;
  switch (ahead[0])
  {
  case '[':
    nToken = eTokenArrayBegin;
    break;
  case ']':
    nToken = eTokenArrayEnd;
    break;
  case '<':
  case '>':
    nLength = 2;
    if (ahead[1] != ahead[0])
      return false;
    nToken = ahead[0] == '<' ? eTokenDictionaryBegin : eTokenDictionaryEnd;
    break;
  default:
    return false;
  }
  m_pContent->Consume(nLength);
  return true;
}

bool CContentParserBase::ReadSimpleNumber(std::span<const unsigned char> ahead, TOperand& operand)
{
  const bool bNegative = ahead[0] == '-';
  std::size_t nPos = bNegative ? 1 : 0;
  std::int64_t nMantissa = 0;
  const std::size_t nStart = nPos;
  std::size_t nPoint = 0;
  for (; nPos < ahead.size(); ++nPos)
  {
    const unsigned nDigit = ahead[nPos] - unsigned{'0'};
    if (nDigit <= 9)
      nMantissa = nMantissa * 10 + nDigit;
    else if (ahead[nPos] == '.' && nPoint == 0)
      nPoint = nPos + 1;
    else
      break;
    if (nPos - nStart > g_nMaxDigits)
      return false;
  }
  const std::size_t nDigits = nPos - nStart - (nPoint > 0 ? 1 : 0);
  if (nDigits == 0 || nDigits > g_nMaxDigits || !IsSimpleEnd(ahead, nPos))
    return false;
  if (bNegative)
    nMantissa = -nMantissa;
  operand.m_nType = nPoint > 0 ? eTokenReal : eTokenInteger;
  operand.m_nCount = nMantissa;
  operand.m_dNumber = static_cast<double>(nMantissa);
  if (nPoint > 0 && nPos > nPoint)
  {
    operand.m_dNumber /= g_powersOfTen[nPos - nPoint];
    operand.m_nCount = static_cast<std::int64_t>(operand.m_dNumber);
  }
  m_pContent->Consume(nPos);
  return true;
}

bool CContentParserBase::ReadSimpleOperator(std::span<const unsigned char> ahead, int& nToken)
{
  std::uint32_t nPacked = ahead[0];
  std::size_t nLength = 1;
  while (nLength < 3 && nLength < ahead.size() && IsRegular(ahead[nLength]))
  {
    nPacked |= static_cast<std::uint32_t>(ahead[nLength]) << (8 * nLength);
    ++nLength;
  }
  if (!IsSimpleEnd(ahead, nLength))
    return false;
  nToken = FindOperator(nPacked);
  if (nToken == eTokenKeyword)
    return false;
  m_pContent->Consume(nLength);
  return true;
}

bool CContentParserBase::ReadSimpleName(std::span<const unsigned char> ahead, TOperand& operand)
{
  std::size_t nPos = 1;
  while (nPos < ahead.size() && IsRegular(ahead[nPos]) && ahead[nPos] != '#')
    ++nPos;
  if (!IsSimpleEnd(ahead, nPos) || m_environment.IsStrict())
    return false;
  SetText(operand, reinterpret_cast<const char*>(ahead.data()) + 1, nPos - 1);
  m_pContent->Consume(nPos);
  return true;
}

bool CContentParserBase::ReadSimpleString(std::span<const unsigned char> ahead, TOperand& operand)
{
  std::size_t nPos = 1;
  while (nPos < ahead.size() && ahead[nPos] != ')')
  {
    if (ahead[nPos] == '\\' || ahead[nPos] == '(' || ahead[nPos] == '\r')
      return false;
    ++nPos;
  }
  if (nPos == ahead.size() || m_environment.IsStrict())
    return false;
  SetText(operand, reinterpret_cast<const char*>(ahead.data()) + 1, nPos - 1);
  m_pContent->Consume(nPos + 1);
  return true;
}

bool CContentParserBase::ReadSimpleHex(std::span<const unsigned char> ahead, TOperand& operand)
{
  if (m_environment.IsStrict())
    return false;
  const int nText = m_text.GetSize();
  std::size_t nPos = 1;
  while (nPos + 1 < ahead.size() && ahead[nPos] != '>')
  {
    const int nHigh = GetHexValue(ahead[nPos]);
    const int nLow = GetHexValue(ahead[nPos + 1]);
    if (nHigh < 0 || nLow < 0)
      break;
    m_text.Add(static_cast<char>(nHigh * 16 + nLow));
    nPos += 2;
  }
  if (nPos >= ahead.size() || ahead[nPos] != '>')
  {
    m_text.Truncate(nText);
    return false;
  }
  operand.m_nText = nText;
  operand.m_nLength = m_text.GetSize() - nText;
  m_text.Add('\0');
  m_pContent->Consume(nPos + 1);
  return true;
}

}  // namespace PDF
