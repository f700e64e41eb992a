#include "base/TempFileStream.h"

#include "base/FileStream.h"
#include "base/Tracer.h"

#include <cerrno>

namespace BSE
{

CTempFileStream::CTempFileStream(IErrorContext* pErrorContext) : CDelegateFilter(nullptr, pErrorContext)
{
  bool bOpen = false;
  if (!m_file.CreateTemporary("ptc"))
  {
    CScopedPtr<IError> pError(new CFileError(errno, m_file.GetPath()));
    if (pErrorContext)
      pErrorContext->OnReportError(CScopedPtr<IError>(pError->Clone()));
    CTLSError::Set(std::move(pError));
  }
  else
  {
    SetSource(new CFileStream(m_file.GetPath(), eFileTemporary, pErrorContext));
    bOpen = IsValid();
  }
  if (!bOpen && CTracer::IsOn())
    CTracer::Trace("E", "File Stream", "Failed to create temporary file.");
}

CTempFileStream::~CTempFileStream()
{
  if (!m_file.IsEmpty())
    m_file.Remove();
}

}  // namespace BSE
