// Saves arbitrary bytes as a document with equal objects merged and streams encoded anew, and opens what
// comes out: the same pages, with contents that decode to the same bytes and find the same resources.

#include "base/BufferedInputStream.h"
#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "content/ContentParser.h"
#include "content/StatusCodes.h"
#include "engine/Optimizer.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace
{

constexpr std::int64_t g_nMaxCompared = 1 << 20;

// The first decoded bytes of the contents of a page, those of each stream in its turn. The metadata of the
// document are brought up to date for all that refer to them, so that they do not count.
std::vector<unsigned char> ReadContents(PDF::CDocument& document, int nPage)
{
  std::vector<unsigned char> bytes;
  const PDF::CObjectPtr contents = document.GetPage(nPage)["Contents"];
  const int nParts = contents.IsArray() ? contents.GetSize() : 1;
  for (int i = 0; i < nParts && std::ssize(bytes) < g_nMaxCompared; ++i)
  {
    const PDF::CObjectPtr part = contents.IsArray() ? contents[i] : contents;
    if (part.IsStream() && part == document.GetCatalog()["Metadata"])
      continue;
    const BSE::CObjectPtr<BSE::IByteStream> pData = part.IsStream() ? part.GetDecodedStream() : nullptr;
    unsigned char piece[4096];
    for (std::int64_t nRead = 1; pData && nRead > 0 && std::ssize(bytes) < g_nMaxCompared;)
      if ((nRead = pData->Read(piece, sizeof piece)) > 0)
        bytes.insert(bytes.end(), piece, piece + nRead);
  }
  return bytes;
}

// What is told to be lost may differ.
class CLossHandler : public BSE::CErrorHandler
{
public:
  void OnNoteError(BSE::IError& error) override
  {
    m_bLoss = m_bLoss || error.GetConsequence() == BSE::eContentLost;
  }

  bool m_bLoss = false;
};

// Counts the resources that content names and does not find.
class CMissingHandler : public BSE::CErrorHandler
{
public:
  void OnNoteError(BSE::IError& error) override
  {
    const unsigned nCode = error.GetCode();
    if (nCode >= PDF::g_nFontUnknown && nCode <= PDF::g_nXObjectUnknown)
      ++m_nMissing;
  }

  int m_nMissing = 0;
};

int CountMissing(PDF::CDocument& document, int nPage)
{
  CMissingHandler handler;
  PDF::CContentEnvironment environment(document, nullptr);
  const PDF::CPage page = document.GetPage(nPage);
  const BSE::CObjectPtr<PDF::CContentStream> pStream(
      new PDF::CContentStream(page["Contents"], &environment.GetAccount()));
  PDF::CContentParser parser(environment, pStream, PDF::g_defaultMediaBox, 0, &handler);
  PDF::CParserContext context(environment, page.FindInherited("Resources"), nullptr);
  parser.Parse(&context, false);
  return handler.m_nMissing;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  CLossHandler handler;
  PDF::COptimizer optimizer(&handler);
  optimizer.GetOptions().m_bRemoveRedundantObjects = true;
  optimizer.GetOptions().m_bMergeEqualObjects = true;
  optimizer.GetOptions().m_bRecompressStreams = true;
  optimizer.GetOptions().m_bOptimizeResources = true;
  optimizer.GetOptions().m_nEffort = 1 + static_cast<int>(nSize % 9);
  const BSE::CObjectPtr<BSE::IByteStream> pInput(
      new BSE::CMemoryInputStream(pData, static_cast<std::int64_t>(nSize)));
  const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
  if (!optimizer.Open(pInput.Get(), nullptr) || !optimizer.Save(pOutput.Get(), PDF::TEncryption()))
    return 0;
  const bool bLoss = handler.m_bLoss;
  pOutput->Rewind();
  PDF::CDocument result(&handler);
  PDF::CDocument& input = optimizer.GetInput();
  if (!result.Open(pOutput.Get(), nullptr) || result.GetPageCount() != input.GetPageCount())
    std::abort();
  for (int nPage = 0; !bLoss && nPage < result.GetPageCount() && nPage < 20; ++nPage)
    if (ReadContents(result, nPage) != ReadContents(input, nPage) ||
        CountMissing(result, nPage) > CountMissing(input, nPage))
      std::abort();
  return 0;
}
