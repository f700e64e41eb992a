// What the colours of an image allow, and what becomes of its masks.

#include "base/MemoryStream.h"
#include "images/Image.h"
#include "images/ImageDictionary.h"
#include "pdf/ArrayObject.h"
#include "pdf/SimpleObjects.h"

#include <algorithm>
#include <cmath>

namespace PDF
{

namespace
{

constexpr std::size_t g_nMaxColors = 4;

bool IsAll(std::span<const double> color, double dValue)
{
  return std::all_of(color.begin(), color.end(), [dValue](double d) { return d == dValue; });
}

// The space that colours of an image are in, and not their numbers in a table.
DOC::IColorSpace* GetRealSpace(DOC::IColorSpace* pSpace)
{
  return pSpace && pSpace->GetIndexed() ? pSpace->GetAlternate() : pSpace;
}

}  // namespace

bool CImage::MakeOnePixel(std::span<const double> color)
{
  const int nWidth = GetWidth();
  const int nHeight = GetHeight();
  if (!CanChange(m_object.Get()) || (nWidth == 1 && nHeight == 1))
    return false;
  unsigned char pixel[g_nMaxColors] = {};
  for (std::size_t i = 0; i < color.size(); ++i)
    pixel[i] = static_cast<unsigned char>(std::lround(color[i] * 255));
  const bool bIndexed = GetColorSpace()->GetIndexed();
  const char* szBase = GetRealSpace(GetColorSpace())->GetName();
  const BSE::CObjectPtr<BSE::CMemoryStream> pData(new BSE::CMemoryStream);
  if (!pData->WriteAll(pixel, std::ssize(color)) || !pData->Rewind())
    return false;
  SetWidth(1);
  SetHeight(1);
  m_dResolutionX /= nWidth;
  m_dResolutionY /= nHeight;
  SetData(pData.Get());
  if (bIndexed)
    SetColorSpace(new CNameObject(szBase));
  return true;
}

bool CImage::ReduceColorComplexity()
{
  double aFirst[g_nMaxColors] = {};
  double aSecond[g_nMaxColors] = {};
  const TColorAnalysis analysis = AnalyzeColors(aFirst, aSecond);
  const DOC::IColorSpace* pSpace = GetRealSpace(GetColorSpace());
  if (!pSpace || analysis == eUnknownColors || analysis == eManyColors)
    return false;
  const auto nComponents = static_cast<std::size_t>(pSpace->GetComponentCount());
  const std::span<const double> first = std::span(aFirst).first(nComponents);
  const std::span<const double> second = std::span(aSecond).first(nComponents);
  if (analysis == eOneColor)
    return MakeOnePixel(first);
  if (analysis == eGrayColors)
    return !IsGray() && ConvertToGray();
  return !IsBitonal() && ((IsAll(first, 0) && IsAll(second, 1)) || (IsAll(first, 1) && IsAll(second, 0))) &&
         ReduceToBitonal(0);
}

bool CImage::MakeStencil()
{
  CSampleFormat format;
  const bool bGray = GetBitsPerComponent() != 1 || (GetColorSpace() && !GetColorSpace()->GetIndexed());
  if (IsImageMask() || !bGray || !BeginChange(format) || !ReduceToBitonal(0) || !Invert())
    return false;
  const BSE::CObjectPtr<BSE::IByteStream> pData = GetStream();
  SetData(pData.Get(), "FlateDecode");
  m_object.AddEntry("ImageMask", new CBooleanObject(true));
  RemoveEntry("ColorSpace", "CS");
  m_pColorSpace = nullptr;
  return true;
}

bool CImage::HasBitonalTable()
{
  const DOC::IColorSpace* pSpace = GetBitsPerComponent() == 1 ? GetColorSpace() : nullptr;
  const DOC::IIndexedColorSpace* pIndexed = pSpace ? pSpace->GetIndexed() : nullptr;
  if (!pIndexed || pIndexed->GetHighIndex() != 1 || pIndexed->GetBase().GetType() > DOC::eDeviceRGB)
    return false;
  const std::span<const unsigned char> table = pIndexed->GetTable();
  const std::size_t nHalf = table.size() / 2;
  const unsigned char nFirst = table.front();
  const unsigned char nSecond = table.back();
  return (nFirst == 0 || nFirst == 255) && nSecond == 255 - nFirst &&
         std::ranges::all_of(table.first(nHalf), [=](unsigned char n) { return n == nFirst; }) &&
         std::ranges::all_of(table.subspan(nHalf), [=](unsigned char n) { return n == nSecond; });
}

bool CImage::ConvertMatte(DOC::TTarget target)
{
  const CObjectPtr mask = m_object["SMask"];
  const CObjectPtr matte = mask["Matte"];
  if (!matte)
    return true;
  DOC::IColorSpace* pSpace = GetRealSpace(GetColorSpace());
  if (!pSpace || !CanChange(mask.Get()) || matte.GetSize() != pSpace->GetComponentCount())
    return false;
  BSE::CBasicArray<double> color;
  for (int i = 0; i < matte.GetSize(); ++i)
  {
    if (!matte[i].IsNumber())
      return false;
    color.Add(matte[i]->GetRealValue());
  }
  double aConverted[g_nMaxColors] = {};
  if (!pSpace->ConvertColor(target, color.GetSpan(), aConverted))
    return false;
  const CObjectPtr converted = new CArrayObject;
  for (int i = 0; i < DOC::GetTargetComponents(target); ++i)
    converted.Add(new CRealObject(aConverted[i]));
  mask.AddEntry("Matte", converted);
  return true;
}

}  // namespace PDF
