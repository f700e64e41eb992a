// Tables of names, encodings and standard fonts, at the places where a slip would go unseen.

#include "fonts/pdf/Encoding.h"
#include "fonts/pdf/StandardFonts.h"
#include "pdf/ArrayObject.h"
#include "pdf/SimpleObjects.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

std::u16string GetText(const char* szName)
{
  char16_t units[8];
  const int nUnits = PDF::GetGlyphText(szName, units, 8);
  return {units, static_cast<std::size_t>(nUnits)};
}

TEST(GlyphNames, SayTheirText)
{
  EXPECT_EQ(GetText("A"), u"A");
  EXPECT_EQ(GetText("zukatakana"), u"\u30BA");
  EXPECT_EQ(GetText("a9"), u"\u2720");
  EXPECT_EQ(GetText("dalethatafpatah"), u"\u05D3\u05B2");
  EXPECT_EQ(GetText("f_uni00660069_u1F600.alt_x"), u"ffi\U0001F600");
  // What follows the digits, lower case, surrogates, and names that only begin so say nothing.
  for (const char* szName :
       {"uni00e9", "uni004", "uniD800", "u110000", "u12", "unity", ".notdef", "A9", "", "_"})
    EXPECT_EQ(GetText(szName), u"") << szName;
  EXPECT_EQ(PDF::GetGlyphText("uni004100420043", nullptr, 0), 3);
  EXPECT_STREQ(PDF::FindCharacterName(0x20AC), "Euro");
  EXPECT_STREQ(PDF::FindCharacterName(0x2C6), "circumflex");
  EXPECT_EQ(PDF::FindCharacterName(0x378), nullptr);
  for (int i = 0; i < 4000; ++i)
    ASSERT_EQ(PDF::FindGlyphName(PDF::GetGlyphName(i)), i);
}

TEST(Encodings, HaveTheirNamesInPlace)
{
  struct
  {
    const char* m_szEncoding;
    unsigned m_nCode;
    const char* m_szName;
  } const aPlaces[] = {
      {"StandardEncoding", 0x27, "quoteright"}, {"StandardEncoding", 0xFB, "germandbls"},
      {"StandardEncoding", 0xD0, "emdash"},     {"StandardEncoding", 0x7F, nullptr},
      {"WinAnsiEncoding", 0x27, "quotesingle"}, {"WinAnsiEncoding", 0x80, "Euro"},
      {"WinAnsiEncoding", 0x81, "bullet"},      {"WinAnsiEncoding", 0xA0, "space"},
      {"WinAnsiEncoding", 0xAD, "hyphen"},      {"WinAnsiEncoding", 0xB5, "mu"},
      {"WinAnsiEncoding", 0x1F, nullptr},       {"MacRomanEncoding", 0x80, "Adieresis"},
      {"MacRomanEncoding", 0xCA, "space"},      {"MacRomanEncoding", 0xDB, "currency"},
      {"MacRomanEncoding", 0xAD, nullptr},      {"MacRomanEncoding", 0xFF, "caron"},
      {"MacExpertEncoding", 0x57, "fi"},        {"MacExpertEncoding", 0xAE, "Caronsmall"},
      {"MacExpertEncoding", 0xFB, "Ringsmall"}, {"MacExpertEncoding", 0xE1, "ninesuperior"},
      {"SymbolEncoding", 0x61, "alpha"},        {"SymbolEncoding", 0xA0, "Euro"},
      {"ZapfDingbatsEncoding", 0x21, "a1"},     {"ZapfDingbatsEncoding", 0xFE, "a191"},
      {"PDFDocEncoding", 0x18, "breve"},        {"PDFDocEncoding", 0x9E, "zcaron"},
      {"PDFDocEncoding", 0xA0, "Euro"},         {"PDFDocEncoding", 0xAD, nullptr},
  };
  for (const auto& place : aPlaces)
  {
    const auto pEncoding = PDF::CreatePredefinedEncoding(place.m_szEncoding);
    ASSERT_TRUE(pEncoding);
    EXPECT_STREQ(pEncoding->GetGlyphName(place.m_nCode), place.m_szName)
        << place.m_szEncoding << place.m_nCode;
  }
  EXPECT_FALSE(PDF::CreatePredefinedEncoding("WinAnsi"));
}

TEST(Encodings, TakeDifferences)
{
  const PDF::CObjectPtr differences(new PDF::CArrayObject);
  const std::string sLong(3000, 'x');
  for (const char* szName : {"first", "B"})
  {
    differences.Add(new PDF::CIntegerObject(szName[0] == 'B' ? 66 : 0));
    differences.Add(new PDF::CNameObject(szName));
  }
  differences.Add(new PDF::CNameObject("beta"));
  for (const int nCode : {255, -1})
  {
    differences.Add(new PDF::CIntegerObject(nCode));
    differences.Add(new PDF::CNameObject(sLong.c_str()));
    differences.Add(new PDF::CNameObject("beyond"));
  }
  const auto pBase = PDF::CreatePredefinedEncoding("WinAnsiEncoding");
  const BSE::CObjectPtr<PDF::CDifferences> pDifferences(new PDF::CDifferences(differences));
  const BSE::CObjectPtr<PDF::CDifferenceEncoding> pEncoding(
      new PDF::CDifferenceEncoding(pBase, pDifferences));
  EXPECT_STREQ(pEncoding->GetGlyphName(0), "first");
  EXPECT_STREQ(pEncoding->GetGlyphName(65), "A");
  EXPECT_STREQ(pEncoding->GetGlyphName(67), "beta");
  EXPECT_EQ(pEncoding->GetGlyphName(255), sLong);
  EXPECT_TRUE(pEncoding->IsCovered(66) && !pEncoding->IsCovered(65) && !pEncoding->IsCovered(1));
  EXPECT_EQ(pEncoding->GetUnicode32(67), 0x3B2U);
  EXPECT_EQ(pEncoding->GetCode(0x3B2), 67);
  EXPECT_FALSE(pEncoding->HasSameNames(*pBase));
}

TEST(StandardFonts, AreFoundByTheirNames)
{
  const PDF::TStandardFont* pFont = PDF::FindStandardFont("ABCDEF+Times New Roman,Bold");
  ASSERT_TRUE(pFont);
  EXPECT_STREQ(pFont->m_szName, "Times-Bold");
  EXPECT_EQ(pFont->GetWidth("W"), 1000);
  EXPECT_EQ(pFont->GetWidth("a1"), -1);
  EXPECT_EQ(PDF::FindStandardFont("ZapfDingbats")->GetWidth("a1"), 974);
  EXPECT_STREQ(PDF::FindStandardFont("SymbolMT")->m_szEncoding, "SymbolEncoding");
  EXPECT_EQ(PDF::FindStandardFont("Courier")->m_nMissingWidth, 600);
  for (const char* szName : {"ABCDE+Arial", "Arialx", "", "ABCDEF+",
                             "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA"})
    EXPECT_FALSE(PDF::FindStandardFont(szName)) << szName;
}

}  // namespace
