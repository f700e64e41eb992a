// The verbs list and extract.

#include <gmock/gmock.h>

#include "tests/support/PdfBuilder.h"
#include "tests/tools/Command.h"

namespace
{

using Support::TProcessResult;
using testing::HasSubstr;
using Tools::CCommandFolder;

// A sound image, one that lacks its samples, and a font with a name of odd characters.
std::string MakeDocument(int& nImage)
{
  Support::CPdfBuilder builder;
  const std::string sImage =
      "/Type/XObject/Subtype/Image/Width 2/Height 1/BitsPerComponent 8/ColorSpace/DeviceGray";
  nImage = builder.AddStream("ab", sImage);
  const int nEmpty = builder.AddStream("", sImage);
  const int nFont =
      builder.AddObject("<</Type/Font/Subtype/Type1/BaseFont/A#22,#20#0AB#23/Encoding/WinAnsiEncoding>>");
  builder.AddPage("9 0 0 9 0 0 cm /I Do /E Do BT /F 9 Tf (a) Tj ET",
                  "/Resources<</XObject<</I " + std::to_string(nImage) + " 0 R/E " + std::to_string(nEmpty) +
                      " 0 R>>/Font<</F " + std::to_string(nFont) + " 0 R>>>>");
  return builder.Build();
}

class CommandResources : public testing::Test
{
protected:
  CommandResources() { m_folder.Write("in.pdf", MakeDocument(m_nImage)); }

  std::string GetFile() const { return "img" + std::to_string(m_nImage) + ".tif"; }

  CCommandFolder m_folder;
  int m_nImage = 0;
};

TEST_F(CommandResources, List)
{
  const TProcessResult images = m_folder.Run({"list", "images", "in.pdf"});
  EXPECT_EQ(images.nExitCode, 0) << images.sErr;
  EXPECT_THAT(images.sOut, HasSubstr("\n1, " + std::to_string(m_nImage) +
                                     ", 2, 1, 8, DeviceGray,   8, , 2, 2, "
                                     "100.00%, " +
                                     GetFile() + "\n"));
  EXPECT_THAT(m_folder.Run({"list", "images", "--json", "-"}, m_folder.Read("in.pdf")).sOut,
              HasSubstr("\"images\":[{\"page\":1,\"object\":" + std::to_string(m_nImage) +
                        ",\"width\":2,\"height\":1,\"bitsPerComponent\":8,\"colorSpace\":\"DeviceGray\","
                        "\"resolution\":8,\"filter\":\"\",\"sampleBytes\":2,\"bytes\":2,\"fileName\":\"" +
                        GetFile() + "\"},"));
  EXPECT_THAT(m_folder.Run({"list", "fonts", "in.pdf"}).sOut, HasSubstr("\n\"A#22, #0AB#23\", Type1, "));
  EXPECT_THAT(m_folder.Run({"list", "--json", "fonts", "in.pdf"}).sOut,
              HasSubstr("\"fonts\":[{\"name\":\"A\\\", \\u000aB#\",\"type\":\"Type1\",\"encoding\":"
                        "\"WinAnsiEncoding\",\"composite\":false,\"embedded\":false,\"fileName\":\"\"}]"));
  EXPECT_EQ(m_folder.Run({"list", "images", "absent.pdf"}).nExitCode, 3);
  EXPECT_EQ(m_folder.Run({"list", "fonts", "--password", "x", "large.pdf"}).nExitCode, 0);
}

TEST_F(CommandResources, Extract)
{
  const int nBefore = m_folder.CountEntries();
  const TProcessResult damaged = m_folder.Run({"extract", "images", "in.pdf", "-d", "new/sub"});
  EXPECT_EQ(damaged.nExitCode, 1) << "an image has no samples";
  EXPECT_EQ(damaged.sOut, GetFile() + "\n");
  EXPECT_THAT(damaged.sErr, HasSubstr("lost: "));
  const std::string sTiff = m_folder.Read("new/sub/" + GetFile());
  EXPECT_EQ(sTiff.substr(0, 2), "MM");
  EXPECT_EQ(m_folder.CountEntries(), nBefore + 1);
  // What is there stays.
  m_folder.Write("new/sub/" + GetFile(), "mine");
  const TProcessResult again =
      m_folder.Run({"extract", "--json", "images", "in.pdf", "--directory", "new/sub"});
  EXPECT_EQ(again.nExitCode, 1);
  EXPECT_THAT(again.sErr, HasSubstr(GetFile() + ": File exists"));
  EXPECT_THAT(again.sOut, HasSubstr("\"files\":[],\"errors\":["));
  EXPECT_EQ(m_folder.Read("new/sub/" + GetFile()), "mine");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_folder.GetPath("new/sub")), {}), 1);
  // Into the working directory, from a document without any.
  EXPECT_EQ(m_folder.Run({"extract", "fonts", "in.pdf"}).nExitCode, 0);
  EXPECT_EQ(m_folder.CountEntries(), nBefore + 1);
}

TEST_F(CommandResources, ImagesOfASave)
{
  Support::CPdfBuilder builder;
  const int nImage = builder.AddStream(
      std::string(10000, 'x'),
      "/Type/XObject/Subtype/Image/Width 100/Height 100/BitsPerComponent 8/ColorSpace/DeviceGray");
  builder.AddPage("72 0 0 72 0 0 cm /I Do",
                  "/Resources<</XObject<</I " + std::to_string(nImage) + " 0 R>>>>");
  m_folder.Write("in.pdf", builder.Build());
  const std::string sJson = m_folder.Run({"--json", "--profile", "archive", "in.pdf", "out.pdf"}).sOut;
  EXPECT_THAT(sJson, HasSubstr("\"images\":[{\"object\":" + std::to_string(nImage) +
                               ",\"page\":1,\"class\":\"continuous\",\"outcome\":\"replaced\","));
  EXPECT_THAT(sJson, HasSubstr("\"filter\":\"raw\""));
  EXPECT_THAT(sJson, HasSubstr("\"candidates\":{\""));
  const TProcessResult verbose = m_folder.Run({"-v", "in.pdf", "out.pdf"});
  EXPECT_THAT(verbose.sErr, HasSubstr("100x100"));
  EXPECT_THAT(verbose.sErr, HasSubstr("raw > flate"));
}

TEST_F(CommandResources, FoldersThatCannotBeUsed)
{
  EXPECT_EQ(m_folder.Run({"extract", "images", "in.pdf", "-d", "in.pdf"}).nExitCode, 4);
  EXPECT_EQ(m_folder.Run({"extract", "images", "in.pdf", "-d", "in.pdf/sub"}).nExitCode, 4);
  if (std::filesystem::exists("/proc/self"))
  {
    EXPECT_EQ(m_folder.Run({"extract", "images", "in.pdf", "-d", "/proc/self"}).nExitCode, 1);
  }
}

}  // namespace
