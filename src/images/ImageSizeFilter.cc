#include "images/ImageSizeFilter.h"

#include "images/StatusCodes.h"

namespace PDF
{

bool CImageSizeFilter::Rewind()
{
  if (!m_pSource || !m_pSource->Rewind())
    return false;
  m_nPos = 0;
  return true;
}

std::int64_t CImageSizeFilter::Read(unsigned char* pBuffer, std::int64_t n)
{
  const std::int64_t nRead = m_pSource && n > 0 ? m_pSource->Read(pBuffer, n) : 0;
  m_nPos += nRead;
  const bool bShort = n > 0 && nRead == 0 && m_nPos < m_nExpected;
  if (!m_bReported && (bShort || m_nPos > m_nExpected))
  {
    // How much more there is has not been seen yet.
    m_bReported = true;
    BSE::ReportError(m_pErrorContext, BSE::MakeError(g_nSampleLength, "l1", m_nExpected, "l2", m_nPos));
  }
  return nRead;
}

}  // namespace PDF
