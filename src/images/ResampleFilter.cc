// Boxes begin at whole samples, number * old size / new size rounded down, so that each sample of the source
// is in one box and boxes differ by at most one in size. Rows are summed column by column first, which
// compilers make vector code of, and the columns of a box are added once for all of its rows. A picture may
// be of any height: one row of sums is all that is held.

#include "images/ResampleFilter.h"

#include "base/Limits.h"
#include "images/SampleRows.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace PDF
{

namespace
{

// The sum of a column has 32 bits, which bounds the rows of a box.
constexpr std::int64_t g_nMaxSum = std::numeric_limits<unsigned>::max();

// Rounded; what is not a number, or does not fit, gives 0.
int ScaleSize(int nSize, double dFactor)
{
  const double dSize = nSize * dFactor + 0.5;
  return dSize < std::numeric_limits<int>::max() ? std::max(static_cast<int>(dSize), 1) : 0;
}

// The negation is for what is not a number.
double ClampBelow(double dFactor)
{
  return !(dFactor < 1.0) ? 1.0 : std::max(dFactor, 0.0);
}

// Blocks of a fixed length, which compilers make vectors of.
template <class T>
void AddSamples(const T* __restrict pSamples, unsigned* __restrict pSums, std::size_t nCount)
{
  constexpr std::size_t nBlock = 16;
  std::size_t i = 0;
  for (; i + nBlock <= nCount; i += nBlock)
  {
    for (std::size_t k = 0; k < nBlock; ++k)
      pSums[i + k] += pSamples[i + k];
  }
  for (; i < nCount; ++i)
    pSums[i] += pSamples[i];
}

}  // namespace

int CResampleFilter::GetBoundary(int nCell, int nOld, int nNew)
{
  return static_cast<int>(std::int64_t{nCell} * nOld / nNew);
}

CResampleFilter::CResampleFilter(BSE::IByteStream* pSource, const CSampleFormat& format, double dFactorX,
                                 double dFactorY, BSE::IErrorContext* pErrorContext)
    : CSampleFilter(pSource, format, pErrorContext),
      m_nNewWidth(ScaleSize(std::max(format.nWidth, 1), ClampBelow(dFactorX))),
      m_nNewHeight(ScaleSize(std::max(format.nHeight, 1), ClampBelow(dFactorY)))
{
  CSampleFormat result = format;
  result.nWidth = m_nNewWidth;
  const std::int64_t nBoxRows = format.nHeight / m_nNewHeight + 1;
  const bool bFits =
      format.IsUsable() && nBoxRows <= g_nMaxSum / static_cast<int>(GetHighSample(format.nBitsPerComponent));
  SetResult(bFits ? result.GetRowSize() : 0, m_nNewHeight);
}

void CResampleFilter::ResetState()
{
  CSampleFilter::ResetState();
  m_nNext = 0;
}

void CResampleFilter::AddRow(std::span<const unsigned char> row)
{
  const auto nSamples = static_cast<std::size_t>(m_format.GetRowSamples());
  if (m_format.nBitsPerComponent == 8)
  {
    AddSamples(row.data(), m_sums.GetData(), nSamples);
    return;
  }
  if (m_wide.IsEmpty())
    m_wide.SetSize(static_cast<int>(nSamples));
  UnpackSamples(row, m_format.nBitsPerComponent, m_wide.GetSpan());
  AddSamples(m_wide.GetData(), m_sums.GetData(), nSamples);
}

std::int64_t CResampleFilter::FetchRow()
{
  const int nEnd = GetBoundary(m_nNext + 1, m_format.nHeight, m_nNewHeight);
  std::fill(m_sums.GetSpan().begin(), m_sums.GetSpan().end(), 0U);
  bool bAny = false;
  for (int nRow = GetBoundary(m_nNext, m_format.nHeight, m_nNewHeight); nRow < nEnd; ++nRow)
  {
    const auto row = ReadSourceRow();
    if (static_cast<std::int64_t>(row.size()) < m_format.GetRowSize())
      break;
    if (m_sums.IsEmpty())
    {
      m_sums.SetSize(static_cast<int>(m_format.GetRowSamples()));
      m_ends.SetSize(m_nNewWidth);
      for (int i = 0; i < m_nNewWidth; ++i)
        m_ends[i] = GetColumn(i + 1);
    }
    AddRow(row);
    bAny = true;
  }
  return bAny ? GetRowSize() : 0;
}

template <class T>
void CResampleFilter::AverageRow(T* pResult, int nComponents)
{
  const int nRows = GetBoundary(m_nNext + 1, m_format.nHeight, m_nNewHeight) -
                    GetBoundary(m_nNext, m_format.nHeight, m_nNewHeight);
  const unsigned* pSum = m_sums.GetData();
  int nStart = 0;
  for (const int nEnd : m_ends.GetSpan())
  {
    // The quotient of whole numbers this small is exact before it is truncated.
    const double dArea = static_cast<double>(nEnd - nStart) * nRows;
    for (int k = 0; k < nComponents; ++k)
    {
      std::uint64_t nSum = 0;
      for (int i = 0; i < nEnd - nStart; ++i)
        nSum += pSum[i * nComponents + k];
      *pResult++ = static_cast<T>(static_cast<double>(nSum) / dArea);
    }
    pSum += (nEnd - nStart) * nComponents;
    nStart = nEnd;
  }
}

bool CResampleFilter::MakeRow(std::span<unsigned char> row)
{
  const int nComponents = m_format.GetComponents();
  if (m_format.nBitsPerComponent != 8)
  {
    const auto results = m_wide.GetSpan().first(static_cast<std::size_t>(m_nNewWidth * nComponents));
    AverageRow(results.data(), nComponents);
    PackSamples(results, m_format.nBitsPerComponent, row);
  }
  else if (nComponents == 1)
    AverageRow(row.data(), 1);
  else
    AverageRow(row.data(), nComponents);
  ++m_nNext;
  return true;
}

CUpsampleFilter::CUpsampleFilter(BSE::IByteStream* pSource, const CSampleFormat& format, double dFactorX,
                                 double dFactorY, bool bSmooth, BSE::IErrorContext* pErrorContext)
    : CSampleFilter(pSource, format, pErrorContext),
      m_nNewWidth(ScaleSize(format.nWidth, std::max(1.0, dFactorX))),
      m_nNewHeight(ScaleSize(format.nHeight, std::max(1.0, dFactorY))),
      m_bSmooth(bSmooth)
{
  CSampleFormat result = format;
  result.nWidth = m_nNewWidth;
  result.nHeight = m_nNewHeight;
  SetResult(result.IsUsable() ? result.GetRowSize() : 0, m_nNewHeight);
}

void CUpsampleFilter::ResetState()
{
  CSampleFilter::ResetState();
  m_nNext = m_nLoaded = 0;
}

CUpsampleFilter::TPlace CUpsampleFilter::GetPlace(int nNew, int nOldSize, int nNewSize) const
{
  const double dPos = static_cast<double>(nNew) * nOldSize / nNewSize;
  if (!m_bSmooth)
    return {std::min(static_cast<int>(dPos), nOldSize - 1), 0};
  // Samples are at the middle of their pixels; nothing is beyond the first and the last one.
  if (dPos < 0.5)
    return {0, 0};
  const int nSample = static_cast<int>(dPos - 0.5);
  if (nSample >= nOldSize - 1)
    return {nOldSize - 1, 0};
  return {nSample, dPos - nSample - 0.5};
}

bool CUpsampleFilter::LoadRows(int nFirst, bool bSecond)
{
  for (const int nEnd = nFirst + (bSecond ? 2 : 1); m_nLoaded < nEnd; ++m_nLoaded)
  {
    const auto row = ReadSourceRow();
    if (static_cast<std::int64_t>(row.size()) < m_format.GetRowSize())
      return m_nLoaded > nFirst;
    BSE::CBasicArray<std::uint16_t>& samples = m_samples[m_nLoaded % 2];
    if (samples.IsEmpty())
      samples.SetSize(static_cast<int>(m_format.GetRowSamples()));
    UnpackSamples(row, m_format.nBitsPerComponent, samples.GetSpan());
  }
  return true;
}

std::int64_t CUpsampleFilter::FetchRow()
{
  m_place = GetPlace(m_nNext, m_format.nHeight, m_nNewHeight);
  if (!LoadRows(m_place.m_nSample, m_place.m_dWeight > 0))
    return 0;
  // The row below is missing in the source.
  if (m_nLoaded < m_place.m_nSample + 2)
    m_place.m_dWeight = 0;
  return GetRowSize();
}

bool CUpsampleFilter::MakeRow(std::span<unsigned char> row)
{
  const int nComponents = m_format.GetComponents();
  if (m_result.IsEmpty())
    m_result.SetSize(m_nNewWidth * nComponents);
  const std::uint16_t* pUpper = m_samples[m_place.m_nSample % 2].GetData();
  const std::uint16_t* pLower =
      m_place.m_dWeight > 0 ? m_samples[(m_place.m_nSample + 1) % 2].GetData() : pUpper;
  std::uint16_t* pResult = m_result.GetData();
  for (int x = 0; x < m_nNewWidth; ++x)
  {
    const TPlace place = GetPlace(x, m_format.nWidth, m_nNewWidth);
    const int nNext = place.m_dWeight > 0 ? nComponents : 0;
    for (int k = 0; k < nComponents; ++k)
    {
      const int i = place.m_nSample * nComponents + k;
      const double dUpper = pUpper[i] * (1 - place.m_dWeight) + pUpper[i + nNext] * place.m_dWeight;
      const double dLower = pLower[i] * (1 - place.m_dWeight) + pLower[i + nNext] * place.m_dWeight;
      // Weights that are not sums of powers of two leave a rounding error.
      constexpr double dRounding = 1e-9;
      *pResult++ = static_cast<std::uint16_t>(dUpper * (1 - m_place.m_dWeight) + dLower * m_place.m_dWeight +
                                              dRounding);
    }
  }
  PackSamples(m_result.GetSpan(), m_format.nBitsPerComponent, row);
  ++m_nNext;
  return true;
}

}  // namespace PDF
