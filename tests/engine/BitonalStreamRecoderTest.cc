// Images of one bit a sample in a whole save: fewer bytes, the same pixels, and hands off what is incomplete.

#include <gtest/gtest.h>

#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "engine/Optimizer.h"
#include "images/ImageFilters.h"
#include "images/filters/CCITTFaxEncodeFilter.h"
#include "pdf/FilterFactory.h"
#include "tests/engine/SmallFile.h"
#include "tests/support/Deflate.h"
#include "tests/support/PdfBuilder.h"

namespace
{

using Engine::MakeStream;
using Engine::ReadAll;

// Discs of several sizes, with zeros after the last pixel of a row.
std::string MakeRows(int nWidth, int nHeight)
{
  const int nRowSize = (nWidth + 7) / 8;
  std::string sRows(static_cast<std::size_t>(nRowSize * nHeight), '\0');
  for (int y = 0; y < nHeight; ++y)
    for (int x = 0; x < nWidth; ++x)
    {
      const int nX = x % 40 - 20;
      const int nY = y % 30 - 15;
      if (nX * nX + nY * nY < 100 + (x / 40 + y / 30) % 3 * 40)
        sRows[static_cast<std::size_t>(y * nRowSize + x / 8)] |= static_cast<char>(0x80 >> x % 8);
    }
  return sRows;
}

std::string EncodeFax(const std::string& sRows, int nWidth, int nK)
{
  BSE::CCCITTFaxParameters parameters;
  parameters.K = nK;
  parameters.Columns = nWidth;
  parameters.Rows = static_cast<int>(sRows.size()) / ((nWidth + 7) / 8);
  const BSE::CObjectPtr<BSE::CMemoryStream> pSink(new BSE::CMemoryStream);
  const BSE::CObjectPtr<BSE::CCCITTFaxEncodeFilter> pFilter(
      new BSE::CCCITTFaxEncodeFilter(pSink.Get(), parameters));
  EXPECT_TRUE(pFilter->WriteAll(reinterpret_cast<const unsigned char*>(sRows.data()),
                                static_cast<std::int64_t>(sRows.size())) &&
              pFilter->Close() && pSink->Rewind());
  return ReadAll(pSink.Get());
}

struct TImage
{
  std::string m_sName;
  int m_nWidth;
  std::string m_sEntries;
  std::string m_sData;
  bool m_bKept = false;
};

// All images in one document, so that none can have a trace of the one before it.
void Check(const std::vector<TImage>& images, int nHeight, const std::string& sVersion, const char* szWinner)
{
  Support::CPdfBuilder builder;
  builder.SetVersion(sVersion);
  for (const TImage& image : images)
  {
    const int nObject =
        builder.AddStream(image.m_sData, "/Subtype/Image/Width " + std::to_string(image.m_nWidth) +
                                             "/Height " + std::to_string(nHeight) + image.m_sEntries);
    builder.AddPage("q", "/Data " + std::to_string(nObject) + " 0 R");
  }
  BSE::CErrorHandler errors;
  PDF::COptimizer optimizer(&errors);
  optimizer.GetOptions().m_bRecodeBitonal = true;
  const BSE::CObjectPtr<BSE::IByteStream> pOutput(new BSE::CMemoryStream);
  ASSERT_TRUE(optimizer.Open(MakeStream(builder.Build()).Get(), nullptr));
  ASSERT_TRUE(optimizer.Save(pOutput.Get(), {}));
  pOutput->Rewind();
  PDF::CDocument result(&errors);
  result.GetFile().SetImageFilters(PDF::GetImageFilters());
  ASSERT_TRUE(result.Open(pOutput.Get(), nullptr));
  for (std::size_t i = 0; i < images.size(); ++i)
  {
    SCOPED_TRACE(images[i].m_sName);
    const PDF::CObjectPtr image = result.GetPage(static_cast<int>(i))["Data"];
    const std::string sEncoded = ReadAll(image.GetStream().Get());
    if (images[i].m_bKept)
    {
      EXPECT_EQ(sEncoded, images[i].m_sData);
      continue;
    }
    EXPECT_STREQ(image["Filter"].GetNameValue(), szWinner);
    EXPECT_LT(sEncoded.size(), images[i].m_sData.size());
    std::string sRows = ReadAll(image.GetDecodedStream().Get());
    const auto nRowSize = static_cast<std::size_t>((images[i].m_nWidth + 7) / 8);
    for (std::size_t nLast = nRowSize - 1; nLast < sRows.size(); nLast += nRowSize)
      sRows[nLast] = static_cast<char>(sRows[nLast] & -1 << (-images[i].m_nWidth & 7));
    EXPECT_TRUE(sRows == MakeRows(images[i].m_nWidth, nHeight));
  }
}

TEST(BitonalStreamRecoder, TakesTheSmallestForm)
{
  constexpr int nHeight = 90;
  const auto gray = [](const std::string& sEntries)
  { return "/BitsPerComponent 1/ColorSpace/DeviceGray" + sEntries; };
  const auto fax = [](int nWidth, int nK)
  {
    return "/Filter/CCITTFaxDecode/DecodeParms<</K " + std::to_string(nK) + "/Columns " +
           std::to_string(nWidth) + "/Rows " + std::to_string(nHeight) + ">>";
  };
  std::vector<TImage> images;
  for (const int nWidth : {320, 333})
  {
    const std::string sRows = MakeRows(nWidth, nHeight);
    images.push_back({"plain", nWidth, gray(""), sRows});
    images.push_back({"mask", nWidth, "/ImageMask true/Filter/FlateDecode", Support::Deflate(sRows, 0)});
    images.push_back(
        {"palette", nWidth, "/BitsPerComponent 1/ColorSpace[/Indexed/DeviceRGB 1<000000FFFFFF>]", sRows});
    images.push_back({"longer than the image", nWidth, gray(""), sRows + "more"});
    for (const int nK : {0, 4})
      images.push_back(
          {"fax " + std::to_string(nK), nWidth, gray(fax(nWidth, nK)), EncodeFax(sRows, nWidth, nK)});
  }
  Check(images, nHeight, "1.7", "JBIG2Decode");
  Check(images, nHeight, "1.3", "CCITTFaxDecode");
}

TEST(BitonalStreamRecoder, LeavesAloneWhatIsNoWholeImage)
{
  const std::string sRows = MakeRows(320, 90);
  const std::string sFax = EncodeFax(sRows, 320, 0);
  const std::string sGray = "/BitsPerComponent 1/ColorSpace/DeviceGray";
  const std::string sFilter = "/Filter/CCITTFaxDecode/DecodeParms<</Columns 320/Rows 90>>";
  Check({{"short", 320, sGray, sRows.substr(1), true},
         {"cut fax", 320, sGray + sFilter, sFax.substr(0, sFax.size() / 2), true},
         {"other columns", 328, sGray + sFilter, sFax, true},
         {"three colours", 320, "/BitsPerComponent 1/ColorSpace/DeviceRGB", sRows + sRows + sRows, true},
         {"two bits", 160, "/BitsPerComponent 2/ColorSpace/DeviceGray", sRows, true},
         {"no colour space", 320, "/BitsPerComponent 1", sRows, true},
         {"damaged", 320, sGray + "/Filter/FlateDecode", Support::Deflate(sRows).substr(0, 60), true}},
        90, "1.7", "");
}

}  // namespace
