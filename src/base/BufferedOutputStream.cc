#include "base/BufferedOutputStream.h"

#include "base/Checked.h"
#include "base/Error.h"
#include "base/Memory.h"
#include "base/MemoryStream.h"
#include "base/Tracer.h"

#include <algorithm>
#include <cstring>

namespace BSE
{

unsigned GetWriteFailure(IByteStream* pTarget)
{
  if (dynamic_cast<CMemoryStream*>(pTarget))
    return g_nOutOfMemory;
  const IError* pError = CTLSError::Get();
  return pError && pError->GetCode() != 0 ? pError->GetCode() : g_nStreamWriteFailed;
}

CBufferedOutputStream::CBufferedOutputStream(IByteStream* pTarget, int nCapacity) : CFilter(pTarget)
{
  const int nSize = nCapacity > 0 ? nCapacity : g_nDefaultBlockSize;
  m_pBuffer = static_cast<unsigned char*>(Allocate(static_cast<std::size_t>(nSize)));
  m_pCurrent = m_pBuffer;
  m_pLimit = m_pBuffer + nSize;
  m_nPos = -1;
}

CBufferedOutputStream::~CBufferedOutputStream()
{
  try
  {
    Flush();
  }
  catch (...)
  {
    // Memory ran out in the target, or a caller's stream threw; there is nobody left to tell.
  }
  Free(m_pBuffer);
}

std::int64_t CBufferedOutputStream::GetStart()
{
  if (m_nPos < 0)
    m_nPos = m_pSource ? std::max<std::int64_t>(m_pSource->Tell(), 0) : 0;
  return m_nPos;
}

std::int64_t CBufferedOutputStream::Tell()
{
  return GetStart() + (m_pCurrent - m_pBuffer);
}

std::int64_t CBufferedOutputStream::GetLength()
{
  const std::int64_t nTarget = m_pSource ? m_pSource->GetLength() : -1;
  return std::max(nTarget, GetStart() + std::max<std::int64_t>(m_nFill, m_pCurrent - m_pBuffer));
}

bool CBufferedOutputStream::Fail()
{
  // No room is left from here on, so that PutByte always comes to Flush and is refused there.
  m_nFailure = GetWriteFailure(m_pSource.Get());
  m_pLimit = m_pCurrent;
  return false;
}

bool CBufferedOutputStream::WriteToTarget(const unsigned char* pData, std::int64_t n)
{
  const std::int64_t nStart = GetStart();
  // A target in memory leaves the slot alone, which may say what could not be read.
  if (!dynamic_cast<CMemoryStream*>(m_pSource.Get()))
    CTLSError::SetSuccess();
  if (!m_pSource || (m_pSource->IsSeekable() && !m_pSource->Seek(nStart)))
    return Fail();
  return m_pSource->WriteAll(pData, n) || Fail();
}

bool CBufferedOutputStream::Flush()
{
  if (HasFailed())
    return false;
  m_nFill = std::max<std::int64_t>(m_nFill, m_pCurrent - m_pBuffer);
  if (m_nFill == 0)
    return true;
  if (!WriteToTarget(m_pBuffer, m_nFill))
    return false;
  // The position stays where it is, even if it had been moved back before the last byte written.
  m_nPos += IsSeekable() ? m_pCurrent - m_pBuffer : m_nFill;
  m_nFill = 0;
  m_pCurrent = m_pBuffer;
  return true;
}

std::int64_t CBufferedOutputStream::Write(const unsigned char* pBuffer, std::int64_t n)
{
  if (!pBuffer || n <= 0 || HasFailed())
    return 0;
  std::int64_t nLeft = n;
  while (nLeft > 0)
  {
    if (m_pCurrent == m_pBuffer && m_nFill == 0 && nLeft >= m_pLimit - m_pBuffer)
    {
      if (!WriteToTarget(pBuffer, nLeft))
        return 0;
      m_nPos += nLeft;
      return n;
    }
    const std::int64_t nCopy = std::min<std::int64_t>(nLeft, m_pLimit - m_pCurrent);
    std::memcpy(m_pCurrent, pBuffer, static_cast<std::size_t>(nCopy));
    m_pCurrent += nCopy;
    pBuffer += nCopy;
    nLeft -= nCopy;
    if (m_pCurrent == m_pLimit && !Flush())
      return 0;
  }
  return n;
}

std::int64_t CBufferedOutputStream::Read(unsigned char*, std::int64_t)
{
  if (CTracer::IsOn())
    CTracer::Trace("E", "Stream", "Reading from output stream.");
  return 0;
}

bool CBufferedOutputStream::Skip(std::int64_t n)
{
  const std::int64_t nLength = GetLength();
  if (n < 0 || n > nLength - Tell())
    return Seek(nLength) && n < 0;
  return Seek(Tell() + n);
}

bool CBufferedOutputStream::Seek(std::int64_t nPos)
{
  if (HasFailed())
    return false;
  if (nPos < 0)
    nPos += GetLength() + 1;
  if (nPos < 0)
    return false;
  m_nFill = std::max<std::int64_t>(m_nFill, m_pCurrent - m_pBuffer);
  const std::int64_t nStart = GetStart();
  if (nPos >= nStart && nPos - nStart <= m_nFill)
  {
    m_pCurrent = m_pBuffer + (nPos - nStart);
    return true;
  }
  if (!IsSeekable() || !Flush() || !m_pSource->Seek(nPos))
    return false;
  m_nPos = nPos;
  return true;
}

}  // namespace BSE
