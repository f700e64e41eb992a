// Which font stands for one that a document has not embedded.

#include "fonts/installed/InstalledFontCollection.h"
#include "fonts/pdf/FontProgramType1C.h"
#include "fonts/pdf/StandardFonts.h"
#include "tests/fonts/pdf/FontDocument.h"
#include "tests/support/TempFolder.h"

#include <cstdlib>

namespace PDF
{

namespace
{

std::string ToText(const BSE::CStr16& text)
{
  return {text.GetSpan().begin(), text.GetSpan().end()};
}

TEST(FontDistance, AddsWhatIsUnlike)
{
  const CFontCharacteristics plain;
  const auto distance = [](auto fnCandidate, auto fnTarget)
  {
    CFontCharacteristics candidate;
    CFontCharacteristics target;
    fnCandidate(candidate);
    fnTarget(target);
    return candidate.GetDistance(target);
  };
  const auto none = [](CFontCharacteristics&) {};
  const auto thai = [](CFontCharacteristics& font) { font.AddCoverage(CFontCharacteristics::g_nThai); };
  const auto fixed = [](CFontCharacteristics& font) { font.m_bFixedPitch = 1; };
  const auto italic = [](CFontCharacteristics& font) { font.m_bItalic = 1; };
  EXPECT_EQ(plain.GetDistance(plain), 0);
  EXPECT_EQ(distance(thai, none), 0) << "nothing is asked for";
  EXPECT_EQ(distance(none, thai), 65000);
  EXPECT_EQ(distance([](auto& font) { font.m_bSymbol = font.m_bNarrow = font.m_bExpanded = 1; }, thai),
            83000);
  EXPECT_EQ(distance(none, fixed), 15000);
  EXPECT_EQ(distance(fixed, none), 350);
  EXPECT_EQ(distance([](auto& font) { font.m_bSerif = font.m_bScript = 1; }, none), 18000);
  EXPECT_EQ(distance(none, italic), 350);
  EXPECT_EQ(distance([](auto& font) { font.m_bItalic = 1, font.m_dItalicAngle = -12; }, italic), 12);
  EXPECT_EQ(distance([](auto& font) { font.m_dWeight = 700; }, none), 9000);
  EXPECT_EQ(distance([](auto& font) { font.m_dWeight = 0; }, none), 0);
  EXPECT_EQ(distance([](auto& font) { font.m_dWidth = 500; }, none), 10);
  EXPECT_EQ(distance([](auto& font) { font.m_bFixedPitch = 1, font.m_dWidth = 500; }, fixed), 5000);
  EXPECT_EQ(distance([](auto& font) { font.m_dAscent = 700; }, [](auto& font) { font.m_dAscent = 900; }), 20);
  EXPECT_EQ(distance([](auto& font) { font.m_dXHeight = 700; }, none), 0);
}

class NearestFont : public testing::Test
{
protected:
  void SetUp() override
  {
    setenv("HOME", m_folder.GetPath().c_str(), 1);
    std::filesystem::create_directories(m_folder / ".norvane/fonts");
  }

  CInstalledFont& Add(const char16_t* szName, const char16_t* szFamily = u"")
  {
    const BSE::CObjectPtr<CInstalledFont> pFont(new CInstalledFont);
    pFont->m_sName = BSE::CStr16(szName);
    pFont->m_sFamily = BSE::CStr16(szFamily);
    pFont->m_sFile = BSE::CStr8("nowhere");
    m_fonts.AddFont(*pFont, false);
    return *pFont;
  }
  std::string GetNearest(const std::string& sFont, const std::string& sEntries = {})
  {
    Support::CPdfBuilder builder;
    const int nFont = builder.AddObject("<</Type/Font/Subtype/Type1/BaseFont/" + sFont + sEntries + ">>");
    return GetNearestOf(builder, nFont);
  }
  std::string GetNearestComposite(const std::string& sOrdering, int nFlags)
  {
    Support::CPdfBuilder builder;
    const int nFont = builder.AddObject(
        "<</Type/Font/Subtype/Type0/BaseFont/F/Encoding/Identity-H/DescendantFonts[<</Type/Font/Subtype/"
        "CIDFontType0"
        "/BaseFont/F/CIDSystemInfo<</Registry(Adobe)/Ordering(" +
        sOrdering + ")/Supplement 0>>/FontDescriptor<</Flags " + std::to_string(nFlags) + ">>>>]>>");
    return GetNearestOf(builder, nFont);
  }
  std::string GetNearestOf(Support::CPdfBuilder& builder, int nFont)
  {
    Fonts::CFontDocument document(builder.Build());
    BSE::CScopedPtr<CFontProgram> pInstance;
    const CInstalledFont* pFound = m_fonts.GetNearestFont(*document.GetFont(nFont), pInstance);
    return pFound ? ToText(pFound->m_sName) : "none";
  }

  Support::CTempFolder m_folder;
  CInstalledFontCollection m_fonts;
};

TEST_F(NearestFont, IsFoundByName)
{
  Add(u"DejaVuSans", u"DejaVu Sans").m_dWeight = 500;
  Add(u"HELVETICA-bold");
  Add(u"Special#One");
  EXPECT_EQ(GetNearest("ABCDEF+Arial,Bold"), "HELVETICA-bold");
  EXPECT_EQ(GetNearest("dejavusans"), "DejaVuSans");
  EXPECT_EQ(GetNearest("DejaVu#20Sans"), "DejaVuSans");
  Add(u"dejavuSANS");
  EXPECT_EQ(GetNearest("DejaVuSans"), "dejavuSANS") << "the last one";
  Add(u"NimbusSansNarrow-Bold").m_bNarrow = 1;
  EXPECT_EQ(GetNearest("ArialNarrow,Bold"), "NimbusSansNarrow-Bold");
  CInstalledFont& nameless = *new CInstalledFont;
  const BSE::CObjectPtr<CInstalledFont> pOwner(&nameless);
  EXPECT_FALSE(m_fonts.AddFont(nameless, false));
}

TEST_F(NearestFont, IsThatOfTheSettings)
{
  const auto settings = m_folder / ".norvane/fonts/fonts.ini";
  Support::WriteFile(settings, "[replace]\nOdd=second\nGone=nobody\n");
  Add(u"Odd");
  Add(u"Second");
  m_fonts.Load(nullptr);
  EXPECT_EQ(GetNearest("Odd"), "Second");
  EXPECT_EQ(GetNearest("Gone"), "Odd") << "the first of two that are equal";
  setenv("PDFFONTDIR", m_folder.GetPath().c_str(), 1);
  Support::WriteFile(m_folder / "fonts.ini", "[replace]\nOther=Second");
  CInstalledFontCollection other;
  other.Load(nullptr);
  unsetenv("PDFFONTDIR");
  other.AddFont(Add(u"Second"), false);
  other.AddFont(Add(u"Odd"), false);
  Support::CPdfBuilder builder;
  const int nFont = builder.AddObject("<</Type/Font/Subtype/Type1/BaseFont/Odd>>");
  Fonts::CFontDocument document(builder.Build());
  EXPECT_EQ(other.ApplyReplacements(*document.GetFont(nFont)), nullptr);
}

TEST_F(NearestFont, HasTheScript)
{
  Add(u"NotoSans-Regular");
  EXPECT_EQ(GetNearestComposite("Japan1", 4), "NotoSans-Regular");
  Add(u"NotoSerifCJKjp-Regular");
  EXPECT_EQ(GetNearestComposite("Japan1", 4), "NotoSerifCJKjp-Regular");
  Add(u"NotoSansCJKjp-Regular");
  EXPECT_EQ(GetNearestComposite("Japan1", 4), "NotoSansCJKjp-Regular");
  EXPECT_EQ(GetNearestComposite("Japan1", 6), "NotoSerifCJKjp-Regular");
  Add(u"MS-Gothic-PS", u"Arial Unicode MS");
  EXPECT_EQ(GetNearestComposite("Korea1", 4), "MS-Gothic-PS");
  EXPECT_EQ(GetNearestComposite("CNS1", 4), "MS-Gothic-PS");
  EXPECT_EQ(GetNearestComposite("GB1", 4), "NotoSans-Regular");
}

TEST_F(NearestFont, IsMostAlike)
{
  EXPECT_EQ(GetNearest("Anything"), "none");
  CInstalledFont& serif = Add(u"Serif");
  serif.m_bSerif = 1;
  Add(u"Mono").m_bFixedPitch = 1;
  Add(u"Sans");
  CInstalledFont& bold = Add(u"SansBold");
  bold.m_dWeight = 700;
  Add(u"Sans2");
  EXPECT_EQ(GetNearest("Anything"), "Sans");
  EXPECT_EQ(GetNearest("Anything-Semibold"), "SansBold");
  EXPECT_EQ(GetNearest("Anything", "/FontDescriptor<</Flags 34>>"), "Serif");
  EXPECT_EQ(GetNearest("Anything", "/FontDescriptor<</Flags 262176>>"), "SansBold");
  EXPECT_EQ(GetNearest("CourierNew"), "Mono");
  EXPECT_EQ(GetNearest("Pictures", "/FontDescriptor<</Flags 4>>"), "none") << "letters are no pictures";
  EXPECT_EQ(GetNearest("Pictures", "/Encoding/WinAnsiEncoding/FontDescriptor<</Flags 4>>"), "Sans");
  EXPECT_EQ(GetNearest("Anything", "/FontDescriptor<</Flags 32/Ascent 1e300/AvgWidth -1e40>>"), "Sans");
}

TEST_F(NearestFont, IsMadeOfAVariableOne)
{
  CInstalledFontCollection fonts;
  fonts.AddFontDirectory("tests/fonts/installed/samples");
  fonts.Load(nullptr);
  Support::CPdfBuilder builder;
  const int nFont = builder.AddObject(
      "<</Type/Font/Subtype/TrueType/BaseFont/Heavy/Encoding/WinAnsiEncoding/FontDescriptor<</Flags "
      "32/FontWeight 9999"
      ">>>>");
  const int nWide = builder.AddObject(
      "<</Type/Font/Subtype/TrueType/BaseFont/Wide/Encoding/WinAnsiEncoding/FontDescriptor<</Flags "
      "32/AvgWidth 900>>>>");
  Fonts::CFontDocument document(builder.Build());
  const auto pFont = document.GetFont(nFont);
  pFont->GetUsedChars()['A'] = 1;
  BSE::CScopedPtr<CFontProgram> pProgram;
  EXPECT_NE(fonts.GetNearestFont(*pFont, pProgram), nullptr);
  ASSERT_TRUE(pProgram);
  EXPECT_EQ(pProgram->GetGlyphCount(), 2);
  EXPECT_EQ(pProgram->GetGlyphIndexByName("A"), 1);
  EXPECT_EQ(pProgram->GetGlyphIndexByCode('A'), 1);
  EXPECT_EQ(pProgram->GetWidth(1), 800);
  FONT::CGlyph outline;
  ASSERT_TRUE(pProgram->GetOutline(1, outline));
  ASSERT_GE(outline.m_segments.GetSize(), 4);
  EXPECT_EQ(pProgram->GetFontBBox().m_dRight, 700);
  const auto pWide = document.GetFont(nWide);
  pWide->GetUsedChars()['B'] = 1;
  fonts.GetNearestFont(*pWide, pProgram);
  ASSERT_TRUE(pProgram);
  EXPECT_EQ(pProgram->GetWidth(1), 700);
  pFont->GetUsedChars()['C'] = 1;
  const CInstalledFont* pFound = fonts.GetNearestFont(*pFont, pProgram);
  EXPECT_FALSE(pProgram) << "a glyph is missing";
  ASSERT_NE(pFound, nullptr);
  EXPECT_EQ(ToText(pFound->m_sName), "NotoSans-Regular") << "the nearest, as it is";
}

TEST_F(NearestFont, HasAStandardFallback)
{
  Support::CPdfBuilder builder;
  const std::pair<int, const char*> aFonts[] = {{32, "Helvetica"},
                                                {64, "Helvetica-Oblique"},
                                                {2 + 64 + (1 << 18), "Times-BoldItalic"},
                                                {1 + (1 << 18), "Courier-Bold"},
                                                {3, "Courier"}};
  std::vector<int> numbers;
  for (const auto& font : aFonts)
    numbers.push_back(builder.AddObject("<</Type/Font/Subtype/Type1/BaseFont/X" + std::to_string(font.first) +
                                        "/FontDescriptor<</Flags " + std::to_string(font.first) + ">>>>"));
  const int nType3 = builder.AddObject("<</Type/Font/Subtype/Type3/CharProcs<<>>/FontMatrix[1 0 0 1 0 0]>>");
  Fonts::CFontDocument document(builder.Build());
  for (std::size_t i = 0; i < numbers.size(); ++i)
    EXPECT_STREQ(GetStandardFallback(*document.GetFont(numbers[i]))->m_szName, aFonts[i].second);
  EXPECT_EQ(GetStandardFallback(*document.GetFont(nType3)), nullptr);
}

}  // namespace

}  // namespace PDF
