#include "tests/document/TestDocument.h"

#include "document/ListCopier.h"
#include "document/PostOrderWalk.h"
#include "document/StructTreeCopier.h"
#include "document/TreeCopier.h"
#include "pdf/ArrayObject.h"
#include "pdf/SimpleObjects.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace PDF
{
namespace
{

constexpr const char* g_szNode = "<</Type/Pages/Count 1/Kids[3 0 R]>>";
constexpr const char* g_szPage = "<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]>>";

// A source with objects from 10 on beside one page, and an empty target.
class CFilePair
{
public:
  explicit CFilePair(TObjects objects) : m_source(MakePdf(WithPage(objects))), m_target(&m_reports)
  {
    m_pOutput = new BSE::CMemoryStream;
    m_target.SetVersion(1, 7);
    m_target.Create(m_pOutput.Get(), CString(), true, true);
    m_target.CreateTree();
    m_target.GetFile().GetObjectMap(GetSource());
  }
  CFile& GetSource() { return m_source->GetFile(); }
  CFile& GetTarget() { return m_target.GetFile(); }
  CObjectPtr Get(int nNumber) { return GetSource().GetObject(nNumber, 0); }
  CObjectPtr GetCopy(int nNumber) { return GetTarget().GetCopy(GetSource(), nNumber); }
  template <class T>
  CObjectPtr Copy(T& copier, int nNumber)
  {
    copier.SetFiles(&GetSource(), &GetTarget());
    return copier.Visit(Get(nNumber));
  }

private:
  static TObjects WithPage(TObjects objects)
  {
    objects.insert({{1, "<</Type/Catalog/Pages 2 0 R>>"}, {2, g_szNode}, {3, g_szPage}});
    return objects;
  }

  CReports m_reports;
  TOpenDocument m_source;
  BSE::CObjectPtr<BSE::IByteStream> m_pOutput;
  CDocument m_target;
};

template <class T>
class CCopierTest : public testing::Test
{
};
using TCopiers = testing::Types<CObjectCopier, CObjectCopierNonRec>;
TYPED_TEST_SUITE(CCopierTest, TCopiers);

TYPED_TEST(CCopierTest, CopiesGraphs)
{
  CFilePair files({{10, "[11 0 R 11 0 R 12 0 R 13 0 R null <</A[/N(s)1 2.5 true]/B null>>]"},
                   {11, "<</Other 12 0 R/Self 11 0 R>>"},
                   {12, "<</Back 11 0 R>>"},
                   {13, "<</Length 15 0 R/Filter/X>>stream\nabcde\nendstream"},
                   {14, "13 0 R"},
                   {15, "5"}});
  TypeParam copier;
  const CObjectPtr copy = files.Copy(copier, 10);
  const std::string text = Describe(copy, 4);
  EXPECT_EQ(text, Describe(files.Get(10), 4));
  EXPECT_NE(text.find("/Filter /X/Length 5>>stream:abcde"), std::string::npos) << text;
  EXPECT_EQ(copy[0], copy[1]);
  EXPECT_EQ(copy[0]["Self"], copy[0]);
  EXPECT_EQ(copy[0]["Other"]["Back"], copy[0]);
  EXPECT_TRUE(copy[4].IsNull());
  EXPECT_TRUE(files.GetCopy(15).IsNull());     // the length has become direct
  EXPECT_FALSE(files.GetCopy(11)->IsDirty());  // written when it was done
  EXPECT_EQ(files.Copy(copier, 10), copy);
}

TYPED_TEST(CCopierTest, FollowsReferencesThatLeadElsewhere)
{
  CFilePair files({{10, "[11 0 R 12 0 R 99 0 R 13 0 R 14 0 R]"},
                   {11, "12 0 R"},
                   {12, "(end)"},
                   {13, "14 0 R"},
                   {14, "13 0 R"}});
  TypeParam copier;
  const CObjectPtr copy = files.Copy(copier, 10);
  EXPECT_EQ(Describe(copy, 2), "[(end) (end) null null null]");
  EXPECT_EQ(copy[0], copy[1]);
  for (const int i : {2, 3, 4})
    EXPECT_FALSE(copy[i].IsIndirect()) << i;
}

TYPED_TEST(CCopierTest, DoesNotCopyPages)
{
  CFilePair files({{10, "<</Page 3 0 R/Kid 11 0 R>>"}, {11, "<</P 3 0 R/Parent 2 0 R>>"}});
  TypeParam copier;
  files.Copy(copier, 10);
  EXPECT_TRUE(files.GetCopy(3).IsIndirect());
  EXPECT_FALSE(CCopyBase::IsFilled(files.GetCopy(3)));
  EXPECT_FALSE(CCopyBase::IsFilled(files.GetCopy(2)));
  EXPECT_EQ(files.GetCopy(11)["P"], files.GetCopy(3));
}

// A chain that no stack would hold, with a second reference to every object and back.
TYPED_TEST(CCopierTest, CopiesChainsOfAnyLength)
{
  constexpr int nLength = 60000;
  TObjects objects;
  for (int i = 0; i < nLength; ++i)
    objects[10 + i] = "[[" + std::to_string(i + 1 < nLength ? i + 11 : 10) + " 0 R]" + std::to_string(i) +
                      " " + std::to_string(10 + i / 2) + " 0 R]";
  CFilePair files(objects);
  TypeParam copier;
  CObjectPtr object = files.Copy(copier, 10);
  for (int i = 0; i < nLength; ++i, object = object[0][0])
    ASSERT_EQ(object[1].GetIntegerValue(), i);
  EXPECT_EQ(object, files.GetCopy(10));
}

TEST(ObjectCopierTest, HonoursGroupFlushAndLock)
{
  CFilePair files({{10, "<</A 11 0 R>>"}, {11, "[1]"}, {12, "[2]"}, {13, "[3]"}, {14, "[4]"}});
  CObjectCopier copier;
  copier.SetGroup(2);
  copier.SetFlushing(false);
  const CObjectPtr copy = files.Copy(copier, 10);
  EXPECT_TRUE(copy->IsDirty());
  EXPECT_TRUE(copy["A"]->IsDirty());
  EXPECT_EQ(copy["A"]->GetCompressedFlags(), 2);

  copier.SetGroup(g_nGroupDirect);
  files.Get(12)->SetCompressedFlags(1);
  EXPECT_EQ(files.Copy(copier, 12)->GetCompressedFlags(), 1);

  bool bCreated = false;
  const CObjectPtr locked = files.GetTarget().GetOrCreateCopy(&files.GetSource(), 13, bCreated, 0);
  locked->Lock();
  EXPECT_EQ(files.Copy(copier, 13), locked);
  copier.FillCopy(copier, files.Get(13), locked);
  EXPECT_TRUE(locked.GetValueObject().IsNull());
  locked->Unlock();

  files.Get(14);
  copier.SetFlushing(true);
  files.Copy(copier, 14);
  EXPECT_FALSE(files.GetSource().GetXRef().GetEntry(14).m_pObject->IsLoaded());
  copier.ReleaseCopied();
  EXPECT_EQ(files.GetSource().GetXRef().GetEntry(14).m_pObject, nullptr);
  EXPECT_EQ(files.GetCopy(14)[0].GetIntegerValue(), 4);
}

class CFilteringCopier : public CObjectCopier
{
public:
  CObjectPtr VisitEntry(const char* szKey, const CObjectPtr& value) override
  {
    return KeyEquals(szKey, "Gone") ? CObjectPtr() : CObjectCopier::VisitEntry(szKey, value);
  }
  CObjectPtr VisitElement(int nIndex, const CObjectPtr& value) override
  {
    return nIndex == 1 ? CObjectPtr() : CObjectCopier::VisitElement(nIndex, value);
  }
};

TEST(ObjectCopierTest, DropsWhatAnOverrideDrops)
{
  CFilePair files({{10, "<</Gone 11 0 R/Stays[1 2 3]>>"}, {11, "(x)"}});
  CFilteringCopier copier;
  EXPECT_EQ(Describe(files.Copy(copier, 10), 1), "<</Stays [1 null 3]>>");
  EXPECT_TRUE(files.GetCopy(11).IsNull());
}

// Counts what it meets.
template <class T>
class CCountingTraverser : public T
{
public:
  CObjectPtr VisitInteger(const CObjectPtr& object) override
  {
    m_nSum += object.GetIntegerValue();
    return object;
  }
  std::int64_t m_nSum = 0;
};

// Thirty levels that are each reached twice from the level above, a cycle, and a chain beyond the depth
// limit.
TEST(ObjectTraverserTest, MeetsEveryObjectOnce)
{
  TObjects objects;
  for (int i = 10; i < 40; ++i)
    objects[i] = "[1 " + std::to_string(i + 1) + " 0 R " + std::to_string(i + 1) + " 0 R]";
  for (int i = 40; i < 2000; ++i)
    objects[i] = "<</A 1/B " + std::to_string(i + 1) + " 0 R>>";
  objects[2000] = "[1 10 0 R]";
  CFilePair files(objects);
  CCountingTraverser<CObjectTraverser> traverser;
  traverser.Visit(files.Get(10));
  EXPECT_EQ(traverser.m_nSum, 1991);
  CCountingTraverser<CObjectTraverserNonRec> iterating;
  iterating.Visit(files.Get(10));
  EXPECT_EQ(iterating.m_nSum, 1991);
  EXPECT_FALSE(files.Get(500)->IsLocked());
}

// Titles of a list of outline items with their children; the links back are checked.
std::string GetOutline(const CObjectPtr& parent)
{
  std::string text;
  CObjectPtr previous;
  for (CObjectPtr item = parent["First"]; item; previous = item, item = item["Next"])
  {
    EXPECT_EQ(item["Parent"], parent);
    EXPECT_EQ(item["Prev"], previous);
    text += Describe(item["Title"], 0);
    if (item["First"])
      text += "{" + GetOutline(item) + "}" + std::to_string(item["Count"].GetIntegerValue());
  }
  EXPECT_EQ(parent["Last"], previous);
  return text;
}

class COutlineFilter : public CTreeCopier
{
protected:
  bool IsKept(const CObjectPtr& node) override { return node["Drop"].IsNull(); }
  CObjectPtr CopyNodeEntry(const char* szKey, const CObjectPtr& value) override
  {
    return KeyEquals(szKey, "SE") ? CObjectPtr() : CTreeCopier::CopyNodeEntry(szKey, value);
  }
};

// Counts the objects of a file that are loaded when the last one has been reached.
class CCountingWalk : public CPostOrderWalk
{
public:
  using CPostOrderWalk::CPostOrderWalk;

  int m_nLoaded = 0;
  int m_nLeft = 0;

protected:
  bool Enter(const CObjectPtr&) override { return true; }
  void Leave(const CObjectPtr&) override
  {
    for (int i = 1; i < m_file.GetObjectCount() && m_nLeft == 0; ++i)
      if (const CIndirectObject* pObject = m_file.GetXRef().GetEntry(i).m_pObject)
        m_nLoaded += pObject->IsLoaded() ? 1 : 0;
    ++m_nLeft;
  }
};

TEST(PostOrderWalkTest, DeepChainsAreNotKeptInMemory)
{
  constexpr int nFirst = 10;
  constexpr int nLast = 3000;
  TObjects objects;
  for (int i = nFirst; i < nLast; ++i)
    objects[i] = "<</Next " + std::to_string(i + 1) + " 0 R>>";
  objects[nLast] = "<<>>";
  CFilePair files(objects);
  CCountingWalk walk(files.GetSource());
  walk.Walk(files.Get(nFirst));
  EXPECT_EQ(walk.m_nLeft, nLast - nFirst + 1);
  EXPECT_LT(walk.m_nLoaded, 300);
}

TEST(TreeCopierTest, LinksWhatIsKept)
{
  const struct
  {
    const char* m_szWhat;
    TObjects m_objects;
    const char* m_szResult;
    int m_nCount;
  } cases[] = {
      {"sound",
       {{10, "<</First 11 0 R/Last 13 0 R/Count 3>>"},
        {11, "<</Title(a)/Next 12 0 R/Parent 10 0 R/A<</S/X/Next 16 0 R>>>>"},
        {12, "<</Title(b)/Next 13 0 R/Prev 11 0 R/First 14 0 R/Last 15 0 R/Count -2>>"},
        {13, "<</Title(c)/SE 16 0 R>>"},
        {14, "<</Title(d)/Next 15 0 R>>"},
        {15, "<</Title(e)>>"},
        {16, "<</Y 1>>"}},
       "(a)(b){(d)(e)}-2(c)",
       3},
      {"dropped nodes",
       {{10, "<</First 11 0 R/Last 13 0 R/Count 5>>"},
        {11, "<</Title(a)/Next 12 0 R/Drop 1>>"},
        {12, "<</Title(b)/Next 13 0 R/First 14 0 R/Count 2>>"},
        {13, "<</Title(c)/Drop 1/First 15 0 R/Count 1>>"},
        {14, "<</Title(d)/Next 15 0 R/Drop 1>>"},
        {15, "<</Title(e)>>"}},
       "(b){(e)}1",
       2},
      {"next loop",
       {{10, "<</First 11 0 R/Last 12 0 R/Count 2>>"},
        {11, "<</Title(a)/Next 12 0 R>>"},
        {12, "<</Title(b)/Next 11 0 R>>"}},
       "(a)(b)",
       2},
      {"child loop",
       {{10, "<</First 11 0 R/Count 1>>"},
        {11, "<</Title(a)/First 10 0 R/Next 12 0 R>>"},
        {12, "<</Title(b)>>"}},
       "(a)(b)",
       2},
      {"direct and broken nodes",
       {{10, "<</First <</Title(a)/Next 11 0 R>>/Count 9>>"}, {11, "<</Title(b)/Next 12 0 R>>"}, {12, "(x)"}},
       "(a)(b)",
       9},
  };
  for (const auto& c : cases)
  {
    CFilePair files(c.m_objects);
    COutlineFilter copier;
    const CObjectPtr copy = files.Copy(copier, 10);
    EXPECT_EQ(GetOutline(copy), c.m_szResult) << c.m_szWhat;
    EXPECT_EQ(copy["Count"].GetIntegerValue(), c.m_nCount) << c.m_szWhat;
  }
}

TEST(TreeCopierTest, GivesADirectRootItsOwnObject)
{
  CFilePair files({{10, "<</Outlines<</First 11 0 R/Last 13 0 R/Count 3>>>>"},
                   {11, "<</Title(a)/Next 12 0 R>>"},
                   {12, "<</Title(b)/Next 13 0 R/Prev 11 0 R>>"},
                   {13, "<</Title(c)/Prev 12 0 R>>"}});
  CTreeCopier copier;
  copier.SetFiles(&files.GetSource(), &files.GetTarget());
  const CObjectPtr copy = copier.VisitEntry("Outlines", files.Get(10)["Outlines"]);
  EXPECT_TRUE(copy.IsIndirect());
  EXPECT_EQ(GetOutline(copy), "(a)(b)(c)");
}

// Items far below one another, and action chains whose keys look like those of the tree.
TEST(TreeCopierTest, FollowsAnyDepth)
{
  constexpr int nDepth = 30000;
  TObjects objects{{10, "<</First 11 0 R>>"}};
  for (int i = 11; i < 11 + nDepth; ++i)
    objects[i] = "<</Title(t)/A 9 0 R/First " + std::to_string(i + 1) + " 0 R>>";
  objects[9] = "<</S/X/Next 8 0 R/Count 3>>";
  objects[8] = "<</S/Y>>";
  CFilePair files(objects);
  CTreeCopier copier;
  CObjectPtr node = files.Copy(copier, 10);
  EXPECT_EQ(node["First"]["A"]["Next"]["S"].GetNameValue(), std::string("Y"));
  EXPECT_EQ(node["First"]["A"]["Count"].GetIntegerValue(), 3);
  int nLevels = 0;
  while ((node = node["First"]))
    ++nLevels;
  EXPECT_EQ(nLevels, nDepth);
}

TEST(ListCopierTest, ClosesTheRound)
{
  CFilePair files({{10, "<</F 11 0 R/I<</Title(t)>>>>"},
                   {11, "<</T 10 0 R/N 12 0 R/V 13 0 R/P 3 0 R/R[0 0 1 1]>>"},
                   {12, "<</T 10 0 R/N 13 0 R/V 11 0 R/P 3 0 R/R[0 0 2 2]>>"},
                   {13, "<</T 10 0 R/N 11 0 R/V 12 0 R/P 3 0 R/R[0 0 3 3]>>"},
                   {20, "<</N 21 0 R/R[0 0 1 1]>>"},
                   {21, "<</N 22 0 R/V 20 0 R/R[0 0 1 1]>>"},
                   {22, "<</N 21 0 R/V 21 0 R/R[0 0 1 1]>>"}});
  CListCopier copier;
  const CObjectPtr middle = files.Copy(copier, 12);
  const CObjectPtr thread = files.GetCopy(10);
  EXPECT_EQ(thread["F"], files.GetCopy(11));
  EXPECT_EQ(thread["I"]["Title"].GetStringValue(), CString("t"));
  CObjectPtr bead = middle;
  for (int i = 0; i < 3; ++i, bead = bead["N"])
  {
    EXPECT_EQ(bead["N"]["V"], bead);
    EXPECT_EQ(bead["T"], thread);
    EXPECT_EQ(bead["P"], files.GetCopy(3));
    EXPECT_FALSE(bead->IsDirty());
  }
  EXPECT_EQ(bead, middle);

  // A chain that turns back into its middle.
  const CObjectPtr first = files.Copy(copier, 20);
  EXPECT_EQ(first["N"]["N"]["N"], first["N"]);
  EXPECT_EQ(first["N"]["V"], first);
}

TEST(StructTreeCopierTest, KeepsKidsWithTheirPages)
{
  CFilePair files({{4, "<</Type/Page/Parent 2 0 R>>"},
                   {10, "<</Type/StructTreeRoot/K 11 0 R/RoleMap<</K/P>>>>"},
                   {11,
                    "<</S/Document/P 10 0 R/K[12 0 R 13 0 R 14 0 R<</Type/MCR/Pg 4 0 R/MCID "
                    "7>><</Type/MCR/Pg 3 0 R/MCID 8>>]>>"},
                   {12, "<</S/A/P 11 0 R/Pg 3 0 R/K[0 1]>>"},
                   {13, "<</S/B/P 11 0 R/Pg 4 0 R/K 0>>"},
                   {14, "<</S/C/P 11 0 R/Pg 4 0 R/K[5 15 0 R]>>"},
                   {15, "<</S/D/P 14 0 R/Pg 3 0 R/K 3>>"}});
  CObjectCopier pages;
  pages.SetFiles(&files.GetSource(), &files.GetTarget());
  bool bCreated = false;
  pages.GetOrCreateCopy(files.Get(3), bCreated)->SetValueObject(new CIntegerObject(0));
  CStructTreeCopier copier;
  const CObjectPtr root = files.Copy(copier, 10);
  const CObjectPtr kids = root["K"]["K"];
  ASSERT_EQ(kids.GetSize(), 3);
  EXPECT_EQ(Describe(kids[0]["K"], 0), "[0 1]");
  EXPECT_EQ(kids[0]["P"], root["K"]);
  EXPECT_EQ(kids[1]["K"].GetSize(), 1);
  EXPECT_EQ(kids[1]["K"][0]["K"].GetIntegerValue(), 3);
  EXPECT_EQ(kids[2]["MCID"].GetIntegerValue(), 8);
  EXPECT_TRUE(files.GetCopy(13).IsNull());
}

}  // namespace
}  // namespace PDF
