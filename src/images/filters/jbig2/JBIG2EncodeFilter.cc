#include "images/filters/jbig2/JBIG2EncodeFilter.h"

#include "images/filters/RowSize.h"
#include "images/filters/StatusCodes.h"
#include "images/filters/jbig2/JBIG2Encoder.h"

#include <algorithm>

namespace BSE
{

namespace
{

std::uint32_t GetDotsPerMetre(double dDotsPerInch)
{
  constexpr double dInchesPerMetre = 39.37007874015748;
  constexpr double dMax = 4294967295.0;
  return dDotsPerInch > 0 ? static_cast<std::uint32_t>(std::min(dDotsPerInch * dInchesPerMetre + 0.5, dMax))
                          : 0;
}

}  // namespace

CJBIG2EncodeFilter::CJBIG2EncodeFilter(IByteStream* pSink, const CJBIG2Parameters& parameters,
                                       IErrorContext* pErrorContext)
    : CBufferedEncodeFilter(pSink, pErrorContext),
      m_parameters(parameters),
      m_nRowSize(GetBitRowSize(parameters.nWidth))
{
  if (m_nRowSize > 0 && parameters.nHeight > 0)
    m_pPage = CJBIG2Bitmap::Create(m_run, parameters.nWidth, parameters.nHeight);
  if (!m_pPage)
    ReportError(m_pErrorContext, MakeError(g_nFilterParameters, "argument", u"Width, Height"));
}

std::int64_t CJBIG2EncodeFilter::Write(const unsigned char* pBuffer, std::int64_t n)
{
  const std::int64_t nRoom = m_pPage ? (m_parameters.nHeight - m_nRows) * m_nRowSize : 0;
  n = std::min(n, nRoom);
  return n >= m_nRowSize && nRoom > 0 ? CBufferedEncodeFilter::Write(pBuffer, n - n % m_nRowSize) : 0;
}

int CJBIG2EncodeFilter::GetBlockSize() const
{
  return GetRowBlockSize(CBufferedEncodeFilter::GetBlockSize(), m_nRowSize);
}

bool CJBIG2EncodeFilter::EncodeBlock(std::span<const unsigned char> block)
{
  const auto nRowSize = static_cast<std::size_t>(m_nRowSize);
  for (; block.size() >= nRowSize; block = block.subspan(nRowSize))
  {
    std::uint64_t* const pRow = m_pPage->GetRow(m_nRows++);
    for (std::size_t i = 0; i < nRowSize; ++i)
      pRow[i / 8] |= std::uint64_t{static_cast<unsigned char>(~block[i])} << (56 - 8 * (i % 8));
    pRow[m_pPage->GetStride() - 1] &= m_pPage->GetLastMask();
  }
  return true;
}

bool CJBIG2EncodeFilter::FinishBuffered()
{
  if (!m_pPage || m_nRows < m_parameters.nHeight)
    return false;
  CJBIG2Encoder encoder(*m_pPage, GetDotsPerMetre(m_parameters.nResolutionX),
                        GetDotsPerMetre(m_parameters.nResolutionY));
  const auto bytes = encoder.Encode();
  return m_pOutput->WriteAll(bytes.data(), static_cast<std::int64_t>(bytes.size()));
}

}  // namespace BSE
