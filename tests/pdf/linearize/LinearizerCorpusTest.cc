// Documents from the field, written anew with and without object streams and linearized. The folder is
// BREVEX_CORPUS, or one beside the source tree.

#include "tests/pdf/linearize/LinearizeSupport.h"

#include <algorithm>
#include <cstdlib>

namespace
{

namespace fs = std::filesystem;

using Linearize::CLinearizedFile;

// The whole set takes minutes: every so many files are tried.
constexpr size_t g_nStep = 7;

std::vector<fs::path> GetDocuments()
{
  const char* szFolder = std::getenv("BREVEX_CORPUS");
  const fs::path folder = (szFolder != nullptr ? fs::path(szFolder) : fs::path("../shared/corpus")) / "real";
  std::vector<fs::path> documents;
  if (!fs::is_directory(folder))
    return documents;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder))
    if (entry.path().extension() == ".pdf")
      documents.push_back(entry.path());
  std::sort(documents.begin(), documents.end());
  return documents;
}

// The tool counts a page's forms, thumbnails and what the structure tree refers to elsewhere; and it minds
// names that were so in the input.
bool IsExpected(const std::string& sLine)
{
  const char* lines[] = {"end of first page section", "object count mismatch",
                         "in hint table but not computed list", "part 8 is empty", "name with stray #"};
  return std::any_of(std::begin(lines), std::end(lines),
                     [&sLine](const char* szLine) { return sLine.find(szLine) != std::string::npos; });
}

TEST(LinearizerCorpus, LinearizesRealDocuments)
{
  const std::vector<fs::path> documents = GetDocuments();
  if (documents.empty() || !Support::HasProgram("qpdf"))
    GTEST_SKIP() << "needs qpdf and a folder of documents in BREVEX_CORPUS";
  const Support::CTempFolder folder;
  int nDone = 0;
  for (size_t i = 0; i < documents.size(); i += g_nStep)
  {
    for (const char* szMode : {"generate", "disable"})
    {
      SCOPED_TRACE(documents[i].filename().string() + ", object streams: " + szMode);
      const Support::TProcessResult plain =
          Support::RunProgram({"qpdf", "--decrypt", std::string("--object-streams=") + szMode, documents[i],
                               folder / "plain.pdf"});
      if (plain.nExitCode != 0)
        continue;
      const std::string sLinear = Linearize::MustLinearize(Support::ReadFile(folder / "plain.pdf"));
      const Support::TProcessResult pages =
          Support::RunProgram({"qpdf", "--show-npages", folder / "plain.pdf"});
      EXPECT_EQ(std::to_string(CLinearizedFile(sLinear).m_nPages) + "\n", pages.sOut);
      for (const std::string& sLine : Linearize::GetComplaints(sLinear))
        EXPECT_TRUE(IsExpected(sLine)) << sLine;
      ++nDone;
    }
  }
  EXPECT_GT(nDone, 0);
}

}  // namespace
