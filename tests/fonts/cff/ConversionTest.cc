#include "fonts/cff/Type1Conversion.h"
#include "fonts/type1/CharStringGenerator.h"
#include "tests/fonts/cff/BareFont.h"

#include <gtest/gtest.h>

#include <cmath>

namespace Fonts
{

namespace
{

template <class TFont>
CBytes Write(TFont& font)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
  return font.Write(*pStream) ? TakeBytes(*pStream) : CBytes();
}

// What is drawn, and the width: a line that takes no way may be missing, and glyphs with fractions differ in
// them.
void ExpectSameShape(const FONT::CGlyph& glyph, const TGlyph& expected)
{
  EXPECT_NEAR(glyph.m_dWidth, static_cast<double>(expected.m_metrics[0]), 1);
  ExpectSamePath(glyph, expected);
}

// Bitmaps with hints: the number of glyphs whose two differ.
int CountDifferent(const CFontFace& before, int nGlyph, const CFontFace& after, int nNew)
{
  TGlyph expected;
  TGlyph found;
  if (!before.GetGlyph(nGlyph, true, expected))
    return 0;
  EXPECT_TRUE(after.GetGlyph(nNew, true, found)) << "glyph " << nGlyph;
  EXPECT_EQ(expected.m_metrics, found.m_metrics) << "glyph " << nGlyph;
  return expected.m_bitmaps == found.m_bitmaps ? 0 : 1;
}

}  // namespace

TEST(ConversionTest, Type1ToCFFAndBack)
{
  int nFonts = 0;
  int nGlyphs = 0;
  int nDifferent = 0;
  for (const char* szEnding : {".t1", ".pfb", ".pfa"})
    for (const std::filesystem::path& path : ListFonts(szEnding))
    {
      SCOPED_TRACE(path.string());
      const CBytes data = ReadBytes(path);
      const CFontFace face(data);
      PFB::CPFB type1;
      if (!face.IsLoaded() || !type1.Read(ToArray(data), ""))
        continue;
      ++nFonts;
      CFF::CCFF made;
      ASSERT_TRUE(CFF::CType1ToType2Converter(made, type1).Convert());
      const CBytes written = Write(made);
      CFF::CCFF cff;
      const CFontFace after(written);
      ASSERT_TRUE(after.IsLoaded() && cff.Read(ToArray(written), ""));
      EXPECT_LT(written.size(), data.size());
      PFB::CPFB again;
      ASSERT_TRUE(CFF::CType2ToType1Converter(again, cff).Convert());
      const CFontFace back(Write(again));
      ASSERT_TRUE(back.IsLoaded());
      for (int i = 0; i < type1.GetGlyphCount(); ++i)
      {
        ASSERT_EQ(face.GetGlyphName(i), after.GetGlyphName(i));
        ASSERT_EQ(face.GetGlyphName(i), back.GetGlyphName(i));
        TGlyph expected;
        FONT::CGlyph glyph;
        if (!face.GetGlyph(i, false, expected) || !cff.GetGlyph(i, glyph))
          continue;
        ExpectSameShape(glyph, expected);
        ++nGlyphs;
        nDifferent += CountDifferent(face, i, back, i);
        if (HasFailure())
          return;
      }
      for (int i = 0; i < 256; ++i)
      {
        const int nGlyph = std::max(0, type1.FindGlyph(type1.GetEncodedName(i)));
        ASSERT_EQ(cff.GetEncodedGlyph(i), nGlyph);
        ASSERT_EQ(std::max(0, again.FindGlyph(again.GetEncodedName(i))), nGlyph);
      }
    }
  if (nFonts == 0)
    GTEST_SKIP() << "There are no fonts installed.";
  EXPECT_LE(nDifferent, nGlyphs / 200);
}

// Fonts that are used by CIDs have no form in Type 1.
TEST(ConversionTest, CFFToType1)
{
  int nFonts = 0;
  int nGlyphs = 0;
  int nDifferent = 0;
  for (const char* szEnding : {".otf", ".cff"})
    for (const std::filesystem::path& path : ListFonts(szEnding))
    {
      SCOPED_TRACE(path.string());
      const CBytes data = ReadCFF(path);
      const CFontFace face(data);
      CFF::CCFF cff;
      if (!face.IsLoaded() || !cff.Read(ToArray(data), "") || cff.IsCIDKeyed())
        continue;
      ++nFonts;
      PFB::CPFB made;
      ASSERT_TRUE(CFF::CType2ToType1Converter(made, cff).Convert());
      const CFontFace after(Write(made));
      ASSERT_TRUE(after.IsLoaded());
      for (int i = 0; i < cff.GetGlyphCount(); i += 1 + cff.GetGlyphCount() / 500)
      {
        TGlyph expected;
        FONT::CGlyph glyph;
        if (cff.FindGlyph(cff.GetGlyphName(i)) == i)
        {
          ASSERT_EQ(face.GetGlyphName(i), after.GetGlyphName(i));
        }
        if (!after.GetGlyph(i, false, expected) || !cff.GetGlyph(i, glyph))
          continue;
        if (!cff.GetTop().Has(CFF::CTypes::eFontMatrix))
          ExpectSameShape(glyph, expected);
        ++nGlyphs;
        nDifferent += CountDifferent(face, i, after, i);
      }
    }
  if (nFonts == 0)
    GTEST_SKIP() << "There are no fonts installed.";
  // FreeType looks at the stems of all masks of a Type 2 charstring together, which Type 1 cannot say.
  EXPECT_LE(nDifferent, nGlyphs / 20);
}

// Each point of the curves is one of the new curves, between which nothing but lines and cubic curves are.
TEST(ConversionTest, TrueTypeToType1)
{
  const std::vector<std::filesystem::path> fonts = ListFonts(".ttf");
  if (fonts.empty())
    GTEST_SKIP() << "There are no fonts installed.";
  for (std::size_t n = 0; n < fonts.size(); n += 6)
  {
    SCOPED_TRACE(fonts[n].string());
    OTF::COTF font;
    ASSERT_TRUE(font.Read(ToArray(ReadBytes(fonts[n])), "", true));
    PFB::CPFB made;
    PFB::CType1Writer writer(made);
    const int nGlyphs = std::min(font.GetGlyphCount(), 300);
    std::vector<TTF::COutline> outlines(static_cast<std::size_t>(nGlyphs));
    for (int i = 0; i < nGlyphs; ++i)
    {
      TTF::COutline& outline = outlines[static_cast<std::size_t>(i)];
      font.GetOutline(i, outline);
      FONT::CGlyph glyph;
      glyph.m_dWidth = font.GetHmtx().GetAdvance(i);
      TTF::ToGlyph(outline, glyph);
      ASSERT_EQ(writer.Add(FONT::MakeName(("n" + std::to_string(i)).c_str()), glyph), i);
    }
    made.SetText(PFB::eFontName, FONT::MakeName("Test"));
    const double matrix[] = {0.001, 0, 0, 0.001, 0, 0};
    made.SetValues(PFB::eFontMatrix, matrix);
    const CFontFace face(Write(made));
    ASSERT_TRUE(face.IsLoaded());
    for (int i = 0; i < nGlyphs; ++i)
    {
      TGlyph glyph;
      const int nFound = i == 0 ? nGlyphs : i;  // .notdef goes in front
      ASSERT_TRUE(face.GetGlyph(nFound, false, glyph));
      EXPECT_EQ(glyph.m_metrics[0], font.GetHmtx().GetAdvance(i));
      for (const TTF::TPoint& point : outlines[static_cast<std::size_t>(i)].GetSpan())
      {
        const bool bFound =
            std::ranges::any_of(glyph.m_points,
                                [&](const auto& p)
                                {
                                  return std::abs(static_cast<double>(p.first) - point.m_dX) <= 1 &&
                                         std::abs(static_cast<double>(p.second) - point.m_dY) <= 1;
                                });
        ASSERT_TRUE(bFound || !point.m_bOnCurve) << "glyph " << i;
      }
    }
  }
}

}  // namespace Fonts
