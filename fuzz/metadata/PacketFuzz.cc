// Arbitrary bytes as a packet. What can be read is brought in step with a dictionary and written; the result
// has to be readable, and to be the same when it is read and written once more.

#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "metadata/Xmp.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace
{

// A dictionary with one text under every key.
class CInfo : public PDF::IInfoDictionary
{
public:
  bool GetText(const char*, BSE::CStr16& text) override
  {
    text = m_text;
    return true;
  }
  void SetText(const char*, const BSE::CStr16& text) override { m_text = text; }

private:
  BSE::CStr16 m_text{u"20200101"};
};

std::span<const unsigned char> GetBytes(const BSE::CStr8& text)
{
  return {reinterpret_cast<const unsigned char*>(text.GetText()), static_cast<std::size_t>(text.GetLength())};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  PDF::CXMP xmp;
  const BSE::CObjectPtr<BSE::IByteStream> pStream(
      new BSE::CMemoryStream(pData, static_cast<std::int64_t>(nSize)));
  if (!xmp.Load(pStream.Get()))
    return 0;
  CInfo info;
  xmp.AddHistoryEvent("fuzzed", nullptr);
  xmp.UpdateMetadata(PDF::TMetadataUpdate{u"Fuzzer", 1, false, XMP::GetPresentTime()}, info);
  BSE::CStr8 first;
  xmp.WritePacket(first);

  BSE::CErrorHandler handler;
  BSE::CObjectPtr<XMP::CPacket> pPacket(new XMP::CPacket(&handler));
  if (!pPacket->Read(GetBytes(first)))
    std::abort();
  BSE::CStr8 second;
  pPacket->Write(second);
  BSE::CObjectPtr<XMP::CPacket> pAgain(new XMP::CPacket(&handler));
  if (!pAgain->Read(GetBytes(second)))
    std::abort();
  BSE::CStr8 third;
  pAgain->Write(third);
  if (!(second == third))
    std::abort();
  return 0;
}
