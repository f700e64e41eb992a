#include "pdf/StreamDeflater.h"
#include "pdf/linearize/DocumentLinearizer.h"
#include "tests/pdf/linearize/LinearizeSupport.h"
#include "tests/support/PdfDamager.h"
#include "tests/support/Samples.h"

namespace
{

using Linearize::CLinearizedFile;
using Linearize::GetComplaints;
using Linearize::MustLinearize;
using Linearize::TryLinearize;
using Support::CPdfBuilder;

std::string Ref(int nNumber)
{
  return std::to_string(nNumber) + " 0 R";
}

// What has to hold of the front of every linearized file.
void ExpectFrame(const CLinearizedFile& file)
{
  const std::string& sPdf = file.GetBytes();
  EXPECT_EQ(file.m_nLength, sPdf.size());
  EXPECT_EQ(sPdf[file.m_nMainTable], '\n');
  EXPECT_EQ(sPdf.compare(file.m_nMainTable + 1, 20, "0000000000 00000 f \n"), 0);
  const int nFirstNumber = std::stoi(sPdf.substr(15));
  for (const auto& [nNumber, nPosition] : file.m_positions)
  {
    EXPECT_NE(file.GetObject(nNumber), "missing");
    EXPECT_EQ(file.IsInFront(nNumber), nNumber >= nFirstNumber) << nNumber;
  }
  EXPECT_EQ(file.GetPosition(file.m_nFirstPage), file.m_nHintOffset + file.m_nHintLength);
  EXPECT_EQ(sPdf.substr(file.m_nHintOffset + file.m_nHintLength - 21, 21), "\r\nendstream\r\nendobj\r\n");
  EXPECT_LT(sPdf.find("endobj"), 1024U);
}

TEST(Linearizer, TakesEveryLayout)
{
  for (const Support::TSample& sample : Support::MakeSamples())
  {
    SCOPED_TRACE(sample.sName);
    const std::string sLinear = MustLinearize(sample.sPdf);
    const CLinearizedFile file(sLinear);
    ExpectFrame(file);
    EXPECT_EQ(file.m_nPages, sample.nPages);
    EXPECT_EQ(GetComplaints(sLinear), std::vector<std::string>());
    EXPECT_EQ(sLinear.substr(0, 9), "%PDF-" + sample.sVersion + "\n");
    // What is linearized stays as it is.
    EXPECT_EQ(MustLinearize(sLinear), sLinear);
  }
}

TEST(Linearizer, FilesAndMemoryGiveTheSame)
{
  const Support::CTempFolder folder;
  const std::string sPdf = Support::MakePlainSample().sPdf;
  Support::WriteFile(folder / "in.pdf", sPdf);
  const std::string sIn = folder / "in.pdf";
  const std::string sOut = folder / "out.pdf";
  BSE::CErrorHandler errors;
  const auto linearize = [&](const std::string& sFrom, const std::string& sTo)
  { return PDF::LinearizeDocument(sFrom.c_str(), PDF::CTextString(), sTo.c_str(), nullptr, &errors); };
  ASSERT_TRUE(linearize(sIn, sOut));
  EXPECT_EQ(Support::ReadFile(sOut), MustLinearize(sPdf));
  EXPECT_FALSE(linearize("/nowhere/in.pdf", sOut));
  EXPECT_FALSE(linearize(sIn, "/nowhere/out.pdf"));
}

// Three pages that share a font and, two of them, an image.
struct TShared
{
  CPdfBuilder builder;
  int nImage = 0;
  int nForm = 0;

  TShared()
  {
    nImage = builder.AddStream("x",
                               "/Type/XObject/Subtype/Image/Width 1/Height 1/BitsPerComponent 8"
                               "/ColorSpace/DeviceGray/Image true");
    nForm = builder.AddStream(
        "/I Do",
        "/Type/XObject/Subtype/Form/BBox[0 0 1 1]/Form true/Resources<</XObject<</I " + Ref(nImage) + ">>>>");
    builder.AddPage("1");
    for (const char* szMark : {"2", "3"})
    {
      const int nPage = builder.AddPage("");
      builder.SetObject(nPage, std::string("<</Type/Page/Mark ") + szMark +
                                   "/MediaBox[0 0 9 9]/Resources<</XObject<</F " + Ref(nForm) + ">>>>>>");
    }
  }
};

TEST(Linearizer, PutsObjectsWhereTheyAreUsed)
{
  TShared shared;
  const CLinearizedFile file(MustLinearize(shared.builder.Build()));
  ExpectFrame(file);
  EXPECT_EQ(GetComplaints(file.GetBytes()), std::vector<std::string>());
  const int nSecond = file.FindObject("/Mark 2");
  const int nThird = file.FindObject("/Mark 3");
  // Page, page, shared objects, page tree.
  EXPECT_LT(file.GetPosition(nSecond), file.GetPosition(nThird));
  EXPECT_LT(file.GetPosition(nThird), file.GetPosition(file.FindObject("/Form true")));
  EXPECT_LT(file.GetPosition(file.FindObject("/Form true")),
            file.GetPosition(file.FindObject("/Type/Pages")));
  EXPECT_EQ(file.FindObject("/Image true"), file.FindObject("/Form true") + 1);
  EXPECT_TRUE(file.IsInFront(file.FindObject("/Helvetica")));
  EXPECT_EQ(file.GetReference(file.GetRoot(), "Pages"), file.GetReference(nThird, "Parent"));
}

TEST(Linearizer, PutsOutlinesInFrontIfTheyOpen)
{
  for (const bool bOpen : {false, true})
  {
    CPdfBuilder builder;
    const int nRoot = builder.ReserveObject();
    int numbers[4];
    for (int& nNumber : numbers)
      nNumber = builder.ReserveObject();
    builder.AddPage("1");
    builder.AddPage("2");
    const auto item = [&builder](int nNumber, const std::string& sEntries) {
      builder.SetObject(nNumber,
                        "<</Title(item)/Dest[" + Ref(builder.GetPage(1)) + "/Fit]" + sEntries + ">>");
    };
    builder.SetObject(
        nRoot, "<</Type/Outlines/First " + Ref(numbers[0]) + "/Last " + Ref(numbers[2]) + "/Count 3>>");
    item(numbers[0], "/Next " + Ref(numbers[1]) + "/Parent " + Ref(nRoot));
    item(numbers[1], "/Prev " + Ref(numbers[0]) + "/Next " + Ref(numbers[2]) + "/Parent " + Ref(nRoot) +
                         "/First " + Ref(numbers[3]) + "/Last " + Ref(numbers[3]) + "/Count 1");
    // The list runs back into itself.
    item(numbers[2], "/Prev " + Ref(numbers[1]) + "/Next " + Ref(numbers[0]) + "/Parent " + Ref(nRoot));
    item(numbers[3], "/Parent " + Ref(numbers[1]));
    builder.SetCatalogEntries("/Outlines " + Ref(nRoot) + (bOpen ? "/PageMode/UseOutlines" : ""));
    const CLinearizedFile file(MustLinearize(builder.Build()));
    ExpectFrame(file);
    EXPECT_EQ(GetComplaints(file.GetBytes()), std::vector<std::string>());
    const int nOutlines = file.FindObject("/Type/Outlines");
    EXPECT_EQ(file.IsInFront(nOutlines), bOpen);
    // An item, then what it holds, then the next.
    EXPECT_EQ(file.GetReference(nOutlines, "First"), nOutlines + 1);
    EXPECT_EQ(file.GetReference(nOutlines + 1, "Next"), nOutlines + 2);
    EXPECT_EQ(file.GetReference(nOutlines + 2, "First"), nOutlines + 3);
    EXPECT_EQ(file.GetReference(nOutlines + 2, "Next"), nOutlines + 4);
  }
}

TEST(Linearizer, OrdersTheCatalogue)
{
  CPdfBuilder builder;
  const auto add = [&builder](const char* szMark)
  { return Ref(builder.AddObject(std::string("<</Mark/") + szMark + "/More 1>>")); };
  const int nElement = builder.ReserveObject();
  builder.AddPage("1");
  const int nAnnotation = builder.AddObject("<</Type/Annot/Subtype/Link/P " + add("NotByP") + ">>");
  const int nPage = builder.AddPage("2", "/Mark/Page/Annots[" + Ref(nAnnotation) + "]");
  builder.SetObject(nElement, "<</Mark/Element/Pg " + Ref(nPage) + "/P " + add("NotByStructure") + "/K " +
                                  add("Kid") + ">>");
  builder.SetCatalogEntries("/StructTreeRoot " + Ref(nElement) + "/Extra<</P " + add("ByP") +
                            ">>/PageLabels " + add("Labels") + "/AcroForm " + add("Form") + "/Names " +
                            add("Names") + "/Threads " + add("Threads") + "/Parent " + add("Parentless"));
  builder.SetTrailerEntries("/Info " + add("Info"));
  const CLinearizedFile file(MustLinearize(builder.Build()));
  ExpectFrame(file);
  size_t nLast = 0;
  for (const char* szMark : {"Page", "Threads", "Names", "Info", "Form", "Labels", "ByP", "Element", "Kid"})
  {
    const int nNumber = file.FindObject(std::string("/Mark/") + szMark);
    ASSERT_GT(nNumber, 0) << szMark;
    EXPECT_GT(file.GetPosition(nNumber), nLast) << szMark;
    nLast = file.GetPosition(nNumber);
  }
  for (const char* szMark : {"NotByP", "NotByStructure", "Parentless"})
  {
    const int nNumber = file.FindObject(std::string("/Mark/") + szMark);
    ASSERT_GT(nNumber, 0) << szMark;
    EXPECT_GT(file.GetPosition(nNumber), file.GetPosition(file.FindObject("/Mark/Labels"))) << szMark;
    EXPECT_LT(file.GetPosition(nNumber), file.GetPosition(file.FindObject("/Mark/Element"))) << szMark;
  }
}

// What only leads backwards or upwards, from wherever it is, is carried over; what the page tree replaces
// is not.
TEST(Linearizer, KeepsWhatIsReachedBackwards)
{
  CPdfBuilder builder;
  const auto add = [&builder](const std::string& sMark, const std::string& sMore = {})
  { return Ref(builder.AddObject("<</Mark/" + sMark + sMore + ">>")); };
  const int nNode = builder.ReserveObject();
  const int nUnused = builder.ReserveObject();
  builder.SetObject(nUnused, "<</Mark/OfNoPage>>");
  const std::string sOrphan =
      Ref(builder.AddObject("<</Type/Page/Mark/Orphan/Parent " + add("OrphanNode") + "/Contents " +
                            Ref(builder.AddStream("OrphanData")) + ">>"));
  const std::string sFirst =
      "<</Type/Page/Mark/One/CropBox[0 0 9 9]/Parent " + Ref(nNode) + "/Annots[<</Parent " +
      add("Up", "/Prev " + add("Back", "/Parent[" + add("Array") + "<</Resources " + add("Below") +
                                           "/XObject " + add("Image") + "/P " + add("P") + ">>]")) +
      "/Dest[" + sOrphan + "]>>]>>";
  const std::string sKid = Ref(builder.AddObject(sFirst));
  builder.SetObject(nNode, "<</Type/Pages/Count 1/Kids[" + sKid + "]/Parent " + add("OfTheTree") +
                               "/CropBox " + Ref(nUnused) + "/Prev " + add("OfNode") + "/Resources<</Prev " +
                               add("Inherited") + ">>>>");
  builder.SetCatalogEntries("/Outlines " + add("Outlines", "/Prev " + add("BeforeOutlines")));
  builder.SetTrailerEntries("/Info " + add("Info", "/Parent " + add("AboveInfo")));
  const CLinearizedFile file(
      MustLinearize(Support::ReplaceText(builder.Build(), "/Pages 2 0 R", "/Pages " + Ref(nNode))));
  ExpectFrame(file);
  for (const char* szMark : {"Orphan", "OrphanNode", "Up", "Back", "Array", "Below", "Image", "P", "OfNode",
                             "Inherited", "Outlines", "BeforeOutlines", "Info", "AboveInfo"})
    EXPECT_GT(file.FindObject(std::string("/Mark/") + szMark + "/") +
                  file.FindObject(std::string("/Mark/") + szMark + ">"),
              0)
        << szMark;
  EXPECT_NE(file.GetBytes().find("OrphanData"), std::string::npos);
  for (const char* szMark : {"OfTheTree", "OfNoPage"})
    EXPECT_EQ(file.FindObject(std::string("/Mark/") + szMark), 0) << szMark;
  for (const auto& [nNumber, nPosition] : file.m_positions)
    EXPECT_EQ(file.GetObject(nNumber).find("null"), std::string::npos) << file.GetObject(nNumber);
}

// What a page takes from the nodes above it is on the page, and on no node.
TEST(Linearizer, CompletesPages)
{
  CPdfBuilder builder;
  const int nFont = builder.AddObject("<</Type/Font/Subtype/Type1/BaseFont/Courier>>");
  const int nBox = builder.AddObject("[0 0 30 40]");
  const int nNode = builder.ReserveObject();
  const int nInner = builder.ReserveObject();
  const int nFirst = builder.AddObject("<</Type/Page/Mark 1/Parent " + Ref(nNode) + "/Rotate 0>>");
  const int nSecond = builder.AddObject("<</Type/Page/Mark 2/Parent " + Ref(nNode) + ">>");
  builder.SetObject(nInner, "<</Type/Pages/Count 1/Parent null/Rotate 90/Kids[" + Ref(nSecond) + "]>>");
  builder.SetObject(nNode, "<</Type/Pages/Count 2/Rotate 180/MediaBox " + Ref(nBox) +
                               "/CropBox[1 1 9 9]/Resources<<"
                               "/Font<</F " +
                               Ref(nFont) + ">>>>/Kids[" + Ref(nFirst) + " " + Ref(nInner) + "]>>");
  builder.SetObject(CPdfBuilder::g_nCatalog, "<</Type/Catalog/Pages " + Ref(nNode) + ">>");
  std::string sPdf = builder.Build();
  const size_t nPages = sPdf.find("/Pages 2 0 R");
  if (nPages != std::string::npos)
    sPdf.replace(nPages, 12, "/Pages " + Ref(nNode));
  const CLinearizedFile file(MustLinearize(sPdf));
  ExpectFrame(file);
  EXPECT_EQ(GetComplaints(file.GetBytes()), std::vector<std::string>());
  const std::string sFirst = file.GetObject(file.m_nFirstPage);
  const std::string sSecond = file.GetObject(file.FindObject("/Mark 2"));
  EXPECT_NE(sFirst.find("/Rotate 0"), std::string::npos);
  EXPECT_NE(sSecond.find("/Rotate 90"), std::string::npos);
  for (const std::string& sPage : {sFirst, sSecond})
    for (const char* szText : {"/CropBox[1 1 9 9]", "/MediaBox ", "/Resources<</Font<</F "})
      EXPECT_NE(sPage.find(szText), std::string::npos) << szText;
  EXPECT_EQ(file.GetReference(file.FindObject("/Mark 2"), "Parent"), file.FindObject("/Count 1"));
  EXPECT_TRUE(file.IsInFront(file.FindObject("/Courier")));
  for (const char* szKey : {"/Rotate", "/CropBox", "/MediaBox", "/Resources"})
    EXPECT_EQ(file.GetObject(file.FindObject("/Count 2")).find(szKey), std::string::npos) << szKey;
}

// Values that are objects of their own: the kids of the root and of a node, the kind of a node, and the mode
// in which the document opens.
TEST(Linearizer, FollowsReferencesInTheFrame)
{
  CPdfBuilder builder;
  const int nRoot = builder.ReserveObject();
  const int nNode = builder.ReserveObject();
  const auto page = [&builder](const char* szMark, int nParent)
  {
    return Ref(
        builder.AddObject(std::string("<</Type/Page/Mark ") + szMark + "/Parent " + Ref(nParent) + ">>"));
  };
  const std::string sFirst = page("1", nNode);
  const std::string sSecond = page("2", nNode);
  const std::string sThird = page("3", nRoot);
  builder.SetObject(nNode, "<</Type " + Ref(builder.AddObject("/Pages")) + "/Count 2/Parent " + Ref(nRoot) +
                               "/MediaBox[0 0 9 9]/Kids " +
                               Ref(builder.AddObject("[" + sFirst + " " + sSecond + "]")) + ">>");
  builder.SetObject(nRoot, "<</Type/Pages/Count 3/MediaBox[0 0 8 8]/Kids " +
                               Ref(builder.AddObject("[" + Ref(nNode) + " " + sThird + "]")) + ">>");
  const int nOutlines = builder.AddObject("<</Type/Outlines>>");
  builder.SetObject(CPdfBuilder::g_nCatalog, "<</Type/Catalog/Pages " + Ref(nRoot) + "/Outlines " +
                                                 Ref(nOutlines) + "/PageMode " +
                                                 Ref(builder.AddObject("/UseOutlines")) + ">>");
  const CLinearizedFile file(
      MustLinearize(Support::ReplaceText(builder.Build(), "/Pages 2 0 R", "/Pages " + Ref(nRoot))));
  ExpectFrame(file);
  EXPECT_EQ(GetComplaints(file.GetBytes()), std::vector<std::string>());
  EXPECT_EQ(file.m_nPages, 3);
  EXPECT_EQ(file.FindObject("/Mark 1"), file.m_nFirstPage);
  EXPECT_TRUE(file.IsInFront(file.FindObject("/Type/Outlines")));
}

TEST(Linearizer, CompressesPlainMetadataOfPages)
{
  const std::string sLong(2000, 'm');
  CPdfBuilder builder;
  const int nLong = builder.AddStream(sLong, "/Type/Metadata/Mark 1");
  const int nShort = builder.AddStream("m", "/Type/Metadata/Mark 2");
  const int nDocument = builder.AddStream(sLong, "/Type/Metadata/Mark 3");
  builder.AddPage("1", "/Metadata " + Ref(nLong));
  builder.AddPage("2", "/Metadata " + Ref(nShort));
  builder.SetCatalogEntries("/Metadata " + Ref(nDocument));
  const CLinearizedFile file(MustLinearize(builder.Build()));
  EXPECT_NE(file.GetObject(file.FindObject("/Mark 1")).find("/FlateDecode"), std::string::npos);
  EXPECT_EQ(file.GetObject(file.FindObject("/Mark 2")).find("/FlateDecode"), std::string::npos);
  EXPECT_EQ(file.GetObject(file.FindObject("/Mark 3")).find("/FlateDecode"), std::string::npos);
  EXPECT_EQ(GetComplaints(file.GetBytes()), std::vector<std::string>());
}

// Compresses everything to the same few bytes.
class CFakeDeflater : public PDF::IStreamDeflater
{
public:
  void Deflate(std::span<const unsigned char>, BSE::CBasicArray<unsigned char>& encoded) override
  {
    for (const char c : std::string_view("DEFLATED"))
      encoded.Add(static_cast<unsigned char>(c));
  }
};

TEST(Linearizer, CompressesAsTheFileDoes)
{
  CPdfBuilder builder;
  const int nMetadata = builder.AddStream(std::string(500, 'm'), "/Type/Metadata");
  builder.AddPage("1", "/Metadata " + Ref(nMetadata));
  CFakeDeflater deflater;
  const CLinearizedFile file(MustLinearize(builder.Build(), &deflater));
  const std::string& sPdf = file.GetBytes();
  EXPECT_EQ(file.m_nHintOffset, sPdf.rfind('\n', sPdf.find("obj\n<</S ")) + 1);
  EXPECT_EQ(sPdf.find("stream\r\nDEFLATED\r\nendstream"), file.m_nHintOffset + file.m_nHintLength - 37);
  EXPECT_NE(sPdf.find("/Filter/FlateDecode/Length 8>>\nstream\nDEFLATED\nendstream"), std::string::npos);
}

// A document that is linearized without a save says itself whether it is to be archived.
TEST(Linearizer, LeavesMetadataOfArchivesReadable)
{
  for (const bool bArchive : {false, true})
  {
    CPdfBuilder builder;
    const int nDocument = builder.AddStream(bArchive ? "<pdfaid:part>1</pdfaid:part>" : "<x:y/>");
    const int nMetadata = builder.AddStream(std::string(500, 'm'), "/Type/Metadata");
    builder.AddPage("1", "/Metadata " + Ref(nMetadata));
    builder.SetCatalogEntries("/Metadata " + Ref(nDocument));
    const std::string sPdf = builder.Build();
    const BSE::CObjectPtr<BSE::IByteStream> pInput(
        new BSE::CMemoryInputStream(sPdf.data(), static_cast<std::int64_t>(sPdf.size())));
    const BSE::CObjectPtr<BSE::CMemoryStream> pOutput(new BSE::CMemoryStream);
    // What is in the output is overwritten.
    pOutput->WriteAll(reinterpret_cast<const unsigned char*>("head"), 4);
    ASSERT_TRUE(PDF::LinearizeDocument(pInput.Get(), PDF::CTextString(), pOutput.Get(), nullptr, nullptr));
    std::string sLinear(static_cast<size_t>(pOutput->GetLength()), '\0');
    pOutput->Rewind();
    pOutput->ReadFully(reinterpret_cast<unsigned char*>(sLinear.data()), pOutput->GetLength());
    EXPECT_EQ(sLinear.substr(0, 5), "%PDF-");
    EXPECT_EQ(sLinear.find("mmmmm") != std::string::npos, bArchive);
  }
}

// References to nothing and to broken objects become null; everything else stays.
TEST(Linearizer, DropsWhatIsNotThere)
{
  CPdfBuilder builder;
  const int nBroken = builder.AddObject("<</Mark/Broken");
  builder.AddObject("<</Mark/Unused>>");
  builder.AddPage("1", "/Keep(a\\)b)/Entries[4711 0 R " + Ref(nBroken) + "(c) 1.0 / 2]");
  const CLinearizedFile file(MustLinearize(builder.Build()));
  const std::string sPage = file.GetObject(file.m_nFirstPage);
  EXPECT_NE(sPage.find("/Keep(a\\)b)"), std::string::npos);
  EXPECT_NE(sPage.find("/Entries[null null(c)1.0/ 2]"), std::string::npos) << sPage;
  for (const char* szMark : {"Broken", "Unused"})
    EXPECT_EQ(file.FindObject(std::string("/Mark/") + szMark), 0) << szMark;
}

// Pages that reach one another's objects through a chain as long as the document stay cheap.
TEST(Linearizer, StaysLinear)
{
  constexpr int nPages = 2000;
  CPdfBuilder builder;
  std::vector<int> beads;
  for (int i = 0; i < nPages; ++i)
    beads.push_back(builder.ReserveObject());
  for (int i = 0; i < nPages; ++i)
  {
    const int nPage = builder.AddPage("", "/B[" + Ref(beads[static_cast<size_t>(i)]) + "]");
    builder.SetObject(
        beads[static_cast<size_t>(i)],
        "<</P " + Ref(nPage) + "/N " + Ref(beads[static_cast<size_t>((i + 1) % nPages)]) + ">>");
  }
  const std::string sPdf = builder.Build();
  const std::string sLinear = MustLinearize(sPdf);
  EXPECT_LT(sLinear.size(), 2 * sPdf.size());
}

}  // namespace
