#include "pdf/File.h"
#include "tests/pdf/linearize/LinearizeSupport.h"
#include "tests/support/Samples.h"

namespace
{

using Linearize::CLinearizedFile;
using Linearize::GetComplaints;
using Linearize::MustLinearize;
using Linearize::PackPlainly;
using Support::CPdfBuilder;

std::string Ref(int nNumber)
{
  return std::to_string(nNumber) + " 0 R";
}

// What has to hold of every linearized file with object streams.
void ExpectFrame(const CLinearizedFile& file)
{
  const std::string& sPdf = file.GetBytes();
  ASSERT_TRUE(file.m_bPacked);
  EXPECT_EQ(file.m_nLength, sPdf.size());
  EXPECT_LT(sPdf.find("endobj"), 1024U);
  EXPECT_EQ(file.GetPosition(file.m_nFirstPage), file.m_nHintOffset + file.m_nHintLength);
  for (const int nNumber : {file.m_nFirstPage, file.GetRoot()})
    EXPECT_EQ(file.m_holders.count(nNumber), 0U) << "neither pages nor the catalogue are in object streams";
  // The highest numbers of each section are those in object streams.
  int nChanges = 0;
  for (int i = 1; i < file.m_nMainCount + file.m_nFirstCount; ++i)
  {
    EXPECT_EQ(file.m_positions.count(i) + file.m_members.count(i), 1U) << i;
    EXPECT_EQ(file.IsInFront(i), i >= file.m_nMainCount) << i;
    EXPECT_NE(file.GetObject(i), "missing");
    nChanges += i > 1 && file.m_members.count(i) != file.m_members.count(i - 1) ? 1 : 0;
  }
  EXPECT_LE(nChanges, 3);
}

TEST(LinearizerPacked, TakesEveryLayout)
{
  for (const Support::TSample& sample : Support::MakeSamples())
  {
    SCOPED_TRACE(sample.sName);
    const std::string sLinear = MustLinearize(sample.sPdf, nullptr, true);
    EXPECT_EQ(GetComplaints(sLinear), std::vector<std::string>());
    if (sample.sVersion < "1.5")
    {
      EXPECT_EQ(sLinear, MustLinearize(sample.sPdf)) << "tables, as before";
      continue;
    }
    EXPECT_EQ(CLinearizedFile(sLinear).m_nPages, sample.nPages);
    ExpectFrame(CLinearizedFile(PackPlainly(sample.sPdf)));
    // What comes out is taken in again, and becomes what it was; values that are objects now may change
    // places.
    const auto getLength = [](const std::string& sBytes) { return static_cast<double>(sBytes.size()); };
    EXPECT_NEAR(getLength(MustLinearize(sLinear, nullptr, true)), getLength(sLinear), 8);
    EXPECT_EQ(GetComplaints(MustLinearize(sLinear)), std::vector<std::string>());
  }
}

// Pages in order below a node, and what the counts of nodes say.
void CollectPages(const CLinearizedFile& file, int nNode, std::vector<int>& pages)
{
  const std::string sNode = file.GetObject(nNode);
  const size_t nBefore = pages.size();
  std::istringstream kids(sNode.substr(sNode.find("/Kids[") + 6));
  std::string sGeneration;
  std::string sKeyword;
  for (int nKid = 0; kids >> nKid >> sGeneration >> sKeyword;)
  {
    const bool bPage = file.GetObject(nKid).find("/Type/Pages") == std::string::npos;
    EXPECT_EQ(file.GetReference(nKid, "Parent"), nNode);
    if (bPage)
      pages.push_back(nKid);
    else
      CollectPages(file, nKid, pages);
    if (sKeyword != "R")
      break;
  }
  EXPECT_NE(sNode.find("/Count " + std::to_string(pages.size() - nBefore) + "/"), std::string::npos);
}

TEST(LinearizerPacked, BuildsTheTreeAnew)
{
  for (const int nPages : {1, 2, 3, 4, 10, 11, 258, 259, 3000})
  {
    SCOPED_TRACE(nPages);
    CPdfBuilder builder;
    for (int i = 1; i <= nPages; ++i)
      builder.AddPage("", "/Mark(" + std::to_string(i) + ")");
    const CLinearizedFile file(PackPlainly(builder.Build()));
    if (nPages < 300)
      ExpectFrame(file);
    const int nRoot = file.GetReference(file.GetRoot(), "Pages");
    EXPECT_TRUE(file.IsInFront(nRoot));
    std::vector<int> pages;
    CollectPages(file, nRoot, pages);
    ASSERT_EQ(pages.size(), static_cast<size_t>(nPages));
    for (int i = 0; i < nPages; ++i)
      EXPECT_NE(file.GetObject(pages[static_cast<size_t>(i)]).find("/Mark(" + std::to_string(i + 1) + ")"),
                std::string::npos);
    // The first page and the last one are found without any other.
    EXPECT_EQ(file.GetReference(pages.front(), "Parent"), nRoot);
    EXPECT_EQ(file.GetReference(pages.back(), "Parent"), nRoot);
  }
}

// A node that says more than where pages are stays, and so does the tree.
TEST(LinearizerPacked, LosesNothingOfTheTree)
{
  for (const bool bForeign : {false, true})
  {
    CPdfBuilder builder;
    builder.AddPage("1");
    const int nNode = builder.ReserveObject();
    const int nPage = builder.AddObject("<</Type/Page/Mark/Two/Parent " + Ref(nNode) + ">>");
    builder.SetObject(nNode, "<</Type/Pages/Parent 2 0 R/Count 1/MediaBox[0 0 9 9]/Kids[" + Ref(nPage) + "]" +
                                 (bForeign ? "/Mark/Node>>" : ">>"));
    builder.SetObject(CPdfBuilder::g_nPageTree, "<</Type/Pages/Mark/Root/Count 2/Kids[" +
                                                    Ref(builder.GetPage(0)) + " " + Ref(nNode) + "]>>");
    builder.SetCatalogEntries("/Odd " + Ref(nNode));
    const CLinearizedFile file(PackPlainly(builder.Build()));
    ExpectFrame(file);
    const int nRoot = file.FindObject("/Mark/Root");
    EXPECT_EQ(file.FindObject("/Mark/Node") != 0, bForeign);
    EXPECT_EQ(file.GetReference(file.FindObject("/Mark/Two"), "Parent"),
              bForeign ? file.FindObject("/Mark/Node") : nRoot);
    EXPECT_EQ(file.GetReference(file.GetRoot(), "Odd"), bForeign ? file.FindObject("/Mark/Node") : nRoot);
  }
}

// What has to be a plain object is one, and what a page has at length is none of its own dictionary's.
TEST(LinearizerPacked, PacksWhatMayBePacked)
{
  CPdfBuilder builder;
  const int nSignature = builder.AddObject("<</Type/Sig/ByteRange[0 1 2 3]/Contents<00>/Mark/Signature>>");
  const int nReference = builder.AddObject(Ref(nSignature));
  const std::string sLong(300, 'l');
  const int nField = builder.AddObject("<</Mark/Field/V " + Ref(nSignature) + "/More " + Ref(nReference) +
                                       "/Long(" + sLong + ")>>");
  builder.AddPage("1");
  builder.AddPage("2", "/Mark/Second/Piece<</Data<</Private(" + sLong + ")/Field " + Ref(nField) + ">>>>");
  builder.AddPage("3", "/Mark/Third/Piece<</Data<</ByteRange[0 1 2 3]/Contents(" + sLong + ")>>>>");
  const CLinearizedFile file(PackPlainly(builder.Build()));
  ExpectFrame(file);
  EXPECT_EQ(file.m_holders.count(file.FindObject("/Mark/Signature")), 0U);
  EXPECT_EQ(file.m_holders.count(file.FindObject("/Mark/Field")), 1U);
  const int nPiece = file.GetReference(file.FindObject("/Mark/Second"), "Piece");
  EXPECT_EQ(file.m_holders.count(nPiece), 1U);
  EXPECT_NE(file.GetObject(nPiece).find("/Private(" + sLong + ")"), std::string::npos);
  EXPECT_EQ(file.GetReference(nPiece, "Field"), file.FindObject("/Mark/Field"));
  EXPECT_NE(file.GetObject(file.FindObject("/Mark/Third")).find("/Contents(" + sLong), std::string::npos);
}

// Equal values of pages are one object, in front if the first page has them; lists of one page are its own.
// Of the catalogue only what has to be direct stays.
TEST(LinearizerPacked, SharesEqualValues)
{
  const std::string sGroup = "/Group<</Type/Group/S/Transparency/CS/DeviceRGB/Mark/";
  const std::string sList = "/Annots[<</Type/Annot/Subtype/Link/Rect[0 0 9 9]/Border[0 0 0]>>]";
  const std::string sBox = "/TrimBox[0 0 100 100.5]";
  CPdfBuilder builder;
  for (const char* szMark : {"Front", "Later", "Front", "Later"})
    builder.AddPage("", sGroup + szMark + ">>" + sList + sBox);
  builder.AddPage("", "/Lone[0 0 100 100.5]");
  builder.SetCatalogEntries(
      "/Extensions<</ADBE<</BaseVersion/1.7/ExtensionLevel 8/Mark/Kept>>>>"
      "/Dests<</A[null/Fit]/B[null/Fit]/C[null/Fit]/Mark/Dests>>");
  const std::string sPdf = builder.Build();
  EXPECT_EQ(GetComplaints(MustLinearize(sPdf, nullptr, true)), std::vector<std::string>());
  const CLinearizedFile file(PackPlainly(sPdf));
  ExpectFrame(file);
  std::vector<int> pages;
  CollectPages(file, file.GetReference(file.GetRoot(), "Pages"), pages);
  ASSERT_EQ(pages.size(), 5U);
  std::set<int> lists;
  for (size_t i = 0; i < 4; ++i)
  {
    EXPECT_EQ(file.GetReference(pages[i], "Resources"), file.GetReference(pages[0], "Resources"));
    EXPECT_EQ(file.GetReference(pages[i], "TrimBox"), file.GetReference(pages[0], "TrimBox"));
    EXPECT_EQ(file.GetReference(pages[i], "Group"), file.FindObject(i % 2 ? "/Mark/Later" : "/Mark/Front"));
    lists.insert(file.GetReference(pages[i], "Annots"));
  }
  EXPECT_EQ(lists.size(), 4U);
  EXPECT_TRUE(file.IsInFront(file.GetReference(pages[0], "Resources")));
  EXPECT_EQ(file.GetReference(file.GetRoot(), "Dests"), file.FindObject("/Mark/Dests"));
  EXPECT_EQ(file.FindObject("/Mark/Kept"), file.GetRoot());
}

// A larger document has object streams of each part, and the outlines that open with it in front.
TEST(LinearizerPacked, KeepsThePartsApart)
{
  for (const bool bOpen : {false, true})
  {
    CPdfBuilder builder;
    const std::string sLong(9000, 'x');
    const auto add = [&builder, &sLong](const char* szMark)
    { return Ref(builder.AddObject(std::string("<</Mark/") + szMark + "/Long(" + sLong + ")>>")); };
    const std::string sShared = add("Shared");
    builder.AddPage("1", "/PieceInfo " + add("First"));
    builder.AddPage("2", "/PieceInfo<</A " + add("Second") + "/B " + sShared + ">>");
    builder.AddPage("3", "/PieceInfo<</B " + sShared + ">>");
    builder.SetCatalogEntries("/Outlines " + add("Outlines") + "/Names " + add("Names") + "/StructTreeRoot " +
                              add("Structure") + (bOpen ? "/PageMode/UseOutlines" : ""));
    const std::string sPdf = builder.Build();
    EXPECT_EQ(GetComplaints(MustLinearize(sPdf, nullptr, true)), std::vector<std::string>());
    const CLinearizedFile file(PackPlainly(sPdf));
    ExpectFrame(file);
    const auto getPlace = [&file](const char* szMark)
    { return file.GetPosition(file.m_holders.at(file.FindObject(std::string("/Mark/") + szMark))); };
    EXPECT_EQ(getPlace("First") < file.m_nFirstPageEnd, true);
    EXPECT_EQ(getPlace("Outlines") < file.m_nFirstPageEnd, bOpen);
    size_t nLast = file.m_nFirstPageEnd;
    for (const char* szMark : {"Second", "Shared", "Names", "Structure"})
    {
      EXPECT_GE(getPlace(szMark), nLast) << szMark;
      nLast = getPlace(szMark);
    }
  }
}

// Wherever the file ends: it opens or is refused, and has its first page from the end of that on.
TEST(LinearizerPacked, OpensCutAnywhere)
{
  CPdfBuilder builder;
  for (int i = 0; i < 30; ++i)
    builder.AddFlateStream("", ""),
        builder.AddPage(std::string(100, ' '), "/Mark(" + std::to_string(i) + ")");
  const std::string sLinear = MustLinearize(builder.Build(), nullptr, true);
  const CLinearizedFile linear(sLinear);
  for (size_t nEnd = sLinear.size(); nEnd > 200; nEnd -= std::min<size_t>(nEnd, 37))
  {
    SCOPED_TRACE(nEnd);
    BSE::CErrorHandler errors;
    PDF::CFile file(&errors);
    const BSE::CObjectPtr<BSE::IByteStream> pInput(
        new BSE::CMemoryInputStream(sLinear.data(), static_cast<std::int64_t>(nEnd)));
    const bool bOpened = file.Open(pInput.Get());
    EXPECT_TRUE(bOpened || nEnd < linear.m_nFirstPageEnd);
    if (nEnd < linear.m_nFirstPageEnd)
      continue;
    EXPECT_EQ(file.IsLinearized(), nEnd == sLinear.size());
    EXPECT_EQ(file.WasRecovered(), nEnd < sLinear.size() - 30);
    EXPECT_EQ(file.GetRoot()["Pages"]["Kids"][0]["Mark"].GetStringValue(), PDF::CString("0"));
  }
}

}  // namespace
