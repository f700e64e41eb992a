#include "base/CompoundStream.h"

#include <algorithm>

namespace BSE
{

CCompoundStream::CCompoundStream(const CIObjectArray& streams) : m_streams(streams)
{
  CCompoundStream::Rewind();
}

bool CCompoundStream::IsValid() const
{
  for (int i = 0; i < m_streams.GetSize(); ++i)
  {
    const auto* pStream = dynamic_cast<const IByteStream*>(m_streams[i]);
    if (pStream && pStream->IsValid())
      return true;
  }
  return m_streams.IsEmpty();
}

bool CCompoundStream::Enter(int nIndex)
{
  m_nStart += m_nOffset;
  m_nOffset = 0;
  m_pCurrent = nullptr;
  m_nCurrent = nIndex;
  while (!m_pCurrent && m_nCurrent < m_streams.GetSize())
  {
    m_pCurrent = dynamic_cast<IByteStream*>(m_streams[m_nCurrent]);
    if (!m_pCurrent)
      ++m_nCurrent;
  }
  m_bFailed = m_pCurrent && !m_pCurrent->Rewind();
  return m_pCurrent && !m_bFailed;
}

bool CCompoundStream::Rewind()
{
  m_nStart = m_nOffset = 0;
  Enter(0);
  return !m_bFailed;
}

std::int64_t CCompoundStream::Tell()
{
  return m_nStart + m_nOffset;
}

bool CCompoundStream::Skip(std::int64_t n)
{
  return SkipByReading(*this, n);
}

std::int64_t CCompoundStream::Read(unsigned char* pBuffer, std::int64_t n)
{
  return std::max<std::int64_t>(ReadEx(pBuffer, n), 0);
}

std::int64_t CCompoundStream::ReadEx(unsigned char* pBuffer, std::int64_t n)
{
  if (!pBuffer || n <= 0)
    return 0;
  std::int64_t nDone = 0;
  while (nDone < n && m_pCurrent && !m_bFailed)
  {
    const std::int64_t nRead = m_pCurrent->ReadEx(pBuffer + nDone, n - nDone);
    if (nRead > 0)
    {
      nDone += nRead;
      m_nOffset += nRead;
    }
    else if (nRead < 0)
      m_bFailed = true;
    else
      Enter(m_nCurrent + 1);
  }
  return nDone == 0 && m_bFailed ? -1 : nDone;
}

std::int64_t CCompoundStream::Write(const unsigned char*, std::int64_t)
{
  return RefuseWrite();
}

}  // namespace BSE
