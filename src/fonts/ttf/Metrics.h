#pragma once

#include "fonts/ttf/Table.h"

namespace TTF
{

// hmtx and vmtx: an advance and a bearing for each of the first glyphs, then bearings alone for the others,
// which share the last advance.
class CMetrics : public CTable
{
public:
  using CTable::CTable;

  void SetCounts(int nMetrics, int nGlyphs)
  {
    m_nMetrics = nMetrics;
    m_nGlyphs = nGlyphs;
  }
  bool IsTooShort() const { return GetBytes().size() < GetNeeded(); }

  // Fills up with zeros, which is what is read past the end of a short table.
  void FillUp();

  // 0 for what is not in the table.
  int GetAdvance(int nGlyph) const;
  int GetBearing(int nGlyph) const;

  // Sets the metrics of glyphs that are not marked to zero, a byte for each glyph.
  void Clear(const BSE::CBasicArray<unsigned char>& used);

private:
  std::size_t GetNeeded() const;

  int m_nMetrics = 0;
  int m_nGlyphs = 0;
};

class Chmtx : public CMetrics
{
public:
  Chmtx() : CMetrics(MakeTag("hmtx")) {}
};

class Cvmtx : public CMetrics
{
public:
  Cvmtx() : CMetrics(MakeTag("vmtx")) {}
};

}  // namespace TTF
