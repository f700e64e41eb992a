// Reads the outline of arbitrary bytes as a document and writes its titles into a new one, where as many have
// to be found again.

#include "base/BufferedInputStream.h"
#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "document/Document.h"
#include "document/Outline.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace
{

// A copy of the tree without values that belong to the input. Returns the number of items.
int CopyItems(const PDF::COutline& source, PDF::COutline& target)
{
  int nCount = source.GetItemCount();
  for (int i = 0; i < source.GetItemCount(); ++i)
  {
    const PDF::COutlineItem& item = *source.GetItem(i);
    const BSE::CObjectPtr<PDF::COutlineItem> pCopy(new PDF::COutlineItem(nullptr));
    pCopy->SetTitle(item.GetTitle());
    pCopy->SetStyle(item.GetStyle());
    pCopy->SetOpen(item.IsOpen());
    if (item.GetDestination().GetPage() && item.GetDestination().GetPageIndex() >= 0)
      std::abort();
    if (!target.AddItem(pCopy.Get()))
      std::abort();
    nCount += CopyItems(item, *pCopy);
  }
  return nCount;
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
  const BSE::CObjectPtr<PDF::COutline> pSource(new PDF::COutline(nullptr));
  const BSE::CObjectPtr<PDF::COutline> pCopy(new PDF::COutline(nullptr));
  if (!pSource->Load(document.GetCatalog()["Outlines"]))
    return 0;
  const int nCount = CopyItems(*pSource, *pCopy);

  const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
  PDF::CDocument copy(&handler);
  if (!copy.Create(pOutput.Get(), PDF::CString(), true, true))
    std::abort();
  copy.CreateTree();
  if (!pCopy->Save(copy.GetFile()))
    std::abort();
  copy.GetCatalog().AddEntry("Outlines", pCopy->GetObject());
  copy.Close();
  PDF::CDocument result(&handler);
  const BSE::CObjectPtr<PDF::COutline> pRead(new PDF::COutline(nullptr));
  const BSE::CObjectPtr<PDF::COutline> pScratch(new PDF::COutline(nullptr));
  if (!result.Open(pOutput.Get(), nullptr) || !pRead->Load(result.GetCatalog()["Outlines"]) ||
      CopyItems(*pRead, *pScratch) != nCount)
    std::abort();
  return 0;
}
