// Outlines, name and number trees, optional content and embedded files, read and written.

#include <gtest/gtest.h>

#include "base/ErrorHandler.h"
#include "document/EmbeddedFile.h"
#include "document/NameTree.h"
#include "document/OptionalContent.h"
#include "document/Outline.h"
#include "document/OutputNameTree.h"
#include "pdf/SimpleObjects.h"
#include "tests/document/TestDocument.h"

namespace
{

using namespace PDF;

std::string ToText(const CString& text)
{
  return {reinterpret_cast<const char*>(text.GetData()), text.GetSpan().size()};
}

// Titles in order, each after as many points as it is deep.
std::string ListTitles(const COutline& outline, const std::string& prefix = "")
{
  std::string text;
  for (int i = 0; i < outline.GetItemCount(); ++i)
    text += prefix + ToText(outline.GetItem(i)->GetTitle()) + "\n" +
            ListTitles(*outline.GetItem(i), prefix + ".");
  return text;
}

// A document that is written, and read again.
struct TRoundTrip
{
  TRoundTrip() : m_document(&m_handler), m_result(&m_handler), m_pBytes(new BSE::CMemoryStream)
  {
    EXPECT_TRUE(m_document.Create(m_pBytes.Get(), CString(), true, false));
    m_document.CreateTree();
  }
  CObjectPtr Finish(const char* szKey, const CObjectPtr& part)
  {
    m_document.GetCatalog().AddEntry(szKey, part);
    EXPECT_TRUE(m_document.Close());
    EXPECT_TRUE(m_result.Open(m_pBytes.Get(), nullptr));
    return m_result.GetCatalog()[szKey];
  }

  BSE::CErrorHandler m_handler;
  CDocument m_document;
  CDocument m_result;
  BSE::CObjectPtr<BSE::IByteStream> m_pBytes;
};

TEST(Outline, DamagedTreesEnd)
{
  TOpenDocument document(
      MakePdf({{1, "<</Type/Catalog/Outlines 2 0 R>>"},
               {2, "<</First 3 0 R/Last 6 0 R>>"},
               {3, "<</Title(a)/Next 4 0 R/First 5 0 R/Count -1/F 2/C[1 0 0]/Dest[7 0 R/Fit]>>"},
               {4, "<</Title(b)/Next 6 0 R/First 2 0 R/Count 3>>"},
               {5, "<</Title(c)/Next 5 0 R/First 3 0 R/Count 1>>"},
               {6, "<</Title(d)/Next 3 0 R/First 4 0 R/Count 0/Dest(name)>>"},
               {7, "<</Type/Page>>"}}));
  const BSE::CObjectPtr<COutline> pOutline(new COutline(nullptr));
  EXPECT_FALSE(pOutline->Load(document->GetCatalog()["None"]));
  ASSERT_TRUE(pOutline->Load(document->GetCatalog()["Outlines"]));
  EXPECT_EQ(ListTitles(*pOutline), "a\n.c\nb\nd\n");
  const COutlineItem& first = *pOutline->GetItem(0);
  EXPECT_FALSE(first.IsOpen());
  EXPECT_EQ(first.GetStyle(), 2);
  EXPECT_EQ(first.GetColor().GetSize(), 3);
  EXPECT_EQ(first.GetParent(), pOutline.Get());
  EXPECT_EQ(first.GetDestination().GetPage().GetObjNumber(), 7);
  EXPECT_STREQ(first.GetDestination().GetView(), "Fit");
  EXPECT_TRUE(pOutline->GetItem(2)->GetDestination().IsNull()) << "a name has to be looked up";
  EXPECT_TRUE(pOutline->Load(document->GetCatalog()["Outlines"]));
  EXPECT_EQ(pOutline->GetItemCount(), 3) << "reading again replaces";
}

TEST(Outline, FollowsAnyDepth)
{
  TObjects objects = {{1, "<</Type/Catalog/Outlines 2 0 R>>"}};
  for (int i = 2; i < 50000; ++i)
    objects[i] = "<</Title(x)/Count 1/First " + std::to_string(i + 1) + " 0 R>>";
  TOpenDocument document(MakePdf(objects));
  const BSE::CObjectPtr<COutline> pOutline(new COutline(nullptr));
  ASSERT_TRUE(pOutline->Load(document->GetCatalog()["Outlines"]));
  int nDepth = 0;
  for (const COutline* p = pOutline.Get(); p->GetItemCount() > 0; p = p->GetItem(0))
    ++nDepth;
  EXPECT_EQ(nDepth, 49997);
}

TEST(Outline, WrittenAndReadBack)
{
  const BSE::CObjectPtr<COutline> pOutline(new COutline(nullptr));
  const auto add = [](COutline& parent, const char* szTitle)
  {
    const BSE::CObjectPtr<COutlineItem> pItem(new COutlineItem(nullptr));
    pItem->SetTitle(CTextString(szTitle));
    EXPECT_TRUE(parent.AddItem(pItem.Get()));
    EXPECT_FALSE(parent.AddItem(pItem.Get())) << "an item is in one list";
    return pItem.Get();
  };
  COutlineItem* pOpen = add(*pOutline, "open");
  pOpen->SetOpen(true);
  add(*pOpen, "one");
  COutlineItem* pClosed = add(*pOpen, "closed");
  add(*pClosed, "hidden");
  add(*pOutline, "gone");
  add(*pOutline, "last");
  EXPECT_TRUE(pOutline->RemoveItem(1));
  EXPECT_FALSE(pOutline->RemoveItem(9));

  TRoundTrip trip;
  ASSERT_TRUE(pOutline->Save(trip.m_document.GetFile()));
  const CObjectPtr root = trip.Finish("Outlines", pOutline->GetObject());
  const BSE::CObjectPtr<COutline> pRead(new COutline(nullptr));
  ASSERT_TRUE(pRead->Load(root));
  EXPECT_EQ(ListTitles(*pRead), "open\n.one\n.closed\n..hidden\nlast\n");
  EXPECT_EQ(pRead->GetCount(), 4) << "a root is always open";
  EXPECT_EQ(pRead->GetItem(0)->GetCount(), 2);
  EXPECT_EQ(pRead->GetItem(0)->GetItem(1)->GetCount(), -1);
  EXPECT_TRUE(root["Last"]["Count"].IsNull());
  EXPECT_EQ(root["Last"]["Prev"], root["First"]);
  EXPECT_EQ(root["First"]["Next"], root["Last"]);
  EXPECT_EQ(root["First"]["Last"]["Parent"], root["First"]);
  EXPECT_TRUE(root["First"]["Prev"].IsNull());
}

TEST(NameTree, DamagedTreesEnd)
{
  TOpenDocument document(MakePdf({{1, "<</Type/Catalog/Names 2 0 R/Numbers 5 0 R>>"},
                                  {2, "<</Kids[3 0 R 4 0 R 3 0 R null 2 0 R]/Names[(r)0]>>"},
                                  {3, "<</Limits[(a)(c)]/Names[(c)3(a)1 7 8(b)]>>"},
                                  {4, "<</Limits[(m)(z)]/Kids[2 0 R<</Names[(x)9]/Limits 1>>]>>"},
                                  {5, "<</Nums[0(zero)(no)1 5(five)]>>"}}));
  const CObjectPtr root = document->GetCatalog()["Names"];
  std::string keys;
  for (CNameTreeReader reader(root); reader.Next();)
    keys += ToText(reader.GetKey().GetStringValue());
  EXPECT_EQ(keys, "rcabx");
  EXPECT_EQ(CNameTreeReader::Find(root, CString("a")).GetIntegerValue(), 1);
  EXPECT_EQ(CNameTreeReader::Find(root, CString("x")).GetIntegerValue(), 9);
  EXPECT_TRUE(CNameTreeReader::Find(root, CString("b")).IsNull());
  EXPECT_TRUE(CNameTreeReader::Find(CObjectPtr(), CString("b")).IsNull());
  EXPECT_EQ(ToText(CNameTreeReader::Find(document->GetCatalog()["Numbers"], 5).GetStringValue()), "five");
}

TEST(NameTree, WrittenAndReadBack)
{
  for (const int nCount : {0, 1, 64, 65, 64 * 64, 64 * 64 + 1})
  {
    SCOPED_TRACE(nCount);
    COutputNameTree tree;
    for (int i = nCount; i > 0; --i)
      tree.Add(CString(std::to_string(i).c_str()), new CIntegerObject(i));
    TRoundTrip trip;
    ASSERT_TRUE(tree.Save(trip.m_document.GetFile()));
    const CObjectPtr root = trip.Finish("Tree", tree.GetObject());
    EXPECT_EQ(root.IsNull(), nCount == 0);
    EXPECT_TRUE(root["Limits"].IsNull());
    for (CObjectPtr node = root["Kids"][0]; node; node = node["Kids"][0])
      EXPECT_EQ(ToText(node["Limits"][0].GetStringValue()), "1");
    CString previous;
    int nRead = 0;
    for (CNameTreeReader reader(root); reader.Next(); ++nRead)
    {
      EXPECT_LT(previous.Compare(reader.GetKey().GetStringValue()), 0);
      previous = reader.GetKey().GetStringValue();
    }
    EXPECT_EQ(nRead, nCount);
    for (int i = 1; i <= nCount; i += 997)
      EXPECT_EQ(CNameTreeReader::Find(root, CString(std::to_string(i).c_str())).GetIntegerValue(), i);
  }
}

TEST(NameTree, KeysBecomeUnique)
{
  COutputNameTree tree;
  const auto add = [&tree](const char* szKey)
  { return ToText(tree.Add(CString(szKey), new CIntegerObject(1))); };
  EXPECT_EQ(add("a"), "a");
  EXPECT_EQ(add("a"), "a(1)");
  EXPECT_EQ(add("a(2)"), "a(2)");
  EXPECT_EQ(add("a"), "a(3)");
  EXPECT_EQ(add(""), "");
  EXPECT_EQ(add(""), "(1)");
  EXPECT_EQ(tree.GetCount(), 6);
  EXPECT_NE(tree.Find(CString("a(3)")), nullptr);
  EXPECT_EQ(tree.Find(CString("b")), nullptr);
}

TEST(OptionalContent, StatesAndOrder)
{
  const std::string configuration =
      "/OFF[3 0 R]/Order[2 0 R[(Head)3 0 R[4 0 R]]7 0 R 6 0 R]/AS[<</Event/View>>]>>>>";
  TOpenDocument document(
      MakePdf({{1, "<</Type/Catalog/OCProperties<</OCGs[2 0 R 3 0 R 4 0 R 5 0 R]/D<<" + configuration +
                       "/All<</Type/OCMD/OCGs[2 0 R 3 0 R]/P/AllOn>>/Any<</Type/OCMD/OCGs[2 0 R 3 0 R]>>"
                       "/Off<</Type/OCMD/OCGs 3 0 R/P/AllOff>>/No<</Type/OCMD/OCGs[2 0 R 4 0 R]/P/AnyOff>>"
                       "/None<</Type/OCMD/OCGs[]/P/AllOn>>>>"},
               {2, "<</Type/OCG/Name(A)>>"},
               {3, "<</Type/OCG/Name(B)>>"},
               {4, "<</Type/OCG/Name(C)>>"},
               {5, "<</Type/Other>>"},
               {6, "12"},
               {7, "[2 0 R 7 0 R]"}}));
  const CObjectPtr catalog = document->GetCatalog();
  COptionalContent content;
  EXPECT_FALSE(content.Load(catalog["None"]["Nothing"]));
  ASSERT_TRUE(content.Load(catalog["OCProperties"]));
  ASSERT_EQ(content.GetGroupCount(), 3);
  EXPECT_EQ(ToText(content.GetGroup(1).GetName()), "B");
  EXPECT_TRUE(content.IsVisible(content.GetGroup(0).GetObject()));
  EXPECT_FALSE(content.IsVisible(content.GetGroup(1).GetObject()));
  std::string order;
  for (const COptionalContent::TOrderEntry& entry : content.GetOrder())
    order += std::to_string(entry.m_nLevel) + std::to_string(entry.m_pObject->GetObjNumber()) + " ";
  EXPECT_EQ(order, "02 10 13 24 12 ");
  EXPECT_FALSE(content.IsVisible(catalog["All"]));
  EXPECT_TRUE(content.IsVisible(catalog["Any"]));
  EXPECT_TRUE(content.IsVisible(catalog["Off"]));
  EXPECT_FALSE(content.IsVisible(catalog["No"]));
  EXPECT_TRUE(content.IsVisible(catalog["None"]));
  EXPECT_EQ(content.GetUsages().GetSize(), 1);
}

TEST(EmbeddedFile, NamesAndData)
{
  TOpenDocument document(
      MakePdf({{1, "<</Type/Catalog/A 2 0 R/B(plain)/C<</Unix(u)/Mac(m)/EF<</F 4 0 R>>>>>>"},
               {2, "<</F(old)/UF(new)/Desc(text)/AFRelationship/Source/EF<</F 3 0 R>>>>"},
               {3, "<</Length 4/Subtype/text#2Fplain/Params<</Size 4>>>>stream\ndata\nendstream"},
               {4, "<</Length 4/Filter/Unheard>>stream\ndata\nendstream"}}));
  const CObjectPtr catalog = document->GetCatalog();
  const CEmbeddedFile file(catalog["A"].Get());
  EXPECT_EQ(ToText(file.GetFileName()), "new");
  EXPECT_EQ(ToText(file.GetDescription()), "text");
  EXPECT_STREQ(file.GetSubtype(), "text/plain");
  EXPECT_STREQ(file.GetRelationship(), "Source");
  EXPECT_EQ(file.GetParams()["Size"].GetIntegerValue(), 4);
  EXPECT_EQ(GetBytes(*file.GetData()), "data");
  const CEmbeddedFile plain(catalog["B"].Get());
  EXPECT_EQ(ToText(plain.GetFileName()), "plain");
  EXPECT_FALSE(plain.GetData());
  const CEmbeddedFile damaged(catalog["C"].Get());
  EXPECT_EQ(ToText(damaged.GetFileName()), "m");
  EXPECT_FALSE(damaged.GetData());
  EXPECT_TRUE(CEmbeddedFile(nullptr).GetFileName().IsEmpty());
}

}  // namespace
