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
  std::ranges::fill(m_differences.GetSpan(), 0);
  std::ranges::fill(m_blocks.GetSpan(), TArea());
  std::ranges::fill(m_areas.GetSpan(), TArea());
}

void CPictureError::AddBlock(std::span<const unsigned char> before, std::span<const unsigned char> after,
                             TArea* pBlock)
{
  const auto nPixel = static_cast<std::size_t>(m_nComponents);
  for (std::size_t k = 0; k < nPixel; ++k)
  {
    TArea& block = pBlock[k];
    int nSum = 0;
    int nSquares = 0;
    unsigned char nLow = block.m_nLow;
    unsigned char nHigh = block.m_nHigh;
    for (std::size_t i = k; i < before.size(); i += nPixel)
    {
      const int nDifference = after[i] - before[i];
      nSum += nDifference;
      nSquares += nDifference * nDifference;
      nLow = std::min(nLow, before[i]);
      nHigh = std::max(nHigh, before[i]);
    }
    m_differences.GetData()[k] += nSum;
    block.m_nSquares += nSquares;
    block.m_nSamples += static_cast<std::int64_t>(before.size() / nPixel);
    block.m_nLow = nLow;
    block.m_nHigh = nHigh;
  }
}

void CPictureError::Add(std::span<const unsigned char> before, std::span<const unsigned char> after)
{
  const std::size_t nBlock = static_cast<std::size_t>(m_nComponents) * g_nSide;
  TArea* pBlock = m_blocks.GetData();
  for (std::size_t nStart = 0; nStart < before.size(); nStart += nBlock, pBlock += m_nComponents)
  {
    const std::size_t nSize = std::min(nBlock, before.size() - nStart);
    AddBlock(before.subspan(nStart, nSize), after.subspan(nStart, nSize), pBlock);
  }
  m_nSamples += static_cast<std::int64_t>(before.size());
  if (++m_nRows % g_nSide == 0)
    FinishBlocks();
  if (m_nRows % g_nAreaSide == 0)
    FinishAreas();
}

void CPictureError::Finish()
{
  FinishBlocks();
  FinishAreas();
}

double CPictureError::MeasurePlain(const CAreas& areas, int nSide) const
{
  constexpr int nMaxRange = 2;
  double dWorst = 0;
  for (int i = 0; i < areas.GetSize(); i += m_nComponents)
  {
    const auto area =
        areas.GetSpan().subspan(static_cast<std::size_t>(i), static_cast<std::size_t>(m_nComponents));
    // Less is too near to what is around it.
    if (area[0].m_nSamples >= nSide * nSide / 2 &&
        std::ranges::all_of(area, [](const TArea& a) { return a.m_nHigh - a.m_nLow <= nMaxRange; }))
      for (const TArea& a : area)
        dWorst = std::max(dWorst, static_cast<double>(a.m_nSquares) / static_cast<double>(a.m_nSamples));
  }
  return dWorst;
}

void CPictureError::FinishBlocks()
{
  constexpr int nBlocks = g_nAreaSide / g_nSide;
  m_dPlainBlock = std::max(m_dPlainBlock, MeasurePlain(m_blocks, g_nSide));
  for (int i = 0; i < m_blocks.GetSize(); ++i)
  {
    TArea& block = m_blocks.GetData()[i];
    TArea& area = m_areas.GetData()[i / m_nComponents / nBlocks * m_nComponents + i % m_nComponents];
    m_nSquares += block.m_nSquares;
    m_nWorst = std::max(m_nWorst, block.m_nSquares);
    area.m_nSquares += block.m_nSquares;
    area.m_nSamples += block.m_nSamples;
    area.m_nLow = std::min(area.m_nLow, block.m_nLow);
    area.m_nHigh = std::max(area.m_nHigh, block.m_nHigh);
    block = {};
  }
}

void CPictureError::FinishAreas()
{
  m_dPlainArea = std::max(m_dPlainArea, MeasurePlain(m_areas, g_nAreaSide));
  std::ranges::fill(m_areas.GetSpan(), TArea());
}

double CPictureError::GetNoise() const
{
  return std::sqrt(static_cast<double>(m_nSquares) /
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
  return std::sqrt(static_cast<double>(m_nWorst) / (g_nSide * g_nSide));
}

double CPictureError::GetPlainBlockNoise() const
{
  return std::sqrt(m_dPlainBlock);
}

double CPictureError::GetPlainAreaNoise() const
{
  return std::sqrt(m_dPlainArea);
}

}  // namespace PDF
