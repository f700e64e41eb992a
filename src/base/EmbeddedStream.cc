#include "base/EmbeddedStream.h"

#include "base/Checked.h"

#include <algorithm>

namespace BSE
{

CEmbeddedStream::CEmbeddedStream(IByteStream* pSource, std::int64_t nOffset, std::int64_t nLength)
    : CFilter(pSource), m_nOffset(std::max<std::int64_t>(nOffset, 0))
{
  m_nLength = std::max<std::int64_t>(nLength, -1);
}

std::int64_t CEmbeddedStream::GetLength()
{
  if (m_nLength >= 0 || !m_pSource)
    return m_nLength;
  const std::int64_t nSource = m_pSource->GetLength();
  return nSource < 0 ? -1 : std::max<std::int64_t>(nSource - m_nOffset, 0);
}

bool CEmbeddedStream::SeekSource()
{
  std::int64_t nTarget = 0;
  if (!m_pSource || !CheckedAdd(m_nPos, m_nOffset, nTarget))
    return false;
  // A source that only goes forward is left alone where it is right.
  return (!m_pSource->IsSeekable() && m_pSource->Tell() == nTarget) || m_pSource->Seek(nTarget);
}

bool CEmbeddedStream::Rewind()
{
  m_nPos = 0;
  return m_nLength < 0 || SeekSource();
}

bool CEmbeddedStream::Skip(std::int64_t n)
{
  const std::int64_t nLength = GetLength();
  if (nLength < 0)
    return n >= 0 && CheckedAdd(m_nPos, n, m_nPos);
  const std::int64_t nLeft = std::max<std::int64_t>(nLength - m_nPos, 0);
  const bool bInside = n <= nLeft;
  m_nPos += n < 0 || !bInside ? nLeft : n;
  return bInside;
}

bool CEmbeddedStream::Seek(std::int64_t nPos)
{
  if (nPos < 0)
  {
    const std::int64_t nLength = GetLength();
    if (nLength < 0)
      return false;
    nPos += nLength + 1;
  }
  std::int64_t nTarget = 0;
  if (nPos < 0 || !CheckedAdd(nPos, m_nOffset, nTarget))
    return false;
  m_nPos = nPos;
  return true;
}

std::int64_t CEmbeddedStream::Read(unsigned char* pBuffer, std::int64_t n)
{
  return std::max<std::int64_t>(ReadEx(pBuffer, n), 0);
}

std::int64_t CEmbeddedStream::ReadEx(unsigned char* pBuffer, std::int64_t n)
{
  if (m_nLength >= 0)
    n = std::min(n, m_nLength - m_nPos);
  if (!pBuffer || n <= 0)
    return 0;
  // After the source's end nothing is sought: a source that can be written would grow.
  const std::int64_t nSource = m_pSource && m_pSource->IsSeekable() ? m_pSource->GetLength() : -1;
  if (nSource >= 0 && m_nPos >= nSource - m_nOffset)
    return 0;
  if (!SeekSource())
    return -1;
  const std::int64_t nRead = m_pSource->ReadEx(pBuffer, n);
  if (nRead > 0)
    m_nPos += nRead;
  return nRead;
}

std::int64_t CEmbeddedStream::Write(const unsigned char* pBuffer, std::int64_t n)
{
  if (!pBuffer || n <= 0 || !m_pSource || (m_pSource->IsSeekable() && !SeekSource()))
    return 0;
  const std::int64_t nWritten = m_pSource->Write(pBuffer, n);
  if (nWritten <= 0)
    return 0;
  m_nPos += nWritten;
  if (m_nLength >= 0)
    m_nLength = std::max(m_nLength, m_nPos);
  return nWritten;
}

IStreamBase<unsigned char>* CEmbeddedStream::Dup()
{
  if (!IsSeekable())
    return nullptr;
  auto* pDup = new CEmbeddedStream(m_pSource.Get(), m_nOffset, m_nLength);
  pDup->m_nPos = m_nPos;
  return pDup;
}

}  // namespace BSE
