#include "fonts/cff/CFF.h"
#include "tests/fonts/cff/BareFont.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace Fonts
{

namespace
{

constexpr int g_nSubsets = 3;

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

void ExpectSameGlyph(const CFF::CCFF& font, const CFontFace& before, int nGlyph, const CFF::CCFF& result,
                     const CFontFace& after, int nNew, bool bRender)
{
  TGlyph expected;
  TGlyph found;
  ASSERT_EQ(before.GetGlyph(GetFaceGlyph(font, nGlyph), bRender, expected),
            after.GetGlyph(GetFaceGlyph(result, nNew), bRender, found));
  ASSERT_TRUE(expected == found) << "glyph " << nGlyph;
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
          ExpectSameGlyph(font, face, i, font, after, i, false);
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

TEST(InstalledCFFTest, SubsetKeepsItsGlyphs)
{
  std::minstd_rand random(7);
  ForEachFont(
      [&](CFF::CCFF& font, const CFontFace& face, const CBytes& data)
      {
        for (int nSubset = 0; nSubset < g_nSubsets; ++nSubset)
        {
          CFF::CCFF subset;
          ASSERT_TRUE(subset.Read(ToArray(data), ""));
          CUsed used = MarkSome(random, font.GetGlyphCount(), 30);
          ASSERT_TRUE(subset.CloseGlyphs(used));
          CUsed left(used);
          ASSERT_TRUE(subset.Subset(left, nSubset == 0 ? CFF::eUsedByCID : CFF::eUsedByName) ||
                      font.GetGlyphCount() <= 30);
          ASSERT_TRUE(subset.DropUnusedSubrs());
          const CBytes written = Write(subset);
          const CFontFace after(written);
          CFF::CCFF again;
          ASSERT_TRUE(after.IsLoaded() && again.Read(ToArray(written), ""));
          ASSERT_EQ(again.GetGlyphCount(), left.GetSize());
          for (int i = 0, nNew = 0; i < used.GetSize(); ++i)
          {
            if (used[i] == 0)
              continue;
            // Accents that are put in their places keep their hints, but FreeType places them together then.
            ExpectSameGlyph(font, face, i, again, after, nNew, nSubset != 0);
            const int nCID = font.IsCIDKeyed() ? font.GetCID(i) : (nSubset == 0 ? i : 0);
            ASSERT_EQ(again.GetCID(nNew), nCID);
            ASSERT_TRUE(again.IsCIDKeyed() ||
                        FONT::IsSameName(font.GetGlyphName(i), again.GetGlyphName(nNew)));
            ++nNew;
          }
        }
      });
}

TEST(InstalledCFFTest, SubsetsAreMerged)
{
  std::minstd_rand random(7);
  ForEachFont(
      [&](CFF::CCFF& font, const CFontFace& face, const CBytes& data)
      {
        const unsigned nUsage = random() % 2 != 0 ? CFF::eUsedByCID : CFF::eUsedByName;
        CBytes files[2];
        CUsed used[2];
        for (int i = 0; i < 2; ++i)
        {
          CFF::CCFF subset;
          ASSERT_TRUE(subset.Read(ToArray(data), ""));
          used[i] = MarkSome(random, font.GetGlyphCount(), 30);
          ASSERT_TRUE(subset.CloseGlyphs(used[i]));
          CUsed left(used[i]);
          subset.Subset(left, nUsage);
          files[i] = Write(subset);
        }
        CFF::CCFF merged;
        CFF::CCFF other;
        ASSERT_TRUE(merged.Read(ToArray(files[0]), "") && other.Read(ToArray(files[1]), ""));
        BSE::CHashSHA1 hash;
        unsigned char digests[2][BSE::CHashSHA1::g_nDigestSize];
        merged.HashTopData(hash);
        hash.Final(digests[0]);
        hash.Reset();
        other.HashTopData(hash);
        hash.Final(digests[1]);
        EXPECT_TRUE(std::equal(digests[0], std::end(digests[0]), digests[1]));
        const bool bMore = std::mismatch(used[1].GetData(), used[1].GetData() + used[1].GetSize(),
                                         used[0].GetData(), std::less_equal<>())
                               .first != used[1].GetData() + used[1].GetSize();
        ASSERT_EQ(merged.Merge(other, nUsage), bMore ? 1 : 2);
        EXPECT_EQ(merged.Merge(other, nUsage), 2);
        const CFontFace after(Write(merged));
        ASSERT_TRUE(after.IsLoaded());
        for (int i = 0; i < font.GetGlyphCount(); ++i)
        {
          if (used[0][i] == 0 && used[1][i] == 0)
            continue;
          const int nNew = font.IsCIDKeyed() || merged.IsCIDKeyed()
                               ? merged.FindGlyphByCID(font.IsCIDKeyed() ? font.GetCID(i) : i)
                               : merged.FindGlyph(font.GetGlyphName(i));
          ASSERT_GE(nNew, 0);
          ExpectSameGlyph(font, face, i, merged, after, nNew, nUsage != CFF::eUsedByCID);
        }
      });
}

}  // namespace Fonts
