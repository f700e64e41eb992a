// What the command does with files: outputs that appear whole or not at all, never larger, many inputs.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/PdfBuilder.h"
#include "tests/tools/Command.h"

namespace
{

using Support::TProcessResult;
using Tools::CCommandFolder;

bool IsPdf(const std::string& sBytes)
{
  return sBytes.rfind("%PDF-", 0) == 0;
}

TEST(CommandFiles, WritesSmallerOutput)
{
  const CCommandFolder folder;
  const TProcessResult result = folder.Run({"large.pdf", "out.pdf"});
  EXPECT_EQ(result.nExitCode, 0) << result.sErr;
  EXPECT_EQ(result.sOut, "");
  EXPECT_TRUE(IsPdf(folder.Read("out.pdf")));
  EXPECT_LT(folder.Read("out.pdf").size(), folder.Read("large.pdf").size());
  EXPECT_EQ(folder.Read("large.pdf"), CCommandFolder::MakeLarge());
  EXPECT_EQ(folder.CountEntries(), 3) << "temporary files are left";
}

TEST(CommandFiles, NeverLargerUnlessAsked)
{
  const CCommandFolder folder;
  TProcessResult result = folder.Run({"tiny.pdf", "out.pdf"});
  EXPECT_EQ(result.nExitCode, 0) << result.sErr;
  EXPECT_NE(result.sErr.find("no gain"), std::string::npos) << result.sErr;
  EXPECT_EQ(folder.Read("out.pdf"), CCommandFolder::MakeTiny());

  EXPECT_EQ(folder.Run({"--allow-larger", "tiny.pdf", "larger.pdf"}).nExitCode, 0);
  EXPECT_GT(folder.Read("larger.pdf").size(), CCommandFolder::MakeTiny().size());
  EXPECT_EQ(folder.Run({"--info", "Title=New", "tiny.pdf", "titled.pdf"}).nExitCode, 0);
  EXPECT_NE(folder.Run({"info", "titled.pdf"}).sOut.find("New"), std::string::npos);
}

// Another reader may open nothing of what was repaired here.
TEST(CommandFiles, CopiesNoDamage)
{
  const CCommandFolder folder;
  const std::string sTiny = CCommandFolder::MakeTiny();
  folder.Write("damaged.pdf", sTiny.substr(0, sTiny.rfind("xref", sTiny.rfind("startxref") - 1)));
  const TProcessResult result = folder.Run({"damaged.pdf", "out.pdf"});
  EXPECT_EQ(result.nExitCode, 0) << result.sErr;
  EXPECT_NE(folder.Read("out.pdf").find("startxref"), std::string::npos);
}

TEST(CommandFiles, StandardInputAndOutput)
{
  const CCommandFolder folder;
  const TProcessResult result = folder.Run({"-", "-"}, CCommandFolder::MakeLarge());
  EXPECT_EQ(result.nExitCode, 0) << result.sErr;
  EXPECT_TRUE(IsPdf(result.sOut));
  EXPECT_LT(result.sOut.size(), CCommandFolder::MakeLarge().size());
  EXPECT_EQ(folder.Run({"-", "-"}, CCommandFolder::MakeTiny()).sOut, CCommandFolder::MakeTiny());
  EXPECT_EQ(folder.Run({"-", "out.pdf"}, CCommandFolder::MakeLarge()).nExitCode, 0);
  EXPECT_EQ(folder.Run({"large.pdf", "/dev/stdout"}).sOut.substr(0, 5), "%PDF-");
  EXPECT_EQ(folder.Run({"-", "-"}, "no document").nExitCode, 3);
}

TEST(CommandFiles, InPlaceKeepsMode)
{
  const CCommandFolder folder;
  ASSERT_EQ(chmod(folder.GetPath("large.pdf").c_str(), 0640), 0);
  EXPECT_EQ(folder.Run({"--in-place", "large.pdf", "tiny.pdf"}).nExitCode, 0);
  EXPECT_LT(folder.Read("large.pdf").size(), CCommandFolder::MakeLarge().size());
  EXPECT_EQ(folder.Read("tiny.pdf"), CCommandFolder::MakeTiny());
  struct stat status
  {
  };
  ASSERT_EQ(stat(folder.GetPath("large.pdf").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
  EXPECT_EQ(folder.CountEntries(), 2);
}

TEST(CommandFiles, OutputOverInput)
{
  const CCommandFolder folder;
  std::filesystem::create_symlink("large.pdf", folder.GetPath("link.pdf"));
  EXPECT_EQ(folder.Run({"large.pdf", "link.pdf"}).nExitCode, 0);
  EXPECT_TRUE(std::filesystem::is_symlink(folder.GetPath("link.pdf")));
  EXPECT_LT(folder.Read("large.pdf").size(), CCommandFolder::MakeLarge().size());
  EXPECT_TRUE(IsPdf(folder.Read("large.pdf")));
}

// Saved in the order for a fast display this document is larger, and smaller without it.
TEST(CommandFiles, OrderGivesWayToSize)
{
  const CCommandFolder folder;
  Support::CPdfBuilder builder;
  builder.AddPage(std::string(300, ' '));
  const std::string sInput = builder.Build();
  folder.Write("in.pdf", sInput);
  EXPECT_EQ(folder.Run({"--profile", "web", "in.pdf", "out.pdf"}).nExitCode, 0);
  EXPECT_LT(folder.Read("out.pdf").size(), sInput.size());
  EXPECT_EQ(folder.Read("out.pdf").find("/Linearized"), std::string::npos);
  // With object streams the order is left at once where it costs much.
  for (const bool bPack : {false, true})
  {
    const std::string sForm = bPack ? "--linearize-object-streams" : "--no-linearize-object-streams";
    EXPECT_EQ(folder.Run({"--profile", "web", "--auto-linearize", sForm, "in.pdf", "out.pdf"}).nExitCode, 0);
    EXPECT_EQ(folder.Read("out.pdf").size() > sInput.size(), !bPack);
    EXPECT_EQ(folder.Read("out.pdf").find("/Linearized") != std::string::npos, !bPack);
  }
  EXPECT_EQ(folder.Run({"--profile", "web", "large.pdf", "out.pdf"}).nExitCode, 0);
  const std::vector<std::string> asked = {"--profile", "web",    "--linearize", "--pdf-version",
                                          "2.0",       "in.pdf", "out.pdf"};
  EXPECT_EQ(folder.Run(asked).nExitCode, 0);
  EXPECT_NE(folder.Read("out.pdf").find("/Linearized"), std::string::npos) << "asked for, not a profile's";
  EXPECT_EQ(folder.Run({"--profile", "web", "tiny.pdf", "out.pdf"}).nExitCode, 0);
  EXPECT_EQ(folder.Read("out.pdf"), CCommandFolder::MakeTiny());
}

TEST(CommandFiles, FailureLeavesOldOutput)
{
  const CCommandFolder folder;
  folder.Write("broken.pdf", "no document");
  folder.Write("out.pdf", "old");
  EXPECT_EQ(folder.Run({"broken.pdf", "out.pdf"}).nExitCode, 3);
  EXPECT_EQ(folder.Read("out.pdf"), "old");
  EXPECT_EQ(folder.Run({"--in-place", "broken.pdf"}).nExitCode, 3);
  EXPECT_EQ(folder.Read("broken.pdf"), "no document");
  EXPECT_EQ(folder.CountEntries(), 4);
}

TEST(CommandFiles, OutputThatCannotBeWritten)
{
  const CCommandFolder folder;
  EXPECT_EQ(folder.Run({"large.pdf", "none/out.pdf"}).nExitCode, 4);
  EXPECT_EQ(folder.Run({"large.pdf", "/dev/full"}).nExitCode, 4);
  EXPECT_EQ(folder.Run({"--output-dir", "tiny.pdf/below", "large.pdf"}).nExitCode, 4);
  if (geteuid() != 0)
  {
    ASSERT_EQ(chmod(folder.GetPath("").c_str(), 0555), 0);
    EXPECT_EQ(folder.Run({"large.pdf", "out.pdf"}).nExitCode, 4);
    EXPECT_EQ(chmod(folder.GetPath("").c_str(), 0755), 0);
  }
  EXPECT_EQ(folder.CountEntries(), 2);
}

// Nobody reads the pipe, so the command waits with its temporary file complete.
TEST(CommandFiles, InterruptionLeavesNothing)
{
  const CCommandFolder folder;
  ASSERT_EQ(mkfifo(folder.GetPath("pipe").c_str(), 0600), 0);
  const TProcessResult result = Support::RunProgram(
      {"env", "TMPDIR=.", "timeout", "1", BREVEX_PROGRAM, "large.pdf", "pipe"}, {}, folder.GetPath(""));
  EXPECT_EQ(result.nExitCode, 124) << result.sErr;
  EXPECT_EQ(folder.CountEntries(), 3);
}

// Whenever the signal comes, each file is the old one or the new one, and there is no other.
TEST(CommandFiles, InterruptionInPlaceLosesNothing)
{
  const CCommandFolder folder;
  std::filesystem::create_directory(folder.GetPath("in"));
  const std::string sLarge = CCommandFolder::MakeLarge();
  for (int i = 0; i < 60; ++i)
  {
    folder.Write("in/" + std::to_string(i) + ".pdf", sLarge);
  }
  for (int nWait = 0; nWait < 10; ++nWait)
  {
    const std::string sScript = "'" + std::string(BREVEX_PROGRAM) +
                                "' -q -i -r -j 3 --profile none in & sleep 0.0" + std::to_string(nWait) +
                                "; kill -TERM $!; wait $!";
    const TProcessResult result = Support::RunProgram({"sh", "-c", sScript}, {}, folder.GetPath("").string());
    EXPECT_TRUE(result.nExitCode == 143 || result.nExitCode == 0) << result.nExitCode << result.sErr;
    int nFiles = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder.GetPath("in")))
    {
      const std::string sBytes = Support::ReadFile(entry.path());
      EXPECT_TRUE(sBytes == sLarge || sBytes.ends_with("%%EOF\n")) << entry.path();
      EXPECT_EQ(entry.path().extension(), ".pdf");
      ++nFiles;
    }
    EXPECT_EQ(nFiles, 60);
  }
}

TEST(CommandFiles, LimitedFileSizeIsAFailedWrite)
{
  const CCommandFolder folder;
  rlimit old{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
  const rlimit small{100, old.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const int nExitCode = folder.Run({"large.pdf", "out.pdf"}).nExitCode;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &old), 0);
  EXPECT_EQ(nExitCode, 4);
  EXPECT_EQ(folder.CountEntries(), 2);
}

TEST(CommandFiles, LostReportIsAFailedWrite)
{
  const CCommandFolder folder;
  const std::string sScript = std::string(BREVEX_PROGRAM) + " --json large.pdf out.pdf > /dev/full";
  EXPECT_EQ(Support::RunProgram({"sh", "-c", sScript}, {}, folder.GetPath("").string()).nExitCode, 4);
  EXPECT_TRUE(folder.Exists("out.pdf"));
}

TEST(CommandFiles, FoldersAndJobs)
{
  const CCommandFolder folder;
  std::filesystem::create_directories(folder.GetPath("in/deep/er"));
  folder.Write("in/a.pdf", CCommandFolder::MakeLarge());
  folder.Write("in/deep/b.PDF", CCommandFolder::MakeLarge());
  folder.Write("in/deep/er/c.pdf", CCommandFolder::MakeTiny());
  folder.Write("in/deep/er/note.txt", "no document");
  const TProcessResult result = folder.Run({"-r", "-j", "4", "-o", "out", "in", "large.pdf"});
  EXPECT_EQ(result.nExitCode, 0) << result.sErr;
  for (const char* szName : {"out/a.pdf", "out/deep/b.PDF", "out/deep/er/c.pdf", "out/large.pdf"})
  {
    EXPECT_TRUE(folder.Exists(szName)) << szName;
  }
  EXPECT_FALSE(folder.Exists("out/deep/er/note.txt"));
  EXPECT_NE(result.sErr.find("4 files"), std::string::npos) << result.sErr;
}

TEST(CommandFiles, FoldersThatCannotBeReadAreTold)
{
  if (geteuid() == 0)
  {
    GTEST_SKIP() << "root reads every folder";
  }
  const CCommandFolder folder;
  std::filesystem::create_directories(folder.GetPath("in/closed"));
  folder.Write("in/a.pdf", CCommandFolder::MakeLarge());
  ASSERT_EQ(chmod(folder.GetPath("in/closed").c_str(), 0), 0);
  const TProcessResult result = folder.Run({"-r", "-o", "out", "in"});
  EXPECT_EQ(chmod(folder.GetPath("in/closed").c_str(), 0700), 0);
  EXPECT_EQ(result.nExitCode, 3);
  EXPECT_NE(result.sErr.find("in/closed"), std::string::npos) << result.sErr;
  EXPECT_TRUE(folder.Exists("out/a.pdf"));
}

// There is room for a stack or two: the threads that could be started do the work.
TEST(CommandFiles, FewerThreadsThanAskedFor)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer takes more than the limit";
#endif
  const CCommandFolder folder;
  const std::string sScript =
      "ulimit -s 4000000; ulimit -v 10000000; '" + std::string(BREVEX_PROGRAM) +
      "' -j 99 -o out $(for i in $(seq 99); do cp tiny.pdf $i.pdf; echo $i.pdf; done)";
  const TProcessResult result = Support::RunProgram({"sh", "-c", sScript}, {}, folder.GetPath("").string());
  EXPECT_EQ(result.nExitCode, 0) << result.sErr;
  EXPECT_EQ(folder.Read("out/99.pdf"), CCommandFolder::MakeTiny());
}

TEST(CommandFiles, WorstExitCodeOfMany)
{
  const CCommandFolder folder;
  folder.Write("broken.pdf", "no document");
  const TProcessResult result = folder.Run({"-o", "out", "broken.pdf", "large.pdf", "absent.pdf"});
  EXPECT_EQ(result.nExitCode, 3);
  EXPECT_TRUE(folder.Exists("out/large.pdf")) << "one failure must not stop the others";
  EXPECT_FALSE(folder.Exists("out/broken.pdf"));
}

}  // namespace
