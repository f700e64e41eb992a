#include "images/filters/PredictionEncodeFilter.h"

#include "images/filters/PredictionRow.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace BSE
{

CPredictionEncodeFilter::CPredictionEncodeFilter(IByteStream* pSink, const CPredictionParameters& parameters,
                                                 IErrorContext* pErrorContext)
    : CBufferedEncodeFilter(pSink, pErrorContext),
      m_parameters(parameters),
      m_layout(GetPredictionLayout(parameters)),
      m_bUsable(CheckPredictor(parameters))
{
  if (parameters.Predictor == g_nPredictorNone)
    return;
  m_bUsable = m_bUsable && m_layout.m_nRowSize > 0;
  if (!m_bUsable)
    return;
  m_row.SetSize(m_layout.m_nRowSize);
  if (m_layout.m_bPNG)
  {
    m_previous.SetSize(m_layout.m_nRowSize);
    m_filtered.SetSize(m_layout.m_nRowSize);
  }
}

bool CPredictionEncodeFilter::WritePNGRow(std::span<const unsigned char> row)
{
  const auto previous = std::as_const(m_previous).GetSpan().first(row.size());
  const auto filtered = m_filtered.GetSpan().first(row.size());
  auto nTag = static_cast<unsigned char>(m_parameters.Predictor - g_nPredictorPNGFirst);
  if (m_parameters.Predictor == g_nPredictorPNGOptimum)
    nTag = ChoosePNGTag(m_layout.m_nPixelSize, row, previous, filtered);
  EncodePNGRow(nTag, m_layout.m_nPixelSize, row, previous, filtered);
  return m_pOutput->PutByte(nTag) &&
         m_pOutput->WriteAll(filtered.data(), static_cast<std::int64_t>(filtered.size()));
}

bool CPredictionEncodeFilter::WriteRow(std::span<unsigned char> row)
{
  m_nFilled = 0;
  if (m_layout.m_bPNG)
  {
    const bool bDone = WritePNGRow(row);
    std::swap(m_row, m_previous);
    return bDone;
  }
  EncodeTIFFRow(m_parameters.Colors, m_parameters.BitsPerComponent, row);
  return m_pOutput->WriteAll(row.data(), static_cast<std::int64_t>(row.size()));
}

bool CPredictionEncodeFilter::EncodeBlock(std::span<const unsigned char> block)
{
  if (!m_bUsable)
    return false;
  if (m_parameters.Predictor == g_nPredictorNone)
    return m_pOutput->WriteAll(block.data(), static_cast<std::int64_t>(block.size()));
  while (!block.empty())
  {
    const std::size_t nTaken =
        std::min(block.size(), static_cast<std::size_t>(m_layout.m_nRowSize - m_nFilled));
    std::memcpy(m_row.GetData() + m_nFilled, block.data(), nTaken);
    m_nFilled += static_cast<int>(nTaken);
    block = block.subspan(nTaken);
    if (m_nFilled == m_layout.m_nRowSize && !WriteRow(m_row.GetSpan()))
      return false;
  }
  return true;
}

bool CPredictionEncodeFilter::FinishBuffered()
{
  return m_nFilled == 0 || WriteRow(m_row.GetSpan().first(static_cast<std::size_t>(m_nFilled)));
}

}  // namespace BSE
