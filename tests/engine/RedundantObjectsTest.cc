// Which objects of an input are taken for one, by the pass over resources and by the one over everything.

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "engine/EqualObjectMerger.h"
#include "engine/RedundantObjectOptimizer.h"
#include "tests/engine/SavedDocument.h"
#include "tests/support/PdfBuilder.h"

namespace
{

using Engine::Ref;
using Support::CPdfBuilder;

// An input, and both passes over it.
class CInput : public Engine::CInput
{
public:
  using Engine::CInput::CInput;

  void RunResources(unsigned nMask) { m_redundant.Run(m_document, nMask); }
  void RunAll(bool bDecode = false)
  {
    m_equal.RemoveAll();
    PDF::MergeEqualObjects(m_document.GetFile(), bDecode, m_equal, m_decoded);
  }

  bool AreOneResource(int nA, int nB) const
  {
    return m_redundant.GetCanonical(nA) == m_redundant.GetCanonical(nB);
  }
  bool AreOne(int nA, int nB) const { return m_equal.Get(nA) == m_equal.Get(nB); }
  PDF::CObjectPtr GetObject(int nNumber) { return m_document.GetFile().GetObject(nNumber, -1); }
  const PDF::CRedundantObjectOptimizer& GetResources() const { return m_redundant; }

private:
  PDF::CRedundantObjectOptimizer m_redundant;
  PDF::CStandIns m_equal;
  PDF::CDecodedStreams m_decoded;
};

// A page for each body, with the object of that body as its resource "X" in a section.
std::vector<int> AddResources(CPdfBuilder& builder, const std::string& sSection,
                              const std::vector<std::function<int()>>& makers)
{
  std::vector<int> numbers;
  for (const auto& fnMake : makers)
  {
    numbers.push_back(fnMake());
    builder.AddPage("q Q", "/Resources << /" + sSection + " << /X " + Ref(numbers.back()) + " >> >>");
  }
  return numbers;
}

TEST(RedundantObjects, ResourcesOfOneValue)
{
  struct TCase
  {
    const char* szName;
    const char* szSection;
    const char* szA;
    const char* szB;
    unsigned nMask;
    bool bOne;
  };
  const TCase cases[] = {
      {"equal", "Font", "<</Type/Font/Subtype/Type1/BaseFont/Times>>",
       "<</Subtype/Type1/BaseFont/Times/Type/Font>>", 127, true},
      {"resource name", "Font", "<</Type/Font/Subtype/Type1/Name/F1>>",
       "<</Type/Font/Subtype/Type1/Name/F2>>", 32, true},
      {"name of an untyped font", "Font", "<</Subtype/TrueType/Name/F1>>", "<</Subtype/TrueType/Name/F2>>",
       32, true},
      {"dash", "ExtGState", "<</D[[3]0]>>", "<</D[[3]0]>>", 127, true},
      {"one more key", "Font", "<</Type/Font>>", "<</Type/Font/Subtype/Type1>>", 127, false},
      {"mask of fonts", "ColorSpace", "[/CalGray<</WhitePoint[1 1 1]>>]", "[/CalGray<</WhitePoint[1 1 1]>>]",
       32, false},
      {"mask of spaces", "ColorSpace", "[/CalGray<</WhitePoint[1 1 1]>>]", "[/CalGray<</WhitePoint[1 1 1]>>]",
       1, true},
      {"near reals", "ExtGState", "<</LW 1.00001>>", "<</LW 1.00002>>", 127, false},
      {"integer and real", "ExtGState", "<</LW 1>>", "<</LW 1.0>>", 127, true},
      {"one digest", "ExtGState", "<</X[/a/bnamec]>>", "<</X[/anameb/c]>>", 127, false},
      {"strings and names", "ExtGState", "<</X(a)>>", "<</X/a>>", 127, false},
  };
  for (const TCase& c : cases)
  {
    CPdfBuilder builder;
    const std::vector<int> numbers =
        AddResources(builder, c.szSection,
                     {[&] { return builder.AddObject(c.szA); }, [&] { return builder.AddObject(c.szB); }});
    CInput input(builder.Build());
    input.RunResources(c.nMask);
    EXPECT_EQ(input.AreOneResource(numbers[0], numbers[1]), c.bOne) << c.szName;
  }
}

TEST(RedundantObjects, StreamsCountDecodedInBothPasses)
{
  CPdfBuilder builder;
  const std::string sImage = "/Subtype /Image /Width 4 /Height 1 /ColorSpace /DeviceGray /BitsPerComponent 8";
  const std::vector<int> numbers = AddResources(
      builder, "XObject",
      {[&] { return builder.AddStream("abcd", sImage); }, [&] { return builder.AddStream("abcd", sImage); },
       [&] { return builder.AddStream("abce", sImage); }});
  const int nPlain = builder.AddStream("some content of a page");
  const int nFlate = builder.AddFlateStream("some content of a page");
  builder.AddPage("q", "/Contents [" + Ref(nPlain) + " " + Ref(nFlate) + "]");
  CInput input(builder.Build());
  input.RunResources(127);
  EXPECT_TRUE(input.AreOneResource(numbers[0], numbers[1]));
  EXPECT_FALSE(input.AreOneResource(numbers[0], numbers[2]));
  input.RunAll(false);
  EXPECT_TRUE(input.AreOne(numbers[0], numbers[1]));
  EXPECT_FALSE(input.AreOne(numbers[0], numbers[2]));
  EXPECT_FALSE(input.AreOne(nPlain, nFlate));
  input.RunAll(true);
  EXPECT_TRUE(input.AreOne(nPlain, nFlate));
}

TEST(RedundantObjects, CyclesAndDepthEnd)
{
  // Two patterns that lead back to themselves, and two chains far deeper than any stack.
  constexpr int nDepth = 30000;
  CPdfBuilder builder;
  std::vector<int> patterns;
  std::vector<int> chains;
  for (int i = 0; i < 2; ++i)
  {
    const int nPattern = builder.ReserveObject();
    const int nOther = builder.AddObject("<</Back " + Ref(nPattern) + ">>");
    builder.SetObject(nPattern, "<</PatternType 1/Resources<</Pattern<</P " + Ref(nPattern) +
                                    ">>/Properties<</O " + Ref(nOther) + ">>>>>>");
    patterns.push_back(nPattern);
    int nNext = builder.AddObject("<</Leaf true>>");
    for (int k = 0; k < nDepth; ++k)
      nNext = builder.AddObject("<</Deeper " + Ref(nNext) + ">>");
    chains.push_back(nNext);
    builder.AddPage("q",
                    "/Resources<</Pattern<</P " + Ref(nPattern) + ">>/ExtGState<</G " + Ref(nNext) + ">>>>");
  }
  CInput input(builder.Build());
  input.RunResources(127);
  EXPECT_FALSE(input.AreOneResource(patterns[0], patterns[1]));
  EXPECT_TRUE(input.AreOneResource(chains[0], chains[1]));
  input.RunAll();
  EXPECT_FALSE(input.AreOne(patterns[0], patterns[1]));
  EXPECT_TRUE(input.AreOne(chains[0], chains[1]));
}

// Of a large file, only what is being looked at is in memory, whatever the mask leaves out.
TEST(RedundantObjects, NothingStaysLoaded)
{
  CPdfBuilder builder;
  const int nForm = builder.AddStream("q Q", "/Subtype/Form/BBox[0 0 9 9]");
  const int nPattern = builder.AddObject("<</PatternType 2/Shading<<>>>>");
  const int nFont = builder.AddObject("<</Type/Font/Subtype/Type1>>");
  builder.AddPage("q", "/Resources<</XObject<</X " + Ref(nForm) + ">>/Pattern<</P " + Ref(nPattern) +
                           ">>/Font<</F " + Ref(nFont) + ">>>>");
  CInput input(builder.Build());
  for (const unsigned nMask : {127U, 32U})
  {
    // As a page with many of them holds them.
    const PDF::CObjectPtr objects[] = {input.GetObject(nForm), input.GetObject(nPattern),
                                       input.GetObject(nFont)};
    input.RunResources(nMask);
    for (const PDF::CObjectPtr& object : objects)
      EXPECT_FALSE(static_cast<PDF::CIndirectObject*>(object.Get())->IsLoaded())
          << nMask << ", " << object.GetObjNumber();
  }
}

TEST(RedundantObjects, ChainNamesEveryDuplicateOnce)
{
  CPdfBuilder builder;
  const auto make = [&] { return builder.AddObject("<</Type/ExtGState/LW 3>>"); };
  const std::vector<int> numbers = AddResources(builder, "ExtGState", {make, make, make});
  CInput input(builder.Build());
  input.RunResources(127);
  const PDF::CObjectTable& table = input.GetResources().GetTable();
  std::map<int, int> met;
  for (int n = table[numbers[2]].m_nCanonical; n != 0 && met[n] == 0; n = table[n].m_nNext)
    ++met[n];
  EXPECT_EQ(met.size(), 3U);
  for (const int nNumber : numbers)
    EXPECT_EQ(met[nNumber], 1) << nNumber;
}

// What belongs to one layer must not become a part of another that is written alike.
TEST(RedundantObjects, LayersStayApart)
{
  CPdfBuilder builder;
  std::vector<int> groups;
  std::vector<int> forms;
  for (int i = 0; i < 2; ++i)
  {
    groups.push_back(builder.AddObject("<</Type/OCG/Name(Layer)>>"));
    forms.push_back(
        builder.AddStream("0 0 9 9 re f", "/Subtype/Form/BBox[0 0 9 9]/OC " + Ref(groups.back())));
    builder.AddPage("/X Do", "/Resources<</XObject<</X " + Ref(forms.back()) + ">>>>");
  }
  builder.SetCatalogEntries("/OCProperties<</OCGs[" + Ref(groups[0]) + " " + Ref(groups[1]) + "]/D<<>>>>");
  CInput input(builder.Build());
  input.RunResources(127);
  input.RunAll();
  EXPECT_FALSE(input.AreOneResource(groups[0], groups[1]) || input.AreOneResource(forms[0], forms[1]));
  EXPECT_FALSE(input.AreOne(groups[0], groups[1]) || input.AreOne(forms[0], forms[1]));
}

TEST(RedundantObjects, IdentityIsNeverMerged)
{
  const struct
  {
    const char* szBody;
    bool bOne;
  } cases[] = {
      {"<</Type/Font/Subtype/Type1/BaseFont/Times>>", true},
      {"[1 2 3 4]", true},
      {"<</S/URI/URI(x)>>", true},
      {"<</Subtype/Link/Rect[0 0 1 1]>>", false},
      {"<</Type/Annot/Subtype/Popup>>", false},
      {"<</FT/Tx/V(a)>>", false},
      {"<</T(field)>>", false},
      {"<</Title(Chapter)/Parent 1 0 R>>", false},
      {"<</S/P/P 1 0 R/K 0>>", false},
      {"<</Names[(a)(b)]>>", false},
      {"[1 0 R/XYZ 0 0 0]", false},
      {"<</D[1 0 R/Fit]>>", false},
      {"<</Type/Sig/Contents<00>>>", false},
      {"<</StructParent 3>>", false},
      {"<</Type/OCMD>>", false},
      {"<</Name(Layer)>>", false},
      {"<</Title(Chapter)/Dest(a)>>", false},
      {"<</Filter/Adobe.PPKLite/SubFilter/ETSI.CAdES.detached>>", false},
      {"<</Subtype/Type3/CharProcs<<>>>>", false},
      {"<</Subtype/Type3/CharProcs<<>>/Resources<<>>>>", true},
      {"<</PatternType 1/TilingType 1>>", false},
      {"<</PatternType 2/Shading 1 0 R>>", true},
      {"[]", false},
      {"[2 0 R]", false},
      {"<</Type/Filespec/F(a.txt)>>", false},
      {"<</N 1 0 R/V 1 0 R/R[0 0 1 1]>>", false},
      {"<</Type/ExtGState/D[[3]0]>>", true},
      {"<</D[[3]0]>>", true},
      {"<</Subtype/Form/StructParents 3>>", true},
      {"<</a 1 0 R/D 1 0 R/N 1 0 R/P 1 0 R/V 1 0 R>>", true},
  };
  for (const auto& c : cases)
  {
    CPdfBuilder builder;
    const int nA = builder.AddObject(c.szBody);
    const int nB = builder.AddObject(c.szBody);
    builder.AddPage("q", "/PieceInfo<</A<</Private[" + Ref(nA) + " " + Ref(nB) + "]>>>>");
    CInput input(builder.Build());
    input.RunAll();
    EXPECT_EQ(input.AreOne(nA, nB), c.bOne) << c.szBody;
  }
}

// A viewer that changes the text of one field may do so in its appearance; it switches between states.
TEST(RedundantObjects, AppearancesThatAreWrittenAnewStayApart)
{
  CPdfBuilder builder;
  std::vector<int> texts;
  std::vector<int> appearances;
  std::vector<int> states;
  std::vector<int> borders;
  std::string sAnnots;
  for (int i = 0; i < 2; ++i)
  {
    texts.push_back(builder.AddStream("/Tx BMC EMC", "/Subtype/Form/BBox[0 0 9 9]"));
    appearances.push_back(builder.AddObject("<</N " + Ref(texts.back()) + ">>"));
    states.push_back(builder.AddStream("0 0 9 9 re f", "/Subtype/Form/BBox[0 0 9 9]"));
    borders.push_back(builder.AddObject("<</W 2>>"));
    for (const std::string& sEntries : {"/FT/Tx/AP " + Ref(appearances.back()) + "/BS " + Ref(borders.back()),
                                        "/FT/Btn/AP<</N<</On " + Ref(states.back()) + ">>>>"})
      sAnnots += Ref(builder.AddObject("<</Subtype/Widget/Rect[0 0 9 9]" + sEntries + ">>")) + " ";
  }
  builder.AddPage("q", "/Annots[" + sAnnots + "]");
  CInput input(builder.Build());
  input.RunAll();
  EXPECT_FALSE(input.AreOne(texts[0], texts[1]));
  EXPECT_FALSE(input.AreOne(appearances[0], appearances[1]));
  EXPECT_FALSE(input.AreOne(borders[0], borders[1]));
  EXPECT_TRUE(input.AreOne(states[0], states[1]));
}

// A stream that is in the place of a page becomes one, and must not take the others with it.
TEST(RedundantObjects, WhatAListMakesAPageStaysApart)
{
  CPdfBuilder builder;
  const int nA = builder.AddStream("the same content");
  const int nB = builder.AddStream("the same content");
  const int nC = builder.AddStream("the same content");
  const int nNode = builder.AddObject("<</Kids[" + Ref(nA) + "]/Others[" + Ref(nB) + " " + Ref(nC) + "]>>");
  builder.AddPage("q", "/PieceInfo<</A<</Private " + Ref(nNode) + ">>>>");
  CInput input(builder.Build());
  input.RunAll();
  EXPECT_FALSE(input.AreOne(nA, nB) || input.AreOne(nA, nC));
  EXPECT_TRUE(input.AreOne(nB, nC));
}

TEST(RedundantObjects, EqualFontsMergeWithAllThatBelongsToThem)
{
  CPdfBuilder builder;
  std::vector<int> fonts;
  for (int i = 0; i < 2; ++i)
  {
    const int nProgram = builder.AddFlateStream("a font program");
    const int nDescriptor = builder.AddObject("<</Type/FontDescriptor/FontFile2 " + Ref(nProgram) + ">>");
    const int nWidths = builder.AddObject("[500 600]");
    fonts.push_back(builder.AddObject("<</Type/Font/FontDescriptor " + Ref(nDescriptor) + "/Widths " +
                                      Ref(nWidths) + "/Name/F" + std::to_string(i) + ">>"));
    builder.AddPage("q", "/Resources<</Font<</F " + Ref(fonts.back()) + ">>>>");
  }
  CInput input(builder.Build());
  input.RunAll();
  for (int nBelow = 0; nBelow < 4; ++nBelow)
    EXPECT_TRUE(input.AreOne(fonts[0] - nBelow, fonts[1] - nBelow)) << nBelow;
}

struct TLoadCounter : PDF::CFileEventListener
{
  void OnObjectLoading(PDF::CFile&, int, int) override { ++m_nLoads; }

  int m_nLoads = 0;
};

// Every object is loaded a few times, however many are equal, and however many differ in nothing but their
// data.
TEST(RedundantObjects, LoadsGrowWithTheObjects)
{
  constexpr int nCount = 3000;
  for (const bool bEqual : {true, false})
  {
    CPdfBuilder builder;
    std::string sResources = "/Resources<</XObject<<";
    for (int i = 0; i < nCount; ++i)
    {
      const std::string sData = std::to_string(10000 + (bEqual ? 0 : i));
      const int nForm = builder.AddStream(sData, "/Subtype/Form/BBox[0 0 1 1]");
      sResources += "/X" + std::to_string(i) + " " + Ref(nForm);
    }
    builder.AddPage("q", sResources + ">>>>");
    CInput input(builder.Build());
    TLoadCounter counter;
    input.GetFile().Attach(&counter);
    input.RunResources(127);
    EXPECT_LT(counter.m_nLoads, 3 * nCount) << bEqual;
    counter.m_nLoads = 0;
    input.RunAll();
    EXPECT_LT(counter.m_nLoads, 3 * nCount) << bEqual;
    input.GetFile().Detach(&counter);
  }
}

}  // namespace
