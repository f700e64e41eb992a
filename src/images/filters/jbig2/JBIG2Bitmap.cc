// Bitmaps are combined in words of 64 pixels. The words of a source lie at any offset to those of the target,
// so each is joined from two neighbours; in a row only the first and the last word need a mask, and the loop
// between them has no condition. It relies on the bits beyond the width of a row being 0, which every
// operation keeps. Places are 64-bit numbers and are cut to the meeting of both bitmaps before any row is
// touched.

#include "images/filters/jbig2/JBIG2Bitmap.h"

#include "base/Limits.h"
#include "base/Memory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace BSE
{

namespace
{

constexpr std::uint64_t g_nAllBits = ~std::uint64_t{0};
constexpr int g_nWordBits = CJBIG2Bitmap::g_nWordBits;

// Work and memory of a bitmap besides its pixels, with what the allocator adds.
constexpr int g_nCreationWork = 64;
constexpr std::int64_t g_nOverhead = 64 + sizeof(CJBIG2Bitmap);

// Word that begins nOffset bits, 0 to 63, after the start of the first of two.
std::uint64_t Join(std::uint64_t nFirst, std::uint64_t nSecond, int nOffset)
{
  return nOffset == 0 ? nFirst : nFirst << nOffset | nSecond >> (g_nWordBits - nOffset);
}

// Where a source and a target meet, in pixels of the target.
struct TMeeting
{
  std::int64_t m_nLeft;
  std::int64_t m_nRight;
  std::int64_t m_nTop;
  std::int64_t m_nBottom;
};

// A row of a source as words that begin at the words of the target.
struct TShiftedRow
{
  // Any word; what is outside of the row is 0.
  std::uint64_t Get(std::int64_t i) const { return Join(GetOwn(i), GetOwn(i + 1), m_nOffset); }
  std::uint64_t GetOwn(std::int64_t i) const { return i >= 0 && i < m_nStride ? m_pRow[i] : 0; }

  const std::uint64_t* m_pRow;
  std::int64_t m_nStride;
  int m_nOffset;
};

// Words of the target that the source fills, all 64 pixels of them.
template <class F>
void CombineWords(std::uint64_t* pTarget, const std::uint64_t* pSource, std::int64_t nCount, int nOffset,
                  F combine)
{
  if (nOffset == 0)
  {
    for (std::int64_t i = 0; i < nCount; ++i)
      pTarget[i] = combine(pTarget[i], pSource[i]);
    return;
  }
  for (std::int64_t i = 0; i < nCount; ++i)
    pTarget[i] = combine(pTarget[i], pSource[i] << nOffset | pSource[i + 1] >> (g_nWordBits - nOffset));
}

template <class F>
void CombineRows(CJBIG2Bitmap& target, const CJBIG2Bitmap& source, const TMeeting& meeting, std::int64_t x,
                 std::int64_t y, F combine)
{
  const std::int64_t nFirst = meeting.m_nLeft / g_nWordBits;
  const std::int64_t nLast = (meeting.m_nRight - 1) / g_nWordBits;
  std::uint64_t nHead = g_nAllBits >> (meeting.m_nLeft % g_nWordBits);
  const std::uint64_t nTail = g_nAllBits << (g_nWordBits - 1 - (meeting.m_nRight - 1) % g_nWordBits);
  if (nFirst == nLast)
    nHead &= nTail;
  // Where the source's bits for the first word begin; the shift is that of all of them.
  const std::int64_t nStart = nFirst * g_nWordBits - x;
  const int nOffset = static_cast<int>(nStart & (g_nWordBits - 1));
  const std::int64_t nSource = (nStart - nOffset) / g_nWordBits;
  for (std::int64_t nRow = meeting.m_nTop; nRow < meeting.m_nBottom; ++nRow)
  {
    std::uint64_t* const pTarget = target.GetRow(static_cast<int>(nRow));
    const TShiftedRow row{source.GetRow(static_cast<int>(nRow - y)), source.GetStride(), nOffset};
    const auto combineMasked = [&](std::int64_t i, std::uint64_t nMask)
    { pTarget[i] = (pTarget[i] & ~nMask) | (combine(pTarget[i], row.Get(nSource + i - nFirst)) & nMask); };
    combineMasked(nFirst, nHead);
    if (nFirst == nLast)
      continue;
    CombineWords(pTarget + nFirst + 1, row.m_pRow + nSource + 1, nLast - nFirst - 1, nOffset, combine);
    combineMasked(nLast, nTail);
  }
}

}  // namespace

CJBIG2BitmapPtr CJBIG2Bitmap::Create(CJBIG2Run& run, std::int64_t nWidth, std::int64_t nHeight)
{
  constexpr std::int64_t nMaxSide = 0x7FFFFFFF - g_nWordBits;
  if (nWidth < 0 || nHeight < 0 || nWidth > nMaxSide || nHeight > nMaxSide ||
      nWidth * nHeight > g_nMaxImagePixels)
  {
    run.Fail("a bitmap has an impossible size");
    return nullptr;
  }
  const std::int64_t nStride = (nWidth + g_nWordBits - 1) / g_nWordBits;
  const std::int64_t nBytes = nStride * nHeight * g_nWordBits / 8;
  const std::int64_t nMemory = nBytes + g_nOverhead;
  if (!run.Spend(g_nCreationWork) || !run.TakeMemory(nMemory))
    return nullptr;
  std::uint64_t* pWords = nullptr;
  if (nBytes > 0)
  {
    // Memory that is zero anyway costs nothing before it is touched, which much of a page never is.
    pWords = static_cast<std::uint64_t*>(std::calloc(static_cast<std::size_t>(nBytes), 1));
    if (!pWords)
    {
      run.ReturnMemory(nMemory);
      ThrowOutOfMemory();
    }
  }
  return new CJBIG2Bitmap(run, static_cast<int>(nWidth), static_cast<int>(nHeight), static_cast<int>(nStride),
                          pWords, nMemory);
}

CJBIG2Bitmap::~CJBIG2Bitmap()
{
  Free(m_pWords);
  m_run.ReturnMemory(m_nMemory);
}

bool CJBIG2Bitmap::GetPixel(std::int64_t x, std::int64_t y) const
{
  if (x < 0 || y < 0 || x >= m_nWidth || y >= m_nHeight)
    return false;
  return (GetRow(static_cast<int>(y))[x / g_nWordBits] >> (g_nWordBits - 1 - x % g_nWordBits) & 1) != 0;
}

std::uint64_t CJBIG2Bitmap::GetBits(std::int64_t x, std::int64_t y) const
{
  if (m_nStride == 0 || y < 0 || y >= m_nHeight || x <= -g_nWordBits || x >= m_nWidth)
    return 0;
  const std::uint64_t* const pRow = GetRow(static_cast<int>(y));
  if (x < 0)
    return pRow[0] >> -x;
  const std::int64_t nIndex = x / g_nWordBits;
  return Join(pRow[nIndex], nIndex + 1 < m_nStride ? pRow[nIndex + 1] : 0, static_cast<int>(x % g_nWordBits));
}

void CJBIG2Bitmap::Fill(bool bBlack)
{
  if (m_nStride == 0)
    return;
  for (int y = 0; y < m_nHeight; ++y)
  {
    std::memset(GetRow(y), bBlack ? 0xFF : 0, static_cast<std::size_t>(m_nStride) * sizeof(std::uint64_t));
    GetRow(y)[m_nStride - 1] &= GetLastMask();
  }
}

void CJBIG2Bitmap::FillRun(int y, int x, int nEnd)
{
  if (x >= nEnd)
    return;
  std::uint64_t* const pRow = GetRow(y);
  const int nFirst = x / g_nWordBits;
  const int nLast = (nEnd - 1) / g_nWordBits;
  const std::uint64_t nHead = g_nAllBits >> (x % g_nWordBits);
  const std::uint64_t nTail = g_nAllBits << (g_nWordBits - 1 - (nEnd - 1) % g_nWordBits);
  if (nFirst == nLast)
  {
    pRow[nFirst] |= nHead & nTail;
    return;
  }
  pRow[nFirst] |= nHead;
  std::fill(pRow + nFirst + 1, pRow + nLast, g_nAllBits);
  pRow[nLast] |= nTail;
}

void CJBIG2Bitmap::Combine(const CJBIG2Bitmap& source, std::int64_t x, std::int64_t y, TJBIG2Operator op)
{
  const TMeeting meeting{std::max<std::int64_t>(x, 0), std::min<std::int64_t>(x + source.m_nWidth, m_nWidth),
                         std::max<std::int64_t>(y, 0),
                         std::min<std::int64_t>(y + source.m_nHeight, m_nHeight)};
  if (meeting.m_nLeft >= meeting.m_nRight)
    return;
  using TWord = std::uint64_t;
  switch (op)
  {
  case eJBIG2Or:
    CombineRows(*this, source, meeting, x, y, [](TWord nOld, TWord nNew) { return nOld | nNew; });
    break;
  case eJBIG2And:
    CombineRows(*this, source, meeting, x, y, [](TWord nOld, TWord nNew) { return nOld & nNew; });
    break;
  case eJBIG2Xor:
    CombineRows(*this, source, meeting, x, y, [](TWord nOld, TWord nNew) { return nOld ^ nNew; });
    break;
  case eJBIG2Xnor:
    CombineRows(*this, source, meeting, x, y, [](TWord nOld, TWord nNew) { return ~(nOld ^ nNew); });
    break;
  case eJBIG2Replace:
    CombineRows(*this, source, meeting, x, y, [](TWord, TWord nNew) { return nNew; });
    break;
  }
}

CJBIG2BitmapPtr CJBIG2Bitmap::CopyPart(CJBIG2Run& run, std::int64_t x, std::int64_t y, std::int64_t nWidth,
                                       std::int64_t nHeight) const
{
  CJBIG2BitmapPtr pPart = Create(run, nWidth, nHeight);
  if (pPart)
    pPart->Combine(*this, -x, -y, eJBIG2Replace);
  return pPart;
}

}  // namespace BSE
