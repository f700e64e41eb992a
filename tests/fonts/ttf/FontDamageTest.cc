#include "base/ErrorHandler.h"
#include "base/Tracer.h"
#include "fonts/common/StatusCodes.h"
#include "fonts/ttf/GlyphCheck.h"
#include "fonts/ttf/OTF.h"
#include "fonts/ttf/TTFMerger.h"
#include "tests/fonts/ttf/FontSamples.h"

#include <gtest/gtest.h>

namespace Fonts
{

namespace
{

// Counts what is reported.
class CReports : public BSE::CErrorHandler
{
public:
  void OnNoteError(BSE::IError& error) override
  {
    m_nLosses += error.GetConsequence() == BSE::eContentLost ? 1 : 0;
    m_nRepairs += error.GetCode() == FONT::g_nFontRepaired ? 1 : 0;
  }
  int m_nLosses = 0;
  int m_nRepairs = 0;
};

std::vector<CBytes> MakeSquares()
{
  return {MakeSquare(100), MakeSquare(200), MakeSquare(300), MakeComposite({1, 2})};
}

CBytes GetData(const TTF::CTTF& font, int nGlyph)
{
  const std::span<const unsigned char> data = font.GetGlyph(nGlyph);
  return {data.begin(), data.end()};
}

}  // namespace

TEST(FontDamageTest, LimitsOfGlyphsAreRaised)
{
  CReports reports;
  TTF::CTTF font(&reports);
  ASSERT_TRUE(ReadFont(font, TFontBuilder(MakeSquares()).Build()));
  EXPECT_EQ(font.GetMaxp().m_nMaxPoints, 4);
  EXPECT_EQ(font.GetMaxp().m_nMaxComponentPoints, 8);
  EXPECT_EQ(font.GetMaxp().m_nMaxComponentDepth, 1);
  EXPECT_EQ(reports.m_nRepairs, 1);
  EXPECT_EQ(reports.m_nLosses, 0);
  TTF::CTTF again;
  ASSERT_TRUE(ReadFont(again, WriteFont(font)));
  EXPECT_EQ(again.Check(), 0);
}

TEST(FontDamageTest, SubsetKeepsComponentsAndNumbers)
{
  TTF::CTTF font;
  ASSERT_TRUE(ReadFont(font, TFontBuilder({MakeSquare(1), MakeSquare(2), MakeSquare(3), MakeComposite({5}),
                                           MakeSquare(4), MakeComposite({2, 7}), MakeSquare(5)})
                                 .Build()));
  BSE::CBasicArray<unsigned char> used;
  used.SetSize(4);  // shorter than the font
  used[3] = 1;
  ASSERT_TRUE(font.Subset(used));
  EXPECT_EQ(font.GetGlyphCount(), 7);
  EXPECT_EQ(GetData(font, 0), MakeSquare(1));
  EXPECT_EQ(GetData(font, 2), MakeSquare(3));
  EXPECT_FALSE(GetData(font, 3).empty() || GetData(font, 5).empty());
  EXPECT_TRUE(GetData(font, 1).empty() && GetData(font, 4).empty() && GetData(font, 6).empty());
}

TEST(FontDamageTest, CompositesWithoutEndLoseTheirData)
{
  CReports reports;
  TTF::CTTF font(&reports);
  ASSERT_TRUE(ReadFont(font, TFontBuilder({MakeSquare(100), MakeComposite({2, 0}), MakeComposite({0, 1}),
                                           MakeComposite({1}), MakeComposite({0, 0}), MakeComposite({5})})
                                 .Build()));
  EXPECT_EQ(reports.m_nLosses, 4);
  for (const int nGlyph : {1, 2, 3, 5})
    EXPECT_TRUE(font.GetGlyph(nGlyph).empty());
  TTF::COutline outline;
  EXPECT_TRUE(font.GetOutline(4, outline));
  EXPECT_EQ(outline.GetSize(), 8);
}

// Each level doubles the points; deep chains without points are refused by their depth.
TEST(FontDamageTest, BombsOfCompositesEnd)
{
  std::vector<CBytes> doubling = {MakeSquare(100)};
  for (int i = 1; i < 60; ++i)
    doubling.push_back(MakeComposite({i - 1, i - 1}));
  CReports reports;
  TTF::CTTF bomb(&reports);
  ASSERT_TRUE(ReadFont(bomb, TFontBuilder(doubling).Build()));
  EXPECT_EQ(reports.m_nLosses, 60 - 14);  // 4 << 13 points are the most that a glyph can have
  TTF::COutline outline;
  EXPECT_TRUE(bomb.GetOutline(13, outline));

  std::vector<CBytes> chain = {MakeSquare(100)};
  for (int i = 1; i < 60000; ++i)
    chain.push_back(MakeComposite({i - 1}));
  CReports chainReports;
  TTF::CTTF deep(&chainReports);
  ASSERT_TRUE(ReadFont(deep, TFontBuilder(chain).Build()));
  EXPECT_EQ(chainReports.m_nLosses, 60000 - 65);
}

// Glyphs keep what their own offset points to.
TEST(FontDamageTest, LocaIsRecovered)
{
  TFontBuilder builder(MakeSquares());
  CBytes& loca = builder["loca"];
  const auto nSize = static_cast<unsigned>(MakeSquare(1).size());
  const auto SetOffset = [&](std::size_t nGlyph, unsigned nOffset) { Set16(loca, 4 * nGlyph + 2, nOffset); };
  SetOffset(1, 2 * nSize);  // glyphs 1 and 2 change places
  SetOffset(2, nSize);
  CReports reports;
  TTF::CTTF font(&reports);
  ASSERT_TRUE(ReadFont(font, builder.Build()));
  EXPECT_EQ(GetData(font, 1), MakeSquare(300));
  EXPECT_EQ(reports.m_nLosses, 0);
  EXPECT_EQ(reports.m_nRepairs, 1);

  SetOffset(1, 60000);  // outside; the glyph before has to find its own end
  CReports outside;
  TTF::CTTF cut(&outside);
  ASSERT_TRUE(ReadFont(cut, builder.Build()));
  EXPECT_EQ(GetData(cut, 0), MakeSquare(100));
  EXPECT_TRUE(cut.GetGlyph(1).empty());
  EXPECT_EQ(outside.m_nLosses, 1);
}

// The directory gives it half of its length.
TEST(FontDamageTest, LocaGoesOnToTheNextTable)
{
  CBytes file = TFontBuilder(MakeSquares()).Build();
  Set16(file, 12 + 16 * 4 + 14, 10);
  CReports reports;
  TTF::CTTF font(&reports);
  ASSERT_TRUE(ReadFont(font, file));
  EXPECT_EQ(GetData(font, 2), MakeSquare(300));
  EXPECT_EQ(reports.m_nLosses, 0);
  EXPECT_EQ(reports.m_nRepairs, 1);
}

// A font with programs, and a cmap of format 0 with one code if there is one.
TFontBuilder MakeMergeable(const std::vector<CBytes>& glyphs, int nCode = 0)
{
  TFontBuilder builder(glyphs);
  for (const char* szTag : {"fpgm", "prep", "cvt "})
    builder[szTag] = {1, 2, 3, 4};
  if (nCode == 0)
    return builder;
  CBytes cmap;
  for (const unsigned n : {0U, 1U, 1U, 0U, 0U, 12U, 0U, 262U, 0U})
    Put16(cmap, n);
  cmap.resize(12 + 262);
  cmap[static_cast<std::size_t>(18 + nCode)] = 1;
  builder["cmap"] = cmap;
  return builder;
}

// The first rule that does not hold is told, and nothing has changed then.
TEST(FontDamageTest, MergesTellTheirReason)
{
  const std::string sAbort = "Aborting TTF merge because of ";
  const std::vector<CBytes> some = {MakeSquare(1), MakeSquare(2), {}};
  std::vector<CBytes> many(257, MakeSquare(9));
  many[0] = some[0];
  const auto With = [&](const char* szTag, const CBytes& bytes)
  {
    TFontBuilder builder = MakeMergeable(some);
    builder[szTag] = bytes;
    return builder;
  };
  TFontBuilder empty = With("loca", CBytes(16));
  empty.m_tables.erase(empty.m_tables.begin());
  const struct
  {
    TFontBuilder m_font;
    TFontBuilder m_other;
    bool m_bByNumber;
    TTF::TMerge m_nResult;
    std::string m_sTrace;
  } aCases[] = {
      {MakeMergeable(some), MakeMergeable(some, 'A'), true, TTF::eNotMerged,
       sAbort + "CMAP table number difference: 0 vs 1"},
      {MakeMergeable(some), With("prep", {1}), true, TTF::eNotMerged,
       sAbort + "PREP table length difference"},
      {MakeMergeable(some), empty, true, TTF::eNotMerged, sAbort + "glyf table availability difference."},
      {MakeMergeable(some), With("cvt ", {1, 2, 3, 5}), true, TTF::eNotMerged,
       sAbort + "CVT table difference"},
      {MakeMergeable(some), MakeMergeable({{}, MakeSquare(2), {}}), true, TTF::eNotMerged,
       sAbort + "GLYF difference (GID 0)"},
      {MakeMergeable(some), MakeMergeable({some[0], {}, MakeSquare(3)}), true, TTF::eMerged,
       "Need TTF merge because of GLYF difference (GID 2)"},
      {MakeMergeable(some, 'A'), MakeMergeable({some[0], MakeSquare(7), {}}, 'A'), false, TTF::eNotMerged,
       sAbort + "cmap(1,0) format 0 GLYF difference (CID 65, GIDs 1 and 1)"},
      {MakeMergeable(many, 'A'), MakeMergeable(some, 'B'), false, TTF::eNotMerged,
       sAbort + "cmap(1,0) format 0 byte overflow."}};
  const std::string sPath = testing::TempDir() + "merge-traces";
  for (const auto& entry : aCases)
  {
    TTF::CTTF font;
    TTF::CTTF other;
    ASSERT_TRUE(ReadFont(font, entry.m_font.Build()) && ReadFont(other, entry.m_other.Build()));
    const CBytes before = WriteFont(font);
    ASSERT_TRUE(BSE::CTracer::SetOutput(sPath.c_str()));
    EXPECT_EQ(TTF::CTTFMerger(font, other, {}, {}).Merge(entry.m_bByNumber), entry.m_nResult)
        << entry.m_sTrace;
    BSE::CTracer::Close();
    const CBytes trace = ReadBytes(sPath);
    EXPECT_NE(std::string(trace.begin(), trace.end()).find(entry.m_sTrace), std::string::npos)
        << entry.m_sTrace << "\n"
        << std::string(trace.begin(), trace.end());
    EXPECT_EQ(WriteFont(font) == before, entry.m_nResult == TTF::eNotMerged);
    std::remove(sPath.c_str());
  }
}

// All glyphs are the same long one, which would make a large font of a small one.
TEST(FontDamageTest, SharedGlyphsDoNotMultiply)
{
  TFontBuilder builder({MakeSquare(100)});
  CBytes& glyph = builder["glyf"];
  glyph[1] = 0;  // no contours, and 40,000 bytes of instructions
  Set16(glyph, 10, 40000);
  glyph.resize(40012);
  CBytes loca;
  for (int i = 0; i < 30000; ++i)
    Put32(loca, i % 2 == 0 ? 0 : 40012);
  builder["loca"] = loca;
  Set16(builder["maxp"], 4, 29999);
  CReports reports;
  TTF::CTTF font(&reports);
  ASSERT_TRUE(ReadFont(font, builder.Build()));
  EXPECT_LT(WriteFont(font).size(), 1U << 20);
  EXPECT_GT(reports.m_nLosses, 10000);
}

TEST(FontDamageTest, OverlappingTablesDoNotMultiply)
{
  TFontBuilder builder(MakeSquares());
  builder["data"] = CBytes(50000);
  CBytes file = builder.Build();
  const std::size_t nTables = builder.m_tables.size();
  // The directory goes to the end, with a thousand tables more of the same bytes.
  CBytes directory(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(12 + 16 * nTables));
  for (unsigned i = 0; i < 1000; ++i)
  {
    Put32(directory, 0x41410000 + i);
    Put32(directory, 0);
    Put32(directory, 200);
    Put32(directory, 50000);
  }
  Set16(directory, 4, static_cast<unsigned>(nTables) + 1000);
  CBytes collection;
  for (const std::uint32_t n : {0x74746366U, 0x00010000U, 1U, static_cast<std::uint32_t>(file.size())})
    Put32(collection, n);
  std::copy(collection.begin(), collection.begin() + 12, file.begin());
  Set16(file, 12, static_cast<unsigned>(file.size() >> 16));
  Set16(file, 14, static_cast<unsigned>(file.size() & 0xFFFF));
  file.insert(file.end(), directory.begin(), directory.end());
  CReports reports;
  TTF::CTTF font(&reports);
  ASSERT_TRUE(ReadFont(font, file));
  EXPECT_LT(WriteFont(font).size(), 2 * file.size());
  EXPECT_GT(reports.m_nLosses, 900);
}

TEST(FontDamageTest, CutFilesEndWithAReport)
{
  TFontBuilder builder(MakeSquares());
  Set16(builder["maxp"], 6, 4);
  const CBytes file = builder.Build();
  for (std::size_t nLength = 0; nLength < file.size(); ++nLength)
  {
    CReports reports;
    OTF::COTF font(&reports);
    const bool bRead =
        ReadFont(font, CBytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(nLength)));
    EXPECT_TRUE(bRead ? reports.m_nRepairs > 0 : reports.GetEndCode() == FONT::g_nFontUnreadable) << nLength;
  }
}

TEST(FontDamageTest, CountsBeyondTheDataAreRefused)
{
  TFontBuilder builder(MakeSquares());
  Set16(builder["maxp"], 4, 0xFFFF);
  Set16(builder["hhea"], 34, 0xFFFF);
  CBytes& cmap = builder["cmap"];
  for (const unsigned n : {0U, 0xFFFFU, 3U, 1U, 0U, 12U, 4U, 0xFFFFU, 0U, 0xFFFEU})
    Put16(cmap, n);
  CReports reports;
  TTF::CTTF font(&reports);
  ASSERT_TRUE(ReadFont(font, builder.Build()));
  EXPECT_EQ(GetData(font, 3), MakeComposite({1, 2}));
  EXPECT_EQ(font.GetHmtx().GetAdvance(0xFFFE), 0);
  for (int i = 0; i < font.GetCMap().GetSubtableCount(); ++i)
    EXPECT_EQ(font.GetCMap().GetGlyph(i, 65), 0);
  TTF::CTTF again;
  ASSERT_TRUE(ReadFont(again, WriteFont(font)));
  EXPECT_EQ(GetData(again, 3), MakeComposite({1, 2}));
}

TEST(FontDamageTest, FormatsOfMappings)
{
  TTF::CTableWriter writer;
  const TTF::TMapping wide[] = {{65, 256}};
  EXPECT_FALSE(TTF::MakeFormat0(wide, 0, writer));
  const TTF::TMapping scattered[] = {{0x20, 3}, {0x21, 4}, {0x23, 6}, {0xFFFE, 9}, {0xFFFF, 7}};
  for (const unsigned n : {0U, 1U, 3U, 0U, 0U, 12U})
    writer.Card16(n);
  ASSERT_TRUE(TTF::MakeFormat4(scattered, 0, writer));
  TTF::CCMap cmap;
  cmap.SetBytes(writer.Detach());
  TTF::CFontLog log(nullptr, nullptr);
  cmap.Read(log);
  EXPECT_EQ(log.GetFaults(), 0);
  for (const TTF::TMapping& mapping : scattered)
    EXPECT_EQ(cmap.GetGlyph(0, mapping.m_nCode), static_cast<int>(mapping.m_nGlyph));
  EXPECT_EQ(cmap.GetGlyph(0, 0x22), 0);
}

}  // namespace Fonts
