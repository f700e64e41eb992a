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
  return true;
}

int CJPXDecodeFilter::GetSampleCount() const
{
  return m_pPicture ? m_pPicture->GetChannelCount() : 0;
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

void CJPXDecodeFilter::Decode()
{
  m_bDecoded = true;
  m_pImage = CJPXImage::Decode(m_pHeader->m_codestream, m_pErrorContext);
  m_pHeader->m_codestream = {};
  m_data.RemoveAll();
  m_bDamaged = !m_pImage || m_pImage->HasGap();
  if (!m_pImage ||
      (m_pImage->GetWidth() == m_parameters.nWidth && m_pImage->GetHeight() == m_parameters.nHeight))
    return;
  ReportError(m_pErrorContext, CScopedPtr<IError>(new CJPXError(eJPXInvalidSize)));
  m_pImage.Reset();
}

int CJPXDecodeFilter::DecodeBlock(std::span<unsigned char> block)
{
  if (!m_bDecoded)
    Decode();
  m_bGap = m_bGap || m_bDamaged;
  const auto nRowSize = static_cast<std::size_t>(m_nRowSize);
  std::size_t nDone = 0;
  for (; m_pImage && m_nRow < m_parameters.nHeight && block.size() - nDone >= nRowSize; ++m_nRow)
  {
    m_pPicture->WriteRow(*m_pImage, m_nRow, block.subspan(nDone, nRowSize));
    nDone += nRowSize;
  }
  m_bEnd = !m_pImage || m_nRow == m_parameters.nHeight;
  return static_cast<int>(nDone);
}

}  // namespace BSE
