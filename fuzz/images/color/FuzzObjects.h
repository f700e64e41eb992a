#pragma once

#include "base/BufferedInputStream.h"
#include "base/ErrorHandler.h"
#include "pdf/File.h"
#include "pdf/IndirectObject.h"
#include "pdf/Parser.h"
#include "pdf/StreamObjects.h"

#include <cstddef>
#include <cstdint>

namespace Fuzz
{

// A value from the beginning of the input, with all of the input as its data where it can be a stream.
inline PDF::CObjectPtr ParseObject(PDF::CFile& file, const std::uint8_t* pData, std::size_t nSize)
{
  const BSE::CObjectPtr<BSE::CBufferedInputStream> pStream(
      new BSE::CMemoryInputStream(pData, static_cast<std::int64_t>(nSize)));
  PDF::CParser parser(&file, pStream.Get(), &file);
  const PDF::CObjectPtr value = parser.ParseValue();
  if (!value.IsDictionary())
    return value;
  const std::int64_t nStart = pStream->Tell();
  const BSE::CObjectPtr<BSE::CMemoryStream> pBytes(
      new BSE::CMemoryStream(pData + nStart, static_cast<std::int64_t>(nSize) - nStart));
  const BSE::CObjectPtr<PDF::CIndirectObject> pObject(new PDF::CIndirectObject(&file, 1, 0, -1));
  pObject->SetParsed(value.Get(), new PDF::CStreamObject(pBytes.Get()));
  return pObject.Get();
}

}  // namespace Fuzz
