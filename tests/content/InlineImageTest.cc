// Inline images: where they end, whatever their data look like, and their abbreviations.

#include "content/StatusCodes.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"
#include "tests/content/RecordingParser.h"
#include "tests/support/Deflate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using Content::CSample;
using Content::TResult;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// The image's data as the parser took them, with content after it that has to be found.
std::string Data(const std::string& sDictionary, const std::string& sData, const std::string& sEnd = "\nEI Q")
{
  CSample sample;
  sample.SetResources("/ColorSpace<</N[/Indexed/DeviceRGB 1 <000000FFFFFF>]/I[/ICCBased<</N 3>>]>>");
  const TResult result = sample.Parse("q BI " + sDictionary + " ID " + sData + sEnd + " 5 w");
  EXPECT_TRUE(result.m_bParsed) << sDictionary;
  EXPECT_THAT(result.m_codes, IsEmpty()) << sDictionary;
  EXPECT_THAT(result.m_log, testing::EndsWith("EI\nQ\n5 w\n")) << sDictionary;
  const std::size_t nStart = result.m_log.find(" ID ") + 4;
  return result.m_log.substr(nStart, result.m_log.rfind(" EI\n") - nStart);
}

TEST(InlineImages, EndWhereTheSizeHasIt)
{
  // Data that look like the end, or like anything.
  EXPECT_EQ(Data("/W 6/H 1/BPC 8/CS/G", " EI Q "), " EI Q ");
  EXPECT_EQ(Data("/Width 3/Height 2/BitsPerComponent 1/ColorSpace/DeviceGray", "\nE"), "\nE");
  EXPECT_EQ(Data("/W 9/H 2/IM true", "\nEI\n"), "\nEI\n");
  EXPECT_EQ(Data("/W 2/H 1/BPC 4/CS/CMYK", "EI Q"), "EI Q");
  EXPECT_EQ(Data("/W 5/H 1/BPC 8/CS/N", " EI Q"), " EI Q");
  EXPECT_EQ(Data("/W 2/H 1/BPC 8/CS[/I/RGB 1<000000FFFFFF>]", "EI", "EI Q"), "EI");
  EXPECT_EQ(Data("/W 2/H 1/BPC 8/CS/I", " EI Q ", "EI Q"), " EI Q ");
}

TEST(InlineImages, EndWhereTheFilterHasIt)
{
  EXPECT_EQ(Data("/W 9/H 9/F/A85", "87cURD]i,\n EI Q~>"), "87cURD]i,\n EI Q~>");
  EXPECT_EQ(Data("/W 9/H 9/F[/AHx]", "45\n>", "EI Q"), "45\n>");
  EXPECT_EQ(Data("/W 9/H 9/F/RL", "\x05 EI Q \x80"), "\x05 EI Q \x80");
  EXPECT_EQ(Data("/W 9/H 9/F/LZW", "\x80\x0B\x60\x50\x22\x0C\x0C\x85\x01"),
            "\x80\x0B\x60\x50\x22\x0C\x0C\x85\x01");
  const std::string sFlate = Support::Deflate(std::string(30000, 'x') + " EI Q ");
  EXPECT_EQ(Data("/W 9/H 9/F[/Fl/AHx]/DP[null null]", sFlate), sFlate);
  EXPECT_EQ(Data("/W 9/H 9/F/Fl", sFlate, " EI\nQ"), sFlate);
}

// What a filter of pictures has, or one that is not known, is not looked into.
TEST(InlineImages, EndBeforeContent)
{
  const std::string sData = "\xFF\xD8 EI \xFF EI \x01Q EI Nix EIQ EI 3 \x80\xFF\xD9";
  for (const char* sz : {"/F/DCT", "/F/CCF/DP<</K -1>>", "/F/Nix", "/F/CCF/L 5"})
    EXPECT_EQ(Data(std::string("/W 9/H 9") + sz, sData, "\r\nEI\r\nQ"), sData) << sz;
  EXPECT_EQ(Data("/W 9/H 9/F/DCT", sData, "EI Q"), sData);
}

TEST(InlineImages, AbbreviationsAreWrittenOut)
{
  const TResult result = CSample().Parse(
      "BI/W 1/H 1/BPC 8/CS/G/F[/AHx/Fl]/DP[null<</Columns 1>>]/IM false/I true"
      "/D[1 0]/Intent/Perceptual ID 00> EI");
  EXPECT_THAT(result.m_log, HasSubstr("<</BitsPerComponent 8/ColorSpace /DeviceGray/Decode [1 0]/DecodeParms "
                                      "[null <</Columns 1>>]/Filter [/ASCIIHexDecode /FlateDecode]/Height 1"
                                      "/ImageMask false/Intent /Perceptual/Interpolate true/Width 1>>"));
}

TEST(InlineImages, Damage)
{
  // Another size than the dictionary says, and data that their filter cannot take to the end.
  for (const char* sz :
       {"/W 3/H 3/BPC 8/CS/G", "/W 1/H 1/BPC 8/CS/Nix", "/F/Fl", "/F/A85", "/W 99999999/H 9999999"})
  {
    const TResult result = CSample().Parse(std::string("BI ") + sz + " ID abcde\nEI 5 w");
    EXPECT_TRUE(result.m_bParsed) << sz;
    EXPECT_THAT(result.m_log, testing::EndsWith("ID abcde damaged EI\n5 w\n")) << sz;
  }
  const TResult open = CSample().Parse("BI /W 1 ID abc 5 w");
  EXPECT_FALSE(open.m_bParsed);
  EXPECT_THAT(open.m_losses, ElementsAre(PDF::g_nUnexpectedToken));
  EXPECT_THAT(open.m_log, HasSubstr("ID abc 5 w damaged EI"));
  const TResult none = CSample().Parse("BI /W 1 5 w 6 w");
  EXPECT_THAT(none.m_losses, testing::Contains(PDF::g_nUnexpectedToken));
  EXPECT_THAT(none.m_log, testing::EndsWith("6 w\n"));
}

TEST(InlineImages, AreDecoded)
{
  PDF::TOpenDocument document(
      PDF::MakePdf({{1, "<</Type/Catalog/Pages 2 0 R>>"}, {2, "<</Type/Pages/Kids[]>>"}}));
  PDF::CContentEnvironment environment(document.m_document);
  PDF::CParserContext context(environment, PDF::CResources(), nullptr);
  PDF::TInlineImage image;
  image.m_dictionary = new PDF::CDictionaryObject;
  image.m_dictionary.AddEntry("F", new PDF::CNameObject("AHx"));
  PDF::ExpandInlineImage(image.m_dictionary);
  const BSE::CObjectPtr<PDF::CContentStream> pStream(
      new PDF::CContentStream(PDF::MakeStream(" 4142> EI").Get()));
  EXPECT_TRUE(PDF::ReadInlineImage(*pStream, context, image));
  unsigned char aBytes[9] = {};
  EXPECT_EQ(image.GetDecodedStream(document->GetFile())->ReadFully(aBytes, 9), 2);
  EXPECT_STREQ(reinterpret_cast<const char*>(aBytes), "AB");
}

}  // namespace
