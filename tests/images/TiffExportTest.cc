// Images as TIFF files, read back by a reader of a few lines.

#include "base/ErrorHandler.h"
#include "images/ImageFilters.h"
#include "images/TiffExport.h"
#include "pdf/Parser.h"
#include "tests/pdf/WriterSupport.h"
#include "tests/support/Deflate.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace PDF
{
namespace
{

struct TTiff
{
  explicit TTiff(const std::string& sFile) : m_sFile(sFile)
  {
    const std::size_t nDirectory = sFile.substr(0, 4) == std::string("MM\0*", 4) ? Get(4, 4) : 0;
    if (nDirectory == 0)
      return;
    int nLast = 0;
    for (std::size_t i = 0; i < Get(nDirectory, 2); ++i)
    {
      const std::size_t nEntry = nDirectory + 2 + 12 * i;
      const int nTag = static_cast<int>(Get(nEntry, 2));
      EXPECT_LT(nLast, nTag) << "tags are in order";
      nLast = nTag;
      const std::map<std::size_t, std::size_t> sizes = {{3, 2}, {4, 4}, {5, 4}, {7, 1}};
      const std::size_t nType = Get(nEntry + 2, 2);
      const std::size_t nCount = Get(nEntry + 4, 4) * (nType == 5 ? 2 : 1);
      const std::size_t nSize = sizes.at(nType);
      const std::size_t nAt = nCount * nSize > 4 ? Get(nEntry + 8, 4) : nEntry + 8;
      for (std::size_t k = 0; k < nCount; ++k)
        m_tags[nTag].push_back(Get(nAt + k * nSize, nSize));
    }
    for (std::size_t i = 0; i < m_tags[273].size(); ++i)
      m_sSamples += Support::Inflate(sFile.substr(m_tags[273][i], m_tags[279][i]));
  }

  std::size_t Get(std::size_t nPos, std::size_t nBytes) const
  {
    std::size_t nValue = 0;
    for (std::size_t i = 0; i < nBytes; ++i)
      nValue = nValue << 8 | static_cast<unsigned char>(m_sFile.at(nPos + i));
    return nValue;
  }
  std::size_t GetTag(int nTag) { return m_tags[nTag].empty() ? 0 : m_tags[nTag][0]; }

  std::string m_sFile;
  std::map<int, std::vector<std::size_t>> m_tags;
  std::string m_sSamples;
};

class TiffExport : public testing::Test
{
protected:
  TiffExport() : m_file(&m_handler), m_pAccount(new DOC::CColorAccount)
  {
    m_file.SetImageFilters(GetImageFilters());
    EXPECT_TRUE(m_file.Create(m_pOutput.Get(), CString("0123456789abcdef"), true, false));
    m_pCMS = DOC::CreateCMS("none", "/nowhere", *m_pAccount);
    m_pSpaces = std::make_unique<CColorSpaceFactory>(*m_pCMS);
  }

  unsigned Write(const std::string& entries, const std::string& data, BSE::CMemoryStream& sink,
                 std::int64_t nMaxBytes = 1 << 20)
  {
    const std::string text = "<<" + entries + ">>";
    const BSE::CObjectPtr<BSE::CBufferedInputStream> pStream(
        new BSE::CMemoryInputStream(text.data(), static_cast<std::int64_t>(text.size())));
    CParser parser(&m_file, pStream.Get(), nullptr);
    const CObjectPtr object = AddObject(m_file, 0, parser.ParseValue());
    object->SetStreamObject(new CStreamObject(MakeStream(data).Get()));
    CImage image(object, *m_pSpaces);
    image.SetResolutionX(150);
    image.SetResolutionY(75.5);
    return CTiffExport(image, *m_pAccount, &m_handler).Write(sink, nMaxBytes);
  }

  TTiff Export(const std::string& entries, const std::string& data, unsigned nExpected = eTiffWhole)
  {
    const BSE::CObjectPtr<BSE::CMemoryStream> pSink(new BSE::CMemoryStream);
    EXPECT_EQ(Write(entries, data, *pSink), nExpected) << entries;
    return TTiff(GetBytes(*pSink));
  }

  BSE::CErrorHandler m_handler;
  BSE::CObjectPtr<BSE::CMemoryStream> m_pOutput{new BSE::CMemoryStream};
  CFile m_file;
  BSE::CObjectPtr<DOC::CColorAccount> m_pAccount;
  BSE::CObjectPtr<DOC::CCMS> m_pCMS;
  std::unique_ptr<CColorSpaceFactory> m_pSpaces;
};

TEST_F(TiffExport, SamplesAndWhatTheyMean)
{
  struct TCase
  {
    std::string sEntries;
    std::string sData;
    std::size_t nColor;
    std::size_t nComponents;
    std::size_t nBits;
    std::string sSamples;
    unsigned nOutcome = eTiffWhole;
  };
  const std::string sTints = "<</FunctionType 2/N 1/Domain[0 1]/C0[0 0 0 0]/C1[0 1 0 0]>>";
  const std::string sLab = "/ColorSpace[/Lab<</WhitePoint[.9642 1 .8249]/Range[-128 127 -128 127]>>]";
  const TCase cases[] = {
      {"/Width 10/Height 1/ImageMask true", "\xA5\x40", eTiffGray, 1, 1, "\xA5\x40"},
      {"/Width 8/Height 1/ImageMask true/Decode[1 0]", "\xA5", eTiffGray, 1, 1, "\x5A"},
      {"/Width 3/Height 1/BitsPerComponent 2/ColorSpace/DeviceGray", "\x6C", eTiffGray, 1, 2, "\x6C"},
      {"/Width 1/Height 1/BitsPerComponent 16/ColorSpace/DeviceRGB", "abcdef", eTiffRGB, 3, 16, "abcdef"},
      {"/Width 1/Height 1/BitsPerComponent 4/ColorSpace/DeviceRGB", "\x12\xF0", eTiffRGB, 3, 8,
       "\x11\x22\xFF"},
      {"/Width 1/Height 2/BitsPerComponent 8/ColorSpace/DeviceCMYK", "abcdefgh", eTiffInks, 4, 8, "abcdefgh"},
      {"/Width 2/Height 1/BitsPerComponent 4/ColorSpace[/Indexed/DeviceRGB 1(abcdef)]", "\x10", eTiffPalette,
       1, 4, "\x10"},
      {"/Width 3/Height 1/BitsPerComponent 2/ColorSpace[/Indexed/DeviceCMYK 1(abcdefgh)]", "\x1C", eTiffInks,
       4, 8, "abcdefghefgh"},
      {"/Width 2/Height 1/BitsPerComponent 8/ColorSpace[/Indexed/DeviceGray 1(az)]/Decode[1 -254]",
       std::string("\1\0", 2), eTiffGray, 1, 8, "az"},
      {"/Width 1/Height 1/BitsPerComponent 8" + sLab, "\x80\x90\x70", eTiffLab, 3, 8, "\x80\x10\xF0"},
      {"/Width 2/Height 1/BitsPerComponent 8/ColorSpace/DeviceGray/Decode[.2 .6]", std::string("\0\xFF", 2),
       eTiffGray, 1, 8, "\x33\x99"},
      {"/Width 1/Height 1/BitsPerComponent 8/ColorSpace/DeviceRGB/Decode[1 0 0 1 0 1]", "\x01\x02\x03",
       eTiffRGB, 3, 8, "\xFE\x02\x03"},
      {"/Width 1/Height 1/BitsPerComponent 16/ColorSpace/DeviceGray/Decode[0 .5]", "\xFF\xFF", eTiffGray, 1,
       16, std::string("\x80\x00", 2)},
      {"/Width 2/Height 1/BitsPerComponent 8/ColorSpace[/Separation/Spot/DeviceCMYK" + sTints + "]",
       std::string("\0\xFF", 2), eTiffInks, 4, 8, std::string("\0\0\0\0\0\xFF\0\0", 8), eTiffOtherColors},
      {"/Width 1/Height 1/BitsPerComponent 8/ColorSpace[/CalRGB<</WhitePoint[.95 1 1.09]>>]", "abc", eTiffRGB,
       3, 8, "abc", eTiffOtherColors},
  };
  for (const TCase& c : cases)
  {
    TTiff tiff = Export(c.sEntries, c.sData, c.nOutcome);
    EXPECT_EQ(tiff.GetTag(262), c.nColor) << c.sEntries;
    EXPECT_EQ(tiff.GetTag(277), c.nComponents) << c.sEntries;
    EXPECT_EQ(tiff.m_tags[258], std::vector<std::size_t>(c.nComponents, c.nBits)) << c.sEntries;
    EXPECT_EQ(testing::PrintToString(tiff.m_sSamples), testing::PrintToString(c.sSamples)) << c.sEntries;
  }
}

TEST_F(TiffExport, Directory)
{
  TTiff tiff =
      Export("/Width 2/Height 3/BitsPerComponent 1/ColorSpace[/Indexed/DeviceRGB 0(\x01\x80\xFF)]", "abc");
  EXPECT_EQ(tiff.GetTag(256), 2U);
  EXPECT_EQ(tiff.GetTag(257), 3U);
  EXPECT_EQ(tiff.m_tags[282], (std::vector<std::size_t>{150000000, 1000000}));
  EXPECT_EQ(tiff.m_tags[283], (std::vector<std::size_t>{75500000, 1000000}));
  EXPECT_EQ(tiff.m_tags[320], (std::vector<std::size_t>{0x101, 0x101, 0x8080, 0x8080, 0xFFFF, 0xFFFF}))
      << "what is above the table is its last entry";
  // More strips than one.
  const std::string sData(300000, 'x');
  tiff = Export("/Width 1000/Height 300/BitsPerComponent 8/ColorSpace/DeviceGray", sData);
  EXPECT_GT(tiff.m_tags[273].size(), 1U);
  EXPECT_EQ(tiff.m_sSamples, sData);
}

TEST_F(TiffExport, ProfilesGoAlongWhereTheyFit)
{
  std::string sProfile(128, '\0');
  sProfile.replace(36, 4, "acsp");
  const auto write = [&](const std::string& sSpace, const char* szComponents, unsigned nExpected)
  {
    sProfile.replace(16, 4, sSpace);
    const CObjectPtr stream =
        AddObject(m_file, 0, MakeDictionary({{"N", new CIntegerObject(*szComponents - '0')}}));
    stream->SetStreamObject(new CStreamObject(MakeStream(sProfile).Get()));
    const std::string sEntries = "/Width 1/Height 1/BitsPerComponent 8/ColorSpace[/ICCBased " +
                                 std::to_string(stream.GetObjNumber()) + " 0 R]";
    TTiff tiff = Export(sEntries, "abcd", nExpected);
    EXPECT_EQ(tiff.m_sSamples, std::string("abcd").substr(0, static_cast<std::size_t>(*szComponents - '0')));
    return tiff.m_tags[34675].size();
  };
  EXPECT_EQ(write("RGB ", "3", eTiffWhole), 128U);
  EXPECT_EQ(write("CMYK", "4", eTiffWhole), 128U);
  EXPECT_EQ(write("RGB ", "1", eTiffOtherColors), 0U);
}

TEST_F(TiffExport, WhatIsNotThere)
{
  const std::string sGray = "/BitsPerComponent 8/ColorSpace/DeviceGray";
  TTiff tiff = Export("/Width 4/Height 100" + sGray, "abcdef", eTiffDamaged);
  EXPECT_EQ(tiff.GetTag(257), 2U) << "rows are not made up";
  EXPECT_EQ(tiff.m_sSamples, std::string("abcdef\0\0", 8));
  for (const char* szEntries : {"/Height 4", "/Width 4/Height -1", "/Width 2000000000/Height 2000000000"})
    Export(szEntries + sGray, "abcd", eTiffNotReadable);
  Export("/Width 1/Height 1/BitsPerComponent 8/ColorSpace[/What]", "abcd", eTiffNotReadable);
  Export("/Width 1/Height 1/BitsPerComponent 8/ColorSpace/Pattern", "abcd", eTiffNotReadable);
  Export("/Width 1/Height 1" + sGray, "", eTiffNotReadable | eTiffDamaged);
  const BSE::CObjectPtr<BSE::CMemoryStream> pSink(new BSE::CMemoryStream);
  EXPECT_EQ(Write("/Width 2/Height 2" + sGray, "abcd", *pSink, 3), unsigned{eTiffTooMuch});
  for (const std::int64_t nLimit : {0, 8, 20})
  {
    const BSE::CObjectPtr<CLimitedStream> pFull(new CLimitedStream(nLimit));
    EXPECT_EQ(Write("/Width 2/Height 2" + sGray, "abcd", *pFull), unsigned{eTiffNotWritten});
  }
}

}  // namespace
}  // namespace PDF
