// Contents in parts, forms, marked content that is hidden, and text that is measured.

#include "content/ContentColorSpace.h"
#include "content/SpotColorantExtractor.h"
#include "content/StatusCodes.h"
#include "tests/content/RecordingParser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using Content::CSample;
using Content::TResult;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

// A form with the number 10 as /F and an image as /I.
CSample WithForm(const std::string& sEntries, const std::string& sData)
{
  CSample sample;
  sample.SetResources("/XObject<</F 10 0 R/I 11 0 R/N 12 0 R>>");
  sample.AddStream(10, "/Subtype/Form/BBox[10 20 30 40]" + sEntries, sData);
  sample.AddStream(11, "/Subtype/Image/Width 1/Height 1", "x");
  return sample;
}

TEST(ContentStreams, PartsOfAnArray)
{
  CSample sample;
  sample.AddStream(10, "", "1 w(a").AddStream(11, "", "b)Tj 2 J").AddStream(12, "", "/A BMC 3 i");
  const TResult result = sample.ParseObject("[10 0 R null 11 0 R 12 0 R]");
  EXPECT_EQ(result.m_log, "1 w\nBT\n(ab)Tj\n2 J\n/A BMC\n3 i\nET\n");
  EXPECT_EQ(sample.ParseObject("[11 0 R 10 0 R]").m_log, "");
  // A part that is no stream is a loss, and the others are there; what is null is none.
  const TResult cut = sample.ParseObject("[12 0 R (x) 77 0 R 12 0 R]");
  EXPECT_EQ(cut.m_log, "/A BMC\n3 i\n/A BMC\n3 i\n");
  EXPECT_THAT(cut.m_losses, ElementsAre(PDF::g_nNotRepairable));
  EXPECT_THAT(sample.ParseObject("[(x)]").m_losses, ElementsAre(PDF::g_nContentUnreadable));
  EXPECT_FALSE(sample.ParseObject("null").m_bParsed);
}

TEST(ContentForms, StateResourcesAndBox)
{
  const TResult result =
      WithForm("/Matrix[2 0 0 2 1 1]/StructParents 4", "q 7 w /I Do").Parse("3 w /F Do 4 w");
  EXPECT_TRUE(result.m_bParsed);
  EXPECT_THAT(result.m_codes, IsEmpty());
  EXPECT_EQ(result.m_log, "3 w\n/F form\n4 StructParents\nq\n7 w\n/I image\n/F end\n4 w\n");
  EXPECT_EQ(result.m_state.m_dLineWidth, 4);
  EXPECT_FALSE(result.m_bEmpty);
  EXPECT_TRUE(WithForm("", "1 w 0 0 m n").Parse("/F Do").m_bEmpty);
  EXPECT_THAT(WithForm("/Resources<<>>", "/I Do").Parse("/F Do").m_codes,
              ElementsAre(PDF::g_nXObjectUnknown));
}

TEST(ContentForms, WhatCannotBeEntered)
{
  EXPECT_THAT(WithForm("", "/F Do 5 w").Parse("/F Do").m_losses, ElementsAre(PDF::g_nFormInItself));
  EXPECT_THAT(WithForm("/Filter/Nix", "1 w").Parse("/F Do").m_losses, ElementsAre(PDF::g_nContentUnreadable));
  EXPECT_THAT(WithForm("", "").Parse("/F Do").m_codes, IsEmpty());
  // A form that cannot be parsed to its end does not end what draws it.
  const TResult result = WithForm("", "1 w nix 2 w").Parse("/F Do 3 w");
  EXPECT_TRUE(result.m_bParsed);
  EXPECT_EQ(result.m_log, "/F form\n1 w\n/F end\n3 w\n");
}

TEST(ContentForms, NestingHasALimit)
{
  CSample sample;
  sample.SetResources("/XObject<</F 10 0 R>>");
  for (int i = 0; i < 80; ++i)
    sample.AddStream(10 + i, "/Subtype/Form/Resources<</XObject<</F " + std::to_string(11 + i) + " 0 R>>>>",
                     i < 79 ? "/F Do" : "1 w");
  EXPECT_THAT(sample.Parse("/F Do").m_losses, ElementsAre(PDF::g_nContentUnreadable));
}

// Ten forms, each of which draws the next one twenty times.
TEST(ContentForms, WorkIsBounded)
{
  CSample sample;
  sample.SetResources("/XObject<</F 10 0 R>>");
  std::string sDo;
  for (int i = 0; i < 20; ++i)
    sDo += "/F Do ";
  for (int i = 0; i < 10; ++i)
    sample.AddStream(10 + i, "/Subtype/Form/Resources<</XObject<</F " + std::to_string(11 + i) + " 0 R>>>>",
                     i < 9 ? sDo : "");
  const TResult result = sample.Parse("/F Do 1 w");
  EXPECT_FALSE(result.m_bParsed);
  EXPECT_THAT(result.m_losses, ElementsAre(PDF::g_nNotRepairable));
}

TEST(ContentVisibility, OptionalContent)
{
  CSample sample = WithForm("/OC 20 0 R", "1 w");
  sample.SetCatalog("/OCProperties<</OCGs[20 0 R 21 0 R]/D<</OFF[20 0 R]>>>>");
  sample.Add(20, "<</Type/OCG/Name(a)>>").Add(21, "<</Type/OCG/Name(b)>>");
  sample.SetResources("/XObject<</F 10 0 R>>/Properties<</H 20 0 R/V 21 0 R>>");
  EXPECT_EQ(sample.Parse("/F Do").m_log, "");
  const TResult hidden = sample.Parse("/OC/H BDC /A BMC 0 0 m S EMC BI /W 1 ID 1 EI EMC");
  EXPECT_EQ(hidden.m_log, "/OC /H BMC\n/A BMC\n0 0 m\nn\nEMC\nEMC\n");
  EXPECT_TRUE(hidden.m_bEmpty);
  EXPECT_FALSE(sample.Parse("/OC/V BDC 0 0 m S EMC").m_bEmpty);
  EXPECT_FALSE(sample.Parse("/OC/H BDC EMC EMC 0 0 m S").m_bEmpty);
}

TEST(ContentVisibility, MarkedContentDeeperThanTheStack)
{
  std::string sContent;
  for (int i = 0; i < 60; ++i)
    sContent += "/A BMC ";
  for (int i = 0; i < 70; ++i)
    sContent += "EMC ";
  const TResult result = CSample().Parse(sContent);
  EXPECT_TRUE(result.m_bParsed);
  EXPECT_THAT(result.m_codes, IsEmpty());
}

// Codes 1 to 127 of one byte and others of two, half an em wide; or downwards.
class CTestFont : public BSE::CObject, public PDF::IContentFont
{
public:
  CTestFont(bool bComposite, bool bVertical) : m_bComposite(bComposite), m_bVertical(bVertical)
  {
    std::fill(std::begin(m_aWidths), std::end(m_aWidths), 500);
  }
  bool IsValid() const override { return true; }
  bool IsComposite() const override { return m_bComposite; }
  bool IsVertical() const override { return m_bVertical; }
  double GetGlyphSpaceFactor() const override { return 0.001; }
  double GetSpaceWidth() const override { return 250; }
  double GetDefaultVerticalWidth() const override { return -1000; }
  std::span<const double> GetWidths() const override { return m_aWidths; }
  int CodeToCID(unsigned nCode) const override
  {
    return nCode < 128 ? static_cast<int>(nCode) : PDF::g_nNoCID;
  }
  int Code2ToCID(unsigned nCode) const override { return static_cast<int>(nCode); }
  double GetWidth(int nCID) const override { return nCID < 128 ? 500 : 1000; }
  double GetVerticalWidth(int) const override { return -1000; }

private:
  double m_aWidths[256];
  bool m_bComposite;
  bool m_bVertical;
};

struct TSpaces
{
  BSE::CObjectPtr<DOC::CColorAccount> m_pAccount = new DOC::CColorAccount;
  BSE::CObjectPtr<DOC::CCMS> m_pCMS = DOC::CreateCMS("none", "", *m_pAccount);
  PDF::CColorSpaceFactory m_factory{*m_pCMS};
};

class CTestResources : private TSpaces, public PDF::CContentColorResources
{
public:
  CTestResources() : CContentColorResources(m_factory) {}
  BSE::CObjectPtr<PDF::IContentFont> CreateFont(const PDF::CObjectPtr& font) override
  {
    const PDF::CObjectPtr name = font["BaseFont"];
    if (!name.IsName())
      return nullptr;
    return new CTestFont(!name.IsName("Simple"), name.IsName("Vertical"));
  }
  BSE::CObjectPtr<PDF::IContentFont> GetDefaultFont() override { return new CTestFont(false, false); }
};

PDF::TMatrix Measure(const std::string& sContent)
{
  CTestResources fonts;
  CSample sample;
  sample.SetFonts(&fonts).SetResources(
      "/Font<</S<</BaseFont/Simple>>/C<</BaseFont/Wide>>/V<</BaseFont/Vertical>>>>");
  return sample.Parse("BT " + sContent + " ET").m_state.m_textMatrix;
}

TEST(ContentText, IsMeasured)
{
  // (500 / 1000 * 10 + 1) * 2 + 3, halved.
  EXPECT_DOUBLE_EQ(Measure("/S 10 Tf 1 Tc 3 Tw 50 Tz (a ) Tj").m_dE, 7.5);
  EXPECT_DOUBLE_EQ(Measure("/S 10 Tf 1 0 0 1 100 0 Tm [(a) -1000 (a)] TJ").m_dE, 120);
  EXPECT_DOUBLE_EQ(Measure("/Nix 10 Tf (a) Tj").m_dE, 5);
  // One code of one byte, one of two, and one that is cut; a space of two bytes is none.
  EXPECT_DOUBLE_EQ(Measure("/C 10 Tf 3 Tw <41 8020 80> Tj").m_dE, 25);
  const PDF::TMatrix down = Measure("/V 10 Tf 50 Tz [<41> 500] TJ");
  EXPECT_DOUBLE_EQ(down.m_dE, 0);
  EXPECT_DOUBLE_EQ(down.m_dF, -15);
}

TEST(ContentColors, SpacesOfTheDocument)
{
  struct
  {
    const char* m_szChoice;
    DOC::TColorSpaceType m_type;
    std::vector<double> m_initial;
  } const rows[] = {{"/DeviceCMYK cs", DOC::eDeviceCMYK, {0, 0, 0, 1}},
                    {"/K cs", DOC::eDeviceCMYK, {0, 0, 0, 1}},
                    {"/L cs", DOC::eLab, {0, 5, 0}},
                    {"/I cs", DOC::eIndexed, {0}},
                    {"/S cs", DOC::eSeparation, {1}},
                    {"/P cs .5 /U scn", DOC::eSeparation, {0.5}}};
  CSample sample;
  sample.SetResources(
      "/ColorSpace<</K/DeviceCMYK/L[/Lab<</WhitePoint[.9 1 .9]/Range[5 9 -9 9]>>]/I[/Indexed/DeviceRGB "
      "0(abc)]"
      "/S 10 0 R/P[/Pattern 10 0 R]/B[/Indexed 7 7]>>/Pattern<</U<</PatternType 1/PaintType 2>>>>");
  sample.Add(10, "[/Separation/Gold/DeviceGray<</FunctionType 2/N 1/Domain[0 1]>>]");
  for (const auto& row : rows)
  {
    CTestResources resources;
    const TResult result = sample.SetFonts(&resources).Parse(row.m_szChoice);
    EXPECT_THAT(result.m_codes, IsEmpty()) << row.m_szChoice;
    const DOC::IColorSpace* pSpace = resources.GetSpace(result.m_state.m_fill);
    ASSERT_TRUE(pSpace) << row.m_szChoice;
    EXPECT_EQ(pSpace->GetType(), row.m_type) << row.m_szChoice;
    EXPECT_THAT(result.m_state.m_fill.m_components.GetSpan(), ElementsAreArray(row.m_initial));
  }
  CTestResources resources;
  sample.SetFonts(&resources);
  EXPECT_FALSE(resources.GetSpace(sample.Parse("/Pattern cs").m_state.m_fill));
  EXPECT_THAT(sample.Parse("/B cs /L cs 1 1 scn").m_codes,
              UnorderedElementsAre(PDF::g_nColorSpaceUnknown, PDF::g_nOperandCount));
}

TEST(ContentColors, SpotColorantsAreFoundOnce)
{
  const auto spot = [](const char* szName)
  { return "[/Separation/" + std::string(szName) + "/DeviceGray<</FunctionType 2/N 1/Domain[0 1]>>]"; };
  const auto stream = [](const std::string& sEntries, const std::string& sData)
  {
    return "<<" + sEntries + "/Length " + std::to_string(sData.size()) + ">>stream\n" + sData + "\nendstream";
  };
  const auto colors = [&](const char* szName) { return "/ColorSpace<</S" + spot(szName) + ">>"; };
  PDF::TOpenDocument document(PDF::MakePdf(
      {{1, "<</Type/Catalog/Pages 2 0 R>>"},
       {2, "<</Type/Pages/Kids[3 0 R]/Count 1>>"},
       {3,
        "<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]/Contents 4 0 R/Annots[<</AP<</N 10 0 R/D<</A 11 0 "
        "R>>>>>>]"
        "/Resources<</ColorSpace<</P[/Pattern" +
            spot("Page") + "]/Q" + spot("Page") + "/U" + spot("Unused") +
            "/N[/DeviceN[/A/B]/DeviceGray 9 0 R<</Colorants<</A" + spot("Ink") +
            ">>>>]>>/XObject<</F 5 0 R/I 6 0 R>>/Pattern<</T 7 0 R/H<</PatternType 2/Shading<<" +
            "/ColorSpace" + spot("Shaded") +
            ">>>>>>/Font<</F<</Subtype/Type3/CharProcs<</a 8 0 R>>/Resources<<" + colors("Glyph") +
            ">>>>>>/ExtGState<</G<</SMask<</G 12 0 R>>>> >> >>>>"},
       {4, stream("",
                  "/P cs /Q CS /N cs /F Do /F Do /I Do /Pattern cs /T scn /H scn BT /F 1 Tf ET /G gs "
                  "BI /W 1 /H 1 /BPC 8 /CS /Q ID a EI")},
       {5, stream("/Subtype/Form/Resources<<" + colors("Form") + ">>", "/S cs")},
       {6, stream("/Subtype/Image/ColorSpace" + spot("Image"), "")},
       {7, stream("/PatternType 1/Resources<<" + colors("Tile") + ">>", "/S cs")},
       {8, stream("", "/S cs")},
       {9, "<</FunctionType 4>>"},
       {10, stream("/Subtype/Form/Resources<<" + colors("Normal") + ">>", "/S cs")},
       {11, stream("/Subtype/Form/Resources<<" + colors("Down") + ">>", "/S cs")},
       {12, stream("/Subtype/Form/Resources<<" + colors("Mask") + ">>", "/S cs")}}));
  CTestResources resources;
  PDF::CSpotColorantExtractor extractor(document.m_document, resources.GetFactory());
  std::vector<std::string> names;
  while (const BSE::CObjectPtr<DOC::IColorSpace> pSpace = extractor.GetNext())
    names.emplace_back(pSpace->GetTint()->GetColorant(0));
  EXPECT_THAT(names, ElementsAre("Page", "Ink", "Form", "Image", "Tile", "Shaded", "Glyph", "Mask", "Normal",
                                 "Down"));
}

TEST(ContentText, PageBoxAndRotation)
{
  PDF::TOpenDocument document(PDF::MakePdf({{1, "<</Type/Catalog/Pages 2 0 R>>"},
                                            {2, "<</Type/Pages/Kids[3 0 R]/Count 1>>"},
                                            {3, "<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]>>"}}));
  PDF::CContentEnvironment environment(document.m_document);
  PDF::CParserContext context(environment, PDF::CResources(), nullptr);
  for (const auto& [nRotation, dX, dY] : {std::tuple(0, 1.0, 2.0), std::tuple(-270, 2.0, 29.0),
                                          std::tuple(180, 29.0, 38.0), std::tuple(630, 38.0, 1.0)})
  {
    const BSE::CObjectPtr<PDF::CContentStream> pStream(
        new PDF::CContentStream(PDF::MakeStream("1 0 0 1 11 22 cm").Get()));
    PDF::CContentParser parser(environment, pStream, {10, 20, 40, 60}, nRotation, nullptr);
    EXPECT_TRUE(parser.Parse(&context, false));
    EXPECT_EQ(parser.GetCTM().m_dE, dX) << nRotation;
    EXPECT_EQ(parser.GetCTM().m_dF, dY) << nRotation;
  }
}

}  // namespace
