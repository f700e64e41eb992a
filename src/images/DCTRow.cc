#include "base/Tracer.h"
#include "images/FilterRows.h"
#include "images/ImageDictionary.h"
#include "images/color/StatusCodes.h"
#include "images/filters/DCTDecodeFilter.h"
#include "images/filters/DCTEncodeFilter.h"

namespace PDF
{

namespace
{

using CStreamPtr = BSE::CObjectPtr<BSE::IByteStream>;

constexpr int g_nDefaultQuality = 75;

// Whether colours are encoded as luminance and chrominance where the parameters do not say: what has three
// components does, and so does data of which nothing is known.
int GuessColorTransform(CObject* pStream)
{
  const CObjectPtr space = CImageDictionary(pStream).GetColorSpace();
  if (!space)
    return 1;
  if (space.IsIndirect() && pStream->IsIndirect() && space.GetObjNumber() == pStream->GetObjNumber())
  {
    BSE::ReportError(pStream, g_nInvalidColorSpace);
    return 0;
  }
  // A name that the resources explain says nothing here.
  const int nColors = GetColorCount(space);
  return nColors == 3 || (nColors == 0 && space.IsName()) ? 1 : 0;
}

CStreamPtr CreateDecoder(BSE::IByteStream* pSource, CObject* pStream, const CObjectPtr& parameters)
{
  BSE::CDCTParameters dct;
  dct.nHeight = CImageDictionary(pStream).GetHeight();
  dct.nColorTransform = parameters["ColorTransform"].IsNumber()
                            ? GetFilterParameter(parameters, "ColorTransform", 0)
                            : GuessColorTransform(pStream);
  return new BSE::CDCTDecodeFilter(pSource, dct, pStream);
}

// Traces a refusal.
CStreamPtr Refuse(const char* szFormat, int nValue)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF Filter", szFormat, nValue);
  return nullptr;
}

CStreamPtr CreateEncoder(BSE::IByteStream* pSink, CObject* pStream, CObjectPtr& parameters)
{
  const CImageDictionary image(pStream);
  BSE::CDCTParameters dct;
  dct.nQuality = TakeQuality(parameters, g_nDefaultQuality);
  dct.bFullChroma = TakeParameter(parameters, "FullChroma", 0) != 0;
  dct.nWidth = image.GetWidth();
  dct.nHeight = image.GetHeight();
  const int nBits = image.GetBitsPerComponent();
  if (nBits != 8)
    return Refuse("DCT filter does not support %d bits per component.", nBits);
  const int nColors = image.GetComponentCount();
  if (nColors != 1 && nColors != 3 && nColors != 4)
    return Refuse("DCT filter does not support %d components.", nColors);
  dct.nColorSpace = nColors == 1 ? BSE::eDCTGray : nColors == 3 ? BSE::eDCTRGB : BSE::eDCTCMYK;
  dct.nColorTransform = nColors == 3 ? 1 : 0;
  return new BSE::CDCTEncodeFilter(pSink, dct, pStream);
}

}  // namespace

const TFilterRow g_dctRow = {"DCTDecode", "DCT", CreateDecoder, CreateEncoder};

}  // namespace PDF
