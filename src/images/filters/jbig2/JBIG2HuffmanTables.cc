#include "images/filters/jbig2/JBIG2HuffmanTable.h"

#include <array>

namespace BSE
{

namespace
{

// ITU-T T.88, annex B.5: the first number of a line, the length of its code, the bits after the code. Lines
// without a lower or an upper end have 32 of them.
constexpr TJBIG2HuffmanLine g_tableB1[] = {
    {0, 1, 4, eJBIG2Range}, {16, 2, 8, eJBIG2Range}, {272, 3, 16, eJBIG2Range}, {65808, 3, 32, eJBIG2Range}};
constexpr TJBIG2HuffmanLine g_tableB2[] = {
    {0, 1, 0, eJBIG2Range},  {1, 2, 0, eJBIG2Range},   {2, 3, 0, eJBIG2Range}, {3, 4, 3, eJBIG2Range},
    {11, 5, 6, eJBIG2Range}, {75, 6, 32, eJBIG2Range}, {0, 6, 0, eJBIG2None}};
constexpr TJBIG2HuffmanLine g_tableB3[] = {
    {-256, 8, 8, eJBIG2Range},  {0, 1, 0, eJBIG2Range},   {1, 2, 0, eJBIG2Range},
    {2, 3, 0, eJBIG2Range},     {3, 4, 3, eJBIG2Range},   {11, 5, 6, eJBIG2Range},
    {-257, 8, 32, eJBIG2Lower}, {75, 7, 32, eJBIG2Range}, {0, 6, 0, eJBIG2None}};
constexpr TJBIG2HuffmanLine g_tableB4[] = {{1, 1, 0, eJBIG2Range},  {2, 2, 0, eJBIG2Range},
                                           {3, 3, 0, eJBIG2Range},  {4, 4, 3, eJBIG2Range},
                                           {12, 5, 6, eJBIG2Range}, {76, 5, 32, eJBIG2Range}};
constexpr TJBIG2HuffmanLine g_tableB5[] = {
    {-255, 7, 8, eJBIG2Range}, {1, 1, 0, eJBIG2Range},  {2, 2, 0, eJBIG2Range},     {3, 3, 0, eJBIG2Range},
    {4, 4, 3, eJBIG2Range},    {12, 5, 6, eJBIG2Range}, {-256, 7, 32, eJBIG2Lower}, {76, 6, 32, eJBIG2Range}};
constexpr TJBIG2HuffmanLine g_tableB6[] = {
    {-2048, 5, 10, eJBIG2Range}, {-1024, 4, 9, eJBIG2Range}, {-512, 4, 8, eJBIG2Range},
    {-256, 4, 7, eJBIG2Range},   {-128, 5, 6, eJBIG2Range},  {-64, 5, 5, eJBIG2Range},
    {-32, 4, 5, eJBIG2Range},    {0, 2, 7, eJBIG2Range},     {128, 3, 7, eJBIG2Range},
    {256, 3, 8, eJBIG2Range},    {512, 4, 9, eJBIG2Range},   {1024, 4, 10, eJBIG2Range},
    {-2049, 6, 32, eJBIG2Lower}, {2048, 6, 32, eJBIG2Range}};
constexpr TJBIG2HuffmanLine g_tableB7[] = {
    {-1024, 4, 9, eJBIG2Range}, {-512, 3, 8, eJBIG2Range},   {-256, 4, 7, eJBIG2Range},
    {-128, 5, 6, eJBIG2Range},  {-64, 5, 5, eJBIG2Range},    {-32, 4, 5, eJBIG2Range},
    {0, 4, 5, eJBIG2Range},     {32, 5, 5, eJBIG2Range},     {64, 5, 6, eJBIG2Range},
    {128, 4, 7, eJBIG2Range},   {256, 3, 8, eJBIG2Range},    {512, 3, 9, eJBIG2Range},
    {1024, 3, 10, eJBIG2Range}, {-1025, 5, 32, eJBIG2Lower}, {2048, 5, 32, eJBIG2Range}};
constexpr TJBIG2HuffmanLine g_tableB8[] = {
    {-15, 8, 3, eJBIG2Range},  {-7, 9, 1, eJBIG2Range},    {-5, 8, 1, eJBIG2Range},
    {-3, 9, 0, eJBIG2Range},   {-2, 7, 0, eJBIG2Range},    {-1, 4, 0, eJBIG2Range},
    {0, 2, 1, eJBIG2Range},    {2, 5, 0, eJBIG2Range},     {3, 6, 0, eJBIG2Range},
    {4, 3, 4, eJBIG2Range},    {20, 6, 1, eJBIG2Range},    {22, 4, 4, eJBIG2Range},
    {38, 4, 5, eJBIG2Range},   {70, 5, 6, eJBIG2Range},    {134, 5, 7, eJBIG2Range},
    {262, 6, 7, eJBIG2Range},  {390, 7, 8, eJBIG2Range},   {646, 6, 10, eJBIG2Range},
    {-16, 9, 32, eJBIG2Lower}, {1670, 9, 32, eJBIG2Range}, {0, 2, 0, eJBIG2None}};
constexpr TJBIG2HuffmanLine g_tableB9[] = {
    {-31, 8, 4, eJBIG2Range},   {-15, 9, 2, eJBIG2Range},  {-11, 8, 2, eJBIG2Range},
    {-7, 9, 1, eJBIG2Range},    {-5, 7, 1, eJBIG2Range},   {-3, 4, 1, eJBIG2Range},
    {-1, 3, 1, eJBIG2Range},    {1, 3, 1, eJBIG2Range},    {3, 5, 1, eJBIG2Range},
    {5, 6, 1, eJBIG2Range},     {7, 3, 5, eJBIG2Range},    {39, 6, 2, eJBIG2Range},
    {43, 4, 5, eJBIG2Range},    {75, 4, 6, eJBIG2Range},   {139, 5, 7, eJBIG2Range},
    {267, 5, 8, eJBIG2Range},   {523, 6, 8, eJBIG2Range},  {779, 7, 9, eJBIG2Range},
    {1291, 6, 11, eJBIG2Range}, {-32, 9, 32, eJBIG2Lower}, {3339, 9, 32, eJBIG2Range},
    {0, 2, 0, eJBIG2None}};
constexpr TJBIG2HuffmanLine g_tableB10[] = {
    {-21, 7, 4, eJBIG2Range},  {-5, 8, 0, eJBIG2Range},    {-4, 7, 0, eJBIG2Range},
    {-3, 5, 0, eJBIG2Range},   {-2, 2, 2, eJBIG2Range},    {2, 5, 0, eJBIG2Range},
    {3, 6, 0, eJBIG2Range},    {4, 7, 0, eJBIG2Range},     {5, 8, 0, eJBIG2Range},
    {6, 2, 6, eJBIG2Range},    {70, 5, 5, eJBIG2Range},    {102, 6, 5, eJBIG2Range},
    {134, 6, 6, eJBIG2Range},  {198, 6, 7, eJBIG2Range},   {326, 6, 8, eJBIG2Range},
    {582, 6, 9, eJBIG2Range},  {1094, 6, 10, eJBIG2Range}, {2118, 7, 11, eJBIG2Range},
    {-22, 8, 32, eJBIG2Lower}, {4166, 8, 32, eJBIG2Range}, {0, 2, 0, eJBIG2None}};
constexpr TJBIG2HuffmanLine g_tableB11[] = {
    {1, 1, 0, eJBIG2Range},   {2, 2, 1, eJBIG2Range},  {4, 4, 0, eJBIG2Range},  {5, 4, 1, eJBIG2Range},
    {7, 5, 1, eJBIG2Range},   {9, 5, 2, eJBIG2Range},  {13, 6, 2, eJBIG2Range}, {17, 7, 2, eJBIG2Range},
    {21, 7, 3, eJBIG2Range},  {29, 7, 4, eJBIG2Range}, {45, 7, 5, eJBIG2Range}, {77, 7, 6, eJBIG2Range},
    {141, 7, 32, eJBIG2Range}};
constexpr TJBIG2HuffmanLine g_tableB12[] = {
    {1, 1, 0, eJBIG2Range},  {2, 2, 0, eJBIG2Range},  {3, 3, 1, eJBIG2Range},  {5, 5, 0, eJBIG2Range},
    {6, 5, 1, eJBIG2Range},  {8, 6, 1, eJBIG2Range},  {10, 7, 0, eJBIG2Range}, {11, 7, 1, eJBIG2Range},
    {13, 7, 2, eJBIG2Range}, {17, 7, 3, eJBIG2Range}, {25, 7, 4, eJBIG2Range}, {41, 8, 5, eJBIG2Range},
    {73, 8, 32, eJBIG2Range}};
constexpr TJBIG2HuffmanLine g_tableB13[] = {
    {1, 1, 0, eJBIG2Range},   {2, 3, 0, eJBIG2Range},  {3, 4, 0, eJBIG2Range},  {4, 5, 0, eJBIG2Range},
    {5, 4, 1, eJBIG2Range},   {7, 3, 3, eJBIG2Range},  {15, 6, 1, eJBIG2Range}, {17, 6, 2, eJBIG2Range},
    {21, 6, 3, eJBIG2Range},  {29, 6, 4, eJBIG2Range}, {45, 6, 5, eJBIG2Range}, {77, 7, 6, eJBIG2Range},
    {141, 7, 32, eJBIG2Range}};
constexpr TJBIG2HuffmanLine g_tableB14[] = {{-2, 3, 0, eJBIG2Range},
                                            {-1, 3, 0, eJBIG2Range},
                                            {0, 1, 0, eJBIG2Range},
                                            {1, 3, 0, eJBIG2Range},
                                            {2, 3, 0, eJBIG2Range}};
constexpr TJBIG2HuffmanLine g_tableB15[] = {
    {-24, 7, 4, eJBIG2Range}, {-8, 6, 2, eJBIG2Range}, {-4, 5, 1, eJBIG2Range}, {-2, 4, 0, eJBIG2Range},
    {-1, 3, 0, eJBIG2Range},  {0, 1, 0, eJBIG2Range},  {1, 3, 0, eJBIG2Range},  {2, 4, 0, eJBIG2Range},
    {3, 5, 1, eJBIG2Range},   {5, 6, 2, eJBIG2Range},  {9, 7, 4, eJBIG2Range},  {-25, 7, 32, eJBIG2Lower},
    {25, 7, 32, eJBIG2Range}};

constexpr std::array<std::span<const TJBIG2HuffmanLine>, 15> g_tables{
    g_tableB1, g_tableB2,  g_tableB3,  g_tableB4,  g_tableB5,  g_tableB6,  g_tableB7, g_tableB8,
    g_tableB9, g_tableB10, g_tableB11, g_tableB12, g_tableB13, g_tableB14, g_tableB15};

// A table whose codes leave no bits over is most likely typed without a mistake.
constexpr bool AreComplete()
{
  for (const auto& table : g_tables)
  {
    unsigned nCodes = 0;
    for (const TJBIG2HuffmanLine& line : table)
      nCodes += 1U << (16 - line.m_nLength);
    if (nCodes != 1U << 16)
      return false;
  }
  return true;
}
static_assert(AreComplete());

}  // namespace

std::span<const TJBIG2HuffmanLine> GetJBIG2StandardLines(int nTable)
{
  return g_tables[static_cast<unsigned>(nTable) - 1];
}

}  // namespace BSE
