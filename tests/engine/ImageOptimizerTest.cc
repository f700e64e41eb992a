// Images in a whole save under options that change them: what is tried and what wins, which pictures stay as
// they are, and what becomes of masks.

#include <gtest/gtest.h>

#include <cmath>

#include "engine/ImageEncoder.h"
#include "engine/Optimizer.h"
#include "images/ImageFilters.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"
#include "tests/engine/SmallFile.h"

namespace
{

using Engine::CSmallFile;

constexpr unsigned g_nKeep = PDF::eCompressionFlagKeep;

// A page of 72 by 72 points that shows every image that is added: so many samples wide, so many dots per
// inch.
class ImageOptimizer : public testing::Test
{
protected:
  static std::string Ref(int n) { return std::to_string(n) + " 0 R"; }

  int Add(int nWidth, int nHeight, const std::string& sEntries, const std::string& sData, bool bShown = true)
  {
    const int nNumber =
        m_file.AddStream(sData, "/Type/XObject/Subtype/Image/Width " + std::to_string(nWidth) + "/Height " +
                                    std::to_string(nHeight) + sEntries);
    if (bShown)
    {
      const std::string sName = "I" + std::to_string(nNumber);
      m_sObjects += "/" + sName + " " + Ref(nNumber);
      m_sContent += "q 72 0 0 72 0 0 cm /" + sName + " Do Q ";
      m_shown.push_back(sName);
    }
    return nNumber;
  }
  int AddGray(int nSize, const std::string& sData, const std::string& sEntries = {}, bool bShown = true)
  {
    return Add(nSize, nSize, "/BitsPerComponent 8/ColorSpace/DeviceGray" + sEntries, sData, bShown);
  }

  // Waves with a little noise, which are hard for deflating, and easy for a transform.
  static std::string MakeWaves(int nWidth, int nHeight, int nComponents)
  {
    std::string sData;
    for (int y = 0; y < nHeight; ++y)
      for (int x = 0; x < nWidth; ++x)
        for (int i = 0; i < nComponents; ++i)
          sData += static_cast<char>(128 + 50 * std::sin(0.11 * x + i) + 50 * std::cos(0.07 * y + 0.013 * x) +
                                     (x * 7919 + y * 104729 + x * y) % 5);
    return sData;
  }

  // JPEG 2000 data of 40 by 40 pixels, with a palette if there is one.
  static std::string MakeJPX(int nComponents, const std::string& sPalette = {})
  {
    PDF::CObjectPtr image(new PDF::CDictionaryObject);
    for (const auto& [szKey, nValue] : {std::pair("Width", 40), {"Height", 40}, {"BitsPerComponent", 8}})
      image.AddEntry(szKey, new PDF::CIntegerObject(nValue));
    PDF::CObjectPtr space(
        new PDF::CNameObject(nComponents == 1 && sPalette.empty() ? "DeviceGray" : "DeviceRGB"));
    if (!sPalette.empty())
    {
      const PDF::CObjectPtr table(new PDF::CArrayObject);
      table.Add(new PDF::CNameObject("Indexed"));
      table.Add(space);
      table.Add(new PDF::CIntegerObject(static_cast<int>(sPalette.size() / 3) - 1));
      table.Add(new PDF::CStringObject(PDF::CString(sPalette.data(), static_cast<int>(sPalette.size()))));
      space = table;
    }
    image.AddEntry("ColorSpace", space);
    const std::string sSamples = sPalette.empty() ? MakeWaves(40, 40, nComponents) : std::string(1600, '\1');
    PDF::TImageSamples samples;
    samples.m_nWidth = samples.m_nHeight = 40;
    samples.m_nBits = 8;
    samples.m_nComponents = nComponents;
    samples.m_pData = new BSE::CMemoryStream(sSamples.data(), static_cast<std::int64_t>(sSamples.size()));
    const PDF::TOptimizerOptions options;
    PDF::TEncodedImage encoded;
    PDF::CImageEncoder(options).Encode(PDF::eCompressionFlagJPEG2000, *image, samples, false, 1 << 20,
                                       encoded);
    return std::string(encoded.m_data.GetSpan().begin(), encoded.m_data.GetSpan().end());
  }

  void Save(const std::string& sVersion = "1.7", const std::string& sNode = {})
  {
    const int nContent = m_file.AddStream(m_sContent, "");
    m_file.AddPage("/MediaBox[0 0 72 72]/Contents " + Ref(nContent) + "/Resources<</XObject<<" + m_sObjects +
                   ">>>>");
    ASSERT_TRUE(m_optimizer.Open(Engine::MakeStream(m_file.Build(sNode)).Get(), nullptr));
    m_optimizer.GetOptions().SetVersion(sVersion.c_str());
    ASSERT_TRUE(m_optimizer.Open(Engine::MakeStream(m_file.Build(sNode)).Get(), nullptr));
    m_result.GetFile().SetImageFilters(PDF::GetImageFilters());
    SaveAgain();
  }

  void SaveAgain()
  {
    m_result.Close();
    const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
    ASSERT_TRUE(m_optimizer.Save(pOutput.Get(), {}));
    pOutput->Rewind();
    ASSERT_TRUE(m_result.Open(pOutput.Get(), nullptr));
  }

  PDF::CObjectPtr Get(std::size_t nIndex)
  {
    return m_result.GetPage(0).GetResources()["XObject"][m_shown[nIndex].c_str()];
  }
  static std::string GetSamples(const PDF::CObjectPtr& image)
  {
    return Engine::ReadAll(image.GetDecodedStream().Get());
  }
  static std::string GetFilter(const PDF::CObjectPtr& image)
  {
    const PDF::CObjectPtr filter = image["Filter"];
    std::string sNames;
    for (int i = 0; i < (filter.IsArray() ? filter.GetSize() : 1); ++i)
      if (const char* szName = (filter.IsArray() ? filter[i] : filter).GetNameValue())
        sNames += szName;
    return sNames;
  }
  PDF::TOptimizerOptions& Options() { return m_optimizer.GetOptions(); }

  CSmallFile m_file;
  std::string m_sContent;
  std::string m_sObjects;
  std::vector<std::string> m_shown;
  BSE::CErrorHandler m_errors;
  PDF::COptimizer m_optimizer{&m_errors};
  PDF::CDocument m_result{&m_errors};
};

TEST_F(ImageOptimizer, LeavesClassesWithoutASetAlone)
{
  const std::string sData = MakeWaves(300, 300, 1);
  AddGray(300, sData);
  Options().m_nBitonalCompressions = PDF::eCompressionFlagFlate;
  Options().SetThreshold(0);
  Options().m_bReduceColorComplexity = Options().m_bForceRecompression = true;
  Save();
  EXPECT_EQ(GetFilter(Get(0)), "");
  EXPECT_EQ(GetSamples(Get(0)), sData);
}

TEST_F(ImageOptimizer, BringsImagesToTheResolution)
{
  AddGray(300, MakeWaves(300, 300, 1));
  AddGray(200, MakeWaves(200, 200, 1));
  AddGray(300, MakeWaves(300, 300, 1), "/Mask[7 7]");
  Add(400, 100, "/BitsPerComponent 8/ColorSpace/DeviceRGB", MakeWaves(400, 100, 3));
  Options().m_nContinuousCompressions = PDF::eCompressionFlagFlate;
  Options().m_dMonochromeResolution = 200;
  Options().m_dMonochromeThreshold = 200;
  Options().m_dColorThreshold = 250;
  Save();
  EXPECT_EQ(Get(0)["Width"].GetIntegerValue(), 200);
  EXPECT_EQ(Get(0)["Height"].GetIntegerValue(), 200);
  // At the threshold, but not above the resolution; and with colours that are transparent.
  EXPECT_EQ(Get(1)["Width"].GetIntegerValue(), 200);
  EXPECT_EQ(Get(2)["Width"].GetIntegerValue(), 300);
  // One axis passes, the other one is not enlarged.
  EXPECT_EQ(Get(3)["Width"].GetIntegerValue(), 150);
  EXPECT_EQ(Get(3)["Height"].GetIntegerValue(), 100);
  const std::string sSamples = GetSamples(Get(0));
  const std::string sExpected = MakeWaves(300, 300, 1);
  ASSERT_EQ(sSamples.size(), 40000U);
  for (std::size_t i = 0; i < 200; ++i)
    EXPECT_NEAR(static_cast<unsigned char>(sSamples[100 * 200 + i]),
                static_cast<unsigned char>(sExpected[150 * 300 + i * 3 / 2]), 20);
}

// A third of a pixel is none where bits are cut at half, and a halftone has no grays then.
TEST_F(ImageOptimizer, KeepsTheResolutionOfFineLinesAndHalftones)
{
  constexpr int nSide = 600;
  const auto addBits = [&](const auto& fnIsSet)
  {
    std::string sRows(nSide / 8 * nSide, '\0');
    for (int y = 0; y < nSide; ++y)
      for (int x = 0; x < nSide; ++x)
        if (fnIsSet(x, y))
          sRows[y * nSide / 8 + x / 8] |= static_cast<char>(0x80 >> x % 8);
    Add(nSide, nSide, "/BitsPerComponent 1/ColorSpace/DeviceGray", sRows);
  };
  const auto isBar = [](int x, int y) { return x > 99 && x < 107 && y > 50 && y < 503; };
  addBits([](int x, int y) { return x != 100 || y < 100 || y > 300; });
  addBits([](int x, int y) { return x < 200 && (x % 3 + y % 3 == 0 || x % 3 * (y % 3) == 1); });
  addBits([](int x, int y) { return x > 400 && (x / 3 + y) % 3 != 0; });
  // A bar with the fringes and specks of a scan.
  addBits(
      [&](int x, int y)
      { return isBar(x, y) || (x == 107 && y % 5 < 3 && isBar(105, y)) || (x % 97 == 5 && y % 89 == 7); });
  Options().m_nBitonalCompressions = PDF::eCompressionFlagFlate;
  Options().m_dBitonalThreshold = 280;
  Options().m_dBitonalResolution = 200;
  Save();
  for (const int i : {0, 1})
    EXPECT_EQ(Get(i)["Width"].GetIntegerValue(), nSide) << i;
  EXPECT_EQ(Get(3)["Width"].GetIntegerValue(), 200);
  Options().m_nDitheringMode = PDF::eDitheringErrorDiffusion;
  SaveAgain();
  EXPECT_EQ(Get(2)["Width"].GetIntegerValue(), 200);
}

TEST_F(ImageOptimizer, KeepsTheSmallestOfAll)
{
  const std::string sWaves = MakeWaves(160, 160, 3);
  Add(160, 160, "/BitsPerComponent 8/ColorSpace/DeviceRGB", sWaves);
  Add(160, 160, "/BitsPerComponent 8/ColorSpace/DeviceRGB/Mask[1 2 1 2 1 2]", sWaves);
  Add(160, 160, "/BitsPerComponent 4/ColorSpace/DeviceGray", MakeWaves(80, 160, 1));
  Add(3, 3, "/BitsPerComponent 8/ColorSpace/DeviceGray", "abcdefghi");
  Options().m_nContinuousCompressions =
      PDF::eCompressionFlagJPEG | PDF::eCompressionFlagFlate | g_nKeep | PDF::eCompressionFlagLZW;
  Save();
  EXPECT_EQ(GetFilter(Get(0)), "FlateDecodeDCTDecode");
  const std::string sSamples = GetSamples(Get(0));
  ASSERT_EQ(sSamples.size(), sWaves.size());
  for (std::size_t i = 0; i < sSamples.size(); i += 997)
    EXPECT_NEAR(static_cast<unsigned char>(sSamples[i]), static_cast<unsigned char>(sWaves[i]), 16);
  // No lossy form for transparent colours and other depths; no filter at all for a few samples.
  EXPECT_EQ(GetFilter(Get(1)), "FlateDecode");
  EXPECT_EQ(GetSamples(Get(1)), sWaves);
  EXPECT_EQ(GetFilter(Get(2)), "FlateDecode");
  EXPECT_EQ(GetSamples(Get(2)), MakeWaves(80, 160, 1));
  EXPECT_EQ(GetFilter(Get(3)), "");
  EXPECT_EQ(GetSamples(Get(3)), "abcdefghi");
}

TEST_F(ImageOptimizer, StaysWithTheInputWhereThatIsBetter)
{
  // Samples that are missing, an array that gives them another meaning, and noise.
  AddGray(40, MakeWaves(40, 39, 1), "/Filter[]");
  AddGray(40, MakeWaves(40, 40, 1), "/Decode[0 0.5]");
  std::string sNoise;
  unsigned nState = 1;
  for (int i = 0; i < 1600; ++i)
    sNoise += static_cast<char>((nState = nState * 1664525 + 1013904223) >> 24);
  AddGray(40, sNoise);
  Options().m_nContinuousCompressions = PDF::eCompressionFlagFlate;
  Options().SetThreshold(0);
  Options().SetResolution(20);
  Options().m_dMonochromeThreshold = 45;
  Save();
  EXPECT_EQ(GetSamples(Get(0)), MakeWaves(40, 39, 1));
  EXPECT_EQ(GetSamples(Get(1)), MakeWaves(40, 40, 1));
  EXPECT_EQ(GetSamples(Get(2)), sNoise);
}

TEST_F(ImageOptimizer, ForcesWhatIsAskedFor)
{
  std::string sNoise;
  unsigned nState = 1;
  for (int i = 0; i < 1600; ++i)
    sNoise += static_cast<char>((nState = nState * 1664525 + 1013904223) >> 24);
  AddGray(40, sNoise);
  Options().m_nContinuousCompressions = PDF::eCompressionFlagLZW;
  Options().m_bForceCompressionTypes = true;
  Save();
  EXPECT_EQ(GetFilter(Get(0)), "LZWDecode");
  EXPECT_EQ(GetSamples(Get(0)), sNoise);
}

TEST_F(ImageOptimizer, EncodesBitsAsTheVersionAllows)
{
  for (const char* szVersion : {"1.3", "1.4"})
  {
    SCOPED_TRACE(szVersion);
    std::string sRows;
    for (int i = 0; i < 100; ++i)
      sRows += std::string(5, static_cast<char>(i % 20 < 3 ? 0x3C : 0xFF)) + "\xFF\xFF\x0F\x80";
    m_sContent = m_sObjects = {};
    m_shown.clear();
    m_file = {};
    Add(66, 100, "/BitsPerComponent 1/ColorSpace[/Indexed/DeviceRGB 1<000000FFFFFF>]", sRows);
    Add(66, 100, "/ImageMask true/Decode[1 0]", sRows);
    Options().m_nBitonalCompressions = PDF::eCompressionFlagGroup4 | PDF::eCompressionFlagJBIG2 | g_nKeep;
    Save(szVersion);
    const char* szFilter = std::string(szVersion) == "1.3" ? "CCITTFaxDecode" : "JBIG2Decode";
    EXPECT_EQ(GetFilter(Get(0)), szFilter);
    EXPECT_TRUE(Get(0)["ColorSpace"].IsName("DeviceGray"));
    // Dots per metre are in the data: of 66 by 100 dots per inch.
    if (std::string(szFilter) == "JBIG2Decode")
    {
      EXPECT_EQ(Engine::ReadAll(Get(0).GetStream().Get()).substr(19, 8),
                std::string("\0\0\x0A\x26\0\0\x0F\x61", 8));
    }
    EXPECT_EQ(GetFilter(Get(1)), szFilter);
    EXPECT_TRUE(Get(1)["ImageMask"].GetBooleanValue());
    EXPECT_FALSE(Get(1)["Decode"]);
    const std::string sPlain = GetSamples(Get(0));
    const std::string sTurned = GetSamples(Get(1));
    ASSERT_EQ(sPlain.size(), sRows.size());
    ASSERT_EQ(sTurned.size(), sRows.size());
    for (std::size_t i = 0; i < sRows.size(); ++i)
    {
      const int nMask = i % 9 == 8 ? 0xC0 : 0xFF;
      EXPECT_EQ(sPlain[i] & nMask, sRows[i] & nMask);
      EXPECT_EQ(sTurned[i] & nMask, ~sRows[i] & nMask);
    }
  }
}

TEST_F(ImageOptimizer, SimplifiesColorsAndMasks)
{
  const auto mask = [&](const std::string& sSamples) { return AddGray(20, sSamples, {}, false); };
  std::string sSharp(400, '\0');
  for (std::size_t i = 0; i < 400; i += 3)
    sSharp[i] = '\xFF';
  const int nOpaque = mask(std::string(400, '\xFF'));
  const int nSharp = mask(sSharp);
  const int nFaint = mask(std::string(200, '\0') + std::string(200, '\x80'));
  const int nPainted = AddGray(20, sSharp.substr(1) + sSharp.substr(0, 1));
  const int nBits = Add(20, 20, "/BitsPerComponent 1/ColorSpace/DeviceGray", std::string(60, '\x5A'), false);
  const std::string sWaves = MakeWaves(20, 20, 1);
  std::string sGray;
  for (const char c : sWaves)
    sGray += std::string(3, c);
  const std::string sColor = "/BitsPerComponent 8/ColorSpace/DeviceRGB/SMask ";
  Add(20, 20, sColor + Ref(nOpaque), sGray);
  Add(20, 20, sColor + Ref(nOpaque), sGray);
  Add(20, 20, sColor + Ref(nSharp), std::string(1200, 'c'));
  Add(20, 20, sColor + Ref(nFaint), sGray);
  Add(20, 20, sColor + Ref(nPainted), sGray);
  Add(20, 20, sColor + Ref(nBits), sGray);
  Options().m_nContinuousCompressions = Options().m_nBitonalCompressions = PDF::eCompressionFlagFlate;
  Options().m_bReduceColorComplexity = true;
  // What these passes know of the input is not true of the copy any more.
  Options().m_bMergeEqualObjects = Options().m_bRecompressStreams = true;
  Save();
  for (const std::size_t i : {1U, 2U})
  {
    EXPECT_FALSE(Get(i)["SMask"] || Get(i)["Mask"]);
    EXPECT_TRUE(Get(i)["ColorSpace"].IsName("DeviceGray"));
    EXPECT_EQ(GetSamples(Get(i)), sWaves);
  }
  // One colour, behind a stencil that paints where its bits are 0.
  EXPECT_EQ(Get(3)["Width"].GetIntegerValue(), 1);
  EXPECT_EQ(GetSamples(Get(3)), "ccc");
  EXPECT_FALSE(Get(3)["SMask"]);
  const PDF::CObjectPtr stencil = Get(3)["Mask"];
  EXPECT_TRUE(stencil["ImageMask"].GetBooleanValue());
  EXPECT_FALSE(stencil["ColorSpace"]);
  const std::string sBits = GetSamples(stencil);
  ASSERT_EQ(sBits.size(), 60U);
  for (std::size_t i = 0; i < 400; ++i)
    EXPECT_EQ((sBits[i / 20 * 3 + i % 20 / 8] >> (7 - i % 20 % 8) & 1) == 0, i % 3 == 0) << i;
  EXPECT_EQ(GetSamples(Get(4)["SMask"]).substr(0, 400), std::string(200, '\0') + std::string(200, '\x80'));
  EXPECT_TRUE(Get(6)["Mask"]["ImageMask"].GetBooleanValue());
  EXPECT_EQ(static_cast<unsigned char>(GetSamples(Get(6)["Mask"])[0]), 0xA5);
  // What is painted by itself does not become something else as a mask.
  EXPECT_TRUE(Get(5)["SMask"].IsStream());
}

// The JPEG form of such noise is so far off that it could be taken for another picture.
TEST_F(ImageOptimizer, TakesTheNextBestWhereTheBestIsRefused)
{
  std::string sNoise;
  unsigned nState = 1;
  for (int i = 0; i < 64 * 64 * 3; ++i)
    sNoise += static_cast<char>(((nState = nState * 1664525 + 1013904223) >> 28) * 17);
  Add(64, 64, "/BitsPerComponent 8/ColorSpace/DeviceRGB", sNoise);
  Options().m_nContinuousCompressions = PDF::eCompressionFlagJPEG | PDF::eCompressionFlagFlate;
  Save();
  EXPECT_EQ(GetFilter(Get(0)), "FlateDecode");
  EXPECT_EQ(GetSamples(Get(0)), sNoise);
}

// Half as many samples of chrominance make fine lines of a strong colour pale.
TEST_F(ImageOptimizer, KeepsPicturesFromBecomingCoarse)
{
  std::string sLines;
  const std::string sWaves = MakeWaves(64, 64, 1);
  for (int i = 0; i < 64 * 64; ++i)
    for (const int nLine : {-30, -30, 60})
      sLines += static_cast<char>(sWaves[i] + (i % 2 == 0 ? nLine : 0));
  Add(64, 64, "/BitsPerComponent 8/ColorSpace/DeviceRGB", sLines);
  const auto getError = [&]
  {
    const std::string sSamples = GetSamples(Get(0));
    EXPECT_EQ(sSamples.size(), sLines.size());
    double dSum = 0;
    for (std::size_t i = 0; i < sSamples.size(); ++i)
      dSum += std::abs(static_cast<unsigned char>(sSamples[i]) - static_cast<unsigned char>(sLines[i]));
    return dSum / static_cast<double>(sLines.size());
  };
  Options().m_nContinuousCompressions = PDF::eCompressionFlagJPEG | PDF::eCompressionFlagFlate;
  Save();
  EXPECT_EQ(GetFilter(Get(0)), "FlateDecodeDCTDecode");
  EXPECT_LT(getError(), 6);
  // At such a quality nobody expects more.
  Options().m_nImageQuality = 5;
  SaveAgain();
  EXPECT_EQ(GetFilter(Get(0)), "FlateDecodeDCTDecode");
  EXPECT_GT(getError(), 6);
}

TEST_F(ImageOptimizer, LosesNothingOfSamplesInProportionToLight)
{
  const auto add = [&](const std::string& sGamma)
  {
    Add(80, 80, "/BitsPerComponent 8/ColorSpace[/CalGray<</WhitePoint[0.95 1 1.09]/Gamma " + sGamma + ">>]",
        MakeWaves(80, 80, 1));
  };
  add("1");
  add("2.2");
  Options().m_nContinuousCompressions = PDF::eCompressionFlagJPEG | PDF::eCompressionFlagFlate;
  Save();
  EXPECT_EQ(GetFilter(Get(0)), "FlateDecode");
  EXPECT_EQ(GetFilter(Get(1)), "FlateDecodeDCTDecode");
}

TEST_F(ImageOptimizer, TakesACoarsePictureWhereNothingElseIsAllowed)
{
  std::string sNoise;
  unsigned nState = 1;
  for (int i = 0; i < 64 * 64 * 3; ++i)
    sNoise += static_cast<char>(((nState = nState * 1664525 + 1013904223) >> 30) * 40);
  Add(64, 64, "/BitsPerComponent 8/ColorSpace/DeviceRGB", sNoise);
  Options().m_nContinuousCompressions = PDF::eCompressionFlagJPEG;
  Options().m_bForceCompressionTypes = true;
  Save();
  EXPECT_EQ(GetFilter(Get(0)), "FlateDecodeDCTDecode");
  Options().m_nContinuousCompressions |= PDF::eCompressionFlagFlate;
  SaveAgain();
  EXPECT_EQ(GetFilter(Get(0)), "FlateDecode");
}

TEST_F(ImageOptimizer, ConvertsTables)
{
  const std::string sIndices = std::string(200, '\0') + std::string(200, '\1');
  const std::string sTable = "/BitsPerComponent 8/ColorSpace[/Indexed/DeviceCMYK 1<00FF0000FF00FF00>]";
  // What the key hides goes by the indices. That is worth a larger file.
  Add(20, 20, sTable + "/Mask[1 1]/Filter/RunLengthDecode", std::string("\x81\0\xB9\0\x81\1\xB9\1\x80", 9));
  Add(20, 20, "/BitsPerComponent 8/ColorSpace[/Indexed/DeviceRGB 1<102030405060>]", sIndices);
  Options().m_nIndexedCompressions = PDF::eCompressionFlagFlate;
  Options().m_nColorConversion = PDF::eColorConversionRGB;
  Save();
  EXPECT_TRUE(Get(0)["ColorSpace"][1].IsName("DeviceRGB"));
  EXPECT_EQ(Get(0)["Mask"][0].GetIntegerValue(), 1);
  EXPECT_EQ(GetSamples(Get(0)), sIndices);
  EXPECT_EQ(GetSamples(Get(1)), sIndices);
  // Nothing has become of a table that had these colours.
  EXPECT_EQ(m_optimizer.GetImageReports()[0]->m_nChanges, PDF::eChangeColors);
  EXPECT_EQ(m_optimizer.GetImageReports()[1]->m_nChanges, 0U);
}

TEST_F(ImageOptimizer, DropsSoftMasksThatHideNothing)
{
  const std::string sWhite(400, '\xFF');
  const auto mask = [&](int nBits, const std::string& sData, const std::string& sEntries = {})
  {
    return Add(20, 20, "/ColorSpace/DeviceGray/BitsPerComponent " + std::to_string(nBits) + sEntries, sData,
               false);
  };
  std::string sBits;
  for (int i = 0; i < 20; ++i)
    sBits += "\xFF\xFF\xF0";
  const std::vector<int> masks = {mask(8, sWhite),
                                  mask(1, sBits),
                                  mask(16, sWhite + sWhite),
                                  mask(8, std::string(400, '\0'), "/Decode[1 0]"),
                                  mask(8, sWhite.substr(1) + "\xFE"),
                                  mask(8, sWhite.substr(1), "/Filter[]"),
                                  mask(8, sWhite, "/Matte[0]"),
                                  mask(8, sWhite, "/Decode[0 0.5]")};
  for (const int nMask : masks)
    AddGray(20, MakeWaves(20, 20, 1), "/SMask " + Ref(nMask));
  Options().m_bRecodeSamples = true;
  Save();
  for (std::size_t i = 0; i < masks.size(); ++i)
    EXPECT_EQ(Get(i)["SMask"].IsStream(), i > 3) << i;
}

// Other images have the mask too; one of them is copied when the mask has become a stencil already.
TEST_F(ImageOptimizer, MakesOneStencilOfAMaskThatImagesShare)
{
  std::string sSharp(400, '\0');
  for (std::size_t i = 0; i < 400; i += 3)
    sSharp[i] = '\xFF';
  const int nShared = AddGray(20, sSharp, {}, false);
  const int nListed = AddGray(20, sSharp + '\0', {}, false);
  m_sObjects += "/A " + Ref(nListed);
  for (const int nMask : {nShared, nShared, nListed, nListed})
    AddGray(20, MakeWaves(20, 20, 1), "/SMask " + Ref(nMask));
  Options().m_nContinuousCompressions = Options().m_nBitonalCompressions = PDF::eCompressionFlagFlate;
  Options().m_bReduceColorComplexity = true;
  Save();
  // Nothing that was found out for one save may make another one different.
  for (int nSave = 0; nSave < 2; ++nSave)
  {
    for (const std::size_t i : {0U, 1U})
      EXPECT_TRUE(!Get(i)["SMask"] && Get(i)["Mask"]["ImageMask"].GetBooleanValue()) << i << " " << nSave;
    // Copied as an object of the page, before anything was known of it.
    for (const std::size_t i : {2U, 3U})
      EXPECT_TRUE(!Get(i)["Mask"] && Get(i)["SMask"]["ColorSpace"].IsName("DeviceGray")) << i << " " << nSave;
    SaveAgain();
  }
}

// What is another picture to some readers than to others has no samples that could take its place.
TEST_F(ImageOptimizer, LeavesAloneWhatReadersShowDifferently)
{
  const std::string sRGB = MakeJPX(3);
  const std::string sTints = "/BitsPerComponent 8/ColorSpace[/Separation/";
  const int nFails = m_file.AddStream("{ 0 div dup dup }", "/FunctionType 4/Domain[0 1]/Range[0 1 0 1 0 1]");
  const std::string sPower = "/DeviceRGB<</FunctionType 2/Domain[0 1]/C0[1 1 1]/C1[1 0 0]/N 1>>]";
  Add(40, 40, sTints + "None" + sPower, MakeWaves(40, 40, 1));
  Add(40, 40, sTints + "Spot/DeviceRGB " + Ref(nFails) + "]", MakeWaves(40, 40, 1));
  Add(40, 40, "/Filter/JPXDecode/ColorSpace/DeviceGray", sRGB);
  Add(40, 40, "/Filter/JPXDecode/Decode[1 0 1 0 1 0]", sRGB);
  Add(40, 40, "/Filter/JPXDecode/Mask[0 9 0 255 0 255]", MakeJPX(1, "abcdefghi"));
  Add(40, 40, "/Filter/JPXDecode", sRGB);
  Add(40, 40, sTints + "Spot" + sPower, MakeWaves(40, 40, 1));
  Options().m_nContinuousCompressions = Options().m_nIndexedCompressions = PDF::eCompressionFlagFlate;
  Options().m_nColorConversion = PDF::eColorConversionRGB;
  Options().m_bForceRecompression = true;
  Save();
  for (const std::size_t i : {0U, 1U})
    EXPECT_TRUE(Get(i)["ColorSpace"][0].IsName("Separation")) << i;
  for (const std::size_t i : {2U, 3U, 4U})
  {
    EXPECT_EQ(GetFilter(Get(i)), "JPXDecode") << i;
    // Nothing of what was found in the data.
    EXPECT_FALSE(Get(i)["BitsPerComponent"] || (i > 2 && Get(i)["ColorSpace"])) << i;
  }
  for (const std::size_t i : {5U, 6U})
  {
    EXPECT_EQ(GetFilter(Get(i)), "FlateDecode") << i;
    EXPECT_TRUE(Get(i)["ColorSpace"].IsName("DeviceRGB")) << i;
  }
}

// JPEG 2000 as a stencil mask, and as what an image with a matte may become.
TEST_F(ImageOptimizer, KeepsJPEG2000FromMasks)
{
  const std::string sWaves = MakeWaves(160, 160, 1);
  Add(40, 40, "/Filter/JPXDecode/ImageMask true", MakeJPX(1));
  for (const char* szMatte : {"", "/Matte[0]"})
  {
    const int nMask = AddGray(160, MakeWaves(160, 160, 1), szMatte, false);
    AddGray(160, sWaves, "/SMask " + Ref(nMask));
  }
  Options().m_nContinuousCompressions = PDF::eCompressionFlagFlate | PDF::eCompressionFlagJPEG2000;
  Options().m_nBitonalCompressions = PDF::eCompressionFlagFlate;
  Options().m_bForceRecompression = true;
  Add(40, 40, "/ImageMask true/BitsPerComponent 8", std::string(200, '\x5A'));
  Save();
  EXPECT_EQ(GetFilter(Get(0)), "JPXDecode");
  EXPECT_EQ(GetFilter(Get(1)), "JPXDecode");
  EXPECT_EQ(GetFilter(Get(2)), "FlateDecode");
  EXPECT_EQ(GetFilter(Get(3)), "") << "readers differ about a stencil mask of this depth";
}

// Names of device spaces stand for others where resources say so.
TEST_F(ImageOptimizer, KeepsSpacesThatMayStandForOthers)
{
  const std::string sWaves = MakeWaves(40, 40, 1);
  std::string sGray;
  for (const char c : sWaves)
    sGray += std::string(3, c);
  Add(40, 40, "/BitsPerComponent 8/ColorSpace/DeviceRGB", sGray);
  Add(40, 40, "/BitsPerComponent 8/ColorSpace/DeviceCMYK", std::string(6400, 'c'));
  // Without a record: no page shows it.
  const int nHidden = Add(40, 40, "/BitsPerComponent 8/ColorSpace/DeviceRGB", sGray, false);
  m_sObjects += "/Hidden " + Ref(nHidden);
  m_shown.emplace_back("Hidden");
  const int nSpaces = m_file.Add("<</DefaultRGB[/CalRGB<</WhitePoint[0.9 1 1.1]/Gamma[3 1 1]>>]>>");
  Options().m_nContinuousCompressions = PDF::eCompressionFlagFlate;
  Options().m_nColorConversion = PDF::eColorConversionRGB;
  Options().m_bReduceColorComplexity = Options().m_bRecodeSamples = true;
  Save("1.7", "/Resources<</ColorSpace " + Ref(nSpaces) + ">>");
  for (const std::size_t i : {0U, 2U})
  {
    EXPECT_EQ(GetFilter(Get(i)), "FlateDecode") << i;
    EXPECT_TRUE(Get(i)["ColorSpace"].IsName("DeviceRGB")) << i;
    EXPECT_EQ(GetSamples(Get(i)), sGray) << i;
  }
  EXPECT_TRUE(Get(1)["ColorSpace"].IsName("DeviceCMYK"));
}

}  // namespace
