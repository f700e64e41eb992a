#include "engine/StrokeCheck.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace PDF
{

namespace
{

constexpr int g_nSide = 8;

int CountRange(std::span<const unsigned char> row, int nFrom, int nTo)
{
  const auto count = [&](int nByte, int nMask)
  { return std::popcount(static_cast<unsigned>(row[static_cast<std::size_t>(nByte)] & nMask)); };
  const int nFirst = nFrom / 8;
  const int nLast = nTo / 8;
  const int nFirstMask = 0xFF >> nFrom % 8;
  const int nLastMask = 0xFF00 >> nTo % 8 & 0xFF;
  if (nFirst == nLast)
    return nTo > nFrom ? count(nFirst, nFirstMask & nLastMask) : 0;
  int nCount = count(nFirst, nFirstMask);
  for (int i = nFirst + 1; i < nLast; ++i)
    nCount += count(i, 0xFF);
  return nLastMask != 0 ? nCount + count(nLast, nLastMask) : nCount;
}

}  // namespace

CStrokeCheck::CStrokeCheck(int nWidth, int nHeight)
    : m_nWidth(nWidth),
      m_nHeight(nHeight),
      m_nColumns((nWidth + g_nSide - 1) / g_nSide),
      m_nRows((nHeight + g_nSide - 1) / g_nSide)
{
}

int CStrokeCheck::GetStart(int nBlock, int nSmall, int nSize)
{
  return static_cast<int>(std::min<std::int64_t>(std::int64_t{nBlock} * g_nSide, nSmall) * nSize / nSmall);
}

void CStrokeCheck::CountBits(std::span<const unsigned char> row, int nWidth, std::span<int> blocks) const
{
  int nStart = 0;
  for (int i = 0; i < m_nColumns; ++i)
  {
    const int nEnd = GetStart(i + 1, m_nWidth, nWidth);
    blocks[static_cast<std::size_t>(i)] += CountRange(row, nStart, nEnd);
    nStart = nEnd;
  }
}

bool CStrokeCheck::CountPicture(BSE::IByteStream& picture, int nWidth, int nHeight,
                                BSE::CBasicArray<int>& blocks) const
{
  BSE::CBasicArray<unsigned char> row;
  row.SetSize((nWidth + 7) / 8);
  blocks.SetSize(m_nColumns * m_nRows);
  std::ranges::fill(blocks.GetSpan(), 0);
  if (!picture.Rewind())
    return false;
  for (int nBlock = 0; nBlock < m_nRows; ++nBlock)
    for (int y = GetStart(nBlock, m_nHeight, nHeight); y < GetStart(nBlock + 1, m_nHeight, nHeight); ++y)
    {
      if (picture.ReadFully(row.GetData(), row.GetSize()) != row.GetSize())
        return false;
      CountBits(row.GetSpan(), nWidth,
                blocks.GetSpan().subspan(static_cast<std::size_t>(nBlock * m_nColumns),
                                         static_cast<std::size_t>(m_nColumns)));
    }
  return true;
}

bool CStrokeCheck::Measure(BSE::IByteStream& picture, int nWidth, int nHeight)
{
  m_nOldWidth = nWidth;
  m_nOldHeight = nHeight;
  return CountPicture(picture, nWidth, nHeight, m_blocks);
}

double CStrokeCheck::GetShare(int x, int y, const BSE::CBasicArray<int>& blocks, int nWidth,
                              int nHeight) const
{
  const int nColumns = GetStart(x + 1, m_nWidth, nWidth) - GetStart(x, m_nWidth, nWidth);
  const int nRows = GetStart(y + 1, m_nHeight, nHeight) - GetStart(y, m_nHeight, nHeight);
  return blocks[y * m_nColumns + x] / (static_cast<double>(nColumns) * nRows);
}

// Whether a block and those around it have one value.
bool CStrokeCheck::IsPlainAround(int x, int y, const BSE::CBasicArray<int>& blocks) const
{
  const double dShare = GetShare(x, y, blocks, m_nWidth, m_nHeight);
  bool bPlain = dShare == 0 || dShare == 1;
  for (int i = std::max(y - 1, 0); i <= std::min(y + 1, m_nRows - 1); ++i)
    for (int k = std::max(x - 1, 0); k <= std::min(x + 1, m_nColumns - 1); ++k)
      bPlain = bPlain && GetShare(k, i, blocks, m_nWidth, m_nHeight) == dShare;
  return bPlain;
}

bool CStrokeCheck::AreKept(BSE::IByteStream& picture) const
{
  // A line through a block that is a quarter of a pixel wide. Specks are less.
  constexpr double dLeastLine = 0.03;
  // The edges of letters are rounded both ways.
  constexpr double dMaxTone = 0.25;
  // Dirt is lost in one place or another.
  constexpr int nMostLost = 3;
  BSE::CBasicArray<int> blocks;
  if (!CountPicture(picture, m_nWidth, m_nHeight, blocks))
    return false;
  int nLost = 0;
  for (int y = 0; y < m_nRows; ++y)
    for (int x = 0; x < m_nColumns && nLost <= nMostLost; ++x)
    {
      const double dChange = std::abs(GetShare(x, y, m_blocks, m_nOldWidth, m_nOldHeight) -
                                      GetShare(x, y, blocks, m_nWidth, m_nHeight));
      // What goes beside what stays is the edge of a letter.
      const bool bLost = dChange > dMaxTone || (dChange > dLeastLine && IsPlainAround(x, y, blocks));
      nLost += bLost ? 1 : 0;
    }
  return nLost <= nMostLost;
}

}  // namespace PDF
