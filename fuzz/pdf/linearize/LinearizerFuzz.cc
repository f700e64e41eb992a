// Linearizes arbitrary bytes as a finished file, with object streams and without. What comes out is taken in
// again: it has to be as sound as what the linearizer takes. With object streams the file layer has to read
// it too, if it reads the input; and it is given a part of it.

#include "base/BufferedInputStream.h"
#include "base/MemoryStream.h"
#include "pdf/File.h"
#include "pdf/linearize/PDLOutput.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace
{

constexpr std::int64_t g_nStreamSize = 1000;

using CBytes = BSE::CBasicArray<unsigned char>;
using CStreamPtr = BSE::CObjectPtr<BSE::IByteStream>;

bool Linearize(const void* pData, std::int64_t nSize, bool bPack, CBytes& result)
{
  const CStreamPtr pStream(new BSE::CMemoryInputStream(pData, nSize));
  PDLInput input;
  if (input.Open(pStream.Get(), nullptr) != PDLInput::TState::Opened)
    return false;
  const BSE::CObjectPtr<BSE::CMemoryStream> pOutput(new BSE::CMemoryStream);
  PDLOutput output(input, nullptr, nullptr);
  if (bPack)
    output.SetObjectStreams(g_nStreamSize);
  return output.Write(pOutput.Get()) && pOutput->Rewind() && pOutput->ReadToArray(result);
}

bool Opens(const void* pData, std::int64_t nSize)
{
  PDF::CFile file(nullptr);
  const CStreamPtr pStream(new BSE::CMemoryInputStream(pData, nSize));
  return file.Open(pStream.Get());
}

// Whether the file layer finds the first page by the cross-reference data.
bool HasFirstPage(const CBytes& bytes)
{
  PDF::CFile file(nullptr);
  const CStreamPtr pStream(new BSE::CMemoryInputStream(bytes.GetData(), bytes.GetSize()));
  return file.Open(pStream.Get()) && file.IsLinearized() && !file.WasRecovered() &&
         file.GetRoot()["Pages"]["Kids"][0].GetObjNumber() > 0;
}

void OpenCut(const CBytes& bytes, std::int64_t nSize)
{
  PDF::CFile file(nullptr);
  const CStreamPtr pStream(new BSE::CMemoryInputStream(bytes.GetData(), nSize));
  if (file.Open(pStream.Get()))
    file.GetRoot()["Pages"]["Kids"][0]["Contents"].GetObjNumber();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  for (const bool bPack : {false, true})
  {
    CBytes first;
    CBytes second;
    if (!Linearize(pData, static_cast<std::int64_t>(nSize), bPack, first))
      continue;
    if (!Linearize(first.GetData(), first.GetSize(), bPack, second))
      std::abort();
    if (bPack && Opens(pData, static_cast<std::int64_t>(nSize)) && !HasFirstPage(first))
      std::abort();
    OpenCut(first, static_cast<std::int64_t>(pData[nSize / 2]) * first.GetSize() / 256);
  }
  return 0;
}
