// Reads name and number trees, optional content and embedded files of arbitrary bytes as a document. Names
// are collected and written into a new document, where every one has to be found again.

#include "base/BufferedInputStream.h"
#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "document/Document.h"
#include "document/EmbeddedFile.h"
#include "document/NameTree.h"
#include "document/OptionalContent.h"
#include "document/OutputNameTree.h"
#include "pdf/SimpleObjects.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace
{

using PDF::CNameTreeReader;
using PDF::CObjectPtr;

void ReadParts(const CObjectPtr& catalog, PDF::COutputNameTree& names)
{
  for (CNameTreeReader reader(catalog["Names"]["EmbeddedFiles"]); reader.Next();)
  {
    const PDF::CEmbeddedFile file(reader.GetValue().Get());
    file.GetFileName();
    file.GetParams();
    names.Add(reader.GetKey().GetStringValue(), new PDF::CIntegerObject(1));
  }
  for (CNameTreeReader reader(catalog["PageLabels"], CNameTreeReader::TKind::Numbers); reader.Next();)
    CNameTreeReader::Find(catalog["PageLabels"], reader.GetKey().GetIntegerValue());
  PDF::COptionalContent content;
  content.Load(catalog["OCProperties"]);
  for (const PDF::COptionalContent::TOrderEntry& entry : content.GetOrder())
    content.IsVisible(CObjectPtr(entry.m_pObject));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  BSE::CErrorHandler handler;
  PDF::CDocument document(&handler);
  const BSE::CObjectPtr<BSE::IByteStream> pInput(
      new BSE::CMemoryInputStream(pData, static_cast<std::int64_t>(nSize)));
  if (!document.Open(pInput.Get(), nullptr))
    return 0;
  PDF::COutputNameTree names;
  ReadParts(document.GetCatalog(), names);

  const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
  PDF::CDocument copy(&handler);
  if (!copy.Create(pOutput.Get(), PDF::CString(), true, true))
    std::abort();
  copy.CreateTree();
  if (!names.Save(copy.GetFile()))
    std::abort();
  copy.GetCatalog().AddEntry("Tree", names.GetObject());
  copy.Close();
  PDF::CDocument result(&handler);
  if (!result.Open(pOutput.Get(), nullptr))
    std::abort();
  int nCount = 0;
  for (CNameTreeReader reader(result.GetCatalog()["Tree"]); reader.Next(); ++nCount)
    if (!CNameTreeReader::Find(result.GetCatalog()["Tree"], reader.GetKey().GetStringValue()))
      std::abort();
  if (nCount != names.GetCount())
    std::abort();
  return 0;
}
