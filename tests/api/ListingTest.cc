// Listings of images and fonts, and their extraction into the working directory.

#include <gmock/gmock.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <string>

#include "tests/support/PdfBuilder.h"
#include "tests/support/Saver.h"
#include "tests/support/TempFolder.h"

namespace
{

using Support::CPdfBuilder;
using Support::CSaver;
using Support::CTempFolder;
using testing::HasSubstr;

const std::string g_sImageHeader =
    "PageNumber, ObjectNumber, Width, Height, BitsPerComponent, ColorSpace, Resolution, Filter, ImageSize, "
    "CompressedSize, CompressionRatio, Filename\n";
const std::string g_sFontHeader = "FontName, FontType, Encoding, IsCID, IsEmbedded, IsSubsetted, Filename\n";

std::string Ref(int nNumber)
{
  return std::to_string(nNumber) + " 0 R";
}

// Three images, one of them JPEG as far as its filter goes, one with a soft mask, and one that only an
// appearance shows; five fonts.
struct TDocument
{
  TDocument()
  {
    const std::string sImage = "/Type/XObject/Subtype/Image/Width 2/Height 2";
    const std::string sGray = sImage + "/BitsPerComponent 8/ColorSpace/DeviceGray";
    nMask = m_builder.AddStream("mask", sGray);
    nRaw = m_builder.AddStream("grey", sGray + "/SMask " + Ref(nMask));
    nJPEG = m_builder.AddStream("no real data",
                                sImage + "/BitsPerComponent 8/ColorSpace/DeviceRGB/Filter/DCTDecode");
    nStencil =
        m_builder.AddStream("383043303E>", sImage + "/ImageMask true/Filter[/ASCIIHexDecode/ASCIIHexDecode]");
    nInside = m_builder.AddStream("deep", sGray + "/SMask " + Ref(nMask));
    nProgram = m_builder.AddFlateStream("%!PS-AdobeFont-1.0", "/Length1 18/Length2 0/Length3 0");
    const auto addFont = [&](const std::string& sEntries)
    { return Ref(m_builder.AddObject("<</Type/Font" + sEntries + ">>")); };
    const std::string sDescriptor =
        "/FontDescriptor<</Type/FontDescriptor/Flags 32/FontFile " + Ref(nProgram) + ">>";
    const std::string sFonts =
        "/Font<</A " + addFont("/Subtype/Type1/BaseFont/Helvetica/Encoding/WinAnsiEncoding") + "/B " +
        addFont("/Subtype/Type1/BaseFont/ABCDEF+Own/Encoding/MacRomanEncoding" + sDescriptor) + "/C " +
        addFont("/Subtype/Type1/BaseFont/Own#22,#0A#23#FF#25s/Encoding/WinAnsiEncoding" + sDescriptor) +
        "/D " +
        addFont(
            "/Subtype/Type3/FontBBox[0 0 1 1]/FontMatrix[1 0 0 1 0 0]/CharProcs<<>>/Encoding<<>>/FirstChar "
            "0/LastChar 0/Widths[1]") +
        "/E " + addFont("/Subtype/Type1/Encoding/WinAnsiEncoding") + ">>";
    const int nForm = m_builder.AddStream(
        "/I Do", "/Type/XObject/Subtype/Form/BBox[0 0 9 9]/Resources<</XObject<</I " + Ref(nInside) + ">>>>");
    m_builder.AddPage(
        "144 0 0 72 0 0 cm /R Do /J Do /S Do /R Do BI /W 1/H 1/BPC 8/CS/G ID x EI BT /A 9 Tf (a) Tj "
        "/B 9 Tf (a) Tj /C 9 Tf (a) Tj /D 9 Tf (a) Tj /E 9 Tf (a) Tj ET",
        "/Resources<<" + sFonts + "/XObject<</R " + Ref(nRaw) + "/J " + Ref(nJPEG) + "/S " + Ref(nStencil) +
            ">>>>/Annots[<</Type/Annot/Subtype/Stamp/Rect[0 0 9 9]/AP<</N " + Ref(nForm) + ">>>>]");
  }

  CPdfBuilder m_builder;
  int nMask, nRaw, nJPEG, nStencil, nInside, nProgram;
};

// In a working directory of its own.
class Listing : public testing::Test
{
protected:
  Listing() : m_before(std::filesystem::current_path()) { std::filesystem::current_path(m_folder.GetPath()); }
  ~Listing() override { std::filesystem::current_path(m_before); }

  std::string ListImages()
  {
    EXPECT_TRUE(BrevexListImagesA(m_saver.Get(), "list.txt"));
    return Support::ReadFile("list.txt");
  }

  // "code object" of what is lost.
  std::string GetLosses()
  {
    std::string sLosses;
    for (int i = 0; i < BrevexGetReportCount(m_saver.Get()); ++i)
    {
      TBrevexReport report = {};
      report.nSize = sizeof report;
      if (BrevexGetReport(m_saver.Get(), i, &report) && report.nConsequence == BREVEX_CONSEQUENCE_LOSS)
        sLosses += std::to_string(report.nCode) + " " + std::to_string(report.nObject) + ";";
    }
    return sLosses;
  }

  CTempFolder m_folder;
  std::filesystem::path m_before;
  TDocument m_document;
  CSaver m_saver;
};

TEST_F(Listing, Images)
{
  ASSERT_TRUE(m_saver.Open(m_document.m_builder.Build()));
  const auto row = [](int nNumber, const std::string& sEnd)
  {
    return "1, " + std::to_string(nNumber) + ", 2, 2, " + sEnd + ", img" + std::to_string(nNumber) + ".tif\n";
  };
  const std::string sExpected =
      g_sImageHeader + row(m_document.nRaw, "8, DeviceGray,   1, , 4, 4, 100.00%") +
      row(m_document.nJPEG, "8, DeviceRGB,   1, DCTDecode, 12, 12, 100.00%") +
      row(m_document.nStencil, "0, Image mask,   1, ASCIIHexDecode:ASCIIHexDecode, 0, 11, 0.00%") +
      row(m_document.nInside, "8, DeviceGray,   0, , 4, 4, 100.00%");
  EXPECT_EQ(ListImages(), sExpected);
  EXPECT_EQ(m_folder.CountEntries(), 1) << "nothing is extracted unasked";
  // A save and another listing find the same.
  EXPECT_TRUE(m_saver.Save().has_value());
  EXPECT_TRUE(BrevexListImagesW(m_saver.Get(), u"list.txt"));
  EXPECT_EQ(Support::ReadFile("list.txt"), sExpected);
  ASSERT_TRUE(m_saver.Open(m_document.m_builder.Build()));
  BrevexSetRemoveImages(m_saver.Get(), 1);
  EXPECT_EQ(ListImages(), g_sImageHeader);
}

TEST_F(Listing, ImagesOfASave)
{
  TBrevexHandle* p = m_saver.Get();
  BrevexSetContinuousCompressions(p, BREVEX_COMPRESSION_FLAG_RAW | BREVEX_COMPRESSION_FLAG_FLATE);
  Support::CPdfBuilder builder;
  const std::string sImage =
      "/Type/XObject/Subtype/Image/Width 40/Height 40/BitsPerComponent 8/ColorSpace/DeviceGray";
  const int nSmooth = builder.AddStream(std::string(1600, 'x'), sImage);
  const int nShort = builder.AddStream("too short", sImage);
  builder.AddPage("72 0 0 72 0 0 cm /A Do /B Do",
                  "/Resources<</XObject<</A " + Ref(nSmooth) + "/B " + Ref(nShort) + ">>>>");
  ASSERT_TRUE(m_saver.Open(builder.Build()));
  EXPECT_EQ(BrevexGetImageCount(p), 0);
  ASSERT_TRUE(m_saver.Save().has_value());
  ASSERT_EQ(BrevexGetImageCount(p), 2);
  TBrevexImage images[2] = {};
  for (int i = 0; i < 2; ++i)
  {
    images[i].nSize = sizeof images[i];
    ASSERT_TRUE(BrevexGetImage(p, i, &images[i]));
  }
  EXPECT_EQ(images[0].nObject, nSmooth);
  EXPECT_EQ(images[0].nPage, 1);
  EXPECT_EQ(images[0].nClass, BREVEX_IMAGE_CLASS_CONTINUOUS);
  EXPECT_EQ(images[0].nOutcome, BREVEX_IMAGE_REPLACED);
  EXPECT_EQ(images[0].nCompressionBefore, BREVEX_COMPRESSION_RAW);
  EXPECT_EQ(images[0].nCompressionAfter, BREVEX_COMPRESSION_FLATE);
  EXPECT_EQ(images[0].nBytesBefore, 1600);
  EXPECT_LT(images[0].nBytesAfter, 100);
  EXPECT_EQ(images[0].nBytesAfter, images[0].aCandidates[BREVEX_COMPRESSION_FLATE]);
  EXPECT_EQ(images[0].aCandidates[BREVEX_COMPRESSION_JPEG], -1);
  EXPECT_EQ(images[0].dResolutionX, 40);
  EXPECT_EQ(images[1].nOutcome, BREVEX_IMAGE_NOT_READ);
  EXPECT_EQ(images[1].nBytesAfter, 9);
  // Callers of an older header have less room; nothing is written beyond it.
  TBrevexImage old = {};
  old.nSize = offsetof(TBrevexImage, nPage);
  old.nPage = -5;
  EXPECT_TRUE(BrevexGetImage(p, 0, &old));
  EXPECT_EQ(old.nObject, nSmooth);
  EXPECT_EQ(old.nPage, -5);
  old.nSize = 3;
  EXPECT_FALSE(BrevexGetImage(p, 0, &old) || BrevexGetImage(p, 2, &images[0]) ||
               BrevexGetImage(p, -1, &images[0]) || BrevexGetImage(p, 0, nullptr));
  EXPECT_TRUE(BrevexClose(p));
  EXPECT_EQ(BrevexGetImageCount(p), 0);
}

TEST_F(Listing, Fonts)
{
  ASSERT_TRUE(m_saver.Open(m_document.m_builder.Build()));
  ASSERT_TRUE(m_saver.Save().has_value());
  EXPECT_TRUE(BrevexListFontsA(m_saver.Get(), "list.txt"));
  const std::string sFile = "fnt" + std::to_string(m_document.nProgram) + ".pfb\n";
  EXPECT_EQ(Support::ReadFile("list.txt"),
            g_sFontHeader + "\"Helvetica\", Type1, WinAnsiEncoding, Non-CID, Non-embedded, N/A, \n" +
                "\"Own\", Type1, MacRomanEncoding, Non-CID, Embedded, Subsetted, " + sFile +
                "\"Own#22,#0A#23#FF%s\", Type1, WinAnsiEncoding, Non-CID, Embedded, Non-subsetted, " + sFile +
                "\"<unknown>\", Type3, Custom, Non-CID, N/A, N/A, \n"
                "\"<unknown>\", Type1, WinAnsiEncoding, Non-CID, Non-embedded, N/A, \n");
}

TEST_F(Listing, Failures)
{
  TBrevexHandle* p = m_saver.Get();
  EXPECT_FALSE(BrevexListImagesA(p, "list.txt"));
  EXPECT_EQ(m_saver.GetCode(), BREVEX_STATUS_INVALID_OPERATION);
  EXPECT_FALSE(BrevexListFontsA(nullptr, "list.txt"));
  EXPECT_EQ(m_folder.CountEntries(), 0);
  const std::string sPdf = m_document.m_builder.Build();
  Support::WriteFile("in.pdf", sPdf);
  ASSERT_TRUE(BrevexOpenA(p, "in.pdf", nullptr));
  for (const auto& [szPath, nCode] : {std::pair<const char*, int>{"no/list.txt", ENOENT}, {".", EISDIR}})
  {
    EXPECT_FALSE(BrevexListImagesA(p, szPath));
    EXPECT_EQ(m_saver.GetCode(), static_cast<unsigned>(nCode));
  }
  EXPECT_FALSE(BrevexListFontsA(p, "./in.pdf"));
  EXPECT_EQ(Support::ReadFile("in.pdf"), sPdf);
  if (std::filesystem::exists("/dev/full"))
  {
    EXPECT_FALSE(BrevexListImagesA(p, "/dev/full"));
    EXPECT_EQ(m_saver.GetCode(), static_cast<unsigned>(ENOSPC));
  }
}

TEST_F(Listing, Extraction)
{
  ASSERT_TRUE(m_saver.Open(m_document.m_builder.Build()));
  BrevexSetExtractImages(m_saver.Get(), 1);
  BrevexSetExtractFonts(m_saver.Get(), 1);
  BrevexSetProfile(m_saver.Get(), BREVEX_PROFILE_NONE);
  const auto getName = [](int nNumber, const char* szEnd) { return "img" + std::to_string(nNumber) + szEnd; };
  Support::WriteFile(getName(m_document.nRaw, ".tif"), "of old");
  ASSERT_TRUE(m_saver.Save().has_value()) << "a save extracts as well";
  EXPECT_EQ(m_folder.CountEntries(), 5);
  EXPECT_EQ(Support::ReadFile(getName(m_document.nJPEG, ".jpg")), "no real data");
  for (const int nNumber : {m_document.nRaw, m_document.nStencil, m_document.nInside})
    EXPECT_EQ(Support::ReadFile(getName(nNumber, ".tif")).substr(0, 3), std::string("MM\0", 3)) << nNumber;
  EXPECT_EQ(Support::ReadFile("fnt" + std::to_string(m_document.nProgram) + ".pfb"), "%!PS-AdobeFont-1.0");
  EXPECT_EQ(GetLosses(), "");
  // Once for a document.
  std::filesystem::remove(getName(m_document.nJPEG, ".jpg"));
  EXPECT_TRUE(m_saver.Save().has_value());
  EXPECT_FALSE(std::filesystem::exists(getName(m_document.nJPEG, ".jpg")));
}

// Each form draws the next one in two places, and none of them where it has been drawn before.
TEST_F(Listing, ContentThatIsTooMuchWorkIsALoss)
{
  const std::string sForm = "/Type/XObject/Subtype/Form/BBox[0 0 9 9]/Resources<<";
  CPdfBuilder builder;
  int nForm = builder.AddStream(std::string(20000, ' '), sForm + ">>");
  for (int i = 0; i < 16; ++i)
    nForm = builder.AddStream("q /X Do Q 1 0 0 1 " + std::to_string(1 << i) + " 0 cm /X Do",
                              sForm + "/XObject<</X " + Ref(nForm) + ">>>>");
  builder.AddPage("/X Do", "/Resources<</XObject<</X " + Ref(nForm) + ">>>>");
  ASSERT_TRUE(m_saver.Open(builder.Build()));
  EXPECT_EQ(ListImages(), g_sImageHeader);
  EXPECT_EQ(BrevexGetLossCount(m_saver.Get()), 1U);
}

TEST_F(Listing, ExtractionGoesOnAfterAFailure)
{
  const std::string sRaw = "img" + std::to_string(m_document.nRaw) + ".tif";
  const std::string sJPEG = "img" + std::to_string(m_document.nJPEG) + ".jpg";
  const std::string sStencil = "img" + std::to_string(m_document.nStencil) + ".tif";
  Support::WriteFile(sRaw, m_document.m_builder.Build());
  std::filesystem::create_directory(sJPEG);
  std::filesystem::create_symlink("/dev/full", sStencil);
  ASSERT_TRUE(BrevexOpenA(m_saver.Get(), sRaw.c_str(), nullptr));
  BrevexSetExtractImages(m_saver.Get(), 1);
  EXPECT_THAT(ListImages(), HasSubstr(sRaw));
  EXPECT_EQ(GetLosses(), std::to_string(EEXIST) + " " + std::to_string(m_document.nRaw) + ";" +
                             std::to_string(EISDIR) + " " + std::to_string(m_document.nJPEG) + ";" +
                             std::to_string(EEXIST) + " " + std::to_string(m_document.nStencil) + ";");
  EXPECT_EQ(BrevexGetLossCount(m_saver.Get()), 3U);
  EXPECT_EQ(Support::ReadFile(sRaw), m_document.m_builder.Build()) << "what is read from stays";
  EXPECT_TRUE(std::filesystem::exists("img" + std::to_string(m_document.nInside) + ".tif"));
}

}  // namespace
