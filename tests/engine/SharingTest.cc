// What many pages share: nothing of it is lost, and none of it is read for each of them.

#include "tests/engine/SavedDocument.h"
#include "tests/engine/SmallFile.h"

namespace
{

using Engine::CSmallFile;
using Engine::Ref;
using Engine::TLoadCounter;
using Engine::TSaved;
using PDF::CObjectPtr;
using PDF::CPage;

constexpr int g_nPages = 10000;

std::string Name(int i)
{
  return "/N" + std::to_string(i);
}

// A dictionary of so many streams, each of its own.
std::string MakeStreams(CSmallFile& file, int nCount, const std::string& sEntries)
{
  std::string sEntriesOfAll = "<<";
  for (int i = 0; i < nCount; ++i)
    sEntriesOfAll += Name(i) + " " + Ref(file.AddStream("% " + std::to_string(i), sEntries));
  return sEntriesOfAll + ">>";
}

struct TShape
{
  const char* m_szName;

  // Entries of the root, and of a page by its index.
  std::string m_sRoot;
  std::function<std::string(int)> m_fnPage;

  // What a page of the result has to have.
  std::function<bool(const CPage&, int)> m_fnCheck;
};

bool HasStream(const CPage& page, const char* szCategory, int i)
{
  const CObjectPtr stream = page.FindInherited("Resources")[szCategory][Name(i).substr(1).c_str()];
  unsigned char c[8] = {};
  const BSE::CObjectPtr<BSE::IByteStream> pData = stream.GetDecodedStream();
  return pData && pData->ReadFully(c, 8) > 2 && std::to_string(i)[0] == static_cast<char>(c[2]);
}

std::vector<TShape> MakeShapes(CSmallFile& file)
{
  constexpr int nShared = 2000;
  const std::string sImages = MakeStreams(file, nShared, "/Subtype/Image/Width 1/Height 1");
  const std::string sForms = MakeStreams(file, nShared, "/Subtype/Form/BBox[0 0 1 1]");
  std::string sFonts = "<<";
  std::string sAnnots = "[";
  for (int i = 0; i < nShared; ++i)
  {
    sFonts +=
        Name(i) + " " + Ref(file.Add("<</Type/Font/Subtype/Type1/BaseFont/B" + std::to_string(i) + ">>"));
    sAnnots += Ref(file.Add("<</Type/Annot/Subtype/Square/Rect[0 0 9 " + std::to_string(i) + "]>>")) + " ";
  }
  const std::string sResources = "/Resources " + Ref(file.Add("<</XObject" + sImages + ">>"));
  const std::string sXObjects = Ref(file.Add(sForms));
  const std::string sFontList = Ref(file.Add(sFonts + ">>"));
  const std::string sAnnotList = "/Annots " + Ref(file.Add(sAnnots + "]"));
  const std::string sContents = "/Contents " + Ref(file.AddStream("0 0 9 9 re f", ""));
  const auto always = [](const std::string& sEntries) { return [sEntries](int) { return sEntries; }; };
  const auto hasContents = [](const CPage& page, int) { return page["Contents"].IsStream(); };
  return {
      {"resources", "", always(sResources),
       [](const CPage& page, int i) { return HasStream(page, "XObject", i % nShared); }},
      {"contents", "", always(sContents), hasContents},
      {"annotations", "", always(sAnnotList),
       [](const CPage& page, int i)
       { return page["Annots"].GetSize() == nShared && page["Annots"][i % nShared]["Rect"].GetSize() == 4; }},
      {"forms", "", always("/Resources<</XObject " + sXObjects + ">>"),
       [](const CPage& page, int i) { return HasStream(page, "XObject", i % nShared); }},
      {"fonts", "", always("/Resources<</Font " + sFontList + ">>"),
       [](const CPage& page, int i)
       {
         return page.FindInherited("Resources")["Font"][Name(i % nShared).substr(1).c_str()]["BaseFont"]
             .IsName();
       }},
      {"all inherited", "/Rotate 90/MediaBox[0 0 7 7]/Resources<</XObject" + sImages + ">>",
       always(sContents),
       [=](const CPage& page, int i)
       {
         PDF::TRectangle box;
         return HasStream(page, "XObject", i % nShared) && page.GetMediaBox(box) && page.GetRotate() == 90 &&
                hasContents(page, i);
       }},
  };
}

TEST(Sharing, OfManyPagesLosesNothing)
{
  for (int nShape = 0; nShape < 6; ++nShape)
  {
    CSmallFile file;
    const TShape shape = MakeShapes(file)[static_cast<std::size_t>(nShape)];
    for (int i = 0; i < g_nPages; ++i)
      file.AddPage(shape.m_fnPage(i));
    const std::string sPdf = file.Build(shape.m_sRoot);

    Engine::CReports reports;
    PDF::COptimizer optimizer(&reports);
    optimizer.GetOptions().m_bRemoveRedundantObjects = true;
    optimizer.GetOptions().m_bMergeEqualObjects = true;
    const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
    ASSERT_TRUE(optimizer.Open(Engine::MakeStream(sPdf).Get(), nullptr));
    TLoadCounter counter;
    optimizer.GetInput().GetFile().Attach(&counter);
    EXPECT_TRUE(optimizer.Save(pOutput.Get(), {})) << shape.m_szName;
    optimizer.GetInput().GetFile().Detach(&counter);
    EXPECT_LT(counter.m_nLoads, 8 * file.GetCount()) << shape.m_szName;
    EXPECT_LT(pOutput->GetLength(), static_cast<std::int64_t>(sPdf.size())) << shape.m_szName;
    EXPECT_TRUE(reports.m_reports.empty()) << shape.m_szName;

    BSE::CErrorHandler handler;
    PDF::CDocument result(&handler);
    ASSERT_TRUE(result.Open(pOutput.Get(), nullptr));
    ASSERT_EQ(result.GetPageCount(), g_nPages);
    int nWrong = 0;
    for (int i = 0; i < g_nPages; i += 97)
      nWrong += shape.m_fnCheck(result.GetPage(i), i) ? 0 : 1;
    EXPECT_EQ(nWrong, 0) << shape.m_szName;
  }
}

// A page listed thousands of times costs little more than its listings, and is in each what the node makes
// it.
TEST(Sharing, OfOnePageThatIsListedAgainAndAgain)
{
  constexpr int nListings = 3000;
  CSmallFile file;
  std::string sValues;
  std::string sKids;
  const int nPage = file.Add("");
  for (int i = 0; i < nListings; ++i)
  {
    sValues += "(value) ";
    sKids += Ref(nPage) + " ";
  }
  file.Set(nPage, "<</Type/Page/Own[" + sValues + "]/Contents " + Ref(file.AddStream("q", "")) + ">>");
  const int nFirst = file.Add("<</Type/Pages/Kids[" + sKids + "]/Rotate 90>>");
  const int nSecond = file.Add("<</Type/Pages/Kids[" + sKids + "]/MediaBox[0 0 7 7]>>");
  const std::string sPdf = file.Build("/Kids[" + Ref(nFirst) + " " + Ref(nSecond) + "]");
  TSaved saved(sPdf);
  EXPECT_LT(saved.m_result.GetFile().GetInput()->GetLength(), 2 * static_cast<std::int64_t>(sPdf.size()));
  ASSERT_EQ(saved.m_result.GetPageCount(), 2 * nListings);
  for (const int i : {0, 1, nListings - 1, nListings, 2 * nListings - 1})
  {
    const CPage page = saved.m_result.GetPage(i);
    EXPECT_EQ(page["Own"].GetSize(), nListings);
    EXPECT_TRUE(page["Contents"].IsStream());
    EXPECT_EQ(page.GetRotate(), i < nListings ? 90 : 0);
    EXPECT_EQ(page["MediaBox"].IsArray(), i >= nListings);
  }
}

}  // namespace
