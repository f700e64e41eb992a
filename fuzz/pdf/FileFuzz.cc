// Opens arbitrary bytes as a file, lenient or not by their number, loads every object and reads some of every
// stream.

#include "base/BufferedInputStream.h"
#include "base/ErrorHandler.h"
#include "pdf/File.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  constexpr int nMaxObjects = 500;
  constexpr std::int64_t nMaxData = 1 << 20;
  BSE::CErrorHandler handler;
  PDF::CFile file(&handler);
  file.SetLenient(nSize % 2 == 0);
  const BSE::CObjectPtr<BSE::IByteStream> pStream(
      new BSE::CMemoryInputStream(pData, static_cast<std::int64_t>(nSize)));
  if (!file.Open(pStream.Get()))
    return 0;
  PDF::CXRefTable& table = file.GetXRef();
  int nCount = 0;
  for (int i = table.GetNextNumber(0); i < table.GetSize() && nCount < nMaxObjects;
       i = table.GetNextNumber(i))
  {
    if (table.GetEntry(i).m_nType == PDF::eXRefFree)
      continue;
    ++nCount;
    const PDF::CObjectPtr object = file.GetObject(i, 0);
    object.IsDictionary();
    const BSE::CObjectPtr<BSE::IByteStream> pData2 = object.GetDecodedStream();
    unsigned char buffer[4096];
    std::int64_t nTotal = 0;
    for (std::int64_t n = 1; pData2 && n > 0 && nTotal < nMaxData; nTotal += n)
      n = std::max<std::int64_t>(0, pData2->Read(buffer, sizeof(buffer)));
  }
  for (int i = 0; i < file.GetRevisionCount(); ++i)
    file.GetRevision(i);
  return 0;
}
