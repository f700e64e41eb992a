#include "engine/PictureError.h"

#include <algorithm>
#include <cmath>

namespace PDF
{

namespace
{

constexpr int g_nSide = 16;

}  // namespace

CPictureError::CPictureError(int nWidth, int nComponents) : m_nComponents(nComponents)
{
  m_differences.SetSize(nComponents);
  m_blocks.SetSize((nWidth + g_nSide - 1) / g_nSide * nComponents);
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
    for (std::size_t i = nStart; i < nEnd; i += nPixel)
      for (std::size_t k = 0; k < nPixel; ++k)
      {
        const int nDifference = after[i + k] - before[i + k];
        differences[k] += nDifference;
        blocks[b + k] += nDifference * nDifference;
      }
  }
  m_nSamples += static_cast<std::int64_t>(before.size());
  if (++m_nRows % g_nSide == 0)
    FinishBlocks();
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

}  // namespace PDF
