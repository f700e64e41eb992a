// Font dictionaries: what content and the passes ask of them.

#include "base/MemoryStream.h"
#include "fonts/pdf/FontProgramTrueType.h"
#include "tests/fonts/pdf/FontDocument.h"
#include "tests/support/TempFolder.h"

#include <filesystem>

namespace
{

using Fonts::GetText;

std::string Number(int nNumber)
{
  return std::to_string(nNumber) + " 0 R";
}

TEST(SimpleFonts, HaveWidthsFromWhereTheyAre)
{
  Support::CPdfBuilder builder;
  const int nOwn = builder.AddObject(
      "<</Type/Font/Subtype/Type1/BaseFont/Odd/FirstChar 254/Widths[500 600.5 "
      "700]/FontDescriptor<</MissingWidth 250"
      "/Flags 32>>/Encoding/WinAnsiEncoding>>");
  const int nStandard = builder.AddObject("<</Type/Font/Subtype/TrueType/BaseFont/Arial,Bold>>");
  const int nSymbol =
      builder.AddObject("<</Type/Font/Subtype/Type1/BaseFont/Symbol/Encoding<</Differences[1/alpha]>>>>");
  const int nType3 = builder.AddObject(
      "<</Type/Font/Subtype/Type3/FontMatrix[.01 0 0 .01 0 0]/FirstChar -1/LastChar 1/Widths[1 2 3 "
      "4]/CharProcs<</a 4 0 "
      "R>>"
      "/Encoding<</Differences[1/a]>>>>");
  const int nCopy = builder.AddObject("<</BaseFont/Arial,Bold/Subtype/TrueType/Name/F9/Type/Font>>");
  const int nNone = builder.AddObject("<</Type/Font/Subtype/Type7>>");
  Fonts::CFontDocument document(builder.Build());
  const auto pOwn = document.GetFont(nOwn);
  EXPECT_EQ(pOwn->GetWidths().size(), 256U);
  EXPECT_EQ(pOwn->GetWidth(253), 250);
  EXPECT_EQ(pOwn->GetWidth(255), 600.5);
  EXPECT_FALSE(pOwn->IsSymbolic());
  const auto pStandard = document.GetFont(nStandard);
  EXPECT_EQ(pStandard->GetWidth('W'), 944);
  EXPECT_EQ(pStandard->GetSpaceWidth(), 278);
  EXPECT_FALSE(pStandard->IsSymbolic());
  const auto pSymbol = document.GetFont(nSymbol);
  EXPECT_TRUE(pSymbol->IsSymbolic());
  EXPECT_EQ(pSymbol->GetWidth(1), 631);
  EXPECT_EQ(pSymbol->GetWidth('a'), 631);
  EXPECT_EQ(GetText(*pSymbol->GetToUnicode(), 'b'), u"\u03B2");
  const auto pType3 = document.GetFont(nType3);
  EXPECT_EQ(pType3->GetGlyphSpaceFactor(), 0.01);
  EXPECT_EQ(pType3->GetWidth(1), 3);
  EXPECT_EQ(pType3->GetWidth(2), 0);
  EXPECT_EQ(pType3->GetCharProc(1).GetObjNumber(), 4);
  EXPECT_EQ(document.GetFont(nCopy), pStandard) << "the same but for its name as a resource";
  EXPECT_FALSE(document.GetFont(nNone));
  EXPECT_EQ(document.GetFonts().GetFontCount(), 4);
}

TEST(SimpleFonts, GuessTextFromNames)
{
  Support::CPdfBuilder builder;
  const int nMap = builder.AddStream("1 beginbfchar <01> <0058> endbfchar");
  const std::string sFont = "<</Type/Font/Subtype/Type1/BaseFont/F/Encoding<</Differences";
  const int nDecimal =
      builder.AddObject(sFont + "[1/G065/G066/A/.notdef]>>/ToUnicode " + Number(nMap) + ">>");
  const int nHex = builder.AddObject(sFont + "[1/c041/c04A]>>>>");
  const int nMixed = builder.AddObject(sFont + "[1/G65/G066]>>>>");
  Fonts::CFontDocument document(builder.Build());
  const std::pair<int, std::u16string> aFonts[] = {{nDecimal, u"XBA"}, {nHex, u"AJ"}, {nMixed, u""}};
  for (const auto& [nFont, sText] : aFonts)
  {
    std::u16string sRead;
    for (unsigned i = 1; i <= 4; ++i)
      sRead += GetText(*document.GetFont(nFont)->GetToUnicode(), i);
    EXPECT_EQ(sRead, sText);
  }
}

TEST(CompositeFonts, HaveMetricsByCID)
{
  Support::CPdfBuilder builder;
  const int nDescendant = builder.AddObject(
      "<</Type/Font/Subtype/CIDFontType2/BaseFont/D/DW 900/W[1[100 200] 5 7 300 6[400] (x) 70000 70001 5 8 "
      "65540 10]"
      "/DW2[800 -900]/W2[1 2 -500 50 600 9[-1 2 3 -4 5 6]]/FontDescriptor<</Flags 4>>>>");
  const int nFont =
      builder.AddObject("<</Type/Font/Subtype/Type0/BaseFont/D/Encoding/Identity-V/DescendantFonts[" +
                        Number(nDescendant) + "]>>");
  const int nUnknown = builder.AddObject("<</Type/Font/Subtype/Type0/Encoding/No-V/DescendantFonts[" +
                                         Number(nDescendant) + "]>>");
  const int nEmpty = builder.AddObject("<</Type/Font/Subtype/Type0/Encoding/Identity-H/DescendantFonts[]>>");
  Fonts::CFontDocument document(builder.Build());
  const auto pFont = document.GetFont(nFont);
  EXPECT_TRUE(pFont->IsComposite() && pFont->IsVertical() && pFont->IsSymbolic());
  const std::pair<int, double> aWidths[] = {{0, 900}, {1, 100}, {2, 200}, {3, 900},    {5, 300},
                                            {6, 300}, {7, 300}, {8, 10},  {65535, 10}, {65536, 900}};
  for (const auto& [nCID, dWidth] : aWidths)
    EXPECT_EQ(pFont->GetWidth(nCID), dWidth) << nCID;
  pFont->SetWidth(6, 1);
  EXPECT_EQ(pFont->GetWidth(6), 1);
  EXPECT_EQ(pFont->GetVerticalWidth(2), -500);
  EXPECT_EQ(pFont->GetVerticalWidth(10), -4);
  EXPECT_EQ(pFont->GetVerticalMetrics(1).m_dY, 600);
  const PDF::TVerticalMetrics metrics = pFont->GetVerticalMetrics(3);
  EXPECT_EQ(metrics.m_dX, 450);
  EXPECT_EQ(metrics.m_dY, 800);
  EXPECT_EQ(metrics.m_dMove, -900);
  pFont->ResetWidths();
  pFont->SetWidth(1, 5);
  EXPECT_EQ(pFont->GetVerticalWidth(1), -500) << "read without a width before";
  EXPECT_FALSE(pFont->AreAllGlyphsUsed());
  EXPECT_TRUE(document.GetFont(nUnknown)->AreAllGlyphsUsed());
  EXPECT_FALSE(document.GetFont(nEmpty));
  EXPECT_TRUE(pFont->GrowUsedChars(65536));
  EXPECT_FALSE(pFont->GrowUsedChars(65537));
}

// The class goes by the program; glyphs of codes are those that the program has for them.
TEST(EmbeddedFonts, LeadToGlyphs)
{
  const std::filesystem::path path = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
  if (!std::filesystem::exists(path))
    GTEST_SKIP() << "needs " << path;
  Support::CPdfBuilder builder;
  const int nFile = builder.AddFlateStream(Support::ReadFile(path));
  const int nDescriptor =
      builder.AddObject("<</Type/FontDescriptor/Flags 32/FontFile " + Number(nFile) + ">>");
  const std::string sSimple = "<</Type/Font/Subtype/Type1/BaseFont/D/FontDescriptor " + Number(nDescriptor);
  const int nSimple =
      builder.AddObject(sSimple + "/Encoding<</BaseEncoding/WinAnsiEncoding/Differences[1/Omega/f_f]>>>>");
  const int nGids = builder.AddStream(std::string("\0\0\0\5\1\0", 6));
  const int nDescendant = builder.AddObject("<</Subtype/CIDFontType0/CIDToGIDMap " + Number(nGids) +
                                            "/FontDescriptor " + Number(nDescriptor) + ">>");
  const int nComposite = builder.AddObject("<</Subtype/Type0/Encoding/Identity-H/DescendantFonts[" +
                                           Number(nDescendant) + "]>>");
  Fonts::CFontDocument document(builder.Build());
  const auto pSimple = document.GetFont(nSimple);
  ASSERT_EQ(pSimple->GetKind(), PDF::eFontTrueType);
  auto* pProgram = dynamic_cast<PDF::CFontProgramTrueType*>(pSimple->GetProgram());
  ASSERT_TRUE(pProgram);
  BSE::CBasicArray<std::uint16_t> map;
  pSimple->GetCodeToGlyphMap(map);
  EXPECT_EQ(map['A'], pProgram->GetMappedGlyph(3, 1, 'A'));
  EXPECT_EQ(map[0x80], pProgram->GetMappedGlyph(3, 1, 0x20AC));
  EXPECT_EQ(map[1], pProgram->GetMappedGlyph(3, 1, 0x2126));
  EXPECT_STREQ(pProgram->GetGlyphName(map['A']), "A");
  EXPECT_EQ(pSimple->GetWidth('A'), pProgram->GetWidth(map['A']));
  pSimple->GetUsedChars()['A'] = 1;
  pSimple->MarkUsedGlyphs(*pProgram);
  EXPECT_EQ(pProgram->GetUsedGlyphs()[map['A']], 1);
  ASSERT_TRUE(pProgram->CanSubset() && pProgram->Subset(PDF::g_nUsedNonSymbolic));
  PDF::CFontFile* pFile = pSimple->GetFontFile();
  ASSERT_TRUE(pFile->WriteProgram(*pProgram, false, PDF::g_nUsedNonSymbolic, "FlateDecode",
                                  document.GetObject(nFile)));
  EXPECT_GT(document.GetObject(nFile)["Length1"].GetIntegerValue(), 1000);
  const std::string sName = pSimple->MakeSubsetName("ABCDEF+D").GetText();
  EXPECT_EQ(sName.substr(6), "+D");
  EXPECT_NE(sName, "ABCDEF+D");
  const auto pComposite = document.GetFont(nComposite);
  ASSERT_EQ(pComposite->GetKind(), PDF::eFontTrueType);
  pComposite->GrowUsedChars(4);
  pComposite->GetCodeToGlyphMap(map);
  EXPECT_EQ(map[1], 5);
  EXPECT_EQ(map[2], 256);
  EXPECT_EQ(map[3], 3);  // beyond the end of the map
  EXPECT_TRUE(document.GetReports().empty());
}

// In the code page of the Macintosh there are more names than in MacRomanEncoding; formats that are not read
// may lead to any glyph.
TEST(EmbeddedFonts, KeepGlyphsOfOddTables)
{
  const std::filesystem::path path = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
  if (!std::filesystem::exists(path))
    GTEST_SKIP() << "needs " << path;
  const std::string sFont = Support::ReadFile(path);
  const auto Read32 = [&](std::size_t nAt)
  { return BSE::LoadBigEndian<std::uint32_t>(reinterpret_cast<const unsigned char*>(sFont.data()) + nAt); };
  const std::size_t nCMap = Read32(sFont.find("cmap") + 8);
  const std::size_t nMac = sFont.find(std::string("\0\1\0\0", 4), nCMap + 4);
  for (const char nFormat : {'\6', '\12'})
  {
    std::string sOdd = sFont;
    for (std::size_t i = 0; i < static_cast<unsigned char>(sFont[nCMap + 3]); ++i)
      sOdd.replace(nCMap + 4 + 8 * i, 8, sFont, nMac, 8);
    sOdd[Read32(sFont.find("post") + 8) + 1] = 3;  // without names
    ASSERT_EQ(sOdd[nCMap + Read32(nMac + 4) + 1], 6);
    sOdd[nCMap + Read32(nMac + 4) + 1] = nFormat;
    Support::CPdfBuilder builder;
    const int nFont =
        builder.AddObject("<</Type/Font/Subtype/TrueType/FontDescriptor<</Flags 32/FontFile2 " +
                          Number(builder.AddFlateStream(sOdd)) + ">>/Encoding<</Differences[1/notequal]>>>>");
    Fonts::CFontDocument document(builder.Build());
    const auto pFont = document.GetFont(nFont);
    PDF::CFontProgram* pProgram = pFont->GetProgram();
    ASSERT_TRUE(pProgram);
    pFont->GetUsedChars()[1] = 1;
    pFont->MarkUsedGlyphs(*pProgram);
    const std::span<unsigned char> used = pProgram->GetUsedGlyphs();
    const int nGlyph = pProgram->GetGlyphIndexByCode(173);
    EXPECT_EQ(nGlyph > 0, nFormat == 6);
    EXPECT_EQ(used[static_cast<std::size_t>(nGlyph)], 1);
    EXPECT_EQ(std::count(used.begin(), used.end(), 0) == 0, nFormat != 6);
  }
}

TEST(EmbeddedFonts, GoByStandardNamesWithoutCodes)
{
  const std::filesystem::path path = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
  if (!std::filesystem::exists(path))
    GTEST_SKIP() << "needs " << path;
  std::string sFont = Support::ReadFile(path);
  sFont.replace(sFont.find("cmap"), 4, "none");
  Support::CPdfBuilder builder;
  const int nFont = builder.AddObject("<</Type/Font/Subtype/TrueType/FontDescriptor<</Flags 4/FontFile2 " +
                                      Number(builder.AddFlateStream(sFont)) + ">>>>");
  Fonts::CFontDocument document(builder.Build());
  const auto pFont = document.GetFont(nFont);
  PDF::CFontProgram* pProgram = pFont->GetProgram();
  ASSERT_TRUE(pProgram);
  pFont->GetUsedChars()['E'] = 1;
  pFont->MarkUsedGlyphs(*pProgram);
  for (const int nGlyph : {pProgram->GetGlyphIndexByName("E"), int{'E'}})
    EXPECT_EQ(pProgram->GetUsedGlyphs()[static_cast<std::size_t>(nGlyph)], 1);
}

BSE::CScopedPtr<PDF::CFontProgram> ReadProgram(PDF::CFontProgram& program)
{
  const BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
  EXPECT_TRUE(program.Write(*pStream, 0, nullptr) && pStream->Rewind());
  return PDF::CFontProgram::Create(*pStream, "", true, nullptr);
}

BSE::CScopedPtr<PDF::CFontProgram> ReadProgram(const std::filesystem::path& path)
{
  const std::string sData = Support::ReadFile(path);
  BSE::CMemoryStream stream(sData.data(), static_cast<std::int64_t>(sData.size()));
  return PDF::CFontProgram::Create(stream, "", true, nullptr);
}

// What is shown for a code without a glyph must not become another one's glyph.
TEST(FontPrograms, MergeWhereNoCodeGetsAGlyph)
{
  const std::filesystem::path path = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
  if (!std::filesystem::exists(path))
    GTEST_SKIP() << "needs " << path;
  const auto pFirst = ReadProgram(path);
  const auto pSecond = ReadProgram(path);
  pSecond->NoteMissing(300, "nobody", 0x10FFFD);
  pSecond->NoteMissingCID(65000);
  EXPECT_EQ(pFirst->Merge(*pSecond, PDF::g_nUsedByCID), PDF::eIdentical);
  for (const char32_t nCharacter : {U'\0', U'H'})
  {
    const auto pThird = ReadProgram(path);
    pThird->NoteMissing(300, nCharacter == 0 ? "H" : nullptr, nCharacter);
    EXPECT_EQ(pFirst->Merge(*pThird, PDF::g_nUsedByCID), PDF::eNotMerged);
    EXPECT_EQ(pThird->Merge(*pFirst, PDF::g_nUsedByCID), PDF::eNotMerged);
  }
}

// From glyphs to other formats and back to the same names, codes and widths.
TEST(FontPrograms, AreConverted)
{
  const std::filesystem::path trueType = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
  if (!std::filesystem::exists(trueType))
    GTEST_SKIP() << "needs " << trueType;
  const auto pTrueType = ReadProgram(trueType);
  const auto pEncoding = PDF::CreatePredefinedEncoding("WinAnsiEncoding");
  const char* aNames[256];
  std::uint16_t aGlyphs[256];
  for (unsigned i = 0; i < 256; ++i)
  {
    aNames[i] = i == 'Q' ? nullptr : pEncoding->GetGlyphName(i);
    aGlyphs[i] = static_cast<std::uint16_t>(pTrueType->GetGlyphIndexByUnicode(pEncoding->GetUnicode32(i)));
  }
  const auto pMade = pTrueType->ToType1(aNames, aGlyphs);
  ASSERT_TRUE(pMade);
  auto pType1 = ReadProgram(*pMade);
  ASSERT_TRUE(pType1);
  EXPECT_EQ(pType1->GetKind(), PDF::eFontType1);
  EXPECT_STREQ(pType1->GetIntrinsicName('A'), "A");
  EXPECT_EQ(pType1->GetGlyphIndexByCode('Q'),
            pType1->GetGlyphIndexByName(("g" + std::to_string(aGlyphs['Q'])).c_str()));
  const auto pConverted = pType1->ToCFF();
  ASSERT_TRUE(pConverted);
  const auto pCFF = ReadProgram(*pConverted);
  ASSERT_TRUE(pCFF);
  EXPECT_EQ(pCFF->GetKind(), PDF::eFontType1C);
  for (unsigned i = 32; i < 256; ++i)
  {
    const double dWidth = pTrueType->GetWidth(aGlyphs[i]);
    EXPECT_NEAR(pType1->GetWidth(pType1->GetGlyphIndexByCode(i)), dWidth, 0.6) << i;
    EXPECT_NEAR(pCFF->GetWidth(pCFF->GetGlyphIndexByCode(i)), dWidth, 0.6) << i;
  }
  FONT::CGlyph before;
  FONT::CGlyph after;
  ASSERT_TRUE(pTrueType->GetOutline(aGlyphs['g'], before) &&
              pCFF->GetOutline(pCFF->GetGlyphIndexByCode('g'), after));
  ASSERT_EQ(before.m_segments.GetSize(), after.m_segments.GetSize());
  for (int i = 0; i < before.m_segments.GetSize(); ++i)
    EXPECT_NEAR(before.m_segments[i].GetX() * 1000 / pTrueType->GetUnitsPerEm(), after.m_segments[i].GetX(),
                0.6);
}

TEST(FontPrograms, GiveTheirOutlinesAlone)
{
  const std::filesystem::path path = "/usr/share/fonts/opentype/linux-libertine/LinLibertine_R.otf";
  if (!std::filesystem::exists(path))
    GTEST_SKIP() << "needs " << path;
  const auto pOpenType = ReadProgram(path);
  ASSERT_TRUE(pOpenType && pOpenType->IsOpenType());
  const int nGlyph = pOpenType->GetGlyphIndexByUnicode('A');
  ASSERT_STREQ(pOpenType->GetGlyphName(nGlyph), "A");
  pOpenType->GetUsedGlyphs()[static_cast<std::size_t>(nGlyph)] = 1;
  const auto pBare = pOpenType->ToBareCFF();
  ASSERT_TRUE(pBare && pBare->CanSubset() && pBare->MakeCIDKeyed());
  EXPECT_TRUE(pBare->Subset(PDF::g_nUsedByCID));
  EXPECT_EQ(pBare->GetGlyphCount(), 2);
  const std::uint16_t aCIDs[] = {0, 777, 5};
  EXPECT_FALSE(pBare->SetCIDs(aCIDs) || pBare->SetCIDs({aCIDs + 1, 2}));
  EXPECT_TRUE(pBare->SetCIDs({aCIDs, 2}));
  const auto pRead = ReadProgram(*pBare);
  EXPECT_EQ(pRead->GetWidth(pRead->GetGlyphIndexByCID(777)), pOpenType->GetWidth(nGlyph));
  // What is around the outlines takes others, too.
  ASSERT_TRUE(pOpenType->MakeCIDKeyed());
  EXPECT_TRUE(ReadProgram(*pOpenType)->IsCIDKeyed());
}

}  // namespace
