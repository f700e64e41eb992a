// Small files, each odd in one way that writers in the field or attackers have: what must come out of each,
// in every form of a save, and whether a loss is told. Work and memory stay in proportion to the file, which
// the time limit of the test holds.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/Deflate.h"
#include "tests/support/PdfDamager.h"
#include "tests/support/Saver.h"

namespace
{

using Support::CSaver;
using Support::ReplaceText;

enum class TOutcome
{
  Whole,  // saved, and nothing is lost
  Loss,   // saved, and the loss is told
  Either  // saved; whether the odd part counts as lost is a matter of taste
};

struct TOddFile
{
  const char* szName;
  std::string sPdf;
  int nPages = 1;
  TOutcome outcome = TOutcome::Whole;
  std::vector<std::string> kept = {"0 0 m 10 10 l S"};  // texts that the plain output has
};

void PrintTo(const TOddFile& file, std::ostream* pOut)
{
  *pOut << file.szName;
}

const std::string g_sCatalog = "<</Type/Catalog/Pages 2 0 R>>";
const std::string g_sTree = "<</Type/Pages/Kids[3 0 R]/Count 1>>";
const std::string g_sPage = "<</Type/Page/Parent 2 0 R/MediaBox[0 0 100 100]/Contents 4 0 R/Resources<<>>>>";
const std::string g_sContents = "<</Length 15>>\nstream\n0 0 m 10 10 l S\nendstream";

// The objects in the order of their numbers, from 1, then a table and a trailer.
std::string MakeFile(const std::vector<std::string>& bodies, const std::string& sTrailer = {},
                     const std::string& sBefore = {})
{
  std::string sPdf = "%PDF-1.4\n%\xE2\xE3\xCF\xD3\n";
  std::string sTable = "0000000000 65535 f \n";
  for (size_t i = 0; i < bodies.size(); ++i)
  {
    const std::string sOffset = std::to_string(sPdf.size());
    sTable += std::string(10 - sOffset.size(), '0') + sOffset + " 00000 n \n";
    sPdf += std::to_string(i + 1) + " 0 obj\n" + bodies[i] + "\nendobj\n";
  }
  const std::string sSize = std::to_string(bodies.size() + 1);
  const std::string sStart = std::to_string(sPdf.size());
  return sBefore + sPdf + "xref\n0 " + sSize + "\n" + sTable + "trailer\n<</Size " + sSize + "/Root 1 0 R" +
         sTrailer + ">>\nstartxref\n" + sStart + "\n%%EOF\n";
}

std::string MakeWithPage(const std::string& sPage, const std::vector<std::string>& further = {})
{
  std::vector<std::string> bodies = {g_sCatalog, g_sTree, sPage, g_sContents};
  bodies.insert(bodies.end(), further.begin(), further.end());
  return MakeFile(bodies);
}

std::string MakePlain(const std::string& sTrailer = {}, const std::string& sBefore = {})
{
  return MakeFile({g_sCatalog, g_sTree, g_sPage, g_sContents, "[(abc)(def)]"}, sTrailer, sBefore);
}

std::string WithPageEntry(const std::string& sEntry)
{
  return g_sPage.substr(0, g_sPage.size() - 2) + sEntry + ">>";
}

// Everything from a word on.
std::string CutAt(const std::string& sPdf, const std::string& sWord)
{
  return sPdf.substr(0, sPdf.rfind(sWord));
}

// One compressed object stream with catalogue, tree and page. Its N is as given, and the byte at nDamaged of
// what it holds, if it is not negative, is one that no token has.
std::string MakeCompressed(int nCount, int nDamaged, bool bTail)
{
  std::string sHeads;
  std::string sBodies;
  const std::string all[] = {g_sCatalog, g_sTree, g_sPage};
  for (int i = 0; i < 3; ++i)
  {
    sHeads += std::to_string(i + 1) + " " + std::to_string(sBodies.size()) + " ";
    sBodies += all[i] + " ";
  }
  std::string sData = sHeads + sBodies;
  if (nDamaged >= 0)
    sData[sHeads.size() + static_cast<size_t>(nDamaged)] = '}';
  std::string sPdf = "%PDF-1.5\n4 0 obj\n" + g_sContents + "\nendobj\n";
  const size_t nStream = sPdf.size();
  sPdf += "5 0 obj\n<</Type/ObjStm/N " + std::to_string(nCount) + "/First " + std::to_string(sHeads.size()) +
          "/Length " + std::to_string(sData.size()) + ">>\nstream\n" + sData + "\nendstream\nendobj\n";
  if (!bTail)
    return sPdf;
  const auto entry = [](int nType, size_t nSecond, int nThird)
  {
    const std::string sEntry = {static_cast<char>(nType), static_cast<char>(nSecond >> 8),
                                static_cast<char>(nSecond & 0xFF), static_cast<char>(nThird)};
    return sEntry;
  };
  const size_t nXRef = sPdf.size();
  const std::string sEntries = entry(0, 0, 0) + entry(2, 5, 0) + entry(2, 5, 1) + entry(2, 5, 2) +
                               entry(1, 9, 0) + entry(1, nStream, 0) + entry(1, nXRef, 0);
  sPdf += "6 0 obj\n<</Type/XRef/Size 7/W[1 2 1]/Root 1 0 R/Length " + std::to_string(sEntries.size()) +
          ">>\nstream\n" + sEntries + "\nendstream\nendobj\nstartxref\n" + std::to_string(nXRef) +
          "\n%%EOF\n";
  return sPdf;
}

// A trailer that leads to many sections, all at places where the same long stream of entries is met.
std::string MakeManySections(int nSections)
{
  std::string sPdf = MakePlain();
  const std::string sEntries = Support::Deflate(std::string(4 * 200000, '\0'));
  const size_t nStream = sPdf.size();
  sPdf += "9 0 obj\n<</Type/XRef/Size 200000/W[1 2 1]/Index[100 200000]/Filter/FlateDecode/Length " +
          std::to_string(sEntries.size()) + ">>\nstream\n" + sEntries + "\nendstream\nendobj\n";
  size_t nPrevious = std::stoul(sPdf.substr(sPdf.rfind("startxref") + 10));
  nPrevious = sPdf.find("xref\n0");
  for (int i = 0; i < nSections; ++i)
  {
    const size_t nAt = sPdf.size();
    sPdf += "xref\n0 1\n0000000000 65535 f \ntrailer\n<</Size 6/Root 1 0 R/XRefStm " +
            std::to_string(nStream) + "/Prev " + std::to_string(nPrevious) + ">>\n";
    nPrevious = nAt;
  }
  return sPdf + "startxref\n" + std::to_string(nPrevious) + "\n%%EOF\n";
}

// A hybrid update that frees object 5 of the revision before.
std::string MakeHybridFree()
{
  std::string sPdf = MakeWithPage(WithPageEntry("/X 5 0 R/Y 6 0 R"), {"(five)", "(six)"});
  const size_t nFirst = sPdf.find("xref\n0");
  const std::string sEntries = {'\2', '\0', '\1', '\0'};
  const size_t nStream = sPdf.size();
  sPdf += "9 0 obj\n<</Type/XRef/Size 10/W[1 2 1]/Index[8 1]/Length 4>>\nstream\n" + sEntries +
          "\nendstream\nendobj\n";
  const size_t nUpdate = sPdf.size();
  return sPdf + "xref\n5 1\n0000000000 00001 f \ntrailer\n<</Size 10/Root 1 0 R/XRefStm " +
         std::to_string(nStream) + "/Prev " + std::to_string(nFirst) + ">>\nstartxref\n" +
         std::to_string(nUpdate) + "\n%%EOF\n";
}

std::vector<TOddFile> MakeTokens()
{
  const std::string sLostPage = ReplaceText(MakePlain(), "3 0 obj", "3 0 xbj");
  return {
      {"WordInAnArray",
       MakeWithPage(WithPageEntry("/X[1 0 S 5]/Y 7")),
       1,
       TOutcome::Either,
       {"0 0 m 10", "/Y 7"}},
      {"SignedReference",
       MakeWithPage(WithPageEntry("/X[1 +0 R 4 -0 R]/Y 7")),
       1,
       TOutcome::Either,
       {"0 0 m 10", "/Y 7"}},
      {"WordInAPage",
       MakeFile({g_sCatalog, "<</Type/Pages/Kids[3 0 R 5 0 R]/Count 2>>", g_sPage, g_sContents,
                 "<</Type/Page/Parent 2 0 R bad /MediaBox[0 0 9 9]/Contents 4 0 R>>"}),
       2,
       TOutcome::Either,
       {"0 0 9 9", "0 0 100 100"}},
      {"LostContents", ReplaceText(MakePlain(), "4 0 obj", "4 0 xbj"), 1, TOutcome::Loss, {}},
      {"LostPageOfTwo",
       ReplaceText(
           MakeFile({g_sCatalog, "<</Type/Pages/Kids[3 0 R 5 0 R]/Count 2>>", g_sPage, g_sContents, g_sPage}),
           "5 0 obj", "5 0 xbj"),
       1, TOutcome::Loss},
      {"JoinedEnds", ReplaceText(MakePlain(), "endstream\nendobj", "endstreamendobj\nendobj")},
      {"NoEndOfTheLastStream",
       ReplaceText(MakeFile({g_sCatalog, g_sTree, g_sPage, g_sContents}), "\nendstream", "\n         ")},
      {"EmptyStreams",
       MakeWithPage(WithPageEntry("/X 5 0 R/Y 6 0 R"),
                    {"<</Filter/DCTDecode/Length 0>>\nstream\n\nendstream",
                     "<</Filter[/JBIG2Decode]/Length 0>>\nstream\n\nendstream"}),
       1,
       TOutcome::Whole,
       {"/DCTDecode", "/JBIG2Decode"}},
  };
}

// A page that only an object stream has, beside a table that knows nothing of it.
std::string MakeHidden(const std::string& sTrailer)
{
  const std::string sData = "5 0 " + g_sPage;
  return MakeFile({g_sCatalog, "<</Type/Pages/Kids[5 0 R]/Count 1>>",
                   "<</Type/ObjStm/N 1/First 4/Length " + std::to_string(sData.size()) + ">>\nstream\n" +
                       sData + "\nendstream",
                   g_sContents},
                  sTrailer);
}

std::vector<TOddFile> MakeStructures()
{
  const std::string sTrailer = "trailer\n<</Size 6/Root 1 0 R>>\n";
  const std::string sScanned = CutAt(MakePlain(), "xref\n0");
  const std::string sHuge = "9223372036854775807";
  return {
      {"TrailerByReference", sScanned + "trailer 5 0 R\n" + sTrailer},
      {"IdByReferenceInAScan", sScanned + sTrailer + "trailer\n<</Size 6/Root 1 0 R/ID 5 0 R>>\n"},
      {"IdByReference", MakePlain("/ID 5 0 R"), 1, TOutcome::Whole, {"(abc)", "0 0 m 10 10 l S"}},
      {"PrevByReference", MakeFile({g_sCatalog, g_sTree, g_sPage, g_sContents, "17"}, "/Prev 5 0 R")},
      {"HugeStart", CutAt(MakePlain({}, "xx"), "startxref") + "startxref\n" + sHuge + "\n%%EOF\n"},
      {"HugePrev", MakePlain("/Prev " + sHuge, "xx")},
      {"HugeStreamOfEntries", MakePlain("/XRefStm " + sHuge, "xx")},
      {"WrongStreamOfEntries", MakePlain("/Foo 1/XRefStm 99999")},
      {"WrongGenerations", ReplaceText(MakePlain(), " 00000 n", " 00001 n", -2)},
      {"ManySections", MakeManySections(3000)},
      {"FreedByAHybridUpdate", MakeHybridFree(), 1, TOutcome::Whole, {"(six)"}},
      {"NoTrailer", CutAt(MakePlain(), "trailer")},
      {"NoInfoInADamagedTrailer", MakePlain("/Info 4 0 Q"), 1, TOutcome::Loss},
      {"NoCatalogue", ReplaceText(MakePlain(), "1 0 obj", "1 0 xbj"), 1, TOutcome::Loss},
      {"NoHeader", ReplaceText(MakePlain(), "%PDF-1.4\n", "")},
      {"NoEndOfCompressedObjects", MakeCompressed(3, -1, false)},
      {"Compressed", MakeCompressed(3, -1, true)},
      {"TooFewCompressedObjects", MakeCompressed(2, -1, true), 1, TOutcome::Either, {}},
      {"CompressedObjectsAnnouncedTooEarly",
       ReplaceText(MakeCompressed(3, -1, true), "/First 1", "/First 0")},
      {"StreamAmongCompressedObjects",
       ReplaceText(MakeCompressed(3, -1, true), "/Resources<<>>>>", "        >>stream"), 1, TOutcome::Loss},
      {"MoreEntriesThanAnnounced", ReplaceText(MakeCompressed(3, -1, true), "/Size 7", "/Size 3")},
      {"HybridWithoutItsStreamOfEntries", MakeHidden("/XRefStm 99999")},
      {"HybridWhoseStreamOfEntriesIsNoNumber", MakeHidden("/XRefStm 98 0 R")},
      {"NumberBeyondAllLimits",
       MakeFile({g_sCatalog, "<</Type/Pages/Kids[3 0 R 99999999 0 R]/Count 2>>", g_sPage, g_sContents}), 1,
       TOutcome::Loss},
      {"IdOfOnePart", MakePlain("/ID[(abc)]"), 1, TOutcome::Whole, {"(abc)"}},
  };
}

std::vector<TOddFile> MakeParts()
{
  const auto withCatalogue = [](const std::string& sEntry, const std::vector<std::string>& further)
  {
    std::vector<std::string> bodies = {"<</Type/Catalog/Pages 2 0 R" + sEntry + ">>", g_sTree, g_sPage,
                                       g_sContents};
    bodies.insert(bodies.end(), further.begin(), further.end());
    return MakeFile(bodies);
  };
  const std::string sField = "<</FT/Tx/T(a)/Kids[]>>";
  return {
      {"OutlineWithoutAFirstItem", withCatalogue("/Outlines 5 0 R", {"<</Last 6 0 R>>", "<</Title(t)>>"}), 1,
       TOutcome::Loss},
      {"OutlineThatDoesNotSayItsLastItem",
       withCatalogue("/Outlines 5 0 R", {"<</First 6 0 R/Last 6 0 R>>", "<</Title(t)/Next 7 0 R>>",
                                         "<</Title(u)/Parent 5 0 R>>"}),
       1,
       TOutcome::Whole,
       {"(t)", "(u)"}},
      {"ListAmongAnnotations",
       MakeWithPage(WithPageEntry("/Annots[null[5 0 R]]"), {"<</Subtype/Square/Rect[0 0 1 1]>>"}), 1,
       TOutcome::Loss},
      {"InformationThatIsAString", MakePlain("/Info(abc)"), 1, TOutcome::Loss},
      {"FieldInPlaceOfTheirList",
       withCatalogue("/AcroForm<</Fields 5 0 R>>", {sField}),
       1,
       TOutcome::Whole,
       {"/AcroForm", "/Tx"}},
  };
}

std::vector<TOddFile> MakeTrees()
{
  const std::string sText = "<</Length 33>>\nstream\nBT /F 20 Tf 10 10 Td (Hello) Tj ET\nendstream";
  const std::string sFont = "<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>";
  const std::string sValues = "/MediaBox[0 0 200 200]/Rotate 90/Resources<</Font<</F 5 0 R>>>>";
  const std::string sNode = "<</Type/Pages/Kids[3 0 R]/Count 1" + sValues + ">>";
  const std::vector<std::string> kept = {"(Hello)", "200 200", "/Rotate 90", "/Helvetica"};
  return {
      {"PageWithoutParent", MakeFile({g_sCatalog, sNode, "<</Type/Page/Contents 4 0 R>>", sText, sFont}), 1,
       TOutcome::Whole, kept},
      {"NodeWithoutParent",
       MakeFile({g_sCatalog, "<</Type/Pages/Kids[6 0 R]/Count 1" + sValues + ">>",
                 "<</Type/Page/Parent 6 0 R/Contents 4 0 R>>", sText, sFont,
                 "<</Type/Pages/Kids[3 0 R]/Count 1>>"}),
       1, TOutcome::Whole, kept},
      {"ParentIsTheRoot",
       MakeFile({g_sCatalog, "<</Type/Pages/Kids[6 0 R]/Count 1>>",
                 "<</Type/Page/Parent 2 0 R/Contents 4 0 R>>", sText, sFont,
                 "<</Type/Pages/Parent 2 0 R/Kids[3 0 R]/Count 1" + sValues + ">>"}),
       1, TOutcome::Whole, kept},
      {"NullHidesNothing",
       MakeFile({g_sCatalog, sNode,
                 "<</Type/Page/Parent 2 0 R/Contents 4 0 R/MediaBox 99 0 R/Rotate 98 0 R/Resources 97 0 R>>",
                 sText, sFont}),
       1, TOutcome::Whole, kept},
  };
}

class OddFiles : public testing::TestWithParam<TOddFile>
{
};

std::string GetName(const testing::TestParamInfo<TOddFile>& info)
{
  return info.param.szName;
}

INSTANTIATE_TEST_SUITE_P(Tokens, OddFiles, testing::ValuesIn(MakeTokens()), GetName);
INSTANTIATE_TEST_SUITE_P(Structures, OddFiles, testing::ValuesIn(MakeStructures()), GetName);
INSTANTIATE_TEST_SUITE_P(Parts, OddFiles, testing::ValuesIn(MakeParts()), GetName);
INSTANTIATE_TEST_SUITE_P(Trees, OddFiles, testing::ValuesIn(MakeTrees()), GetName);

void ExpectOutcome(CSaver& saver, const TOddFile& file, const std::string& sOut)
{
  const auto nLosses = BrevexGetLossCount(saver.Get());
  EXPECT_FALSE(file.outcome == TOutcome::Whole && nLosses > 0) << std::hex << saver.GetCode();
  EXPECT_FALSE(file.outcome == TOutcome::Loss && nLosses == 0);
  CSaver again;
  ASSERT_TRUE(again.Open(sOut));
  EXPECT_EQ(BrevexGetPageCount(again.Get()), file.nPages);
}

TEST_P(OddFiles, ComeOutWhole)
{
  CSaver saver;
  BrevexSetLenientOpening(saver.Get(), 1);
  ASSERT_TRUE(saver.Open(GetParam().sPdf)) << std::hex << saver.GetCode();
  // A query before the save takes nothing from its reports.
  BrevexGetPageCount(saver.Get());
  const auto sPlain = saver.Save();
  ASSERT_TRUE(sPlain) << std::hex << saver.GetCode();
  ExpectOutcome(saver, GetParam(), *sPlain);
  for (const std::string& sText : GetParam().kept)
    EXPECT_NE(sPlain->find(sText), sPlain->npos) << sText;
  // The second save of a document loses what the first one has lost.
  const auto nLosses = BrevexGetLossCount(saver.Get());
  ASSERT_TRUE(saver.Save());
  EXPECT_EQ(BrevexGetLossCount(saver.Get()), nLosses);
}

TEST_P(OddFiles, ComeOutWholeOfEveryPass)
{
  CSaver saver;
  BrevexSetLenientOpening(saver.Get(), 1);
  BrevexSetProfile(saver.Get(), BREVEX_PROFILE_MAX);
  BrevexSetMergeEqualObjects(saver.Get(), 1);
  BrevexSetRecompressStreams(saver.Get(), 1);
  BrevexSetLinearize(saver.Get(), 1);
  ASSERT_TRUE(saver.Open(GetParam().sPdf)) << std::hex << saver.GetCode();
  const auto sOut = saver.Save();
  ASSERT_TRUE(sOut) << std::hex << saver.GetCode();
  ExpectOutcome(saver, GetParam(), *sOut);
}

// A document without pages in the place of one whose pages cannot be read would look like success.
TEST(OddFile, WithoutAnyPageThatCanBeRead)
{
  const std::string sLost = ReplaceText(MakePlain(), "3 0 obj", "3 0 xbj");
  for (const std::string& sPdf :
       {sLost, ReplaceText(MakePlain(), "2 0 obj", "2 0 xbj"), MakeCompressed(3, 90, true)})
  {
    CSaver saver;
    BrevexSetLenientOpening(saver.Get(), 1);
    if (saver.Open(sPdf))
    {
      EXPECT_FALSE(saver.Save().has_value() && BrevexGetPageCount(saver.Get()) == 0);
      EXPECT_TRUE(BREVEX_STATUS_IS_ERROR(saver.GetCode()) || BrevexGetLossCount(saver.Get()) > 0);
    }
  }
  CSaver saver;
  ASSERT_TRUE(saver.Open(MakeFile({g_sCatalog, "<</Type/Pages/Kids[]/Count 0>>"})));
  EXPECT_TRUE(saver.Save()) << "a document that has no pages keeps none";
}

}  // namespace
