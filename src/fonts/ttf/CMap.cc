// Subtables (OpenType specification, cmap) are not decoded but looked up in place, through cursors that read
// zeros beyond the end. Counts are cut to what there is room for in the table. A subtable of format 4 is
// searched by halves only if its segments ascend, which is found out once when the table is read; otherwise
// the first segment with the code counts, as for readers that go through them in order.
//
// Subtables may be shared, so that a small file could ask for much work many times over: all of them together
// must not be longer than four times the table. Lists of mappings are bounded by the number of codes instead,
// since a code counts once, however many segments have it.

#include "fonts/ttf/CMap.h"

#include "base/Limits.h"

namespace TTF
{

namespace
{

constexpr int g_nFormat0Size = 262;
constexpr int g_nCodes16 = 0x10000;

// Parts of a subtable of format 4 with n segments: ends, a pad, starts, deltas, range offsets.
constexpr std::int64_t GetEndAt(int nSegment)
{
  return 14 + 2 * std::int64_t{nSegment};
}
constexpr std::int64_t GetPartAt(int nSegments, int nPart, int nSegment)
{
  return 16 + 2 * std::int64_t{nSegments} * nPart + 2 * std::int64_t{nSegment};
}

unsigned GetCard16(BSE::CByteCursor cursor, std::int64_t nOffset)
{
  cursor.Seek(nOffset);
  return cursor.Card16();
}

// As many segments as there is room for, whatever the table says.
int GetSegmentCount(const BSE::CByteCursor& cursor)
{
  const std::size_t nThere = cursor.GetRemaining() < 16 ? 0 : (cursor.GetRemaining() - 16) / 8;
  return static_cast<int>(std::min<std::size_t>(GetCard16(cursor, 6) / 2, nThere));
}

struct TReadSegment
{
  std::uint32_t m_nStart;
  std::uint32_t m_nEnd;
  std::uint32_t m_nDelta;
  unsigned m_nRange;
  std::int64_t m_nRangeAt;
};

TReadSegment ReadSegment(const BSE::CByteCursor& part, int nSegments, int nSegment)
{
  const std::int64_t nRangeAt = GetPartAt(nSegments, 3, nSegment);
  return {GetCard16(part, GetPartAt(nSegments, 1, nSegment)), GetCard16(part, GetEndAt(nSegment)),
          GetCard16(part, GetPartAt(nSegments, 2, nSegment)), GetCard16(part, nRangeAt), nRangeAt};
}

int GetSegmentCodeGlyph(const BSE::CByteCursor& part, const TReadSegment& segment, std::uint32_t nCode)
{
  // Some fonts mark an empty last segment with this range offset.
  if (nCode < segment.m_nStart || segment.m_nRange == 0xFFFF)
    return 0;
  if (segment.m_nRange == 0)
    return static_cast<int>((nCode + segment.m_nDelta) & 0xFFFF);
  const std::uint32_t nGlyph =
      GetCard16(part, segment.m_nRangeAt + segment.m_nRange + 2 * std::int64_t{nCode - segment.m_nStart});
  return nGlyph == 0 ? 0 : static_cast<int>((nGlyph + segment.m_nDelta) & 0xFFFF);
}

int GetGroupCount(BSE::CByteCursor cursor)
{
  const std::size_t nThere = cursor.GetRemaining() < 16 ? 0 : (cursor.GetRemaining() - 16) / 12;
  cursor.Skip(12);
  return static_cast<int>(std::min<std::size_t>(cursor.Card32(), nThere));
}

bool IsRead(const CCMap::TSubtable& subtable)
{
  return subtable.m_nFormat == 0 || subtable.m_nFormat == 4 || subtable.m_nFormat == 6 ||
         subtable.m_nFormat == 12;
}

bool IsKnownEncoding(int nPlatform, int nEncoding)
{
  return nPlatform == 0 || (nPlatform == 1 && nEncoding <= 32) || (nPlatform == 3 && nEncoding <= 10);
}

}  // namespace

void CCMap::Read(CFontLog& log)
{
  m_subtables.RemoveAll();
  BSE::CByteCursor cursor = GetCursor();
  cursor.Card16();
  const int nCount = static_cast<int>(cursor.Card16());
  bool bKnown = false;
  bool bSorted = true;
  std::uint32_t nLastKey = 0;
  // Subtables may be shared but must not overlap, so that together they are not much longer than the table.
  std::size_t nBudget = 4 * GetBytes().size();
  for (int i = 0; i < nCount && !cursor.HasFailed(); ++i)
  {
    TSubtable subtable = {};
    subtable.m_nPlatform = static_cast<std::uint16_t>(cursor.Card16());
    subtable.m_nEncoding = static_cast<std::uint16_t>(cursor.Card16());
    subtable.m_nOffset = cursor.Card32();
    if (cursor.HasFailed() || subtable.m_nOffset + std::uint64_t{4} > GetBytes().size())
    {
      log.Fault("Encoding offset points outside of cmap table.");
      continue;
    }
    const std::uint32_t nKey = std::uint32_t{subtable.m_nPlatform} << 16 | subtable.m_nEncoding;
    bSorted = bSorted && nKey >= nLastKey;
    nLastKey = nKey;
    if (!IsKnownEncoding(subtable.m_nPlatform, subtable.m_nEncoding))
      log.Fault("Unknown cmap platform %d / encoding %d.", int{subtable.m_nPlatform},
                int{subtable.m_nEncoding});
    CheckSubtable(subtable, log);
    if (subtable.m_nLength > nBudget || m_subtables.GetSize() == BSE::g_nMaxCMapSubtables)
    {
      log.Fault("invalid cmap format %d.", int{subtable.m_nFormat});
      log.LosePart();
      break;
    }
    nBudget -= subtable.m_nLength;
    bKnown = bKnown || IsRead(subtable);
    m_subtables.Add(subtable);
  }
  if (!bSorted)
    log.Fault("cmap records not sorted.");
  if (!bKnown)
    log.Fault("cmap doesn't contain a known format.");
}

void CCMap::CheckSubtable(TSubtable& subtable, CFontLog& log) const
{
  BSE::CByteCursor cursor = GetPart(subtable);
  const auto nThere = static_cast<std::uint32_t>(cursor.GetRemaining());
  subtable.m_nFormat = static_cast<std::uint16_t>(cursor.Card16());
  const bool bLong = subtable.m_nFormat >= 8;
  if (bLong)
    cursor.Card16();
  const std::uint32_t nLength = bLong ? cursor.Card32() : cursor.Card16();
  subtable.m_nLength = std::min(nLength, nThere);
  subtable.m_nLanguage = bLong ? cursor.Card32() : cursor.Card16();
  bool bSound = nLength <= nThere && !cursor.HasFailed();
  switch (subtable.m_nFormat)
  {
  case 0:
    bSound = bSound && nThere >= g_nFormat0Size;
    break;
  case 4:
    if (!CheckSegments(subtable))
      log.Fault("invalid startCount and endCount in format 4 cmap.");
    if (GetSegmentCount(GetPart(subtable)) == 0)
      log.Fault("empty format 4 cmap.");
    break;
  case 6:
  case 12:
    break;
  default:
    log.Note("I", "Unimplemented cmap format %d", int{subtable.m_nFormat});
    break;
  }
  if (!bSound)
    log.Fault("invalid cmap format %d.", int{subtable.m_nFormat});
}

// The length becomes what is looked at here at least, which is charged to the table.
bool CCMap::CheckSegments(TSubtable& subtable) const
{
  const BSE::CByteCursor part = GetPart(subtable);
  const int nSegments = GetSegmentCount(part);
  subtable.m_nLength = std::max(subtable.m_nLength, static_cast<std::uint32_t>(16 + 8 * nSegments));
  subtable.m_nLength = std::min(subtable.m_nLength, static_cast<std::uint32_t>(part.GetRemaining()));
  subtable.m_bSorted = true;
  int nLast = -1;
  for (int i = 0; i < nSegments; ++i)
  {
    const int nEnd = static_cast<int>(GetCard16(part, GetEndAt(i)));
    const int nStart = static_cast<int>(GetCard16(part, GetPartAt(nSegments, 1, i)));
    subtable.m_bSorted = subtable.m_bSorted && nStart > nLast && nStart <= nEnd;
    nLast = nEnd;
  }
  return subtable.m_bSorted;
}

int CCMap::Find(int nPlatform, int nEncoding) const
{
  for (int i = 0; i < m_subtables.GetSize(); ++i)
    if (m_subtables[i].m_nPlatform == nPlatform && (nEncoding < 0 || m_subtables[i].m_nEncoding == nEncoding))
      return i;
  return -1;
}

bool CCMap::HasUnread() const
{
  const std::span<const TSubtable> subtables = m_subtables.GetSpan();
  // Format 14 has variants of what others have.
  return std::any_of(subtables.begin(), subtables.end(),
                     [](const TSubtable& subtable) { return !IsRead(subtable) && subtable.m_nFormat != 14; });
}

int CCMap::FindPreferred(bool bSymbolic) const
{
  const int nSubtable = Find(3, bSymbolic ? 0 : 1);
  return nSubtable >= 0 ? nSubtable : Find(1, 0);
}

int CCMap::GetGlyph(int nSubtable, std::uint32_t nCode) const
{
  if (nSubtable < 0 || nSubtable >= m_subtables.GetSize())
    return 0;
  const TSubtable& subtable = m_subtables[nSubtable];
  BSE::CByteCursor cursor = GetPart(subtable);
  switch (subtable.m_nFormat)
  {
  case 0:
    cursor.Skip(6 + std::int64_t{nCode});
    return nCode < 256 ? static_cast<int>(cursor.Card8()) : 0;
  case 4:
    return nCode < g_nCodes16 ? GetSegmentGlyph(subtable, nCode) : 0;
  case 6:
  {
    cursor.Skip(6);
    const std::uint32_t nFirst = cursor.Card16();
    const std::uint32_t nCount = cursor.Card16();
    if (nCode < nFirst || nCode - nFirst >= nCount)
      return 0;
    cursor.Skip(2 * std::int64_t{nCode - nFirst});
    return static_cast<int>(cursor.Card16());
  }
  case 12:
    return GetGroupGlyph(subtable, nCode);
  default:
    return 0;
  }
}

int CCMap::GetSegmentGlyph(const TSubtable& subtable, std::uint32_t nCode) const
{
  const BSE::CByteCursor part = GetPart(subtable);
  const int nSegments = GetSegmentCount(part);
  int nLow = 0;
  if (subtable.m_bSorted)
    for (int nHigh = nSegments; nLow < nHigh;)
    {
      const int nMiddle = (nLow + nHigh) / 2;
      if (GetCard16(part, GetEndAt(nMiddle)) < nCode)
        nLow = nMiddle + 1;
      else
        nHigh = nMiddle;
    }
  else
    while (nLow < nSegments && (GetCard16(part, GetEndAt(nLow)) < nCode ||
                                GetCard16(part, GetPartAt(nSegments, 1, nLow)) > nCode))
      ++nLow;
  return nLow < nSegments ? GetSegmentCodeGlyph(part, ReadSegment(part, nSegments, nLow), nCode) : 0;
}

int CCMap::GetGroupGlyph(const TSubtable& subtable, std::uint32_t nCode) const
{
  const BSE::CByteCursor part = GetPart(subtable);
  int nLow = 0;
  for (int nHigh = GetGroupCount(part); nLow < nHigh;)
  {
    const int nMiddle = (nLow + nHigh) / 2;
    BSE::CByteCursor group = part.GetPart(16 + 12 * std::int64_t{nMiddle});
    const std::uint32_t nFirst = group.Card32();
    const std::uint32_t nLast = group.Card32();
    if (nCode < nFirst)
      nHigh = nMiddle;
    else if (nCode > nLast)
      nLow = nMiddle + 1;
    else
    {
      const std::uint64_t nGlyph = std::uint64_t{group.Card32()} + (nCode - nFirst);
      return nGlyph <= 0xFFFF ? static_cast<int>(nGlyph) : 0;
    }
  }
  return 0;
}

bool CCMap::AddSegments(const TSubtable& subtable, BSE::CBasicArray<std::uint32_t>& glyphs) const
{
  const BSE::CByteCursor part = GetPart(subtable);
  const int nSegments = GetSegmentCount(part);
  BSE::CBasicArray<unsigned char> seen;
  seen.SetSize(g_nCodes16);
  int nBudget = 4 * g_nCodes16;
  for (int i = 0; i < nSegments; ++i)
  {
    const TReadSegment segment = ReadSegment(part, nSegments, i);
    for (std::uint32_t nCode = segment.m_nStart; nCode <= segment.m_nEnd; ++nCode)
    {
      if (--nBudget < 0)
        return false;
      const auto nAt = static_cast<int>(nCode);
      if (seen[nAt] != 0)
        continue;
      seen[nAt] = 1;
      glyphs[nAt] = static_cast<std::uint32_t>(GetSegmentCodeGlyph(part, segment, nCode));
    }
  }
  return true;
}

void CCMap::AddGroups(const TSubtable& subtable, std::uint32_t nMaxCode, int nGlyphs,
                      BSE::CBasicArray<TMapping>& mappings) const
{
  BSE::CByteCursor cursor = GetPart(subtable);
  const int nGroups = GetGroupCount(cursor);
  cursor.Skip(16);
  std::uint64_t nNext = 0;
  for (int i = 0; i < nGroups; ++i)
  {
    const std::uint64_t nFirst = cursor.Card32();
    const std::uint64_t nLast = std::min(cursor.Card32(), nMaxCode);
    const std::uint64_t nGlyph = cursor.Card32();
    for (std::uint64_t n = std::max(nFirst, nNext);
         n <= nLast && std::cmp_less(nGlyph + (n - nFirst), nGlyphs); ++n)
    {
      if (nGlyph + (n - nFirst) > 0)
        mappings.Add({static_cast<std::uint32_t>(n), static_cast<std::uint32_t>(nGlyph + (n - nFirst))});
      nNext = n + 1;
    }
  }
}

bool CCMap::GetMappings(int nSubtable, std::uint32_t nMaxCode, int nGlyphs,
                        BSE::CBasicArray<TMapping>& mappings) const
{
  mappings.RemoveAll();
  if (nSubtable < 0 || nSubtable >= m_subtables.GetSize())
    return false;
  const TSubtable& subtable = m_subtables[nSubtable];
  if (subtable.m_nFormat == 12)
  {
    AddGroups(subtable, std::min<std::uint32_t>(nMaxCode, 0x10FFFF), nGlyphs, mappings);
    return true;
  }
  if (!IsRead(subtable))
    return false;
  BSE::CBasicArray<std::uint32_t> glyphs;
  glyphs.SetSize(g_nCodes16);
  if (subtable.m_nFormat != 4)
    for (std::uint32_t n = 0; n < g_nCodes16; ++n)
      glyphs[static_cast<int>(n)] = static_cast<std::uint32_t>(GetGlyph(nSubtable, n));
  else if (!AddSegments(subtable, glyphs))
    return false;
  for (std::uint32_t n = 0; n < g_nCodes16 && n <= nMaxCode; ++n)
  {
    const std::uint32_t nGlyph = glyphs[static_cast<int>(n)];
    if (nGlyph > 0 && std::cmp_less(nGlyph, nGlyphs))
      mappings.Add({n, nGlyph});
  }
  return true;
}

}  // namespace TTF
