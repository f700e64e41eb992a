// An image is described twice, by its dictionary and by its data, and readers do not all believe the same
// one. Of JPEG 2000 data the data counts (ISO 32000-1, 7.4.9). For other data the decoder is asked what it
// has found, and where the dictionary says otherwise nothing is transformed: new data that fits the
// dictionary would be another picture. The data is opened when it is first asked about, and only once, since
// opening it may decode a header.

#include "images/Image.h"

#include "base/Limits.h"
#include "base/MemoryStream.h"
#include "base/Tracer.h"
#include "images/ImageDictionary.h"
#include "images/JPXColorSpace.h"
#include "images/StatusCodes.h"
#include "images/filters/CCITTFaxDecodeFilter.h"
#include "images/filters/DCTDecodeFilter.h"
#include "images/filters/InvertFilters.h"
#include "images/filters/RowSize.h"
#include "images/filters/jbig2/JBIG2DecodeFilter.h"
#include "images/filters/jpx/JPXDecodeFilter.h"
#include "pdf/ArrayObject.h"
#include "pdf/File.h"
#include "pdf/FilterFactory.h"
#include "pdf/IndirectObject.h"
#include "pdf/SimpleObjects.h"
#include "pdf/StreamObjects.h"

#include <algorithm>
#include <cmath>

namespace PDF
{

namespace
{

constexpr int g_nBlockSize = 1 << 16;

}  // namespace

CImage::CImage(const CObjectPtr& image, CColorSpaceFactory& spaces, const CObjectPtr& resources)
    : m_object(image), m_resources(resources), m_pSpaces(&spaces)
{
}

CImage::CImage(const CImage& other) : m_pSpaces(other.m_pSpaces)
{
  *this = other;
}

CImage& CImage::operator=(const CImage& other)
{
  if (this == &other)
    return *this;
  m_object = other.m_object;
  m_resources = other.m_resources;
  m_pSpaces = other.m_pSpaces;
  m_pColorSpace = other.m_pColorSpace;
  m_dResolutionX = other.m_dResolutionX;
  m_dResolutionY = other.m_dResolutionY;
  // Readers of their own.
  Forget();
  return *this;
}

CImage::~CImage() = default;

void CImage::Forget()
{
  m_pStream = nullptr;
  m_jpxSpace.Reset();
  m_found = {};
  m_bOpened = false;
}

bool CImage::IsImageMask() const
{
  return CImageDictionary(m_object.Get()).IsStencil();
}

int CImage::GetWidth()
{
  const TFound* pFound = FindJPX();
  return pFound ? pFound->m_nWidth : CImageDictionary(m_object.Get()).GetWidth();
}

int CImage::GetHeight()
{
  const TFound* pFound = FindJPX();
  return pFound ? pFound->m_nHeight : CImageDictionary(m_object.Get()).GetHeight();
}

int CImage::GetBitsPerComponent()
{
  const TFound* pFound = FindJPX();
  return pFound ? pFound->m_nBits : CImageDictionary(m_object.Get()).GetBitsPerComponent();
}

// What JPEG 2000 data says; null for other data. Only that is opened here.
const CImage::TFound* CImage::FindJPX()
{
  const int nFilters = GetFilterCount(m_object.Get());
  if (nFilters == 0 || !GetFilterName(m_object.Get(), nFilters - 1).IsName("JPXDecode"))
    return nullptr;
  OpenData();
  return m_found.m_bJPX ? &m_found : nullptr;
}

void CImage::LookAtDecoder(BSE::IByteStream* pData)
{
  if (const auto* pJPX = dynamic_cast<BSE::CJPXDecodeFilter*>(pData); pJPX && pJPX->IsValid())
  {
    const BSE::CJPXParameters& jpx = pJPX->GetParameters();
    m_found = {jpx.nWidth, jpx.nHeight,         pJPX->GetSampleCount(), 8,
               true,       pJPX->IsAmbiguous(), !jpx.Palette.IsEmpty()};
    m_jpxSpace = MakeJPXColorSpace(jpx);
  }
  else if (const auto* pDCT = dynamic_cast<BSE::CDCTDecodeFilter*>(pData))
    m_found = {pDCT->GetParameters().nWidth, pDCT->GetParameters().nHeight, pDCT->GetComponents(), 8, false,
               pDCT->IsAmbiguous()};
  else if (const auto* pFax = dynamic_cast<BSE::CCCITTFaxDecodeFilter*>(pData))
    m_found = {pFax->GetParameters().Columns, 0, 1, 1, false};
  else if (const auto* pJBIG2 = dynamic_cast<BSE::CJBIG2DecodeFilter*>(pData))
    m_found = {pJBIG2->GetParameters().nWidth, 0, 1, 1, false};
}

void CImage::OpenData()
{
  if (m_bOpened)
    return;
  m_bOpened = true;
  m_pStream = m_object.GetDecodedStream();
  if (m_pStream && !m_pStream->IsValid())
    m_pStream = nullptr;
  LookAtDecoder(m_pStream.Get());
  // The data counts, whatever the dictionary says; once it has become other data the dictionary will count.
  if (FindJPX() && CanChange(m_object.Get()))
  {
    SetWidth(m_found.m_nWidth);
    SetHeight(m_found.m_nHeight);
    SetBitsPerComponent(m_found.m_nBits);
  }
  if (m_pStream && GetDecode() == eDecodeInverted)
    m_pStream = new BSE::CInvertDecodeFilter(m_pStream.Get(), m_object.Get());
}

BSE::IByteStream* CImage::GetStream()
{
  OpenData();
  return m_pStream.Get();
}

DOC::IColorSpace* CImage::GetColorSpace()
{
  if (m_pColorSpace)
    return m_pColorSpace.Get();
  CObjectPtr space = CImageDictionary(m_object.Get()).GetColorSpace();
  if (!space && FindJPX())
    space = m_jpxSpace;
  if (space && !IsImageMask())
    m_pColorSpace = m_pSpaces->Create(space, m_resources);
  else
    m_pColorSpace = m_pSpaces->GetDevice(1);
  return m_pColorSpace.Get();
}

TCompression GetFilterCompression(const CObjectPtr& name, std::int64_t nK)
{
  struct TRow
  {
    const char* m_szName;
    const char* m_szShort;
    TCompression m_compression;
  };
  constexpr TRow rows[] = {{"DCTDecode", "DCT", eCompressionJPEG},
                           {"FlateDecode", "Fl", eCompressionFlate},
                           {"LZWDecode", "LZW", eCompressionLZW},
                           {"JBIG2Decode", nullptr, eCompressionJBIG2},
                           {"JPXDecode", nullptr, eCompressionJPEG2000}};
  for (const TRow& row : rows)
  {
    if (name.IsName(row.m_szName) || (row.m_szShort && name.IsName(row.m_szShort)))
      return row.m_compression;
  }
  if (!name.IsName("CCITTFaxDecode") && !name.IsName("CCF"))
    return eCompressionUnspecified;
  return nK < 0 ? eCompressionGroup4 : nK > 0 ? eCompressionGroup3 : eCompressionGroup31D;
}

TCompression CImage::GetCompressionType() const
{
  const int nCount = GetFilterCount(m_object.Get());
  if (nCount == 0)
    return m_object["Filter"] ? eCompressionUnspecified : eCompressionRaw;
  const CObjectPtr first = GetFilterName(m_object.Get(), 0);
  const bool bArmoured = nCount == 2 && (first.IsName("ASCII85Decode") || first.IsName("A85"));
  if (bArmoured && BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF Image",
                        "TO"
                        "DO: fix GetCompressionType semantics");
  if (nCount > 2 || (nCount == 2 && !bArmoured))
    return eCompressionUnspecified;
  const std::int64_t nK = GetIntegerOr(GetFilterParameters(m_object.Get(), nCount - 1)["K"], -1);
  return GetFilterCompression(GetFilterName(m_object.Get(), nCount - 1), nK);
}

bool CImage::IsBitonal()
{
  if (GetBitsPerComponent() != 1)
    return false;
  const DOC::IColorSpace* pSpace = GetColorSpace();
  return !pSpace || pSpace->GetComponentCount() == 1;
}

bool CImage::IsGray()
{
  const DOC::IColorSpace* pSpace = GetBitsPerComponent() < 2 ? nullptr : GetColorSpace();
  return pSpace && pSpace->IsGray();
}

bool CImage::IsColor()
{
  const DOC::IColorSpace* pSpace = GetBitsPerComponent() < 2 ? nullptr : GetColorSpace();
  return pSpace && pSpace->IsColor();
}

std::int64_t CImage::GetRowBytes()
{
  const CSampleFormat format = {GetColorSpace(), GetBitsPerComponent(), GetWidth(), GetHeight()};
  return format.IsUsable() ? format.GetRowSize() : 0;
}

bool CImage::HasDecode(const CObjectPtr& decode, bool bInverted)
{
  const DOC::IColorSpace* pSpace = GetColorSpace();
  for (int i = 0; pSpace && i < pSpace->GetComponentCount(); ++i)
  {
    DOC::TRange range = pSpace->GetRange(i);
    if (pSpace->GetIndexed())
      range.m_dMax = (1 << std::clamp(GetBitsPerComponent(), 0, 16)) - 1;
    const CObjectPtr low = decode[bInverted ? 2 * i + 1 : 2 * i];
    const CObjectPtr high = decode[bInverted ? 2 * i : 2 * i + 1];
    if (!low.IsNumber() || !high.IsNumber())
      return false;
    // Writers round the ends of ranges to a few decimals.
    const double dNear = 1e-4 * std::fabs(range.m_dMax - range.m_dMin);
    if (!(std::fabs(low->GetRealValue() - range.m_dMin) <= dNear &&
          std::fabs(high->GetRealValue() - range.m_dMax) <= dNear))
      return false;
  }
  return pSpace != nullptr;
}

TDecode CImage::GetDecode()
{
  const CObjectPtr decode = CImageDictionary(m_object.Get()).GetDecode();
  // For JPEG 2000 data the array counts in stencil masks only (ISO 32000-1, Table 89).
  if (!decode.IsArray() || (!IsImageMask() && FindJPX()) || HasDecode(decode, false))
    return eDecodeNone;
  return HasDecode(decode, true) ? eDecodeInverted : eDecodeOther;
}

bool CImage::FitsData()
{
  if (m_found.m_nWidth == 0)
    return true;
  const bool bWidth = m_found.m_nBits == 8
                          ? m_found.m_nWidth == GetWidth()
                          : BSE::GetBitRowSize(m_found.m_nWidth) == BSE::GetBitRowSize(GetWidth());
  return bWidth && (m_found.m_nHeight == 0 || m_found.m_nHeight == GetHeight()) &&
         m_found.m_nComponents == GetColorSpace()->GetComponentCount() &&
         m_found.m_nBits == GetBitsPerComponent();
}

bool CImage::GetDataFormat(CSampleFormat& format)
{
  OpenData();
  format = {GetColorSpace(), GetBitsPerComponent(), GetWidth(), GetHeight()};
  if (m_found.m_nWidth > 0)
  {
    const bool bRows = BSE::GetBitRowSize(m_found.m_nWidth) == BSE::GetBitRowSize(format.nWidth);
    if (m_found.m_nBits == 8 || !bRows)
      format.nWidth = m_found.m_nWidth;
    format.nHeight = m_found.m_nHeight > 0 ? m_found.m_nHeight : format.nHeight;
    format.nBitsPerComponent = m_found.m_nBits;
    if (!format.pColorSpace || format.GetComponents() != m_found.m_nComponents)
      format.pColorSpace = m_pSpaces->GetDevice(m_found.m_nComponents);
  }
  const bool bIndexed = format.pColorSpace && format.pColorSpace->GetIndexed();
  if (format.pColorSpace && format.IsUsable() && !(bIndexed && format.nBitsPerComponent > 8))
    return true;
  BSE::CTracer::Trace("I", "PDF Image", "The form of the samples of an image is not known.");
  return false;
}

const char* CImage::FindObstacle()
{
  const CSampleFormat format = {GetColorSpace(), GetBitsPerComponent(), GetWidth(), GetHeight()};
  if (!GetStream())
    return "no data";
  if (!format.pColorSpace)
    return "no color space";
  if (!format.IsUsable() || (format.pColorSpace->GetIndexed() && format.nBitsPerComponent > 8))
    return "size or depth out of bounds";
  if (!FitsData())
    return "the data is another image";
  // Readers differ in what they make of JPEG 2000 data as a stencil, and of another depth in the dictionary.
  if (IsImageMask() && (format.nBitsPerComponent != 1 || GetIntegerOr(m_object["BitsPerComponent"], 1) > 1))
    return "the data is no stencil mask";
  if (m_found.m_bJPX && GetIntegerOr(m_object["SMaskInData"], 0) != 0)
    return "the data has its own mask";
  return nullptr;
}

bool CImage::IsAmbiguous()
{
  OpenData();
  const CObjectPtr decode = CImageDictionary(m_object.Get()).GetDecode();
  return m_found.m_bAmbiguous ||
         (m_found.m_bJPX && !IsImageMask() && decode.IsArray() && !HasDecode(decode, false)) ||
         (m_found.m_bTable && m_object["Mask"].IsArray());
}

bool CImage::HasWholeSamples()
{
  return !FindObstacle();
}

BSE::IByteStream* CImage::Begin(CSampleFormat& format, bool bColors)
{
  const char* szWhy = FindObstacle();
  if (!szWhy && bColors && GetDecode() == eDecodeOther)
    szWhy = "unusual decode array";
  else if (!szWhy && !GetStream()->Rewind())
    szWhy = "the data cannot be read again";
  format = {GetColorSpace(), GetBitsPerComponent(), GetWidth(), GetHeight()};
  if (!szWhy)
    return GetStream();
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("I", "PDF Image", "Unable to read samples of image: %s.", szWhy);
  return nullptr;
}

bool CImage::ReadSamples()
{
  CSampleFormat format;
  BSE::IByteStream* pSource = Begin(format, false);
  if (!pSource)
    return false;
  // Decoders of pictures deliver whole rows.
  const std::int64_t nRow = format.GetRowSize();
  const std::int64_t nSize = nRow * format.nHeight;
  const bool bKept = nSize <= BSE::g_nMaxRecodedSize && CanChange(m_object.Get());
  const BSE::CObjectPtr<BSE::CMemoryStream> pKept(new BSE::CMemoryStream);
  BSE::CBasicArray<unsigned char> block;
  block.SetSize(static_cast<int>(std::max<std::int64_t>(g_nBlockSize / nRow, 1) * nRow));
  for (std::int64_t nLeft = nSize; nLeft > 0;)
  {
    const std::int64_t nStep = std::min<std::int64_t>(nLeft, block.GetSize());
    if (pSource->ReadFully(block.GetData(), nStep) < nStep ||
        (bKept && !pKept->WriteAll(block.GetData(), nStep)))
      return false;
    nLeft -= nStep;
  }
  // Some damage shows after the last row alone.
  pSource->Read(block.GetData(), block.GetSize());
  if (BSE::HasGap(pSource))
    return false;
  if (bKept && pKept->Rewind())
    SetData(pKept.Get());
  return true;
}

void CImage::RemoveEntry(const char* szKey, const char* szShort)
{
  m_object.DeleteEntry(szKey);
  m_object.DeleteEntry(szShort);
}

void CImage::SetNumber(const char* szKey, const char* szShort, int nValue)
{
  m_object.DeleteEntry(szShort);
  m_object.AddEntry(szKey, new CIntegerObject(nValue));
}

void CImage::SetData(BSE::IByteStream* pData, const char* szFilter, const CObjectPtr& parameters)
{
  const BSE::CObjectPtr<BSE::IByteStream> pHeld = pData;
  const TDecode decode = GetDecode();
  if (decode == eDecodeInverted)
    TurnColorKey();
  if (decode != eDecodeOther)
    RemoveEntry("Decode", "D");
  RemoveEntry("Filter", "F");
  RemoveEntry("DecodeParms", "DP");
  if (szFilter)
    m_object.AddEntry("Filter", new CNameObject(szFilter));
  if (szFilter && parameters)
    m_object.AddEntry("DecodeParms", parameters);
  if (m_object)
    m_object->SetStreamObject(new CStreamObject(pData));
  Forget();
}

// The ranges are those of samples as they are stored (ISO 32000-1, 8.9.6.4).
void CImage::TurnColorKey()
{
  const CObjectPtr ranges = m_object["Mask"];
  const std::int64_t nHigh = (std::int64_t{1} << std::clamp(GetBitsPerComponent(), 0, 16)) - 1;
  if (!ranges.IsArray())
    return;
  const CObjectPtr turned = new CArrayObject;
  for (int i = 0; i < ranges.GetSize(); ++i)
    turned.Add(
        new CIntegerObject(nHigh - std::clamp<std::int64_t>(GetIntegerOr(ranges[i ^ 1], 0), 0, nHigh)));
  m_object.AddEntry("Mask", turned);
}

CObjectPtr CImage::MakeCopy() const
{
  CFile* pFile = m_object.GetFile();
  const CObjectPtr value = m_object.GetValueObject();
  if (!pFile || !pFile->IsWritable() || !value)
    return nullptr;
  // The number is for reports. Without a generation the object is not taken for the one in the table.
  const CObjectPtr copy = new CIndirectObject(pFile, m_object.GetObjNumber(), -1, -1);
  copy->SetValueObject(value->Clone());
  copy->SetStreamObject(m_object.GetStreamObject());
  return copy;
}

bool CImage::TakeCopy(const CObjectPtr& copy)
{
  const CObjectPtr stream = copy.GetStreamObject();
  const auto* pPart = dynamic_cast<const CStreamPart*>(stream.Get());
  // Filters that are still to be read report to their object.
  if (!CanChange(m_object.Get()) || !pPart || !pPart->IsEncoded())
    return false;
  m_object->SetValueObject(copy.GetValueObject());
  m_object->SetStreamObject(stream);
  m_pColorSpace = nullptr;
  Forget();
  return true;
}

void CImage::SetWidth(int nWidth)
{
  SetNumber("Width", "W", nWidth);
}

void CImage::SetHeight(int nHeight)
{
  SetNumber("Height", "H", nHeight);
}

void CImage::SetBitsPerComponent(int nBits)
{
  SetNumber("BitsPerComponent", "BPC", nBits);
}

void CImage::SetColorSpace(const CObjectPtr& space)
{
  m_object.DeleteEntry("CS");
  m_object.AddEntry("ColorSpace", space);
  m_pColorSpace = nullptr;
}

}  // namespace PDF
