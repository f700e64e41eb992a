// Files from the field: those that qpdf finds sound have to come out sound, with their pages; no other may
// crash or hang. The folder is BREVEX_CORPUS, or one beside the source tree.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "tests/documents/Judges.h"
#include "tests/support/Process.h"
#include "tests/support/Saver.h"
#include "tests/support/TempFolder.h"

namespace
{

namespace fs = std::filesystem;
using Support::CSaver;

fs::path GetCorpus()
{
  const char* szFolder = std::getenv("BREVEX_CORPUS");
  return szFolder != nullptr ? fs::path(szFolder) : fs::path("../shared/corpus");
}

struct TCorpusFile
{
  int nPages = 0;
  std::string sPassword;
};

// Columns of manifest.tsv: 0 the path, 7 the number of pages, 8 a password.
std::map<std::string, TCorpusFile> ReadManifest()
{
  std::map<std::string, TCorpusFile> files;
  std::ifstream manifest(GetCorpus() / "manifest.tsv");
  for (std::string sLine; std::getline(manifest, sLine);)
  {
    std::vector<std::string> columns;
    std::istringstream line(sLine);
    for (std::string sColumn; std::getline(line, sColumn, '\t');)
    {
      columns.push_back(sColumn);
    }
    if (columns.size() > 8)
    {
      files[columns[0]] = {std::atoi(columns[7].c_str()), columns[8]};
    }
  }
  return files;
}

std::vector<fs::path> ListFiles(const char* szSet)
{
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(GetCorpus() / szSet))
  {
    files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

bool IsSoundInput(const fs::path& path, const std::string& sPassword)
{
  return Support::RunProgram({"qpdf", "--check", "--password=" + sPassword, path}).nExitCode == 0;
}

// Encryption that the library does not know is refused, which is no fault of the road that is tested here.
bool IsUnknownEncryption(std::uint32_t nCode)
{
  return nCode == BREVEX_STATUS_UNKNOWN_ENCRYPTION || nCode == BREVEX_STATUS_UNKNOWN_SECURITY;
}

TEST(Corpus, SoundFilesStaySound)
{
  if (!fs::is_directory(GetCorpus() / "real") || !Support::HasProgram("qpdf"))
  {
    GTEST_SKIP() << "needs qpdf and a folder of documents in BREVEX_CORPUS";
  }
  std::map<std::string, TCorpusFile> manifest = ReadManifest();
  for (const fs::path& path : ListFiles("real"))
  {
    SCOPED_TRACE(path.filename());
    const TCorpusFile& file = manifest["real/" + path.filename().string()];
    CSaver saver;
    const bool bOpen = saver.Open(Support::ReadFile(path), Support::TRoad::Memory, file.sPassword.c_str());
    EXPECT_TRUE(bOpen || IsUnknownEncryption(saver.GetCode())) << std::hex << saver.GetCode();
    if (!bOpen)
    {
      continue;
    }
    EXPECT_EQ(BrevexGetPageCount(saver.Get()), file.nPages);
    const std::optional<std::string> sOut = saver.Save();
    EXPECT_TRUE(sOut) << std::hex << saver.GetCode();
    if (sOut && IsSoundInput(path, file.sPassword))
    {
      EXPECT_TRUE(Documents::Reopens(*sOut, file.nPages));
      EXPECT_TRUE(Documents::IsSound(*sOut));
    }
  }
}

TEST(Corpus, DamagedFilesAreSurvived)
{
  if (!fs::is_directory(GetCorpus() / "damaged"))
  {
    GTEST_SKIP() << "needs a folder of documents in BREVEX_CORPUS";
  }
  std::map<std::string, TCorpusFile> manifest = ReadManifest();
  for (const fs::path& path : ListFiles("damaged"))
  {
    SCOPED_TRACE(path.filename());
    const TCorpusFile& file = manifest["damaged/" + path.filename().string()];
    CSaver saver;
    if (saver.Open(Support::ReadFile(path), Support::TRoad::Memory, file.sPassword.c_str()))
    {
      saver.Save();
    }
    else
    {
      EXPECT_TRUE(BREVEX_STATUS_IS_ERROR(saver.GetCode())) << std::hex << saver.GetCode();
    }
  }
}

}  // namespace
