#include "fonts/type1/PFB.h"
#include "tests/fonts/common/FontFiles.h"

#include <gtest/gtest.h>

#include <cmath>

namespace Fonts
{

namespace
{

CBytes Write(PFB::CPFB& font)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
  return font.Write(*pStream) ? TakeBytes(*pStream) : CBytes();
}

// Calls the test with each font, as it is read and as FreeType sees it.
template <class TTest>
void ForEachFont(TTest test)
{
  int nFonts = 0;
  for (const char* szEnding : {".t1", ".pfb", ".pfa"})
    for (const std::filesystem::path& path : ListFonts(szEnding))
    {
      SCOPED_TRACE(path.string());
      const CBytes data = ReadBytes(path);
      const CFontFace face(data);
      PFB::CPFB font;
      const bool bRead = font.Read(ToArray(data), "");
      EXPECT_TRUE(bRead || !face.IsLoaded());
      if (bRead && face.IsLoaded())
        test(font, face, data);
      ++nFonts;
    }
  if (nFonts == 0)
    GTEST_SKIP() << "There are no fonts installed.";
}

void ExpectSameGlyph(const CFontFace& before, int nGlyph, const CFontFace& after, int nNew)
{
  TGlyph expected;
  TGlyph found;
  ASSERT_EQ(before.GetGlyph(nGlyph, true, expected), after.GetGlyph(nNew, true, found));
  ASSERT_TRUE(expected == found) << "glyph " << nGlyph;
}

void ExpectOutlines(PFB::CPFB& font, const CFontFace& face, int nGlyph)
{
  TGlyph expected;
  if (!face.GetGlyph(nGlyph, false, expected))
    return;
  FONT::CGlyph glyph;
  ASSERT_TRUE(font.GetGlyph(nGlyph, glyph)) << "glyph " << nGlyph;
  double dWidth = 0;
  ASSERT_TRUE(font.GetWidth(nGlyph, dWidth) && dWidth == glyph.m_dWidth);
  EXPECT_NEAR(dWidth, static_cast<double>(expected.m_metrics[0]), 1);
  ExpectSamePath(glyph, expected);
}

}  // namespace

TEST(InstalledType1Test, WrittenFontIsTheSame)
{
  ForEachFont(
      [](PFB::CPFB& font, const CFontFace& face, const CBytes&)
      {
        const CFontFace after(Write(font));
        ASSERT_TRUE(after.IsLoaded());
        ASSERT_EQ(after.GetGlyphCount(), face.GetGlyphCount());
        for (int i = 0; i < font.GetGlyphCount(); ++i)
        {
          ExpectSameGlyph(face, i, after, i);
          ExpectOutlines(font, face, i);
          const FONT::TName name = font.GetGlyphName(i);
          ASSERT_EQ(std::string(name.data(), name.size()), face.GetGlyphName(i));
          ASSERT_EQ(face.GetGlyphName(i), after.GetGlyphName(i));
        }
        std::map<std::uint32_t, std::uint32_t> before;
        std::map<std::uint32_t, std::uint32_t> found;
        for (const int nEncoding : {0, 2})
          ASSERT_EQ(face.GetMappings(7, nEncoding, before), after.GetMappings(7, nEncoding, found));
        ASSERT_TRUE(before == found);
      });
}

}  // namespace Fonts
