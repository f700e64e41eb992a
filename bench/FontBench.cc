// What it costs to subset fonts: reads each program, marks glyphs as the fonts of documents do, subsets and
// writes it, and prints milliseconds, sizes and the peak of memory. With a folder the subsets are written
// there, each with a list of its glyphs, to compare them with those of other programs.
//
//   font_bench GLYPHS USAGE FOLDER|- FONT...

#include "base/MemoryStream.h"
#include "fonts/pdf/FontProgram.h"

#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <string>

namespace
{

using CTime = std::chrono::duration<double, std::milli>;

class CStep
{
public:
  double GetTime() const { return CTime(std::chrono::steady_clock::now() - m_start).count(); }

private:
  std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

double GetPeak()
{
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) / 1024;
}

bool Load(const char* szPath, BSE::CBasicArray<unsigned char>& data)
{
  std::ifstream file(szPath, std::ios::binary | std::ios::ate);
  data.SetSize(static_cast<int>(file.tellg()));
  file.seekg(0);
  return static_cast<bool>(file.read(reinterpret_cast<char*>(data.GetData()), data.GetSize()));
}

std::set<int> Mark(PDF::CFontProgram& program, int nGlyphs)
{
  std::minstd_rand random(static_cast<unsigned>(program.GetGlyphCount()));
  const std::span<unsigned char> used = program.GetUsedGlyphs();
  for (int i = 0; i < nGlyphs && !used.empty(); ++i)
    used[random() % used.size()] = 1;
  std::set<int> marked;
  for (std::size_t i = 0; i < used.size(); ++i)
    if (used[i] != 0)
      marked.insert(static_cast<int>(i));
  return marked;
}

void Keep(const std::filesystem::path& path, BSE::CMemoryStream& stream, const std::set<int>& glyphs)
{
  std::string sData(static_cast<std::size_t>(stream.GetLength()), '\0');
  stream.Rewind();
  stream.ReadFully(reinterpret_cast<unsigned char*>(sData.data()), stream.GetLength());
  std::ofstream(path, std::ios::binary) << sData;
  std::ofstream list(path.string() + ".glyphs");
  for (const int nGlyph : glyphs)
    list << nGlyph << ',';
}

void Measure(const char* szPath, int nGlyphs, unsigned nUsage, const std::string& sFolder)
{
  BSE::CBasicArray<unsigned char> data;
  if (!Load(szPath, data))
    return;
  const int nSize = data.GetSize();
  const CStep reading;
  BSE::CScopedPtr<PDF::CFontProgram> pProgram = PDF::CFontProgram::Create(std::move(data), "", true, nullptr);
  if (!pProgram)
    return;
  const double dRead = reading.GetTime();
  const std::set<int> marked = Mark(*pProgram, nGlyphs);
  const CStep subsetting;
  if (BSE::CScopedPtr<PDF::CFontProgram> pBare = pProgram->ToBareCFF())
    pProgram = std::move(pBare);
  const bool bSubset = pProgram->CanSubset() && pProgram->Subset(nUsage);
  const double dSubset = subsetting.GetTime();
  const CStep writing;
  const BSE::CObjectPtr<BSE::CMemoryStream> pStream(new BSE::CMemoryStream);
  if (!pProgram->Write(*pStream, nUsage, nullptr))
    return;
  std::printf("%9d bytes, read %8.2f ms, %s %8.2f ms, written %7.2f ms, %8d bytes, peak %6.1f MB: %s\n",
              nSize, dRead, bSubset ? "subset" : "whole ", dSubset, writing.GetTime(),
              static_cast<int>(pStream->GetLength()), GetPeak(), szPath);
  if (sFolder != "-")
    Keep(std::filesystem::path(sFolder) / std::filesystem::path(szPath).filename(), *pStream, marked);
}

}  // namespace

int main(int nArguments, char** pArguments)
{
  if (nArguments < 5)
  {
    std::fprintf(stderr, "usage: font_bench GLYPHS USAGE FOLDER|- FONT...\n");
    return 2;
  }
  const CStep all;
  for (int i = 4; i < nArguments; ++i)
    Measure(pArguments[i], std::atoi(pArguments[1]), static_cast<unsigned>(std::atoi(pArguments[2])),
            pArguments[3]);
  std::printf("%.1f ms in all\n", all.GetTime());
  return 0;
}
