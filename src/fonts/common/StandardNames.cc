#include "fonts/common/StandardNames.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace FONT
{

namespace
{

constexpr std::string_view g_strings[g_nStandardStrings] = {
#include "fonts/common/StandardStrings.inc"
};

// Numbers in the order of their texts, for a search by halves.
constexpr auto g_sorted = []
{
  std::array<short, g_nStandardStrings> sorted{};
  for (int i = 0; i < g_nStandardStrings; ++i)
    sorted[static_cast<std::size_t>(i)] = static_cast<short>(i);
  std::sort(sorted.begin(), sorted.end(), [](short nA, short nB) { return g_strings[nA] < g_strings[nB]; });
  return sorted;
}();

struct TRun
{
  int m_nFirst;
  int m_nString;
  int m_nCount;
};

constexpr TRun g_standardEncoding[] = {
    {32, 1, 95},   {161, 96, 15}, {177, 111, 4}, {182, 115, 8}, {191, 123, 1}, {193, 124, 8}, {202, 132, 2},
    {205, 134, 4}, {225, 138, 1}, {227, 139, 1}, {232, 140, 4}, {241, 144, 1}, {245, 145, 1}, {248, 146, 4}};

constexpr TRun g_expertEncoding[] = {
    {32, 1, 1},    {33, 229, 2},  {36, 231, 8},  {44, 13, 3},   {47, 99, 1},   {48, 239, 10}, {58, 27, 2},
    {60, 249, 4},  {65, 253, 5},  {73, 258, 1},  {76, 259, 4},  {82, 263, 3},  {86, 266, 1},  {87, 109, 2},
    {89, 267, 3},  {93, 270, 34}, {161, 304, 3}, {166, 307, 5}, {172, 312, 1}, {175, 313, 1}, {178, 314, 2},
    {182, 316, 3}, {188, 158, 1}, {189, 155, 1}, {190, 163, 1}, {191, 319, 7}, {200, 326, 1}, {201, 150, 1},
    {202, 164, 1}, {203, 169, 1}, {204, 327, 52}};

constexpr TRun g_isoAdobeCharset[] = {{0, 0, 229}};

constexpr TRun g_expertCharset[] = {{0, 0, 2},     {2, 229, 10},  {12, 13, 3},   {15, 99, 1},   {16, 239, 10},
                                    {26, 27, 2},   {28, 249, 18}, {46, 109, 2},  {48, 267, 52}, {100, 158, 1},
                                    {101, 155, 1}, {102, 163, 1}, {103, 319, 8}, {111, 150, 1}, {112, 164, 1},
                                    {113, 169, 1}, {114, 327, 52}};

constexpr TRun g_expertSubsetCharset[] = {
    {0, 0, 2},    {2, 231, 2},  {4, 235, 4},   {8, 13, 3},   {11, 99, 1},  {12, 239, 10},
    {22, 27, 2},  {24, 249, 3}, {27, 253, 14}, {41, 109, 2}, {43, 267, 4}, {47, 272, 1},
    {48, 300, 3}, {51, 305, 1}, {52, 314, 2},  {54, 158, 1}, {55, 155, 1}, {56, 163, 1},
    {57, 320, 7}, {64, 150, 1}, {65, 164, 1},  {66, 169, 1}, {67, 327, 20}};

int FindInRuns(std::span<const TRun> runs, int n)
{
  for (const TRun& run : runs)
    if (n >= run.m_nFirst && n < run.m_nFirst + run.m_nCount)
      return run.m_nString + n - run.m_nFirst;
  return -1;
}

std::string_view GetView(TName name)
{
  return {name.data(), name.size()};
}

}  // namespace

bool IsSameName(TName a, TName b)
{
  return GetView(a) == GetView(b);
}

TName MakeName(const char* szName)
{
  return {szName, std::strlen(szName)};
}

TName MakeName(std::span<const unsigned char> bytes)
{
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::span<const unsigned char> GetNameBytes(TName name)
{
  return {reinterpret_cast<const unsigned char*>(name.data()), name.size()};
}

TName GetStandardString(int nString)
{
  return nString >= 0 && nString < g_nStandardStrings ? TName(g_strings[nString]) : TName();
}

int FindStandardString(TName name)
{
  const auto Less = [](short nString, std::string_view text) { return g_strings[nString] < text; };
  const auto* pFound = std::lower_bound(g_sorted.begin(), g_sorted.end(), GetView(name), Less);
  return pFound != g_sorted.end() && g_strings[*pFound] == GetView(name) ? *pFound : -1;
}

int GetStandardEncoding(int nCode)
{
  return std::max(0, FindInRuns(g_standardEncoding, nCode));
}

int GetExpertEncoding(int nCode)
{
  return std::max(0, FindInRuns(g_expertEncoding, nCode));
}

int GetCharsetString(int nCharset, int nGlyph)
{
  switch (nCharset)
  {
  case 0:
    return FindInRuns(g_isoAdobeCharset, nGlyph);
  case 1:
    return FindInRuns(g_expertCharset, nGlyph);
  case 2:
    return FindInRuns(g_expertSubsetCharset, nGlyph);
  default:
    return -1;
  }
}

}  // namespace FONT
