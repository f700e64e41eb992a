#include "fonts/pdf/CodeMap.h"

namespace PDF
{

namespace
{

bool IsInOrder(std::span<const TCodeRange> ranges)
{
  for (std::size_t i = 1; i < ranges.size(); ++i)
    if (ranges[i].m_nFirst <= ranges[i - 1].m_nLast)
      return false;
  return true;
}

// Cuts ranges that overlap where others begin and end, and gives each piece to the range that comes first.
class CPainter
{
public:
  explicit CPainter(std::span<const TCodeRange> ranges)
  {
    for (const TCodeRange& range : ranges)
    {
      m_cuts.Add(range.m_nFirst);
      m_cuts.Add(std::uint64_t{range.m_nLast} + 1);
    }
    const std::span<std::uint64_t> cuts = m_cuts.GetSpan();
    std::sort(cuts.begin(), cuts.end());
    m_cuts.Truncate(static_cast<int>(std::unique(cuts.begin(), cuts.end()) - cuts.begin()));
    m_next.SetSize(m_cuts.GetSize() + 1);
    m_owners.SetSize(m_cuts.GetSize());
    for (int i = 0; i < m_next.GetSize(); ++i)
      m_next[i] = i;
  }

  void Paint(const TCodeRange& range, int nOwner)
  {
    const int nEnd = FindCut(std::uint64_t{range.m_nLast} + 1);
    for (int i = FindFree(FindCut(range.m_nFirst)); i < nEnd; i = FindFree(i))
    {
      m_owners[i] = nOwner + 1;
      m_next[i] = i + 1;
    }
  }

  void Collect(std::span<const TCodeRange> ranges, BSE::CBasicArray<TCodeRange>& result)
  {
    int nLastOwner = 0;
    for (int i = 0; i + 1 < m_cuts.GetSize(); ++i)
    {
      const int nOwner = m_owners[i];
      const auto nLast = static_cast<std::uint32_t>(m_cuts[i + 1] - 1);
      if (nOwner != 0 && nOwner == nLastOwner)
        result[result.GetSize() - 1].m_nLast = nLast;
      else if (nOwner != 0)
      {
        TCodeRange range = ranges[static_cast<std::size_t>(nOwner - 1)];
        range.m_nFirst = static_cast<std::uint32_t>(m_cuts[i]);
        range.m_nLast = nLast;
        result.Add(range);
      }
      nLastOwner = nOwner;
    }
  }

private:
  int FindCut(std::uint64_t nCut) const
  {
    const std::span<const std::uint64_t> cuts = m_cuts.GetSpan();
    return static_cast<int>(std::lower_bound(cuts.begin(), cuts.end(), nCut) - cuts.begin());
  }

  // The first piece from here on that nobody has.
  int FindFree(int nPiece)
  {
    int nFree = nPiece;
    while (m_next[nFree] != nFree)
      nFree = m_next[nFree];
    while (m_next[nPiece] != nFree && nPiece != nFree)
      nPiece = std::exchange(m_next[nPiece], nFree);
    return nFree;
  }

  BSE::CBasicArray<std::uint64_t> m_cuts;
  BSE::CBasicArray<int> m_next;
  BSE::CBasicArray<int> m_owners;  // from 1
};

}  // namespace

bool CCodeMap::Add(std::uint32_t nFirst, std::uint32_t nLast, std::uint32_t nValue)
{
  if (nLast < nFirst)
    return false;
  m_ranges.Add({nFirst, nLast, nFirst, nValue});
  return true;
}

void CCodeMap::Finish(bool bLastCounts)
{
  const std::span<const TCodeRange> ranges = m_ranges.GetSpan();
  if (IsInOrder(ranges))
    return;
  CPainter painter(ranges);
  const int nCount = m_ranges.GetSize();
  for (int i = 0; i < nCount; ++i)
  {
    const int nOwner = bLastCounts ? nCount - 1 - i : i;
    painter.Paint(m_ranges[nOwner], nOwner);
  }
  BSE::CBasicArray<TCodeRange> result;
  painter.Collect(ranges, result);
  m_ranges = std::move(result);
}

const TCodeRange* CCodeMap::Find(std::uint32_t nCode) const
{
  const std::span<const TCodeRange> ranges = m_ranges.GetSpan();
  const auto it =
      std::lower_bound(ranges.begin(), ranges.end(), nCode,
                       [](const TCodeRange& range, std::uint32_t nOther) { return range.m_nLast < nOther; });
  return it != ranges.end() && it->m_nFirst <= nCode ? &*it : nullptr;
}

}  // namespace PDF
