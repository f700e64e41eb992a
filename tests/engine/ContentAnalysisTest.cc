// What the analysis knows of images after it has read the content around them.

#include <gtest/gtest.h>
#include <tuple>
#include <vector>

#include "engine/Optimizer.h"
#include "fonts/pdf/FontRegistry.h"
#include "tests/engine/SmallFile.h"

namespace
{

using Engine::CSmallFile;

// A page of 100 by 100 points. The images are 100 samples wide and 50 high, with all sets of compressions
// empty but one, so that the analysis looks at them.
class ContentAnalysis : public testing::Test
{
protected:
  int AddImage(const std::string& sEntries = {}, int nWidth = 100, int nHeight = 50)
  {
    return m_file.AddStream("data", "/Type/XObject/Subtype/Image/Width " + std::to_string(nWidth) +
                                        "/Height " + std::to_string(nHeight) +
                                        "/BitsPerComponent 8/ColorSpace/DeviceGray" + sEntries);
  }
  static std::string Ref(int n) { return std::to_string(n) + " 0 R"; }
  void AddPage(const std::string& sContent, const std::string& sResources, const std::string& sEntries = {})
  {
    m_file.AddPage("/MediaBox[0 0 100 100]/Contents " + Ref(m_file.AddStream(sContent, "")) + "/Resources<<" +
                   sResources + ">>" + sEntries);
  }
  int AddFont(const std::string& sEntries = "/Subtype/Type1/BaseFont/Helvetica")
  {
    return m_file.Add("<</Type/Font" + sEntries + ">>");
  }
  void Run(const std::string& sCatalog = {})
  {
    m_optimizer.GetOptions().m_nIndexedCompressions = PDF::eCompressionFlagFlate;
    m_optimizer.GetOptions().m_bSubsetFonts = true;
    ASSERT_TRUE(m_optimizer.Open(Engine::MakeStream(m_file.Build("", sCatalog)).Get(), nullptr));
    ASSERT_TRUE(m_optimizer.Analyze());
  }
  const PDF::CImageRecord* Get(int nNumber) const { return m_optimizer.GetImages().Find(nNumber); }
  bool IsKept(int nNumber) const { return Get(nNumber) && Get(nNumber)->m_bKeepAsIs; }

  // The characters that are used of a font, "all", or "none" for a font that was not met.
  std::string GetUsed(int nNumber)
  {
    for (int i = 0; i < m_optimizer.GetFonts()->GetFontCount(); ++i)
    {
      PDF::CFont& font = *m_optimizer.GetFonts()->GetFont(i);
      if (font.GetObject().GetObjNumber() != nNumber)
        continue;
      if (font.AreAllGlyphsUsed())
        return "all";
      std::string sUsed;
      for (int j = 0; j < font.GetCharCount(); ++j)
        if (font.GetUsedChars()[static_cast<std::size_t>(j)] != 0)
          sUsed += static_cast<char>(j);
      return sUsed;
    }
    return "none";
  }

  CSmallFile m_file;
  BSE::CErrorHandler m_errors;
  PDF::COptimizer m_optimizer{&m_errors};
};

TEST_F(ContentAnalysis, TakesTheLowestResolution)
{
  const int nImage = AddImage();
  const int nTurned = AddImage();
  const int nUnused = AddImage();
  const std::string sObjects =
      "/XObject<</A " + Ref(nImage) + "/B " + Ref(nTurned) + "/C " + Ref(nUnused) + ">>";
  AddPage("q 24 0 0 12 0 0 cm /A Do Q q 72 0 0 18 0 0 cm /A Do Q q 0 36 -9 0 50 50 cm /B Do Q", sObjects);
  AddPage("q 0.5 0 0 0.5 0 0 cm 20 0 0 20 0 0 cm /B Do Q", sObjects, "/UserUnit 4/Rotate 90");
  Run();
  ASSERT_TRUE(Get(nImage) && Get(nTurned));
  EXPECT_NEAR(Get(nImage)->m_dResolutionX, 100, 1e-9);
  EXPECT_NEAR(Get(nImage)->m_dResolutionY, 200, 1e-9);
  EXPECT_EQ(Get(nImage)->m_nPage, 1);
  EXPECT_NEAR(Get(nTurned)->m_dResolutionX, 180, 1e-9);
  EXPECT_NEAR(Get(nTurned)->m_dResolutionY, 90, 1e-9);
  EXPECT_EQ(Get(nUnused), nullptr);
}

TEST_F(ContentAnalysis, FindsTheVisiblePart)
{
  const int nHalf = AddImage();
  const int nUnion = AddImage();
  const int nFree = AddImage();
  const std::string sObjects = "/XObject<</A " + Ref(nHalf) + "/B " + Ref(nUnion) + "/C " + Ref(nFree) + ">>";
  AddPage(
      "q 0 0 50 100 re W n 100 0 0 100 0 0 cm /A Do Q "
      "q 0 0 20 50 re W n 100 0 0 100 0 0 cm /B Do Q q 10 10 m 30 10 l 30 60 l h W n 100 0 0 100 0 0 cm /B "
      "Do Q "
      "q 0 0 1 1 re W n Q 100 0 0 100 0 0 cm /C Do",
      sObjects);
  Run();
  const PDF::CImageRecord& half = *Get(nHalf);
  EXPECT_EQ((std::array{half.m_nLeft, half.m_nRight, half.m_nBottom, half.m_nTop}),
            (std::array{0, 50, 0, 50}));
  const PDF::CImageRecord& both = *Get(nUnion);
  EXPECT_EQ((std::array{both.m_nLeft, both.m_nRight, both.m_nBottom, both.m_nTop}),
            (std::array{0, 30, 0, 30}));
  EXPECT_EQ(Get(nFree)->m_nRight, 100);
}

TEST_F(ContentAnalysis, KeepsImagesUnderTransferFunctions)
{
  std::vector<int> images;
  std::string sObjects = "/XObject<<";
  for (const char* szName : {"A", "B", "C", "D"})
  {
    images.push_back(AddImage());
    sObjects += std::string("/") + szName + " " + Ref(images.back());
  }
  const std::string sStretch = "<</FunctionType 2/N 30/Domain[0 1]>>";
  sObjects += ">>/ExtGState<</F<</TR[/Identity/Identity/Identity " + sStretch + "]>>/N<</TR2/Default/TR " +
              sStretch + ">>/I<</TR[/Identity/Identity/Identity/Identity]>>>>";
  AddPage("100 0 0 100 0 0 cm q /F gs /A Do q /N gs /B Do Q Q /C Do /I gs /D Do", sObjects);
  Run();
  EXPECT_TRUE(IsKept(images[0]));
  for (const int nImage : {1, 2, 3})
    EXPECT_TRUE(Get(images[nImage]) && !IsKept(images[nImage])) << nImage;
}

// The form is drawn twice in the same place, and only then in a way that matters.
TEST_F(ContentAnalysis, KeepsImagesWhoseSmallestErrorsShow)
{
  const auto addForm = [&](int nImage)
  {
    return m_file.AddStream(
        "10 0 0 10 0 0 cm /I Do",
        "/Subtype/Form/BBox[0 0 10 10]/Group<</S/Transparency>>/Resources<</XObject<</I " + Ref(nImage) +
            ">>>>");
  };
  const int nMask = AddImage();
  const int nPlainMask = AddImage();
  const int nInForm = AddImage();
  const int nHue = AddImage();
  const int nColor = AddImage();
  const auto getMask = [&](int nImage, const std::string& sTransfer)
  { return "<</SMask<</S/Luminosity/G " + Ref(addForm(nImage)) + "/TR" + sTransfer + ">>>>"; };
  AddPage("q /M gs Q q /P gs Q /F Do q /H gs /F Do 10 0 0 10 0 0 cm /A Do Q /C gs 10 0 0 10 0 0 cm /B Do",
          "/XObject<</A " + Ref(nHue) + "/B " + Ref(nColor) + "/F " + Ref(addForm(nInForm)) +
              ">>/ExtGState<</M " + getMask(nMask, "<</FunctionType 2/N 30/Domain[0 1]>>") + "/P " +
              getMask(nPlainMask, "/Identity") + "/H<</BM[/Hue/Normal]>>/C<</BM/Color>>>>");
  Run();
  for (const int nImage : {nMask, nInForm, nHue})
    EXPECT_TRUE(IsKept(nImage)) << nImage;
  for (const int nImage : {nPlainMask, nColor})
    EXPECT_TRUE(Get(nImage) && !IsKept(nImage)) << nImage;
}

TEST_F(ContentAnalysis, FollowsFormsPatternsAndSoftMasks)
{
  const int nInForm = AddImage();
  const int nInPattern = AddImage();
  const int nInGroup = AddImage();
  const int nForm = m_file.AddStream(
      "q 10 0 0 10 0 0 cm /I Do Q",
      "/Subtype/Form/BBox[0 0 5 10]/Matrix[2 0 0 2 0 0]/Resources<</XObject<</I " + Ref(nInForm) + ">>>>");
  const int nPattern =
      m_file.AddStream("10 0 0 10 0 0 cm /I Do",
                       "/PatternType 1/PaintType 1/BBox[0 0 9 9]/XStep 9/YStep 9/Matrix[3 0 0 3 0 0]"
                       "/Resources<</XObject<</I " +
                           Ref(nInPattern) + ">>>>");
  const int nGroup =
      m_file.AddStream("10 0 0 10 0 0 cm /I Do",
                       "/Subtype/Form/BBox[0 0 10 10]/Resources<</XObject<</I " + Ref(nInGroup) + ">>>>");
  AddPage("5 0 0 5 0 0 cm /F Do /S gs /Pattern cs /P scn 0 0 9 9 re f",
          "/XObject<</F " + Ref(nForm) + ">>/Pattern<</P " + Ref(nPattern) + ">>/ExtGState<</S<</SMask<</G " +
              Ref(nGroup) + ">>>>>>");
  Run();
  ASSERT_TRUE(Get(nInForm) && Get(nInPattern) && Get(nInGroup));
  EXPECT_NEAR(Get(nInForm)->m_dResolutionX, 72, 1e-9);
  EXPECT_EQ(Get(nInForm)->m_nRight, 50);
  // A pattern goes by the page's system, whatever the transformation is.
  EXPECT_NEAR(Get(nInPattern)->m_dResolutionX, 240, 1e-9);
  EXPECT_EQ(Get(nInPattern)->m_nRight, 90);
  EXPECT_NEAR(Get(nInGroup)->m_dResolutionX, 144, 1e-9);
}

TEST_F(ContentAnalysis, KeepsWhatItCannotFollow)
{
  const int nInGlyph = AddImage();
  const int nInAppearance = AddImage();
  const int nFlat = AddImage();
  const int nAfterDamage = AddImage();
  const int nFine = AddImage();
  const int nFont =
      m_file.Add("<</Type/Font/Subtype/Type3/Resources<</XObject<</I " + Ref(nInGlyph) + ">>>>>>");
  const int nLook = m_file.AddStream(
      "/I Do", "/Subtype/Form/BBox[0 0 1 1]/Resources<</XObject<</I " + Ref(nInAppearance) + ">>>>");
  const std::string sObjects = "/XObject<</A " + Ref(nInGlyph) + "/B " + Ref(nInAppearance) + "/C " +
                               Ref(nFlat) + "/D " + Ref(nFine) + ">>/Font<</T " + Ref(nFont) + ">>";
  AddPage("q 10 0 0 10 0 0 cm /A Do /B Do /D Do 1 0 0 0 0 0 cm /C Do Q BT /T 1 Tf ET", sObjects,
          "/Annots[<</Subtype/Stamp/AP<</N<</On " + Ref(nLook) + ">>>>>>]");
  const int nCut = m_file.AddStream("no flate data", "/Filter/FlateDecode");
  m_file.AddPage("/Contents " + Ref(nCut) + "/Resources<</XObject<</A " + Ref(nAfterDamage) + ">>>>");
  Run();
  for (const int nNumber : {nInGlyph, nInAppearance, nFlat, nAfterDamage})
    EXPECT_TRUE(IsKept(nNumber)) << nNumber;
  EXPECT_FALSE(IsKept(nFine));
}

TEST_F(ContentAnalysis, KnowsMasks)
{
  const int nSoft = AddImage({}, 200, 100);
  const int nHard = AddImage("/ImageMask true", 50, 50);
  const int nBlended = AddImage("/Matte[0]");
  const int nWithSoft = AddImage("/SMask " + Ref(nSoft));
  const int nWithHard = AddImage("/Mask " + Ref(nHard));
  const int nWithBlended = AddImage("/SMask " + Ref(nBlended));
  AddPage("72 0 0 72 0 0 cm /A Do /B Do /C Do /D Do", "/XObject<</A " + Ref(nWithSoft) + "/B " +
                                                          Ref(nWithHard) + "/C " + Ref(nWithBlended) + "/D " +
                                                          Ref(nHard) + ">>");
  Run();
  ASSERT_TRUE(Get(nSoft) && Get(nHard));
  EXPECT_NEAR(Get(nSoft)->m_dResolutionX, 200, 1e-9);
  EXPECT_NEAR(Get(nHard)->m_dResolutionX, 50, 1e-9);
  EXPECT_EQ(Get(nSoft)->m_nRoles, PDF::eRoleSoftMask);
  EXPECT_EQ(Get(nHard)->m_nRoles, unsigned{PDF::eRoleMask} | PDF::eRolePainted);
  EXPECT_EQ(Get(nBlended), nullptr);
}

TEST_F(ContentAnalysis, MarksTheTextThatIsShown)
{
  const int nPlain = AddFont();
  const int nByState = AddFont("/Subtype/Type1/BaseFont/Courier");
  const int nWide = AddFont("/Subtype/Type0/Encoding/Identity-H/DescendantFonts[<</Subtype/CIDFontType2>>]");
  const int nUnused = AddFont("/Subtype/Type1/BaseFont/Symbol");
  AddPage("BT /F 1 Tf (ab) Tj [(c)5(d)] TJ q /G gs (x) Tj Q (e)' 1 2 (f)\" /W 1 Tf <0041004200> Tj ET",
          "/Font<</F " + Ref(nPlain) + "/W " + Ref(nWide) + "/U " + Ref(nUnused) +
              ">>/ExtGState<</G<</Font[" + Ref(nByState) + " 1]>>>>");
  Run();
  EXPECT_EQ(GetUsed(nPlain), "abcdef");
  EXPECT_EQ(GetUsed(nByState), "x");
  EXPECT_EQ(GetUsed(nWide), std::string("\0AB", 3));
  EXPECT_EQ(GetUsed(nUnused), "");
}

// Whatever may show text that nobody reads here.
TEST_F(ContentAnalysis, LeavesFontsWholeWhereItDoesNotFollowText)
{
  int nSerial = 0;
  const auto addFont = [&]
  { return AddFont("/Subtype/Type1/BaseFont/Helvetica/Serial " + std::to_string(++nSerial)); };
  const auto makeFonts = [](int nFont) { return "/Resources<</Font<</F " + Ref(nFont) + ">>>>"; };
  const auto addForm = [&](int nFont)
  { return m_file.AddStream("BT /F 1 Tf (a) Tj ET", "/Subtype/Form/BBox[0 0 1 1]" + makeFonts(nFont)); };
  const int nAround = addFont();
  const int nInForm = addFont();
  const int nInLook = addFont();
  const int nInIcon = addFont();
  const int nInDefaults = addFont();
  const int nInTemplate = addFont();
  const int nInGlyph = addFont();
  const int nAfterDamage = addFont();
  const int nInherits =
      m_file.AddStream("BT (a) Tj ET BT /G 1 Tf (b) Tj ET",
                       "/Subtype/Form/BBox[0 0 1 1]/Resources<</Font<</G " + Ref(nInForm) + ">>>>");
  const int nGlyphs = m_file.Add("<</Type/Font/Subtype/Type3" + makeFonts(nInGlyph) + ">>");
  AddPage("BT /T 1 Tf /F 1 Tf (x) Tj ET /X Do",
          "/Font<</F " + Ref(nAround) + "/T " + Ref(nGlyphs) + ">>/XObject<</X " + Ref(nInherits) + ">>",
          "/Annots[<</Subtype/Widget/AP<</N " + Ref(addForm(nInLook)) + ">>/MK<</I " + Ref(addForm(nInIcon)) +
              ">>>>]");
  const int nCut = m_file.AddStream("no flate data", "/Filter/FlateDecode");
  m_file.AddPage("/Contents " + Ref(nCut) + makeFonts(nAfterDamage));
  Run("/AcroForm<</DR<</Font<</F " + Ref(nInDefaults) + ">>>>>>/Names<</Templates<</Names[(t)<<" +
      makeFonts(nInTemplate) + ">>]>>>>");
  for (const int nFont : {nAround, nInLook, nInIcon, nInDefaults, nInTemplate, nInGlyph, nAfterDamage})
    EXPECT_EQ(GetUsed(nFont), "all") << nFont;
  EXPECT_EQ(GetUsed(nInForm), "b");
}

// Readers differ in how deep forms may be nested, and some go deeper.
TEST_F(ContentAnalysis, KeepsWhatIsNestedTooDeep)
{
  const std::string sForm = "/Subtype/Form/BBox[0 0 9 9]/Resources<<";
  const int nImage = AddImage();
  const int nOwn = AddFont();
  const int nAround = AddFont("/Subtype/Type1/BaseFont/Courier");
  int nForm = m_file.AddStream("BT (b) Tj /F 1 Tf (c) Tj ET /I Do",
                               sForm + "/Font<</F " + Ref(nOwn) + ">>/XObject<</I " + Ref(nImage) + ">>>>");
  for (int i = 0; i < BSE::g_nMaxFormNesting; ++i)
    nForm = m_file.AddStream("/X Do", sForm + "/XObject<</X " + Ref(nForm) + ">>>>");
  AddPage("BT /F 1 Tf (a) Tj /G 1 Tf (a) Tj ET /X Do",
          "/Font<</F " + Ref(nOwn) + "/G " + Ref(nAround) + ">>/XObject<</X " + Ref(nForm) + ">>");
  Run();
  EXPECT_EQ(GetUsed(nOwn), "all");
  EXPECT_EQ(GetUsed(nAround), "all");
  EXPECT_TRUE(IsKept(nImage));
}

// Glyph procedures without resources of their own have those of the page, if they need any.
TEST_F(ContentAnalysis, ReadsGlyphProcedures)
{
  const std::string sOwn =
      "/Resources<</Font<</F<</Subtype/Type1>>/T<</Subtype/Type3>>>>/XObject<</X 1 0 R>>>>";
  for (const auto& [szProcedure, szUsed, szUsedWithOwn] :
       {std::tuple("1 0 d0 0 0 1 1 re f", "a", "a"),
        std::tuple("1 0 0 0 1 1 d1 BI /W 1/H 1/IM true ID x EI", "a", "a"),
        std::tuple("1 0 d0 BT /F 1 Tf (z) Tj ET", "all", "a"), std::tuple("1 0 d0 /X Do", "all", "a"),
        std::tuple("1 0 d0 /G gs", "all", "all"), std::tuple("1 0 d0 BT /T 1 Tf (z) Tj ET", "all", "all"),
        std::tuple("1 0 d0 BT (z) Tj ET", "all", "all"),
        std::tuple("1 0 d0 /Pattern cs /P scn 0 0 1 1 re f", "all", "all")})
    for (const bool bOwn : {false, true})
    {
      SCOPED_TRACE(szProcedure + std::to_string(bOwn));
      CSmallFile file;
      std::swap(m_file, file);
      const int nFont = AddFont("/Subtype/Type1/BaseFont/Helvetica");
      const int nGlyphs =
          m_file.Add("<</Type/Font/Subtype/Type3/FontBBox[0 0 1 1]/FontMatrix[1 0 0 1 0 0]/CharProcs<</g " +
                     Ref(m_file.AddStream(szProcedure, "")) + ">>" + (bOwn ? sOwn : "") + ">>");
      AddPage("BT /T 1 Tf (x) Tj /F 1 Tf (a) Tj ET", "/Font<</F " + Ref(nFont) + "/T " + Ref(nGlyphs) + ">>");
      Run();
      EXPECT_EQ(GetUsed(nFont), bOwn ? szUsedWithOwn : szUsed);
    }
}

// Forms and appearances are read once, and find on the second page what they found on the first one.
TEST_F(ContentAnalysis, LooksAroundOnEveryPage)
{
  const std::string sEmpty = "/Resources<<>>";
  const std::string sForm = "/Subtype/Form/BBox[0 0 1 1]";
  const std::string sText = "BT /F 1 Tf (b) Tj ET";
  const int nGlyphs =
      m_file.Add("<</Type/Font/Subtype/Type3/FontBBox[0 0 1 1]/FontMatrix[1 0 0 1 0 0]/CharProcs<</g " +
                 Ref(m_file.AddStream("1 0 d0 BT /F 1 Tf (z) Tj ET", "")) + ">>>>");
  const auto addOuter = [&](const std::string& sResources)
  { return m_file.AddStream("/X Do", sForm + "/Resources<<" + sResources + ">>"); };
  const int nLacking = m_file.AddStream(sText, sForm + sEmpty);
  const int nNested = addOuter("/XObject<</X " + Ref(nLacking) + ">>");
  const int nShowing =
      m_file.AddStream("BT /T 1 Tf (b) Tj ET", sForm + "/Resources<</Font<</T " + Ref(nGlyphs) + ">>>>");
  const int nState = m_file.Add("<</SMask<</G " + Ref(nLacking) + ">>>>");
  const int nMask = m_file.AddStream("/G gs", sForm + "/Resources<</ExtGState<</G " + Ref(nState) + ">>>>");
  const int nCell = m_file.AddStream(sText, "/PatternType 1/BBox[0 0 1 1]" + sEmpty);
  const int nBare = m_file.AddStream(sText, sForm);
  const int nNote = m_file.Add("<</Subtype/Stamp/AP<</N " + Ref(nBare) + ">>>>");
  const int nList = m_file.Add("[<</Subtype/Stamp/AP<</N " + Ref(nLacking) + ">>>>]");
  const auto addStamp = [](int nAppearance)
  { return "/Annots[<</Subtype/Stamp/AP<</N " + Ref(nAppearance) + ">>>>]"; };
  const std::string doForm = "/X Do";
  const std::pair<std::string, std::string> uses[] = {
      {doForm, Ref(nLacking)},      {doForm, Ref(nNested)},
      {doForm, Ref(nShowing)},      {doForm, Ref(addOuter(""))},
      {doForm, Ref(nMask)},         {"/Pattern cs /P scn", ""},
      {"", addStamp(nLacking)},     {"", addStamp(nShowing)},
      {"", addStamp(nBare)},        {"", "/Annots[" + Ref(nNote) + "]"},
      {"", "/Annots " + Ref(nList)}};
  std::vector<int> fonts;
  for (const auto& [sContent, sUse] : uses)
    for (int nPage = 0; nPage < 2; ++nPage)
    {
      const int nFont = AddFont("/Subtype/Type1/BaseFont/Helvetica/Serial " + std::to_string(fonts.size()));
      fonts.push_back(nFont);
      const int nHolder =
          m_file.AddStream("BT /F 1 Tf ET", sForm + "/Resources<</Font<</F " + Ref(nFont) + ">>>>");
      AddPage("BT /F 1 Tf (a) Tj ET " + sContent,
              "/Font<</F " + Ref(nFont) + ">>/Pattern<</P " + Ref(nCell) + ">>/XObject<</X " +
                  (sContent == doForm ? sUse : Ref(nHolder)) + ">>",
              sContent.empty() ? sUse : "");
    }
  Run();
  for (std::size_t i = 0; i < fonts.size(); ++i)
    EXPECT_EQ(GetUsed(fonts[i]), "all") << i;
}

// Text that a viewer makes is in a font of the form, whether that lists the field or not.
TEST_F(ContentAnalysis, KeepsFontsOfTheFormForTextThatViewersMake)
{
  for (const auto& [szAnnotation, szUsed] :
       {std::pair("/Subtype/Widget/FT/Sig", ""), std::pair("/Subtype/Widget/FT/Sig/DA(/F 1 Tf)", ""),
        std::pair("/Subtype/Stamp", ""), std::pair("/Subtype/Widget/FT/Tx", "all"),
        std::pair("/Subtype/Widget/FT/Btn", "all"), std::pair("/Subtype/FreeText/DA(/F 1 Tf)", "all")})
  {
    SCOPED_TRACE(szAnnotation);
    CSmallFile file;
    std::swap(m_file, file);
    const int nFont = AddFont();
    AddPage("", "", "/Annots[<<" + std::string(szAnnotation) + ">>]");
    Run("/AcroForm<</Fields[<</FT/Sig>>]/DR<</Font<</F " + Ref(nFont) + ">>>>>>");
    EXPECT_EQ(GetUsed(nFont), szUsed);
  }
}

}  // namespace
