// Inputs that are damaged or made to harm, and outputs that fail. Whatever comes out has to be sound.

#include "tests/pdf/WriterSupport.h"
#include "tests/pdf/linearize/LinearizeSupport.h"
#include "tests/support/PdfDamager.h"
#include "tests/support/Samples.h"

namespace
{

using Linearize::CLinearizedFile;
using Linearize::TryLinearize;
using Support::CPdfBuilder;

std::string Ref(int nNumber)
{
  return std::to_string(nNumber) + " 0 R";
}

TEST(LinearizerHostile, SurvivesDamage)
{
  const Support::TSample sample = Support::MakePlainSample();
  for (const Support::TDamage& damage : Support::GetDamages())
  {
    SCOPED_TRACE(damage.szName);
    if (const auto sLinear = TryLinearize(damage.pfApply(sample.sPdf)))
    {
      EXPECT_GT(CLinearizedFile(*sLinear).m_nPages, 0);
    }
  }
  for (const Support::TSample& layout : Support::MakeSamples())
  {
    SCOPED_TRACE(layout.sName);
    for (unsigned nSeed = 0; nSeed < 100; ++nSeed)
      TryLinearize(Support::FlipBytes(layout.sPdf, nSeed, 1 + static_cast<int>(nSeed % 8)));
    for (size_t n = 0; n < layout.sPdf.size(); n += 1 + layout.sPdf.size() / 97)
      TryLinearize(layout.sPdf.substr(0, n));
  }
}

// A document whose page tree is what the bodies say; the first is its root.
std::string MakeTree(const std::vector<std::string>& bodies)
{
  CPdfBuilder builder;
  const int nFirst = builder.ReserveObject();
  for (size_t i = 1; i < bodies.size(); ++i)
    builder.ReserveObject();
  for (size_t i = 0; i < bodies.size(); ++i)
  {
    std::string sBody = bodies[i];
    for (size_t nMark = sBody.find('@'); nMark != std::string::npos; nMark = sBody.find('@'))
      sBody.replace(nMark, 2, Ref(nFirst + (sBody[nMark + 1] - '0')));
    builder.SetObject(nFirst + static_cast<int>(i), sBody);
  }
  std::string sPdf = builder.Build();
  const size_t nPages = sPdf.find("/Pages 2 0 R");
  EXPECT_NE(nPages, std::string::npos);
  const std::string sNew = "/Pages " + Ref(nFirst);
  EXPECT_EQ(sNew.size(), 12U);
  return sPdf.replace(nPages, 12, sNew);
}

TEST(LinearizerHostile, RefusesBrokenPageTrees)
{
  EXPECT_TRUE(TryLinearize(MakeTree({"<</Type/Pages/Kids[@1 @2]>>", "<</Type/Page>>", "<</Type/Page>>"})));
  const std::vector<std::string> trees[] = {
      {"<</Type/Pages/Kids[]>>"},
      {"<</Type/Pages>>"},
      {"<</Type/Page>>"},
      {"<</Type/Pages/Kids[@0]>>"},
      {"<</Type/Pages/Kids[@1]>>", "<</Type/Pages/Kids[@0]>>"},
      {"<</Type/Pages/Kids[@1 @1]>>", "<</Type/Page>>"},
      {"<</Type/Pages/Kids[@1 @9]>>", "<</Type/Page>>"},
      {"<</Type/Pages/Kids[@1 <</Type/Page>>]>>", "<</Type/Page>>"},
      {"<</Type/Pages/Kids[@1]>>", "[1 2]"},
  };
  for (const auto& bodies : trees)
    EXPECT_FALSE(TryLinearize(MakeTree(bodies))) << bodies[0];
}

// Depths that would end a program that recurses.
TEST(LinearizerHostile, DoesNotRecurse)
{
  constexpr int nDepth = 200000;
  CPdfBuilder builder;
  const int nFirst = builder.ReserveObject();
  for (int i = 1; i < nDepth; ++i)
    builder.ReserveObject();
  for (int i = 0; i < nDepth; ++i)
    builder.SetObject(nFirst + i, "[" + Ref(nFirst + (i + 1) % nDepth) + "]");
  builder.AddPage("1", "/Deep " + Ref(nFirst));
  builder.SetCatalogEntries("/Outlines " + Ref(nFirst) + "/Nested " + std::string(100000, '['));
  EXPECT_FALSE(TryLinearize(builder.Build()));
  builder.SetCatalogEntries("/Outlines " + Ref(nFirst));
  const auto sLinear = TryLinearize(builder.Build());
  ASSERT_TRUE(sLinear);
  EXPECT_EQ(CLinearizedFile(*sLinear).m_nPages, 1);

  std::vector<int> nodes;
  CPdfBuilder tree;
  for (int i = 0; i < 2000; ++i)
    nodes.push_back(tree.ReserveObject());
  for (size_t i = 0; i + 1 < nodes.size(); ++i)
    tree.SetObject(nodes[i], "<</Type/Pages/Kids[" + Ref(nodes[i + 1]) + "]>>");
  tree.SetObject(nodes.back(), "<</Type/Page>>");
  std::string sTree = tree.Build();
  sTree = Support::ReplaceText(sTree, "/Pages 2 0 R", "/Pages " + Ref(nodes[0]));
  EXPECT_FALSE(TryLinearize(sTree));
}

TEST(LinearizerHostile, BoundsInheritedValues)
{
  CPdfBuilder builder;
  const int nNode = builder.ReserveObject();
  std::string sKids;
  for (int i = 0; i < 2000; ++i)
    sKids += Ref(builder.AddObject("<</Type/Page>>")) + " ";
  builder.SetObject(nNode, "<</Type/Pages/Count 2000/Kids[" + sKids + "]/Resources<</Long(" +
                               std::string(200000, 'x') + ")>>>>");
  const std::string sPdf = Support::ReplaceText(builder.Build(), "/Pages 2 0 R", "/Pages " + Ref(nNode));
  EXPECT_FALSE(TryLinearize(sPdf));
}

TEST(LinearizerHostile, EndsChainsOfSections)
{
  const std::string sPdf = Support::MakePlainSample().sPdf;
  const size_t nStart = sPdf.rfind("xref\n0");
  ASSERT_NE(nStart, std::string::npos);
  const auto with = [&sPdf](const std::string& sEntry)
  { return Support::ReplaceText(sPdf, "/Root", sEntry + "/Root", -1); };
  // A section that comes back to itself has told everything; one that leads nowhere is damage.
  EXPECT_TRUE(TryLinearize(with("/Prev " + std::to_string(nStart))));
  for (const char* szEntry : {"/Prev 99999999", "/Prev 5", "/XRefStm 7", "/Prev 9223372036854775807"})
    EXPECT_FALSE(TryLinearize(with(szEntry))) << szEntry;
  EXPECT_FALSE(TryLinearize(Support::ReplaceText(sPdf, "xref\n0 ", "xref\n9999999 ", 0)));
  EXPECT_FALSE(TryLinearize(Support::ReplaceText(sPdf, "/Root 1 0 R", "/Root 4 0 R/Info 4 0 R", -1)));
}

// A stream whose length is wrong ends at its keyword.
TEST(LinearizerHostile, MakesUpForWrongLengths)
{
  CPdfBuilder builder;
  builder.AddPage("0 0 10 10 re f");
  const std::string sPdf = builder.Build();
  for (const char* szLength : {"/Length 13", "/Length 99", "/Length -1", "/Length 4 0 R"})
  {
    const std::string sDamaged = Support::ReplaceText(sPdf, "/Length 14", szLength);
    const auto sLinear = TryLinearize(sDamaged);
    if (sDamaged.size() != sPdf.size())
      continue;
    ASSERT_TRUE(sLinear) << szLength;
    const CLinearizedFile file(*sLinear);
    EXPECT_NE(file.GetObject(file.GetReference(file.m_nFirstPage, "Contents")).find("/Length 14"),
              std::string::npos)
        << szLength;
  }
}

TEST(LinearizerHostile, ReportsFailedOutputs)
{
  CPdfBuilder builder;
  builder.AddPage(std::string(300000, ' '));
  const std::string sPdf = builder.Build();
  const BSE::CObjectPtr<BSE::IByteStream> pInput(
      new BSE::CMemoryInputStream(sPdf.data(), static_cast<std::int64_t>(sPdf.size())));
  const auto nFull = static_cast<std::int64_t>(Linearize::MustLinearize(sPdf).size());
  BSE::CErrorHandler errors;
  PDF::CFile file(&errors);
  for (const std::int64_t nLimit :
       {std::int64_t{0}, std::int64_t{100}, std::int64_t{70000}, nFull - 1, nFull})
  {
    const BSE::CObjectPtr<BSE::IByteStream> pOutput(new PDF::CLimitedStream(nLimit));
    std::int64_t nWritten = -1;
    EXPECT_EQ(PDF::GetLinearizer(false)->LinearizeStream(pInput.Get(), pOutput.Get(), file, -1, nWritten),
              nLimit == nFull ? PDF::TLinearized::Done : PDF::TLinearized::Failed)
        << nLimit;
    EXPECT_GE(nWritten, pOutput->GetLength());
  }
  std::int64_t nWritten = -1;
  EXPECT_EQ(PDF::GetLinearizer(false)->LinearizeStream(pInput.Get(), nullptr, file, -1, nWritten),
            PDF::TLinearized::Failed);
  EXPECT_EQ(PDF::GetLinearizer(false)->LinearizeStream(nullptr, pInput.Get(), file, -1, nWritten),
            PDF::TLinearized::Failed);
  EXPECT_EQ(nWritten, 0);
}

// Fails at one of its reads, and gives everything before and after it.
class CFailingStream : public BSE::CMemoryInputStream
{
public:
  CFailingStream(const std::string& sBytes, int nFailure)
      : CMemoryInputStream(sBytes.data(), static_cast<std::int64_t>(sBytes.size())), m_nLeft(nFailure)
  {
  }

  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override
  {
    return m_nLeft-- == 0 ? -1 : CMemoryInputStream::Read(pBuffer, n);
  }
  bool HasFailed() const { return m_nLeft < 0; }

private:
  int m_nLeft;
};

// What could not be read is not taken for what is not there.
TEST(LinearizerHostile, ReportsFailedInputs)
{
  CPdfBuilder builder;
  builder.SetVersion("1.5").SetXRefForm(Support::TXRefForm::Stream).SetObjectStreams(2);
  for (int i = 0; i < 3; ++i)
    builder.AddPage(std::string(40000, ' '), "/Mark " + std::to_string(builder.AddObject("(mark)")) + " 0 R");
  const std::string sPdf = builder.Build();
  for (const bool bPack : {false, true})
  {
    const std::string sWhole = Linearize::MustLinearize(sPdf, nullptr, bPack);
    bool bReached = true;
    for (int nFailure = 0; bReached; ++nFailure)
    {
      BSE::CErrorHandler errors;
      PDF::CFile file(&errors);
      const BSE::CObjectPtr<CFailingStream> pInput(new CFailingStream(sPdf, nFailure));
      const BSE::CObjectPtr<BSE::CMemoryStream> pOutput(new BSE::CMemoryStream);
      std::int64_t nWritten = 0;
      const bool bDone = PDF::GetLinearizer(bPack)->LinearizeStream(pInput.Get(), pOutput.Get(), file, -1,
                                                                    nWritten) == PDF::TLinearized::Done;
      bReached = pInput->HasFailed();
      EXPECT_EQ(bDone, !bReached) << nFailure;
      EXPECT_TRUE(!bDone || pOutput->GetLength() == std::ssize(sWhole));
    }
  }
}

}  // namespace
