#include "engine/ExtractedFile.h"

#include "base/Filter.h"

#include <cerrno>

namespace PDF
{

bool IsInput(CFile& input, const char* szPath)
{
  BSE::IByteStream* pStream = input.GetInput();
  while (const auto* pFilter = dynamic_cast<const BSE::CFilter*>(pStream))
    pStream = pFilter->GetSource();
  const auto* pFile = dynamic_cast<const BSE::CFileStream*>(pStream);
  return pFile && pFile->IsOpenOn(szPath);
}

CExtractedFile::CExtractedFile(const char* szName, CFile& input) : m_file(szName)
{
  if (IsInput(input, szName))
  {
    m_fault.m_nCode = EEXIST;
    return;
  }
  m_pStream = new BSE::CFileStream(szName, BSE::eFileWrite, &m_fault);
  // Nothing can be gone back to in a pipe or a device.
  if (m_pStream->IsValid() && m_pStream->IsSeekable())
    return;
  if (m_pStream->IsValid())
    m_fault.m_nCode = EEXIST;
  // A directory is reported to the thread alone.
  if (const BSE::IError* pError = BSE::CTLSError::Get(); pError && m_fault.m_nCode == 0)
    m_fault.m_nCode = pError->GetCode();
  m_pStream.Reset();
}

CExtractedFile::~CExtractedFile()
{
  if (m_bKept || !m_pStream)
    return;
  m_pStream->Close();
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
