// Fonts of a document before and after a save: what text shows is drawn as before, and is found where it was.

#include <gtest/gtest.h>

#include "engine/Optimizer.h"
#include "fonts/pdf/FontRegistry.h"
#include "tests/engine/SmallFile.h"
#include "tests/fonts/common/FontFiles.h"

#include <set>

namespace
{

using Engine::CSmallFile;
using Fonts::CBytes;

std::string Ref(int n)
{
  return std::to_string(n) + " 0 R";
}

CBytes ReadFont(const char* szEnding, const char* szName)
{
  for (const auto& path : Fonts::ListFonts(szEnding))
    if (path.filename().string().find(szName) != std::string::npos)
      return Fonts::ReadBytes(path);
  return {};
}

// The outlines of some glyphs as FreeType sees them, without bitmaps.
std::vector<Fonts::TGlyph> GetGlyphs(const CBytes& data, const std::vector<int>& numbers)
{
  const Fonts::CFontFace face(data);
  std::vector<Fonts::TGlyph> glyphs;
  for (const int nGlyph : numbers)
    EXPECT_TRUE(face.GetGlyph(nGlyph, false, glyphs.emplace_back())) << nGlyph;
  return glyphs;
}

// A document with fonts that is saved, and read again.
class FontOptimizer : public testing::Test
{
protected:
  void SetUp() override
  {
    m_trueType = ReadFont(".ttf", "DejaVuSans");
    if (m_trueType.empty())
      GTEST_SKIP() << "There is no DejaVu font.";
    m_optimizer.GetOptions().m_bSubsetFonts = true;
  }

  int AddProgram(const CBytes& data, const std::string& sEntries = {})
  {
    return m_file.AddStream(std::string(data.begin(), data.end()), sEntries);
  }
  int AddDescriptor(int nProgram, const std::string& sName, int nFlags = 32,
                    const std::string& sKey = "FontFile2")
  {
    return m_file.Add("<</Type/FontDescriptor/FontName/" + sName + "/Flags " + std::to_string(nFlags) +
                      "/CIDSet 99 0 R/CharSet(/A)/" + sKey + " " + Ref(nProgram) + ">>");
  }
  int AddSimple(int nDescriptor, const std::string& sName,
                const std::string& sEntries = "/Encoding/WinAnsiEncoding",
                const std::string& sSubtype = "TrueType")
  {
    return m_file.Add("<</Type/Font/Subtype/" + sSubtype + "/BaseFont/" + sName + sEntries +
                      "/FontDescriptor " + Ref(nDescriptor) +
                      "/Name/F/FirstChar 65/LastChar 66/Widths[684 686]>>");
  }
  int AddComposite(int nDescriptor, const std::string& sName)
  {
    return m_file.Add("<</Type/Font/Subtype/Type0/Encoding/Identity-H/BaseFont/" + sName +
                      "/DescendantFonts[<</Type/Font/Subtype/CIDFontType2/CIDSystemInfo<</Registry(Adobe)"
                      "/Ordering(Identity)/Supplement 0>>/BaseFont/" +
                      sName + "/CIDToGIDMap/Identity/FontDescriptor " + Ref(nDescriptor) + ">>]>>");
  }
  void AddPage(const std::string& sText, int nFont, const std::string& sEntries = {})
  {
    m_file.AddPage("/MediaBox[0 0 100 100]/Contents " +
                   Ref(m_file.AddStream("BT /F 10 Tf " + sText + " Tj ET", "")) + "/Resources<</Font<</F " +
                   Ref(nFont) + ">>>>" + sEntries);
  }
  void Save(const std::string& sCatalog = {}, unsigned nReport = 0)
  {
    const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
    ASSERT_TRUE(m_optimizer.Open(Engine::MakeStream(m_file.Build("", sCatalog)).Get(), nullptr));
    ASSERT_TRUE(m_optimizer.Save(pOutput.Get(), {}));
    ASSERT_EQ(m_errors.GetLastCode(), nReport);
    ASSERT_TRUE(m_result.Open(pOutput.Get(), nullptr));
  }

  PDF::CObjectPtr Font(int nPage = 0) { return m_result.GetPage(nPage)["Resources"]["Font"]["F"]; }
  PDF::CObjectPtr Descriptor(int nPage = 0)
  {
    const PDF::CObjectPtr font = Font(nPage);
    const PDF::CObjectPtr descendant = font["DescendantFonts"][0];
    return (descendant ? descendant : font)["FontDescriptor"];
  }
  CBytes Program(int nPage = 0, const char* szKey = "FontFile2")
  {
    const std::string sData = Engine::ReadAll(Descriptor(nPage)[szKey].GetDecodedStream().Get());
    return {sData.begin(), sData.end()};
  }
  std::string Name(int nPage = 0) { return Font(nPage)["BaseFont"].GetNameValue(); }

  CBytes m_trueType;
  CSmallFile m_file;
  BSE::CErrorHandler m_errors;
  PDF::COptimizer m_optimizer{&m_errors};
  PDF::CDocument m_result{&m_errors};
};

TEST_F(FontOptimizer, KeepsTheGlyphsThatAreShown)
{
  const int nProgram = AddProgram(m_trueType);
  const int nFont = AddComposite(AddDescriptor(nProgram, "DejaVu", 4), "DejaVu");
  AddPage("<00240025>", nFont);
  AddPage("<0026>", nFont);
  Save();
  EXPECT_LT(Program().size(), m_trueType.size() / 4);
  const std::vector<int> numbers = {0, 0x24, 0x25, 0x26};
  EXPECT_EQ(GetGlyphs(Program(), numbers), GetGlyphs(m_trueType, numbers));
  Fonts::TGlyph left;
  EXPECT_TRUE(Fonts::CFontFace(Program()).GetGlyph(0x40, false, left));
  EXPECT_TRUE(left.m_points.empty());
  EXPECT_EQ(Name().size(), std::string("ABCDEF+DejaVu").size());
  EXPECT_EQ(Name(), Descriptor()["FontName"].GetNameValue());
  EXPECT_EQ(Name(), Font()["DescendantFonts"][0]["BaseFont"].GetNameValue());
  EXPECT_TRUE(Descriptor()["CIDSet"].IsNull());
}

// Two fonts of one program, one by codes and one by numbers; the second of two equal fonts; a direct font.
TEST_F(FontOptimizer, SharesProgramsAmongFonts)
{
  const int nProgram = AddProgram(m_trueType);
  const int nDescriptor = AddDescriptor(nProgram, "DejaVu");
  AddPage("(A)", AddSimple(nDescriptor, "DejaVu"));
  AddPage("(B)", AddSimple(nDescriptor, "DejaVu"));
  AddPage("<0026>", AddComposite(AddDescriptor(nProgram, "DejaVu", 4), "DejaVu"));
  m_file.AddPage("/MediaBox[0 0 9 9]/Contents " + Ref(m_file.AddStream("BT /F 1 Tf (D) Tj ET", "")) +
                 "/Resources<</Font<</F<</Type/Font/Subtype/TrueType/BaseFont/Direct/Encoding/WinAnsiEncoding"
                 "/FontDescriptor " +
                 Ref(AddDescriptor(nProgram, "Direct")) + ">>>>>>");
  Save();
  const std::vector<int> numbers = {0, 0x24, 0x25, 0x26, 0x27};
  for (int i = 0; i < 4; ++i)
  {
    EXPECT_LT(Program(i).size(), m_trueType.size() / 4) << i;
    EXPECT_EQ(GetGlyphs(Program(i), numbers), GetGlyphs(m_trueType, numbers)) << i;
  }
}

// A form field shows what is typed into it.
TEST_F(FontOptimizer, LeavesFontsOfFormsWhole)
{
  const int nFont = AddSimple(AddDescriptor(AddProgram(m_trueType), "DejaVu"), "DejaVu");
  AddPage("(A)", nFont);
  Save("/AcroForm<</Fields[]/DR<</Font<</F " + Ref(nFont) + ">>>>>>");
  EXPECT_EQ(Program(), m_trueType);
  EXPECT_EQ(Name(), "DejaVu");
}

// Appearances show what their content says, but for text that a form may change.
TEST_F(FontOptimizer, ReadsAppearances)
{
  for (const char* szKind : {"/Subtype/Stamp", "/Subtype/Widget/Parent<</FT/Btn>>", "/Subtype/Widget/FT/Tx",
                             "/Subtype/Widget/Parent<</FT/Ch>>", "/Subtype/Widget"})
  {
    SCOPED_TRACE(szKind);
    CSmallFile file;
    std::swap(m_file, file);
    const int nFont = AddSimple(AddDescriptor(AddProgram(m_trueType), "DejaVu"), "DejaVu");
    const std::string sResources = "/Resources<</Font<</G " + Ref(nFont) + ">>>>";
    const int nLook = m_file.AddStream("BT /G 9 Tf (B) Tj ET", "/Subtype/Form/BBox[0 0 9 9]" + sResources);
    AddPage("(A)", nFont, std::string("/Annots[<<") + szKind + "/AP<</D<</On " + Ref(nLook) + ">>>>>>]");
    Save();
    const bool bSubset = std::string(szKind).find("Stamp") != std::string::npos ||
                         std::string(szKind).find("Btn") != std::string::npos;
    EXPECT_EQ(Program().size() < m_trueType.size() / 4, bSubset);
    EXPECT_EQ(GetGlyphs(Program(), {0x24, 0x25}), GetGlyphs(m_trueType, {0x24, 0x25}));
  }
}

// Many readers take what an appearance lacks from the page.
TEST_F(FontOptimizer, KeepsFontsThatAnAppearanceLacks)
{
  const int nFont = AddSimple(AddDescriptor(AddProgram(m_trueType), "DejaVu"), "DejaVu");
  const int nLook = m_file.AddStream("BT /F 9 Tf (B) Tj ET", "/Subtype/Form/BBox[0 0 9 9]/Resources<<>>");
  AddPage("(A)", nFont, "/Annots[<</Subtype/Stamp/AP<</N " + Ref(nLook) + ">>>>]");
  Save({}, 0x8041050B);
  EXPECT_EQ(Program(), m_trueType);
}

TEST_F(FontOptimizer, MergesSubsetsOfOneFont)
{
  m_optimizer.GetOptions().m_bMergeEmbeddedFonts = true;
  for (int i = 0; i < 3; ++i)
  {
    // Each has other glyphs.
    const BSE::CScopedPtr<PDF::CFontProgram> pProgram =
        PDF::CFontProgram::Create(Fonts::ToArray(m_trueType), nullptr, false, nullptr);
    for (const int nGlyph : {0, 0x24 + i, 0x30 + i})
      pProgram->GetUsedGlyphs()[static_cast<std::size_t>(nGlyph)] = 1;
    ASSERT_TRUE(pProgram->CanSubset() && pProgram->Subset(PDF::g_nUsedByCID));
    BSE::CMemoryStream stream;
    ASSERT_TRUE(pProgram->Write(stream, PDF::g_nUsedByCID, nullptr));
    const std::string sName = std::string("ABCDE") + static_cast<char>('A' + i) + "+DejaVu";
    const std::string sHex = i == 0 ? "<00240030>" : i == 1 ? "<00250031>" : "<00260032>";
    AddPage(sHex, AddComposite(AddDescriptor(AddProgram(Fonts::TakeBytes(stream)), sName, 4), sName));
  }
  Save();
  std::set<int> programs;
  for (int i = 0; i < 3; ++i)
  {
    programs.insert(Descriptor(i)["FontFile2"].GetObjNumber());
    const std::vector<int> numbers = {0x24 + i, 0x30 + i};
    EXPECT_EQ(GetGlyphs(Program(i), numbers), GetGlyphs(m_trueType, numbers)) << i;
    EXPECT_EQ(Name(i), Name(0));
  }
  EXPECT_EQ(programs.size(), 1U);
}

TEST_F(FontOptimizer, ConvertsType1)
{
  const CBytes type1 = ReadFont(".t1", "NimbusRoman-Regular");
  if (type1.empty())
    GTEST_SKIP() << "There is no Type 1 font.";
  m_optimizer.GetOptions().m_bConvertToCFF = true;
  AddPage("(AB)", AddSimple(AddDescriptor(AddProgram(type1, "/Length1 1/Length2 2/Length3 0"), "Nimbus", 32,
                                          "FontFile"),
                            "Nimbus", {}, "Type1"));
  Save();
  EXPECT_TRUE(Descriptor()["FontFile"].IsNull());
  const PDF::CObjectPtr stream = Descriptor()["FontFile3"];
  EXPECT_TRUE(stream["Subtype"].IsName("Type1C"));
  EXPECT_TRUE(stream["Length1"].IsNull());
  const Fonts::CFontFace face(Program(0, "FontFile3"));
  EXPECT_EQ(face.GetGlyphCount(), 3);
  std::set<std::string> names;
  for (int i = 0; i < face.GetGlyphCount(); ++i)
    names.insert(face.GetGlyphName(i));
  EXPECT_EQ(names, (std::set<std::string>{".notdef", "A", "B"}));
}

TEST_F(FontOptimizer, RenamesAndUnembeds)
{
  const int nProgram = AddProgram(m_trueType);
  const int nShared = AddDescriptor(nProgram, "Shared", 4);
  const int nText = m_file.AddStream(
      "1 begincodespacerange <00> <FF> endcodespacerange 1 beginbfchar <41> <03B1> endbfchar", "");
  AddPage("(A)", AddSimple(nShared, "ABCDEF+Gone", "/ToUnicode " + Ref(nText)));
  AddPage("(A)", AddSimple(nShared, "ABCDEF+Stays"));
  AddPage("(A)", AddSimple(nShared, "NoText", {}));
  AddPage("(AB)",
          AddSimple(nShared, "SomeText", "/Encoding<</Differences[65/G1/G2]>>/ToUnicode " + Ref(nText)));
  ASSERT_TRUE(m_optimizer.GetFontEdits().Unembed(BSE::CStr8("Gone")));
  ASSERT_TRUE(m_optimizer.GetFontEdits().Unembed(BSE::CStr8("NoText")));
  ASSERT_TRUE(m_optimizer.GetFontEdits().Unembed(BSE::CStr8("SomeText")));
  ASSERT_TRUE(m_optimizer.GetFontEdits().Rename(BSE::CStr8("Stays"), BSE::CStr8("Other")));
  Save();
  EXPECT_EQ(Name(0), "Gone");
  EXPECT_TRUE(Descriptor(0)["FontFile2"].IsNull());
  EXPECT_EQ(Descriptor(0)["Flags"].GetIntegerValue(), 32);
  EXPECT_TRUE(Font(0)["Encoding"]["BaseEncoding"].IsName("WinAnsiEncoding"));
  EXPECT_TRUE(Font(0)["Encoding"]["Differences"][1].IsName("alpha"));
  EXPECT_EQ(Name(1).substr(6), "+Other");
  for (const int nPage : {1, 2, 3})
    EXPECT_TRUE(Descriptor(nPage)["FontFile2"].IsStream());
}

TEST_F(FontOptimizer, ReplacesStandardFonts)
{
  m_optimizer.GetOptions().m_bRemoveStandardFonts = true;
  const int nProgram = AddProgram(m_trueType);
  const auto add = [&](const std::string& sName, const std::string& sEntries)
  {
    AddPage("(A)", m_file.Add("<</Type/Font/Subtype/TrueType/BaseFont/" + sName + sEntries +
                              "/FontDescriptor " + Ref(AddDescriptor(nProgram, sName)) + ">>"));
  };
  const std::string sEncoding = "/Encoding/WinAnsiEncoding";
  add("ABCDEF+Arial-BoldMT", sEncoding + "/FirstChar 65/LastChar 65/Widths[722]");
  add("Arial-BoldMT", sEncoding + "/FirstChar 65/LastChar 65/Widths[722.5]");
  add("Arial-Bold", sEncoding + "/FirstChar 65/LastChar 65/Widths[500]");
  add("ABCDE+Arial", sEncoding);
  add("Symbol", sEncoding);
  add("Times#20New#20Roman", "/Encoding<</Differences[65/g36]>>");
  add("TimesNewRoman", "/Encoding<</Differences[65/B]>>");
  Save();
  for (const int nPage : {0, 1, 2})
    EXPECT_EQ(Name(nPage), "Helvetica-Bold") << nPage;
  EXPECT_EQ(Font(0).GetObjNumber(), Font(1).GetObjNumber());
  EXPECT_TRUE(Font(0)["FontDescriptor"].IsNull());
  EXPECT_EQ(Font(2)["Widths"][0].GetIntegerValue(), 500);
  EXPECT_EQ(Name(6), "Times-Roman");
  for (const int nPage : {3, 4, 5})
    EXPECT_TRUE(Descriptor(nPage)["FontFile2"].IsStream()) << nPage;
}

}  // namespace
