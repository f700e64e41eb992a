// Files from the field: those that qpdf finds sound have to come out sound, with their pages; no other may
// crash or hang. The folder is BREVEX_CORPUS, or one beside the source tree.

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "tests/documents/Judges.h"
#include "tests/support/Corpus.h"
#include "tests/support/Process.h"
#include "tests/support/Saver.h"
#include "tests/support/TempFolder.h"

namespace
{

namespace fs = std::filesystem;
using Support::CSaver;
using Support::GetCorpus;
using Support::ListFiles;
using Support::ReadManifest;
using Support::TCorpusFile;

bool IsSoundInput(const fs::path& path, const std::string& sPassword)
{
  return Support::RunProgram({"qpdf", "--check", "--password=" + sPassword, path}).nExitCode == 0;
}

TEST(Corpus, SoundFilesStaySound)
{
  if (!fs::is_directory(GetCorpus() / "real") || !Support::HasProgram("qpdf"))
    GTEST_SKIP() << "needs qpdf and a folder of documents in BREVEX_CORPUS";
  std::map<std::string, TCorpusFile> manifest = ReadManifest();
  for (const fs::path& path : ListFiles("real"))
  {
    SCOPED_TRACE(path.filename());
    const TCorpusFile& file = manifest["real/" + path.filename().string()];
    CSaver saver;
    if (!saver.Open(Support::ReadFile(path), Support::TRoad::Memory, file.sPassword.c_str()))
    {
      ADD_FAILURE() << std::hex << saver.GetCode();
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

std::string ReadText(const std::string& sPdf, const std::string& sPassword)
{
  const Support::CTempFolder folder;
  Support::WriteFile(folder / "in.pdf", sPdf);
  return Support::RunProgram({"pdftotext", "-upw", sPassword, folder / "in.pdf", "-"}).sOut;
}

bool OpensWith(const std::string& sPdf, const char* szPassword)
{
  CSaver saver;
  const bool bOpen = saver.Open(sPdf, Support::TRoad::Memory, szPassword);
  EXPECT_TRUE(bOpen || saver.GetCode() == BREVEX_STATUS_WRONG_PASSWORD) << std::hex << saver.GetCode();
  return bOpen;
}

// Those that qpdf can decrypt open with their password alone, keep it, and read the same under a new one.
TEST(Corpus, EncryptedFilesOpenWithTheirPassword)
{
  if (!fs::is_directory(GetCorpus() / "real") || !Support::HasProgram("qpdf") ||
      !Support::HasProgram("pdftotext"))
    GTEST_SKIP() << "needs qpdf, pdftotext and a folder of documents in BREVEX_CORPUS";
  for (const auto& [sName, file] : ReadManifest())
  {
    const std::string sPassword = "--password=" + file.sPassword;
    if (sName.rfind("real/", 0) != 0 ||
        Support::RunProgram({"qpdf", sPassword, "--is-encrypted", GetCorpus() / sName}).nExitCode != 0)
      continue;
    SCOPED_TRACE(sName);
    const std::string sPdf = Support::ReadFile(GetCorpus() / sName);
    const std::string sMarked = "\xEF\xBB\xBF" + file.sPassword;
    EXPECT_EQ(OpensWith(sPdf, ""), file.sPassword.empty());
    EXPECT_FALSE(OpensWith(sPdf, "no such password"));
    CSaver saver;
    ASSERT_TRUE(saver.Open(sPdf, Support::TRoad::Memory, sMarked.c_str())) << std::hex << saver.GetCode();
    const std::string sText = ReadText(sPdf, file.sPassword);
    BrevexSetFlattenSignatureFields(saver.Get(), 1);
    BrevexSetOutputCipher(saver.Get(), BREVEX_CIPHER_AS_INPUT);
    const auto sKept = saver.SaveEncrypted(nullptr, nullptr, BREVEX_PERMISSIONS_AS_INPUT);
    ASSERT_TRUE(sKept) << std::hex << saver.GetCode();
    EXPECT_TRUE(OpensWith(*sKept, sMarked.c_str()));
    EXPECT_FALSE(OpensWith(*sKept, "no such password"));
    EXPECT_EQ(ReadText(*sKept, file.sPassword), sText);
    BrevexSetOutputCipher(saver.Get(), BREVEX_CIPHER_AES_256);
    const auto sNew = saver.SaveEncrypted("new", "owner", BREVEX_PERMISSIONS_AS_INPUT);
    ASSERT_TRUE(sNew) << std::hex << saver.GetCode();
    EXPECT_TRUE(OpensWith(*sNew, "new") && OpensWith(*sNew, "owner"));
    EXPECT_EQ(ReadText(*sNew, "new"), sText);
  }
}

TEST(Corpus, DamagedFilesAreSurvived)
{
  if (!fs::is_directory(GetCorpus() / "damaged"))
    GTEST_SKIP() << "needs a folder of documents in BREVEX_CORPUS";
  std::map<std::string, TCorpusFile> manifest = ReadManifest();
  for (const fs::path& path : ListFiles("damaged"))
  {
    SCOPED_TRACE(path.filename());
    const TCorpusFile& file = manifest["damaged/" + path.filename().string()];
    CSaver saver;
    if (saver.Open(Support::ReadFile(path), Support::TRoad::Memory, file.sPassword.c_str()))
      saver.Save();
    else
      EXPECT_TRUE(BREVEX_STATUS_IS_ERROR(saver.GetCode())) << std::hex << saver.GetCode();
  }
}

}  // namespace
