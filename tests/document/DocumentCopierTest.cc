#include "tests/document/TestDocument.h"

#include "base/Tracer.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include <unistd.h>

namespace PDF
{
namespace
{

// Two pages that lead to one another, and all that a catalogue may hold.
TObjects MakeRichObjects()
{
  return {
      {1,
       "<</Type/Catalog/Pages 2 0 R/Version/1.5/Outlines 20 0 R/Threads[30 0 R]/StructTreeRoot 40 0 R"
       "/AcroForm 50 0 R/Names<</Dests<</Names[(a)[6 0 R/Fit](b)[7 0 R/XYZ 1 2 3](c)[9 0 R/Fit]]>>>>"
       "/OCProperties<</OCGs[60 0 R]/D<</ON[60 0 R]>>>>/PageLabels<</Nums[0<</S/r>>]>>/Metadata 61 0 R"
       "/OpenAction[7 0 R/Fit]/Own<</X 62 0 R>>/Me 1 0 R>>"},
      {2, "<</Type/Pages/Count 2/Kids[3 0 R]/MediaBox[0 0 50 60]/Resources 10 0 R>>"},
      {3, "<</Type/Pages/Count 2/Parent 2 0 R/Kids[6 0 R 7 0 R]/Rotate 90/CropBox[1 1 9 9]>>"},
      {6, "<</Type/Page/Parent 3 0 R/Id 1/Annots[11 0 R 51 0 R]/Contents 12 0 R/B[31 0 R]>>"},
      {7, "<</Type/Page/Parent 3 0 R/Id 2/Annots[13 0 R]/Rotate 180/Contents 12 0 R>>"},
      {9, "<</Type/Page/Parent 2 0 R/Id 3>>"},
      {10, "<</Font<</F1<</Type/Font>>>>>>"},
      {11, "<</Type/Annot/Subtype/Link/P 6 0 R/Dest[7 0 R/Fit]>>"},
      {12, "<</Length 5>>stream\n0 0 m\nendstream"},
      {13, "<</Type/Annot/Subtype/Link/P 7 0 R/Dest[6 0 R/Fit]/Popup 9 0 R>>"},
      {20, "<</First 21 0 R/Last 22 0 R/Count 2>>"},
      {21, "<</Title(one)/Parent 20 0 R/Next 22 0 R/Dest[6 0 R/Fit]/SE 41 0 R>>"},
      {22, "<</Title(two)/Parent 20 0 R/Prev 21 0 R/A<</S/GoTo/D(b)>>>>"},
      {30, "<</F 31 0 R/I<</Title(t)>>>>"},
      {31, "<</T 30 0 R/N 31 0 R/V 31 0 R/P 6 0 R/R[0 0 1 1]>>"},
      {40, "<</Type/StructTreeRoot/K 41 0 R/ParentTree<</Nums[0[41 0 R]]>>>>"},
      {41, "<</S/P/P 40 0 R/Pg 6 0 R/K[0<</Type/OBJR/Obj 11 0 R>>]>>"},
      {50, "<</Fields[51 0 R]/DR 10 0 R>>"},
      {51, "<</Type/Annot/Subtype/Widget/FT/Tx/T(x)/P 6 0 R/V(value)>>"},
      {60, "<</Type/OCG/Name(layer)>>"},
      {61, "<</Type/Metadata/Subtype/XML/Length 4>>stream\n<x/>\nendstream"},
      {62, "[1 2]"},
      {70, "<</Title(Rich)/Producer(Mine)/ModDate(D:20200101)>>"},
      {71, "(nobody refers to this)"},
  };
}

std::string MakeRich()
{
  return MakePdf(MakeRichObjects(), "/Info 70 0 R");
}

template <class T>
class CDocumentCopierTest : public testing::Test
{
};
using TCopiers = testing::Types<CTestCopier, CTestCopierNonRec>;
TYPED_TEST_SUITE(CDocumentCopierTest, TCopiers);

TYPED_TEST(CDocumentCopierTest, LosesNothing)
{
  TypeParam copier;
  const std::string copied = copier.Copy(MakeRich());
  TOpenDocument source(MakeRich());
  TOpenDocument target(copied);
  ASSERT_TRUE(target.m_bOpened);
  EXPECT_EQ(target->GetMajorVersion() * 10 + target->GetMinorVersion(), 17);

  const CObjectPtr catalog = target->GetCatalog();
  for (const char* szKey : {"OCProperties", "PageLabels", "Own", "Info"})
    EXPECT_EQ(Describe(catalog[szKey], 3), Describe(source->GetCatalog()[szKey], 3)) << szKey;
  EXPECT_EQ(Describe(target->GetInfo(), 2), Describe(source->GetInfo(), 2));
  EXPECT_TRUE(catalog["Version"].IsNull());
  EXPECT_EQ(catalog["Me"], catalog);

  ASSERT_EQ(target->GetPageCount(), 2);
  const CPage pages[] = {target->GetPage(0), target->GetPage(1)};
  EXPECT_EQ(Describe(pages[0]["MediaBox"], 0), "[0 0 50 60]");
  EXPECT_EQ(Describe(pages[0]["CropBox"], 0), "[1 1 9 9]");
  EXPECT_EQ(pages[0]["Rotate"].GetIntegerValue(), 90);
  EXPECT_EQ(pages[1]["Rotate"].GetIntegerValue(), 180);
  EXPECT_EQ(pages[0]["Resources"], catalog["AcroForm"]["DR"]);
  EXPECT_EQ(Describe(pages[0]["Contents"], 1), "<</Length 5>>stream:0 0 m");
  EXPECT_EQ(pages[0]["Contents"], pages[1]["Contents"]);

  // Whatever names a page names the page in the tree.
  EXPECT_EQ(pages[0]["Annots"][0]["Dest"][0], pages[1]);
  EXPECT_EQ(pages[1]["Annots"][0]["Dest"][0], pages[0]);
  EXPECT_EQ(pages[1]["Annots"][0]["P"], pages[1]);
  EXPECT_EQ(catalog["OpenAction"][0], pages[1]);
  const CObjectPtr names = catalog["Names"]["Dests"]["Names"];
  EXPECT_EQ(names[1][0], pages[0]);
  EXPECT_EQ(names[3][0], pages[1]);
  EXPECT_EQ(Describe(names[5], 1), "[null /Fit]");  // a page outside the tree
  EXPECT_EQ(catalog["Outlines"]["First"]["Dest"][0], pages[0]);
  EXPECT_EQ(catalog["Outlines"]["Last"]["Prev"], catalog["Outlines"]["First"]);
  EXPECT_EQ(catalog["Outlines"]["First"]["SE"], catalog["StructTreeRoot"]["K"]);
  EXPECT_EQ(catalog["Outlines"]["Count"].GetIntegerValue(), 2);
  EXPECT_EQ(catalog["Threads"][0]["F"], pages[0]["B"][0]);
  EXPECT_EQ(pages[0]["B"][0]["P"], pages[0]);
  EXPECT_EQ(catalog["StructTreeRoot"]["K"]["Pg"], pages[0]);
  EXPECT_EQ(catalog["StructTreeRoot"]["K"]["K"][1]["Obj"], pages[0]["Annots"][0]);
  EXPECT_EQ(catalog["AcroForm"]["Fields"][0], pages[0]["Annots"][1]);

  // The old tree, the catalogue and what nobody refers to stay after: 19 objects, the new ones of the tree,
  // the catalogue and the information dictionary, and the empty one of the page outside.
  EXPECT_LE(target->GetFile().GetObjectCount(), 30);
  EXPECT_EQ(copied.find("nobody refers"), std::string::npos);
}

// A copy of a copy differs in nothing but its identifier, and so does a second save.
TYPED_TEST(CDocumentCopierTest, IsStable)
{
  // Time stamps in compressed metadata would show.
  TObjects objects = MakeRichObjects();
  objects.erase(61);
  TypeParam first;
  TypeParam former;
  // Only the copy of the original has an empty object for the page outside the tree.
  const std::string once = first.Copy(former.Copy(MakePdf(objects, "/Info 70 0 R")));
  const std::string again = first.SaveAgain();
  TypeParam second;
  const std::string twice = second.Copy(once);
  const auto describe = [](const std::string& bytes)
  {
    TOpenDocument document(bytes);
    return Describe(document->GetCatalog(), 7) + std::to_string(document->GetFile().GetObjectCount());
  };
  EXPECT_EQ(describe(once), describe(again));
  EXPECT_EQ(describe(once), describe(twice));
}

TYPED_TEST(CDocumentCopierTest, KeepsMemoryToOnePage)
{
  constexpr int nPages = 300;
  TObjects objects{{1, "<</Type/Catalog/Pages 2 0 R>>"}};
  std::string kids;
  for (int i = 0; i < nPages; ++i)
  {
    const int nNumber = 10 + 2 * i;
    kids += std::to_string(nNumber) + " 0 R ";
    objects[nNumber] = "<</Type/Page/Parent 2 0 R/X " + std::to_string(nNumber + 1) + " 0 R>>";
    objects[nNumber + 1] = "<</Y/Z>>";
  }
  objects[2] = "<</Type/Pages/MediaBox[0 0 9 9]/Count " + std::to_string(nPages) + "/Kids[" + kids + "]>>";

  struct TWatcher : TypeParam
  {
    bool CopyPage(int nPage) override
    {
      const bool bCopied = TypeParam::CopyPage(nPage);
      int nLoaded = 0;
      for (CFile* pFile : {&this->GetInput().GetFile(), &this->GetOutput().GetFile()})
        for (int i = 1; i < pFile->GetObjectCount(); ++i)
          if (const CIndirectObject* pObject = pFile->GetXRef().GetEntry(i).m_pObject)
            nLoaded += pObject->IsLoaded();
      m_nMost = std::max(m_nMost, nLoaded);
      return bCopied;
    }
    int m_nMost = 0;
  };
  TWatcher copier;
  TOpenDocument copy(copier.Copy(MakePdf(objects)));
  EXPECT_EQ(copy->GetPageCount(), nPages);
  // Two catalogues, the node of the source, nodes on two levels, the information dictionary, and the object
  // stream that is being filled.
  EXPECT_LE(copier.m_nMost, 8);
}

TEST(DocumentCopierTest, WritesInfo)
{
  CTestCopier copier;
  EXPECT_TRUE(copier.SetInfoEntry(u"Title", u"\u4E2D"));
  EXPECT_TRUE(copier.SetInfoEntry(u"Title", u"\u6587"));
  EXPECT_TRUE(copier.SetInfoEntry(u"\u00C4", u"a"));
  EXPECT_FALSE(copier.SetInfoEntry(u"Author", nullptr));
  EXPECT_EQ(copier.GetInfoEntry(u"Author"), nullptr);
  TOpenDocument rich(copier.Copy(MakeRich()));
  BSE::CStr16 value;
  EXPECT_TRUE(rich->GetInfoEntry(u"Title", value));
  EXPECT_EQ(value, BSE::CStr16(u"\u6587"));
  EXPECT_TRUE(rich->GetInfoEntry(u"\u00C4", value));
  EXPECT_TRUE(rich->GetInfoEntry(u"Producer", value));
  EXPECT_EQ(value, BSE::CStr16(u"Mine"));

  // Without a dictionary, the writer names itself.
  CTestCopier plain;
  TOpenDocument named(plain.Copy(MakePdf(MakeRichObjects())));
  EXPECT_TRUE(named->GetInfoEntry(u"Producer", value));
  EXPECT_TRUE(named->GetInfoEntry(u"ModDate", value));
}

TEST(DocumentCopierTest, RefusesWhatDoesNotGoTogether)
{
  CTestCopier copier;
  EXPECT_EQ(copier.SaveAgain(), "");
  ASSERT_NE(copier.Copy(MakeRich()), "");
  TEncryption encryption;
  encryption.m_nPermissions = -2;  // as the input, which is not encrypted
  BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
  EXPECT_TRUE(copier.Save(pOutput.Get(), encryption));
  encryption.m_userPassword = CTextString("x");
  copier.GetOutput().SetConformance(CConformance(0x1701));
  copier.m_reports.m_codes.clear();
  EXPECT_FALSE(copier.Save(pOutput.Get(), encryption));
  EXPECT_EQ(copier.m_reports.m_codes, std::set<unsigned>{g_nArchivalNotEncrypted});
  EXPECT_FALSE(copier.GetOutput().IsOpened());

  copier.GetOutput().SetConformance(CConformance());
  pOutput = new BSE::CMemoryStream;
  ASSERT_TRUE(copier.Save(pOutput.Get(), encryption));
  const std::string encrypted = GetBytes(*pOutput);
  CReports reports;
  CDocument document(&reports);
  EXPECT_FALSE(document.Open(MakeStream(encrypted).Get(), nullptr));
  const CString password("x");
  EXPECT_TRUE(document.Open(MakeStream(encrypted).Get(), &password));
  EXPECT_EQ(Describe(document.GetPage(0)["Contents"].GetValueObject()["Length"], 0), "5");
}

// What damaged trees are made of: the copy is sound, and the loop is traced.
TEST(DocumentCopierTest, MendsDamage)
{
  TObjects objects = MakeRichObjects();
  objects[3] = "<</Type/Pages/Count 9/Parent 2 0 R/Kids[6 0 R 2 0 R<</Type/Page/Id 4>>6 0 R null 7 0 R]>>";
  objects[22] = "<</Title(two)/Next 21 0 R>>";
  objects[6] = "<</Parent 3 0 R/Id 1/Annots[11 0 R 51 0 R]>>";
  const std::string trace = testing::TempDir() + "brevex_document_trace" + std::to_string(getpid()) + ".txt";
  ASSERT_TRUE(BSE::CTracer::SetOutput(trace.c_str()));
  CTestCopier copier;
  TOpenDocument target(copier.Copy(MakePdf(objects)));
  BSE::CTracer::Close();
  ASSERT_TRUE(target.m_bOpened);
  std::string ids;
  for (int i = 0; i < target->GetPageCount(); ++i)
    ids += Describe(target->GetPage(i)["Id"], 0);
  EXPECT_EQ(ids, "1412");
  EXPECT_TRUE(target.m_reports.m_codes.empty());
  EXPECT_EQ(target->GetCatalog()["OpenAction"][0], target->GetPage(3));
  EXPECT_NE(target->GetPage(0).GetObjNumber(), target->GetPage(2).GetObjNumber());
  std::ifstream file(trace);
  const std::string lines((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  EXPECT_NE(lines.find("pdfcopy,\"Loop detected in tree for obj 21"), std::string::npos);
  std::remove(trace.c_str());
}

}  // namespace
}  // namespace PDF
