#include "base/ErrorHandler.h"
#include "fonts/common/StatusCodes.h"
#include "fonts/type1/CharStringGenerator.h"
#include "fonts/type1/Parser.h"
#include "tests/fonts/common/FontFiles.h"

#include <gtest/gtest.h>

namespace Fonts
{

namespace
{

CBytes Write(PFB::CPFB& font, bool bSegments = false)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
  return font.Write(*pStream, bSegments) ? TakeBytes(*pStream) : CBytes();
}

bool Read(PFB::CPFB& font, const CBytes& data)
{
  return font.Read(ToArray(data), "test");
}

std::string GetText(FONT::TName name)
{
  return {name.data(), name.size()};
}

FONT::CGlyph MakeTriangle(double dSize)
{
  FONT::CGlyph glyph;
  glyph.m_dWidth = 500;
  glyph.AddStem(false, 0, dSize);
  glyph.MoveBy(10, 0);
  glyph.LineBy(dSize, 0);
  glyph.LineBy(0, dSize);
  return glyph;
}

// Adieresis is made of two others.
void MakeFont(PFB::CPFB& font, const std::vector<const char*>& names = {"A", "dieresis", "B"}, int nLenIV = 4)
{
  font.SetText(PFB::eFontName, FONT::MakeName("Test"));
  font.SetText(PFB::eNotice, FONT::MakeName("(a) \\ 100% b\r"));
  const double matrix[] = {1 / 2048.0, 0, 0, 0.001, 0, 0};
  font.SetValues(PFB::eFontMatrix, matrix);
  if (nLenIV != 4)
    font.SetNumber(PFB::eLenIV, nLenIV);
  PFB::CType1Writer writer(font);
  writer.Add(FONT::MakeName(".notdef"), MakeTriangle(1));
  for (const char* szName : names)
    writer.Add(FONT::MakeName(szName), MakeTriangle(szName[0] + 0.25));
  writer.AddAccented(FONT::MakeName("Adieresis"), 600, 50.5, 60, 'A', 200);
  font.SetEncodedName('x', FONT::MakeName("A"));
}

// A program without any encryption.
CBytes MakeProgram(const std::string& sText)
{
  return {sText.begin(), sText.end()};
}

}  // namespace

TEST(PFBTest, FontsComeBack)
{
  for (const int nLenIV : {4, 0, -1, 7})
    for (const bool bSegments : {false, true})
    {
      PFB::CPFB made;
      MakeFont(made, {"A", "dieresis", "B"}, nLenIV);
      CBytes data = Write(made, bSegments);
      if (bSegments)
        data.insert(data.end(), 100, 0x80);  // after the end
      else
        EXPECT_EQ(made.GetLength1() + made.GetLength2() + made.GetLength3(),
                  static_cast<std::int64_t>(data.size()));
      PFB::CPFB font;
      ASSERT_TRUE(Read(font, data));
      ASSERT_EQ(font.GetGlyphCount(), 5);
      EXPECT_EQ(GetText(font.GetText(PFB::eNotice)), "(a) \\ 100% b\r");
      EXPECT_EQ(font.GetValues(PFB::eFontMatrix)[0], 1 / 2048.0);
      EXPECT_EQ(GetText(font.GetEncodedName('x')), "A");
      for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(std::ranges::equal(font.GetCharString(i), made.GetCharString(i)));
      FONT::CGlyph glyph;
      ASSERT_TRUE(font.GetGlyph(4, glyph));
      EXPECT_EQ(glyph.m_dWidth, 600);
      ASSERT_EQ(glyph.m_segments.GetSize(), 8);  // with a mask for each part
      EXPECT_EQ(glyph.m_segments[7].GetX(), 50.5 + 10 + 'd' + 0.25);
    }
}

// The encrypted part as digits, without .notdef, with names that repeat.
TEST(PFBTest, OtherForms)
{
  PFB::CPFB made;
  MakeFont(made);
  CBytes data = Write(made);
  CBytes digits(data.begin(), data.begin() + made.GetLength1());
  for (std::int64_t i = 0; i < made.GetLength2(); ++i)
  {
    char szDigits[4];
    std::snprintf(szDigits, sizeof szDigits, i % 32 == 31 ? "%02x\n" : "%02X",
                  data[static_cast<std::size_t>(made.GetLength1() + i)]);
    digits.insert(digits.end(), szDigits, szDigits + std::strlen(szDigits));
  }
  PFB::CPFB font;
  ASSERT_TRUE(Read(font, digits));
  EXPECT_EQ(font.GetGlyphCount(), 5);

  PFB::CPFB plain;
  ASSERT_TRUE(
      Read(plain, MakeProgram("/FontName /X def /Encoding StandardEncoding def /lenIV -1 def /CharStrings 3 "
                              "dict dup begin /A 1 RD \x0E ND /A 1 -| \x0D |- /B 2 RD \x0E\x0E ND end")));
  ASSERT_EQ(plain.GetGlyphCount(), 4);
  EXPECT_EQ(GetText(plain.GetGlyphName(0)), ".notdef");
  EXPECT_EQ(plain.FindGlyph(FONT::MakeName("A")), 1);
  EXPECT_EQ(GetText(plain.GetEncodedName('B')), "B");
  PFB::CPFB again;
  ASSERT_TRUE(Read(again, Write(plain)));
  EXPECT_EQ(GetText(again.GetGlyphName(2)), "A_2");
  EXPECT_TRUE(again.HasStandardEncoding());
}

TEST(PFBTest, PointsMayBeSetOutsideOfAFlex)
{
  // 0 100 hsbw 10 20 setcurrentpoint 1 1 rlineto endchar
  static constexpr unsigned char glyph[] = {139, 239, 13, 149, 159, 12, 33, 140, 140, 5, 14};
  FONT::CGlyph drawn;
  ASSERT_TRUE(PFB::CType1Recorder({}, drawn).Parse(glyph));
  ASSERT_EQ(drawn.m_segments.GetSize(), 2);
  EXPECT_EQ(drawn.m_segments[1].GetX(), 11);
  EXPECT_EQ(drawn.m_segments[1].GetY(), 21);
}

TEST(PFBTest, SubsetAndMergeRules)
{
  PFB::CPFB font;
  MakeFont(font);
  CUsed used;
  used.SetSize(5);
  used[4] = 1;
  ASSERT_TRUE(font.CloseGlyphs(used));
  EXPECT_TRUE(used[1] != 0 && used[2] != 0 && used[3] == 0);
  ASSERT_TRUE(font.Subset(used));
  EXPECT_EQ(font.GetGlyphCount(), 4);
  EXPECT_FALSE(font.Subset(used));

  PFB::CPFB whole;
  MakeFont(whole);
  EXPECT_EQ(whole.Merge(font, true), 2);
  EXPECT_EQ(font.Merge(whole, true), 1);
  EXPECT_EQ(font.FindGlyph(FONT::MakeName("B")), 4);
  PFB::CPFB code;
  MakeFont(code);
  code.SetEncodedName('x', FONT::MakeName("B"));
  EXPECT_EQ(whole.Merge(code, true), 0);
  EXPECT_EQ(whole.Merge(code, false), 2);

  // Nothing in common, and something different.
  PFB::CPFB first;
  PFB::CPFB second;
  for (PFB::CPFB* pFont : {&first, &second})
  {
    PFB::CType1Writer writer(*pFont);
    writer.Add(FONT::MakeName(pFont == &first ? "a" : "b"), MakeTriangle(20));
  }
  EXPECT_EQ(first.Merge(second, false), 0);
  second.AddGlyph(FONT::MakeName("a"), second.GetCharString(0));
  EXPECT_EQ(first.Merge(second, false), 1);
  PFB::CType1Writer(second).Add(FONT::MakeName("c"), MakeTriangle(20));
  EXPECT_EQ(first.Merge(second, false), 0);  // it has more subroutines
}

// Programs that run for ever, grow for ever, or nest.
TEST(PFBTest, BombsOfPostScriptEnd)
{
  std::string sNested = "/lenIV -1 def /CharStrings 1 dict dup begin /a 1 RD x ND end ";
  for (int i = 0; i < 2000; ++i)
    sNested += '{';
  for (const std::string& sText :
       {std::string("0 1 1e9 {0 1 1e9 {pop 65535 array pop} for} for"), std::string("/f {f f} def f"),
        sNested, std::string("0 1 1e9 {1 dict begin /a 1 def} for"),
        std::string("0 1 1e9 {65535 array dup 65534 0 put} for"),
        std::string("0 0 1 {} for 1 -1 0 {dup} for"), std::string("{} dup 0 2 index put exec")})
  {
    BSE::CErrorHandler handler;
    PFB::CPFB font(&handler);
    EXPECT_TRUE(Read(font, MakeProgram(sText)) || handler.GetEndCode() == FONT::g_nFontUnreadable);
  }
}

TEST(PFBTest, CutFilesEndWithAReport)
{
  PFB::CPFB made;
  MakeFont(made);
  const CBytes file = Write(made, true);
  for (std::size_t nLength = 0; nLength < file.size(); ++nLength)
  {
    BSE::CErrorHandler handler;
    PFB::CPFB font(&handler);
    const bool bRead = Read(font, CBytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(nLength)));
    EXPECT_TRUE(bRead || handler.GetEndCode() == FONT::g_nFontUnreadable) << nLength;
  }
}

}  // namespace Fonts
