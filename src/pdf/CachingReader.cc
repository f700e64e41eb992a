#include "pdf/CachingReader.h"

#include "base/Checked.h"

#include <algorithm>
#include <cstring>

namespace PDF
{

CCachingReader::CCachingReader(BSE::IByteStream* pSource, int nBlockSize) : m_pSource(pSource)
{
  m_block.SetSize(std::max(nBlockSize, 1));
  if (m_pSource)
    m_nPos = std::max<std::int64_t>(m_pSource->Tell(), 0);
}

std::int64_t CCachingReader::GetLength()
{
  if (m_nLength < 0 && m_pSource)
    m_nLength = m_pSource->GetLength();
  return m_nLength;
}

bool CCachingReader::Skip(std::int64_t n)
{
  const std::int64_t nLength = GetLength();
  if (nLength < 0)
    return n >= 0 && BSE::CheckedAdd(m_nPos, n, m_nPos);
  const std::int64_t nLeft = std::max<std::int64_t>(nLength - m_nPos, 0);
  const bool bInside = n <= nLeft;
  m_nPos += n < 0 || !bInside ? nLeft : n;
  return bInside;
}

bool CCachingReader::Seek(std::int64_t nPos)
{
  if (!m_pSource || (!IsSeekable() && nPos != m_nPos))
    return false;
  if (nPos < 0)
  {
    const std::int64_t nLength = GetLength();
    if (nLength < 0)
      return false;
    nPos += nLength + 1;
  }
  if (nPos < 0)
    return false;
  m_nPos = nPos;
  return true;
}

bool CCachingReader::Load()
{
  // Without Seek the source is after the block already, and so is the position.
  const bool bSeekable = IsSeekable();
  m_nStart = bSeekable ? m_nPos - m_nPos % m_block.GetSize() : m_nPos;
  m_nValid = 0;
  if (bSeekable && !m_pSource->Seek(m_nStart))
    return false;
  std::int64_t nRead = 1;
  while (nRead > 0 && m_nValid < m_block.GetSize())
  {
    nRead = m_pSource->ReadEx(m_block.GetData() + m_nValid, m_block.GetSize() - m_nValid);
    m_nValid += std::max<std::int64_t>(nRead, 0);
  }
  // What came before a failure is kept, and serves if it reaches the position.
  return nRead >= 0 || m_nPos < m_nStart + m_nValid;
}

std::int64_t CCachingReader::Read(unsigned char* pBuffer, std::int64_t n)
{
  return std::max<std::int64_t>(ReadEx(pBuffer, n), 0);
}

std::int64_t CCachingReader::ReadEx(unsigned char* pBuffer, std::int64_t n)
{
  if (!pBuffer || n <= 0)
    return 0;
  std::int64_t nDone = 0;
  while (nDone < n)
  {
    if (m_nPos < m_nStart || m_nPos >= m_nStart + m_nValid)
    {
      if (!m_pSource || !Load())
        return nDone > 0 ? nDone : -1;
      if (m_nPos >= m_nStart + m_nValid)
        break;
    }
    const std::int64_t nOffset = m_nPos - m_nStart;
    const std::int64_t nCopy = std::min(n - nDone, m_nValid - nOffset);
    std::memcpy(pBuffer + nDone, m_block.GetData() + nOffset, static_cast<std::size_t>(nCopy));
    nDone += nCopy;
    m_nPos += nCopy;
  }
  return nDone;
}

std::int64_t CCachingReader::Write(const unsigned char* pBuffer, std::int64_t n)
{
  if (!pBuffer || n <= 0 || !m_pSource || (IsSeekable() && !m_pSource->Seek(m_nPos)))
    return 0;
  m_nValid = 0;
  m_nLength = -1;
  const std::int64_t nWritten = std::max<std::int64_t>(m_pSource->Write(pBuffer, n), 0);
  m_nPos += nWritten;
  return nWritten;
}

BSE::IStreamBase<unsigned char>* CCachingReader::Dup()
{
  if (!m_pSource)
    return nullptr;
  const BSE::CObjectPtr<BSE::IByteStream> pSource(static_cast<BSE::IByteStream*>(m_pSource->Dup()));
  if (!pSource)
    return nullptr;
  auto* pDup = new CCachingReader(pSource.Get(), m_block.GetSize());
  pDup->m_nPos = m_nPos;
  return pDup;
}

}  // namespace PDF
