// Resources that no content names are left out; what anybody could name stays.

#include <gtest/gtest.h>

#include "content/NameCollector.h"
#include "engine/Optimizer.h"
#include "tests/engine/SmallFile.h"

#include <string_view>

namespace
{

using Engine::CSmallFile;

std::string Ref(int n)
{
  return std::to_string(n) + " 0 R";
}

// A document that is saved without the resources that it does not use, and read again.
class ResourceUse : public testing::Test
{
protected:
  ResourceUse() { m_optimizer.GetOptions().m_bOptimizeResources = true; }

  int AddForm(const std::string& sContent = "0 0 1 1 re f", const std::string& sEntries = {})
  {
    return m_file.AddStream(sContent, "/Type/XObject/Subtype/Form/BBox[0 0 9 9]" + sEntries);
  }
  // Entries with these one-letter names, each of which is a form of its own.
  std::string ListForms(std::string_view names)
  {
    std::string sEntries;
    for (const char cName : names)
      sEntries += std::string("/") + cName + " " + Ref(AddForm("% " + std::to_string(m_file.GetCount())));
    return sEntries;
  }
  int AddPage(const std::string& sContent, const std::string& sResources, const std::string& sEntries = {})
  {
    return m_file.AddPage("/MediaBox[0 0 100 100]/Contents " + Ref(m_file.AddStream(sContent, "")) +
                          "/Resources " + sResources + sEntries);
  }
  void Save(const std::string& sCatalog = {})
  {
    const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
    ASSERT_TRUE(m_optimizer.Open(Engine::MakeStream(m_file.Build("", sCatalog)).Get(), nullptr));
    ASSERT_TRUE(m_optimizer.Save(pOutput.Get(), {}));
    ASSERT_TRUE(m_result.Open(pOutput.Get(), nullptr));
  }
  PDF::CObjectPtr GetResources(int nPage = 0) { return m_result.GetPage(nPage)["Resources"]; }

  // The keys of a dictionary, one after the other.
  static std::string List(const PDF::CObjectPtr& dictionary)
  {
    std::string sKeys;
    for (int i = dictionary.GetBegin(); i != dictionary.GetEnd(); i = dictionary.GetNext(i))
      sKeys += dictionary.GetKey(i);
    return sKeys;
  }
  // What is left of forms A to C on one page.
  std::string SaveForms(const std::string& sContent, const std::string& sMore = {},
                        const std::string& sEntries = {}, const std::string& sCatalog = {})
  {
    AddPage(sContent, "<</XObject<<" + ListForms("ABC") + sMore + ">>>>", sEntries);
    Save(sCatalog);
    return List(GetResources()["XObject"]);
  }

  CSmallFile m_file;
  BSE::CErrorHandler m_errors;
  PDF::COptimizer m_optimizer{&m_errors};
  PDF::CDocument m_result{&m_errors};
};

TEST_F(ResourceUse, DropsWhatNoContentNames)
{
  const int nFont = m_file.Add("<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>");
  AddPage("/A Do /G gs /D /P BDC EMC BI /W 1/H 1/BPC 8/CS/S ID x EI",
          "<</XObject<<" + ListForms("ABC") + ">>/Font<</F " + Ref(nFont) +
              ">>/ExtGState<</G<</LW 2>>/N<</LW 3>>>>" +
              "/ColorSpace<</S/DeviceGray/T/DeviceRGB/DefaultRGB[/CalRGB<</WhitePoint[1 1 1]>>]>>"
              "/Properties<</P<</X 1>>/Q<</X 2>>>>/Shading<<>>/ProcSet[/PDF]/Other<</Z 1>>>>");
  Save();
  const PDF::CObjectPtr resources = GetResources();
  EXPECT_EQ(List(resources["XObject"]), "A");
  EXPECT_EQ(List(resources["ExtGState"]), "GN") << "tells some readers that there is transparency";
  EXPECT_EQ(List(resources["ColorSpace"]), "SDefaultRGB") << "used by those who never name it";
  EXPECT_EQ(List(resources["Properties"]), "P");
  EXPECT_FALSE(resources["Font"]);
  EXPECT_EQ(List(resources["Other"]), "Z") << "of nobody knows what";
  EXPECT_TRUE(resources["ProcSet"]);
}

TEST_F(ResourceUse, KeepsAllUnlessAskedToDropAny)
{
  m_optimizer.GetOptions().m_bOptimizeResources = false;
  EXPECT_EQ(SaveForms(""), "ABC");
}

// An empty dictionary, since without one the page would inherit another.
TEST_F(ResourceUse, LeavesResourcesOfAPageWithoutContent)
{
  m_file.AddPage("/MediaBox[0 0 9 9]/Resources<</XObject<<" + ListForms("A") + ">>>>");
  Save();
  EXPECT_TRUE(GetResources().IsDictionary());
  EXPECT_EQ(List(GetResources()), "");
}

// However they are written, and whatever is around them: readers do not agree on damaged content.
TEST_F(ResourceUse, FindsNamesWhereverTheyAre)
{
  for (const char* szContent : {"/#41 Do", "[/A", "(/A)", "BT /A Do ET", "1 1 m /A Do", "/X /A Do",
                                "ID /A Do", "/A", "<</K/A>> Do", "q\xFF/A"})
  {
    SCOPED_TRACE(szContent);
    std::swap(m_file, *std::make_unique<CSmallFile>());
    const std::string sLeft = SaveForms(szContent);
    EXPECT_TRUE(sLeft == "A" || sLeft == "ABC") << sLeft;
  }
}

// Two pages with one dictionary, or with one dictionary of forms, and a node from which two inherit.
TEST_F(ResourceUse, KeepsInSharedDictionariesWhatAnyPageUses)
{
  const int nResources = m_file.Add("<</XObject<<" + ListForms("ABC") + ">>>>");
  const int nForms = m_file.Add("<<" + ListForms("DEF") + ">>");
  AddPage("/A Do", Ref(nResources));
  AddPage("/B Do", Ref(nResources));
  AddPage("/D Do", "<</XObject " + Ref(nForms) + ">>");
  AddPage("/F Do", "<</XObject " + Ref(nForms) + ">>");
  Save();
  EXPECT_EQ(List(GetResources(0)["XObject"]), "AB");
  EXPECT_EQ(GetResources(0).GetObjNumber(), GetResources(1).GetObjNumber()) << "and still one";
  EXPECT_EQ(List(GetResources(2)["XObject"]), "DF");
  EXPECT_EQ(GetResources(2)["XObject"].GetObjNumber(), GetResources(3)["XObject"].GetObjNumber());
}

// One of two equal dictionaries is written, and one of two equal forms, but not those of the same page.
TEST_F(ResourceUse, KnowsEqualObjectsForOne)
{
  m_optimizer.GetOptions().m_bRemoveRedundantObjects = true;
  m_optimizer.GetOptions().m_bMergeEqualObjects = true;
  for (const char* szContent : {"/A Do", "/B Do"})
  {
    const int nFirst = AddForm("1 g");
    const int nSecond = AddForm("2 g");
    AddPage(szContent, Ref(m_file.Add("<</XObject<</A " + Ref(nFirst) + "/B " + Ref(nSecond) + ">>>>")));
  }
  Save();
  for (const int nPage : {0, 1})
    EXPECT_EQ(List(GetResources(nPage)["XObject"]), "AB") << nPage;
}

// Forms have resources of their own, or those of their page.
TEST_F(ResourceUse, FollowsForms)
{
  const int nOwn = AddForm("/X Do", "/Resources<</XObject<<" + ListForms("XY") + ">>>>");
  const int nPlain = AddForm("/B Do");
  EXPECT_EQ(SaveForms("/L Do /M Do", "/L " + Ref(nOwn) + "/M " + Ref(nPlain)), "BLM");
  EXPECT_EQ(List(GetResources()["XObject"]["L"]["Resources"]["XObject"]), "X");
}

// What a form lacks some readers look for around it, and it is read for the first page alone.
TEST_F(ResourceUse, KeepsWhatAFormMayTakeFromAnyPage)
{
  const int nForm = AddForm("/S cs /T sh", "/Resources<<>>");
  AddPage("/L Do", "<</XObject<</L " + Ref(nForm) + ">>>>");
  AddPage("/L Do", "<</XObject<</L " + Ref(nForm) +
                       ">>/ColorSpace<</S/DeviceGray/U/DeviceRGB>>/Shading<</T " +
                       Ref(m_file.Add("<</ShadingType 1>>")) + ">>>>");
  Save();
  EXPECT_EQ(List(GetResources(1)["ColorSpace"]), "S");
  EXPECT_EQ(List(GetResources(1)["Shading"]), "T");
}

// The format knows no names in colour spaces, and several readers look them up.
TEST_F(ResourceUse, KeepsWhatColorSpacesName)
{
  const int nImage = m_file.AddStream("x", "/Subtype/Image/Width 1/Height 1/BitsPerComponent 8/ColorSpace/I");
  AddPage("/A cs /B cs /C Do",
          "<</ColorSpace<</A/G/B[/Indexed/H 0(x)]/G/DeviceGray/H/DeviceGray/I/DeviceGray/J/DeviceRGB>>"
          "/XObject<</C " +
              Ref(nImage) + ">>>>");
  Save();
  EXPECT_EQ(List(GetResources()["ColorSpace"]), "ABGHI");
}

// A form that this parser refuses to draw, and that shares its resources with the page.
TEST_F(ResourceUse, KeepsWhatUndrawnContentNames)
{
  const int nForms = m_file.Add("<<" + ListForms("AB") + ">>");
  const int nForm = AddForm("/A Do", "/Resources<</XObject " + Ref(nForms) + ">>");
  m_file.Set(nForms, "<<" + ListForms("AB") + "/L " + Ref(nForm) + ">>");
  AddPage("/L 3 Do", "<</XObject " + Ref(nForms) + ">>");
  Save();
  EXPECT_EQ(List(GetResources()["XObject"]), "ABL");
}

// Some readers join the streams of a page without anything between them.
TEST_F(ResourceUse, KeepsNamesThatGoOnInTheNextStream)
{
  const int nFirst = m_file.AddStream("/A", "");
  const int nSecond = m_file.AddStream("B Do", "");
  const int nForm = AddForm();
  m_file.AddPage("/MediaBox[0 0 9 9]/Contents[" + Ref(nFirst) + " " + Ref(nSecond) +
                 "]/Resources<</XObject<</AB " + Ref(nForm) + ListForms("CD") + ">>>>");
  Save();
  EXPECT_EQ(List(GetResources()["XObject"]), "AB");
}

// Content that cannot be read as a whole might name anything: of a page its own resources, of a form any.
TEST_F(ResourceUse, KeepsWhatUnreadableContentMayName)
{
  const int nDamaged = m_file.AddStream("no deflated data", "/Filter/FlateDecode");
  m_file.AddPage("/MediaBox[0 0 9 9]/Contents " + Ref(nDamaged) + "/Resources<</XObject<<" + ListForms("AB") +
                 ">>>>");
  AddPage("/C Do", "<</XObject<<" + ListForms("CD") + ">>>>");
  Save();
  EXPECT_EQ(List(GetResources(0)["XObject"]), "AB");
  EXPECT_EQ(List(GetResources(1)["XObject"]), "C");
}

TEST_F(ResourceUse, KeepsAllIfAFormCannotBeRead)
{
  const int nDamaged = m_file.AddStream("no deflated data", "/Subtype/Form/BBox[0 0 9 9]/Filter/FlateDecode");
  EXPECT_EQ(SaveForms("/L Do", "/L " + Ref(nDamaged)), "ABCL");
}

TEST_F(ResourceUse, KeepsWhatGlyphsMayDraw)
{
  const int nGlyph = m_file.AddStream("100 0 d0 /S cs /T sh", "");
  const int nFont = m_file.Add(
      "<</Type/Font/Subtype/Type3/FontBBox[0 0 1 1]/FontMatrix[1 0 0 1 0 0]"
      "/Encoding<</Differences[65/a]>>/CharProcs<</a " +
      Ref(nGlyph) + ">>/FirstChar 65/LastChar 65/Widths[1]>>");
  AddPage("BT /F 1 Tf (A) Tj ET", "<</Font<</F " + Ref(nFont) + ">>/ColorSpace<</R/DeviceRGB/S/DeviceGray>>" +
                                      "/Shading<</T<</ShadingType 1>>/U<<>>>>>>");
  Save();
  EXPECT_EQ(List(GetResources()["ColorSpace"]), "S");
  EXPECT_EQ(List(GetResources()["Shading"]), "T");
}

// Appearances, templates, and text that a viewer makes.
TEST_F(ResourceUse, KeepsWhatAnnotationsAndFormsMayShow)
{
  const int nAppearance = AddForm("/A Do");
  EXPECT_EQ(SaveForms("", "", "/Annots[<</Subtype/Stamp/Rect[0 0 9 9]/AP<</N " + Ref(nAppearance) + ">>>>]"),
            "ABC");
}

TEST_F(ResourceUse, KeepsFontsThatAreTypedWith)
{
  std::string sFonts;
  for (const char* szName : {"A", "B", "C", "D"})
    sFonts += "/" + std::string(szName) + " " +
              Ref(m_file.Add("<</Type/Font/Subtype/Type1/BaseFont/" + std::string(szName) + ">>"));
  const int nFonts = m_file.Add("<<" + sFonts + ">>");
  const std::string sOthers = "<</Font<<" + sFonts + ">>>>";
  AddPage("BT /A 1 Tf ET", "<</Font " + Ref(nFonts) + ">>",
          "/Annots[<</Subtype/FreeText/Rect[0 0 9 9]/DA(/B 9 Tf)>>]");
  Save("/AcroForm<</Fields[]/DR<</Font<</C " + Ref(nFonts - 2) + ">>>>>>");
  EXPECT_EQ(List(GetResources()["Font"]), "ABC");
}

TEST_F(ResourceUse, KeepsTemplatesWhole)
{
  const int nShared = m_file.Add("<<" + ListForms("AB") + ">>");
  const int nAbove = m_file.Add("<</Resources<</XObject " + Ref(nShared) + ">>>>");
  const int nTemplate = m_file.Add("<</Type/Template/MediaBox[0 0 9 9]/Parent " + Ref(nAbove) + ">>");
  AddPage("/A Do", "<</XObject " + Ref(nShared) + ">>");
  Save("/Names<</Templates<</Names[(t) " + Ref(nTemplate) + "]>>>>");
  EXPECT_EQ(List(GetResources()["XObject"]), "AB");
}

// Bytes come in blocks of any size.
TEST(NameCollector, FindsNamesAcrossBlocks)
{
  const std::string sContent = "/A#20B/C(/D)" + std::string("/E\0F/G#", 7) + "/" + std::string(100, 'h');
  for (const std::size_t nBlock : {std::size_t{1}, std::size_t{3}, sContent.size()})
  {
    PDF::CNameCollector names;
    for (std::size_t i = 0; i < sContent.size(); i += nBlock)
    {
      const std::string sPart = sContent.substr(i, nBlock);
      names.Add({reinterpret_cast<const unsigned char*>(sPart.data()), sPart.size()});
    }
    names.End();
    std::string sNames;
    for (int i = names.GetBegin(); i != names.GetEnd(); i = names.GetNext(i))
      sNames += std::string(names.GetName(i)) + "|";
    EXPECT_EQ(sNames, "A#20B|A B|C|D|E|G#|G|" + std::string(100, 'h') + "|");
    EXPECT_TRUE(names.IsComplete());
    const std::string sLong = "/" + std::string(1000, 'x');
    names.Add({reinterpret_cast<const unsigned char*>(sLong.data()), sLong.size()});
    EXPECT_FALSE(names.IsComplete());
  }
}

}  // namespace
