#include "engine/ExtractedFile.h"

#include <cerrno>

namespace PDF
{

CExtractedFile::CExtractedFile(const char* szName, CFile& input) : m_file(szName)
{
  const auto* pInput = dynamic_cast<const BSE::CFileStream*>(input.GetInput());
  if (pInput && pInput->IsOpenOn(szName))
  {
    m_fault.m_nCode = EEXIST;
    return;
  }
  m_pStream = new BSE::CFileStream(szName, BSE::eFileWrite, &m_fault);
  if (m_pStream->IsValid())
    return;
  // A directory is reported to the thread alone.
  if (const BSE::IError* pError = BSE::CTLSError::Get(); pError && m_fault.m_nCode == 0)
    m_fault.m_nCode = pError->GetCode();
  m_pStream.Reset();
}

CExtractedFile::~CExtractedFile()
{
  if (m_bKept || !m_pStream)
    return;
  // What was written into is no file to be taken away: a device, a pipe.
  const bool bRegular = m_pStream->IsSeekable();
  m_pStream->Close();
  if (bRegular)
    m_file.Remove();
}

bool CExtractedFile::Keep()
{
  m_bKept = m_pStream && m_fault.m_nCode == 0 && m_pStream->Close();
  if (!m_bKept && m_fault.m_nCode == 0)
    m_fault.m_nCode = BSE::CTLSError::Get() ? BSE::CTLSError::Get()->GetCode() : EIO;
  return m_bKept;
}

void CExtractedFile::ReportFault(BSE::IErrorContext* pContext) const
{
  const unsigned nCode = m_fault.m_nCode;
  // A format without room for the picture fails in no system call.
  const int nErrno = BSE::IsErrnoCode(nCode) ? static_cast<int>(nCode) : EFBIG;
  BSE::ReportLoss(pContext, BSE::CScopedPtr<BSE::IError>(new BSE::CFileError(nErrno, m_file.GetPath())));
}

}  // namespace PDF
