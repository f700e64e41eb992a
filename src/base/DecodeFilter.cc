#include "base/DecodeFilter.h"

#include "base/Limits.h"

#include <algorithm>

namespace BSE
{

namespace
{

// Largest block that a decoder is asked for at once: counts inside a decoder fit an int.
constexpr std::int64_t g_nMaxBlock = std::int64_t{1} << 30;

}  // namespace

std::int64_t CDecodeFilter::GetSizeLimit() const
{
  const std::int64_t nEncoded = m_pSource->Tell();
  if (nEncoded < 0 || nEncoded > g_nMaxDecodedSize / g_nMaxDecodeRatio)
    return g_nMaxDecodedSize;
  return std::max(g_nFreeDecodedSize, nEncoded * g_nMaxDecodeRatio);
}

std::int64_t CDecodeFilter::Read(unsigned char* pBuffer, std::int64_t n)
{
  if (!pBuffer || !m_pSource)
    return 0;
  std::int64_t nDone = 0;
  while (nDone < n && !m_bEnd)
  {
    const std::int64_t nAllowed = GetSizeLimit() - m_nPos;
    if (nAllowed <= 0)
    {
      ReportError(m_pErrorContext, g_nSizeExceeded);
      m_bEnd = true;
      break;
    }
    const std::int64_t nBlock = std::min({n - nDone, nAllowed, g_nMaxBlock});
    const int nFilled = DecodeBlock({pBuffer + nDone, static_cast<std::size_t>(nBlock)});
    nDone += nFilled;
    m_nPos += nFilled;
    if (m_bEnd)
      ReturnUnread();
    if (nFilled <= 0)
      break;
  }
  return nDone;
}

bool HasGap(IByteStream* pData)
{
  while (const auto* pFilter = dynamic_cast<const CFilter*>(pData))
  {
    if (const auto* pDecoder = dynamic_cast<const CDecodeFilter*>(pFilter); pDecoder && pDecoder->HasGap())
      return true;
    pData = pFilter->GetSource();
  }
  return false;
}

std::int64_t CDecodeFilter::Write(const unsigned char*, std::int64_t)
{
  return RefuseWrite();
}

bool CDecodeFilter::RewindSource()
{
  return m_pSource && m_pSource->Rewind();
}

bool CDecodeFilter::Reset()
{
  m_nPos = 0;
  m_bGap = false;
  ResetState();
  m_bEnd = !RewindSource();
  return !m_bEnd;
}

bool CDecodeFilter::Skip(std::int64_t n)
{
  if (n < 0)
    return SkipToEnd();
  if (n == 0)
    return true;
  CBasicArray<unsigned char> scratch;
  scratch.SetSize(static_cast<int>(std::min<std::int64_t>(n, std::max(GetBlockSize(), 1))));
  while (n > 0)
  {
    const std::int64_t nRead = Read(scratch.GetData(), std::min<std::int64_t>(n, scratch.GetSize()));
    if (nRead <= 0)
    {
      m_bEnd = true;
      return false;
    }
    n -= nRead;
  }
  return true;
}

bool CDecodeFilter::Seek(std::int64_t nPos)
{
  if (nPos < 0 || (nPos < m_nPos && !Rewind()))
    return false;
  return Skip(nPos - m_nPos);
}

bool CDecodeFilter::SkipToEnd()
{
  CBasicArray<unsigned char> scratch;
  scratch.SetSize(std::max(GetBlockSize(), 1));
  while (Read(scratch.GetData(), scratch.GetSize()) > 0)
  {
  }
  m_bEnd = true;
  return true;
}

CBufferedDecodeFilter::CBufferedDecodeFilter(IByteStream* pSource, IErrorContext* pErrorContext)
    : CDecodeFilter(pSource, pErrorContext), m_pInput(new CBufferedInputStream(pSource))
{
}

bool CBufferedDecodeFilter::RewindSource()
{
  return m_pInput->Rewind();
}

void CBufferedDecodeFilter::ReturnUnread()
{
  if (m_pInput->IsSeekable())
    m_pSource->Seek(m_pInput->Tell());
}

}  // namespace BSE
