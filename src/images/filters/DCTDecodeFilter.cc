#include "images/filters/DCTDecodeFilter.h"

#include "base/Limits.h"
#include "images/filters/DCTDecompressor.h"
#include "images/filters/ExifReader.h"
#include "images/filters/RowSize.h"

#include <algorithm>
#include <cstring>

namespace BSE
{

namespace
{

constexpr int g_nDotsPerInch = 1;
constexpr int g_nDotsPerCentimetre = 2;
constexpr double g_dCentimetresPerInch = 2.54;

}  // namespace

static_assert(int{eDCTGray} == JCS_GRAYSCALE && int{eDCTRGB} == JCS_RGB && int{eDCTYCC} == JCS_YCbCr &&
              int{eDCTCMYK} == JCS_CMYK && int{eDCTYCCK} == JCS_YCCK);

CDCTDecodeFilter::CDCTDecodeFilter(IByteStream* pSource, const CDCTParameters& parameters,
                                   IErrorContext* pErrorContext)
    : CBufferedDecodeFilter(pSource, pErrorContext),
      m_parameters(parameters),
      m_nColorTransform(parameters.nColorTransform),
      m_nLines(parameters.nHeight)
{
  Open();
}

CDCTDecodeFilter::~CDCTDecodeFilter() = default;

void CDCTDecodeFilter::Open()
{
  m_bStarted = false;
  m_nRowSize = 0;
  m_pDecompressor.Reset(new CDCTDecompressor(*m_pInput, m_pErrorContext));
  if ((!m_pDecompressor->ReadHeader() && !OpenWithLines()) || !SetColorSpace())
  {
    End();
    return;
  }
  const jpeg_decompress_struct& info = m_pDecompressor->GetInfo();
  m_nComponents = info.num_components;
  m_nRowSize = std::int64_t{info.image_width} * m_nComponents;
  m_parameters.nWidth = static_cast<int>(info.image_width);
  m_parameters.nHeight = static_cast<int>(info.image_height);
  m_parameters.nColorSpace = info.jpeg_color_space;
  const jpeg_component_info* pComponents = info.comp_info;
  const bool bNamedRGB = !info.saw_Adobe_marker && !info.saw_JFIF_marker && m_nComponents == 3 &&
                         info.jpeg_color_space != JCS_RGB && pComponents[0].component_id == 'R' &&
                         pComponents[1].component_id == 'G' && pComponents[2].component_id == 'B';
  m_bAmbiguous =
      bNamedRGB || (info.saw_Adobe_marker && info.saw_JFIF_marker && info.jpeg_color_space == JCS_RGB);
  ReadMarkers();
}

bool CDCTDecodeFilter::OpenWithLines()
{
  if (!m_pDecompressor->LacksLines())
    return false;
  m_pDecompressor.Reset();
  CBufferedDecodeFilter::RewindSource();
  TDCTLines lines = FindDCTLines(*m_pInput);
  if (lines.m_nCount == 0)
    lines.m_nCount = std::clamp(m_nLines, 0, 0xFFFF);
  CBufferedDecodeFilter::RewindSource();
  m_pDecompressor.Reset(new CDCTDecompressor(*m_pInput, m_pErrorContext, lines));
  return m_pDecompressor->ReadHeader();
}

bool CDCTDecodeFilter::SetColorSpace()
{
  jpeg_decompress_struct& info = m_pDecompressor->GetInfo();
  if (std::int64_t{info.image_width} * info.image_height > g_nMaxImagePixels)
  {
    ReportError(m_pErrorContext, CScopedPtr<IError>(new CDCTError(CDCTError::g_nImageTooBig,
                                                                  "The image has too many pixels")));
    return false;
  }
  // Beside a JFIF header libjpeg takes every Adobe marker for one that says YCbCr; readers of PDF believe it.
  const int nTransform = info.saw_Adobe_marker ? info.Adobe_transform : m_nColorTransform;
  if (info.num_components == 3)
    info.jpeg_color_space = nTransform == 0 ? JCS_RGB : JCS_YCbCr;
  if (!info.saw_Adobe_marker && info.num_components == 4)
    info.jpeg_color_space = m_nColorTransform == 0 ? JCS_CMYK : JCS_YCCK;
  if (info.num_components == 3)
    info.out_color_space = JCS_RGB;
  else if (info.num_components == 4)
    info.out_color_space = JCS_CMYK;
  return true;
}

void CDCTDecodeFilter::ReadMarkers()
{
  constexpr char exif[] = {'E', 'x', 'i', 'f', 0, 0};
  constexpr unsigned nMinExif = 9;
  const jpeg_decompress_struct& info = m_pDecompressor->GetInfo();
  const int nUnit = info.saw_JFIF_marker ? info.density_unit : 0;
  m_parameters.bHasResolution =
      (nUnit == g_nDotsPerInch || nUnit == g_nDotsPerCentimetre) && info.X_density > 0 && info.Y_density > 0;
  if (m_parameters.bHasResolution)
  {
    const double dFactor = nUnit == g_nDotsPerCentimetre ? g_dCentimetresPerInch : 1;
    m_parameters.dResolutionX = info.X_density * dFactor;
    m_parameters.dResolutionY = info.Y_density * dFactor;
  }
  for (const jpeg_marker_struct* p = info.marker_list; p; p = p->next)
  {
    if (p->data_length <= nMinExif || std::memcmp(p->data, exif, sizeof(exif)) != 0)
      continue;
    const TExif told = ReadExif(std::span(p->data, p->data_length).subspan(sizeof(exif)));
    m_parameters.nOrientation = told.m_nOrientation;
    if (!m_parameters.bHasResolution && told.m_dResolutionX > 0 && told.m_dResolutionY > 0)
    {
      m_parameters.dResolutionX = told.m_dResolutionX;
      m_parameters.dResolutionY = told.m_dResolutionY;
      m_parameters.bHasResolution = true;
    }
    return;
  }
}

int CDCTDecodeFilter::GetBlockSize() const
{
  return GetRowBlockSize(CDecodeFilter::GetBlockSize(), m_nRowSize);
}

std::int64_t CDCTDecodeFilter::GetEncodedSize() const
{
  // Data of an unknown length is that of another filter, and taken to be as long as what that one decodes.
  IByteStream* pStream = m_pSource.Get();
  std::int64_t nSize = pStream->GetLength();
  while (nSize < 0)
  {
    const auto* const pFilter = dynamic_cast<const CFilter*>(pStream);
    pStream = pFilter ? pFilter->GetSource() : nullptr;
    if (!pStream)
      return 0;
    nSize = pStream->GetLength();
  }
  return nSize;
}

std::int64_t CDCTDecodeFilter::GetSizeLimit() const
{
  const std::int64_t nTaken = std::min(m_pInput->Tell(), g_nMaxImagePixels);
  const std::int64_t nRows = std::max(g_nFreeDecodedSize, nTaken * g_nMaxDecodeRatio) / m_nRowSize + 1;
  return m_nRowSize * std::min<std::int64_t>(nRows, m_parameters.nHeight);
}

std::int64_t CDCTDecodeFilter::Read(unsigned char* pBuffer, std::int64_t n)
{
  return m_nRowSize > 0 ? CDecodeFilter::Read(pBuffer, n - n % m_nRowSize) : 0;
}

int CDCTDecodeFilter::DecodeBlock(std::span<unsigned char> block)
{
  if (!m_bStarted && !m_pDecompressor->Start(GetEncodedSize()))
  {
    End();
    return 0;
  }
  m_bStarted = true;
  const auto nRowSize = static_cast<std::size_t>(m_nRowSize);
  const int nRows = m_pDecompressor->ReadRows(block, nRowSize);
  if (m_pDecompressor->HasEnded())
    End();
  return static_cast<int>(nRows * m_nRowSize);
}

void CDCTDecodeFilter::End()
{
  m_pDecompressor->Finish();
  m_bGap = m_bGap || m_pDecompressor->HasGap();
  m_pDecompressor.Reset();
  m_bEnd = true;
}

bool CDCTDecodeFilter::RewindSource()
{
  if (!CBufferedDecodeFilter::RewindSource())
    return false;
  m_bEnd = false;
  Open();
  return !m_bEnd;
}

}  // namespace BSE
