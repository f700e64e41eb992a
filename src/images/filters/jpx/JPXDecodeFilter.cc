#include "images/filters/jpx/JPXDecodeFilter.h"

#include "base/Limits.h"
#include "images/filters/RowSize.h"
#include "images/filters/jpx/JPXCodestream.h"
#include "images/filters/jpx/JPXPicture.h"

#include <algorithm>

namespace BSE
{

CJPXDecodeFilter::CJPXDecodeFilter(IByteStream* pSource, const CJPXParameters& parameters,
                                   IErrorContext* pErrorContext)
    : CBufferedDecodeFilter(pSource, pErrorContext), m_parameters(parameters)
{
  m_bEnd = !Open();
}

CJPXDecodeFilter::~CJPXDecodeFilter() = default;

bool CJPXDecodeFilter::Open()
{
  TJPXStatus status = eJPXTruncated;
  if (!m_pInput->ReadToArray(m_data, g_nMaxDecodedSize))
    ReportError(m_pErrorContext, CScopedPtr<IError>(new CJPXError(status)));
  m_pHeader.Reset(new TJPXHeader);
  if (!ReadJPXHeader(m_data.GetSpan(), *m_pHeader, m_pErrorContext))
    return false;
  TJPXSize size;
  if (!CheckJPXCodestream(m_pHeader->m_codestream, size, status))
  {
    ReportError(m_pErrorContext, CScopedPtr<IError>(new CJPXError(status)));
    return false;
  }
  m_pPicture.Reset(new CJPXPicture(*m_pHeader, size.m_nComponents, m_parameters.nChannels,
                                   m_parameters.bIndices, m_pErrorContext));
  // Both are below 2 to the 31, as their product is.
  m_parameters.nWidth = static_cast<int>(size.m_nWidth);
  m_parameters.nHeight = static_cast<int>(size.m_nHeight);
  m_parameters.nColorSpace = m_pPicture->GetColorSpace();
  m_parameters.nBitsPerComponent = 8;
  m_parameters.Palette.RemoveAll();
  m_parameters.Palette.Append(m_pPicture->GetPalette());
  m_parameters.nChannels =
      m_parameters.Palette.IsEmpty() ? m_pPicture->GetChannelCount() : m_pPicture->GetPaletteColumns();
  m_parameters.dResolutionX = m_pHeader->m_dResolutionX;
  m_parameters.dResolutionY = m_pHeader->m_dResolutionY;
  std::copy(std::begin(m_pHeader->m_labRange), std::end(m_pHeader->m_labRange), m_parameters.labRange);
  m_nRowSize = size.m_nWidth * m_pPicture->GetChannelCount();
  ChooseBands(size);
  return true;
}

int CJPXDecodeFilter::GetSampleCount() const
{
  return m_pPicture ? m_pPicture->GetChannelCount() : 0;
}

bool CJPXDecodeFilter::IsAmbiguous() const
{
  return m_pPicture && m_pPicture->IsAmbiguous();
}

bool CJPXDecodeFilter::HasOpacity() const
{
  return m_pPicture && m_pPicture->HasOpacity();
}

int CJPXDecodeFilter::GetBlockSize() const
{
  return GetRowBlockSize(CDecodeFilter::GetBlockSize(), m_nRowSize);
}

std::int64_t CJPXDecodeFilter::Read(unsigned char* pBuffer, std::int64_t n)
{
  return m_nRowSize > 0 ? CDecodeFilter::Read(pBuffer, n - n % m_nRowSize) : 0;
}

// Each band reads the heads of all tiles again. Where tiles are tiny that takes longer than the samples do,
// and what is kept of each tile takes more memory than they.
void CJPXDecodeFilter::ChooseBands(const TJPXSize& size)
{
  constexpr std::int64_t nMinPixels = 4 << 20;
  constexpr std::int64_t nMinTilePixels = 1 << 11;
  constexpr std::int64_t nMaxBands = 16;
  if (size.m_nWidth * size.m_nHeight < nMinPixels ||
      size.m_nWidth * size.m_nHeight / size.m_nTiles < nMinTilePixels || !size.m_bTilesApart ||
      size.m_nFirstTileEnd <= 0 || size.m_nFirstTileEnd >= size.m_nHeight)
    return;
  const std::int64_t nTileRows = (size.m_nHeight - size.m_nFirstTileEnd - 1) / size.m_nTileHeight + 2;
  const std::int64_t nTilesOfBand = (nTileRows + nMaxBands - 1) / nMaxBands;
  const std::int64_t nFirstEnd = size.m_nFirstTileEnd + (nTilesOfBand - 1) * size.m_nTileHeight;
  if (nFirstEnd >= size.m_nHeight)
    return;
  m_nFirstBandEnd = static_cast<int>(nFirstEnd);
  m_nBandHeight = static_cast<int>(std::min(nTilesOfBand * size.m_nTileHeight, size.m_nHeight));
}

// What is damaged is saved as a whole only.
void CJPXDecodeFilter::DecodeBand()
{
  m_pImage.Reset();
  if (m_nFirstBandEnd > 0)
  {
    const bool bFirst = m_nRow < m_nFirstBandEnd;
    const int nBand = bFirst ? 0 : (m_nRow - m_nFirstBandEnd) / m_nBandHeight;
    m_band.m_nFirst = bFirst ? 0 : m_nFirstBandEnd + nBand * m_nBandHeight;
    m_band.m_nEnd = bFirst
                        ? m_nFirstBandEnd
                        : m_band.m_nFirst + std::min(m_nBandHeight, m_parameters.nHeight - m_band.m_nFirst);
    m_pImage = CJPXImage::DecodeBand(m_pHeader->m_codestream, m_band);
    if (HasSize(m_band.m_nEnd - m_band.m_nFirst))
      return;
    m_nFirstBandEnd = 0;
    m_pImage.Reset();
  }
  DecodeWhole();
}

bool CJPXDecodeFilter::HasSize(int nHeight) const
{
  return m_pImage && m_pImage->GetWidth() == m_parameters.nWidth && m_pImage->GetHeight() == nHeight;
}

void CJPXDecodeFilter::DecodeWhole()
{
  m_band = {0, m_parameters.nHeight};
  m_pImage = CJPXImage::Decode(m_pHeader->m_codestream, m_pErrorContext);
  m_pHeader->m_codestream = {};
  m_data.RemoveAll();
  m_bDamaged = !m_pImage || m_pImage->HasGap();
  if (!m_pImage || HasSize(m_parameters.nHeight))
    return;
  ReportError(m_pErrorContext, CScopedPtr<IError>(new CJPXError(eJPXInvalidSize)));
  m_pImage.Reset();
}

int CJPXDecodeFilter::DecodeBlock(std::span<unsigned char> block)
{
  const auto nRowSize = static_cast<std::size_t>(m_nRowSize);
  std::size_t nDone = 0;
  for (; m_nRow < m_parameters.nHeight && block.size() - nDone >= nRowSize; ++m_nRow)
  {
    if (m_nRow < m_band.m_nFirst || m_nRow >= m_band.m_nEnd)
      DecodeBand();
    if (!m_pImage)
      break;
    m_pPicture->WriteRow(*m_pImage, m_nRow - m_band.m_nFirst, block.subspan(nDone, nRowSize));
    nDone += nRowSize;
  }
  m_bGap = m_bGap || m_bDamaged;
  m_bEnd = !m_pImage || m_nRow == m_parameters.nHeight;
  return static_cast<int>(nDone);
}

}  // namespace BSE
