#include "images/filters/jpx/JPXEncodeFilter.h"

#include "base/Limits.h"
#include "images/filters/RowSize.h"
#include "images/filters/StatusCodes.h"
#include "images/filters/jpx/JPXBoxes.h"
#include "images/filters/jpx/JPXEncoder.h"

#include <algorithm>
#include <limits>

namespace BSE
{

namespace
{

constexpr int g_nMaxChannels = 255;
constexpr int g_nMaxPaletteRows = 256;

bool HasValidPalette(const CJPXParameters& parameters)
{
  const int nSize = parameters.Palette.GetSize();
  return nSize % parameters.nChannels == 0 && nSize / parameters.nChannels <= g_nMaxPaletteRows &&
         parameters.nBitsPerComponent <= 8;
}

// 0 for parameters that no image has, or none that fits into memory.
std::int64_t GetRowSize(const CJPXParameters& parameters)
{
  const int nDepth = parameters.nBitsPerComponent;
  const bool bDepth = nDepth == 1 || nDepth == 2 || nDepth == 4 || nDepth == 8 || nDepth == 16;
  if (!bDepth || parameters.nWidth <= 0 || parameters.nHeight <= 0 || parameters.nChannels <= 0 ||
      parameters.nChannels > g_nMaxChannels ||
      (!parameters.Palette.IsEmpty() && !HasValidPalette(parameters)))
    return 0;
  const int nSamples = parameters.Palette.IsEmpty() ? parameters.nChannels : 1;
  const std::int64_t nRowSize = (std::int64_t{parameters.nWidth} * nSamples * nDepth + 7) / 8;
  const std::int64_t nMemory =
      std::int64_t{parameters.nWidth} * nSamples * static_cast<std::int64_t>(sizeof(std::int32_t));
  const bool bFits = nRowSize <= std::numeric_limits<int>::max() / parameters.nHeight &&
                     nMemory <= g_nMaxJPXMemory / parameters.nHeight;
  return bFits ? nRowSize : 0;
}

}  // namespace

CJPXEncodeFilter::CJPXEncodeFilter(IByteStream* pSink, const CJPXParameters& parameters,
                                   IErrorContext* pErrorContext)
    : CBufferedEncodeFilter(pSink, pErrorContext),
      m_parameters(parameters),
      m_nRowSize(GetRowSize(parameters))
{
  if (m_nRowSize == 0)
    ReportError(m_pErrorContext,
                MakeError(g_nFilterParameters, "argument", u"Width, Height, ColorSpace, BitsPerComponent"));
}

std::int64_t CJPXEncodeFilter::Write(const unsigned char* pBuffer, std::int64_t n)
{
  n = std::min(n, m_parameters.nHeight * m_nRowSize - m_rows.GetSize());
  return m_nRowSize > 0 && n >= m_nRowSize ? CBufferedEncodeFilter::Write(pBuffer, n - n % m_nRowSize) : 0;
}

int CJPXEncodeFilter::GetBlockSize() const
{
  return GetRowBlockSize(CBufferedEncodeFilter::GetBlockSize(), m_nRowSize);
}

bool CJPXEncodeFilter::EncodeBlock(std::span<const unsigned char> block)
{
  m_rows.Append(block);
  return true;
}

bool CJPXEncodeFilter::FinishBuffered()
{
  CBasicArray<unsigned char> codestream;
  CBasicArray<unsigned char> file;
  if (m_nRowSize == 0 || m_rows.GetSize() < m_nRowSize * m_parameters.nHeight ||
      !EncodeJPXCodestream(m_parameters, m_rows.GetSpan(), codestream, m_pErrorContext))
    return false;
  m_rows.RemoveAll();
  WriteJPXFile(m_parameters, codestream.GetSpan(), file);
  return m_pOutput->WriteAll(file.GetData(), file.GetSize());
}

}  // namespace BSE
