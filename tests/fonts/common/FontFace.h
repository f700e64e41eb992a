#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Fonts
{

using CBytes = std::vector<unsigned char>;

// What FreeType makes of a glyph: in units of the font, and at two sizes with the hints of the font.
struct TGlyph
{
  std::vector<std::pair<long, long>> m_points;
  std::vector<char> m_onCurve;
  std::vector<int> m_ends;
  std::vector<long> m_metrics;
  std::vector<CBytes> m_bitmaps;

  bool operator==(const TGlyph&) const = default;
};

// A font file as FreeType sees it.
class CFontFace
{
public:
  explicit CFontFace(const CBytes& data);
  ~CFontFace();

  bool IsLoaded() const;
  int GetGlyphCount() const;

  // False for a glyph that FreeType does not load.
  bool GetGlyph(int nGlyph, bool bRender, TGlyph& glyph) const;
  std::string GetGlyphName(int nGlyph) const;

  // The mappings of the subtable for a platform and an encoding.
  bool GetMappings(int nPlatform, int nEncoding, std::map<std::uint32_t, std::uint32_t>& mappings) const;

private:
  struct TState;

  std::unique_ptr<TState> m_pState;
};

}  // namespace Fonts
