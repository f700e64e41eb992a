// What the input lacks is told by every save that meets it, and by no save that does not want it.

#include "tests/engine/SavedDocument.h"
#include "tests/engine/SmallFile.h"

namespace
{

using Engine::CReports;
using Engine::CSmallFile;
using Engine::Ref;

constexpr unsigned g_nDamage = 0x80410304U;

bool SaveAgain(PDF::COptimizer& optimizer)
{
  const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
  return optimizer.Save(pOutput.Get(), {});
}

TEST(Loss, IsToldByEverySaveThatMeetsIt)
{
  struct TCase
  {
    const char* m_szWhat;
    int m_nNumber;
    bool m_bOnPage;
    unsigned m_nStrip = 0;
    int m_nLosses = 1;
  };
  CSmallFile file;
  const int nFont = file.Add("<</Type/Font/Subtype/Type1>>");
  const int nContents = file.AddStream("0 0 9 9 re f", "");
  const int nAnnot = file.Add("<</Subtype/Square/Rect[0 0 1 1]>>");
  const int nAnnots = file.Add("[" + Ref(nAnnot) + "]");
  const int nForm = file.Add("<</Fields[" + Ref(file.Add("<</FT/Tx/T(a)>>")) + "]>>");
  const int nMetadata = file.AddStream("", "/Type/Metadata/Subtype/XML");
  const int nItem = file.Add("<</Title(t)>>");
  const int nElement = file.Add("<</S/P/K[]>>");
  const int nUnused = file.Add("(nobody refers to this)");
  const int nPage = file.AddPage("/Contents " + Ref(nContents) + "/Annots " + Ref(nAnnots) +
                                 "/Resources<</Font<</F " + Ref(nFont) + ">>>>");
  file.AddPage("/Contents " + Ref(nContents) + "/Annots " + Ref(nAnnots));
  const std::string sPdf =
      file.Build("", "/AcroForm " + Ref(nForm) + "/Metadata " + Ref(nMetadata) + "/Outlines<</First " +
                         Ref(nItem) + ">>/StructTreeRoot<</K " + Ref(nElement) + ">>");
  const TCase cases[] = {
      {"page", nPage, true},
      {"contents", nContents, true},
      {"font", nFont, true},
      {"annotation", nAnnot, true},
      {"list of annotations", nAnnots, true},
      {"form", nForm, false},
      {"outline item", nItem, false},
      {"element", nElement, false},
      {"metadata", nMetadata, false},
      {"catalogue", 1, false},
      {"node", 2, true},
      {"nothing", nUnused, false, 0, 0},
      {"stripped structure", nElement, false, PDF::eStripStructure, 0},
      {"stripped metadata", nMetadata, false, PDF::eStripMetadata, 0},
      {"stripped form", nForm, false, PDF::eStripForms, 0},
  };
  for (const TCase& c : cases)
  {
    CReports reports;
    PDF::COptimizer optimizer(&reports);
    optimizer.GetOptions().m_nStrip = c.m_nStrip;
    ASSERT_TRUE(optimizer.Open(Engine::MakeStream(sPdf).Get(), nullptr));
    optimizer.GetInput().GetFile().NoteDamage(c.m_nNumber, g_nDamage);
    {
      const BSE::CErrorSuppressor quiet(&reports);
      optimizer.GetInput().GetPageCount();
    }
    for (int i = 0; i < 2; ++i)
    {
      reports.m_reports.clear();
      EXPECT_TRUE(SaveAgain(optimizer)) << c.m_szWhat;
      EXPECT_EQ(reports.CountLosses(g_nDamage), c.m_nLosses) << c.m_szWhat << " " << i;
      for (const Engine::TReport& report : reports.m_reports)
        EXPECT_EQ(report.m_bOnPage, c.m_bOnPage) << c.m_szWhat;
    }
  }
}

// Data of a catalogue or a page that a damaged file makes a stream, and may show somewhere.
TEST(Loss, OfDataInThePlaceOfADictionary)
{
  for (const bool bCatalogue : {false, true})
  {
    const std::string sData = "/Length 3>>stream\nq Q\nendstream endobj\n";
    const std::string sEnd = ">>endobj\n";
    const std::string sPdf = "%PDF-1.4\n1 0 obj<</Type/Catalog/Pages 2 0 R" + (bCatalogue ? sData : sEnd) +
                             "2 0 obj<</Type/Pages/Count 1/Kids[3 0 R]>>endobj\n"
                             "3 0 obj<</Type/Page/Parent 2 0 R/Contents 1 0 R/MediaBox[0 0 9 9]" +
                             (bCatalogue ? sEnd : sData) + "trailer<</Root 1 0 R>>\n";
    CReports reports;
    PDF::COptimizer optimizer(&reports);
    ASSERT_TRUE(optimizer.Open(Engine::MakeStream(sPdf).Get(), nullptr));
    EXPECT_TRUE(SaveAgain(optimizer));
    EXPECT_EQ(reports.CountLosses(PDF::g_nNotRepairable), 1);
  }
}

TEST(Loss, OfPagesIsToldAndOfAllPagesEndsTheSave)
{
  const struct
  {
    const char* m_szNode;
    int m_nPages;
    int m_nLosses;
    bool m_bSaved;
  } cases[] = {
      {"/Kids[]/Count 0", 0, 0, true},
      {"/Kids[]", 0, 0, true},
      {"/Kids[77 0 R]/Count 1", 0, 1, false},
      {"/Count 3", 0, 1, false},
      {"/Kids 7", 0, 1, false},
      {"/Kids[77 0 R]/Count 2", 1, 1, true},
      {"/Kids[<</Type/Pages/Count 8>>]", 1, 1, true},
  };
  for (const auto& c : cases)
  {
    CSmallFile file;
    const int nNode = file.Add("<</Type/Pages/Parent 2 0 R" + std::string(c.m_szNode) + ">>");
    const int nPage = c.m_nPages > 0 ? file.Add("<</Type/Page>>") : 0;
    const std::string sKids = Ref(nNode) + (nPage > 0 ? " " + Ref(nPage) : "");
    std::string sPdf = file.Build("/Kids[" + sKids + "]");
    CReports reports;
    PDF::COptimizer optimizer(&reports);
    ASSERT_TRUE(optimizer.Open(Engine::MakeStream(sPdf).Get(), nullptr));
    EXPECT_EQ(optimizer.GetInput().GetPageCount(), c.m_nPages) << c.m_szNode;
    reports.m_reports.clear();
    EXPECT_EQ(SaveAgain(optimizer), c.m_bSaved) << c.m_szNode;
    EXPECT_EQ(reports.CountLosses(PDF::g_nPageMissing) + reports.CountLosses(PDF::g_nPageKidsInvalid),
              c.m_nLosses)
        << c.m_szNode;
    EXPECT_EQ(reports.GetEndCode(), c.m_bSaved ? 0U : PDF::g_nNoPages) << c.m_szNode;
  }
}

}  // namespace
