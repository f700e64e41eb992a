// Linearizes arbitrary bytes as a finished file. What comes out is taken in again: it has to be as sound as
// what the linearizer takes.

#include "base/BufferedInputStream.h"
#include "base/MemoryStream.h"
#include "pdf/linearize/PDLOutput.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace
{

using CBytes = BSE::CBasicArray<unsigned char>;

bool Linearize(const void* pData, std::int64_t nSize, CBytes& result)
{
  const BSE::CObjectPtr<BSE::IByteStream> pStream(new BSE::CMemoryInputStream(pData, nSize));
  PDLInput input;
  if (input.Open(pStream.Get(), nullptr) != PDLInput::TState::Opened)
    return false;
  const BSE::CObjectPtr<BSE::CMemoryStream> pOutput(new BSE::CMemoryStream);
  PDLOutput output(input, nullptr, nullptr);
  return output.Write(pOutput.Get()) && pOutput->Rewind() && pOutput->ReadToArray(result);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  CBytes first;
  CBytes second;
  if (Linearize(pData, static_cast<std::int64_t>(nSize), first) &&
      !Linearize(first.GetData(), first.GetSize(), second))
    std::abort();
  return 0;
}
