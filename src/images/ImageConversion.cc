// The transformations of CImage. Each first makes the filters that it needs, over the samples as they are,
// and changes the dictionary only when nothing can fail any more: an image that cannot be transformed is left
// as it was. The filters read when the new data is read, so whatever they need of the file is made ready
// before.

#include "base/Limits.h"
#include "base/MemoryStream.h"
#include "base/Tracer.h"
#include "images/BitonalFilter.h"
#include "images/ColorFilters.h"
#include "images/Image.h"
#include "images/ImageDictionary.h"
#include "images/ResampleFilter.h"
#include "images/color/ColorSpaceObject.h"
#include "images/filters/InvertFilters.h"
#include "pdf/ArrayObject.h"
#include "pdf/SimpleObjects.h"

#include <algorithm>

namespace PDF
{

namespace
{

using CStreamPtr = BSE::CObjectPtr<BSE::IByteStream>;

const char* GetDeviceName(DOC::TTarget target)
{
  return target == DOC::eToGray ? "DeviceGray" : target == DOC::eToRGB ? "DeviceRGB" : "DeviceCMYK";
}

DOC::TColorSpaceType GetDeviceType(DOC::TTarget target)
{
  return target == DOC::eToGray  ? DOC::eDeviceGray
         : target == DOC::eToRGB ? DOC::eDeviceRGB
                                 : DOC::eDeviceCMYK;
}

CObjectPtr MakeName(const char* szName)
{
  return new CNameObject(szName);
}

enum TBlackAndWhite
{
  eNeither,
  eBlackFirst,
  eWhiteFirst
};

// Whether the first two colours of a table are black and white.
TBlackAndWhite FindBlackAndWhite(DOC::IColorSpace& space)
{
  const DOC::IIndexedColorSpace* pIndexed = space.GetIndexed();
  DOC::IColorSpace* pBase = space.GetAlternate();
  if (!pIndexed || !pBase || pIndexed->GetHighIndex() < 1 || !pBase->Prepare(DOC::eToRGB))
    return eNeither;
  const auto nComponents = static_cast<std::size_t>(pBase->GetComponentCount());
  BSE::CBasicArray<double> color;
  color.SetSize(pBase->GetComponentCount());
  bool bBlack[2] = {};
  bool bWhite[2] = {};
  for (std::size_t i = 0; i < 2; ++i)
  {
    double rgb[3] = {};
    pBase->ToReal(pIndexed->GetTable().subspan(i * nComponents, nComponents), color.GetSpan());
    if (!pBase->ToRGB(color.GetSpan(), rgb))
      return eNeither;
    bBlack[i] = std::all_of(rgb, rgb + 3, [](double d) { return d <= 0.01; });
    bWhite[i] = std::all_of(rgb, rgb + 3, [](double d) { return d >= 0.99; });
  }
  return bBlack[0] && bWhite[1] ? eBlackFirst : bWhite[0] && bBlack[1] ? eWhiteFirst : eNeither;
}

// Whether the first components of a table of RGB are its gray. Equal inks are gray as well, but how dark
// depends on the inks, except where there is all of them or none.
bool IsTableGray(const DOC::IIndexedColorSpace& indexed)
{
  const DOC::IColorSpace& base = indexed.GetBase();
  const auto nComponents = static_cast<std::size_t>(base.GetComponentCount());
  if (nComponents < 2)
    return false;
  for (int i = 0; i < base.GetComponentCount(); ++i)
  {
    if (base.GetRange(i).m_dMin != 0 || base.GetRange(i).m_dMax != 1)
      return false;
  }
  const std::span<const unsigned char> table = indexed.GetTable();
  for (std::size_t i = 0; i < table.size(); ++i)
  {
    if (table[i] != table[i - i % nComponents] || (nComponents == 4 && table[i] != 0 && table[i] != 255))
      return false;
  }
  return true;
}

}  // namespace

BSE::IByteStream* CImage::BeginChange(CSampleFormat& format, bool bColors)
{
  return CanChange(m_object.Get()) ? Begin(format, bColors) : nullptr;
}

void CImage::Store(BSE::IByteStream* pData, int nBits, const CObjectPtr& space)
{
  // The old data is held, since the new may be a view of it. Decode and the colour key are still those of the
  // old samples.
  const BSE::CObjectPtr<BSE::IByteStream> pHeld = pData;
  if (GetDecode() == eDecodeInverted)
    TurnColorKey();
  RemoveEntry("Decode", "D");
  SetBitsPerComponent(nBits);
  SetColorSpace(space);
  SetData(pData);
}

bool CImage::ConvertTo(DOC::TTarget target)
{
  if (IsImageMask() && target != DOC::eToRGB)
    return false;
  DOC::IColorSpace* pSpace = GetColorSpace();
  const bool bDevice = pSpace && pSpace->GetType() == GetDeviceType(target);
  CSampleFormat format;
  if (bDevice && GetBitsPerComponent() == 8)
    return true;
  BSE::IByteStream* pSource = BeginChange(format);
  if (!pSource || (!bDevice && !pSpace->Prepare(target)))
    return false;
  CStreamPtr pResult;
  if (bDevice)
    pResult = new CConvertTo8BPCFilter(pSource, format, m_object.Get());
  else
    pResult = new CConvertColorFilter(pSource, format, target, m_object.Get());
  if (!pResult->IsValid())
    return false;
  RemoveEntry("ImageMask", "IM");
  Store(pResult.Get(), 8, MakeName(GetDeviceName(target)));
  return true;
}

bool CImage::ConvertPalette(DOC::TTarget target)
{
  DOC::IColorSpace* pSpace = GetColorSpace();
  const DOC::IIndexedColorSpace* pIndexed = pSpace ? pSpace->GetIndexed() : nullptr;
  if (!pIndexed)
    return pSpace != nullptr;
  DOC::IColorSpace* pBase = pSpace->GetAlternate();
  if (pBase && pBase->GetType() == GetDeviceType(target))
    return true;
  if (!pBase || !CanChange(m_object.Get()) || target == DOC::eToLab || !pBase->Prepare(target))
    return false;
  const int nSource = pBase->GetComponentCount();
  const int nResult = DOC::GetTargetComponents(target);
  BSE::CBasicArray<double> color;
  color.SetSize(nSource);
  BSE::CBasicArray<unsigned char> table;
  for (int i = 0; i <= pIndexed->GetHighIndex(); ++i)
  {
    double converted[4] = {};
    const auto nStart = static_cast<std::size_t>(i) * static_cast<std::size_t>(nSource);
    pBase->ToReal(pIndexed->GetTable().subspan(nStart, static_cast<std::size_t>(nSource)), color.GetSpan());
    if (!pBase->ConvertColor(target, color.GetSpan(), converted) || pBase->IsGuessed())
      return false;
    for (int k = 0; k < nResult; ++k)
      table.Add(DOC::TRange().ToByte(converted[k]));
  }
  const CObjectPtr space = new CArrayObject;
  space.Add(MakeName("Indexed"));
  space.Add(MakeName(GetDeviceName(target)));
  space.Add(new CIntegerObject(pIndexed->GetHighIndex()));
  space.Add(new CStringObject(CString(table.GetData(), table.GetSize())));
  SetColorSpace(space);
  return true;
}

bool CImage::ConvertToBaseColorSpace()
{
  DOC::IColorSpace* pSpace = GetColorSpace();
  const DOC::IIndexedColorSpace* pIndexed = pSpace ? pSpace->GetIndexed() : nullptr;
  if (!pIndexed)
    return pSpace != nullptr;
  CSampleFormat format;
  BSE::IByteStream* pSource = BeginChange(format);
  if (!pSource)
    return false;
  const DOC::IColorSpace& base = pIndexed->GetBase();
  const bool bBits = format.nBitsPerComponent == 1 && base.GetComponentCount() == 1;
  const TBlackAndWhite found = bBits ? FindBlackAndWhite(*pSpace) : eNeither;
  if (found != eNeither)
  {
    if (found == eWhiteFirst && !Invert())
      return false;
    SetColorSpace(MakeName("DeviceGray"));
    return true;
  }
  const auto* pObject = dynamic_cast<const CColorSpace*>(pSpace);
  const CObjectPtr baseObject = pObject ? pObject->GetObject()[1] : CObjectPtr();
  if ((base.GetType() > DOC::eDeviceCMYK && base.GetType() != DOC::eICCBased) || !baseObject)
    return false;
  const bool bGrayOnly = IsTableGray(*pIndexed);
  CStreamPtr pResult(new CConvertToBaseCSFilter(pSource, format, bGrayOnly, m_object.Get()));
  if (!pResult->IsValid())
    return false;
  if (bGrayOnly && base.GetComponentCount() == 4)
    pResult = new BSE::CInvertDecodeFilter(pResult.Get(), m_object.Get());
  Store(pResult.Get(), 8, bGrayOnly ? MakeName("DeviceGray") : baseObject);
  return true;
}

bool CImage::ReduceToBitonal(int nMode)
{
  DOC::IColorSpace* pSpace = GetColorSpace();
  if (!pSpace)
    return false;
  if (GetBitsPerComponent() == 1)
  {
    if (CanChange(m_object.Get()) && GetDecode() != eDecodeOther && FindBlackAndWhite(*pSpace) == eBlackFirst)
      SetColorSpace(MakeName("DeviceGray"));
    return true;
  }
  // Nothing may have changed where the second step fails.
  CSampleFormat format;
  BSE::IByteStream* pSource = BeginChange(format);
  const bool bGray = pSpace->GetType() == DOC::eDeviceGray;
  if (!pSource || IsImageMask() || (!bGray && !pSpace->Prepare(DOC::eToGray)))
    return false;
  CStreamPtr pGray = pSource;
  if (bGray && format.nBitsPerComponent != 8)
    pGray = new CConvertTo8BPCFilter(pSource, format, m_object.Get());
  else if (!bGray)
    pGray = new CConvertColorFilter(pSource, format, DOC::eToGray, m_object.Get());
  const CSampleFormat gray = {nullptr, 8, format.nWidth, format.nHeight};
  const CStreamPtr pResult(new CConvertToBitonalFilter(pGray.Get(), gray, nMode, m_object.Get()));
  if (!pResult->IsValid())
    return false;
  Store(pResult.Get(), 1, MakeName("DeviceGray"));
  return true;
}

bool CImage::Resample(int nMode, double dFactorX, double dFactorY)
{
  DOC::IColorSpace* pSpace = GetColorSpace();
  const bool bDeviceN = pSpace && pSpace->GetType() == DOC::eDeviceN;
  if (bDeviceN || (pSpace && pSpace->GetIndexed()))
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("I", "PDF Image", "Unable to resample %s image.", bDeviceN ? "DeviceN" : "indexed");
    return false;
  }
  CSampleFormat format;
  if (dFactorX >= 1.0 && dFactorY >= 1.0)
    return false;
  CStreamPtr pChain = BeginChange(format, false);
  if (!pChain)
    return false;
  const bool bBitonal = IsBitonal();
  // Means of samples of a few bits are mostly not among them.
  if (format.nBitsPerComponent < 8)
  {
    pChain = new CConvertTo8BPCFilter(pChain.Get(), format, m_object.Get());
    format.nBitsPerComponent = 8;
  }
  const BSE::CObjectPtr<CResampleFilter> pResample(
      new CResampleFilter(pChain.Get(), format, dFactorX, dFactorY, m_object.Get()));
  const int nWidth = pResample->GetNewWidth();
  const int nHeight = pResample->GetNewHeight();
  if (!pResample->IsValid() || (nWidth == format.nWidth && nHeight == format.nHeight))
    return false;
  pChain = pResample;
  if (bBitonal)
    pChain = new CConvertToBitonalFilter(pChain.Get(), {format.pColorSpace, 8, nWidth, nHeight}, nMode,
                                         m_object.Get());
  if (!pChain->IsValid())
    return false;
  SetWidth(nWidth);
  SetHeight(nHeight);
  if (!bBitonal)
    SetBitsPerComponent(format.nBitsPerComponent);
  m_dResolutionX *= pResample->GetTrueFactorX();
  m_dResolutionY *= pResample->GetTrueFactorY();
  SetData(pChain.Get());
  return true;
}

bool CImage::ReduceToGrayByFactor(int n)
{
  CSampleFormat format;
  BSE::IByteStream* pSource = IsBitonal() && !IsImageMask() ? BeginChange(format) : nullptr;
  // Blocks are shares of white: colours of one component that are something else would not be kept.
  if (!pSource || format.pColorSpace->GetType() != DOC::eDeviceGray)
    return false;
  const BSE::CObjectPtr<CAntialiasFilter> pResult(new CAntialiasFilter(pSource, format, n, m_object.Get()));
  if (!pResult->IsValid())
    return false;
  SetWidth(static_cast<int>(pResult->GetRowSize()));
  SetHeight(pResult->GetRowCount());
  Store(pResult.Get(), 8, MakeName("DeviceGray"));
  return true;
}

bool CImage::Invert()
{
  CSampleFormat format;
  BSE::IByteStream* pSource = BeginChange(format);
  if (!pSource)
    return false;
  const CStreamPtr pResult(new BSE::CInvertDecodeFilter(pSource, m_object.Get()));
  SetData(pResult.Get());
  return true;
}

bool CImage::KeepRows(BSE::IByteStream& source, const CSampleFormat& format, BSE::IByteStream& result,
                      int nLeft, int nTop, int nBottom, int nRight) const
{
  const std::int64_t nComponents = format.GetComponents();
  BSE::CBasicArray<unsigned char> row;
  row.SetSize(static_cast<int>(format.GetRowSize()));
  for (int nRow = format.nHeight - 1; nRow >= nBottom; --nRow)
  {
    if (source.ReadFully(row.GetData(), row.GetSize()) < row.GetSize())
      return false;
    if (nRow < nTop && !result.WriteAll(row.GetData() + nLeft * nComponents, (nRight - nLeft) * nComponents))
      return false;
  }
  return !BSE::HasGap(&source);
}

bool CImage::Clip(int nLeft, int nTop, int nBottom, int nRight)
{
  CSampleFormat format;
  BSE::IByteStream* pSource = GetBitsPerComponent() == 8 ? BeginChange(format, false) : nullptr;
  if (!pSource)
    return false;
  nLeft = std::max(nLeft, 0);
  nRight = std::min(nRight, format.nWidth);
  nBottom = std::max(nBottom, 0);
  nTop = std::min(nTop, format.nHeight);
  if (nLeft >= nRight)
  {
    nLeft = 0;
    nRight = 1;
  }
  if (nBottom >= nTop)
  {
    nBottom = 0;
    nTop = 1;
  }
  const std::int64_t nRowSize = std::int64_t{nRight - nLeft} * format.GetComponents();
  const CStreamPtr pResult(new BSE::CMemoryStream);
  if (nRowSize * (nTop - nBottom) > BSE::g_nMaxDecodedSize ||
      !KeepRows(*pSource, format, *pResult, nLeft, nTop, nBottom, nRight))
    return false;
  pResult->Rewind();
  SetWidth(nRight - nLeft);
  SetHeight(nTop - nBottom);
  SetData(pResult.Get());
  return true;
}

}  // namespace PDF
