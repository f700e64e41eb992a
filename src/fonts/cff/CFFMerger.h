#pragma once

#include "fonts/cff/CFF.h"

namespace CFF
{

// Decides whether two fonts are subsets of the same one, and puts their glyphs together.
class CCFFMerger
{
public:
  CCFFMerger(CCFF& font, const CCFF& other) : m_font(font), m_other(other) {}

  // As CCFF::Merge.
  int Merge(unsigned nUsage, BSE::CBasicArray<unsigned char>* pUsed,
            const BSE::CBasicArray<unsigned char>* pOtherUsed);

private:
  bool CompareTop() const;
  static bool CompareDicts(const TFontDict& a, const TFontDict& b);
  bool CompareGlyphs();
  bool CompareFontDict(int nOtherGlyph, int nGlyph);
  bool CompareEncodings() const;
  int FindSame(int nOtherGlyph) const;
  void TakeFontDicts();
  void TakeGlyph(int nOtherGlyph);
  static bool Abort(const char* szFormat, ...);

  CCFF& m_font;
  const CCFF& m_other;
  BSE::CBasicArray<int> m_map;        // own glyphs by those of the other font; -1 for those that are new
  BSE::CBasicArray<int> m_fontDicts;  // by numbers: 1 for those in use here, 2 for those to be taken over
  bool m_bTaken = false;
};

}  // namespace CFF
