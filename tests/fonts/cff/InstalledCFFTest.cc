#include "fonts/cff/CFF.h"
#include "tests/fonts/cff/BareFont.h"

#include <gtest/gtest.h>

#include <cmath>

namespace Fonts
{

namespace
{

CBytes Write(const CFF::CCFF& font)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
  return font.Write(*pStream) ? TakeBytes(*pStream) : CBytes();
}

// FreeType finds the glyphs of bare fonts by their CIDs, if they have some.
int GetFaceGlyph(const CFF::CCFF& font, int nGlyph)
{
  return font.IsCIDKeyed() ? font.GetCID(nGlyph) : nGlyph;
}

// Calls the test with each font, as it is read and as FreeType sees it.
template <class TTest>
void ForEachFont(TTest test)
{
  int nFonts = 0;
  for (const char* szEnding : {".otf", ".cff"})
    for (const std::filesystem::path& path : ListFonts(szEnding))
    {
      SCOPED_TRACE(path.string());
      const CBytes data = ReadCFF(path);
      const CFontFace face(data);
      CFF::CCFF font;
      const bool bRead = font.Read(ToArray(data), "");
      EXPECT_TRUE(bRead || !face.IsLoaded());
      if (bRead && face.IsLoaded())
        test(font, face, data);
      ++nFonts;
    }
  if (nFonts == 0)
    GTEST_SKIP() << "There are no fonts installed.";
}

// Outlines, and the widths that the glyphs say, are those of FreeType.
void ExpectOutlines(CFF::CCFF& font, const CFontFace& face, int nGlyph)
{
  TGlyph expected;
  if (!face.GetGlyph(GetFaceGlyph(font, nGlyph), false, expected))
    return;
  FONT::CGlyph glyph;
  ASSERT_TRUE(font.GetGlyph(nGlyph, glyph)) << "glyph " << nGlyph;
  double dWidth = 0;
  ASSERT_TRUE(font.GetWidth(nGlyph, dWidth) && dWidth == glyph.m_dWidth);
  // FreeType slants the outlines where the matrix does.
  if (!font.GetTop().Has(CFF::CTypes::eFontMatrix))
    ExpectSamePath(glyph, expected);
}

}  // namespace

TEST(InstalledCFFTest, WrittenFontIsTheSame)
{
  ForEachFont(
      [](CFF::CCFF& font, const CFontFace& face, const CBytes& data)
      {
        const CBytes written = Write(font);
        EXPECT_LE(written.size(), data.size() + data.size() / 100);
        const CFontFace after(written);
        ASSERT_TRUE(after.IsLoaded());
        for (int i = 0; i < font.GetGlyphCount(); i += 1 + font.GetGlyphCount() / 500)
        {
          ExpectOutlines(font, face, i);
          ASSERT_EQ(face.GetGlyphName(i), after.GetGlyphName(i));
          const FONT::TName name = font.GetGlyphName(i);
          ASSERT_EQ(std::string(name.data(), name.size()), face.GetGlyphName(i));
        }
        std::map<std::uint32_t, std::uint32_t> before;
        std::map<std::uint32_t, std::uint32_t> found;
        if (face.GetMappings(7, 2, before) || face.GetMappings(7, 0, before))
        {
          ASSERT_TRUE((after.GetMappings(7, 2, found) || after.GetMappings(7, 0, found)) && before == found);
        }
      });
}

}  // namespace Fonts
