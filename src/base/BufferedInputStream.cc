#include "base/BufferedInputStream.h"

#include "base/Checked.h"
#include "base/Memory.h"

#include <algorithm>
#include <cstring>
#include <utility>

// m_nPos is the position of the buffer's first byte in the source; the stream's own is what has been taken of
// the buffer further on. A source that can seek is positioned before each read: it may be shared, and whoever
// else reads from it moves it. A seek inside the buffer moves a pointer; any other empties the buffer. The
// end of the data and a failure are those of the last read, and a seek to another position clears them; only
// HadFailure remembers.
namespace BSE
{

CBufferedInputStream::CBufferedInputStream(IByteStream* pSource, int nCapacity)
    : CFilter(pSource), m_nCapacity(nCapacity > 0 ? nCapacity : g_nDefaultBlockSize)
{
  m_pBuffer = static_cast<unsigned char*>(Allocate(static_cast<std::size_t>(m_nCapacity)));
  m_pCurrent = m_pEnd = m_pBuffer;
  if (m_pSource)
    m_nPos = std::max<std::int64_t>(m_pSource->Tell(), 0);
}

CBufferedInputStream::CBufferedInputStream() : CFilter(nullptr), m_bOwnsBuffer(false) {}

CBufferedInputStream::~CBufferedInputStream()
{
  if (m_bOwnsBuffer)
    Free(m_pBuffer);
  Free(m_pSpare);
}

std::int64_t CBufferedInputStream::GetLength()
{
  if (m_nLength < 0 && m_pSource)
    m_nLength = m_pSource->GetLength();
  return m_nLength;
}

void CBufferedInputStream::Drop(std::int64_t nPos)
{
  m_nPos = nPos;
  m_pCurrent = m_pEnd = m_pBuffer;
  m_bEnd = m_bFailed = false;
}

void CBufferedInputStream::Invalidate()
{
  if (!m_pSource)
    return;
  Drop(Tell());
  m_nLength = -1;
}

std::int64_t CBufferedInputStream::ReadSource(unsigned char* pBuffer, std::int64_t n)
{
  if (m_bEnd || !m_pSource)
  {
    m_bEnd = true;
    return 0;
  }
  const std::int64_t nNext = m_nPos + (m_pEnd - m_pBuffer);
  std::int64_t nRead = -1;
  if (!m_pSource->IsSeekable() || m_pSource->Seek(nNext))
    nRead = m_pSource->ReadEx(pBuffer, n);
  m_bFailed = nRead < 0;
  m_bHadFailure = m_bHadFailure || m_bFailed;
  m_bEnd = nRead <= 0;
  if (m_bEnd)
    return 0;
  m_nPos = nNext;
  return nRead;
}

bool CBufferedInputStream::Fill()
{
  if (m_pCurrent != m_pEnd)
    return true;
  // Filters may write to the room they are given though they deliver nothing, and what is buffered stays
  // then.
  const bool bSpare = m_pEnd != m_pBuffer && !m_bEnd && m_pSource;
  if (bSpare && !m_pSpare)
    m_pSpare = static_cast<unsigned char*>(Allocate(static_cast<std::size_t>(m_nCapacity)));
  const std::int64_t nRead = ReadSource(bSpare ? m_pSpare : m_pBuffer, m_nCapacity);
  if (nRead <= 0)
    return false;
  if (bSpare)
    std::swap(m_pBuffer, m_pSpare);
  m_pCurrent = m_pBuffer;
  m_pEnd = m_pBuffer + nRead;
  return true;
}

std::int64_t CBufferedInputStream::Read(unsigned char* pBuffer, std::int64_t n)
{
  if (!pBuffer || n <= 0)
    return 0;
  std::int64_t nDone = 0;
  while (nDone < n)
  {
    if (m_pCurrent == m_pEnd && n - nDone >= m_nCapacity && m_bOwnsBuffer)
    {
      // A large rest goes straight to the caller; the buffer stays empty after it.
      const std::int64_t nRead = ReadSource(pBuffer + nDone, n - nDone);
      if (nRead <= 0)
        break;
      Drop(m_nPos + nRead);
      nDone += nRead;
      continue;
    }
    if (m_pCurrent == m_pEnd && !Fill())
      break;
    const std::int64_t nCopy = std::min<std::int64_t>(n - nDone, m_pEnd - m_pCurrent);
    std::memcpy(pBuffer + nDone, m_pCurrent, static_cast<std::size_t>(nCopy));
    m_pCurrent += nCopy;
    nDone += nCopy;
  }
  return nDone;
}

std::int64_t CBufferedInputStream::ReadEx(unsigned char* pBuffer, std::int64_t n)
{
  const std::int64_t nRead = Read(pBuffer, n);
  return nRead == 0 && n > 0 && m_bFailed ? -1 : nRead;
}

std::int64_t CBufferedInputStream::Write(const unsigned char*, std::int64_t)
{
  return RefuseWrite();
}

bool CBufferedInputStream::Skip(std::int64_t n)
{
  if (n < 0)
    return Seek(-1);
  std::int64_t nTarget = 0;
  if (!CheckedAdd(Tell(), n, nTarget))
    return false;
  if (n > m_pEnd - m_pCurrent && IsSeekable())
    return Seek(nTarget) && Tell() == nTarget;
  while (n > m_pEnd - m_pCurrent)
  {
    n -= m_pEnd - m_pCurrent;
    m_pCurrent = m_pEnd;
    if (!Fill())
      return false;
  }
  m_pCurrent += n;
  return true;
}

bool CBufferedInputStream::SkipToSourceEnd()
{
  do
    m_pCurrent = m_pEnd;
  while (Fill());
  return !m_bFailed;
}

bool CBufferedInputStream::Seek(std::int64_t nPos)
{
  if (nPos == Tell())
    return true;
  if (nPos == 0)
    return Rewind();
  if (nPos < 0)
  {
    if (GetLength() < 0 || !IsSeekable())
      return SkipToSourceEnd() && (nPos == -1 || Seek(std::max<std::int64_t>(Tell() + 1 + nPos, 0)));
    nPos = std::max<std::int64_t>(m_nLength + 1 + nPos, 0);
  }
  if (nPos >= m_nPos && nPos <= m_nPos + (m_pEnd - m_pBuffer))
  {
    m_pCurrent = m_pBuffer + (nPos - m_nPos);
    m_bEnd = m_bFailed = false;
    return true;
  }
  if (!IsSeekable())
  {
    if (nPos < Tell() && !Rewind())
      return false;
    return Skip(nPos - Tell()) || !m_bFailed;
  }
  // The source may have grown since it was asked for its length.
  if (nPos > GetLength())
    m_nLength = m_pSource->GetLength();
  Drop(m_nLength >= 0 ? std::min(nPos, m_nLength) : nPos);
  return Fill() || !m_bFailed;
}

bool CBufferedInputStream::Rewind()
{
  if (m_nPos == 0)
  {
    m_pCurrent = m_pBuffer;
    m_bEnd = m_bFailed = false;
    return true;
  }
  Drop(0);
  if (!m_pSource || m_pSource->IsSeekable() || m_pSource->Rewind())
    return true;
  m_bEnd = m_bFailed = true;
  return false;
}

CMemoryInputStream::CMemoryInputStream(const void* pData, std::int64_t nLength)
{
  // The block is only read: nothing of the base writes to a buffer that it does not own.
  m_pBuffer = static_cast<unsigned char*>(const_cast<void*>(pData));
  m_pCurrent = m_pBuffer;
  m_pEnd = m_pBuffer + (pData ? std::max<std::int64_t>(nLength, 0) : 0);
}

bool CMemoryInputStream::Fill()
{
  m_bEnd = m_pCurrent == m_pEnd;
  return !m_bEnd;
}

bool CMemoryInputStream::Rewind()
{
  m_pCurrent = m_pBuffer;
  m_bEnd = false;
  return true;
}

bool CMemoryInputStream::Seek(std::int64_t nPos)
{
  const std::int64_t nLength = m_pEnd - m_pBuffer;
  nPos = nPos < 0 ? std::max<std::int64_t>(nLength + 1 + nPos, 0) : std::min(nPos, nLength);
  m_pCurrent = m_pBuffer + nPos;
  m_bEnd = false;
  return true;
}

bool CMemoryInputStream::Skip(std::int64_t n)
{
  const std::int64_t nLeft = m_pEnd - m_pCurrent;
  const bool bInside = n <= nLeft;
  m_pCurrent += n < 0 || !bInside ? nLeft : n;
  return bInside;
}

IStreamBase<unsigned char>* CMemoryInputStream::Dup()
{
  auto* pDup = new CMemoryInputStream(m_pBuffer, m_pEnd - m_pBuffer);
  pDup->m_pCurrent = m_pCurrent;
  return pDup;
}

}  // namespace BSE
