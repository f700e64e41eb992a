// Text in any encoding from arbitrary bytes: what was read comes back from every encoding that it is written
// in, and the stream of code points agrees with it. The first byte chooses the default encoding.

#include "base/CharsetReader.h"
#include "base/MemoryStream.h"
#include "base/TextStream.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  using CBytesPtr = BSE::CObjectPtr<BSE::CMemoryStream>;
  constexpr BSE::TTextEncoding encodings[] = {BSE::eTextUtf8, BSE::eTextUtf16LittleEndian,
                                              BSE::eTextUtf16BigEndian, BSE::eTextLocale};
  if (nSize == 0)
    return 0;
  const CBytesPtr pSource(new BSE::CMemoryStream(pData + 1, static_cast<std::int64_t>(nSize) - 1));
  BSE::CTextInputStream input(pSource.Get(), encodings[pData[0] % 4]);
  const CBytesPtr pText(new BSE::CMemoryStream);
  if (!pText->CopyFrom(&input, -1, false))
    std::abort();

  for (const BSE::TTextEncoding nEncoding :
       {BSE::eTextUtf8, BSE::eTextUtf16LittleEndian, BSE::eTextUtf16BigEndian})
  {
    const CBytesPtr pFile(new BSE::CMemoryStream);
    BSE::CTextOutputStream output(pFile.Get(), nEncoding, true);
    pText->Rewind();
    if (!output.CopyFrom(pText.Get(), -1, false) || !output.Close() || !pFile->Rewind())
      std::abort();
    BSE::CTextInputStream again(pFile.Get(), nEncoding);
    pText->Rewind();
    if (!pText->Equals(&again))
      std::abort();
  }

  pText->Rewind();
  const BSE::CObjectPtr<BSE::IBasicStream<wchar_t>> pCharacters(new BSE::CUtf8DecodeReader(pText.Get()));
  BSE::CUtf8EncodeReader back(pCharacters.Get());
  const CBytesPtr pCopy(new BSE::CMemoryStream);
  if (!pCopy->CopyFrom(&back, -1, false) || back.HasFailed() || !pText->Rewind() || !pCopy->Rewind() ||
      !pText->Equals(pCopy.Get()))
    std::abort();
  return 0;
}
