// Saves arbitrary bytes as a document with fonts subset, merged, converted, replaced, unembedded and embedded
// from a font of the machine, and opens what comes out: the same number of pages, and fonts that are read
// again.

#include "base/BufferedInputStream.h"
#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "engine/Optimizer.h"
#include "fonts/pdf/FontRegistry.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace
{

void SetOptions(PDF::COptimizer& optimizer, size_t nSize)
{
  PDF::TOptimizerOptions& options = optimizer.GetOptions();
  options.m_bSubsetFonts = nSize % 8 != 0;
  options.m_bMergeEmbeddedFonts = nSize % 2 == 0;
  options.m_bMergeFonts = nSize % 3 == 0;
  options.m_bConvertToCFF = nSize % 4 < 2;
  options.m_bRemoveStandardFonts = nSize % 5 == 0;
  options.m_bMergeEqualObjects = nSize % 7 < 3;
  if (nSize % 6 == 0)
    optimizer.GetFontEdits().Unembed(BSE::CStr8(PDF::CFontEdits::g_szAnyFont));
  options.m_bConvertToType1 = nSize % 11 == 0;
  if (nSize % 2 == 0)
    for (const char* szName : {"Helvetica", "Times-Roman", "Arial", "F", "DejaVu"})
      optimizer.GetFontEdits().Embed(szName, "/usr/share/fonts/truetype/dejavu/DejaVuSansMono.ttf");
}

// Reads the fonts of the pages with their programs.
void ReadFonts(PDF::CDocument& document)
{
  PDF::CFontRegistry fonts(document);
  for (int nPage = 0; nPage < document.GetPageCount() && nPage < 20; ++nPage)
  {
    const PDF::CObjectPtr entries = document.GetPage(nPage)["Resources"]["Font"];
    for (int i = entries.GetBegin(); i != entries.GetEnd(); i = entries.GetNext(i))
      if (const BSE::CObjectPtr<PDF::CFont> pFont = fonts.CreateFont(entries.GetValue(i)))
      {
        pFont->GetWidth(65);
        pFont->GetProgram();
      }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  BSE::CErrorHandler handler;
  PDF::COptimizer optimizer(&handler);
  SetOptions(optimizer, nSize);
  const BSE::CObjectPtr<BSE::IByteStream> pInput(
      new BSE::CMemoryInputStream(pData, static_cast<std::int64_t>(nSize)));
  const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
  if (!optimizer.Open(pInput.Get(), nullptr) || !optimizer.Save(pOutput.Get(), PDF::TEncryption()))
    return 0;
  pOutput->Rewind();
  PDF::CDocument result(&handler);
  if (!result.Open(pOutput.Get(), nullptr) || result.GetPageCount() != optimizer.GetInput().GetPageCount())
    std::abort();
  ReadFonts(result);
  return 0;
}
