// Both fonts are left alone until it is sure that they go together; up to then the result exists only as a
// list of sources, one for each glyph, and as the bytes of a new cmap. Programs and units must be equal,
// since the bytes of each glyph depend on them. Glyphs are matched by their numbers if documents ask for them
// that way, and otherwise by the codes of each subtable; then glyphs that are new get numbers at the end, and
// composites among them are renumbered.
//
// Glyphs are the same if their bytes and metrics are, and composites if their components are, whatever
// numbers these have. Codes may lead to the same pair again and again, so that comparing has a budget; if it
// runs out, the fonts count as different, which costs size and nothing else.

#include "fonts/ttf/TTFMerger.h"

#include "base/Limits.h"
#include "base/Tracer.h"

namespace TTF
{

namespace
{

constexpr int g_nMaxGlyphs = 0xFFFF;
constexpr std::uint32_t g_nMaxCode = 0x10FFFF;

// The budget of comparing, in times the bytes of both fonts.
constexpr std::int64_t g_nCompareRatio = 16;

template <class... A>
void Note(const char* szFormat, A... arguments)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("D", "PDF Font Program", szFormat, arguments...);
}

template <class... A>
bool Abort(const char* szFormat, A... arguments)
{
  Note(szFormat, arguments...);
  return false;
}

bool IsSame(std::span<const unsigned char> a, std::span<const unsigned char> b)
{
  return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

// Without the padding after it.
std::span<const unsigned char> GetBareGlyph(const CTTF& font, int nGlyph)
{
  const std::span<const unsigned char> glyph = font.GetGlyph(nGlyph);
  TGlyphShape shape;
  return MeasureGlyph(glyph, shape) ? glyph.first(shape.m_nLength) : glyph;
}

}  // namespace

CTTFMerger::CTTFMerger(CTTF& font, const CTTF& other, std::span<const unsigned char> used,
                       std::span<const unsigned char> otherUsed)
    : m_font(font),
      m_other(other),
      m_used(std::cmp_equal(used.size(), font.GetGlyphCount()) ? used : std::span<const unsigned char>()),
      m_otherUsed(std::cmp_equal(otherUsed.size(), other.GetGlyphCount()) ? otherUsed
                                                                          : std::span<const unsigned char>()),
      m_nBudget(g_nCompareRatio * (font.m_nDataSize + other.m_nDataSize))
{
  m_map.SetSize(other.GetGlyphCount());
  for (int i = 1; i < m_map.GetSize(); ++i)
    m_map[i] = -1;
  for (int i = 0; i < font.GetGlyphCount(); ++i)
    m_source.Add({false, i});
}

TMerge CTTFMerger::Merge(bool bByNumber)
{
  const bool bNumbers = bByNumber || m_font.m_cmap.GetSubtableCount() == 0;
  if (!CheckTables() || !(bNumbers ? MatchByNumber() : MatchByCodes()))
    return eNotMerged;
  if (!m_bNeeded)
    return eIdentical;
  Rebuild();
  return eMerged;
}

bool CTTFMerger::CheckTables() const
{
  const int nSubtables = m_font.m_cmap.GetSubtableCount();
  const int nOthers = m_other.m_cmap.GetSubtableCount();
  if (nSubtables != nOthers)
    return Abort("Aborting TTF merge because of CMAP table number difference: %d vs %d", nSubtables, nOthers);
  const struct
  {
    const CTable& m_own;
    const CTable& m_other;
    const char* m_szName;
  } aPrograms[] = {{m_font.m_fpgm, m_other.m_fpgm, "FPGM"},
                   {m_font.m_prep, m_other.m_prep, "PREP"},
                   {m_font.m_cvt, m_other.m_cvt, "CVT"}};
  for (const auto& program : aPrograms)
    if (program.m_own.GetBytes().size() != program.m_other.GetBytes().size())
      return Abort("Aborting TTF merge because of %s table length difference", program.m_szName);
  if (!m_font.HasGlyphData() || !m_other.HasGlyphData())
    return Abort("Aborting TTF merge because of loca table availability difference.");
  if (m_font.m_glyf.IsPresent() != m_other.m_glyf.IsPresent())
    return Abort("Aborting TTF merge because of glyf table availability difference.");
  for (const auto& program : aPrograms)
    if (!IsSame(program.m_own.GetBytes(), program.m_other.GetBytes()))
      return Abort("Aborting TTF merge because of %s table difference", program.m_szName);
  if (m_font.m_vhea.IsPresent() != m_other.m_vhea.IsPresent())
    return Abort("Aborting TTF merge because of vhea difference");
  if (m_font.m_head.m_nUnitsPerEm != m_other.m_head.m_nUnitsPerEm)
    return Abort("Aborting TTF merge because of different units.");
  return true;
}

// Bearings count, since they place a glyph: readers move its box to them.
bool CTTFMerger::HasSameMetrics(int nOwn, int nOther) const
{
  const auto IsSameIn = [&](const CMetrics& own, const CMetrics& other)
  {
    return own.GetAdvance(nOwn) == other.GetAdvance(nOther) &&
           own.GetBearing(nOwn) == other.GetBearing(nOther);
  };
  return IsSameIn(m_font.m_hmtx, m_other.m_hmtx) &&
         (!m_font.m_vhea.IsPresent() || IsSameIn(m_font.m_vmtx, m_other.m_vmtx));
}

// Compares composites by their bytes as well, after the components have got the numbers of this font.
bool CTTFMerger::IsSameGlyph(int nOwn, int nOther, int nDepth)
{
  const std::span<const unsigned char> own = GetBareGlyph(m_font, nOwn);
  const std::span<const unsigned char> other = GetBareGlyph(m_other, nOther);
  m_nBudget -= static_cast<std::int64_t>(own.size()) + 64;
  if (own.size() != other.size() || !HasSameMetrics(nOwn, nOther) || m_nBudget < 0 ||
      nDepth > BSE::g_nMaxComponentDepth)
    return false;
  BSE::CBasicArray<unsigned char> renumbered;
  renumbered.Append(other);
  CComponentReader ownReader(own);
  CComponentReader otherReader(other);
  TComponent ownPart;
  TComponent otherPart;
  for (std::size_t nAt = 10; ownReader.Next(ownPart) && otherReader.Next(otherPart);
       nAt = ownReader.GetCursor().GetOffset())
  {
    if (!IsSameGlyph(ownPart.m_nGlyph, otherPart.m_nGlyph, nDepth + 1))
      return false;
    BSE::StoreBigEndian(static_cast<std::uint16_t>(ownPart.m_nGlyph), renumbered.GetData() + nAt + 2);
  }
  if (!IsSame(own, renumbered.GetSpan()))
    return false;
  if (m_map[nOther] < 0)
    m_map[nOther] = nOwn;
  return true;
}

bool CTTFMerger::MatchByNumber()
{
  const int nCommon = std::min(m_font.GetGlyphCount(), m_other.GetGlyphCount());
  for (int i = 0; i < m_other.GetGlyphCount(); ++i)
  {
    m_map[i] = i;
    const bool bHas = !m_other.GetGlyph(i).empty();
    if (i >= nCommon)
    {
      m_source.Add({true, i});
      m_bNeeded = true;
      continue;
    }
    const bool bOwnHas = !m_font.GetGlyph(i).empty();
    const bool bBothUsed = IsUsed(i) && IsOtherUsed(i) && !m_used.empty() && !m_otherUsed.empty();
    if ((i == 0 && bHas != bOwnHas) || ((bHas && bOwnHas) || bBothUsed ? !IsSameGlyph(i, i, 0) : false))
      return Abort("Aborting TTF merge because of GLYF difference (GID %d)", i);
    // The other font has a glyph that is missing here, or the metrics of a blank. A blank that is in use here
    // must stay as it is.
    if (!bOwnHas && (bHas ? IsOtherUsed(i) : !m_otherUsed.empty() && IsOtherUsed(i) && !HasSameMetrics(i, i)))
    {
      if (IsUsed(i) && !m_used.empty())
        return Abort("Aborting TTF merge because of GLYF difference (GID %d)", i);
      m_source[i] = {true, i};
      if (!std::exchange(m_bNeeded, true))
        Note("Need TTF merge because of GLYF difference (GID %d)", i);
    }
  }
  return true;
}

bool CTTFMerger::MatchByCodes()
{
  if (!IsSameGlyph(0, 0, 0))
    return Abort("Aborting TTF merge because of GLYF difference (GID %d)", 0);
  const int nSubtables = m_font.m_cmap.GetSubtableCount();
  m_cmapDirectory.Card16(0);
  m_cmapDirectory.Card16(static_cast<unsigned>(nSubtables));
  for (int i = 0; i < nSubtables; ++i)
    if (!MatchSubtable(i))
      return false;
  FinishCMap();
  return TakeComponents() && IsAllMatched();
}

// A glyph without a code may be asked for by its name, and would be lost, a blank one too.
bool CTTFMerger::IsAllMatched() const
{
  for (int i = 0; i < m_map.GetSize(); ++i)
    if (m_map[i] < 0 && IsOtherUsed(i) && (!m_otherUsed.empty() || !m_other.GetGlyph(i).empty()))
      return Abort("Aborting TTF merge because of a glyph without a code (GID %d)", i);
  return true;
}

bool CTTFMerger::MatchSubtable(int nSubtable)
{
  const CCMap::TSubtable& own = m_font.m_cmap.GetSubtable(nSubtable);
  const CCMap::TSubtable& other = m_other.m_cmap.GetSubtable(nSubtable);
  if (own.m_nPlatform != other.m_nPlatform || own.m_nEncoding != other.m_nEncoding ||
      own.m_nFormat != other.m_nFormat)
    return Abort("Aborting TTF merge because of CMAP platform/encoding/format difference");
  BSE::CBasicArray<TMapping> ownCodes;
  BSE::CBasicArray<TMapping> otherCodes;
  if (!m_font.m_cmap.GetMappings(nSubtable, g_nMaxCode, m_font.GetGlyphCount(), ownCodes) ||
      !m_other.m_cmap.GetMappings(nSubtable, g_nMaxCode, m_other.GetGlyphCount(), otherCodes))
    return Abort("Aborting TTF merge because of cmap(%d,%d) format %d.", own.m_nPlatform, own.m_nEncoding,
                 own.m_nFormat);
  m_added.RemoveAll();
  int nOwn = 0;
  for (const TMapping& code : otherCodes.GetSpan())
  {
    for (; nOwn < ownCodes.GetSize() && ownCodes[nOwn].m_nCode < code.m_nCode; ++nOwn)
      m_added.Add(ownCodes[nOwn]);
    if (nOwn < ownCodes.GetSize() && ownCodes[nOwn].m_nCode == code.m_nCode)
    {
      if (!MatchCode(ownCodes[nOwn], code))
        return Abort(
            "Aborting TTF merge because of cmap(%d,%d) format %d GLYF difference (CID %d, GIDs %d and %d)",
            own.m_nPlatform, own.m_nEncoding, own.m_nFormat, code.m_nCode, ownCodes[nOwn].m_nGlyph,
            code.m_nGlyph);
      m_added.Add(ownCodes[nOwn++]);
    }
    else if (const bool bFirst = !m_bNeeded; const int nGlyph = Take(static_cast<int>(code.m_nGlyph)))
    {
      m_added.Add({code.m_nCode, static_cast<std::uint32_t>(nGlyph)});
      m_bNeeded = true;
      if (bFirst)
        Note("Need TTF merge because of cmap(%d,%d) format %d GID difference (CID %d)", own.m_nPlatform,
             own.m_nEncoding, own.m_nFormat, code.m_nCode);
    }
    else
      return Abort("Aborting TTF merge because there are too many glyphs.");
  }
  for (; nOwn < ownCodes.GetSize(); ++nOwn)
    m_added.Add(ownCodes[nOwn]);
  return PutSubtable(own, m_added.GetSpan(), m_added.GetSize() != ownCodes.GetSize());
}

bool CTTFMerger::PutSubtable(const CCMap::TSubtable& subtable, std::span<const TMapping> codes, bool bChanged)
{
  CTableWriter writer;
  const std::uint32_t nLanguage = subtable.m_nLanguage & 0xFFFF;
  BSE::CByteCursor old = m_font.m_cmap.GetCursor().GetPart(subtable.m_nOffset);
  if (!bChanged)
    writer.Append(old.Take(subtable.m_nLength));
  else if (!MakeSubtable(subtable.m_nFormat, codes, nLanguage, writer))
    return Abort(subtable.m_nFormat == 0
                     ? "Aborting TTF merge because of cmap(%d,%d) format %d byte overflow."
                     : "Aborting TTF merge because of cmap(%d,%d) format %d overflow.",
                 subtable.m_nPlatform, subtable.m_nEncoding, subtable.m_nFormat);
  const int nDirectory = 4 + 8 * m_font.m_cmap.GetSubtableCount();
  m_cmapDirectory.Card16(subtable.m_nPlatform);
  m_cmapDirectory.Card16(subtable.m_nEncoding);
  m_cmapDirectory.Card32(static_cast<std::uint32_t>(nDirectory + m_cmapSubtables.GetSize()));
  const BSE::CBasicArray<unsigned char> bytes = writer.Detach();
  m_cmapSubtables.Append(bytes.GetSpan());
  return true;
}

void CTTFMerger::FinishCMap()
{
  const BSE::CBasicArray<unsigned char> subtables = m_cmapSubtables.Detach();
  m_cmapDirectory.Append(subtables.GetSpan());
  m_cmap = m_cmapDirectory.Detach();
}

int CTTFMerger::Duplicate(int nGlyph, int nCode)
{
  if (!m_font.HasGlyphData() || nGlyph < 0 || nGlyph >= m_source.GetSize() ||
      m_source.GetSize() >= g_nMaxGlyphs)
    return 0;
  const int nCopy = m_source.Add({false, nGlyph});
  m_cmapDirectory.Card16(0);
  m_cmapDirectory.Card16(static_cast<unsigned>(m_font.m_cmap.GetSubtableCount()));
  for (int i = 0; nCode >= 0 && nCode < 256 && i < m_font.m_cmap.GetSubtableCount(); ++i)
  {
    const CCMap::TSubtable& subtable = m_font.m_cmap.GetSubtable(i);
    if (!m_font.m_cmap.GetMappings(i, g_nMaxCode, m_font.GetGlyphCount(), m_added))
      return 0;
    // The codes of a symbolic font may be in the page at F000.
    std::uint32_t nEntry = static_cast<std::uint32_t>(nCode);
    if (subtable.m_nPlatform == 3 && !m_added.IsEmpty() && m_added[0].m_nCode >= 0xF000)
      nEntry += m_added[0].m_nCode & 0xFF00;
    const bool bOwnCodes =
        (subtable.m_nPlatform == 3 || subtable.m_nPlatform == 1) && subtable.m_nEncoding == 0;
    int nAt = 0;
    while (nAt < m_added.GetSize() && m_added[nAt].m_nCode < nEntry)
      ++nAt;
    if (bOwnCodes && (nAt == m_added.GetSize() || m_added[nAt].m_nCode != nEntry))
      m_added.InsertAt(nAt);
    if (bOwnCodes)
      m_added[nAt] = {nEntry, static_cast<std::uint32_t>(nCopy)};
    if (!PutSubtable(subtable, m_added.GetSpan(), bOwnCodes))
      return 0;
  }
  if (nCode >= 0 && nCode < 256 && m_font.m_cmap.GetSubtableCount() > 0)
    FinishCMap();
  Rebuild();
  return nCopy;
}

// A code that both fonts have: it must lead to the same glyph, or to one that a subset has cleared.
bool CTTFMerger::MatchCode(const TMapping& own, const TMapping& other)
{
  const auto nOwn = static_cast<int>(own.m_nGlyph);
  const auto nOther = static_cast<int>(other.m_nGlyph);
  if (m_map[nOther] == nOwn)
    return true;
  const bool bCleared = !m_otherUsed.empty() && !IsOtherUsed(nOther) && m_other.GetGlyph(nOther).empty();
  if (bCleared)
    return true;
  if (m_map[nOther] < 0 && m_source[nOwn].m_bOther == false && m_font.GetGlyph(nOwn).empty() &&
      !m_used.empty() && !IsUsed(nOwn))
  {
    m_source[nOwn] = {true, nOther};
    m_map[nOther] = nOwn;
    m_taken.Add(nOther);
    m_bNeeded = true;
    return true;
  }
  if (m_source[nOwn].m_bOther || !IsSameGlyph(nOwn, nOther, 0))
    return false;
  if (m_map[nOther] < 0)
    m_map[nOther] = nOwn;
  return true;
}

// The number of a glyph of the other font in the result, at the end if it is not there yet; 0 if the result
// is full.
int CTTFMerger::Take(int nOther)
{
  if (m_map[nOther] > 0)
    return m_map[nOther];
  if (m_source.GetSize() >= g_nMaxGlyphs)
    return 0;
  m_map[nOther] = m_source.Add({true, nOther});
  m_taken.Add(nOther);
  m_bNeeded = true;
  return m_map[nOther];
}

bool CTTFMerger::TakeComponents()
{
  for (int i = 0; i < m_taken.GetSize(); ++i)
  {
    CComponentReader reader(m_other.GetGlyph(m_taken[i]));
    for (TComponent component; reader.Next(component);)
      if (component.m_nGlyph >= m_map.GetSize() || (component.m_nGlyph > 0 && Take(component.m_nGlyph) == 0))
        return Abort("Aborting TTF merge because there are too many glyphs.");
  }
  return true;
}

// A composite with the numbers that its components have in the result.
bool CTTFMerger::Renumber(std::span<const unsigned char> glyph, BSE::CBasicArray<unsigned char>& result) const
{
  result.RemoveAll();
  result.Append(glyph);
  CComponentReader reader(glyph);
  std::size_t nAt = reader.GetCursor().GetOffset();
  for (TComponent component; reader.Next(component); nAt = reader.GetCursor().GetOffset())
    BSE::StoreBigEndian(static_cast<std::uint16_t>(std::max(0, m_map[component.m_nGlyph])),
                        result.GetData() + nAt + 2);
  return true;
}

void CTTFMerger::RebuildMetrics(CMetricsHeader& header, CMetrics& metrics, const CMetrics& otherMetrics)
{
  CTableWriter writer;
  for (const TSource& source : m_source.GetSpan())
  {
    const CMetrics& from = source.m_bOther ? otherMetrics : metrics;
    writer.Card16(static_cast<unsigned>(from.GetAdvance(source.m_nGlyph)) & 0xFFFF);
    writer.Card16(static_cast<unsigned>(from.GetBearing(source.m_nGlyph)) & 0xFFFF);
  }
  metrics.SetBytes(writer.Detach());
  metrics.SetCounts(m_source.GetSize(), m_source.GetSize());
  header.m_nNumberOfMetrics = static_cast<std::uint16_t>(m_source.GetSize());
  header.Serialize();
}

void CTTFMerger::RaiseLimits()
{
  Cmaxp& maxp = m_font.m_maxp;
  const Cmaxp& other = m_other.m_maxp;
  maxp.m_nNumGlyphs = static_cast<std::uint16_t>(m_source.GetSize());
  for (const auto pLimit :
       {&Cmaxp::m_nMaxPoints, &Cmaxp::m_nMaxContours, &Cmaxp::m_nMaxComponentPoints,
        &Cmaxp::m_nMaxComponentContours, &Cmaxp::m_nMaxZones, &Cmaxp::m_nMaxTwilightPoints,
        &Cmaxp::m_nMaxStorage, &Cmaxp::m_nMaxFunctionDefs, &Cmaxp::m_nMaxInstructionDefs,
        &Cmaxp::m_nMaxStackElements, &Cmaxp::m_nMaxSizeOfInstructions, &Cmaxp::m_nMaxComponentElements,
        &Cmaxp::m_nMaxComponentDepth})
    maxp.*pLimit = std::max(maxp.*pLimit, other.*pLimit);
  maxp.Serialize();
  CHead& head = m_font.m_head;
  head.m_nXMin = std::min(head.m_nXMin, m_other.m_head.m_nXMin);
  head.m_nYMin = std::min(head.m_nYMin, m_other.m_head.m_nYMin);
  head.m_nXMax = std::max(head.m_nXMax, m_other.m_head.m_nXMax);
  head.m_nYMax = std::max(head.m_nYMax, m_other.m_head.m_nYMax);
}

void CTTFMerger::Rebuild()
{
  CGlyphCollector collector(m_source.GetSize());
  BSE::CBasicArray<unsigned char> renumbered;
  for (const TSource& source : m_source.GetSpan())
  {
    const std::span<const unsigned char> glyph =
        (source.m_bOther ? m_other : m_font).GetGlyph(source.m_nGlyph);
    const bool bRenumber = source.m_bOther && IsComposite(glyph) && Renumber(glyph, renumbered);
    collector.Add(bRenumber ? renumbered.GetSpan() : glyph);
  }
  RebuildMetrics(m_font.m_hhea, m_font.m_hmtx, m_other.m_hmtx);
  if (m_font.m_vhea.IsPresent())
    RebuildMetrics(m_font.m_vhea, m_font.m_vmtx, m_other.m_vmtx);
  RaiseLimits();
  m_font.FinishGlyphs(collector);
  if (m_cmap.IsEmpty())
    return;
  m_font.m_cmap.SetBytes(std::move(m_cmap));
  m_font.m_cmap.Read(m_font.m_log);
}

void CTTF::HashMergeKey(BSE::CHashFunction& hash) const
{
  CTableWriter key;
  for (const CTable* pTable : {&m_fpgm, &m_prep, &m_cvt})
  {
    key.Card32(static_cast<std::uint32_t>(pTable->GetBytes().size()));
    key.Append(pTable->GetBytes());
  }
  key.Put(static_cast<std::uint8_t>(m_glyf.IsPresent()));
  key.Put(static_cast<std::uint8_t>(m_loca.IsPresent()));
  key.Card16(static_cast<unsigned>(m_cmap.GetSubtableCount()));
  for (int i = 0; i < m_cmap.GetSubtableCount(); ++i)
  {
    const CCMap::TSubtable& subtable = m_cmap.GetSubtable(i);
    key.Card16(subtable.m_nPlatform);
    key.Card16(subtable.m_nEncoding);
    key.Card16(subtable.m_nFormat);
  }
  const BSE::CBasicArray<unsigned char> bytes = key.Detach();
  hash.Update(bytes.GetSpan());
}

}  // namespace TTF
