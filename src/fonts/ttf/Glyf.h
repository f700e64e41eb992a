#pragma once

#include "fonts/ttf/FontLog.h"
#include "fonts/ttf/Loca.h"

namespace TTF
{

// Glyph data (OpenType specification, glyf). A glyph is ten bytes of number of contours and box, then
//
//   simple     last point of each contour, instructions, flags, x and y of the points; a flag may be
//   repeated,
//              and a coordinate takes no byte, one or two
//   composite  components, each with a glyph, an offset or two points that meet, and a scale; instructions
struct TGlyphShape
{
  int m_nContours = 0;  // of its own; 0 for a composite
  int m_nPoints = 0;
  int m_nInstructions = 0;
  int m_nComponents = 0;
  bool m_bComposite = false;
  std::size_t m_nLength = 0;  // of the data that the glyph takes
};

// Looks a glyph through. False, with a trace, if it does not end within the data or makes no sense; the time
// that it takes depends on the length of its data alone.
bool MeasureGlyph(std::span<const unsigned char> data, TGlyphShape& shape);

bool IsComposite(std::span<const unsigned char> data);

struct TComponent
{
  static constexpr unsigned g_nWordArguments = 0x0001;
  static constexpr unsigned g_nArgumentsAreOffsets = 0x0002;
  static constexpr unsigned g_nScale = 0x0008;
  static constexpr unsigned g_nMore = 0x0020;
  static constexpr unsigned g_nScaleXY = 0x0040;
  static constexpr unsigned g_nMatrix = 0x0080;
  static constexpr unsigned g_nInstructions = 0x0100;
  static constexpr unsigned g_nMetrics = 0x0200;
  static constexpr unsigned g_nScaledOffset = 0x0800;

  unsigned m_nFlags = 0;
  int m_nGlyph = 0;
  int m_nArgument1 = 0;
  int m_nArgument2 = 0;
  double m_dXX = 1;  // x' = XX x + XY y, y' = YX x + YY y
  double m_dYX = 0;
  double m_dXY = 0;
  double m_dYY = 1;
};

// Goes through the components of a composite glyph, which must outlive it.
class CComponentReader
{
public:
  explicit CComponentReader(std::span<const unsigned char> glyph);

  // False after the last component, and at one that is cut.
  bool Next(TComponent& component);
  BSE::CByteCursor& GetCursor() { return m_cursor; }

private:
  BSE::CByteCursor m_cursor;
  bool m_bMore = true;
};

// glyf: the data of the glyphs, which loca divides.
class CGlyf : public CTable
{
public:
  explicit CGlyf(const CTTF_loca& loca) : CTable(MakeTag("glyf")), m_loca(loca) {}

  // Empty for a glyph without data and for one that is not there.
  std::span<const unsigned char> GetGlyph(int nGlyph) const;
  int GetGlyphCount() const { return m_loca.GetGlyphCount(); }

private:
  const CTTF_loca& m_loca;
};

// Collects glyph data for a new glyf and the offsets for its loca.
class CGlyphCollector
{
public:
  explicit CGlyphCollector(int nGlyphs) { m_offsets.Reserve(nGlyphs + 1); }

  // The next glyph. Each begins at an even offset, as the short form of loca wants it.
  void Add(std::span<const unsigned char> glyph);

  // Puts what was collected into the tables, with the shorter format of loca that can hold it.
  void Finish(CGlyf& glyf, CTTF_loca& loca);

private:
  BSE::CBasicArray<std::uint32_t> m_offsets;
  CTableWriter m_data;
};

}  // namespace TTF
