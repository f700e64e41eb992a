#pragma once

#include "fonts/ttf/Glyf.h"
#include "fonts/ttf/HeaderTables.h"

namespace TTF
{

// Looks through all glyphs of a font. Limits of maxp that a glyph passes are raised; a composite that
// contains itself, is nested too deeply or has more points than a glyph can have is not drawn by any reader
// and loses its data.
class CGlyphChecker
{
public:
  CGlyphChecker(const CGlyf& glyf, Cmaxp& maxp, CFontLog& log);

  void CheckAll();
  bool HasRaisedLimits() const { return m_bRaised; }

  // The glyphs whose data must be dropped, a byte for each glyph.
  const BSE::CBasicArray<unsigned char>& GetRefused() const { return m_refused; }
  bool HasRefused() const { return m_bRefused; }

private:
  // The sums over a glyph and all its components.
  struct TTotal
  {
    int m_nPoints;
    int m_nContours;
    int m_nDepth;
    unsigned char m_state;
  };
  struct TFrame
  {
    int m_nGlyph;
    int m_nComponent;  // the next one
  };

  void CheckData(int nGlyph);
  void Visit(int nGlyph);
  bool VisitNext(TFrame& frame);
  void AddComponent(int nGlyph, int nComponent);
  void Leave(int nGlyph);
  void Refuse(int nGlyph);
  void Raise(std::uint16_t& nLimit, int nValue, const char* szMessage, int nGlyph = 0);

  const CGlyf& m_glyf;
  Cmaxp& m_maxp;
  CFontLog& m_log;
  BSE::CBasicArray<TTotal> m_totals;
  BSE::CBasicArray<TFrame> m_stack;
  BSE::CBasicArray<int> m_components;  // of all glyphs, glyph by glyph
  BSE::CBasicArray<int> m_first;       // of each glyph in m_components, and the end
  BSE::CBasicArray<unsigned char> m_refused;
  bool m_bRaised = false;
  bool m_bRefused = false;
};

// Marks the components of marked glyphs as well, and theirs, a byte for each glyph. Glyph 0 is always marked.
void CloseGlyphs(const CGlyf& glyf, BSE::CBasicArray<unsigned char>& used);

}  // namespace TTF
