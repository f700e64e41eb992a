// Memory follows one page, not the document (a save copies and forgets page by page).

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <sstream>

#include "tests/support/PdfBuilder.h"
#include "tests/support/Saver.h"
#include "tests/support/TempFolder.h"

namespace
{

constexpr size_t g_nPageBytes = 200000;

std::string MakeDocument(int nPages)
{
  std::mt19937 random(17);
  Support::CPdfBuilder builder;
  for (int i = 0; i < nPages; ++i)
  {
    std::string sContent(g_nPageBytes, ' ');
    for (char& c : sContent)
      c = "0123456789abcdef\n"[random() % 17];
    builder.AddPage("%" + sContent);
  }
  return builder.Build();
}

// A value of /proc/self/status in kilobytes; -1 without it.
long ReadStatus(const std::string& sKey)
{
  std::ifstream status("/proc/self/status");
  for (std::string sLine; std::getline(status, sLine);)
    if (sLine.rfind(sKey + ":", 0) == 0)
      return std::stol(sLine.substr(sKey.size() + 1));
  return -1;
}

// Kilobytes that a save from file to file took at its height. The document is freed before that.
long MeasureSave(int nPages)
{
  const Support::CTempFolder folder;
  Support::WriteFile(folder / "in.pdf", MakeDocument(nPages));
  Support::CSaver saver;
  std::ofstream("/proc/self/clear_refs") << "5";
  const long nBefore = ReadStatus("VmRSS");
  EXPECT_TRUE(BrevexOpenA(saver.Get(), (folder / "in.pdf").c_str(), nullptr));
  EXPECT_TRUE(
      BrevexSaveAsA(saver.Get(), (folder / "out.pdf").c_str(), nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN));
  return ReadStatus("VmHWM") - nBefore;
}

TEST(Memory, FollowsOnePage)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer keeps freed memory";
#endif
  if (ReadStatus("VmHWM") < 0)
    GTEST_SKIP() << "there is no /proc/self/status";
  const long nFew = MeasureSave(20);
  const long nMany = MeasureSave(200);
  RecordProperty("few", static_cast<int>(nFew));
  RecordProperty("many", static_cast<int>(nMany));
  EXPECT_LT(nMany - nFew, 8000) << nFew << " kB for 20 pages, " << nMany << " kB for 200 pages of 200 kB";
}

}  // namespace
