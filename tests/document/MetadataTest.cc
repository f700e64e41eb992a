// The metadata stream in whole documents. What a packet holds is tested in tests/metadata.

#include "tests/document/TestDocument.h"

#include "metadata/XmlDocument.h"

#include <gmock/gmock.h>

namespace PDF
{
namespace
{

using testing::HasSubstr;
using testing::Not;

std::string MakePacket(const std::string& attributes)
{
  return "<r:RDF xmlns:r='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><r:Description r:about='' "
         "xmlns:p='http://www.aiim.org/pdfa/ns/id/' xmlns:d='http://ns.adobe.com/pdf/1.3/' " +
         attributes + "/></r:RDF>";
}

// One page that refers to the document's metadata too.
std::string MakeDocument(const std::string& packet, const std::string& info = "")
{
  return MakePdf({{1, "<</Type/Catalog/Pages 2 0 R/Metadata 4 0 R>>"},
                  {2, "<</Type/Pages/Count 1/Kids[3 0 R]>>"},
                  {3, "<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]/Metadata 4 0 R>>"},
                  {4, "<</Type/Metadata/Subtype/XML/Length " + std::to_string(packet.size()) + ">>stream\n" +
                          packet + "\nendstream"},
                  {5, "<<" + info + ">>"}},
                 "/Info 5 0 R");
}

std::string GetPacket(CDocument& document)
{
  const BSE::CObjectPtr<BSE::IByteStream> pStream = document.GetCatalog()["Metadata"].GetDecodedStream();
  BSE::CBasicArray<unsigned char> bytes;
  if (!pStream || !pStream->ReadToArray(bytes))
    return {};
  return std::string(reinterpret_cast<const char*>(bytes.GetData()),
                     static_cast<std::size_t>(bytes.GetSize()));
}

std::u16string GetEntry(CDocument& document, const char16_t* szKey)
{
  BSE::CStr16 value;
  return document.GetInfoEntry(szKey, value) ? value.GetText() : u"-";
}

TEST(MetadataTest, ClaimsWhatTheOutputKeeps)
{
  const struct
  {
    const char* m_szClaim;
    unsigned m_nOutput;
    const char* m_szExpected;
    const char* m_szForbidden;
  } cases[] = {
      {"p:part='1' p:conformance='A'", 0x1402, "pdfaid:conformance=\"A\"", "conformance=\"B\""},
      {"p:part='1' p:conformance='A'", 0x1401, "pdfaid:conformance=\"B\"", "conformance=\"A\""},
      {"p:part='2' p:conformance='A'", 0x1702, "pdfaid:part=\"2\" pdfaid:conformance=\"U\"",
       "conformance=\"A\""},
      {"p:part='2' p:conformance='B' p:amd='x'", 0x1700, "MetadataDate", "pdfaid"},
      {"p:part='4' p:rev='2020'", 0, "pdfaid:part=\"4\" pdfaid:rev=\"2020\"", "conformance"},
  };
  for (const auto& c : cases)
  {
    SCOPED_TRACE(c.m_szClaim);
    CTestCopier copier;
    ASSERT_TRUE(copier.Open(MakeStream(MakeDocument(MakePacket(c.m_szClaim))).Get(), nullptr));
    if (c.m_nOutput != 0)
      copier.GetOutput().SetConformance(CConformance(c.m_nOutput));
    TOpenDocument output(copier.SaveAgain());
    const std::string packet = GetPacket(output.m_document);
    EXPECT_THAT(packet, HasSubstr(c.m_szExpected));
    EXPECT_THAT(packet, Not(HasSubstr(c.m_szForbidden)));
    const bool bArchival = CConformance(c.m_nOutput).IsArchival();
    EXPECT_EQ(output->GetConformance().GetPart(), CConformance(c.m_nOutput).GetPart());
    EXPECT_EQ(output->GetCatalog()["Metadata"]["Filter"].IsNull(), bArchival);
  }
}

// PDF/A-4 allows no dictionary, so that a document without one keeps its claim.
TEST(MetadataTest, MakesNoDictionaryFromVersionTwoOn)
{
  for (const int nMajor : {1, 2})
    for (const std::string info : {"", "/Own(x)"})
    {
      CTestCopier copier;
      ASSERT_TRUE(copier.Open(MakeStream(MakeDocument(MakePacket("p:part='4'"), info)).Get(), nullptr));
      copier.GetOutput().SetVersion(nMajor, 0);
      TOpenDocument output(copier.SaveAgain());
      EXPECT_EQ(output->GetInfo().IsNull(), nMajor == 2 && info.empty());
      EXPECT_THAT(GetPacket(output.m_document), HasSubstr("ModifyDate"));
      for (int i = 1; i < output->GetFile().GetObjectCount() && output->GetInfo().IsNull(); ++i)
        EXPECT_TRUE(output->GetFile().GetObject(i, -1)["ModDate"].IsNull()) << "left over as object " << i;
    }
}

TEST(MetadataTest, IsOneObjectForAllWhoReferToIt)
{
  CTestCopier copier;
  TOpenDocument output(copier.Copy(MakeDocument(MakePacket("d:Keywords='k'"))));
  const CObjectPtr metadata = output->GetCatalog()["Metadata"];
  EXPECT_GT(metadata.GetObjNumber(), 0);
  EXPECT_EQ(output->GetPage(0)["Metadata"].GetObjNumber(), metadata.GetObjNumber());
  EXPECT_EQ(GetEntry(output.m_document, u"Keywords"), u"k");
  EXPECT_TRUE(output->GetInfo()["Keywords"].IsString());
}

TEST(MetadataTest, ABrokenPacketStopsNothing)
{
  for (const std::string packet : {"<x/>", "", "\xFF\xFE<", "<?xpacket begin=''?><r:RDF"})
  {
    CTestCopier copier;
    CTestCopier::m_reports = CReports();
    TOpenDocument output(copier.Copy(MakeDocument(packet, "/Title(T)/Trapped/True")));
    ASSERT_TRUE(output.m_bOpened);
    EXPECT_EQ(CTestCopier::m_reports.m_losses.count(XMP::g_nInvalidPacket), packet.empty() ? 0U : 1U);
    EXPECT_THAT(GetPacket(output.m_document), HasSubstr(">T</rdf:li>"));
    EXPECT_TRUE(output->GetInfo()["Trapped"].IsName("True"));
  }
  // Data that give nothing because they are damaged.
  CTestCopier copier;
  std::string pdf = MakeDocument("no deflated data");
  copier.Copy(pdf.replace(pdf.find("/Subtype/XML"), 12, "/Filter/Fl  "));
  EXPECT_EQ(CTestCopier::m_reports.m_losses.count(XMP::g_nInvalidPacket), 1U);
}

// Nothing is known to be wrong with a packet that is too large to be read; what it claims still holds.
TEST(MetadataTest, APacketBeyondALimitIsCarried)
{
  std::string attributes;
  for (int i = 0; i < XML::CDocument::g_nMaxAttributes; ++i)
    attributes += " d:a" + std::to_string(i) + "='x'";
  const std::string claim =
      " xmlns:pdfaid='http://www.aiim.org/pdfa/ns/id/' pdfaid:part='2' pdfaid:conformance='B'";
  for (const std::string& packet :
       {MakePacket(attributes + claim),
        MakePacket(claim) + std::string(static_cast<std::size_t>(XMP::CPacket::g_nMaxBytes), ' ')})
  {
    CTestCopier copier;
    CTestCopier::m_reports = CReports();
    TOpenDocument output(copier.Copy(MakeDocument(packet, "/Title(T)")));
    ASSERT_TRUE(output.m_bOpened);
    EXPECT_TRUE(GetPacket(output.m_document) == packet);
    EXPECT_EQ(output->GetConformance().GetCode(), 0x1701U);
    EXPECT_TRUE(output->GetInfo()["Title"].IsString());
    EXPECT_TRUE(CTestCopier::m_reports.m_losses.empty());
  }
}

TEST(MetadataTest, EntriesReachBothSides)
{
  CTestCopier copier;
  copier.SetInfoEntry(u"Keywords", u"new");
  copier.SetInfoEntry(u"Own", u"x");
  for (int i = 0; i < 2; ++i)
  {
    TOpenDocument output(i == 0 ? copier.Copy(MakeDocument(MakePacket("d:Keywords='old'"), "/Keywords(old)"))
                                : copier.SaveAgain());
    EXPECT_EQ(GetEntry(output.m_document, u"Keywords"), u"new");
    EXPECT_EQ(GetEntry(output.m_document, u"Own"), u"x");
    EXPECT_EQ(output->GetInfo()["Keywords"].GetStringValue(), CString("new"));
    EXPECT_THAT(GetPacket(output.m_document), HasSubstr("pdf:Keywords=\"new\""));
  }
}

}  // namespace
}  // namespace PDF
