#include "engine/PictureError.h"

#include <algorithm>
#include <cmath>

namespace PDF
{

namespace
{

constexpr int g_nSide = 16;
constexpr int g_nAreaSide = 64;

}  // namespace

CPictureError::CPictureError(int nWidth, int nComponents) : m_nComponents(nComponents)
{
  m_differences.SetSize(nComponents);
  m_blocks.SetSize((nWidth + g_nSide - 1) / g_nSide * nComponents);
  m_areas.SetSize((nWidth + g_nAreaSide - 1) / g_nAreaSide * nComponents);
  std::ranges::fill(m_areas.GetSpan(), TArea());
  std::ranges::fill(m_differences.GetSpan(), 0);
  std::ranges::fill(m_blocks.GetSpan(), 0);
}

void CPictureError::Add(std::span<const unsigned char> before, std::span<const unsigned char> after)
{
  const auto nPixel = static_cast<std::size_t>(m_nComponents);
  const std::span<std::int64_t> differences = m_differences.GetSpan();
  const std::span<std::int64_t> blocks = m_blocks.GetSpan();
  const std::size_t nBlock = nPixel * g_nSide;
  for (std::size_t nStart = 0, b = 0; nStart < before.size(); nStart += nBlock, b += nPixel)
  {
    const std::size_t nEnd = std::min(nStart + nBlock, before.size());
    TArea* const pArea = m_areas.GetData() + nStart / (nPixel * g_nAreaSide) * nPixel;
    for (std::size_t k = 0; k < nPixel; ++k)
    {
      int nSum = 0;
      int nSquares = 0;
      unsigned char nLow = pArea[k].m_nLow;
      unsigned char nHigh = pArea[k].m_nHigh;
      for (std::size_t i = nStart + k; i < nEnd; i += nPixel)
      {
        const int nDifference = after[i] - before[i];
        nSum += nDifference;
        nSquares += nDifference * nDifference;
        nLow = std::min(nLow, before[i]);
        nHigh = std::max(nHigh, before[i]);
      }
      differences[k] += nSum;
      blocks[b + k] += nSquares;
      pArea[k].m_nSquares += nSquares;
      pArea[k].m_nSamples += static_cast<std::int64_t>((nEnd - nStart) / nPixel);
      pArea[k].m_nLow = nLow;
      pArea[k].m_nHigh = nHigh;
    }
  }
  m_nSamples += static_cast<std::int64_t>(before.size());
  if (++m_nRows % g_nSide == 0)
    FinishBlocks();
  if (m_nRows % g_nAreaSide == 0)
  {
    m_dPlainSquare = std::max(m_dPlainSquare, MeasureAreas());
    std::ranges::fill(m_areas.GetSpan(), TArea());
  }
}

double CPictureError::MeasureAreas() const
{
  constexpr int nMaxRange = 2;
  // Less is too near to what is around it.
  constexpr std::int64_t nLeast = g_nAreaSide * g_nAreaSide / 2;
  double dWorst = 0;
  for (int i = 0; i < m_areas.GetSize(); i += m_nComponents)
  {
    const auto area =
        m_areas.GetSpan().subspan(static_cast<std::size_t>(i), static_cast<std::size_t>(m_nComponents));
    if (area[0].m_nSamples >= nLeast &&
        std::ranges::all_of(area, [](const TArea& a) { return a.m_nHigh - a.m_nLow <= nMaxRange; }))
      for (const TArea& component : area)
        dWorst = std::max(
            dWorst, static_cast<double>(component.m_nSquares) / static_cast<double>(component.m_nSamples));
  }
  return dWorst;
}

void CPictureError::FinishBlocks()
{
  for (std::int64_t& nBlock : m_blocks.GetSpan())
  {
    m_nSquares += nBlock;
    m_nWorst = std::max(m_nWorst, nBlock);
    nBlock = 0;
  }
}

double CPictureError::GetNoise() const
{
  std::int64_t nSquares = m_nSquares;
  for (const std::int64_t nBlock : m_blocks.GetSpan())
    nSquares += nBlock;
  return std::sqrt(static_cast<double>(nSquares) /
                   static_cast<double>(std::max<std::int64_t>(m_nSamples, 1)));
}

double CPictureError::GetShift() const
{
  std::int64_t nMost = 0;
  for (const std::int64_t nDifference : m_differences.GetSpan())
    nMost = std::max(nMost, std::abs(nDifference));
  return static_cast<double>(nMost) * m_nComponents /
         static_cast<double>(std::max<std::int64_t>(m_nSamples, 1));
}

double CPictureError::GetWorstNoise() const
{
  std::int64_t nWorst = m_nWorst;
  for (const std::int64_t nBlock : m_blocks.GetSpan())
    nWorst = std::max(nWorst, nBlock);
  return std::sqrt(static_cast<double>(nWorst) / (g_nSide * g_nSide));
}

double CPictureError::GetPlainNoise() const
{
  return std::sqrt(std::max(m_dPlainSquare, MeasureAreas()));
}

}  // namespace PDF
