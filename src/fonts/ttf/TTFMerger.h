#pragma once

#include "fonts/ttf/TTF.h"

namespace TTF
{

enum TMerge
{
  eNotMerged = 0,
  eMerged = 1,
  eIdentical = 2  // nothing was missing
};

// Puts the glyphs of one font into another that comes from the same font: subsets that were made separately.
// All checks come first, so that the fonts do not change unless they can be merged.
class CTTFMerger
{
public:
  // Marks of the glyphs that are used, a byte for each; empty if any may be used.
  CTTFMerger(CTTF& font, const CTTF& other, std::span<const unsigned char> used,
             std::span<const unsigned char> otherUsed);

  // bByNumber: glyphs are asked for by their numbers, which stay; otherwise by codes of cmap alone, if there
  // is one.
  TMerge Merge(bool bByNumber);

  // Instead of merging: a copy of a glyph at the end, to which a code below 256 of (1,0) and (3,0) leads. Its
  // number, 0 if the font is full or the code cannot be entered.
  int Duplicate(int nGlyph, int nCode);

  // Where a glyph of the other font is in the result, -1 if it is not.
  int FindGlyph(int nOther) const { return m_map[nOther]; }

private:
  // Where a glyph of the result comes from.
  struct TSource
  {
    bool m_bOther;
    int m_nGlyph;
  };

  bool CheckTables() const;
  bool MatchByNumber();
  bool MatchByCodes();
  bool MatchSubtable(int nSubtable);
  bool PutSubtable(const CCMap::TSubtable& subtable, std::span<const TMapping> codes, bool bChanged);
  void FinishCMap();
  bool MatchCode(const TMapping& own, const TMapping& other);
  bool IsAllMatched() const;
  bool IsSameGlyph(int nOwn, int nOther, int nDepth);
  bool HasSameMetrics(int nOwn, int nOther) const;
  int Take(int nOther);
  bool TakeComponents();
  void Rebuild();
  void RebuildMetrics(CMetricsHeader& header, CMetrics& metrics, const CMetrics& otherMetrics);
  void RaiseLimits();
  bool Renumber(std::span<const unsigned char> glyph, BSE::CBasicArray<unsigned char>& result) const;
  bool IsUsed(int nGlyph) const { return m_used.empty() || m_used[static_cast<std::size_t>(nGlyph)] != 0; }
  bool IsOtherUsed(int nGlyph) const
  {
    return m_otherUsed.empty() || m_otherUsed[static_cast<std::size_t>(nGlyph)] != 0;
  }

  CTTF& m_font;
  const CTTF& m_other;
  std::span<const unsigned char> m_used;
  std::span<const unsigned char> m_otherUsed;
  BSE::CBasicArray<int> m_map;         // glyphs of the other font in the result, -1 for those that are not
  BSE::CBasicArray<TSource> m_source;  // of each glyph of the result
  BSE::CBasicArray<int> m_taken;       // glyphs of the other font, in the order they came
  BSE::CBasicArray<TMapping> m_added;  // of the subtable in hand
  BSE::CBasicArray<unsigned char> m_cmap;
  CTableWriter m_cmapDirectory;
  CTableWriter m_cmapSubtables;
  std::int64_t m_nBudget;
  bool m_bNeeded = false;
};

}  // namespace TTF
