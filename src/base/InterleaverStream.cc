#include "base/InterleaverStream.h"

#include "base/Checked.h"
#include "base/Tracer.h"

#include <algorithm>
#include <cstring>

namespace BSE
{

namespace
{

int GetInterleavedSize(int nCount)
{
  const int nGroup = nCount * 8;
  return nGroup > g_nDefaultBlockSize ? nGroup : g_nDefaultBlockSize - g_nDefaultBlockSize % nGroup;
}

}  // namespace

CInterleaverStream::CInterleaverStream(const CObjectArray<IByteStream>& streams) : m_streams(streams)
{
  const int nCount = m_streams.GetSize();
  m_block.SetSize(nCount > 0 ? GetInterleavedSize(nCount) : g_nDefaultBlockSize);
  m_share.SetSize(nCount > 0 ? m_block.GetSize() / nCount : 0);
}

bool CInterleaverStream::IsValid() const
{
  for (int i = 0; i < m_streams.GetSize(); ++i)
    if (!IsObjectAddress(m_streams[i]) || !m_streams[i]->IsValid())
      return false;
  return !m_streams.IsEmpty();
}

std::int64_t CInterleaverStream::GetLength()
{
  std::int64_t nShortest = -1;
  for (int i = 0; i < m_streams.GetSize(); ++i)
  {
    const std::int64_t nLength = IsObjectAddress(m_streams[i]) ? m_streams[i]->GetLength() : -1;
    if (nLength < 0)
      return -1;
    nShortest = i == 0 ? nLength : std::min(nShortest, nLength);
  }
  std::int64_t nTotal = -1;
  return CheckedMul(nShortest, m_streams.GetSize(), nTotal) ? nTotal : -1;
}

bool CInterleaverStream::Rewind()
{
  m_nFilled = m_nUsed = 0;
  m_nStart = 0;
  m_bEnd = m_bFailed = false;
  for (int i = 0; i < m_streams.GetSize(); ++i)
    m_bFailed |= !IsObjectAddress(m_streams[i]) || !m_streams[i]->Rewind();
  m_bEnd = m_bFailed;
  return !m_bFailed;
}

bool CInterleaverStream::Fill()
{
  if (m_bEnd)
    return false;
  m_nStart += m_nUsed;
  m_nFilled = m_nUsed = 0;
  if (!IsValid())
    return false;
  const int nCount = m_streams.GetSize();
  std::int64_t nShortest = m_share.GetSize();
  std::int64_t nLongest = 0;
  for (int i = 0; i < nCount; ++i)
  {
    const std::int64_t nRead = m_streams[i]->ReadAll(m_share.GetData(), m_share.GetSize());
    m_bFailed |= nRead < 0;
    nShortest = std::min(nShortest, std::max<std::int64_t>(nRead, 0));
    nLongest = std::max(nLongest, nRead);
    unsigned char* pTarget = m_block.GetData() + i;
    const unsigned char* pShare = m_share.GetData();
    for (std::int64_t n = 0; n < nRead; ++n, pTarget += nCount)
      *pTarget = pShare[n];
  }
  if (nLongest != nShortest && !m_bFailed && CTracer::IsOn())
    CTracer::Trace("E", "Interleaver stream", "Inconsistent sub-stream lengths.");
  m_nFilled = static_cast<int>(nShortest) * nCount;
  m_bEnd = nShortest < m_share.GetSize();
  return m_nFilled > 0;
}

std::int64_t CInterleaverStream::Read(unsigned char* pBuffer, std::int64_t n)
{
  return std::max<std::int64_t>(ReadEx(pBuffer, n), 0);
}

std::int64_t CInterleaverStream::ReadEx(unsigned char* pBuffer, std::int64_t n)
{
  if (!pBuffer || n <= 0)
    return 0;
  std::int64_t nDone = 0;
  while (nDone < n && (m_nUsed < m_nFilled || Fill()))
  {
    const int nCopy = static_cast<int>(std::min<std::int64_t>(n - nDone, m_nFilled - m_nUsed));
    std::memcpy(pBuffer + nDone, m_block.GetData() + m_nUsed, static_cast<std::size_t>(nCopy));
    m_nUsed += nCopy;
    nDone += nCopy;
  }
  return nDone == 0 && m_bFailed ? -1 : nDone;
}

bool CInterleaverStream::Skip(std::int64_t n)
{
  while (n != 0)
  {
    if (m_nUsed == m_nFilled && !Fill())
      return n < 0 && !m_bFailed;
    const int nStep =
        n < 0 ? m_nFilled - m_nUsed : static_cast<int>(std::min<std::int64_t>(n, m_nFilled - m_nUsed));
    m_nUsed += nStep;
    if (n > 0)
      n -= nStep;
  }
  return true;
}

std::int64_t CInterleaverStream::Write(const unsigned char*, std::int64_t)
{
  return RefuseWrite();
}

}  // namespace BSE
