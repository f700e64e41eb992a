// Operators one by one: what is called for right operands, and what is reported for wrong ones and wrong
// places.

#include "content/StatusCodes.h"
#include "tests/content/RecordingParser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using Content::CSample;
using Content::TResult;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

std::string Log(const std::string& sContent)
{
  TResult result = CSample().Parse(sContent);
  EXPECT_TRUE(result.m_bParsed) << sContent;
  EXPECT_THAT(result.m_codes, IsEmpty()) << sContent;
  return result.m_log;
}

std::multiset<unsigned> Codes(const std::string& sContent)
{
  return CSample().Parse(sContent).m_codes;
}

constexpr const char* g_resources =
    "/Font<</F 10 0 R>>/ExtGState<</G<</LW 3/LC 1/D[[2 1] 5]/CA .5/OP true>>>>/Pattern<</P<</PatternType 2>>"
    "/U<</PatternType 1/PaintType 2>>>>/ColorSpace<</S[/Separation/X/DeviceGray 9 0 "
    "R]/C[/Pattern/DeviceRGB]>>"
    "/Properties<</M<</MCID 1>>>>";

TResult Rich(const std::string& sContent)
{
  return CSample().SetResources(g_resources).Add(10, "<</Type/Font/Subtype/Type1>>").Parse(sContent);
}

TEST(ContentOperators, GraphicsState)
{
  EXPECT_EQ(Log("q 1 0 0 1 5 6 cm Q 2 w 1 J 2 j 4.5 M [3 1]2 d /Perceptual ri 50 i"),
            "q\n1 0 0 1 5 6 cm\nQ\n2 w\n1 J\n2 j\n4.5 M\n[3 1 ]2 d\n/Perceptual ri\n50 i\n");
  const TResult result = Rich("q 9 w Q /G gs");
  EXPECT_EQ(result.m_log, "q\n9 w\nQ\n/G gs\n3 w\n1 J\n[2 1 ]5 d\n");
  EXPECT_EQ(result.m_state.m_device.m_dStrokeAlpha, 0.5);
  EXPECT_TRUE(result.m_state.m_device.m_bFillOverprint);
}

TEST(ContentOperators, ValuesOutOfRange)
{
  EXPECT_THAT(Codes("3 J"), UnorderedElementsAre(PDF::g_nOperandRange));
  EXPECT_THAT(Codes("-1 j 8 Tr"), UnorderedElementsAre(PDF::g_nOperandRange, PDF::g_nOperandRange));
  const TResult result = CSample().Parse("150 i");
  EXPECT_THAT(result.m_codes, UnorderedElementsAre(PDF::g_nOperandRange));
  EXPECT_EQ(result.m_state.m_dFlatness, 100);
  std::string sDash = "[";
  for (int i = 0; i < 16; ++i)
    sDash += "1 ";
  EXPECT_EQ(CSample().Parse(sDash + "] 0 d").m_state.m_dashes.GetSpan().size(), 16U);
  EXPECT_THAT(Codes(sDash + "1 ] 0 d"), UnorderedElementsAre(PDF::g_nOperandRange));
}

TEST(ContentOperators, OperandsOfTheWrongKind)
{
  for (const char* sz : {"w", "/A w", "1 0 0 1 0 cm", "1 l", "1 2 3 c", "(a) Td", "1 0 rg", "Tf", "Tj", "BDC",
                         "q 1 2 3 re", "Do", "5 Tf", "sc"})
    EXPECT_EQ(Codes(sz).count(PDF::g_nOperandCount), 1U) << sz;
  for (const char* sz : {"1 Do", "(a) gs", "1 cs", "1 BMC", "[1] ri", "1 2 Tf", "(a) /M BDC"})
    EXPECT_EQ(Codes(sz).count(PDF::g_nOperandNoName), 1U) << sz;
  for (const char* sz : {"1 Tj", "/A '", "1 2 3 \""})
    EXPECT_EQ(Codes("BT " + std::string(sz) + " ET").count(PDF::g_nOperandNoString), 1U) << sz;
  for (const char* sz : {"(a) TJ", "1 0 d", "] TJ", "[(a)] 0 d"})
    EXPECT_EQ(Codes(sz).count(PDF::g_nOperandNoArray), 1U) << sz;
  EXPECT_THAT(Codes("/A 1 BDC EMC"),
              UnorderedElementsAre(PDF::g_nOperandNoDictionary, PDF::g_nOperandNoName));
  // What is too much is left, and what is dropped is a loss where that counts.
  EXPECT_EQ(Log("7 8 9 w 1 J"), "9 w\n1 J\n");
  EXPECT_THAT(CSample().Parse("w 2 w").m_losses, UnorderedElementsAre(PDF::g_nOperandCount));
}

TEST(ContentOperators, Paths)
{
  EXPECT_EQ(Log("1 2 m 3 4 l 5 6 7 8 v 9 1 2 3 y 1 2 3 4 5 6 c h 5 5 6 6 v S"),
            "1 2 m\n3 4 l\n3 4 5 6 7 8 c\n9 1 2 3 2 3 c\n1 2 3 4 5 6 c\nh\n1 2 5 5 6 6 c\nS\n");
  EXPECT_EQ(Log("0 0 1 1 re W n 0 0 1 1 re W* f*"), "0 0 1 1 re\nW\nn\n0 0 1 1 re\nevenodd W\nevenodd f\n");
  EXPECT_EQ(Log("0 0 m b 0 0 m b* 0 0 m s 0 0 m B 0 0 m B* 0 0 m F"),
            "0 0 m\nh\nB\n0 0 m\nh\nevenodd B\n0 0 m\nh\nS\n0 0 m\nB\n0 0 m\nevenodd B\n0 0 m\nf\n");
}

TEST(ContentOperators, Colors)
{
  EXPECT_EQ(Log("1 g 0 0 1 RG 1 2 3 4 k"),
            "/DeviceGray cs\n1 sc\n/DeviceRGB CS\n0 0 1 SC\n/DeviceCMYK cs\n1 2 3 4 sc\n");
  const TResult result = Rich("/S cs .5 scn /Pattern CS /P SCN /C cs 1 0 0 /U scn");
  EXPECT_THAT(result.m_codes, IsEmpty());
  EXPECT_EQ(result.m_log, "/S cs\n0.5 sc\n/Pattern CS\n/P SC\n/C cs\n1 0 0 /U sc\n");
  EXPECT_EQ(result.m_state.m_fill.m_components.GetSpan().size(), 3U);
  EXPECT_TRUE(result.m_state.m_stroke.m_pattern);
  EXPECT_THAT(Rich("/Nix cs /Pattern cs /Nix scn 1 scn").m_codes,
              UnorderedElementsAre(PDF::g_nColorSpaceUnknown, PDF::g_nPatternUnknown, PDF::g_nOperandNoName));
  EXPECT_THAT(Rich("/DeviceCMYK cs 1 1 1 scn").m_codes, UnorderedElementsAre(PDF::g_nOperandCount));
  EXPECT_THAT(Rich("/Nix gs /Nix Do /Nix 1 Tf").m_codes,
              UnorderedElementsAre(PDF::g_nExtGStateUnknown, PDF::g_nXObjectUnknown, PDF::g_nFontUnknown));
}

TEST(ContentOperators, Text)
{
  const TResult result = Rich(
      "BT /F 12 Tf 1 Tc 2 Tw 50 Tz 14 TL 3 Tr 4 Ts 1 0 0 1 9 9 Tm 5 6 Td 7 8 TD T* (a)Tj"
      "(b)' 1 2(c)\" [(d)() -50 <6566>]TJ ET");
  EXPECT_THAT(result.m_codes, IsEmpty());
  EXPECT_EQ(result.m_log,
            "BT\n/F 12 Tf\n1 Tc\n2 Tw\n50 Tz\n14 TL\n3 Tr\n4 Ts\n1 0 0 1 9 9 Tm\n5 6 Td\n-8 TL\n"
            "7 8 Td\n0 8 Td\n(a)Tj\n0 8 Td\n(b)Tj\n1 Tw\n2 Tc\n0 8 Td\n(c)Tj\n(d)Tj\n-50 adjust\n"
            "(ef)Tj\nET\n");
}

TEST(ContentOperators, MarkedContentAndGlyphs)
{
  EXPECT_EQ(Log("/A BMC /B<</K[1(s)]>>BDC /B/M BDC EMC EMC EMC /A MP /A<</X null>>DP"),
            "/A BMC\n/B <</K [1 (s)]>> BMC\n/B /M BMC\nEMC\nEMC\nEMC\n/A MP\n/A <<>> MP\n");
  EXPECT_EQ(Log("5 0 d0 1 2 3 4 5 6 d1"), "5 0 d0\n1 2 3 4 5 6 d1\n");
}

TEST(ContentOperators, PlacesOfPaths)
{
  EXPECT_THAT(Codes("3 4 l S"), UnorderedElementsAre(PDF::g_nPathStartAssumed));
  EXPECT_EQ(CSample().Parse("3 4 l S h").m_log, "0 0 m\n3 4 l\nS\n");
  EXPECT_THAT(Codes("S"), UnorderedElementsAre(PDF::g_nEmptyPathPainted));
  EXPECT_THAT(Codes("0 0 m 2 w S"), UnorderedElementsAre(PDF::g_nPathNotPainted));
  EXPECT_THAT(Codes("0 0 m 1 g S"), IsEmpty());
  const TResult open = CSample().Parse("0 0 m");
  EXPECT_THAT(open.m_codes, UnorderedElementsAre(PDF::g_nPathNotPainted));
  EXPECT_EQ(open.m_log, "0 0 m\nn\n");
  EXPECT_THAT(Codes("0 0 m BT ET 1 1 l S"), UnorderedElementsAre(PDF::g_nOperatorNotAllowed));
}

TEST(ContentOperators, PlacesOfText)
{
  EXPECT_THAT(Codes("ET"), UnorderedElementsAre(PDF::g_nOperatorDropped));
  EXPECT_THAT(Codes("BT BT ET"), UnorderedElementsAre(PDF::g_nOperatorDropped));
  EXPECT_THAT(Codes("BT"), UnorderedElementsAre(PDF::g_nEndTextMissing));
  EXPECT_THAT(Codes("5 5 Td ET"), UnorderedElementsAre(PDF::g_nBeginTextMissing));
  EXPECT_THAT(
      Codes("BT 0 0 1 1 re f ET"),
      UnorderedElementsAre(PDF::g_nOperatorNotAllowed, PDF::g_nEndTextMissing, PDF::g_nOperatorDropped));
  EXPECT_THAT(Codes("BT 1 1 l n ET"),
              testing::IsSupersetOf({PDF::g_nOperatorNotAllowed, PDF::g_nPathStartMissing}));
  EXPECT_THAT(Codes("BT S ET"), UnorderedElementsAre(PDF::g_nOperatorNotAllowed));
  // Where something else comes between, text goes on from where it was.
  const TResult result = CSample().Parse("BT 5 6 Td /X sh 1 1 Td ET");
  EXPECT_THAT(result.m_codes, UnorderedElementsAre(PDF::g_nEndTextMissing, PDF::g_nBeginTextMissing));
  EXPECT_EQ(result.m_state.m_textMatrix.m_dE, 6);
}

TEST(ContentOperators, SavedStates)
{
  const TResult under = CSample().Parse("3 w Q 1 J");
  EXPECT_THAT(under.m_codes, UnorderedElementsAre(PDF::g_nStateUnderflow));
  EXPECT_EQ(under.m_state.m_dLineWidth, 3);
  EXPECT_EQ(CSample().Parse("BT q 5 5 Td Q ET").m_state.m_textMatrix.m_dE, 0);
  // One that was saved in another text object stays.
  const TResult other = CSample().Parse("2 w BT q ET 4 w BT Q ET");
  EXPECT_THAT(other.m_codes, UnorderedElementsAre(PDF::g_nOperatorNotAllowed));
  EXPECT_EQ(other.m_state.m_dLineWidth, 4);
  std::string sMany;
  for (int i = 0; i < BSE::g_nMaxSavedStates; ++i)
    sMany += "q ";
  EXPECT_TRUE(CSample().Parse(sMany + "1 w").m_bParsed);
  const TResult over = CSample().Parse(sMany + "q 1 w");
  EXPECT_FALSE(over.m_bParsed);
  EXPECT_THAT(over.m_losses, UnorderedElementsAre(PDF::g_nStateOverflow));
}

TEST(ContentOperators, WhatEndsTheStream)
{
  EXPECT_TRUE(CSample().Parse("").m_bParsed);
  EXPECT_TRUE(CSample().Parse("").m_bEmpty);
  for (const auto& [szContent, nCode] :
       {std::pair("1 w nix 2 w", PDF::g_nInvalidOperator),
        std::pair("1 w 1 0 R 2 w", PDF::g_nInvalidOperator), std::pair("1 w EI 2 w", PDF::g_nInvalidOperator),
        std::pair("BX 1 w rl 2 w EX", PDF::g_nInvalidOperator),
        std::pair("1 w ) 2 w", PDF::g_nUnexpectedToken), std::pair("1 w <4Z> 2 w", PDF::g_nUnexpectedToken)})
  {
    const TResult result = CSample().Parse(szContent);
    EXPECT_FALSE(result.m_bParsed) << szContent;
    EXPECT_THAT(result.m_losses, ElementsAre(nCode)) << szContent;
    EXPECT_EQ(result.m_log, "1 w\n") << szContent;
  }
  const TResult rest = CSample().Parse("1 w 2");
  EXPECT_TRUE(rest.m_bParsed);
  EXPECT_THAT(rest.m_codes, ElementsAre(PDF::g_nOperandCount));
}

TEST(ContentOperators, TooManyOperands)
{
  std::string sNumbers;
  for (int i = 0; i < BSE::g_nMaxOperands - 2; ++i)
    sNumbers += "1 ";
  EXPECT_TRUE(CSample().Parse("[" + sNumbers + "]TJ").m_bParsed);
  EXPECT_THAT(Codes("[" + sNumbers + "1]TJ"), ElementsAre(PDF::g_nOperandOverflow));
  const std::string sText(static_cast<std::size_t>(BSE::g_nMaxOperandText) + 20000, 'a');
  EXPECT_THAT(Codes("(" + sText + ")Tj"), ElementsAre(PDF::g_nOperandOverflow));
}

// The same values by the short way and by the scanner, which takes over at the end of the data.
TEST(ContentOperators, NumbersAndStringsInAllForms)
{
  // Operators need no space after a number; whatever else is there is none.
  EXPECT_EQ(Log("1 0 0RG -1w 12x w 10 20m 30 40.5l S"),
            "/DeviceRGB CS\n1 0 0 SC\n-1 w\n12 w\n10 20 m\n30 40.5 l\nS\n");
  EXPECT_EQ(Log("-.5 w +2. w 3.25%c\n w 0x w 1e5 w --7 w 12345678901234567890 w"),
            "-0.5 w\n2 w\n3.25 w\n0 w\n1 w\n-7 w\n1.23457e+19 w\n");
  EXPECT_EQ(Rich("BT /F 1 Tf(a\\)\\101(b))Tj<4 1 4>Tj/F#46 BMC EMC ET").m_log,
            "BT\n/F 1 Tf\n(a)A(b))Tj\n(A@)Tj\n/FF BMC\nEMC\nET\n");
  // Across the edge of the buffer.
  for (int nPad = 8180; nPad < 8195; ++nPad)
  {
    EXPECT_EQ(Log(std::string(static_cast<std::size_t>(nPad), ' ') + "12.5 w /Saturation ri"),
              "12.5 w\n/Saturation ri\n");
  }
}

TEST(ContentOperators, StrictMode)
{
  const TResult result = CSample().SetStrict().Parse("3000000000 w W 0 0 m W 1 1 l n");
  EXPECT_THAT(result.m_codes, UnorderedElementsAre(PDF::g_nNumberAbove31Bits, PDF::g_nOperatorStrict,
                                                   PDF::g_nOperatorStrict));
  EXPECT_EQ(result.m_state.m_dLineWidth, 2147483647.0);
  EXPECT_TRUE(CSample().SetStrict().Parse("BI/F[/AHx]/D[0 1]ID> EI<414>Tj ET").m_bParsed);
}

}  // namespace
