// The last rows of the source are kept, and as many are read ahead as the method looks at: none for a
// threshold, one for Floyd and Steinberg's error diffusion, two for Atkinson's, the rest of a block of four
// for halftones. Error diffusion adds to the rows that are still to come in place. Its shares are rounded,
// and the last one takes what is left, so that rounding loses nothing. Ordered methods compare a sample,
// brought to 0 to 16, with its place in a square of 4 by 4.

#include "images/BitonalFilter.h"

#include "base/Tracer.h"
#include "images/SampleRows.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace PDF
{

namespace
{

constexpr unsigned char g_bayer[16] = {0, 8, 2, 10, 12, 4, 14, 6, 3, 11, 1, 9, 15, 7, 13, 5};
constexpr unsigned char g_spiral[16] = {6, 7, 8, 9, 5, 0, 1, 10, 4, 3, 2, 11, 15, 14, 13, 12};

constexpr bool IsWhite(unsigned char nSample)
{
  return nSample >= 128;
}

// What is left over of a sample after its bit.
constexpr int GetRemainder(unsigned char nSample)
{
  return IsWhite(nSample) ? nSample - 255 : nSample;
}

int CheckMode(int nMode)
{
  if (nMode >= eBitonalThreshold && nMode <= eBitonalAtkinson)
    return nMode;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "Image Filter",
                        "Convert to bitonal filter: dithering algorithmus %d not implemented.", nMode);
  return eBitonalFloydSteinberg;
}

// Rows from the one that is made on that have to be read before.
int GetRowsNeeded(int nMode, int nRow)
{
  if (nMode == eBitonalHalftone)
    return 4 - nRow % 4;
  return nMode == eBitonalFloydSteinberg ? 2 : nMode == eBitonalAtkinson ? 3 : 1;
}

void AddError(unsigned char& nSample, int nError)
{
  nSample = static_cast<unsigned char>(std::clamp(nSample + nError, 0, 255));
}

}  // namespace

CConvertToBitonalFilter::CConvertToBitonalFilter(BSE::IByteStream* pSource, const CSampleFormat& format,
                                                 int nMode, BSE::IErrorContext* pErrorContext)
    : CSampleFilter(pSource, format, pErrorContext), m_nMode(CheckMode(nMode))
{
  const bool bGray = format.nBitsPerComponent == 8 && format.GetComponents() == 1;
  SetResult(bGray ? (std::int64_t{format.nWidth} + 7) / 8 : 0, format.nHeight);
}

void CConvertToBitonalFilter::ResetState()
{
  CSampleFilter::ResetState();
  m_nLoaded = m_nNext = 0;
}

unsigned char* CConvertToBitonalFilter::GetRow(int nRow)
{
  return m_rows[nRow % g_nRows].GetData();
}

std::int64_t CConvertToBitonalFilter::FetchRow()
{
  const auto nWidth = static_cast<std::size_t>(m_format.nWidth);
  for (int nEnd = m_nNext + GetRowsNeeded(m_nMode, m_nNext); m_nLoaded < nEnd; ++m_nLoaded)
  {
    const auto row = ReadSourceRow();
    if (row.size() < nWidth)
      break;
    BSE::CBasicArray<unsigned char>& copy = m_rows[m_nLoaded % g_nRows];
    if (copy.IsEmpty())
      copy.SetSize(m_format.nWidth);
    std::memcpy(copy.GetData(), row.data(), nWidth);
  }
  return m_nNext < m_nLoaded ? GetRowSize() : 0;
}

void CConvertToBitonalFilter::CutHalftone(unsigned char* pBits)
{
  const int nFirst = m_nNext - m_nNext % 4;
  const int nRows = std::min(m_nLoaded - nFirst, 4);
  for (int nLeft = 0; nLeft < m_format.nWidth; nLeft += 4)
  {
    const int nColumns = std::min(m_format.nWidth - nLeft, 4);
    int nSum = 0;
    for (int y = 0; y < nRows; ++y)
      for (int x = 0; x < nColumns; ++x)
        nSum += GetRow(nFirst + y)[nLeft + x] + 8;
    const int nMean = nSum / (16 * nRows * nColumns);
    for (int x = 0; x < nColumns; ++x)
      pBits[nLeft + x] = nMean > g_bayer[x * 4 + m_nNext % 4];
  }
}

void CConvertToBitonalFilter::DiffuseFloydSteinberg(unsigned char* pBits)
{
  const int nWidth = m_format.nWidth;
  unsigned char* pRow = GetRow(m_nNext);
  unsigned char* pBelow = m_nNext + 1 < m_nLoaded ? GetRow(m_nNext + 1) : nullptr;
  for (int x = 0; x < nWidth; ++x)
  {
    pBits[x] = IsWhite(pRow[x]);
    const int nError = GetRemainder(pRow[x]);
    // Floyd and Steinberg's shares: 7, 3, 5 and 1 of 16.
    const int nRight = 7 * nError / 16;
    const int nLowerLeft = 3 * nError / 16;
    const int nBelow = 5 * nError / 16;
    if (x + 1 < nWidth)
      AddError(pRow[x + 1], nRight);
    if (!pBelow)
      continue;
    if (x > 0)
      AddError(pBelow[x - 1], nLowerLeft);
    AddError(pBelow[x], nBelow);
    if (x + 1 < nWidth)
      AddError(pBelow[x + 1], nError - nRight - nLowerLeft - nBelow);
  }
}

void CConvertToBitonalFilter::DiffuseAtkinson(unsigned char* pBits)
{
  const int nWidth = m_format.nWidth;
  unsigned char* pRow = GetRow(m_nNext);
  unsigned char* pBelow = m_nNext + 1 < m_nLoaded ? GetRow(m_nNext + 1) : nullptr;
  unsigned char* pSecond = m_nNext + 2 < m_nLoaded ? GetRow(m_nNext + 2) : nullptr;
  for (int x = 0; x < nWidth; ++x)
  {
    pBits[x] = IsWhite(pRow[x]);
    const int nError = GetRemainder(pRow[x]);
    // Six shares of an eighth; the method drops the other two.
    const int nPart = nError / 8;
    for (int i = x + 1; i < std::min(x + 3, nWidth); ++i)
      AddError(pRow[i], nPart);
    for (int i = std::max(x - 1, 0); pBelow && i < std::min(x + 2, nWidth); ++i)
      AddError(pBelow[i], nPart);
    if (pSecond)
      AddError(pSecond[x], 3 * nError / 4 - 5 * nPart);
  }
}

bool CConvertToBitonalFilter::MakeRow(std::span<unsigned char> row)
{
  if (m_bits.IsEmpty())
    m_bits.SetSize(m_format.nWidth);
  unsigned char* pBits = m_bits.GetData();
  const unsigned char* pRow = GetRow(m_nNext);
  const int nWidth = m_format.nWidth;
  if (m_nMode == eBitonalThreshold)
  {
    for (int x = 0; x < nWidth; ++x)
      pBits[x] = IsWhite(pRow[x]);
  }
  else if (m_nMode == eBitonalFloydSteinberg)
    DiffuseFloydSteinberg(pBits);
  else if (m_nMode == eBitonalHalftone)
    CutHalftone(pBits);
  else if (m_nMode == eBitonalOrdered)
  {
    for (int x = 0; x < nWidth; ++x)
      pBits[x] = g_bayer[x % 4 * 4 + m_nNext % 4] < (pRow[x] + 8) / 16;
  }
  else if (m_nMode == eBitonalAtkinson)
    DiffuseAtkinson(pBits);
  else
  {
    for (int x = 0; x < nWidth; ++x)
      pBits[x] = pRow[x] > 63 && (pRow[x] >= 191 || g_spiral[x % 4 + 4 * (m_nNext % 4)] < (pRow[x] + 8) / 16);
  }
  PackBits(m_bits.GetSpan(), row);
  ++m_nNext;
  return true;
}

CAntialiasFilter::CAntialiasFilter(BSE::IByteStream* pSource, const CSampleFormat& format, int nFactor,
                                   BSE::IErrorContext* pErrorContext)
    : CSampleFilter(pSource, format, pErrorContext), m_nFactor(nFactor)
{
  // Sums of a block and their product with 255 fit 32 bits.
  constexpr int nMaxFactor = 4096;
  const bool bUsable =
      nFactor > 0 && nFactor <= nMaxFactor && format.nBitsPerComponent == 1 && format.GetComponents() == 1;
  const std::int64_t nStep = bUsable ? nFactor : 1;
  SetResult(bUsable ? (format.nWidth + nStep - 1) / nStep : 0, (format.nHeight + nStep - 1) / nStep);
}

std::int64_t CAntialiasFilter::FetchRow()
{
  std::fill(m_counts.GetSpan().begin(), m_counts.GetSpan().end(), 0U);
  const auto nBytes = static_cast<std::size_t>(m_format.GetRowSize());
  int nRead = 0;
  for (; nRead < m_nFactor; ++nRead)
  {
    const auto row = ReadSourceRow();
    if (row.size() < nBytes)
      break;
    if (m_counts.IsEmpty())
      m_counts.SetSize(static_cast<int>(GetRowSize()));
    for (int x = 0, nBlock = 0, nColumn = 0; x < m_format.nWidth; ++x)
    {
      m_counts.GetData()[nBlock] += row[static_cast<std::size_t>(x / 8)] >> (7 - x % 8) & 1U;
      if (++nColumn == m_nFactor)
      {
        nColumn = 0;
        ++nBlock;
      }
    }
  }
  return nRead > 0 ? GetRowSize() : 0;
}

bool CAntialiasFilter::MakeRow(std::span<unsigned char> row)
{
  const auto nArea = static_cast<unsigned>(m_nFactor) * static_cast<unsigned>(m_nFactor);
  for (std::size_t i = 0; i < row.size(); ++i)
    row[i] = static_cast<unsigned char>(m_counts.GetData()[i] * 255 / nArea);
  return true;
}

}  // namespace PDF
