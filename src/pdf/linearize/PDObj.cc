#include "pdf/linearize/PDObj.h"

#include "pdf/linearize/PDCharacters.h"

#include <charconv>

namespace
{

// The byte of a name at i, which moves to the next one.
unsigned char TakeNameByte(std::span<const unsigned char> text, std::size_t& i)
{
  const unsigned char nByte = text[i++];
  if (nByte != '#' || i + 1 >= text.size() || GetPDHexDigit(text[i]) < 0 || GetPDHexDigit(text[i + 1]) < 0)
    return nByte;
  i += 2;
  return static_cast<unsigned char>(GetPDHexDigit(text[i - 2]) << 4 | GetPDHexDigit(text[i - 1]));
}

}  // namespace

std::span<const unsigned char> PDObj::GetText(int nNode) const
{
  if (nNode < 0 || nNode >= m_nodes.GetSize())
    return {};
  const TPDNode& node = m_nodes[nNode];
  return m_text.subspan(node.m_nStart, node.m_nEnd - node.m_nStart);
}

int PDObj::Find(int nDictionary, const char* szKey) const
{
  if (GetType(nDictionary) != ePDDictionary)
    return -1;
  const int nEnd = GetNext(nDictionary);
  for (int nKey = nDictionary + 1; nKey < nEnd; nKey = GetNext(nKey + 1))
  {
    if (IsName(nKey, szKey))
      return nKey + 1;
  }
  return -1;
}

bool PDObj::IsName(int nNode, const char* szName) const
{
  if (GetType(nNode) != ePDName)
    return false;
  const std::span<const unsigned char> text = GetText(nNode).subspan(1);
  std::size_t i = 0;
  for (; i < text.size() && *szName; ++szName)
  {
    if (TakeNameByte(text, i) != static_cast<unsigned char>(*szName))
      return false;
  }
  return i == text.size() && !*szName;
}

void PDObj::DecodeName(int nNode, BSE::CBasicArray<char>& name) const
{
  name.Truncate(0);
  if (GetType(nNode) != ePDName)
    return;
  const std::span<const unsigned char> text = GetText(nNode).subspan(1);
  for (std::size_t i = 0; i < text.size();)
    name.Add(static_cast<char>(TakeNameByte(text, i)));
  name.Add(0);
}

bool PDObj::HoldsName(int nNode, const char* szName) const
{
  const int nEnd = nNode < 0 ? nNode : GetNext(nNode);
  for (int i = nNode; i < nEnd; ++i)
  {
    if (IsName(i, szName))
      return true;
  }
  return false;
}

bool PDObj::GetInteger(int nNode, std::int64_t& nValue) const
{
  if (GetType(nNode) != ePDInteger)
    return false;
  const std::span<const unsigned char> text = GetText(nNode);
  const auto* pFirst = reinterpret_cast<const char*>(text.data());
  const auto* pEnd = pFirst + text.size();
  if (pFirst != pEnd && *pFirst == '+')
    ++pFirst;
  const auto [pStop, eError] = std::from_chars(pFirst, pEnd, nValue);
  return eError == std::errc() && pStop == pEnd;
}

int PDObj::CountItems(int nNode) const
{
  if (!IsContainer(nNode))
    return 0;
  const int nEnd = GetNext(nNode);
  int nCount = 0;
  for (int i = nNode + 1; i < nEnd; i = GetNext(i))
    ++nCount;
  return GetType(nNode) == ePDDictionary ? nCount / 2 : nCount;
}

namespace
{

void DecodeHex(std::span<const unsigned char> text, BSE::CBasicArray<unsigned char>& bytes)
{
  int nHigh = -1;
  for (const unsigned char nByte : text)
  {
    const int nDigit = GetPDHexDigit(nByte);
    if (nDigit < 0)
      continue;
    if (nHigh < 0)
    {
      nHigh = nDigit;
      continue;
    }
    bytes.Add(static_cast<unsigned char>(nHigh << 4 | nDigit));
    nHigh = -1;
  }
  if (nHigh >= 0)
    bytes.Add(static_cast<unsigned char>(nHigh << 4));
}

// The byte after a backslash at i, which moves to the last byte used; -1 for a line that goes on.
int DecodeEscape(std::span<const unsigned char> text, std::size_t& i)
{
  const unsigned char nByte = text[i];
  switch (nByte)
  {
  case 'n':
    return '\n';
  case 'r':
    return '\r';
  case 't':
    return '\t';
  case 'b':
    return '\b';
  case 'f':
    return '\f';
  case '\n':
    return -1;
  case '\r':
    if (i + 1 < text.size() && text[i + 1] == '\n')
      ++i;
    return -1;
  default:
    break;
  }
  if (nByte < '0' || nByte > '7')
    return nByte;
  int nValue = nByte - '0';
  for (int n = 0; n < 2 && i + 1 < text.size() && text[i + 1] >= '0' && text[i + 1] <= '7'; ++n)
    nValue = nValue * 8 + (text[++i] - '0');
  return nValue & 0xFF;
}

void DecodeLiteral(std::span<const unsigned char> text, BSE::CBasicArray<unsigned char>& bytes)
{
  for (std::size_t i = 0; i < text.size(); ++i)
  {
    int nByte = text[i];
    if (nByte == '\\')
    {
      if (++i >= text.size())
        return;
      nByte = DecodeEscape(text, i);
    }
    else if (nByte == '\r')
    {
      if (i + 1 < text.size() && text[i + 1] == '\n')
        ++i;
      nByte = '\n';
    }
    if (nByte >= 0)
      bytes.Add(static_cast<unsigned char>(nByte));
  }
}

}  // namespace

void PDObj::DecodeString(int nNode, BSE::CBasicArray<unsigned char>& bytes) const
{
  bytes.Truncate(0);
  const std::span<const unsigned char> text = GetText(nNode);
  if (text.size() < 2)
    return;
  const std::span<const unsigned char> inner = text.subspan(1, text.size() - 2);
  if (GetType(nNode) == ePDHexString)
    DecodeHex(inner, bytes);
  else if (GetType(nNode) == ePDString)
    DecodeLiteral(inner, bytes);
}
