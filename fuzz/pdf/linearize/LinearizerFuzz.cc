// Linearizes arbitrary bytes as a finished file, from memory and from a stream. What comes out is taken in
// again: it has to be as sound as what the linearizer takes, and stay as it is.

#include "base/BufferedInputStream.h"
#include "base/MemoryStream.h"
#include "pdf/linearize/PDLOutput.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace
{

using CBytes = BSE::CBasicArray<unsigned char>;

template <class T>
bool Linearize(T source, CBytes& result)
{
  PDLInput input;
  if (input.Open(source, nullptr) != PDLInput::TState::Opened)
    return false;
  const BSE::CObjectPtr<BSE::CMemoryStream> pOutput(new BSE::CMemoryStream);
  PDLOutput output(input, nullptr);
  result.RemoveAll();
  return output.Write(pOutput.Get()) && pOutput->Rewind() && pOutput->ReadToArray(result);
}

bool IsEqual(const CBytes& a, const CBytes& b)
{
  return a.GetSize() == b.GetSize() && std::equal(a.GetData(), a.GetData() + a.GetSize(), b.GetData());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  const std::span<const unsigned char> input(pData, nSize);
  CBytes first;
  CBytes second;
  const bool bLinearized = Linearize(input, first);
  const BSE::CObjectPtr<BSE::IByteStream> pStream(
      new BSE::CMemoryInputStream(pData, static_cast<std::int64_t>(nSize)));
  const bool bFromStream = Linearize(pStream.Get(), second);
  if (bLinearized != bFromStream || (bLinearized && !IsEqual(first, second)))
    std::abort();
  if (bLinearized && !Linearize(std::span<const unsigned char>(first.GetSpan()), second))
    std::abort();
  return 0;
}
