#include "pdf/InputMonitor.h"

#include <algorithm>

namespace PDF
{

bool CInputMonitor::Seek(std::int64_t nPos)
{
  if (m_pSource->Seek(nPos))
    return true;
  // To ask for a position that the source does not have is not a failure of the source.
  const bool bInside = nPos <= std::max<std::int64_t>(m_pSource->GetLength(), 0);
  return Note(nPos < 0 || !bInside) && false;
}

std::int64_t CInputMonitor::Read(unsigned char* pBuffer, std::int64_t n)
{
  return std::max<std::int64_t>(ReadEx(pBuffer, n), 0);
}

std::int64_t CInputMonitor::ReadEx(unsigned char* pBuffer, std::int64_t n)
{
  if (!pBuffer || n <= 0)
    return 0;
  const std::int64_t nRead = m_pSource->ReadEx(pBuffer, n);
  if (nRead > 0)
    return nRead;
  const bool bAtEnd = nRead == 0 && m_pSource->Tell() >= m_pSource->GetLength();
  return Note(bAtEnd) ? 0 : -1;
}

}  // namespace PDF
