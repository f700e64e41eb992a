#include "tests/document/TestDocument.h"

#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"

#include <gtest/gtest.h>

#include <random>

namespace PDF
{
namespace
{

constexpr const char* g_szCatalog = "<</Type/Catalog/Pages 2 0 R>>";

std::string Page(int nParent, int nId)
{
  return "<</Type/Page/Parent " + std::to_string(nParent) + " 0 R/MediaBox[0 0 9 9]/Id " +
         std::to_string(nId) + ">>";
}

// The "Id" of every page in order.
std::vector<int> GetIds(CDocument& document)
{
  std::vector<int> ids;
  for (int i = 0; i < document.GetPageCount(); ++i)
    ids.push_back(static_cast<int>(document.GetPage(i)["Id"].GetIntegerValue()));
  return ids;
}

TEST(PageTreeTest, SurvivesDamage)
{
  const struct
  {
    const char* m_szWhat;
    TObjects m_objects;
    std::vector<int> m_ids;
    std::set<unsigned> m_codes;
  } cases[] = {
      {"sound",
       {{2, "<</Type/Pages/Count 2/Kids[3 0 R 4 0 R]>>"}, {3, Page(2, 1)}, {4, Page(2, 2)}},
       {1, 2},
       {}},
      {"count", {{2, "<</Type/Pages/Count 7/Kids[3 0 R]>>"}, {3, Page(2, 1)}}, {1}, {g_nPageCountInvalid}},
      {"no count", {{2, "<</Type/Pages/Kids[3 0 R]>>"}, {3, Page(2, 1)}}, {1}, {g_nPageCountInvalid}},
      {"no type",
       {{2, "<</Count 1/Kids[3 0 R]>>"}, {3, "<</Parent 2 0 R/Id 1>>"}},
       {1},
       {g_nPageTypeInvalid}},
      {"no parent",
       {{2, "<</Type/Pages/Count 1/Kids[3 0 R]>>"}, {3, "<</Type/Page/Id 1>>"}},
       {1},
       {g_nPageParentInvalid}},
      {"missing kid",
       {{2, "<</Type/Pages/Count 1/Kids[9 0 R null 3 0 R 7]>>"}, {3, Page(2, 1)}},
       {1},
       {g_nPageMissing}},
      {"direct kid",
       {{2, "<</Type/Pages/Count 2/Kids[<</Type/Page/Parent 2 0 R/Id 5>>3 0 R]>>"}, {3, Page(2, 1)}},
       {5, 1},
       {}},
      {"page twice", {{2, "<</Type/Pages/Count 2/Kids[3 0 R 3 0 R]>>"}, {3, Page(2, 1)}}, {1, 1}, {}},
      {"page as root", {{2, "<</Type/Page/Id 4>>"}}, {4}, {}},
      {"no kids",
       {{2, "<</Type/Pages/Count 1/Kids[3 0 R 4 0 R]>>"},
        {3, "<</Type/Pages/Count 0/Parent 2 0 R>>"},
        {4, Page(2, 1)}},
       {1},
       {g_nPageKidsInvalid}},
      {"loop",
       {{2, "<</Type/Pages/Count 1/Kids[3 0 R 4 0 R]>>"},
        {3, "<</Type/Pages/Count 0/Parent 2 0 R/Kids[2 0 R 3 0 R]>>"},
        {4, Page(2, 1)}},
       {1},
       {g_nPageKidsInvalid}},
      {"node twice",
       {{2, "<</Type/Pages/Count 1/Kids[3 0 R 3 0 R]>>"},
        {3, "<</Type/Pages/Count 1/Parent 2 0 R/Kids[4 0 R]>>"},
        {4, Page(3, 1)}},
       {1},
       {g_nPageKidsInvalid}},
      {"stray pages",
       {{2, "<</Type/Pages/Count 1/Kids[2 0 R]>>"}, {3, Page(2, 1)}, {4, Page(2, 2)}},
       {1, 2},
       {g_nPageKidsInvalid, g_nPageCountInvalid}},
      {"empty", {{2, "<</Type/Pages/Count 0/Kids[]>>"}, {3, Page(2, 1)}}, {}, {g_nNoPages}},
  };
  for (const auto& c : cases)
  {
    TObjects objects = c.m_objects;
    objects[1] = g_szCatalog;
    TOpenDocument document(MakePdf(objects));
    ASSERT_TRUE(document.m_bOpened) << c.m_szWhat;
    EXPECT_EQ(GetIds(document.m_document), c.m_ids) << c.m_szWhat;
    EXPECT_EQ(document.m_reports.m_codes, c.m_codes) << c.m_szWhat;
    EXPECT_TRUE(document->GetPage(static_cast<int>(c.m_ids.size())).IsNull()) << c.m_szWhat;
  }
}

// Nodes inside nodes, and a page below them all.
TEST(PageTreeTest, FollowsAnyDepth)
{
  TObjects objects{{1, g_szCatalog}};
  const int nDepth = 30000;
  for (int i = 0; i < nDepth; ++i)
  {
    const std::string number = std::to_string(i + 3);
    objects[i + 2] = "<</Type/Pages/Count 1/Parent " + std::to_string(i + 1) + " 0 R/Kids[" + number +
                     " 0 R]" + (i == 0 ? "/Rotate 90" : "") + ">>";
  }
  objects[nDepth + 2] = Page(nDepth + 1, 1);
  TOpenDocument document(MakePdf(objects));
  EXPECT_EQ(document->GetPageCount(), 1);
  EXPECT_EQ(document->GetPage(0).GetRotate(), 90);
  EXPECT_TRUE(document.m_reports.m_codes.empty());
}

// A page that is searched by the counts is the page that the walk over all finds.
TEST(PageTreeTest, SearchFindsWhatTheWalkFinds)
{
  const std::string pdf = MakePdf({{1, g_szCatalog},
                                   {2, "<</Type/Pages/Count 5/Kids[3 0 R 4 0 R 5 0 R]>>"},
                                   {3, "<</Type/Pages/Count 2/Parent 2 0 R/Kids[6 0 R 7 0 R]>>"},
                                   {4, Page(2, 3)},
                                   {5, "<</Type/Pages/Count 2/Parent 2 0 R/Kids[8 0 R 9 0 R]>>"},
                                   {6, Page(3, 1)},
                                   {7, Page(3, 2)},
                                   {8, Page(5, 4)},
                                   {9, Page(5, 5)}});
  for (int i = 0; i < 5; ++i)
  {
    TOpenDocument document(pdf);
    EXPECT_EQ(document->GetPage(i)["Id"].GetIntegerValue(), i + 1);
    const CIndirectObject* pFirst = document->GetFile().GetXRef().GetEntry(6).m_pObject;
    EXPECT_EQ(pFirst && pFirst->IsLoaded(), i == 0);
  }
}

TEST(PageTreeTest, InheritsValues)
{
  TOpenDocument document(MakePdf(
      {{1, g_szCatalog},
       {2,
        "<</Type/Pages/Count 3/Kids[3 0 R 5 0 R 6 0 R]/MediaBox[100 200 0 0]/Rotate 450/Resources<</X 1>>>>"},
       {3, "<</Type/Pages/Count 1/Parent 2 0 R/Kids[4 0 R]/CropBox[10 10 500 150]>>"},
       {4, "<</Type/Page/Parent 3 0 R/TrimBox[20 20 30 30]/Rotate -90>>"},
       {5, "<</Type/Page/Parent 2 0 R/CropBox[300 300 400 400]/MediaBox[0 0 50 (x)]/Resources 7>>"},
       {6, "<</Type/Page/Parent 3 0 R/MediaBox 9 0 R>>"}}));
  const CPage first = document->GetPage(0);
  TRectangle box;
  EXPECT_TRUE(first.GetMediaBox(box));
  EXPECT_EQ(box, (TRectangle{0, 0, 100, 200}));
  EXPECT_EQ(first.GetCropBox(), (TRectangle{10, 10, 100, 150}));
  EXPECT_EQ(first.GetTrimBox(), (TRectangle{20, 20, 30, 30}));
  EXPECT_EQ(first.GetArtBox(), first.GetCropBox());
  EXPECT_EQ(first.GetRotate(), 270);
  EXPECT_EQ(first.GetResources()["X"].GetIntegerValue(), 1);

  const CPage second = document->GetPage(1);
  EXPECT_EQ(second.GetRotate(), 90);
  document.m_reports.m_codes.clear();
  EXPECT_FALSE(second.GetMediaBox(box));
  EXPECT_EQ(box, g_defaultMediaBox);
  EXPECT_EQ(second.GetCropBox(), (TRectangle{300, 300, 400, 400}));
  EXPECT_TRUE(second.GetResources().IsNull());
  EXPECT_EQ(document.m_reports.m_codes,
            (std::set<unsigned>{g_nPageMediaBoxInvalid, g_nPageResourcesInvalid}));

  // Its parent is the node that lists it, and a reference to null hides nothing.
  const CPage third = document->GetPage(2);
  EXPECT_TRUE(third.GetMediaBox(box));
  EXPECT_EQ(third.GetCropBox(), (TRectangle{0, 0, 100, 200}));
}

// A new document in memory, and a model of its pages.
class CPageTreeWriteTest : public testing::Test
{
protected:
  CPageTreeWriteTest() : m_document(&m_reports), m_pOutput(new BSE::CMemoryStream)
  {
    m_document.Create(m_pOutput.Get(), CString(), true, false);
    m_document.CreateTree();
  }

  CObjectPtr MakePage(int nId)
  {
    CObjectPtr page = m_document.GetPageTree().NewPage(0);
    page.AddEntry("Id", new CIntegerObject(nId));
    return page;
  }

  // Pages below a node, which has to be in order.
  int CheckNode(const CObjectPtr& node, std::vector<int>& ids)
  {
    const CObjectPtr kids = node["Kids"];
    EXPECT_LE(kids.GetSize(), CBTree::g_nMaxKids);
    int nPages = 0;
    for (int i = 0; i < kids.GetSize(); ++i)
    {
      EXPECT_EQ(kids[i]["Parent"], node);
      if (kids[i]["Type"].IsName("Pages"))
      {
        EXPECT_GT(kids[i]["Kids"].GetSize(), 0);
        nPages += CheckNode(kids[i], ids);
        continue;
      }
      ids.push_back(static_cast<int>(kids[i]["Id"].GetIntegerValue()));
      ++nPages;
    }
    EXPECT_EQ(node["Count"].GetIntegerValue(), nPages);
    return nPages;
  }

  void CheckResult(const std::vector<int>& expected)
  {
    ASSERT_TRUE(m_document.Close());
    TOpenDocument result(GetBytes(*m_pOutput));
    std::vector<int> ids;
    CheckNode(result->GetCatalog()["Pages"], ids);
    EXPECT_EQ(ids, expected);
    EXPECT_EQ(GetIds(result.m_document), expected);
  }

  int CountDirtyObjects()
  {
    CXRefTable& xref = m_document.GetFile().GetXRef();
    int nDirty = 0;
    for (int i = 1; i < xref.GetSize(); ++i)
      if (const CIndirectObject* pObject = xref.GetEntry(i).m_pObject)
        nDirty += const_cast<CIndirectObject*>(pObject)->IsDirty();
    return nDirty;
  }

  CReports m_reports;
  CDocument m_document;
  BSE::CObjectPtr<BSE::IByteStream> m_pOutput;
};

class CAppendTest : public CPageTreeWriteTest, public testing::WithParamInterface<int>
{
};

TEST_P(CAppendTest, FillsNodesInOrder)
{
  std::vector<int> expected;
  for (int i = 0; i < GetParam(); ++i)
  {
    const CObjectPtr page = MakePage(i);
    ASSERT_EQ(m_document.AddPage(page.Get()), i + 1);
    ASSERT_TRUE(page->Flush(true));
    expected.push_back(i);
    // The catalogue and one node on each of three levels.
    ASSERT_LE(CountDirtyObjects(), 4);
  }
  EXPECT_EQ(m_document.GetPageCount(), GetParam());
  if (GetParam() > 0)
  {
    EXPECT_EQ(m_document.GetPage(GetParam() - 1)["Id"].GetIntegerValue(), GetParam() - 1);
  }
  CheckResult(expected);
}

INSTANTIATE_TEST_SUITE_P(PageTreeTest, CAppendTest, testing::Values(0, 1, 20, 21, 400, 401));

TEST_F(CPageTreeWriteTest, InsertsAndDeletesAnywhere)
{
  std::mt19937 random(1);
  std::vector<int> expected;
  for (int i = 0; i < 1500; ++i)
  {
    const auto nPlace = static_cast<int>(random() % (expected.size() + 1));
    const unsigned nWhat = random() % 8;
    if (nWhat == 0)
    {
      ASSERT_GT(m_document.AddPage(MakePage(i).Get()), 0);
      expected.push_back(i);
    }
    else if (nWhat < 5)
    {
      ASSERT_TRUE(m_document.InsertPage(nPlace, MakePage(i).Get()));
      expected.insert(expected.begin() + nPlace, i);
    }
    else
    {
      const bool bThere = nPlace < static_cast<int>(expected.size());
      ASSERT_EQ(m_document.DeletePage(nPlace), bThere);
      if (bThere)
        expected.erase(expected.begin() + nPlace);
    }
    ASSERT_EQ(m_document.GetPageCount(), static_cast<int>(expected.size()));
  }
  CheckResult(expected);
}

// Wrong parents and counts are put right where the file can be changed.
TEST_F(CPageTreeWriteTest, MendsATreeThatIsThere)
{
  CFile& file = m_document.GetFile();
  const auto makeNode = [&](int nCount)
  {
    CObjectPtr node = file.NewObject(0, 0, 0);
    node->SetValueObject(new CDictionaryObject);
    node.AddEntry("Type", new CNameObject("Pages"));
    node.AddEntry("Count", new CIntegerObject(nCount));
    node.AddEntry("Kids", new CArrayObject);
    return node;
  };
  const CObjectPtr root = makeNode(9);
  const CObjectPtr below = makeNode(0);
  const CObjectPtr pages[] = {MakePage(0), MakePage(1)};
  root["Kids"].Add(below);
  below["Kids"].Add(pages[0]);
  below["Kids"].Add(pages[1]);
  pages[1].AddEntry("Parent", root);
  CBTree& tree = m_document.GetPageTree();
  tree.Attach(&file, &m_reports, root.Get());
  EXPECT_EQ(tree.GetPageCount(), 2);
  EXPECT_EQ(tree.AddPage(MakePage(2).Get()), 3);
  CheckResult({0, 1, 2});
}

}  // namespace
}  // namespace PDF
