#include "tests/fonts/common/FontFace.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

namespace Fonts
{

struct CFontFace::TState
{
  CBytes m_data;
  FT_Library m_library = nullptr;
  FT_Face m_face = nullptr;
};

CFontFace::CFontFace(const CBytes& data) : m_pState(std::make_unique<TState>())
{
  m_pState->m_data = data;
  FT_Init_FreeType(&m_pState->m_library);
  if (FT_New_Memory_Face(m_pState->m_library, m_pState->m_data.data(),
                         static_cast<FT_Long>(m_pState->m_data.size()), 0, &m_pState->m_face) != 0)
    m_pState->m_face = nullptr;
}

CFontFace::~CFontFace()
{
  if (m_pState->m_face)
    FT_Done_Face(m_pState->m_face);
  FT_Done_FreeType(m_pState->m_library);
}

bool CFontFace::IsLoaded() const
{
  return m_pState->m_face != nullptr;
}

int CFontFace::GetGlyphCount() const
{
  return static_cast<int>(m_pState->m_face->num_glyphs);
}

bool CFontFace::GetGlyph(int nGlyph, bool bRender, TGlyph& glyph) const
{
  const FT_Face face = m_pState->m_face;
  glyph = {};
  if (FT_Load_Glyph(face, static_cast<FT_UInt>(nGlyph), FT_LOAD_NO_SCALE) != 0)
    return false;
  const FT_Outline& outline = face->glyph->outline;
  for (int i = 0; i < outline.n_points; ++i)
  {
    glyph.m_points.emplace_back(outline.points[i].x, outline.points[i].y);
    glyph.m_onCurve.push_back(static_cast<char>(outline.tags[i] & 1));
  }
  glyph.m_ends.assign(outline.contours, outline.contours + outline.n_contours);
  const FT_Glyph_Metrics& metrics = face->glyph->metrics;
  glyph.m_metrics = {metrics.horiAdvance, metrics.horiBearingX, metrics.horiBearingY};
  // Without vertical metrics FreeType makes some from other tables.
  if (FT_HAS_VERTICAL(face))
    for (const FT_Pos nMetric : {metrics.vertAdvance, metrics.vertBearingX, metrics.vertBearingY})
      glyph.m_metrics.push_back(nMetric);
  for (const unsigned nSize : {12U, 40U})
  {
    if (!bRender || FT_Set_Pixel_Sizes(face, 0, nSize) != 0 ||
        FT_Load_Glyph(face, static_cast<FT_UInt>(nGlyph),
                      FT_LOAD_RENDER | FT_LOAD_NO_BITMAP | FT_LOAD_NO_AUTOHINT) != 0)
      continue;
    const FT_Bitmap& bitmap = face->glyph->bitmap;
    CBytes pixels(bitmap.buffer, bitmap.buffer + static_cast<std::size_t>(bitmap.pitch) * bitmap.rows);
    pixels.push_back(static_cast<unsigned char>(face->glyph->bitmap_left));
    pixels.push_back(static_cast<unsigned char>(face->glyph->bitmap_top));
    glyph.m_bitmaps.push_back(std::move(pixels));
  }
  return true;
}

std::string CFontFace::GetGlyphName(int nGlyph) const
{
  char szName[256] = {};
  if (FT_HAS_GLYPH_NAMES(m_pState->m_face))
    FT_Get_Glyph_Name(m_pState->m_face, static_cast<FT_UInt>(nGlyph), szName, sizeof szName);
  return szName;
}

bool CFontFace::GetMappings(int nPlatform, int nEncoding,
                            std::map<std::uint32_t, std::uint32_t>& mappings) const
{
  const FT_Face face = m_pState->m_face;
  for (int i = 0; i < face->num_charmaps; ++i)
  {
    const FT_CharMap map = face->charmaps[i];
    if (map->platform_id != nPlatform || map->encoding_id != nEncoding || FT_Set_Charmap(face, map) != 0)
      continue;
    FT_UInt nGlyph = 0;
    for (FT_ULong nCode = FT_Get_First_Char(face, &nGlyph); nGlyph != 0;
         nCode = FT_Get_Next_Char(face, nCode, &nGlyph))
      mappings[static_cast<std::uint32_t>(nCode)] = nGlyph;
    return true;
  }
  return false;
}

}  // namespace Fonts
