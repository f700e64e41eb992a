// Format 4 is written with deltas alone: a segment is a run of codes whose glyphs are at the same distance.
// The format could have an array of glyph numbers too, which saves room where codes and glyphs are in no
// order, but subsets have few codes. A subtable that does not fit its format then, or that cannot be read,
// keeps its bytes when codes are removed: they lead to glyphs without data, which does no harm.

#include "fonts/ttf/CMap.h"

#include <bit>

namespace TTF
{

namespace
{

constexpr int g_nMaxLength = 0xFFFF;

struct TSegment
{
  std::uint32_t m_nStart;
  std::uint32_t m_nEnd;
  std::uint32_t m_nDelta;
};

// Runs of codes whose glyphs are at the same distance from them.
BSE::CBasicArray<TSegment> MakeSegments(std::span<const TMapping> mappings)
{
  BSE::CBasicArray<TSegment> segments;
  for (const TMapping& mapping : mappings)
  {
    const std::uint32_t nDelta = (mapping.m_nGlyph - mapping.m_nCode) & 0xFFFF;
    TSegment& last = segments[segments.GetSize() - 1];
    if (!segments.IsEmpty() && mapping.m_nCode == last.m_nEnd + 1 && nDelta == last.m_nDelta)
      last.m_nEnd = mapping.m_nCode;
    else
      segments.Add({mapping.m_nCode, mapping.m_nCode, nDelta});
  }
  // The last segment must end with the code FFFF.
  if (segments.IsEmpty() || segments[segments.GetSize() - 1].m_nEnd != 0xFFFF)
    segments.Add({0xFFFF, 0xFFFF, 1});
  return segments;
}

bool ReportFull(int nFormat)
{
  CFontLog::Note("E", "Unable to serialize format %d cmap.", nFormat);
  return false;
}

bool MakeFormat6(std::span<const TMapping> mappings, std::uint32_t nLanguage, CTableWriter& writer)
{
  const std::uint32_t nFirst = mappings.empty() ? 0 : mappings.front().m_nCode;
  const std::uint32_t nCount = mappings.empty() ? 0 : mappings.back().m_nCode - nFirst + 1;
  if (nFirst + nCount > 0x10000 || 10 + 2 * nCount > g_nMaxLength)
    return ReportFull(6);
  for (const std::uint32_t n : {std::uint32_t{6}, 10 + 2 * nCount, nLanguage, nFirst, nCount})
    writer.Card16(n);
  std::uint32_t nCode = nFirst;
  for (const TMapping& mapping : mappings)
  {
    for (; nCode < mapping.m_nCode; ++nCode)
      writer.Card16(0);
    writer.Card16(mapping.m_nGlyph);
    ++nCode;
  }
  return true;
}

bool MakeFormat12(std::span<const TMapping> mappings, std::uint32_t nLanguage, CTableWriter& writer)
{
  struct TGroup
  {
    TMapping m_first;
    std::uint32_t m_nEnd;
  };
  BSE::CBasicArray<TGroup> groups;
  std::uint32_t nNext = 0;
  std::uint32_t nNextGlyph = 0;
  for (const TMapping& mapping : mappings)
  {
    if (groups.IsEmpty() || mapping.m_nCode != nNext || mapping.m_nGlyph != nNextGlyph)
      groups.Add({mapping, mapping.m_nCode});
    groups[groups.GetSize() - 1].m_nEnd = mapping.m_nCode;
    nNext = mapping.m_nCode + 1;
    nNextGlyph = mapping.m_nGlyph + 1;
  }
  writer.Card16(12);
  writer.Card16(0);
  const auto nGroups = static_cast<std::uint32_t>(groups.GetSize());
  for (const std::uint32_t n : {16 + 12 * nGroups, nLanguage, nGroups})
    writer.Card32(n);
  for (const TGroup& group : groups.GetSpan())
    for (const std::uint32_t n : {group.m_first.m_nCode, group.m_nEnd, group.m_first.m_nGlyph})
      writer.Card32(n);
  return true;
}

}  // namespace

bool MakeFormat4(std::span<const TMapping> mappings, std::uint32_t nLanguage, CTableWriter& writer)
{
  const BSE::CBasicArray<TSegment> segments = MakeSegments(mappings);
  const auto nSegments = static_cast<unsigned>(segments.GetSize());
  const std::uint64_t nLength = 16 + 8 * std::uint64_t{nSegments};
  if (nLength > g_nMaxLength || (!mappings.empty() && mappings.back().m_nCode > 0xFFFF))
    return ReportFull(4);
  // searchRange, entrySelector and rangeShift, for a search by halves.
  const unsigned nSearch = 2 * std::bit_floor(nSegments);
  for (const unsigned n : {4U, static_cast<unsigned>(nLength), nLanguage, 2 * nSegments, nSearch,
                           static_cast<unsigned>(std::bit_width(nSegments) - 1), 2 * nSegments - nSearch})
    writer.Card16(n);
  for (const TSegment& segment : segments.GetSpan())
    writer.Card16(segment.m_nEnd);
  writer.Card16(0);
  for (const TSegment& segment : segments.GetSpan())
    writer.Card16(segment.m_nStart);
  for (const TSegment& segment : segments.GetSpan())
    writer.Card16(segment.m_nDelta);
  for (unsigned i = 0; i < nSegments; ++i)
    writer.Card16(0);
  return true;
}

bool MakeFormat0(std::span<const TMapping> mappings, std::uint32_t nLanguage, CTableWriter& writer)
{
  unsigned char glyphs[256] = {};
  for (const TMapping& mapping : mappings)
  {
    if (mapping.m_nCode > 255 || mapping.m_nGlyph > 255)
    {
      CFontLog::Note("E", "Byte overflow in format 0 cmap (CID %d, GID %d).",
                     static_cast<int>(mapping.m_nCode), static_cast<int>(mapping.m_nGlyph));
      return false;
    }
    glyphs[mapping.m_nCode] = static_cast<unsigned char>(mapping.m_nGlyph);
  }
  writer.Card16(0);
  writer.Card16(6 + sizeof glyphs);
  writer.Card16(nLanguage);
  writer.Append(glyphs);
  return true;
}

bool MakeSubtable(unsigned nFormat, std::span<const TMapping> mappings, std::uint32_t nLanguage,
                  CTableWriter& writer)
{
  switch (nFormat)
  {
  case 0:
    return MakeFormat0(mappings, nLanguage, writer);
  case 4:
    return MakeFormat4(mappings, nLanguage, writer);
  case 6:
    return MakeFormat6(mappings, nLanguage, writer);
  case 12:
    return MakeFormat12(mappings, nLanguage, writer);
  default:
    return ReportFull(static_cast<int>(nFormat));
  }
}

void CCMap::KeepCodes(const BSE::CBasicArray<unsigned char>& used, CFontLog& log)
{
  if (!IsPresent() || m_subtables.IsEmpty())
    return;
  CTableWriter directory;
  BSE::CBasicArray<unsigned char> all;
  BSE::CBasicArray<int> places;  // where the bytes of each subtable are
  directory.Card16(0);
  directory.Card16(static_cast<unsigned>(m_subtables.GetSize()));
  for (int i = 0; i < m_subtables.GetSize(); ++i)
  {
    const TSubtable& subtable = m_subtables[i];
    int nSame = 0;
    while (m_subtables[nSame].m_nOffset != subtable.m_nOffset)
      ++nSame;
    places.Add(nSame < i ? places[nSame] : all.GetSize());
    directory.Card16(subtable.m_nPlatform);
    directory.Card16(subtable.m_nEncoding);
    directory.Card32(static_cast<std::uint32_t>(4 + 8 * m_subtables.GetSize() + places[i]));
    if (nSame < i)
      continue;
    BSE::CBasicArray<TMapping> mappings;
    BSE::CBasicArray<TMapping> kept;
    const bool bRead = GetMappings(i, 0x10FFFF, used.GetSize(), mappings);
    for (const TMapping& mapping : mappings.GetSpan())
      if (used[static_cast<int>(mapping.m_nGlyph)] != 0)
        kept.Add(mapping);
    CTableWriter writer;
    // Readers leave out a damaged one that leads nowhere, and go by other ways; a sound one would stop them.
    if (bRead && !mappings.IsEmpty() &&
        MakeSubtable(subtable.m_nFormat, kept.GetSpan(), subtable.m_nLanguage, writer))
      all.Append(writer.Detach().GetSpan());
    else
      all.Append(GetPart(subtable).Take(subtable.m_nLength));
  }
  directory.Append(all.GetSpan());
  SetBytes(directory.Detach());
  Read(log);
}

bool CCMap::Convert(bool bSymbolic, int nGlyphs, CFontLog& log)
{
  int nSubtable = bSymbolic ? Find(3, 0) : Find(3, -1);
  if (nSubtable < 0)
    nSubtable = Find(1, bSymbolic ? 0 : -1);
  if (nSubtable < 0)
    return false;
  const TSubtable subtable = GetSubtable(nSubtable);
  const bool bFormat4 = subtable.m_nPlatform == 3;
  BSE::CBasicArray<TMapping> mappings;
  if (!GetMappings(nSubtable, 0x10FFFF, nGlyphs, mappings))
    return false;
  // A simple font cannot ask for codes that the new format cannot hold.
  const std::uint32_t nMaxCode = bFormat4 ? 0xFFFF : 0xFF;
  int nHeld = mappings.GetSize();
  while (nHeld > 0 && mappings[nHeld - 1].m_nCode > nMaxCode)
    --nHeld;
  if (nHeld < mappings.GetSize())
    log.LosePart();
  mappings.SetSize(nHeld);
  CTableWriter writer;
  for (const unsigned n : {0U, 1U, unsigned{subtable.m_nPlatform},
                           subtable.m_nEncoding == 10 ? 1U : unsigned{subtable.m_nEncoding}, 0U, 12U})
    writer.Card16(n);
  const std::uint32_t nLanguage = subtable.m_nLanguage & 0xFFFF;
  if (!(bFormat4 ? MakeFormat4(mappings.GetSpan(), nLanguage, writer)
                 : MakeFormat0(mappings.GetSpan(), nLanguage, writer)))
    return false;
  log.Note("I", "Converted cmap platform %d / encoding %d format %d to format %d.", int{subtable.m_nPlatform},
           int{subtable.m_nEncoding}, int{subtable.m_nFormat}, bFormat4 ? 4 : 0);
  SetBytes(writer.Detach());
  Read(log);
  return true;
}

}  // namespace TTF
