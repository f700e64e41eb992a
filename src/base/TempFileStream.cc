#include "base/TempFileStream.h"

#include "base/FileStream.h"
#include "base/Tracer.h"

namespace BSE
{

CTempFileStream::CTempFileStream(IErrorContext* pErrorContext) : CDelegateFilter(nullptr, pErrorContext)
{
  // Made first: there is nothing to be lost then when memory runs out.
  const CObjectPtr<CFileStream> pStream(new CFileStream(pErrorContext));
  CFile file;
  const int fd = file.OpenTemporary("ptc");
  if (fd >= 0)
    file.Remove();
  if (pStream->Attach(fd, file))
    SetSource(pStream.Get());
  else if (CTracer::IsOn())
    CTracer::Trace("E", "File Stream", "Failed to create temporary file.");
}

}  // namespace BSE
