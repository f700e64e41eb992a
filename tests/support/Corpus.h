#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace Support
{

// The folder of documents from the field: BREVEX_CORPUS, or one beside the source tree. Tests skip where it
// is absent.
std::filesystem::path GetCorpus();

struct TCorpusFile
{
  int nPages = 0;
  std::string sPassword;
};

// What the corpus says of its files, by their path in it.
std::map<std::string, TCorpusFile> ReadManifest();

// The files of a set, "real" or "damaged", sorted; none where it is absent.
std::vector<std::filesystem::path> ListFiles(const char* szSet);

}  // namespace Support
