// Values from arbitrary bytes, strict and tolerant.

#include "base/ErrorHandler.h"
#include "pdf/File.h"
#include "pdf/Parser.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  for (const unsigned nConformance : {0U, 0x1401U, 0x1701U})
  {
    BSE::CErrorHandler handler;
    PDF::CFile file(&handler);
    file.SetConformance(PDF::CConformance(nConformance));
    const BSE::CObjectPtr<BSE::CBufferedInputStream> pStream(
        new BSE::CMemoryInputStream(pData, static_cast<std::int64_t>(nSize)));
    PDF::CParser parser(&file, pStream.Get(), &file);
    std::int64_t nLast = -1;
    while (parser.GetScanner().GetToken() != PDF::eTokenEnd && pStream->Tell() > nLast)
    {
      nLast = pStream->Tell();
      const PDF::CObjectPtr value = parser.ParseValue();
      if (value.IsDictionary())
        value["Length"].GetIntegerValue();
    }
  }
  return 0;
}
