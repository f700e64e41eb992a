#include "tests/fonts/common/FontFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
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

void ExpectSamePath(const FONT::CGlyph& glyph, const TGlyph& expected)
{
  std::vector<std::pair<double, double>> points;
  std::size_t nStart = 0;
  const auto Close = [&]
  {
    // To FreeType a last point that is the first one again is none, and neither is a line of no length.
    if (points.size() > nStart + 1 && points.back() == points[nStart])
      points.pop_back();
    nStart = points.size();
  };
  for (const FONT::TSegment& segment : glyph.m_segments.GetSpan())
  {
    if (segment.m_nKind == FONT::TSegment::eHints)
      continue;
    if (segment.m_nKind == FONT::TSegment::eMove)
      Close();
    if (segment.m_nKind == FONT::TSegment::eLine &&
        points.back() == std::make_pair(segment.GetX(), segment.GetY()))
      continue;
    for (int i = segment.m_nKind == FONT::TSegment::eCurve ? 0 : 4; i < 6; i += 2)
      points.emplace_back(segment.m_d[i], segment.m_d[i + 1]);
  }
  Close();
  // FreeType counts fractions of a unit in its own way.
  for (const auto& [dX, dY] : points)
    if (dX != std::floor(dX) || dY != std::floor(dY))
      return;
  ASSERT_EQ(points.size(), expected.m_points.size());
  // The two letters of an accented one may come in any order.
  std::vector<std::pair<long, long>> others = expected.m_points;
  std::sort(points.begin(), points.end());
  std::sort(others.begin(), others.end());
  for (std::size_t i = 0; i < points.size(); ++i)
  {
    ASSERT_LE(std::abs(points[i].first - static_cast<double>(others[i].first)), 1);
    ASSERT_LE(std::abs(points[i].second - static_cast<double>(others[i].second)), 1);
  }
}

}  // namespace Fonts
