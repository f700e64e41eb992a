// Searching and line reading of CScanner.

#include "pdf/Scanner.h"

#include <algorithm>

namespace PDF
{

std::int64_t CScanner::SkipStreamEol()
{
  m_bStreamEolOk = false;
  int c = m_pStream->PeekByte();
  bool bSpace = false;
  if (c == ' ')
  {
    // A blank belongs to the separator only with an end of line after it.
    m_pStream->GetByte();
    c = m_pStream->PeekByte();
    if (c != '\r' && c != '\n')
    {
      m_pStream->Seek(m_pStream->Tell() - 1);
      return m_pStream->Tell();
    }
    bSpace = true;
  }
  if (c == '\n')
  {
    m_pStream->GetByte();
    m_bStreamEolOk = m_bStrict && !bSpace;
  }
  else if (c == '\r')
  {
    m_pStream->GetByte();
    if (m_pStream->PeekByte() == '\n')
    {
      m_pStream->GetByte();
      m_bStreamEolOk = m_bStrict && !bSpace;
    }
  }
  return m_pStream->Tell();
}

bool CScanner::IsEndOfData()
{
  const std::int64_t nBehind = m_pStream->Tell();
  char aWord[6] = {};
  const std::int64_t nRead = m_pStream->ReadFully(reinterpret_cast<unsigned char*>(aWord), sizeof(aWord));
  bool bEnd = nRead == sizeof(aWord) && std::memcmp(aWord, "stream", sizeof(aWord)) == 0;
  if (!bEnd && nRead >= 3 && std::memcmp(aWord, "obj", 3) == 0)
  {
    m_pStream->Seek(nBehind + 3);
    bEnd = IsBetweenObjects();
  }
  if (!bEnd)
    m_pStream->Seek(nBehind);
  return bEnd;
}

// Nothing but the next object, cross-reference data or the end of the file follows an object: the word alone
// may be in the data of a stream.
bool CScanner::IsBetweenObjects()
{
  if (!IsSpace(m_pStream->PeekByte()))
    return m_pStream->PeekByte() < 0;
  while (IsSpace(m_pStream->PeekByte()))
    m_pStream->GetByte();
  const int c = m_pStream->PeekByte();
  if (c < '0' || c > '9')
    return c < 0 || FollowsKeyword("xref") || FollowsKeyword("trailer") || FollowsKeyword("startxref");
  for (int i = 0; i < 2; ++i)
  {
    const int nFirst = m_pStream->PeekByte();
    if (nFirst < '0' || nFirst > '9')
      return false;
    while (m_pStream->PeekByte() >= '0' && m_pStream->PeekByte() <= '9')
      m_pStream->GetByte();
    while (IsSpace(m_pStream->PeekByte()))
      m_pStream->GetByte();
  }
  return FollowsKeyword("obj");
}

// The position stays where the word does not follow.
bool CScanner::FollowsKeyword(const char* szWord)
{
  const std::int64_t nStart = m_pStream->Tell();
  const char* sz = szWord;
  while (*sz != '\0' && m_pStream->GetByte() == static_cast<unsigned char>(*sz))
    ++sz;
  if (*sz == '\0')
    return true;
  m_pStream->Seek(nStart);
  return false;
}

std::int64_t CScanner::FindEndStream()
{
  const std::int64_t nStart = m_pStream->Tell();
  std::int64_t nFound = -1;
  do
  {
    nFound = FindForward("end");
    if (nFound < 0)
    {
      m_pStream->Seek(-1);
      return m_pStream->Tell();
    }
  } while (!IsEndOfData());
  std::int64_t nEnd = nFound;
  const int nTail = static_cast<int>(std::min<std::int64_t>(2, nFound - nStart));
  unsigned char aTail[2] = {};
  if (nTail > 0 && m_pStream->Seek(nFound - nTail) && m_pStream->ReadFully(aTail, nTail) == nTail)
  {
    const unsigned char nLast = aTail[nTail - 1];
    if (nLast == '\r' || nLast == '\n')
      --nEnd;
    if (nLast == '\n' && nTail == 2 && aTail[0] == '\r')
      --nEnd;
  }
  m_pStream->Seek(nEnd);
  return nEnd;
}

std::int64_t CScanner::FindForward(const char* szText)
{
  const auto nLength = static_cast<int>(std::strlen(szText));
  // Whole blocks are searched for the first byte; only a candidate is compared byte by byte.
  for (;;)
  {
    std::span<const unsigned char> block = m_pStream->GetBuffered();
    if (block.empty())
    {
      if (!m_pStream->Fill())
        return -1;
      continue;
    }
    const void* pHit = std::memchr(block.data(), szText[0], block.size());
    if (!pHit)
    {
      m_pStream->Consume(block.size());
      continue;
    }
    m_pStream->Consume(static_cast<std::size_t>(static_cast<const unsigned char*>(pHit) - block.data()));
    const std::int64_t nPos = m_pStream->Tell();
    int i = 0;
    while (i < nLength && m_pStream->GetByte() == static_cast<unsigned char>(szText[i]))
      ++i;
    if (i == nLength)
      return nPos;
    if (!m_pStream->Seek(nPos + 1) || m_pStream->Tell() != nPos + 1)
      return -1;
  }
}

std::int64_t CScanner::FindBackward(const char* szText)
{
  constexpr int g_nChunk = 1024;
  const auto nLength = static_cast<int>(std::strlen(szText));
  unsigned char aChunk[g_nChunk + 32];
  std::int64_t nEnd = m_pStream->Tell();
  while (nEnd >= nLength)
  {
    const std::int64_t nStart = std::max<std::int64_t>(0, nEnd - g_nChunk);
    if (!m_pStream->Seek(nStart))
      return -1;
    const auto nRead = static_cast<int>(m_pStream->ReadFully(aChunk, nEnd - nStart));
    for (int i = nRead - nLength; i >= 0; --i)
    {
      if (std::memcmp(aChunk + i, szText, static_cast<std::size_t>(nLength)) != 0)
        continue;
      m_pStream->Seek(nStart + i);
      return nStart + i;
    }
    if (nStart == 0)
      break;
    // The next chunk overlaps, so that a text across the border is found.
    nEnd = nStart + nLength - 1;
  }
  return -1;
}

bool CScanner::ReadLine(char* pBuffer, int nSize)
{
  int n = 0;
  int c = m_pStream->GetByte();
  if (c < 0)
    return false;
  while (c >= 0 && c != '\r' && c != '\n')
  {
    if (n < nSize - 1)
      pBuffer[n++] = static_cast<char>(c);
    c = m_pStream->GetByte();
  }
  if (c == '\r' && m_pStream->PeekByte() == '\n')
    m_pStream->GetByte();
  pBuffer[n] = '\0';
  return true;
}

}  // namespace PDF
