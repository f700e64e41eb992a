// Opens arbitrary bytes as an encrypted file with an empty password, and reads some of its strings and
// streams.

#include "base/BufferedInputStream.h"
#include "base/ErrorHandler.h"
#include "pdf/File.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  constexpr int nMaxObjects = 200;
  constexpr std::int64_t nMaxData = 1 << 18;
  BSE::CErrorHandler handler;
  PDF::CFile file(&handler);
  const BSE::CObjectPtr<BSE::IByteStream> pStream(
      new BSE::CMemoryInputStream(pData, static_cast<std::int64_t>(nSize)));
  if (!file.Open(pStream.Get()) || !file.Authenticate(nullptr))
    return 0;
  PDF::CXRefTable& table = file.GetXRef();
  int nCount = 0;
  for (int i = table.GetNextNumber(0); i < table.GetSize() && nCount < nMaxObjects;
       i = table.GetNextNumber(i))
  {
    ++nCount;
    const PDF::CObjectPtr object = file.GetObject(i, 0);
    object.IsDictionary();
    const BSE::CObjectPtr<BSE::IByteStream> pRaw = object.GetStream();
    unsigned char buffer[1000];
    std::int64_t nTotal = 0;
    for (std::int64_t n = 1; pRaw && n > 0 && nTotal < nMaxData; nTotal += n)
      n = std::max<std::int64_t>(0, pRaw->Read(buffer, sizeof(buffer)));
  }
  return 0;
}
