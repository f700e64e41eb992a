#include "base/DelegateFilter.h"

#include <algorithm>

namespace BSE
{

CDelegateFilter::CDelegateFilter(IByteStream* pSource, IErrorContext* pErrorContext)
    : CFilter(pSource, pErrorContext)
{
  if (m_pSource)
    TakePosition();
}

bool CDelegateFilter::SeekSource()
{
  return m_pSource && (!m_pSource->IsSeekable() || m_pSource->Seek(m_nPos));
}

void CDelegateFilter::TakePosition()
{
  // A source without positions leaves the count of what was read and written.
  const std::int64_t nPos = m_pSource->Tell();
  if (nPos >= 0)
    m_nPos = nPos;
}

bool CDelegateFilter::Rewind()
{
  if (!m_pSource || !m_pSource->Rewind())
    return false;
  m_nPos = 0;
  return true;
}

bool CDelegateFilter::Skip(std::int64_t n)
{
  if (!SeekSource())
    return false;
  const bool bSuccess = m_pSource->Skip(n);
  TakePosition();
  return bSuccess;
}

bool CDelegateFilter::Seek(std::int64_t nPos)
{
  if (!m_pSource || !m_pSource->Seek(nPos))
    return false;
  TakePosition();
  return true;
}

std::int64_t CDelegateFilter::Read(unsigned char* pBuffer, std::int64_t n)
{
  return std::max<std::int64_t>(ReadEx(pBuffer, n), 0);
}

std::int64_t CDelegateFilter::ReadEx(unsigned char* pBuffer, std::int64_t n)
{
  if (!pBuffer || n <= 0)
    return 0;
  if (!SeekSource())
    return -1;
  const std::int64_t nRead = m_pSource->ReadEx(pBuffer, n);
  m_nPos += std::max<std::int64_t>(nRead, 0);
  return nRead;
}

std::int64_t CDelegateFilter::Write(const unsigned char* pBuffer, std::int64_t n)
{
  if (!pBuffer || n <= 0 || !SeekSource())
    return 0;
  const std::int64_t nWritten = m_pSource->Write(pBuffer, n);
  m_nPos += std::max<std::int64_t>(nWritten, 0);
  return nWritten;
}

IStreamBase<unsigned char>* CDelegateFilter::Dup()
{
  if (!IsSeekable())
    return nullptr;
  auto* pDup = new CDelegateFilter(m_pSource.Get(), m_pErrorContext);
  pDup->m_nPos = m_nPos;
  return pDup;
}

}  // namespace BSE
