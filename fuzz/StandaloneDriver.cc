// Runs a fuzz target without libFuzzer: every seed of a folder, then a number of mutations of them. The
// mutations depend on the seeds and the number alone, so a failing run can be repeated.
//
//   fuzz_NAME FOLDER-OR-FILE [RUNS]

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize);

namespace
{

using CBytes = std::vector<uint8_t>;

constexpr size_t g_nMaxGrowth = 64;

CBytes ReadFile(const std::filesystem::path& path)
{
  std::ifstream file(path, std::ios::binary);
  return CBytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::vector<CBytes> ReadSeeds(const std::filesystem::path& path)
{
  std::vector<std::filesystem::path> files;
  if (std::filesystem::is_directory(path))
  {
    for (const auto& entry : std::filesystem::directory_iterator(path))
      if (entry.is_regular_file())
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
  }
  else if (std::filesystem::exists(path))
    files.push_back(path);
  std::vector<CBytes> seeds;
  for (const auto& file : files)
    seeds.push_back(ReadFile(file));
  return seeds;
}

class CMutator
{
public:
  explicit CMutator(const std::vector<CBytes>& seeds) : m_seeds(seeds), m_random(1) {}

  CBytes Next()
  {
    CBytes bytes = m_seeds[Below(m_seeds.size())];
    for (size_t nLeft = 1 + Below(6); nLeft > 0; nLeft--)
      Mutate(bytes);
    return bytes;
  }

private:
  size_t Below(size_t nLimit) { return nLimit == 0 ? 0 : static_cast<size_t>(m_random() % nLimit); }

  void Mutate(CBytes& bytes)
  {
    if (bytes.empty())
    {
      bytes.push_back(static_cast<uint8_t>(m_random()));
      return;
    }
    const size_t nAt = Below(bytes.size());
    const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(nAt);
    const auto nLength = static_cast<std::ptrdiff_t>(1 + Below(std::min(bytes.size() - nAt, g_nMaxGrowth)));
    static constexpr uint8_t extremes[] = {0x00, 0x01, 0x7F, 0x80, 0xFE, 0xFF, '0', '9', '<', '>', '/', ' '};
    switch (m_random() % 6)
    {
    case 0:
      *at = static_cast<uint8_t>(*at ^ (1U << (m_random() % 8)));
      break;
    case 1:
      *at = extremes[Below(std::size(extremes))];
      break;
    case 2:
      bytes.erase(at, at + nLength);
      break;
    case 3:
    {
      const CBytes copy(at, at + nLength);
      bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(Below(bytes.size())), copy.begin(),
                   copy.end());
      break;
    }
    case 4:
      bytes.resize(nAt);
      break;
    default:
    {
      const CBytes& other = m_seeds[Below(m_seeds.size())];
      const size_t nFrom = Below(other.size());
      const size_t nCount = std::min({other.size() - nFrom, bytes.size() - nAt, g_nMaxGrowth});
      std::copy_n(other.begin() + static_cast<std::ptrdiff_t>(nFrom), nCount, at);
      break;
    }
    }
  }

  const std::vector<CBytes>& m_seeds;
  std::mt19937 m_random;
};

void Run(const CBytes& bytes)
{
  static const uint8_t nNothing = 0;
  LLVMFuzzerTestOneInput(bytes.empty() ? &nNothing : bytes.data(), bytes.size());
}

}  // namespace

int main(int argc, char** argv)
{
  if (argc < 2)
  {
    std::fprintf(stderr, "usage: %s FOLDER-OR-FILE [RUNS]\n", argv[0]);
    return 2;
  }
  const std::vector<CBytes> seeds = ReadSeeds(argv[1]);
  if (seeds.empty())
  {
    std::fprintf(stderr, "no seeds in %s\n", argv[1]);
    return 2;
  }
  for (const CBytes& seed : seeds)
    Run(seed);
  const long nRuns = argc > 2 ? std::strtol(argv[2], nullptr, 10) : 0;
  CMutator mutator(seeds);
  for (long nRun = 0; nRun < nRuns; nRun++)
    Run(mutator.Next());
  std::printf("%zu seeds, %ld mutations\n", seeds.size(), nRuns);
  return 0;
}
