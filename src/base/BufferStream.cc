#include "base/BufferStream.h"

#include <algorithm>
#include <cstring>

namespace BSE
{

CBufferStream::CBufferStream(void* pBuffer, std::int64_t nLength)
    : m_pBuffer(static_cast<unsigned char*>(pBuffer)),
      m_nLength(pBuffer ? std::max<std::int64_t>(nLength, 0) : 0)
{
}

bool CBufferStream::Rewind()
{
  m_nPos = 0;
  return true;
}

bool CBufferStream::Skip(std::int64_t n)
{
  const std::int64_t nLeft = m_nLength - m_nPos;
  const bool bInside = n <= nLeft;
  m_nPos += n < 0 || !bInside ? nLeft : n;
  return bInside;
}

bool CBufferStream::Seek(std::int64_t nPos)
{
  if (nPos < 0)
    nPos += m_nLength + 1;
  if (nPos < 0 || nPos > m_nLength)
    return false;
  m_nPos = nPos;
  return true;
}

std::int64_t CBufferStream::Read(unsigned char* pBuffer, std::int64_t n)
{
  n = std::min(n, m_nLength - m_nPos);
  if (!pBuffer || n <= 0)
    return 0;
  std::memcpy(pBuffer, m_pBuffer + m_nPos, static_cast<std::size_t>(n));
  m_nPos += n;
  return n;
}

std::int64_t CBufferStream::Write(const unsigned char* pBuffer, std::int64_t n)
{
  n = std::min(n, m_nLength - m_nPos);
  if (!pBuffer || n <= 0)
    return 0;
  std::memcpy(m_pBuffer + m_nPos, pBuffer, static_cast<std::size_t>(n));
  m_nPos += n;
  return n;
}

IStreamBase<unsigned char>* CBufferStream::Dup()
{
  auto* pDup = new CBufferStream(m_pBuffer, m_nLength);
  pDup->m_nPos = m_nPos;
  return pDup;
}

}  // namespace BSE
