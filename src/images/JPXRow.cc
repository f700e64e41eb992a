#include "base/Limits.h"
#include "base/Tracer.h"
#include "images/FilterRows.h"
#include "images/ImageDictionary.h"
#include "images/JPXColorSpace.h"
#include "images/filters/jpx/JPXDecodeFilter.h"
#include "images/filters/jpx/JPXEncodeFilter.h"
#include "pdf/SimpleObjects.h"

#include <algorithm>

namespace PDF
{

namespace
{

using CStreamPtr = BSE::CObjectPtr<BSE::IByteStream>;

constexpr int g_nDefaultQuality = 100;
constexpr std::int64_t g_nMaxLookup = std::int64_t{1} << 20;

void AddMissing(CObject& image, const char* szKey, const char* szShort, const CObjectPtr& value)
{
  if (value && !image.GetEntry(szKey) && !image.GetEntry(szShort))
    image.AddEntry(szKey, value);
}

CStreamPtr CreateDecoder(BSE::IByteStream* pSource, CObject* pStream, const CObjectPtr& /*parameters*/)
{
  const CObjectPtr space = CImageDictionary(pStream).GetColorSpace();
  BSE::CJPXParameters jpx;
  jpx.nChannels = GetColorCount(space);
  jpx.bIndices = IsIndexedSpace(space);
  const BSE::CObjectPtr<BSE::CJPXDecodeFilter> pFilter(new BSE::CJPXDecodeFilter(pSource, jpx, pStream));
  if (CanChange(pStream) && pFilter->IsValid())
  {
    const BSE::CJPXParameters& found = pFilter->GetParameters();
    AddMissing(*pStream, "ColorSpace", "CS", MakeJPXColorSpace(found));
    AddMissing(*pStream, "BitsPerComponent", "BPC", new CIntegerObject(found.nBitsPerComponent));
    AddMissing(*pStream, "Width", "W", new CIntegerObject(found.nWidth));
    AddMissing(*pStream, "Height", "H", new CIntegerObject(found.nHeight));
  }
  return pFilter;
}

int ChooseColorSpace(const CObjectPtr& space)
{
  const int nColors = GetColorCount(space);
  if (IsLabSpace(space))
    return BSE::eJPXLab;
  if (nColors == 3)
    return BSE::eJPXRGB;
  if (nColors == 4)
    return BSE::eJPXCMYK;
  if (nColors != 1 && BSE::CTracer::IsOn())
    BSE::CTracer::Trace("W", "PDF Filter", "Unsupported color space for JXP filter: Type=%d, nComponents=%d.",
                        static_cast<int>(space.GetType()), nColors);
  return BSE::eJPXGray;
}

// The colours of an Indexed space; as many of them as its table has.
void ReadPalette(const CObjectPtr& space, BSE::CJPXParameters& jpx)
{
  const CObjectPtr lookup = space[3];
  const std::int64_t nRows = std::clamp<std::int64_t>(GetIntegerOr(space[2], 0), 0, 255) + 1;
  jpx.nChannels = std::clamp(GetColorCount(space[1]), 1, 255);
  if (lookup.IsString())
    jpx.Palette.Append(lookup.GetStringValue().GetSpan());
  else if (const CStreamPtr pData = lookup.GetDecodedStream())
    pData->ReadToArray(jpx.Palette, g_nMaxLookup);
  // What the table lacks is black.
  jpx.Palette.SetSize(static_cast<int>(nRows) * jpx.nChannels);
}

void ReadRange(const CObjectPtr& space, BSE::CJPXParameters& jpx)
{
  const CObjectPtr range = space[1]["Range"];
  for (int i = 0; i < 4 && range.GetSize() >= 4; ++i)
    jpx.labRange[i] = range[i].IsNumber() ? range[i]->GetRealValue() : jpx.labRange[i];
}

CStreamPtr CreateEncoder(BSE::IByteStream* pSink, CObject* pStream, CObjectPtr& parameters)
{
  const CImageDictionary image(pStream);
  const CObjectPtr space = image.GetColorSpace();
  BSE::CJPXParameters jpx;
  jpx.nQuality = TakeQuality(parameters, g_nDefaultQuality);
  jpx.nWidth = image.GetWidth();
  jpx.nHeight = image.GetHeight();
  jpx.nBitsPerComponent = image.GetBitsPerComponent();
  jpx.nChannels = image.GetComponentCount();
  const bool bIndexed = IsIndexedSpace(space);
  jpx.nColorSpace = ChooseColorSpace(bIndexed ? space[1] : space);
  if (bIndexed)
    ReadPalette(space, jpx);
  if (jpx.nColorSpace == BSE::eJPXLab)
    ReadRange(bIndexed ? space[1] : space, jpx);
  return new BSE::CJPXEncodeFilter(pSink, jpx, pStream);
}

}  // namespace

const TFilterRow g_jpxRow = {"JPXDecode", nullptr, CreateDecoder, CreateEncoder};

}  // namespace PDF
