// The command with its defaults over files from the field: nothing that a reader sees or copies may change.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "tests/support/Corpus.h"
#include "tests/tools/Command.h"

namespace
{

namespace fs = std::filesystem;

using Support::RunProgram;

// All characters in their order.
std::string ReadText(const fs::path& path, const std::string& sPassword)
{
  std::string sText = RunProgram({"pdftotext", "-layout", "-upw", sPassword, path, "-"}).sOut;
  // The layout shifts by a blank where the look of a signature is no field any more.
  std::erase_if(sText, [](char c) { return c == ' ' || c == '\n'; });
  return sText;
}

// Checksums of the samples of the first pages, a line each.
std::string ReadPictures(const fs::path& path, const std::string& sPassword)
{
  std::string sSums;
  const std::string sTold =
      RunProgram({"mutool", "draw", "-q", "-s", "5", "-r", "36", "-p", sPassword, path, "1-3"}).sErr;
  for (size_t nAt = sTold.find("page "); nAt != sTold.npos; nAt = sTold.find("page ", nAt + 1))
  {
    // "page FILE N MD5": the name differs.
    const size_t nEnd = std::min(sTold.find('\n', nAt), sTold.size());
    sSums += sTold.substr(sTold.rfind(' ', nEnd), nEnd - sTold.rfind(' ', nEnd)) + "\n";
  }
  return sSums;
}

TEST(CommandCorpus, DefaultsChangeNothingThatShows)
{
  if (!fs::is_directory(Support::GetCorpus() / "real") || !Support::HasProgram("mutool") ||
      !Support::HasProgram("pdftotext"))
  {
    GTEST_SKIP() << "needs mutool, pdftotext and a folder of documents in BREVEX_CORPUS";
  }
  const Tools::CCommandFolder folder;
  auto manifest = Support::ReadManifest();
  int nCompared = 0;
  for (const fs::path& path : Support::ListFiles("real"))
  {
    SCOPED_TRACE(path.filename());
    const std::string& sPassword = manifest["real/" + path.filename().string()].sPassword;
    const fs::path output = folder.GetPath("out.pdf");
    const auto result = folder.Run({"--password", sPassword, fs::absolute(path), output});
    EXPECT_EQ(result.nExitCode, 0) << result.sErr;
    EXPECT_LE(fs::file_size(output), fs::file_size(path));
    EXPECT_EQ(ReadText(output, sPassword), ReadText(path, sPassword));
    const std::string sPictures = ReadPictures(path, sPassword);
    nCompared += sPictures.empty() ? 0 : 1;
    EXPECT_EQ(ReadPictures(output, sPassword), sPictures);
  }
  EXPECT_GT(nCompared, 0);
}

}  // namespace
