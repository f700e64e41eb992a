// Documents that all show one picture, each coded with another part of JBIG2. The folder is BREVEX_CORPUS, or
// one beside the source tree.

#include "images/filters/jbig2/JBIG2DecodeFilter.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <set>

#include "tests/images/filters/FilterFixture.h"
#include "tests/support/TempFolder.h"

namespace BSE
{
namespace
{

namespace fs = std::filesystem;

std::vector<fs::path> GetDocuments()
{
  const char* szFolder = std::getenv("BREVEX_CORPUS");
  const fs::path folder = (szFolder != nullptr ? fs::path(szFolder) : fs::path("../shared/corpus")) / "real";
  std::vector<fs::path> documents;
  if (!fs::is_directory(folder))
    return documents;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder))
  {
    if (entry.path().filename().string().find("-bitmap-") != std::string::npos)
      documents.push_back(entry.path());
  }
  return documents;
}

// The number after a key of a dictionary.
size_t GetNumber(const std::string& pdf, size_t nPos, const std::string& key)
{
  return std::strtoul(pdf.c_str() + pdf.find(key, nPos) + key.size(), nullptr, 10);
}

// The data of the first stream whose dictionary follows a place.
std::string GetStream(const std::string& pdf, size_t nPos)
{
  const size_t nStart = pdf.find("stream\n", nPos) + 7;
  return pdf.substr(nStart, GetNumber(pdf, nPos, "/Length "));
}

std::string DecodeDocument(const fs::path& path, CReports& reports)
{
  const std::string pdf = Support::ReadFile(path);
  const size_t nFilter = pdf.find("/JBIG2Decode");
  const size_t nImage = pdf.rfind(" obj", nFilter);
  CJBIG2Parameters parameters;
  const std::string key = "/JBIG2Globals ";
  if (pdf.find(key) != std::string::npos)
  {
    const std::string object = "\n" + std::to_string(GetNumber(pdf, 0, key)) + " 0 obj";
    parameters.pGlobals = MakeSource(GetStream(pdf, pdf.find(object)));
  }
  return Decode<CJBIG2DecodeFilter>(GetStream(pdf, nImage), parameters, &reports);
}

TEST(JBIG2Corpus, AllShowTheSamePicture)
{
  const std::vector<fs::path> documents = GetDocuments();
  if (documents.empty())
    GTEST_SKIP() << "needs a folder of documents in BREVEX_CORPUS";
  std::set<std::string> pictures;
  for (const fs::path& path : documents)
  {
    CReports reports;
    const std::string rows = DecodeDocument(path, reports);
    EXPECT_EQ(rows.size(), 400U * 50) << path;
    EXPECT_EQ(reports.GetCodes(), CCodes{}) << path;
    pictures.insert(rows);
  }
  EXPECT_EQ(pictures.size(), 1U);
}

}  // namespace
}  // namespace BSE
