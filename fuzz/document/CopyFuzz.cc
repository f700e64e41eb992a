// Copies arbitrary bytes as a document, with both copiers, and opens what comes out: the same number of
// pages.

#include "base/BufferedInputStream.h"
#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "document/ContextDocumentCopierNonRec.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace
{

template <class T>
void Copy(const uint8_t* pData, size_t nSize)
{
  BSE::CErrorHandler handler;
  T copier(&handler);
  const BSE::CObjectPtr<BSE::IByteStream> pInput(
      new BSE::CMemoryInputStream(pData, static_cast<std::int64_t>(nSize)));
  if (!copier.Open(pInput.Get(), nullptr))
    return;
  copier.GetInput().GetOutputIntentModel();
  const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
  if (!copier.Save(pOutput.Get(), PDF::TEncryption()))
    return;
  pOutput->Rewind();
  PDF::CDocument result(&handler);
  if (!result.Open(pOutput.Get(), nullptr) || result.GetPageCount() != copier.GetInput().GetPageCount())
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  Copy<PDF::CDocumentCopierT<PDF::CObjectCopier>>(pData, nSize);
  Copy<PDF::CContextDocumentCopierNonRec>(pData, nSize);
  return 0;
}
