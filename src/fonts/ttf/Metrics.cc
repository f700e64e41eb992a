#include "fonts/ttf/Metrics.h"

namespace TTF
{

std::size_t CMetrics::GetNeeded() const
{
  const int nBearings = std::max(0, m_nGlyphs - m_nMetrics);
  return static_cast<std::size_t>(4 * m_nMetrics + 2 * nBearings);
}

void CMetrics::FillUp()
{
  BSE::CBasicArray<unsigned char> bytes;
  bytes.Append(GetBytes());
  bytes.SetSize(static_cast<int>(GetNeeded()));
  SetBytes(std::move(bytes));
}

void CMetrics::Clear(const BSE::CBasicArray<unsigned char>& used)
{
  BSE::CBasicArray<unsigned char> bytes;
  bytes.Append(GetBytes());
  const auto ClearAt = [&](int nOffset, int nSize)
  {
    for (int i = nOffset; i < nOffset + nSize; ++i)
      bytes.SetAt(i, 0);
  };
  bool bLastAdvance = false;
  for (int i = m_nMetrics; i < m_nGlyphs; ++i)
    if (used[i] == 0)
      ClearAt(4 * m_nMetrics + 2 * (i - m_nMetrics), 2);
    else
      bLastAdvance = true;
  // The last advance also counts for all glyphs after it.
  for (int i = 0; i < m_nMetrics; ++i)
    if (used[i] == 0 && (i + 1 < m_nMetrics || !bLastAdvance))
      ClearAt(4 * i, 4);
  SetBytes(std::move(bytes));
}

int CMetrics::GetAdvance(int nGlyph) const
{
  if (nGlyph < 0 || nGlyph >= m_nGlyphs || m_nMetrics == 0)
    return 0;
  BSE::CByteCursor cursor = GetCursor();
  cursor.Skip(4 * std::int64_t{std::min(nGlyph, m_nMetrics - 1)});
  return static_cast<int>(cursor.Card16());
}

int CMetrics::GetBearing(int nGlyph) const
{
  if (nGlyph < 0 || nGlyph >= m_nGlyphs)
    return 0;
  BSE::CByteCursor cursor = GetCursor();
  if (nGlyph < m_nMetrics)
    cursor.Skip(4 * std::int64_t{nGlyph} + 2);
  else
    cursor.Skip(4 * std::int64_t{m_nMetrics} + 2 * std::int64_t{nGlyph - m_nMetrics});
  return cursor.Int16();
}

}  // namespace TTF
