#include "images/DecodeArrayFilter.h"

#include "images/SampleRows.h"

#include <algorithm>
#include <cmath>

namespace PDF
{

CDecodeArrayFilter::CDecodeArrayFilter(BSE::IByteStream* pSource, const CSampleFormat& format,
                                       const CObjectPtr& decode, BSE::IErrorContext* pErrorContext)
    : CPixelFilter(pSource, format, format.GetComponents() * GetResultBits(format) / 8, pErrorContext),
      m_nHigh(static_cast<int>(GetHighSample(GetResultBits(format))))
{
  const double dHighSample = format.nBitsPerComponent > 0 && format.nBitsPerComponent <= 16
                                 ? GetHighSample(format.nBitsPerComponent)
                                 : 1;
  const bool bIndexed = format.pColorSpace && format.pColorSpace->GetIndexed();
  for (int i = 0; i < format.GetComponents(); ++i)
  {
    DOC::TRange range = format.pColorSpace ? format.pColorSpace->GetRange(i) : DOC::TRange{};
    if (bIndexed)
      range = {0, dHighSample};
    double dLow = range.m_dMin;
    double dHigh = range.m_dMax;
    if (decode[2 * i].IsNumber() && decode[2 * i + 1].IsNumber())
    {
      dLow = decode[2 * i].GetRealValue();
      dHigh = decode[2 * i + 1].GetRealValue();
    }
    const double dScale = bIndexed ? 1 : m_nHigh / (range.m_dMax - range.m_dMin);
    m_lines.Add({(dLow - range.m_dMin) * dScale, (dHigh - dLow) * dScale / dHighSample});
  }
}

bool CDecodeArrayFilter::MakeRow(std::span<unsigned char> row)
{
  const int nSamples = CountResult(row) * m_format.GetComponents();
  if (m_samples.GetSize() < nSamples)
    m_samples.SetSize(nSamples);
  const auto samples = m_samples.GetSpan().first(static_cast<std::size_t>(nSamples));
  UnpackSamples(m_row, m_format.nBitsPerComponent, samples);
  int nComponent = 0;
  for (std::uint16_t& nSample : samples)
  {
    const TLine& line = m_lines[nComponent];
    const double dValue = line.m_dStart + line.m_dStep * nSample;
    // Written so that what is not a number becomes 0.
    nSample = dValue > 0 ? static_cast<std::uint16_t>(std::lround(std::min<double>(dValue, m_nHigh)))
                         : std::uint16_t{0};
    nComponent = nComponent + 1 == m_lines.GetSize() ? 0 : nComponent + 1;
  }
  PackSamples(samples, GetResultBits(m_format), row);
  return true;
}

}  // namespace PDF
