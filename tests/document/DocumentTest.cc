#include "document/ConformanceClaim.h"
#include "document/DocumentTraverser.h"
#include "tests/document/TestDocument.h"

#include "pdf/DictionaryObject.h"

#include <gtest/gtest.h>

namespace PDF
{
namespace
{

std::string Stream(const std::string& data, const std::string& entries = "")
{
  return "<<" + entries + "/Length " + std::to_string(data.size()) + ">>stream\n" + data + "\nendstream";
}

TObjects WithCatalog(const std::string& entries)
{
  return {{1, "<</Type/Catalog/Pages 2 0 R" + entries + ">>"},
          {2, "<</Type/Pages/Count 1/Kids[3 0 R]>>"},
          {3, "<</Type/Page/Parent 2 0 R>>"}};
}

TEST(DocumentTest, ReadsTheConformanceClaim)
{
  const std::string begin =
      "<r:RDF xmlns:r='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><r:Description r:about=''";
  const std::string bound = begin + " xmlns:p='http://www.aiim.org/pdfa/ns/id/'";
  const std::string end = "</r:Description></r:RDF>";
  const struct
  {
    std::string m_packet;
    unsigned m_nCode;
  } cases[] = {
      {bound + "><p:part>1</p:part><p:conformance>A</p:conformance>" + end, 0x1402},
      {bound + "><p:conformance> B </p:conformance><p:part>\n1\n</p:part>" + end, 0x1401},
      {bound + " p:part = \"2\" p:conformance='U'>" + end, 0x1702},
      {begin + " xmlns:other='http://www.aiim.org/pdfa/ns/id/' other:conformance='A' other:part='3'>" + end,
       0x1713},
      {bound + " p:part='1' p:conformance='U'>" + end, 0},
      {bound + " p:part='2' p:conformance='b'>" + end, 0},
      {bound + " p:part='2'>" + end, 0},
      {bound + " p:partial='2' p:conformance='B'>" + end, 0},
      {begin + " xmlns:p='http://www.aiim.org/pdfe/ns/id/' p:part='2' p:conformance='B'>" + end, 0},
      {bound + " p:part='2' p:conformance='B'>", 0},
      {"", 0},
  };
  for (const auto& c : cases)
  {
    TObjects objects = WithCatalog("/Metadata 4 0 R");
    objects[4] = Stream(c.m_packet);
    TOpenDocument document(MakePdf(objects));
    EXPECT_EQ(document->GetConformance().GetCode(), c.m_nCode) << c.m_packet;
  }
}

TEST(DocumentTest, ReadsTheOutputIntentOnce)
{
  const std::string head(16, 'h');
  const struct
  {
    const char* m_szSpace;
    TColorModel m_nModel;
  } cases[] = {{"GRAY", eModelGray},
               {"RGB ", eModelRgb},
               {"CMYK", eModelCmyk},
               {"Lab ", eModelNone},
               {"RG", eModelNone}};
  for (const auto& c : cases)
  {
    TObjects objects = WithCatalog(
        "/OutputIntents[<</S/GTS_PDFX/DestOutputProfile 5 0 R>><</S/GTS_PDFA1/DestOutputProfile 4 0 R>>]");
    objects[4] = Stream(head + c.m_szSpace);
    objects[5] = Stream(head + "RGB ");
    TOpenDocument document(MakePdf(objects));
    EXPECT_EQ(document->GetOutputIntentModel(), c.m_nModel) << c.m_szSpace;
  }
}

TEST(DocumentTest, ReadsExtensionsAndInfo)
{
  TObjects objects =
      WithCatalog("/Extensions<</ADBE<</BaseVersion/1.7/ExtensionLevel 8>>/X<</BaseVersion/1.x>>>>");
  objects[4] = "<</Title<FEFF4E2D>/Trapped/True/Bad 7>>";
  TOpenDocument document(MakePdf(objects, "/Info 4 0 R"));
  BSE::CStr8 version;
  int nLevel = 0;
  EXPECT_TRUE(document->GetExtension("ADBE", version, nLevel));
  EXPECT_STREQ(version.GetText(), "1.7");
  EXPECT_EQ(nLevel, 8);
  EXPECT_FALSE(document->GetExtension("X", version, nLevel));
  BSE::CStr16 value;
  EXPECT_TRUE(document->GetInfoEntry(u"Title", value));
  EXPECT_EQ(value, BSE::CStr16(u"\u4E2D"));
  EXPECT_TRUE(document->GetInfoEntry(u"Trapped", value));
  EXPECT_FALSE(document->GetInfoEntry(u"Bad", value));
  EXPECT_FALSE(document->GetInfoEntry(u"Author", value));
  EXPECT_FALSE(document->SetInfoEntry(u"Author", u"x"));  // nothing to write to
}

TEST(DocumentTest, MarksPagesOfTaggedArchives)
{
  for (const unsigned nCode : {0x1703U, 0x1702U, 0x1402U})
  {
    CReports reports;
    CDocument document(&reports);
    document.SetConformance(CConformance(nCode));
    const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
    ASSERT_TRUE(document.Create(pOutput.Get(), CString(), true, false));
    document.CreateTree();
    const CObjectPtr page = document.GetPageTree().NewPage(0);
    EXPECT_EQ(page["Tabs"].IsName("S"), nCode == 0x1703U);

    CPage_new view(page.Get());
    EXPECT_FALSE(view.RemoveAnnot(0));
    EXPECT_TRUE(view.AddAnnot(new CDictionaryObject));
    EXPECT_TRUE(view.AddAnnot(page.Get()));
    EXPECT_EQ(view.GetAnnotCount(), 2);
    EXPECT_TRUE(view.RemoveAnnot(0));
    EXPECT_EQ(view.GetAnnot(0), page);
    EXPECT_TRUE(view.RemoveAnnot(0));
    EXPECT_TRUE(page["Annots"].IsNull());
  }
}

// Writes down what it meets, by the "Id" of each object.
class CRecorder : public CDocumentTraverser
{
public:
  using CDocumentTraverser::CDocumentTraverser;
  bool TraversePage(const CPage& page) override
  {
    return Note('P', page) && CDocumentTraverser::TraversePage(page);
  }
  bool TraverseAnnotation(const CObjectPtr& annotation) override
  {
    return Note('A', annotation) && CDocumentTraverser::TraverseAnnotation(annotation);
  }
  bool TraverseAppearance(const CObjectPtr& appearance) override
  {
    return Note('N', appearance) && CDocumentTraverser::TraverseAppearance(appearance);
  }
  bool TraverseField(const CObjectPtr& field) override { return Note('F', field); }
  bool TraverseResources(const CObjectPtr& resources) override { return Note('R', resources); }
  bool TraverseContents(const CObjectPtr& contents) override { return Note('C', contents); }
  bool TraverseValue(const char* szKey, const CObjectPtr&) override
  {
    m_text += szKey;
    return true;
  }

  std::string m_text;
  std::string m_stop;

private:
  bool Note(char c, const CObjectPtr& object)
  {
    const std::string note = c + std::to_string(object["Id"].GetIntegerValue());
    m_text += note;
    return note != m_stop;
  }
};

TEST(DocumentTraverserTest, KeepsItsOrder)
{
  TOpenDocument document(
      MakePdf({{1, "<</Type/Catalog/Pages 2 0 R/AcroForm<</Fields[10 0 R 11 0 R]/DR<</Id 1>>>>>>"},
               {2, "<</Type/Pages/Count 2/Kids[3 0 R 4 0 R]/Resources<</Id 2>>>>"},
               {3,
                "<</Type/Page/Parent 2 0 R/Id 3/Contents 6 0 R/Annots[5 0 R<</Id 9/AP<</N<</On 7 0 R/Off "
                "null>>>>>>]>>"},
               {4, "<</Type/Page/Parent 2 0 R/Id 4>>"},
               {5, "<</Id 5/AP<</N 8 0 R>>/AS/X/V 1>>"},
               {6, Stream("", "/Id 6")},
               {7, Stream("", "/Id 7")},
               {8, Stream("", "/Id 8/Resources<</Id 20>>")},
               {10, "<</Id 10/Kids[12 0 R 10 0 R]>>"},
               {11, "<</Id 11>>"},
               {12, "<</Id 12/Kids[10 0 R]>>"}}));
  CRecorder recorder(document.m_document);
  EXPECT_TRUE(recorder.TraverseCatalog(document->GetCatalog()));
  EXPECT_EQ(recorder.m_text, "R1F10F12F11P3R2C6A5N8R20ASVA9N7P4R2");
  CRecorder stopped(document.m_document);
  stopped.m_stop = "A5";
  EXPECT_FALSE(stopped.TraverseCatalog(document->GetCatalog()));
  EXPECT_EQ(stopped.m_text, "R1F10F12F11P3R2C6A5");
}

}  // namespace
}  // namespace PDF
