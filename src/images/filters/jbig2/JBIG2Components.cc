#include "images/filters/jbig2/JBIG2Components.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace BSE
{

bool CJBIG2Components::AddRuns(const CJBIG2Bitmap& page, int y, int nMaxRuns)
{
  constexpr int nWordBits = CJBIG2Bitmap::g_nWordBits;
  const std::uint64_t* const pRow = page.GetRow(y);
  std::uint64_t nLast = 0;
  int nStart = -1;
  const auto change = [&](int x)
  {
    if (nStart >= 0)
      m_runs.Add({y, nStart, x, m_runs.GetSize()});
    nStart = nStart >= 0 ? -1 : x;
  };
  for (int i = 0; i < page.GetStride(); ++i)
  {
    // A bit is set where it differs from the one before it.
    std::uint64_t nChanges = pRow[i] ^ (pRow[i] >> 1 | nLast << (nWordBits - 1));
    nLast = pRow[i] & 1;
    while (nChanges != 0)
    {
      const int nOffset = std::countl_zero(nChanges);
      change(i * nWordBits + nOffset);
      nChanges ^= std::uint64_t{1} << (nWordBits - 1 - nOffset);
    }
  }
  if (nStart >= 0)
    change(page.GetWidth());
  return m_runs.GetSize() <= nMaxRuns;
}

int CJBIG2Components::FindFirst(int nRun)
{
  TRun* const pRuns = m_runs.GetData();
  while (pRuns[nRun].m_nParent != nRun)
  {
    // Halves the way for the next one.
    pRuns[nRun].m_nParent = pRuns[pRuns[nRun].m_nParent].m_nParent;
    nRun = pRuns[nRun].m_nParent;
  }
  return nRun;
}

void CJBIG2Components::Join(int nRun, int nOther)
{
  const int nFirst = FindFirst(nRun);
  const int nSecond = FindFirst(nOther);
  m_runs.GetData()[std::max(nFirst, nSecond)].m_nParent = std::min(nFirst, nSecond);
}

void CJBIG2Components::JoinRows(int nAbove, int nRow)
{
  const TRun* const pRuns = m_runs.GetData();
  const int nEnd = m_runs.GetSize();
  for (int i = nRow, k = nAbove; i < nEnd && k < nRow;)
  {
    if (pRuns[k].m_nRight >= pRuns[i].m_nLeft && pRuns[i].m_nRight >= pRuns[k].m_nLeft)
      Join(i, k);
    if (pRuns[k].m_nRight < pRuns[i].m_nRight)
      ++k;
    else
      ++i;
  }
}

bool CJBIG2Components::Find(const CJBIG2Bitmap& page, int nMaxRuns)
{
  int nAbove = 0;
  for (int y = 0; y < page.GetHeight(); ++y)
  {
    const int nRow = m_runs.GetSize();
    if (!AddRuns(page, y, nMaxRuns))
    {
      m_runs.RemoveAll();
      return false;
    }
    JoinRows(nAbove, nRow);
    nAbove = nRow;
  }
  Collect();
  return true;
}

void CJBIG2Components::Collect()
{
  const int nRuns = m_runs.GetSize();
  TRun* const pRuns = m_runs.GetData();
  CBasicArray<int> numbers;
  numbers.SetSize(nRuns);
  for (int i = 0; i < nRuns; ++i)
  {
    const TRun& run = pRuns[i];
    const int nFirst = FindFirst(i);
    if (nFirst == i)
      numbers.GetData()[i] = m_components.Add({run.m_nLeft, run.m_y, run.m_nRight, run.m_y + 1, 0, 0});
    else
      numbers.GetData()[i] = numbers.GetData()[nFirst];
    TJBIG2Component& component = m_components.GetData()[numbers.GetData()[i]];
    component.m_nLeft = std::min(component.m_nLeft, run.m_nLeft);
    component.m_nRight = std::max(component.m_nRight, run.m_nRight);
    component.m_nBottom = run.m_y + 1;
    ++component.m_nRuns;
  }
  int nNext = 0;
  for (TJBIG2Component& component : m_components.GetSpan())
  {
    component.m_nFirstRun = nNext;
    nNext += std::exchange(component.m_nRuns, 0);
  }
  CBasicArray<TRun> sorted;
  sorted.SetSize(nRuns);
  for (int i = 0; i < nRuns; ++i)
  {
    TJBIG2Component& component = m_components.GetData()[numbers.GetData()[i]];
    sorted.GetData()[component.m_nFirstRun + component.m_nRuns++] = pRuns[i];
  }
  std::swap(m_runs, sorted);
}

CJBIG2BitmapPtr CJBIG2Components::Extract(CJBIG2Run& run, int i) const
{
  const TJBIG2Component& component = Get(i);
  CJBIG2BitmapPtr pBitmap = CJBIG2Bitmap::Create(run, component.GetWidth(), component.GetHeight());
  for (int k = 0; pBitmap && k < component.m_nRuns; ++k)
  {
    const TRun& part = m_runs.GetData()[component.m_nFirstRun + k];
    pBitmap->FillRun(part.m_y - component.m_nTop, part.m_nLeft - component.m_nLeft,
                     part.m_nRight - component.m_nLeft);
  }
  return pBitmap;
}

}  // namespace BSE
