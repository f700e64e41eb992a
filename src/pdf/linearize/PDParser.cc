#include "pdf/linearize/PDParser.h"

#include "base/Limits.h"
#include "pdf/linearize/PDCharacters.h"

#include <cstring>

bool PDParser::SkipSpace()
{
  while (m_nPos < m_text.size())
  {
    const unsigned char nByte = m_text[m_nPos];
    if (nByte == '%')
    {
      while (m_nPos < m_text.size() && m_text[m_nPos] != '\n' && m_text[m_nPos] != '\r')
        ++m_nPos;
      continue;
    }
    if (!IsPDSpace(nByte))
      return true;
    ++m_nPos;
  }
  return false;
}

std::size_t PDParser::FindRegularEnd(std::size_t nPos) const
{
  while (nPos < m_text.size() && IsPDRegular(m_text[nPos]))
    ++nPos;
  return nPos;
}

TPDResult PDParser::ParseNumber(std::int64_t& nValue)
{
  constexpr std::size_t nMaxDigits = 18;
  if (!SkipSpace())
    return AtEnd();
  const std::size_t nEnd = FindRegularEnd(m_nPos);
  if (nEnd == m_text.size() && !m_bFinal)
    return TPDResult::Incomplete;
  if (nEnd == m_nPos || nEnd - m_nPos > nMaxDigits)
    return TPDResult::Damaged;
  nValue = 0;
  for (; m_nPos < nEnd; ++m_nPos)
  {
    if (m_text[m_nPos] < '0' || m_text[m_nPos] > '9')
      return TPDResult::Damaged;
    nValue = nValue * 10 + (m_text[m_nPos] - '0');
  }
  return TPDResult::Complete;
}

TPDResult PDParser::ParseWord(const char* szWord)
{
  if (!SkipSpace())
    return AtEnd();
  const std::size_t nEnd = FindRegularEnd(m_nPos);
  if (nEnd == m_text.size() && !m_bFinal)
    return TPDResult::Incomplete;
  const std::size_t nLength = std::strlen(szWord);
  if (nEnd - m_nPos != nLength || std::memcmp(m_text.data() + m_nPos, szWord, nLength) != 0)
    return TPDResult::Damaged;
  m_nPos = nEnd;
  return TPDResult::Complete;
}

TPDResult PDParser::ParseValue(PDObj& object)
{
  object.m_nodes.Truncate(0);
  object.m_text = m_text;
  m_nOpen = -1;
  m_nDepth = 0;
  m_nIntegers = 0;
  do
  {
    if (!SkipSpace())
      return AtEnd();
    const TPDResult eResult = ParseNode(object);
    if (eResult != TPDResult::Complete)
      return eResult;
  } while (m_nOpen >= 0);
  return object.GetType(0) == ePDInteger ? ParseRestOfReference(object) : TPDResult::Complete;
}

// After an integer outside of containers a generation and the R may follow.
TPDResult PDParser::ParseRestOfReference(PDObj& object)
{
  const std::size_t nEnd = m_nPos;
  std::int64_t nGeneration = 0;
  SkipSpace();
  const std::size_t nStart = m_nPos;
  TPDResult eResult = ParseNumber(nGeneration);
  if (eResult == TPDResult::Complete)
  {
    Add(object, ePDInteger, nStart, m_nPos);
    m_nIntegers = 2;
    eResult = ParseWord("R");
    if (eResult == TPDResult::Complete)
    {
      --m_nPos;
      return MakeReference(object);
    }
    object.m_nodes.Truncate(1);
  }
  m_nPos = nEnd;
  return eResult == TPDResult::Incomplete ? eResult : TPDResult::Complete;
}

TPDResult PDParser::ParseNode(PDObj& object)
{
  const unsigned char nByte = m_text[m_nPos];
  const bool bDouble = m_nPos + 1 < m_text.size() && m_text[m_nPos + 1] == nByte;
  switch (nByte)
  {
  case '[':
    return Open(object, ePDArray, 1);
  case ']':
    return Close(object, ePDArray, 1);
  case '(':
    return ParseLiteral(object);
  case '<':
    return bDouble ? Open(object, ePDDictionary, 2) : ParseHex(object);
  case '>':
    if (!bDouble)
      return m_nPos + 1 == m_text.size() ? AtEnd() : TPDResult::Damaged;
    return Close(object, ePDDictionary, 2);
  case '/':
  {
    const std::size_t nEnd = FindRegularEnd(m_nPos + 1);
    if (nEnd == m_text.size() && !m_bFinal)
      return TPDResult::Incomplete;
    Add(object, ePDName, m_nPos, nEnd);
    return TPDResult::Complete;
  }
  default:
    return ParseWordNode(object);
  }
}

void PDParser::Add(PDObj& object, TPDType nType, std::size_t nStart, std::size_t nEnd)
{
  const bool bString = nType == ePDString || nType == ePDHexString;
  object.m_nodes.Add(
      {static_cast<std::uint32_t>(nStart), static_cast<std::uint32_t>(nEnd), 0, nType, false, bString});
  m_nPos = nEnd;
  m_nIntegers = nType == ePDInteger ? m_nIntegers + 1 : 0;
}

TPDResult PDParser::Open(PDObj& object, TPDType nType, std::size_t nLength)
{
  if (++m_nDepth > BSE::g_nMaxNesting)
    return TPDResult::Damaged;
  const int nNode = object.m_nodes.GetSize();
  Add(object, nType, m_nPos, m_nPos + nLength);
  object.m_nodes[nNode].m_nValue = m_nOpen;
  m_nOpen = nNode;
  return TPDResult::Complete;
}

TPDResult PDParser::Close(PDObj& object, TPDType nType, std::size_t nLength)
{
  if (m_nOpen < 0 || object.m_nodes[m_nOpen].m_nType != nType)
    return TPDResult::Damaged;
  TPDNode* pNodes = object.m_nodes.GetData();
  const int nOuter = pNodes[m_nOpen].m_nValue;
  TPDNode& container = pNodes[m_nOpen];
  const int nEnd = object.m_nodes.GetSize();
  m_nPos += nLength;
  container.m_nEnd = static_cast<std::uint32_t>(m_nPos);
  container.m_nValue = nEnd;
  int nCount = 0;
  for (int i = m_nOpen + 1; i < nEnd; ++nCount)
  {
    const TPDNode& node = pNodes[i];
    if (nType == ePDDictionary && nCount % 2 == 0 && node.m_nType != ePDName)
      return TPDResult::Damaged;
    container.m_bReferences |= node.m_bReferences;
    container.m_bStrings |= node.m_bStrings;
    i = node.m_nType >= ePDArray ? node.m_nValue : i + 1;
  }
  if (nType == ePDDictionary && nCount % 2 != 0)
    return TPDResult::Damaged;
  m_nOpen = nOuter;
  --m_nDepth;
  m_nIntegers = 0;
  return TPDResult::Complete;
}

TPDResult PDParser::ParseLiteral(PDObj& object)
{
  int nDepth = 0;
  for (std::size_t i = m_nPos; i < m_text.size(); ++i)
  {
    const unsigned char nByte = m_text[i];
    if (nByte == '\\')
      ++i;
    else if (nByte == '(')
      ++nDepth;
    else if (nByte == ')' && --nDepth == 0)
    {
      Add(object, ePDString, m_nPos, i + 1);
      return TPDResult::Complete;
    }
  }
  return AtEnd();
}

TPDResult PDParser::ParseHex(PDObj& object)
{
  const void* pEnd = std::memchr(m_text.data() + m_nPos, '>', m_text.size() - m_nPos);
  if (!pEnd)
    return AtEnd();
  const auto nEnd = static_cast<std::size_t>(static_cast<const unsigned char*>(pEnd) - m_text.data());
  Add(object, ePDHexString, m_nPos, nEnd + 1);
  return TPDResult::Complete;
}

TPDResult PDParser::ParseWordNode(PDObj& object)
{
  const std::size_t nEnd = FindRegularEnd(m_nPos);
  if (nEnd == m_text.size() && !m_bFinal)
    return TPDResult::Incomplete;
  if (nEnd == m_nPos)
    return TPDResult::Damaged;
  const std::span<const unsigned char> word = m_text.subspan(m_nPos, nEnd - m_nPos);
  const auto is = [word](const char* szWord)
  { return word.size() == std::strlen(szWord) && std::memcmp(word.data(), szWord, word.size()) == 0; };
  if (word.size() == 1 && word[0] == 'R')
    return MakeReference(object);
  bool bNumber = true;
  bool bInteger = true;
  for (std::size_t i = 0; i < word.size(); ++i)
  {
    const bool bDigit = word[i] >= '0' && word[i] <= '9';
    const bool bSign = word[i] == '-' || word[i] == '+';
    bInteger &= bDigit || (i == 0 && bSign && word.size() > 1);
    bNumber &= bDigit || bSign || word[i] == '.';
  }
  if (bNumber)
    Add(object, bInteger ? ePDInteger : ePDReal, m_nPos, nEnd);
  else if (is("true") || is("false"))
    Add(object, ePDBoolean, m_nPos, nEnd);
  else if (is("null"))
    Add(object, ePDNull, m_nPos, nEnd);
  else
    return TPDResult::Damaged;
  return TPDResult::Complete;
}

// The two integers in front become the reference; one to an impossible number becomes null.
TPDResult PDParser::MakeReference(PDObj& object)
{
  const int nCount = object.m_nodes.GetSize();
  if (m_nIntegers < 2)
    return TPDResult::Damaged;
  std::int64_t nNumber = 0;
  std::int64_t nGeneration = 0;
  const bool bPossible = object.GetInteger(nCount - 2, nNumber) &&
                         object.GetInteger(nCount - 1, nGeneration) && nNumber > 0 &&
                         nNumber <= BSE::g_nMaxObjNumber && nGeneration >= 0 && nGeneration <= 0xFFFF;
  object.m_nodes.Truncate(nCount - 1);
  TPDNode& node = object.m_nodes[nCount - 2];
  node.m_nEnd = static_cast<std::uint32_t>(++m_nPos);
  node.m_nType = bPossible ? ePDReference : ePDNull;
  node.m_nValue = bPossible ? static_cast<int>(nNumber) : 0;
  node.m_bReferences = true;
  m_nIntegers = 0;
  return TPDResult::Complete;
}
