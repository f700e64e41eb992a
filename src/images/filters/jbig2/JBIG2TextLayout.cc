// Nothing is lost: only components with equal pixels share a symbol, and one that is merely similar is coded
// as a refinement, which restores each pixel. Whether either is worth it is judged by estimates of the bits
// that it takes; the encoder compares the whole page in the end, so that a wrong guess costs size only.
// Components are put into classes by a hash table. For a refinement those of the same size and one pixel
// around it are tried, no more than a fixed number, so that a page of ten thousand different specks does not
// compare each with all.

#include "images/filters/jbig2/JBIG2TextLayout.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>

namespace BSE
{

namespace
{

// Larger components hardly ever come twice.
constexpr int g_nMaxSide = 255;
constexpr int g_nSizes = g_nMaxSide + 1;

// Bits that a symbol costs where it is, and besides its pixels in the dictionary.
constexpr double g_dInstanceBits = 13;
constexpr double g_dSymbolBits = 8;

// Bits of a refinement: in any case, for a run, and for a pixel that differs.
constexpr double g_dRefinementBits = 5;
constexpr double g_dRefinedRunBits = 0.7;
constexpr double g_dDifferenceBits = 3.5;

// Bitmaps that are looked at to find one to refine: how much larger or smaller, and how many at most.
constexpr int g_nMaxSizeStep = 1;
constexpr int g_nMaxTries = 200;

// A search this long is given up: the page was made to cause it. The component stays in the rest of the page
// then.
constexpr std::uint64_t g_nMaxProbes = 64;

std::uint64_t GetHash(const CJBIG2Bitmap& bitmap)
{
  constexpr std::uint64_t nFactor = 0x9E3779B97F4A7C15U;
  std::uint64_t nHash =
      static_cast<std::uint64_t>(bitmap.GetWidth()) << 32 | static_cast<unsigned>(bitmap.GetHeight());
  for (int y = 0; y < bitmap.GetHeight(); ++y)
  {
    for (int i = 0; i < bitmap.GetStride(); ++i)
      nHash = std::rotl((nHash ^ bitmap.GetRow(y)[i]) * nFactor, 29);
  }
  return nHash * nFactor;
}

bool AreEqual(const CJBIG2Bitmap& a, const CJBIG2Bitmap& b)
{
  return a.GetWidth() == b.GetWidth() && a.GetHeight() == b.GetHeight() &&
         std::memcmp(a.GetRow(0), b.GetRow(0),
                     static_cast<std::size_t>(a.GetStride()) * static_cast<std::size_t>(a.GetHeight()) *
                         sizeof(std::uint64_t)) == 0;
}

// Pixels of a bitmap that differ from those of another one with its corner at a place; more than nMax are not
// counted.
int CountDifferences(const CJBIG2Bitmap& bitmap, const CJBIG2Bitmap& other, int x, int y, int nMax)
{
  int nCount = 0;
  for (int nRow = 0; nRow < bitmap.GetHeight() && nCount < nMax; ++nRow)
  {
    for (int i = 0; i < bitmap.GetStride(); ++i)
    {
      const std::int64_t nLeft = std::int64_t{i} * CJBIG2Bitmap::g_nWordBits;
      std::uint64_t nBits = bitmap.GetRow(nRow)[i] ^ other.GetBits(nLeft - x, nRow - y);
      if (i + 1 == bitmap.GetStride())
        nBits &= bitmap.GetLastMask();
      nCount += std::popcount(nBits);
    }
  }
  return nCount;
}

}  // namespace

CJBIG2TextLayout::CJBIG2TextLayout(CJBIG2Run& run, const CJBIG2Components& components, double dBitsPerRun)
    : m_run(run), m_components(components), m_dBitsPerRun(dBitsPerRun)
{
}

int CJBIG2TextLayout::FindSlot(const CJBIG2Bitmap& bitmap, std::uint64_t nHash) const
{
  const auto nMask = static_cast<std::uint64_t>(m_table.GetSize() - 1);
  for (std::uint64_t i = 0; i < g_nMaxProbes; ++i)
  {
    const std::uint64_t nSlot = (nHash + i) & nMask;
    const int nClass = m_table.GetData()[nSlot];
    if (nClass < 0 || (m_classes.GetData()[nClass].m_nHash == nHash && AreEqual(*m_bitmaps[nClass], bitmap)))
      return static_cast<int>(nSlot);
  }
  return -1;
}

void CJBIG2TextLayout::MakeClasses()
{
  const int nCount = m_components.GetCount();
  m_classOf.SetSize(nCount);
  m_table.SetSize(static_cast<int>(std::bit_ceil(2U * static_cast<unsigned>(nCount) + 1)));
  std::fill_n(m_table.GetData(), m_table.GetSize(), -1);
  for (int i = 0; i < nCount; ++i)
  {
    const TJBIG2Component& component = m_components.Get(i);
    m_classOf.GetData()[i] = -1;
    if (component.GetWidth() > g_nMaxSide || component.GetHeight() > g_nMaxSide ||
        component.m_nRuns * m_dBitsPerRun < g_dInstanceBits)
      continue;
    const CJBIG2BitmapPtr pBitmap = m_components.Extract(m_run, i);
    const std::uint64_t nHash = GetHash(*pBitmap);
    const int nSlot = FindSlot(*pBitmap, nHash);
    if (nSlot < 0)
      continue;
    int& nClass = m_table.GetData()[nSlot];
    if (nClass < 0)
    {
      nClass = m_classes.Add({nHash, 0, component.m_nRuns, i, -1, -1});
      m_bitmaps.Add(pBitmap.Get());
    }
    ++m_classes.GetData()[nClass].m_nCount;
    m_classOf.GetData()[i] = nClass;
  }
}

void CJBIG2TextLayout::MakeSymbol(int nClass)
{
  m_classes.GetData()[nClass].m_nSymbol = m_symbols.Add(m_bitmaps[nClass]);
}

bool CJBIG2TextLayout::AddSymbols()
{
  MakeClasses();
  for (int i = 0; i < m_classes.GetSize(); ++i)
  {
    const TClass& item = m_classes.GetData()[i];
    const double dBits = item.m_nRuns * m_dBitsPerRun;
    if ((item.m_nCount - 1) * dBits > item.m_nCount * g_dInstanceBits + g_dSymbolBits)
      MakeSymbol(i);
  }
  for (int i = 0; i < m_classOf.GetSize(); ++i)
  {
    const int nClass = m_classOf.GetData()[i];
    if (nClass >= 0 && m_classes.GetData()[nClass].m_nSymbol >= 0)
      m_instances.Add({i, m_classes.GetData()[nClass].m_nSymbol, -1, 0, 0});
  }
  return !m_instances.IsEmpty();
}

void CJBIG2TextLayout::Offer(int nClass)
{
  const CJBIG2Bitmap& bitmap = *m_bitmaps[nClass];
  int& nFirst = m_sizes.GetData()[bitmap.GetHeight() * g_nSizes + bitmap.GetWidth()];
  m_classes.GetData()[nClass].m_nNext = nFirst;
  nFirst = nClass;
}

void CJBIG2TextLayout::TryMatch(const CJBIG2Bitmap& bitmap, int nClass, TMatch& match) const
{
  const CJBIG2Bitmap& other = *m_bitmaps[nClass];
  const int nWider = bitmap.GetWidth() - other.GetWidth();
  const int nHigher = bitmap.GetHeight() - other.GetHeight();
  for (int y = std::min(nHigher, 0); y <= std::max(nHigher, 0); ++y)
  {
    for (int x = std::min(nWider, 0); x <= std::max(nWider, 0); ++x)
    {
      const int nDifference = CountDifferences(bitmap, other, x, y, match.m_nDifference);
      if (nDifference < match.m_nDifference)
        match = {nClass, nDifference, x, y};
    }
  }
}

CJBIG2TextLayout::TMatch CJBIG2TextLayout::FindMatch(const CJBIG2Bitmap& bitmap) const
{
  TMatch match;
  match.m_nDifference = bitmap.GetWidth() * bitmap.GetHeight();
  int nTries = 0;
  for (int nSize = 0; nSize < (2 * g_nMaxSizeStep + 1) * (2 * g_nMaxSizeStep + 1); ++nSize)
  {
    const int nWidth = bitmap.GetWidth() + nSize % (2 * g_nMaxSizeStep + 1) - g_nMaxSizeStep;
    const int nHeight = bitmap.GetHeight() + nSize / (2 * g_nMaxSizeStep + 1) - g_nMaxSizeStep;
    if (nWidth < 1 || nHeight < 1 || nWidth > g_nMaxSide || nHeight > g_nMaxSide)
      continue;
    int nClass = m_sizes.GetData()[nHeight * g_nSizes + nWidth];
    for (; nClass >= 0 && nTries < g_nMaxTries; nClass = m_classes.GetData()[nClass].m_nNext, ++nTries)
      TryMatch(bitmap, nClass, match);
  }
  return match;
}

bool CJBIG2TextLayout::IsWorthRefining(const TClass& item, const TMatch& match) const
{
  const double dBits = g_dInstanceBits + g_dRefinementBits + item.m_nRuns * g_dRefinedRunBits +
                       match.m_nDifference * g_dDifferenceBits;
  return match.m_nClass >= 0 && dBits < item.m_nRuns * m_dBitsPerRun;
}

bool CJBIG2TextLayout::AddRefinements()
{
  m_sizes.SetSize(g_nSizes * g_nSizes);
  std::fill_n(m_sizes.GetData(), m_sizes.GetSize(), -1);
  for (int i = 0; i < m_classes.GetSize(); ++i)
  {
    if (m_classes.GetData()[i].m_nSymbol >= 0)
      Offer(i);
  }
  for (int i = 0; i < m_classOf.GetSize(); ++i)
  {
    const int nClass = m_classOf.GetData()[i];
    if (nClass < 0 || m_classes.GetData()[nClass].m_nSymbol >= 0)
      continue;
    const TMatch match = FindMatch(*m_bitmaps[nClass]);
    if (!IsWorthRefining(m_classes.GetData()[nClass], match))
    {
      // It may be what others refine.
      if (m_classes.GetData()[nClass].m_nComponent == i)
        Offer(nClass);
      continue;
    }
    TClass& symbol = m_classes.GetData()[match.m_nClass];
    if (symbol.m_nSymbol < 0)
    {
      MakeSymbol(match.m_nClass);
      m_instances.Add({symbol.m_nComponent, symbol.m_nSymbol, -1, 0, 0});
    }
    const int nRefined = m_refined.Add(m_bitmaps[nClass]);
    m_instances.Add({i, symbol.m_nSymbol, nRefined, match.m_x, match.m_y});
  }
  return !m_refined.IsEmpty();
}

}  // namespace BSE
