#include "base/CachedInputStream.h"

#include "base/Checked.h"
#include "base/Memory.h"

#include <algorithm>

namespace BSE
{

CCachedInputStream::CCachedInputStream(IByteStream* pSource, int nBlockSize)
    : m_pSource(pSource),
      m_pCache(new CMemoryStream(0, nBlockSize)),
      m_nBlockSize(m_pCache->GetBlockSize()),
      m_bEnd(!m_pSource)
{
  m_block.SetSize(m_nBlockSize);
  if (!m_pSource)
    return;
  const std::int64_t nStart = std::max<std::int64_t>(m_pSource->Tell(), 0);
  const std::int64_t nSource = m_pSource->GetLength();
  if (nSource >= 0)
    m_nLength = std::max<std::int64_t>(nSource - nStart, 0);
}

std::int64_t CCachedInputStream::GetLength()
{
  return m_bEnd ? m_pCache->GetLength() : m_nLength;
}

bool CCachedInputStream::FillTo(std::int64_t nEnd)
{
  while (!m_bEnd && (nEnd < 0 || m_pCache->GetLength() < nEnd))
  {
    const std::int64_t nRead = m_pSource->ReadEx(m_block.GetData(), m_nBlockSize);
    m_bFailed = nRead < 0;
    m_bEnd = nRead <= 0;
    if (m_bEnd)
      break;
    if (!m_pCache->Seek(-1) || !m_pCache->WriteAll(m_block.GetData(), nRead))
      ThrowOutOfMemory();
  }
  return nEnd < 0 ? !m_bFailed : m_pCache->GetLength() >= nEnd;
}

bool CCachedInputStream::Skip(std::int64_t n)
{
  if (n < 0)
    return Seek(-1);
  std::int64_t nTarget = 0;
  if (!CheckedAdd(m_nPos, n, nTarget))
    return false;
  const bool bInside = FillTo(nTarget);
  m_nPos = std::min(nTarget, m_pCache->GetLength());
  return bInside;
}

bool CCachedInputStream::Seek(std::int64_t nPos)
{
  if (nPos < 0)
  {
    if (!FillTo(-1))
      return false;
    nPos += m_pCache->GetLength() + 1;
  }
  else if (GetLength() >= 0)
    nPos = std::min(nPos, GetLength());
  if (nPos < 0 || !FillTo(nPos))
    return false;
  m_nPos = nPos;
  return true;
}

std::int64_t CCachedInputStream::Read(unsigned char* pBuffer, std::int64_t n)
{
  if (!pBuffer || n <= 0)
    return 0;
  std::int64_t nEnd = 0;
  if (!CheckedAdd(m_nPos, n, nEnd))
    return 0;
  FillTo(nEnd);
  const std::int64_t nRead = m_pCache->Seek(m_nPos) ? m_pCache->Read(pBuffer, n) : 0;
  m_nPos += nRead;
  return nRead;
}

std::int64_t CCachedInputStream::ReadEx(unsigned char* pBuffer, std::int64_t n)
{
  const std::int64_t nRead = Read(pBuffer, n);
  return nRead == 0 && n > 0 && m_bFailed ? -1 : nRead;
}

std::int64_t CCachedInputStream::Write(const unsigned char*, std::int64_t)
{
  return RefuseWrite();
}

}  // namespace BSE
