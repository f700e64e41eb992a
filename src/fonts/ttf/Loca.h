#pragma once

#include "fonts/ttf/Table.h"

namespace TTF
{

// loca: where in glyf each glyph begins, and after the last one the end. Format 0 has halves of the offsets
// in two bytes, format 1 the offsets in four.
class CTTF_loca : public CTable
{
public:
  // Largest offset that format 0 can hold.
  static constexpr std::uint32_t g_nMaxShortOffset = 0x1FFFE;

  CTTF_loca() : CTable(MakeTag("loca")) {}

  // Reads as many of the offsets of nGlyphs glyphs as are there, and that of the end, as they are.
  void ReadOffsets(int nFormat, int nGlyphs);

  // In the format that was set last.
  void Serialize() override;

  // Ascending, one more than there are glyphs, once the font has been read.
  const BSE::CBasicArray<std::uint32_t>& GetOffsets() const { return m_offsets; }
  void SetOffsets(BSE::CBasicArray<std::uint32_t>&& offsets) { m_offsets = std::move(offsets); }
  int GetGlyphCount() const { return std::max(0, m_offsets.GetSize() - 1); }
  int GetFormat() const { return m_nFormat; }
  void SetFormat(int nFormat) { m_nFormat = nFormat; }

private:
  BSE::CBasicArray<std::uint32_t> m_offsets;
  int m_nFormat = 0;
};

}  // namespace TTF
