// Fonts of a document before and after a save: what text shows is drawn as before, and is found where it was.

#include <gtest/gtest.h>

#include "engine/Optimizer.h"
#include "engine/StatusCodes.h"
#include "fonts/common/StatusCodes.h"
#include "fonts/pdf/FontRegistry.h"
#include "tests/engine/SmallFile.h"
#include "tests/fonts/common/FontFiles.h"
#include "tests/support/TempFolder.h"

#include <sys/stat.h>

#include <cstdlib>

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
  // A file with these bytes that is to be embedded in the fonts of a name.
  void Embed(const std::string& sName, const CBytes& data)
  {
    const auto path = m_folder / (sName + ".font");
    Support::WriteFile(path, std::string(data.begin(), data.end()));
    ASSERT_TRUE(m_optimizer.GetFontEdits().Embed(BSE::CStr8(sName.c_str()), BSE::CStr8(path.c_str())));
  }
  int AddDescendant(const std::string& sEntries = {})
  {
    return m_file.Add(
        "<</Type/Font/Subtype/CIDFontType0/BaseFont/C/CIDSystemInfo<</Registry(Adobe)/Ordering(Identity)"
        "/Supplement 0>>" +
        sEntries + ">>");
  }
  int AddComposite(const std::string& sName, int nDescendant, int nText)
  {
    return m_file.Add("<</Type/Font/Subtype/Type0/Encoding/Identity-H/BaseFont/" + sName +
                      "/DescendantFonts[" + Ref(nDescendant) + "]/ToUnicode " + Ref(nText) + ">>");
  }
  int AddText(const std::string& sMappings, int nCount)
  {
    return m_file.AddStream("1 begincodespacerange <0000> <FFFF> endcodespacerange " +
                                std::to_string(nCount) + " beginbfchar " + sMappings + " endbfchar",
                            "");
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

  Support::CTempFolder m_folder;
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

// Text by the collection of a CMap ends where a table says something of some codes.
TEST_F(FontOptimizer, MergesNoFontThatNeedsNoTableIntoOneWithATable)
{
  const int nDescriptor = AddDescriptor(AddProgram(m_trueType), "A");
  const auto addFont = [&](const std::string& sEncoding, const std::string& sEntries)
  {
    return m_file.Add("<</Type/Font/Subtype/Type0/BaseFont/A/Encoding/" + sEncoding + sEntries +
                      "/DescendantFonts[<</Type/Font/Subtype/CIDFontType2/BaseFont/A/CIDToGIDMap/Identity"
                      "/CIDSystemInfo<</Registry(Adobe)/Ordering(GB1)/Supplement 0>>/FontDescriptor " +
                      Ref(nDescriptor) + ">>]>>");
  };
  const std::string sTable = "/ToUnicode " + Ref(AddText("<0042> <0042>", 1));
  for (const char* szEncoding : {"Identity-H", "UniGB-UCS2-H"})
  {
    AddPage("<0042>", addFont(szEncoding, sTable));
    AddPage("<0041>", addFont(szEncoding, ""));
  }
  m_optimizer.GetOptions().m_bMergeFonts = true;
  Save();
  EXPECT_EQ(Font(0).GetObjNumber(), Font(1).GetObjNumber());
  EXPECT_NE(Font(2).GetObjNumber(), Font(3).GetObjNumber());
  EXPECT_FALSE(Font(3)["ToUnicode"]);
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

// A font by names, two of one program that disagree, and one by CIDs.
TEST_F(FontOptimizer, ConvertsToType1)
{
  m_optimizer.GetOptions().m_bConvertToType1 = true;
  AddPage("(AB)", AddSimple(AddDescriptor(AddProgram(m_trueType), "DejaVu"), "DejaVu"));
  const int nShared = AddDescriptor(AddProgram(m_trueType), "DejaVu");
  AddPage("(A)", AddSimple(nShared, "Shared"));
  AddPage("(A)", AddSimple(nShared, "Other", "/Encoding<</Differences[65/B]>>"));
  AddPage("<0026>", AddComposite(AddDescriptor(AddProgram(m_trueType), "DejaVu", 4), "DejaVu"));
  Save();
  EXPECT_TRUE(Font()["Subtype"].IsName("Type1"));
  EXPECT_TRUE(Descriptor()["FontFile2"].IsNull());
  const PDF::CObjectPtr stream = Descriptor()["FontFile"];
  EXPECT_EQ(
      static_cast<std::size_t>(stream["Length1"].GetIntegerValue() + stream["Length2"].GetIntegerValue() +
                               stream["Length3"].GetIntegerValue()),
      Program(0, "FontFile").size());
  const Fonts::CFontFace face(Program(0, "FontFile"));
  ASSERT_EQ(face.GetGlyphCount(), 3);
  EXPECT_EQ(face.GetGlyphName(1), "A");
  Fonts::TGlyph glyph;
  EXPECT_TRUE(face.GetGlyph(1, false, glyph) && !glyph.m_points.empty());
  for (const int nPage : {1, 2, 3})
    EXPECT_TRUE(Descriptor(nPage)["FontFile2"].IsStream()) << nPage;
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
  Save({}, PDF::g_nFontStaysEmbedded);
  EXPECT_EQ(Name(0), "Gone");
  EXPECT_TRUE(Descriptor(0)["FontFile2"].IsNull());
  EXPECT_EQ(Descriptor(0)["Flags"].GetIntegerValue(), 32);
  EXPECT_TRUE(Font(0)["Encoding"]["BaseEncoding"].IsName("WinAnsiEncoding"));
  EXPECT_TRUE(Font(0)["Encoding"]["Differences"][1].IsName("alpha"));
  EXPECT_EQ(Name(1).substr(6), "+Other");
  for (const int nPage : {1, 2, 3})
    EXPECT_TRUE(Descriptor(nPage)["FontFile2"].IsStream());
}

// All fonts may be none; those of a name, or of one that is only like it, are missed. A font without an
// object has nothing that could be reported to.
TEST_F(FontOptimizer, ReportsWhatDidNotHappen)
{
  AddPage("(A)", m_file.Add("<</Type/Font/Subtype/Type1/BaseFont/ABCDEF+Helvetica>>"));
  m_file.AddPage("/Contents " + Ref(m_file.AddStream("BT /F 1 Tf (A) Tj ET", "")) +
                 "/Resources<</Font<</F<</Type/Font/Subtype/Type1/BaseFont/Direct>>>>>>");
  const auto save = [&](const auto& request)
  {
    BSE::CErrorHandler errors;
    PDF::COptimizer optimizer(&errors);
    request(optimizer.GetFontEdits());
    const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
    EXPECT_TRUE(optimizer.Open(Engine::MakeStream(CSmallFile(m_file).Build("")).Get(), nullptr));
    EXPECT_TRUE(optimizer.Save(pOutput.Get(), {}));
    return errors.GetLastCode();
  };
  EXPECT_EQ(save([](PDF::CFontEdits& edits) { edits.Unembed("*"); }), 0U);
  EXPECT_EQ(save([](PDF::CFontEdits& edits) { edits.Unembed("Helvetica"); }), 0U);
  EXPECT_EQ(save([](PDF::CFontEdits& edits) { edits.Unembed("helvetica"); }), PDF::g_nFontUnknownName);
  EXPECT_EQ(save([](PDF::CFontEdits& edits) { edits.Embed("*", {}); }), PDF::g_nFontUnknownName);
  EXPECT_EQ(save([](PDF::CFontEdits& edits) { edits.Rename("Direct", "X"); }), PDF::g_nDirectObject);
  EXPECT_EQ(save([](PDF::CFontEdits& edits) { edits.Embed("Direct", {}); }), PDF::g_nDirectObject);
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

TEST_F(FontOptimizer, EmbedsInSimpleFonts)
{
  Embed("Helvetica", m_trueType);
  Embed("Odd", m_trueType);
  AddPage("(A' )", m_file.Add("<</Type/Font/Subtype/Type1/BaseFont/ABCDEF+Helvetica>>"));
  AddPage("(AB)",
          m_file.Add("<</Type/Font/Subtype/Type1/BaseFont/Odd/FirstChar 65/Widths[1 2]/Encoding<</Differences"
                     "[65/alpha/B]>>>>"));
  AddPage("(A)", m_file.Add("<</Type/Font/Subtype/TrueType/BaseFont/Odd/Encoding/WinAnsiEncoding>>"));
  Save();
  const PDF::CObjectPtr differences = Font(0)["Encoding"]["Differences"];
  ASSERT_EQ(differences.GetSize(), 6);
  EXPECT_EQ(differences[2].GetIntegerValue(), 39);
  EXPECT_TRUE(differences[3].IsName("quoteright"));
  EXPECT_TRUE(Font(0)["Subtype"].IsName("TrueType"));
  EXPECT_EQ(Font(0)["FirstChar"].GetIntegerValue(), 32);
  EXPECT_EQ(Font(0)["Widths"][65 - 32].GetIntegerValue(), 667);
  EXPECT_EQ(Descriptor(0)["Flags"].GetIntegerValue(), 32);
  EXPECT_EQ(Descriptor(0)["Ascent"].GetIntegerValue(), 928);
  EXPECT_EQ(Name(0).substr(6), "+Helvetica");
  EXPECT_LT(Program(0).size(), m_trueType.size() / 10);
  EXPECT_EQ(GetGlyphs(Program(0), {0x24}), GetGlyphs(m_trueType, {0x24}));
  EXPECT_TRUE(Font(1)["Encoding"]["Differences"][1].IsName("alpha"));
  EXPECT_EQ(Font(1)["Widths"][0].GetIntegerValue(), 1);
  EXPECT_TRUE(Font(2)["Encoding"].IsName("WinAnsiEncoding"));
  EXPECT_GT(Font(2)["Widths"][0].GetRealValue(), 600);
}

// Two fonts of one descendant use different CIDs; two CIDs have one character.
TEST_F(FontOptimizer, EmbedsInCompositeFonts)
{
  const CBytes otf = ReadFont(".otf", "NimbusSans-Regular");
  const int nText = AddText("<0003> <0041> <0009> <0041> <0007> <03A9> <0005> <0416>", 4);
  for (const std::string& sName : {std::string("T"), std::string("O")})
  {
    const int nDescendant = AddDescendant("/W[3[700]]");
    Embed(sName, sName == "T" || otf.empty() ? m_trueType : otf);
    AddPage("<00030009>", AddComposite(sName, nDescendant, nText));
    AddPage("<0005>", AddComposite(sName + "#20", nDescendant, nText));
  }
  Save();
  const PDF::CObjectPtr descendant = Font()["DescendantFonts"][0];
  EXPECT_TRUE(descendant["Subtype"].IsName("CIDFontType2"));
  EXPECT_EQ(descendant["W"][1][0].GetIntegerValue(), 700);
  const std::string sMap = Engine::ReadAll(descendant["CIDToGIDMap"].GetDecodedStream().Get());
  ASSERT_EQ(sMap.size(), 20U);
  EXPECT_EQ(sMap.substr(6, 2), std::string("\0\x24", 2));
  EXPECT_EQ(sMap.substr(18, 2), std::string("\0\x24", 2));
  EXPECT_EQ(Descriptor(1)["FontFile2"].GetObjNumber(), Descriptor(0)["FontFile2"].GetObjNumber());
  const int nGlyph = static_cast<unsigned char>(sMap[10]) << 8 | static_cast<unsigned char>(sMap[11]);
  EXPECT_EQ(GetGlyphs(Program(), {0x24, nGlyph}), GetGlyphs(m_trueType, {0x24, nGlyph}));
  if (otf.empty())
    return;
  const CBytes bare = Program(2, "FontFile3");
  const BSE::CScopedPtr<PDF::CFontProgram> pProgram =
      PDF::CFontProgram::Create(Fonts::ToArray(bare), nullptr, true, nullptr);
  ASSERT_TRUE(pProgram && pProgram->IsCIDKeyed());
  EXPECT_EQ(pProgram->GetGlyphCount(), 4);
  for (const int nCID : {3, 5, 9})
    EXPECT_GT(pProgram->GetGlyphIndexByCID(nCID), 0) << nCID;
  EXPECT_EQ(pProgram->GetWidth(pProgram->GetGlyphIndexByCID(9)), 667);
}

// Whatever is wrong with a file, the font stays as it is, which is told.
TEST_F(FontOptimizer, EmbedsNothingThatDoesNotFit)
{
  CBytes restricted = m_trueType;
  const std::string sTag = "OS/2";
  const auto entry =
      std::search(restricted.begin(), restricted.end(), sTag.begin(), sTag.end()) - restricted.begin();
  const std::size_t nTable = static_cast<std::size_t>(restricted[entry + 9] << 16 |
                                                      restricted[entry + 10] << 8 | restricted[entry + 11]);
  restricted[nTable + 9] = 2;
  const std::pair<CBytes, unsigned> aFiles[] = {
      {restricted, PDF::g_nFontLicence},
      {CBytes(m_trueType.begin(), m_trueType.begin() + 100000), FONT::g_nFontUnreadable},
      {{}, FONT::g_nFontUnreadable}};
  for (const auto& [data, nCode] : aFiles)
  {
    BSE::CErrorHandler errors;
    PDF::COptimizer optimizer(&errors);
    const auto path = m_folder / "file";
    Support::WriteFile(path, std::string(data.begin(), data.end()));
    optimizer.GetFontEdits().Embed(BSE::CStr8("Helvetica"), BSE::CStr8(path.c_str()));
    CSmallFile file;
    const int nFont = file.Add("<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>");
    file.AddPage("/MediaBox[0 0 9 9]/Contents " + Ref(file.AddStream("BT /F 1 Tf (D) Tj ET", "")) +
                 "/Resources<</Font<</F " + Ref(nFont) + ">>>>");
    const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
    ASSERT_TRUE(optimizer.Open(Engine::MakeStream(file.Build("")).Get(), nullptr));
    EXPECT_TRUE(optimizer.Save(pOutput.Get(), {}));
    EXPECT_EQ(errors.GetLastCode(), nCode);
  }
  // No glyph, no text, a pipe.
  Embed("Missing", m_trueType);
  AddPage("(A)",
          m_file.Add("<</Type/Font/Subtype/Type1/BaseFont/Missing/Encoding<</Differences[65/a1000]>>>>"));
  AddPage("<0008>", AddComposite("Missing", AddDescendant(), AddText("<0003> <0041>", 1)));
  ASSERT_EQ(mkfifo((m_folder / "pipe").c_str(), 0600), 0);
  m_optimizer.GetFontEdits().Embed(BSE::CStr8("Pipe"), BSE::CStr8((m_folder / "pipe").c_str()));
  AddPage("(A)", m_file.Add("<</Type/Font/Subtype/Type1/BaseFont/Pipe>>"));
  Save({}, FONT::g_nFontUnreadable);
  for (const int nPage : {0, 1, 2})
    EXPECT_TRUE(Descriptor(nPage).IsNull()) << nPage;
}

// One that is compiled in, and one that is made of a variable font.
TEST_F(FontOptimizer, EmbedsTheNearestFont)
{
  constexpr const char* szSamples = "tests/fonts/installed/samples";
  ASSERT_TRUE(std::filesystem::exists(szSamples)) << "tests run in the folder of the project";
  setenv("HOME", m_folder.GetPath().c_str(), 1);
  setenv("PDFFONTDIR", szSamples, 1);
  ASSERT_TRUE(m_optimizer.GetFontEdits().Embed(BSE::CStr8("Any-Bold"), {}));
  ASSERT_TRUE(m_optimizer.GetFontEdits().Embed(BSE::CStr8("ZapfDingbats"), {}));
  AddPage("(!4)", m_file.Add("<</Type/Font/Subtype/Type1/BaseFont/ZapfDingbats>>"));
  AddPage("<00070003>", AddComposite("Any-Bold", AddDescendant(), AddText("<0003> <0041> <0007> <0042>", 2)));
  AddPage("(BA)", m_file.Add("<</Type/Font/Subtype/Type1/BaseFont/Any-Bold/Encoding/WinAnsiEncoding>>"));
  Save();
  EXPECT_TRUE(Font()["Encoding"].IsNull());
  EXPECT_EQ(Descriptor()["Flags"].GetIntegerValue(), 4);
  const Fonts::CFontFace face(Program(0, "FontFile"));
  EXPECT_EQ(face.GetGlyphCount(), 3);
  EXPECT_EQ(face.GetGlyphName(1), "a1");
  EXPECT_EQ(Font()["Widths"][0].GetIntegerValue(), 974);
  const BSE::CScopedPtr<PDF::CFontProgram> pByCID =
      PDF::CFontProgram::Create(Fonts::ToArray(Program(1, "FontFile3")), nullptr, true, nullptr);
  ASSERT_TRUE(pByCID && pByCID->IsCIDKeyed());
  EXPECT_EQ(pByCID->GetWidth(pByCID->GetGlyphIndexByCID(3)), 720)
      << "three fifths of the way to the heaviest";
  EXPECT_GT(pByCID->GetGlyphIndexByCID(7), 0);
  EXPECT_TRUE(Font(2)["Encoding"].IsName("WinAnsiEncoding"));
  EXPECT_EQ(Fonts::CFontFace(Program(2, "FontFile3")).GetGlyphCount(), 3);
}

}  // namespace
