#include "images/filters/RunLengthDecodeFilter.h"

#include "images/filters/ByteSearch.h"

#include <algorithm>
#include <cstring>

namespace BSE
{

namespace
{

constexpr int g_nEndByte = 128;
constexpr unsigned char g_nFiller = 255;

}  // namespace

bool CRunLengthDecodeFilter::StartRun()
{
  const int nLength = m_pInput->GetByte();
  if (nLength < 0 || nLength == g_nEndByte)
    return false;
  m_nRepeated = -1;
  m_nLeft = nLength + 1;
  if (nLength > g_nEndByte)
  {
    m_nLeft = 257 - nLength;
    const int nByte = m_pInput->GetByte();
    m_nRepeated = nByte < 0 ? g_nFiller : nByte;
    m_bGap = m_bGap || nByte < 0;
  }
  return true;
}

int CRunLengthDecodeFilter::DecodeBlock(std::span<unsigned char> block)
{
  std::size_t nDone = 0;
  while (nDone < block.size())
  {
    if (m_nLeft == 0 && !StartRun())
    {
      m_bEnd = true;
      break;
    }
    const std::size_t nPart = std::min(block.size() - nDone, static_cast<std::size_t>(m_nLeft));
    unsigned char* pOut = block.data() + nDone;
    std::size_t nRead = 0;
    if (m_nRepeated < 0)
    {
      nRead = static_cast<std::size_t>(m_pInput->Read(pOut, static_cast<std::int64_t>(nPart)));
      m_bGap = m_bGap || nRead < nPart;
    }
    std::memset(pOut + nRead, m_nRepeated < 0 ? g_nFiller : m_nRepeated, nPart - nRead);
    nDone += nPart;
    m_nLeft -= static_cast<int>(nPart);
  }
  return static_cast<int>(nDone);
}

bool CRunLengthDecodeFilter::SkipToEnd()
{
  if (!m_bEnd)
    SkipBehind(*m_pInput, g_nEndByte);
  m_bEnd = true;
  ReturnUnread();
  return true;
}

}  // namespace BSE
