#include "fonts/cff/CFF.h"

#include "base/ErrorHandler.h"
#include "fonts/cff/CharStringGenerator.h"
#include "fonts/common/StatusCodes.h"
#include "tests/fonts/common/FontFiles.h"

#include <gtest/gtest.h>

#include <string>

namespace Fonts
{

namespace
{

using CFF::CTypes;
CBytes Write(const CFF::CCFF& font)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
  return font.Write(*pStream) ? TakeBytes(*pStream) : CBytes();
}

std::string GetText(FONT::TName name)
{
  return {name.data(), name.size()};
}

// Numbers, and operators from 1000 on.
CBytes MakeCharString(const std::vector<int>& values)
{
  CFF::CCharStringGenerator generator;
  for (const int n : values)
    if (n < 1000)
      generator.PutNumber(n);
    else
      generator.PutOperator(n - 1000);
  return {generator.GetBytes().begin(), generator.GetBytes().end()};
}

constexpr int g_nEnd = 1000 + CTypes::eEndChar;
constexpr int g_nMove = 1000 + CTypes::eRMoveTo;
constexpr int g_nLine = 1000 + CTypes::eRLineTo;

CBytes MakeTriangle(int nSize)
{
  return MakeCharString({nSize, nSize, g_nMove, nSize, 0, 0, nSize, g_nLine, g_nEnd});
}

// A font of these glyphs, the first of which is .notdef.
void MakeFont(CFF::CCFF& font, const std::vector<std::pair<const char*, CBytes>>& glyphs)
{
  font.Create(FONT::MakeName("Test"));
  for (const auto& [szName, charString] : glyphs)
    font.AddGlyph(FONT::MakeName(szName), charString);
}

// Adieresis is made of two others, at 50 and 60.
CBytes MakeAccentedFont(bool bMatrix = false, double dMatrix = 0.001)
{
  CFF::CCFF font;
  MakeFont(font, {{".notdef", MakeCharString({g_nEnd})},
                  {"B", MakeTriangle(10)},
                  {"A", MakeTriangle(20)},
                  {"dieresis", MakeTriangle(30)},
                  {"Adieresis", MakeCharString({7, 50, 60, 'A', 200, g_nEnd})}});
  font.SetEncodedGlyph('x', 2);
  if (bMatrix)
  {
    const double matrix[] = {dMatrix, 0, 0, 0.001, 0, 0};
    font.GetTop().SetValues(CTypes::eFontMatrix, matrix);
  }
  return Write(font);
}

bool Read(CFF::CCFF& font, const CBytes& data)
{
  return font.Read(ToArray(data), "test");
}

}  // namespace

TEST(CFFTest, AccentsAreKeptAndReplaced)
{
  CFF::CCFF font;
  ASSERT_TRUE(Read(font, MakeAccentedFont()));
  FONT::CGlyph expected;
  ASSERT_TRUE(font.GetGlyph(4, expected));
  EXPECT_EQ(expected.m_segments.GetSize(), 6);
  EXPECT_EQ(expected.m_dWidth, 7);
  EXPECT_EQ(font.GetEncodedGlyph('x'), 2);
  CUsed used;
  used.SetSize(5);
  used[4] = 1;
  ASSERT_TRUE(font.CloseGlyphs(used));
  EXPECT_EQ(used[1], 0);
  EXPECT_TRUE(used[0] != 0 && used[2] != 0 && used[3] != 0);
  EXPECT_FALSE(font.Subset(used, CFF::eUsedByCID | CFF::eUsedBySymbols));
  ASSERT_TRUE(font.Subset(used, CFF::eUsedByCID));
  CFF::CCFF byCID;
  ASSERT_TRUE(Read(byCID, Write(font)) && byCID.IsCIDKeyed());
  EXPECT_EQ(byCID.GetCID(3), 4);
  EXPECT_EQ(byCID.FindGlyphByCID(4), 3);
  const auto ros = byCID.GetTop().GetValues(CTypes::eROS);
  EXPECT_TRUE(ros.size() == 3 && ros[0] >= FONT::g_nStandardStrings && ros[1] > ros[0] && ros[2] == 0);
  FONT::CGlyph glyph;
  ASSERT_TRUE(byCID.GetGlyph(3, glyph));
  ASSERT_EQ(glyph.m_segments.GetSize(), expected.m_segments.GetSize());
  EXPECT_EQ(glyph.m_dWidth, 7);
  for (int i = 0; i < glyph.m_segments.GetSize(); ++i)
    EXPECT_TRUE(glyph.m_segments[i].GetX() == expected.m_segments[i].GetX() &&
                glyph.m_segments[i].GetY() == expected.m_segments[i].GetY());
}

TEST(CFFTest, MergeRules)
{
  for (const auto& [dMatrix, nResult] : {std::pair(0.001001, 2), std::pair(0.0011, 0)})
  {
    CFF::CCFF font;
    CFF::CCFF other;
    ASSERT_TRUE(Read(font, MakeAccentedFont()) && Read(other, MakeAccentedFont(true, dMatrix)));
    EXPECT_NEAR(other.GetTop().GetValues(CTypes::eFontMatrix)[0], dMatrix, 1e-12);
    EXPECT_EQ(font.Merge(other, CFF::eUsedByName), nResult);
  }
  CFF::CCFF empty;
  MakeFont(empty, {{".notdef", MakeCharString({g_nEnd})}, {"A", MakeCharString({g_nEnd})}});
  CFF::CCFF accented;
  ASSERT_TRUE(Read(accented, MakeAccentedFont()));
  EXPECT_EQ(accented.Merge(empty, CFF::eUsedByName), 2);
  CUsed used;
  used.SetSize(2);
  CUsed othersUsed;
  othersUsed.SetSize(5);
  othersUsed[1] = 1;
  EXPECT_EQ(empty.Merge(accented, CFF::eUsedByName, &used, &othersUsed), 1);
  EXPECT_EQ(empty.GetGlyphCount(), 5);
  EXPECT_TRUE(used[1] == 0 && used[empty.FindGlyph(FONT::MakeName("B"))] == 1);
  EXPECT_EQ(empty.GetCharString(1).size(), MakeTriangle(20).size());
  EXPECT_EQ(empty.GetEncodedGlyph('x'), 1);

  // Another glyph of the same name, and another glyph for the same code.
  CFF::CCFF different;
  MakeFont(different, {{".notdef", MakeCharString({g_nEnd})}, {"B", MakeTriangle(11)}});
  EXPECT_EQ(accented.Merge(different, CFF::eUsedByName), 0);
  CFF::CCFF code;
  MakeFont(code, {{".notdef", MakeCharString({g_nEnd})}, {"B", MakeTriangle(10)}});
  code.SetEncodedGlyph('x', 1);
  EXPECT_EQ(accented.Merge(code, CFF::eUsedByName | CFF::eNeedsEncoding), 0);
  EXPECT_EQ(accented.Merge(code, CFF::eUsedByName), 2);
}

TEST(CFFTest, DuplicatesGetNamesAndCodes)
{
  CFF::CCFF font;
  ASSERT_TRUE(Read(font, MakeAccentedFont()));
  EXPECT_EQ(font.DuplicateGlyph(2, 'y', nullptr), 5);
  EXPECT_EQ(font.DuplicateGlyph(2, 256, nullptr), 6);
  EXPECT_EQ(font.DuplicateGlyph(2, 'z', "A"), -1);
  EXPECT_EQ(GetText(font.GetGlyphName(6)), "g2.dup1");
  CFF::CCFF again;
  ASSERT_TRUE(Read(again, Write(font)));
  EXPECT_EQ(again.GetEncodedGlyph('y'), 5);
  EXPECT_EQ(again.GetEncodedGlyph('x'), 2);
  EXPECT_EQ(GetText(again.GetGlyphName(5)), "g2.dup0");
}

// Any mapping of codes comes back, whatever form it takes.
TEST(CFFTest, EncodingsComeBack)
{
  for (unsigned nSeed = 1; nSeed < 200; ++nSeed)
  {
    CFF::CCFF font;
    MakeFont(font, {{".notdef", MakeCharString({g_nEnd})}});
    const unsigned nGlyphs = nSeed % 3 == 0 ? 300 : 20;
    for (unsigned i = 0; i < nGlyphs; ++i)
      font.AddGlyph(FONT::MakeName(("n" + std::to_string(i)).c_str()), MakeTriangle(10));
    unsigned nState = nSeed;
    for (int nCode = 0; nCode < 256; ++nCode)
      if ((nState = nState * 1103515245 + 12345) >> 28 < nSeed % 16)
        font.SetEncodedGlyph(
            nCode, static_cast<int>((nSeed % 2 != 0 ? nState >> 16 : 1U + unsigned(nCode)) % nGlyphs));
    CFF::CCFF again;
    ASSERT_TRUE(Read(again, Write(font)));
    for (int nCode = 0; nCode < 256; ++nCode)
      ASSERT_EQ(again.GetEncodedGlyph(nCode), font.GetEncodedGlyph(nCode)) << nSeed << " " << nCode;
  }
}

// Each subroutine calls the next one twice.
TEST(CFFTest, BombsOfSubroutinesEnd)
{
  CFF::CCFF font;
  MakeFont(font, {{".notdef", MakeCharString({g_nEnd})}});
  std::vector<CBytes> subrs;
  for (int i = 0; i < 31; ++i)
    subrs.push_back(
        MakeCharString({i + 1 - 107, 1000 + CTypes::eCallSubr, i + 1 - 107, 1000 + CTypes::eCallSubr}));
  subrs.back() = MakeCharString({1000 + CTypes::eReturn});
  for (const CBytes& subr : subrs)
    font.GetFontDict(0).m_subrs.Add(subr);
  const CBytes bomb = MakeCharString({-107, 1000 + CTypes::eCallSubr, g_nEnd});
  for (int i = 0; i < 1000; ++i)
    font.AddGlyph(FONT::MakeName(("n" + std::to_string(i)).c_str()), bomb);
  CFF::CCFF again;
  ASSERT_TRUE(Read(again, Write(font)));
  FONT::CGlyph glyph;
  for (int i = 1; i <= 1000; ++i)
    EXPECT_FALSE(again.GetGlyph(i, glyph));
  EXPECT_FALSE(again.DropUnusedSubrs());
  CUsed used;
  used.SetSize(1001);
  used[5] = 1;
  EXPECT_FALSE(again.CloseGlyphs(used));
}

TEST(CFFTest, CutFilesEndWithAReport)
{
  CFF::CCFF byCID;
  ASSERT_TRUE(Read(byCID, MakeAccentedFont()) && byCID.MakeCIDKeyed(CUsed()));
  for (const CBytes& file : {MakeAccentedFont(), Write(byCID)})
    for (std::size_t nLength = 0; nLength < file.size(); ++nLength)
    {
      BSE::CErrorHandler handler;
      CFF::CCFF font(&handler);
      const bool bRead =
          Read(font, CBytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(nLength)));
      EXPECT_TRUE(bRead || handler.GetEndCode() == FONT::g_nFontUnreadable) << nLength;
    }
}

TEST(CFFTest, NumbersOfDictionaries)
{
  CFF::CDictionary dict;
  const double values[] = {0.00048828125, -0.5,        1e-12, 123456.789, 1131,    -1132,
                           32768,         -2147483647, 0.001, 1e10,       0.039625};
  for (const double dValue : values)
  {
    dict.SetNumber(CTypes::eItalicAngle, dValue);
    BSE::CBasicArray<unsigned char> bytes;
    ASSERT_TRUE(dict.Write(bytes));
    FONT::CFontLog log("CFF", nullptr, nullptr);
    CFF::CDictionary again;
    ASSERT_TRUE(again.Parse(bytes.GetSpan(), log));
    EXPECT_EQ(again.GetNumber(CTypes::eItalicAngle), dValue);
  }
  const double edges[] = {-15, 0, 500.5, 510};
  dict.SetArray(CTypes::eBlueValues, edges);
  EXPECT_EQ(dict.GetValues(CTypes::eBlueValues)[1], 15);
  BSE::CBasicArray<double> found;
  dict.GetArray(CTypes::eBlueValues, found);
  EXPECT_TRUE(std::equal(found.GetData(), found.GetData() + found.GetSize(), edges));
}

}  // namespace Fonts
