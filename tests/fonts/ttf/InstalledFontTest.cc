#include "fonts/ttf/OTF.h"
#include "fonts/ttf/TTFMerger.h"
#include "tests/fonts/ttf/FontSamples.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace Fonts
{

namespace
{

constexpr int g_nSubsets = 3;
constexpr int g_nMaxGlyphs = 30;

class CInstalledFontTest : public testing::TestWithParam<const char*>
{
protected:
  void SetUp() override
  {
    m_fonts = ListFonts(GetParam());
    if (m_fonts.empty())
      GTEST_SKIP() << "There are no fonts " << GetParam() << " installed.";
  }

  // Calls the test for each font that FreeType knows.
  template <class TTest>
  void ForEach(TTest test)
  {
    for (const std::filesystem::path& path : m_fonts)
    {
      SCOPED_TRACE(path.string());
      const CBytes data = ReadBytes(path);
      const CFontFace face(data);
      OTF::COTF font;
      ASSERT_TRUE(face.IsLoaded());
      ASSERT_TRUE(ReadFont(font, data));
      // FreeType counts glyphs by loca if that is short, and those of CFF by its own table.
      ASSERT_TRUE(font.GetGlyphCount() >= face.GetGlyphCount());
      if (font.GetGlyphCount() == face.GetGlyphCount())
        test(font, face);
    }
  }

  std::vector<std::filesystem::path> m_fonts;
};

void ExpectSameGlyph(const CFontFace& before, const CFontFace& after, int nGlyph, bool bRender)
{
  TGlyph expected;
  TGlyph found;
  ASSERT_EQ(before.GetGlyph(nGlyph, bRender, expected), after.GetGlyph(nGlyph, bRender, found));
  ASSERT_TRUE(expected == found) << "glyph " << nGlyph;
}

// Checksums as the format wants them.
void ExpectSoundFile(const CBytes& file)
{
  ASSERT_EQ(file.size() % 4, 0U);
  EXPECT_EQ(TTF::CTable::GetChecksum(file), 0xB1B0AFBA);
  TTF::CTTF font;
  ASSERT_TRUE(ReadFont(font, file));
  EXPECT_EQ(font.Check(), 0);
}

BSE::CBasicArray<unsigned char> MarkSome(std::minstd_rand& random, int nGlyphs)
{
  BSE::CBasicArray<unsigned char> used;
  used.SetSize(nGlyphs);
  for (int i = 0; i < g_nMaxGlyphs; ++i)
    used[static_cast<int>(random() % static_cast<unsigned>(nGlyphs))] = 1;
  return used;
}

}  // namespace

TEST_P(CInstalledFontTest, WrittenFontIsTheSame)
{
  ForEach(
      [](OTF::COTF& font, const CFontFace& face)
      {
        const CBytes written = WriteFont(font);
        const CFontFace after(written);
        ASSERT_TRUE(after.IsLoaded());
        ExpectSoundFile(written);
        for (int i = 0; i < font.GetGlyphCount(); i += 1 + font.GetGlyphCount() / 500)
        {
          ExpectSameGlyph(face, after, i, false);
          ASSERT_EQ(face.GetGlyphName(i), after.GetGlyphName(i));
        }
      });
}

TEST_P(CInstalledFontTest, SubsetKeepsItsGlyphs)
{
  std::minstd_rand random(7);
  ForEach(
      [&](OTF::COTF& font, const CFontFace& face)
      {
        const CBytes whole = WriteFont(font);
        for (int nSubset = 0; nSubset < (font.HasGlyphData() ? g_nSubsets : 0); ++nSubset)
        {
          OTF::COTF subset;
          ASSERT_TRUE(ReadFont(subset, whole));
          BSE::CBasicArray<unsigned char> used = MarkSome(random, font.GetGlyphCount());
          ASSERT_TRUE(subset.Subset(used));
          subset.DropUnneeded(nSubset % 2 != 0);
          if (nSubset == 2)
            subset.ClearMetrics(used);
          ASSERT_TRUE(subset.CloseGlyphs(used));
          const CBytes written = WriteFont(subset);
          ExpectSoundFile(written);
          const CFontFace after(written);
          ASSERT_TRUE(after.IsLoaded());
          for (int i = 0; i < used.GetSize(); ++i)
            if (used[i] != 0)
              ExpectSameGlyph(face, after, i, true);
            else
              ASSERT_TRUE(subset.GetGlyph(i).empty());
        }
      });
}

// Outlines and metrics that we read, names and mappings are what FreeType reads.
TEST_P(CInstalledFontTest, GlyphsAreReadRight)
{
  ForEach(
      [](OTF::COTF& font, const CFontFace& face)
      {
        TTF::COutline outline;
        for (int i = 0; i < font.GetGlyphCount(); ++i)
        {
          TGlyph glyph;
          if (!font.HasGlyphData() || !face.GetGlyph(i, false, glyph))
            continue;
          // FreeType takes the metrics of a composite from a component that lends them.
          ASSERT_TRUE(TTF::IsComposite(font.GetGlyph(i)) ||
                      font.GetHmtx().GetAdvance(i) == glyph.m_metrics[0])
              << "glyph " << i;
          ASSERT_TRUE(font.GetOutline(i, outline));
          ASSERT_EQ(outline.GetSize(), static_cast<int>(glyph.m_points.size())) << "glyph " << i;
          std::vector<int> ends;
          for (int n = 0; n < outline.GetSize(); ++n)
          {
            const auto& [nX, nY] = glyph.m_points[static_cast<std::size_t>(n)];
            ASSERT_LE(std::abs(outline[n].m_dX - static_cast<double>(nX)), 1) << "glyph " << i;
            ASSERT_LE(std::abs(outline[n].m_dY - static_cast<double>(nY)), 1) << "glyph " << i;
            ASSERT_EQ(outline[n].m_bOnCurve, glyph.m_onCurve[static_cast<std::size_t>(n)] != 0);
            if (outline[n].m_bEnd)
              ends.push_back(n);
          }
          ASSERT_EQ(ends, glyph.m_ends);
          const std::span<const char> name = font.GetPost().GetGlyphName(i);
          ASSERT_TRUE(name.empty() || std::string(name.data(), name.size()) == face.GetGlyphName(i));
        }
      });
}

TEST_P(CInstalledFontTest, MappingsAreReadAndConverted)
{
  ForEach(
      [](OTF::COTF& font, const CFontFace& face)
      {
        BSE::CBasicArray<TTF::TMapping> mappings;
        for (int i = 0; i < font.GetCMap().GetSubtableCount(); ++i)
        {
          const TTF::CCMap::TSubtable& subtable = font.GetCMap().GetSubtable(i);
          std::map<std::uint32_t, std::uint32_t> expected;
          if (font.GetCMap().Find(subtable.m_nPlatform, subtable.m_nEncoding) != i ||
              !face.GetMappings(subtable.m_nPlatform, subtable.m_nEncoding, expected) ||
              !font.GetCMap().GetMappings(i, 0x10FFFF, font.GetGlyphCount(), mappings))
            continue;
          std::map<std::uint32_t, std::uint32_t> found;
          for (const TTF::TMapping& mapping : mappings.GetSpan())
          {
            found[mapping.m_nCode] = mapping.m_nGlyph;
            ASSERT_EQ(font.GetCMap().GetGlyph(i, mapping.m_nCode), static_cast<int>(mapping.m_nGlyph));
          }
          ASSERT_TRUE(found == expected) << found.size() << " and " << expected.size();
        }
        std::map<std::uint32_t, std::uint32_t> before;
        if (!face.GetMappings(3, 1, before) || !font.ConvertCMap(false))
          return;
        std::map<std::uint32_t, std::uint32_t> after;
        const CFontFace converted(WriteFont(font));
        ASSERT_TRUE(converted.IsLoaded() && converted.GetMappings(3, 1, after));
        ASSERT_TRUE(before == after);
      });
}

// A subset of a font, as its program knows it.
struct TPart
{
  TTF::CTTF m_font;
  BSE::CBasicArray<unsigned char> m_used;
  std::map<std::uint32_t, std::uint32_t> m_codes;
};

// Leaves only the codes of the marked glyphs, and the marks of those that have one, in a cmap of one
// subtable.
void KeepCodes(TPart& part, unsigned nEncoding = 1)
{
  auto& cmap = const_cast<TTF::CCMap&>(part.m_font.GetCMap());
  BSE::CBasicArray<TTF::TMapping> all;
  BSE::CBasicArray<TTF::TMapping> kept;
  BSE::CBasicArray<unsigned char> used;
  used.SetSize(part.m_used.GetSize());
  cmap.GetMappings(cmap.Find(3, 1), 0xFFFF, part.m_font.GetGlyphCount(), all);
  for (const TTF::TMapping& mapping : all.GetSpan())
    if (part.m_used[static_cast<int>(mapping.m_nGlyph)] != 0)
    {
      kept.Add(mapping);
      used[static_cast<int>(mapping.m_nGlyph)] = 1;
      part.m_codes[mapping.m_nCode] = mapping.m_nGlyph;
    }
  part.m_used = used;
  TTF::CTableWriter writer;
  for (const unsigned n : {0U, 1U, 3U, nEncoding, 0U, 12U})
    writer.Card16(n);
  ASSERT_TRUE(TTF::MakeFormat4(kept.GetSpan(), 0, writer));
  cmap.SetBytes(writer.Detach());
  TTF::CFontLog log(nullptr, "");
  cmap.Read(log);
}

void MakePart(const CBytes& data, std::minstd_rand& random, bool bByNumber, TPart& part)
{
  ASSERT_TRUE(ReadFont(part.m_font, data));
  part.m_used = MarkSome(random, part.m_font.GetGlyphCount());
  if (!bByNumber)
    KeepCodes(part);
  ASSERT_TRUE(part.m_font.Subset(part.m_used));
  if (bByNumber)
    part.m_font.ClearMetrics(part.m_used);
  part.m_font.CloseGlyphs(part.m_used);
}

// Two subsets of a font together are the subset of all that they have: by numbers, and by codes too.
TEST_P(CInstalledFontTest, SubsetsAreMerged)
{
  std::minstd_rand random(7);
  const auto Check = [&](OTF::COTF& font, const CFontFace& face, bool bByNumber)
  {
    const CBytes data = WriteFont(font);
    TPart part;
    TPart other;
    MakePart(data, random, bByNumber, part);
    MakePart(data, random, bByNumber, other);
    if (!bByNumber && other.m_codes.empty())
      return;
    TTF::CTTFMerger merger(part.m_font, other.m_font, part.m_used.GetSpan(), other.m_used.GetSpan());
    ASSERT_EQ(merger.Merge(bByNumber), TTF::eMerged);
    TTF::CTTFMerger again(part.m_font, other.m_font, {}, other.m_used.GetSpan());
    EXPECT_EQ(again.Merge(bByNumber), TTF::eIdentical);
    const CBytes written = WriteFont(part.m_font);
    ExpectSoundFile(written);
    const CFontFace after(written);
    ASSERT_TRUE(after.IsLoaded());
    for (int i = 0; bByNumber && i < font.GetGlyphCount(); ++i)
      if (part.m_used[i] != 0 || other.m_used[i] != 0)
        ExpectSameGlyph(face, after, i, true);
    std::map<std::uint32_t, std::uint32_t> mappings;
    after.GetMappings(3, 1, mappings);
    part.m_codes.insert(other.m_codes.begin(), other.m_codes.end());
    for (const auto& [nCode, nGlyph] : part.m_codes)
    {
      TGlyph expected;
      TGlyph found;
      ASSERT_EQ(face.GetGlyph(static_cast<int>(nGlyph), true, expected),
                after.GetGlyph(static_cast<int>(mappings[nCode]), true, found));
      ASSERT_TRUE(expected == found) << nCode;
    }
  };
  ForEach(
      [&](OTF::COTF& font, const CFontFace& face)
      {
        if (font.HasGlyphData())
          Check(font, face, true);
        if (font.HasGlyphData() && font.GetCMap().Find(3, 1) >= 0)
          Check(font, face, false);
      });
}

TEST_P(CInstalledFontTest, GlyphsAreDuplicated)
{
  std::minstd_rand random(9);
  ForEach(
      [&](OTF::COTF& font, const CFontFace& face)
      {
        if (!font.HasGlyphData() || font.GetCMap().Find(3, 1) < 0)
          return;
        TPart part;
        MakePart(WriteFont(font), random, true, part);
        KeepCodes(part, 0);
        const int nGlyph = part.m_codes.empty() ? 0 : static_cast<int>(part.m_codes.begin()->second);
        const int nCopy = TTF::CTTFMerger(part.m_font, part.m_font, {}, {}).Duplicate(nGlyph, 'A');
        ASSERT_EQ(nCopy, font.GetGlyphCount());
        const CFontFace after(WriteFont(part.m_font));
        std::map<std::uint32_t, std::uint32_t> mappings;
        ASSERT_TRUE(after.GetMappings(3, 0, mappings));
        EXPECT_EQ(mappings['A'], static_cast<std::uint32_t>(nCopy));
        TGlyph expected;
        TGlyph found;
        ASSERT_EQ(face.GetGlyph(nGlyph, true, expected), after.GetGlyph(nCopy, true, found));
        EXPECT_TRUE(expected == found);
      });
}

INSTANTIATE_TEST_SUITE_P(Fonts, CInstalledFontTest, testing::Values(".ttf", ".otf"),
                         [](const auto& test) { return std::string(test.param + 1); });

}  // namespace Fonts
