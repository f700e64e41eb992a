// The command line: exit codes, flags for every setter, messages, JSON.

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <sstream>

#include "tests/support/PdfBuilder.h"
#include "tests/support/PdfDamager.h"
#include "tests/support/Samples.h"
#include "tests/tools/Command.h"

namespace
{

using Support::TProcessResult;
using testing::HasSubstr;
using Tools::CCommandFolder;

TEST(CommandFlags, WrongUse)
{
  const CCommandFolder folder;
  std::filesystem::create_directory(folder.GetPath("sub"));
  const std::vector<std::string> cases[] = {
      {},
      {"large.pdf"},
      {"large.pdf", "out.pdf", "more.pdf"},
      {"--no-such-flag", "large.pdf", "out.pdf"},
      {"--profile", "small", "large.pdf", "out.pdf"},
      {"--strip", "links,shoes", "large.pdf", "out.pdf"},
      {"--bitonal-compressions", "jpeg", "large.pdf", "out.pdf"},
      {"--image-quality", "101", "large.pdf", "out.pdf"},
      {"--image-quality", "12x", "large.pdf", "out.pdf"},
      {"--color-resolution", "-3", "large.pdf", "out.pdf"},
      {"--color-threshold", "nan", "large.pdf", "out.pdf"},
      {"--pdf-version", "3.x", "large.pdf", "out.pdf"},
      {"--info", "Title", "large.pdf", "out.pdf"},
      {"--rename-font", "Arial", "large.pdf", "out.pdf"},
      {"--rename-font", "Arial=", "large.pdf", "out.pdf"},
      {"--unembed-font", std::string(257, 'a'), "large.pdf", "out.pdf"},
      {"--embed-font", "=file.ttf", "large.pdf", "out.pdf"},
      {"--progress", "maybe", "large.pdf", "out.pdf"},
      {"--in-place", "--output-dir", "sub", "large.pdf"},
      {"--password-file", "absent.txt", "large.pdf", "out.pdf"},
      {"--encryption", "aes-512", "--user-password", "u", "large.pdf", "out.pdf"},
      {"--encryption", "aes-256", "large.pdf", "out.pdf"},
      {"--user-password", "", "large.pdf", "out.pdf"},
      {"--user-password", "u", "--permissions", "print", "large.pdf", "out.pdf"},
      {"--owner-password", "o", "--permissions", "fly", "large.pdf", "out.pdf"},
      {"--owner-password", "o", "--decrypt", "large.pdf", "out.pdf"},
      {"--json", "large.pdf", "-"},
      {"--in-place", "-"},
      {"large.pdf", "sub"},
      {"--in-place", "sub"},
      {"-o", "sub", "large.pdf", "sub/../large.pdf"},
      {"info"},
      {"list"},
      {"list", "shoes", "large.pdf"},
      {"extract", "images"},
      {"extract", "fonts", "large.pdf", "tiny.pdf"},
  };
  for (const std::vector<std::string>& arguments : cases)
  {
    const TProcessResult result = folder.Run(arguments);
    EXPECT_EQ(result.nExitCode, 2) << testing::PrintToString(arguments) << result.sErr;
    EXPECT_NE(result.sErr, "");
    EXPECT_EQ(result.sOut, "");
  }
  EXPECT_EQ(folder.CountEntries(), 3);
}

TEST(CommandFlags, InputThatCannotBeOpened)
{
  const CCommandFolder folder;
  folder.Write("text.pdf", "no document");
  folder.Write("empty.pdf", "");
  for (const char* szName : {"absent.pdf", "text.pdf", "empty.pdf", "."})
  {
    EXPECT_EQ(folder.Run({szName, "out.pdf"}).nExitCode, 3) << szName;
    EXPECT_EQ(folder.Run({"info", szName}).nExitCode, 3) << szName;
  }
  EXPECT_FALSE(folder.Exists("out.pdf"));
}

TEST(CommandFlags, RepairedInputIsTold)
{
  const CCommandFolder folder;
  folder.Write("damaged.pdf",
               Support::ReplaceText(CCommandFolder::MakeLarge(), "startxref\n", "startxref\n9"));
  const auto saved = folder.Run({"damaged.pdf", "out.pdf"});
  EXPECT_EQ(saved.nExitCode, 0);
  EXPECT_THAT(saved.sErr, HasSubstr("0x8041010"));
  EXPECT_TRUE(folder.Exists("out.pdf"));
  const auto told = folder.Run({"info", "damaged.pdf"});
  EXPECT_EQ(told.nExitCode, 0);
  EXPECT_THAT(told.sOut, HasSubstr("Damaged"));
}

TEST(CommandFlags, LossesAreToldEvenQuietly)
{
  const CCommandFolder folder;
  folder.Write("lost.pdf", Support::ReplaceText(CCommandFolder::MakeLarge(), "0 obj", "0 xbj", 5));
  const auto saved = folder.Run({"--quiet", "lost.pdf", "out.pdf"});
  EXPECT_EQ(saved.nExitCode, 1);
  EXPECT_THAT(saved.sErr, HasSubstr("lost: 0x"));
  folder.Write("none.pdf", Support::ReplaceText(CCommandFolder::MakeTiny(), "3 0 obj", "3 0 xbj"));
  const auto told = folder.Run({"info", "none.pdf"});
  EXPECT_EQ(told.nExitCode, 1);
  EXPECT_THAT(told.sOut, HasSubstr("Damaged"));
}

TEST(CommandFlags, ControlCharactersStayOffTheTerminal)
{
  const CCommandFolder folder;
  const std::string sName = "a\x1B[31m\xC2\x9B\n\xC3\xA4\xFF.pdf";
  const std::string sShown = "a\\x1B[31m\\xC2\\x9B\\x0A\xC3\xA4\\xFF.pdf";
  folder.Write(sName, CCommandFolder::MakeLarge());
  EXPECT_THAT(folder.Run({"--progress", "always", sName, "out.pdf"}).sErr,
              testing::AllOf(HasSubstr("[1/1] " + sShown), HasSubstr(sShown + ": ")));
  EXPECT_THAT(folder.Run({"info", sName}).sOut, HasSubstr(sShown));
  EXPECT_THAT(folder.Run({"x" + sName, "out.pdf"}).sErr, HasSubstr("x" + sShown));
  const std::string sUsage = folder.Run({"--profile", sName, "large.pdf", "out.pdf"}).sErr;
  EXPECT_EQ(sUsage.find('\x1B'), std::string::npos);
}

TEST(CommandFlags, WrongPassword)
{
  if (!Support::HasProgram("qpdf"))
  {
    GTEST_SKIP() << "qpdf is not installed";
  }
  const CCommandFolder folder;
  const std::string sPassword = "geheim \xC3\xA4\xE4\xB8\xAD";
  ASSERT_EQ(
      Support::RunProgram({"qpdf", "--encrypt", sPassword, "owner", "256", "--", "large.pdf", "secret.pdf"},
                          {}, folder.GetPath(""))
          .nExitCode,
      0);
  folder.Write("password.txt", "wrong\nmore\n");
  EXPECT_EQ(folder.Run({"secret.pdf", "out.pdf"}).nExitCode, 3);
  EXPECT_EQ(folder.Run({"--password", "wrong", "secret.pdf", "out.pdf"}).nExitCode, 3);
  EXPECT_EQ(folder.Run({"--password-file", "password.txt", "secret.pdf", "out.pdf"}).nExitCode, 3);
  EXPECT_FALSE(folder.Exists("out.pdf"));
}

// "MrcLayerResolutionDPI" as "mrc-layer-resolution", "ConvertToCFF" as "convert-to-cff".
std::string MakeFlagName(std::string sSetter)
{
  if (sSetter.size() > 3 && sSetter.substr(sSetter.size() - 3) == "DPI")
  {
    sSetter.resize(sSetter.size() - 3);
  }
  std::string sName;
  bool bSmall = false;
  for (const char c : sSetter)
  {
    const auto n = static_cast<unsigned char>(c);
    sName += bSmall && std::isupper(n) != 0 ? "-" : "";
    sName += static_cast<char>(std::tolower(n));
    bSmall = std::islower(n) != 0;
  }
  return sName;
}

// What is between "BrevexSet" and "(TBrevexHandle" in the public header.
std::set<std::string> ReadSetters()
{
  const std::string sHeader = Support::ReadFile("include/brevex/brevex.h");
  const std::string sStart = "BrevexSet";
  std::set<std::string> setters;
  for (size_t nAt = sHeader.find(sStart); nAt != std::string::npos; nAt = sHeader.find(sStart, nAt + 1))
  {
    const size_t nName = nAt + sStart.size();
    const size_t nEnd = std::min(sHeader.find_first_of("( \n,;", nName), sHeader.size());
    if (sHeader.compare(nEnd, 14, "(TBrevexHandle") == 0)
    {
      setters.insert(sHeader.substr(nName, nEnd - nName));
    }
  }
  return setters;
}

TEST(CommandFlags, EverySetterHasAFlag)
{
  const CCommandFolder folder;
  const std::string sHelp = folder.Run({"optimize", "--help"}).sOut;
  // Flags of another name: --merge-equal, --encryption, --pdf-version.
  const std::set<std::string> otherwise = {"Profile",           "VersionA",      "VersionW",
                                           "InfoEntryA",        "InfoEntryW",    "OutputCipher",
                                           "MergeEqualObjects", "MinimumVersion"};
  const std::set<std::string> setters = ReadSetters();
  EXPECT_GT(setters.size(), 40U);
  for (const std::string& sSetter : setters)
  {
    const std::string sFlag = MakeFlagName(sSetter) + " ";
    EXPECT_TRUE(otherwise.count(sSetter) != 0 || sHelp.find("  --" + sFlag) != std::string::npos ||
                sHelp.find("  --[no-]" + sFlag) != std::string::npos)
        << sSetter;
  }
}

// Every flag of the help with a value that fits it, the negated form of those that are on or off.
TEST(CommandFlags, EveryFlagIsAccepted)
{
  const CCommandFolder folder;
  std::istringstream help(folder.Run({"optimize", "--help"}).sOut);
  const std::string sNegatable = "--[no-]";
  std::vector<std::string> arguments;
  std::vector<std::string> pending;
  for (std::string sLine; std::getline(help, sLine);)
  {
    std::istringstream words(sLine);
    std::string sFlag;
    std::string sKind;
    words >> sFlag >> sKind;
    if (sLine.rfind("  " + sNegatable, 0) == 0)
    {
      arguments.push_back("--no-" + sFlag.substr(sNegatable.size()));
    }
    else if (sLine.rfind("  --", 0) == 0 && (sKind == "LIST" || sKind == "DPI" || sKind == "0-100"))
    {
      arguments.insert(arguments.end(), {sFlag, sKind == "LIST" ? "none" : sKind == "DPI" ? "72.5" : "50"});
      if (sKind != "LIST" && sLine.find("(no effect yet)") != std::string::npos)
      {
        pending.push_back(sFlag + " has no effect yet\n");
      }
    }
  }
  EXPECT_GT(arguments.size(), 40U);
  arguments.insert(arguments.end(), {"--threshold", "-1", "--color-threshold=-1", "--owner-password", "o",
                                     "--rename-font", "A=B", "--rename-font", "C=D", "--unembed-font", "*",
                                     "--embed-font", "E", "--embed-font", "F=f.ttf", "large.pdf", "out.pdf"});
  const TProcessResult result = folder.Run(arguments);
  EXPECT_EQ(result.nExitCode, 0) << result.sErr;
  for (const std::string& sText : pending)
  {
    EXPECT_THAT(result.sErr, HasSubstr(sText));
  }
}

TEST(CommandFlags, Json)
{
  const CCommandFolder folder;
  folder.Write("broken \"\xFF\".pdf", "no document");
  const TProcessResult result = folder.Run(
      {"--json", "-o", "out", "large.pdf", "tiny.pdf", "broken \"\xFF\".pdf", "--profile", "lossless"});
  EXPECT_EQ(result.nExitCode, 3);
  std::vector<std::string> lines;
  std::istringstream stream(result.sOut);
  for (std::string sLine; std::getline(stream, sLine);)
  {
    lines.push_back(sLine);
  }
  ASSERT_EQ(lines.size(), 3U) << result.sOut;
  const std::string sBytes = std::to_string(CCommandFolder::MakeLarge().size());
  EXPECT_THAT(lines[0],
              HasSubstr("\"file\":\"large.pdf\",\"output\":\"out/large.pdf\",\"result\":\"smaller\""));
  EXPECT_THAT(lines[0], HasSubstr("\"inputBytes\":" + sBytes));
  EXPECT_THAT(lines[0], HasSubstr("\"pages\":100"));
  EXPECT_THAT(lines[0], HasSubstr("\"lossy\":[]"));
  EXPECT_THAT(lines[1], HasSubstr("\"result\":\"no gain\",\"exit\":0"));
  EXPECT_THAT(lines[2], HasSubstr("\"file\":\"broken \\\"\xC3\xBF\\\".pdf\""));
  EXPECT_THAT(lines[2], HasSubstr("\"code\":\"0x80410104\""));

  EXPECT_THAT(folder.Run({"--json", "--profile", "web", "large.pdf", "web.pdf"}).sOut,
              HasSubstr("\"strip-metadata\""));
  EXPECT_THAT(folder.Run({"info", "--json", "large.pdf"}).sOut, HasSubstr("\"pages\":100"));
}

TEST(CommandFlags, Messages)
{
  const CCommandFolder folder;
  EXPECT_THAT(folder.Run({"--help"}).sOut, HasSubstr("info"));
  EXPECT_THAT(folder.Run({"--version"}).sOut, HasSubstr("6.27.17.0"));
  EXPECT_EQ(folder.Run({"--quiet", "large.pdf", "out.pdf"}).sErr, "");
  EXPECT_THAT(folder.Run({"--progress", "always", "large.pdf", "out.pdf"}).sErr, HasSubstr("[1/1]"));
  EXPECT_EQ(folder.Run({"--progress", "never", "large.pdf", "out.pdf"}).sErr.find("[1/1]"),
            std::string::npos);
}

TEST(CommandFlags, TargetVersion)
{
  const CCommandFolder folder;
  const auto getVersion = [&](std::vector<std::string> arguments)
  {
    arguments.insert(arguments.end(), {"--allow-larger", "in.pdf", "out.pdf"});
    EXPECT_EQ(folder.Run(arguments).nExitCode, 0);
    return folder.Read("out.pdf").substr(5, 3);
  };
  folder.Write("in.pdf", CCommandFolder::MakeLarge());
  EXPECT_EQ(getVersion({}), "1.5");
  EXPECT_EQ(getVersion({"--pdf-version", "keep"}), "1.4");
  EXPECT_EQ(getVersion({"--profile", "none"}), "1.4");
  EXPECT_EQ(getVersion({"--pdf-version", "1.7"}), "1.7");
  EXPECT_EQ(getVersion({"--profile", "none", "--color-compression", "jpeg2000"}), "1.5");
  EXPECT_EQ(getVersion({"--pdf-version", "keep", "--color-compression", "jpeg2000"}), "1.4");
  folder.Write("in.pdf", Support::ReplaceText(CCommandFolder::MakeLarge(), "%PDF-1.4", "%PDF-1.6"));
  EXPECT_EQ(getVersion({}), "1.6");
  EXPECT_EQ(getVersion({"--profile", "none", "--bitonal-compressions", "jbig2"}), "1.6");
}

// What says the version or the claim may be compressed.
TEST(CommandFlags, TargetVersionOfCompressedObjects)
{
  const CCommandFolder folder;
  const auto getVersion = [&](const char* szHeader, const std::string& sCatalog, const std::string& sPart)
  {
    Support::CPdfBuilder builder;
    builder.SetVersion(szHeader).SetXRefForm(Support::TXRefForm::Stream).SetObjectStreams(50);
    const int nPacket = builder.AddFlateStream(
        "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\"><rdf:Description "
        "rdf:about=\"\" xmlns:pdfaid=\"http://www.aiim.org/pdfa/ns/id/\" pdfaid:part=\"" +
            sPart + "\" pdfaid:conformance=\"B\"/></rdf:RDF>",
        "/Type /Metadata /Subtype /XML");
    builder.SetCatalogEntries(sCatalog + " /Metadata " + std::to_string(nPacket) + " 0 R");
    builder.AddPage("0 0 9 9 re f");
    folder.Write("in.pdf", builder.Build());
    EXPECT_EQ(folder.Run({"--allow-larger", "in.pdf", "out.pdf"}).nExitCode, 0);
    return folder.Read("out.pdf").substr(5, 3);
  };
  EXPECT_EQ(getVersion("1.4", "", ""), "1.5");
  EXPECT_EQ(getVersion("1.4", "/Version /1.6", ""), "1.6");
  EXPECT_EQ(getVersion("1.4", "", "1"), "1.4") << "PDF/A-1 knows no object streams";
}

}  // namespace
