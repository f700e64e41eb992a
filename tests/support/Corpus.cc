#include "tests/support/Corpus.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace Support
{

namespace fs = std::filesystem;

fs::path GetCorpus()
{
  const char* szFolder = std::getenv("BREVEX_CORPUS");
  return szFolder != nullptr ? fs::path(szFolder) : fs::path("../shared/corpus");
}

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
      columns.push_back(sColumn);
    if (columns.size() > 8)
      files[columns[0]] = {std::atoi(columns[7].c_str()), columns[8]};
  }
  return files;
}

std::vector<fs::path> ListFiles(const char* szSet)
{
  std::vector<fs::path> files;
  std::error_code absent;
  for (const auto& entry : fs::directory_iterator(GetCorpus() / szSet, absent))
    files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace Support
