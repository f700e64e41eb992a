#include "base/Limits.h"
#include "base/MemoryStream.h"
#include "images/FilterRows.h"
#include "images/ImageDictionary.h"
#include "images/StatusCodes.h"
#include "images/filters/jbig2/JBIG2DecodeFilter.h"
#include "images/filters/jbig2/JBIG2EncodeFilter.h"
#include "pdf/FilterFactory.h"

namespace PDF
{

namespace
{

using CStreamPtr = BSE::CObjectPtr<BSE::IByteStream>;

// Shared data that is an image itself could only be meant to lead a reader round in circles.
bool IsImage(CObject& globals)
{
  for (int i = 0; i < GetFilterCount(&globals); ++i)
  {
    const CObjectPtr name = GetFilterName(&globals, i);
    if (name.IsName("JBIG2Decode") || name.IsName("JPXDecode") || name.IsName("DCTDecode"))
      return true;
  }
  return false;
}

// What images share, in memory; null where there is nothing, or nothing that can be used, which is reported.
CStreamPtr ReadGlobals(const CObjectPtr& globals, CObject* pStream)
{
  if (!globals)
    return nullptr;
  if (IsImage(*globals.Get()))
  {
    BSE::ReportError(pStream, BSE::MakeError(g_nProhibitedValue, "key", u"Filter", "val",
                                             u"/JBIG2Decode, /JPXDecode, or /DCTDecode"));
    return nullptr;
  }
  const CStreamPtr pData = globals.GetDecodedStream();
  BSE::CBasicArray<unsigned char> bytes;
  if (!pData || !pData->ReadToArray(bytes, BSE::g_nMaxDecodedSize))
  {
    BSE::ReportError(pStream, BSE::CScopedPtr<BSE::IError>(
                                  new BSE::CJBIG2Error(BSE::eJBIG2Fatal, "the globals cannot be read")));
    return nullptr;
  }
  return new BSE::CMemoryStream(bytes.GetData(), bytes.GetSize());
}

CStreamPtr CreateDecoder(BSE::IByteStream* pSource, CObject* pStream, const CObjectPtr& parameters)
{
  BSE::CJBIG2Parameters jbig2;
  jbig2.pGlobals = ReadGlobals(parameters["JBIG2Globals"], pStream);
  return new BSE::CJBIG2DecodeFilter(pSource, jbig2, pStream);
}

// Where it is known.
void TakeResolution(const CObjectPtr& resolution, double& dResolution)
{
  if (resolution.IsNumber() && resolution.GetRealValue() > 0)
    dResolution = resolution.GetRealValue();
}

CStreamPtr CreateEncoder(BSE::IByteStream* pSink, CObject* pStream, CObjectPtr& parameters)
{
  const CImageDictionary image(pStream);
  BSE::CJBIG2Parameters jbig2;
  jbig2.nWidth = image.GetWidth();
  jbig2.nHeight = image.GetHeight();
  TakeResolution(parameters["ResolutionX"], jbig2.nResolutionX);
  TakeResolution(parameters["ResolutionY"], jbig2.nResolutionY);
  parameters.Reset();
  return new BSE::CJBIG2EncodeFilter(pSink, jbig2, pStream);
}

}  // namespace

const TFilterRow g_jbig2Row = {"JBIG2Decode", nullptr, CreateDecoder, CreateEncoder};

}  // namespace PDF
