// Saves arbitrary bytes as a document with every option for images, under each profile in turn, and opens
// what comes out: the same number of pages.

#include "base/BufferedInputStream.h"
#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "engine/Optimizer.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  constexpr unsigned aProfiles[] = {PDF::eProfileWeb, PDF::eProfilePrint, PDF::eProfileMax,
                                    PDF::eProfileArchive};
  BSE::CErrorHandler handler;
  PDF::COptimizer optimizer(&handler);
  optimizer.SetProfile(aProfiles[nSize % 4]);
  PDF::TOptimizerOptions& options = optimizer.GetOptions();
  options.m_nStrip = 0;
  options.m_bAutoLinearize = false;
  options.SetThreshold(nSize % 3 == 0 ? 0 : options.m_dColorThreshold);
  options.m_bRecodeJPEG = options.m_bRecodeBitonal = options.m_bRecodeSamples = nSize % 2 == 0;
  options.m_nEffort = 1 + static_cast<int>(nSize % 9);
  const BSE::CObjectPtr<BSE::IByteStream> pInput(
      new BSE::CMemoryInputStream(pData, static_cast<std::int64_t>(nSize)));
  if (!optimizer.Open(pInput.Get(), nullptr))
    return 0;
  const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
  if (!optimizer.Save(pOutput.Get(), PDF::TEncryption()))
    return 0;
  pOutput->Rewind();
  PDF::CDocument result(&handler);
  if (!result.Open(pOutput.Get(), nullptr) || result.GetPageCount() != optimizer.GetInput().GetPageCount())
    std::abort();
  return 0;
}
