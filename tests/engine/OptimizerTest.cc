// The driver of a save: what claim of an archive file a result keeps, and what a failure leaves after.

#include "engine/Optimizer.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "tests/support/PdfBuilder.h"
#include "tests/support/Samples.h"

namespace
{

using PDF::COptimizer;
using PDF::TOptimizerOptions;

// A document that claims to be an archive file, with an output intent whose profile has a colour space.
std::string MakeArchive(char nPart, char nLevel, const char* szColorSpace, const char* szVersion = "1.4")
{
  Support::CPdfBuilder builder;
  builder.SetVersion(szVersion);
  builder.AddPage("0 0 10 10 re f");
  const std::string sXmp =
      std::string(
          "<?xpacket begin=\"\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?><x:xmpmeta xmlns:x=\"adobe:ns:meta/\">") +
      "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\"><rdf:Description rdf:about=\"\" "
      "xmlns:pdfaid=\"http://www.aiim.org/pdfa/ns/id/\"><pdfaid:part>" +
      nPart + "</pdfaid:part><pdfaid:conformance>" + nLevel +
      "</pdfaid:conformance></rdf:Description></rdf:RDF></x:xmpmeta><?xpacket end=\"w\"?>";
  const int nMetadata = builder.AddStream(sXmp, "/Type /Metadata /Subtype /XML");
  std::string sEntries = "/Metadata " + std::to_string(nMetadata) + " 0 R";
  if (szColorSpace != nullptr)
  {
    std::string sProfile(128, '\0');
    sProfile.replace(16, 4, szColorSpace);
    sProfile.replace(36, 4, "acsp");
    const int nProfile = builder.AddStream(sProfile, "/N 3");
    sEntries +=
        " /OutputIntents [<< /Type /OutputIntent /S /GTS_PDFA1 /OutputConditionIdentifier (x) "
        "/DestOutputProfile " +
        std::to_string(nProfile) + " 0 R >>]";
  }
  builder.SetCatalogEntries(sEntries);
  return builder.Build();
}

BSE::CObjectPtr<BSE::IByteStream> MakeStream(const std::string& sBytes)
{
  return BSE::CObjectPtr<BSE::IByteStream>(
      new BSE::CMemoryStream(sBytes.data(), static_cast<std::int64_t>(sBytes.size())));
}

struct TResult
{
  bool bSaved = false;
  unsigned nConformance = 0;
  int nMajor = 0;
  int nMinor = 0;
  unsigned nCode = 0;
};

TResult Save(const std::string& sPdf, const std::function<void(TOptimizerOptions&)>& fnBefore,
             const std::function<void(TOptimizerOptions&)>& fnAfter)
{
  BSE::CErrorHandler handler;
  COptimizer optimizer(&handler);
  fnBefore(optimizer.GetOptions());
  EXPECT_TRUE(optimizer.Open(MakeStream(sPdf).Get(), nullptr)) << std::hex << handler.GetLastCode();
  fnAfter(optimizer.GetOptions());
  const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
  TResult result;
  result.bSaved = optimizer.Save(pOutput.Get(), {});
  result.nConformance = optimizer.GetOutput().GetConformance().GetCode();
  result.nMajor = optimizer.GetOutput().GetMajorVersion();
  result.nMinor = optimizer.GetOutput().GetMinorVersion();
  result.nCode = handler.GetLastCode();
  return result;
}

void Nothing(TOptimizerOptions&) {}

TEST(Optimizer, ClaimsOfArchiveFiles)
{
  struct TCase
  {
    const char* szName;
    char nPart;
    char nLevel;
    const char* szColorSpace;
    void (*pfSet)(TOptimizerOptions&);
    unsigned nExpected;
  };
  const TCase cases[] = {
      {"plain copy", '1', 'B', "RGB ", [](TOptimizerOptions&) {}, 0x1401},
      {"structure of 1a", '1', 'A', "RGB ", [](auto& o) { o.m_nStrip = PDF::eStripStructure; }, 0x1401},
      {"structure of 2a", '2', 'A', nullptr, [](auto& o) { o.m_nStrip = PDF::eStripStructure; }, 0x1702},
      {"structure of 3a", '3', 'A', nullptr, [](auto& o) { o.m_nStrip = PDF::eStripStructure; }, 0x1712},
      {"structure of 2u", '2', 'U', nullptr, [](auto& o) { o.m_nStrip = PDF::eStripStructure; }, 0x1702},
      {"to RGB, intent RGB", '1', 'B', "RGB ",
       [](auto& o) { o.m_nColorConversion = PDF::eColorConversionRGB; }, 0x1401},
      {"to CMYK, intent RGB", '1', 'B', "RGB ",
       [](auto& o) { o.m_nColorConversion = PDF::eColorConversionCMYK; }, 0x1400},
      {"to CMYK, intent CMYK", '1', 'B', "CMYK",
       [](auto& o) { o.m_nColorConversion = PDF::eColorConversionCMYK; }, 0x1401},
      {"to gray, intent gray", '1', 'B', "GRAY",
       [](auto& o) { o.m_nColorConversion = PDF::eColorConversionGray; }, 0x1401},
      {"to gray, no intent", '2', 'B', nullptr,
       [](auto& o) { o.m_nColorConversion = PDF::eColorConversionGray; }, 0x1400},
      {"unknown conversion", '1', 'B', nullptr,
       [](auto& o) { o.m_nColorConversion = PDF::TColorConversion(9); }, 0x1401},
      {"intents", '1', 'B', "RGB ", [](auto& o) { o.m_nStrip = PDF::eStripOutputIntents; }, 0x1400},
      {"no intents", '1', 'B', nullptr, [](auto& o) { o.m_nStrip = PDF::eStripOutputIntents; }, 0x1401},
      {"colours, no intent", '1', 'B', nullptr, [](auto& o) { o.m_bReduceColorComplexity = true; }, 0x1400},
      {"colours, intent", '1', 'B', "RGB ", [](auto& o) { o.m_bReduceColorComplexity = true; }, 0x1401},
      {"JPX in 1b", '1', 'B', "RGB ", [](auto& o) { o.SetContinuousCompressions(0x100); }, 0x1400},
      {"JPX in 2b", '2', 'B', "RGB ", [](auto& o) { o.SetContinuousCompressions(0x100); }, 0x1701},
      {"MRC in 1b", '1', 'B', "RGB ", [](auto& o) { o.SetContinuousCompressions(0x200); }, 0x1400},
      {"MRC without JPX", '1', 'B', "RGB ",
       [](auto& o)
       {
         o.SetContinuousCompressions(0x200);
         o.m_nMrcLayerCompression = PDF::eCompressionJPEG;
       },
       0x1401},
  };
  for (const TCase& c : cases)
  {
    SCOPED_TRACE(c.szName);
    const TResult result = Save(MakeArchive(c.nPart, c.nLevel, c.szColorSpace), Nothing, c.pfSet);
    EXPECT_TRUE(result.bSaved) << std::hex << result.nCode;
    EXPECT_EQ(result.nConformance, c.nExpected) << std::hex << result.nConformance;
  }
  const TResult plain = Save(Support::MakePlainSample().sPdf, Nothing,
                             [](TOptimizerOptions& o) { o.m_nColorConversion = PDF::eColorConversionCMYK; });
  EXPECT_TRUE(plain.bSaved);
  EXPECT_EQ(plain.nConformance, 0U) << "there is no claim to lose";
}

TEST(Optimizer, VersionAgainstTheClaim)
{
  const auto setTwo = [](TOptimizerOptions& o) { o.SetVersion("2.0"); };
  const TResult refused = Save(MakeArchive('1', 'B', "RGB "), setTwo, Nothing);
  EXPECT_FALSE(refused.bSaved);
  EXPECT_EQ(refused.nCode, 0x83410546U);
  const TResult late = Save(MakeArchive('1', 'B', "RGB "), Nothing, setTwo);
  EXPECT_TRUE(late.bSaved) << "a version waits for the next open";
  const TResult plain = Save(Support::MakePlainSample().sPdf, setTwo, Nothing);
  EXPECT_TRUE(plain.bSaved);
  EXPECT_EQ(plain.nMajor, 2);
}

// A higher version by itself breaks no claim, but what it brings along does.
TEST(Optimizer, FirstPartHasNoObjectStreams)
{
  for (const char nPart : {'1', '2'})
  {
    BSE::CErrorHandler handler;
    COptimizer optimizer(&handler);
    optimizer.GetOptions().SetVersion("1.7");
    const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
    ASSERT_TRUE(optimizer.Open(MakeStream(MakeArchive(nPart, 'B', "RGB ")).Get(), nullptr));
    ASSERT_TRUE(optimizer.Save(pOutput.Get(), {}));
    pOutput->Rewind();
    BSE::CBasicArray<unsigned char> bytes;
    ASSERT_TRUE(pOutput->ReadToArray(bytes, 1 << 20));
    const std::string sPdf(bytes.GetSpan().begin(), bytes.GetSpan().end());
    EXPECT_EQ(sPdf.rfind("%PDF-1.7", 0), 0U);
    EXPECT_EQ(sPdf.find("/ObjStm") != std::string::npos, nPart != '1');
    EXPECT_EQ(sPdf.find("/XRef") != std::string::npos, nPart != '1');
  }
}

TEST(Optimizer, MinimumVersionWithinTheClaim)
{
  const std::string sPlain = MakeArchive('0', 'B', nullptr, "1.4");
  const struct
  {
    std::string m_sPdf;
    int m_nMajor;
    int m_nMinor;
    int m_nExpected;
  } cases[] = {
      {sPlain, 1, 5, 15},
      {sPlain, 2, 0, 20},
      {sPlain, 1, 0, 14},
      {MakeArchive('0', 'B', nullptr, "1.7"), 1, 5, 17},
      {MakeArchive('1', 'B', nullptr), 1, 5, 14},
      {MakeArchive('2', 'B', nullptr), 1, 5, 17},
      {MakeArchive('2', 'B', nullptr), 2, 0, 17},
  };
  for (const auto& [sPdf, nMajor, nMinor, nExpected] : cases)
  {
    const auto setBound = [nFirst = nMajor, nSecond = nMinor](TOptimizerOptions& o)
    {
      o.SetContinuousCompressions(0x100);
      EXPECT_TRUE(o.SetMinimumVersion(nFirst, nSecond));
      EXPECT_FALSE(o.SetMinimumVersion(3, 0));
      EXPECT_FALSE(o.SetMinimumVersion(1, 10));
    };
    const TResult result = Save(sPdf, setBound, Nothing);
    EXPECT_TRUE(result.bSaved);
    EXPECT_EQ(10 * result.nMajor + result.nMinor, nExpected) << nMajor << '.' << nMinor;
  }
}

TEST(Optimizer, AnalysisHoldsUntilClose)
{
  BSE::CErrorHandler handler;
  COptimizer optimizer(&handler);
  EXPECT_FALSE(optimizer.Analyze());
  EXPECT_EQ(handler.GetLastCode(), 0x80300051U);
  ASSERT_TRUE(optimizer.Open(MakeStream(MakeArchive('1', 'B', "RGB ")).Get(), nullptr));
  optimizer.GetOptions().m_nColorConversion = PDF::eColorConversionGray;
  const BSE::CObjectPtr<BSE::IByteStream> pFirst(new BSE::CMemoryStream);
  ASSERT_TRUE(optimizer.Save(pFirst.Get(), {}));
  optimizer.GetOptions().m_nColorConversion = PDF::eColorConversionNone;
  const BSE::CObjectPtr<BSE::IByteStream> pSecond(new BSE::CMemoryStream);
  ASSERT_TRUE(optimizer.Save(pSecond.Get(), {}));
  EXPECT_FALSE(optimizer.GetOutput().GetConformance().IsArchival()) << "a lost claim stays lost";
  ASSERT_TRUE(optimizer.Open(MakeStream(MakeArchive('1', 'B', "RGB ")).Get(), nullptr));
  EXPECT_EQ(optimizer.GetOutput().GetConformance().GetCode(), 0x1401U);
  EXPECT_TRUE(optimizer.Close());
  EXPECT_TRUE(optimizer.GetOutput().GetConformance().IsNone());
  EXPECT_FALSE(optimizer.Save(pSecond.Get(), {}));
}

TEST(Optimizer, EncryptionOfArchiveFilesIsRefused)
{
  BSE::CErrorHandler handler;
  COptimizer optimizer(&handler);
  ASSERT_TRUE(optimizer.Open(MakeStream(MakeArchive('2', 'B', "RGB ")).Get(), nullptr));
  PDF::TEncryption encryption;
  encryption.m_userPassword = PDF::CTextString("secret");
  const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
  EXPECT_FALSE(optimizer.Save(pOutput.Get(), encryption));
  EXPECT_EQ(handler.GetLastCode(), 0x0341860DU);
}

// A target whose memory runs out, or that throws what no stream may throw.
template <class TThrown>
class CThrowingStream : public BSE::CMemoryStream
{
public:
  explicit CThrowingStream(TThrown thrown) : m_thrown(thrown) {}
  std::int64_t Write(const unsigned char*, std::int64_t) override { throw m_thrown; }

private:
  TThrown m_thrown;
};

template <class TThrown>
unsigned SaveThrowing(TThrown thrown)
{
  BSE::CErrorHandler handler;
  COptimizer optimizer(&handler);
  EXPECT_TRUE(optimizer.Open(MakeStream(Support::MakePlainSample().sPdf).Get(), nullptr));
  const BSE::CObjectPtr<CThrowingStream<TThrown>> pOutput(new CThrowingStream<TThrown>(thrown));
  EXPECT_FALSE(optimizer.Save(pOutput.Get(), {}));
  const unsigned nCode = handler.GetLastCode();
  const BSE::CObjectPtr<BSE::IByteStream> pSound(new BSE::CMemoryStream);
  EXPECT_TRUE(optimizer.Save(pSound.Get(), {})) << "a failed save must not stand in the way of the next";
  return nCode;
}

TEST(Optimizer, ExceptionsEndAtTheTop)
{
  static BSE::CError outOfMemory(BSE::g_nOutOfMemory);
  EXPECT_EQ(SaveThrowing(&outOfMemory), BSE::g_nOutOfMemory);
  EXPECT_EQ(SaveThrowing(std::bad_alloc()), BSE::g_nOutOfMemory);
  EXPECT_EQ(SaveThrowing(17), BSE::g_nUnknownFatalError);
}

TEST(Optimizer, StrippedMetadata)
{
  Support::CPdfBuilder builder;
  builder.AddPage("");
  const int nMetadata = builder.AddStream("<x/>", "/Type /Metadata /Subtype /XML");
  builder.SetCatalogEntries("/Metadata " + std::to_string(nMetadata) + " 0 R");
  const int nInfo = builder.AddObject(
      "<< /Title (Old) /Author (Nobody) /Producer (Other) /ModDate (D:20200101) /CreationDate (D:2019) >>");
  builder.SetTrailerEntries("/Info " + std::to_string(nInfo) + " 0 R");

  BSE::CErrorHandler handler;
  COptimizer optimizer(&handler);
  optimizer.GetOptions().m_nStrip = PDF::eStripMetadata;
  ASSERT_TRUE(optimizer.SetInfoEntry(u"Title", u"New"));
  ASSERT_TRUE(optimizer.Open(MakeStream(builder.Build()).Get(), nullptr));
  const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
  ASSERT_TRUE(optimizer.Save(pOutput.Get(), {}));

  PDF::CDocument result(&handler);
  ASSERT_TRUE(result.Open(pOutput.Get(), nullptr));
  EXPECT_TRUE(result.GetCatalog()["Metadata"].IsNull());
  const PDF::CObjectPtr info = result.GetInfo();
  EXPECT_TRUE(info["Producer"].IsNull());
  EXPECT_TRUE(info["ModDate"].IsNull());
  EXPECT_EQ(info["Title"].GetStringValue(), PDF::CString("New"));
  EXPECT_EQ(info["Author"].GetStringValue(), PDF::CString("Nobody"));
  EXPECT_EQ(info["CreationDate"].GetStringValue(), PDF::CString("D:2019"));
}

// The structure tree is copied apart from the rest, and its attributes are most of what tagged files repeat.
TEST(Optimizer, DuplicatesInTheStructureTree)
{
  Support::CPdfBuilder builder;
  const auto ref = [](int nNumber) { return std::to_string(nNumber) + " 0 R"; };
  const int nRoot = builder.ReserveObject();
  const int nPage = builder.AddPage("");
  std::string sElements;
  for (int i = 0; i < 3; ++i)
  {
    const int nAttributes = builder.AddObject("<< /O /Layout /TextAlign /Justify >>");
    sElements += ref(builder.AddObject("<< /Type /StructElem /S /P /P " + ref(nRoot) + " /Pg " + ref(nPage) +
                                       " /K 0 /A " + ref(nAttributes) + " >>")) +
                 " ";
  }
  builder.SetObject(nRoot, "<< /Type /StructTreeRoot /K [" + sElements + "] >>");
  builder.SetCatalogEntries("/StructTreeRoot " + ref(nRoot));
  BSE::CErrorHandler handler;
  COptimizer optimizer(&handler);
  optimizer.GetOptions().m_bMergeEqualObjects = true;
  const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
  ASSERT_TRUE(optimizer.Open(MakeStream(builder.Build()).Get(), nullptr));
  ASSERT_TRUE(optimizer.Save(pOutput.Get(), {}));
  PDF::CDocument result(&handler);
  ASSERT_TRUE(result.Open(pOutput.Get(), nullptr));
  const PDF::CObjectPtr elements = result.GetCatalog()["StructTreeRoot"]["K"];
  ASSERT_EQ(elements.GetSize(), 3);
  EXPECT_TRUE(elements[0]["A"]["TextAlign"].IsName("Justify"));
  for (int i = 1; i < 3; ++i)
  {
    EXPECT_NE(elements[i].GetObjNumber(), elements[0].GetObjNumber());
    EXPECT_EQ(elements[i]["A"].GetObjNumber(), elements[0]["A"].GetObjNumber());
  }
}

}  // namespace
