// Saves arbitrary bytes as a document with strip flags, which the length of the input chooses, and opens what
// comes out: the same number of pages.

#include "base/BufferedInputStream.h"
#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "engine/Optimizer.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  for (const unsigned nStrip : {static_cast<unsigned>(nSize) * 2654435761U >> 20, 0xFFFU})
  {
    BSE::CErrorHandler handler;
    PDF::COptimizer optimizer(&handler);
    optimizer.GetOptions().m_nStrip = nStrip;
    const BSE::CObjectPtr<BSE::IByteStream> pInput(
        new BSE::CMemoryInputStream(pData, static_cast<std::int64_t>(nSize)));
    if (!optimizer.Open(pInput.Get(), nullptr))
      return 0;
    const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
    if (!optimizer.Save(pOutput.Get(), PDF::TEncryption()))
      continue;
    pOutput->Rewind();
    PDF::CDocument result(&handler);
    if (!result.Open(pOutput.Get(), nullptr) || result.GetPageCount() != optimizer.GetInput().GetPageCount())
      std::abort();
  }
  return 0;
}
