#include "tests/fonts/common/FontFiles.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace Fonts
{

namespace
{

// Of the many fonts of one family, which are much alike, so many.
constexpr std::size_t g_nSample = 24;

}  // namespace

std::vector<std::filesystem::path> ListFonts(const char* szEnding)
{
  const char* szFolders = std::getenv("BREVEX_FONTS");
  std::istringstream folders(szFolders ? szFolders
                                       : "/usr/share/fonts/truetype/dejavu:/usr/share/fonts/truetype/noto:"
                                         "/usr/share/fonts/opentype:/usr/share/fonts/type1");
  std::vector<std::filesystem::path> sample;
  for (std::string sFolder; std::getline(folders, sFolder, ':');)
  {
    std::error_code error;
    std::vector<std::filesystem::path> fonts;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(sFolder, error))
      if (entry.path().extension() == szEnding)
        fonts.push_back(entry.path());
    std::sort(fonts.begin(), fonts.end());
    const std::size_t nStep = szFolders ? 1 : std::max<std::size_t>(1, fonts.size() / g_nSample);
    for (std::size_t i = 0; i < fonts.size(); i += nStep)
      sample.push_back(fonts[i]);
  }
  return sample;
}

CBytes ReadBytes(const std::filesystem::path& path)
{
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

BSE::CBasicArray<unsigned char> ToArray(const CBytes& data)
{
  BSE::CBasicArray<unsigned char> array;
  array.Append(data);
  return array;
}

CBytes TakeBytes(BSE::CMemoryStream& stream)
{
  CBytes data(static_cast<std::size_t>(stream.GetLength()));
  stream.Rewind();
  stream.ReadFully(data.data(), stream.GetLength());
  return data;
}

}  // namespace Fonts
