#include "pdf/linearize/PDLHints.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

// Reads big-endian fields of any width.
class CBits
{
public:
  explicit CBits(std::span<const unsigned char> bytes) : m_bytes(bytes) {}

  std::uint64_t Get(int nWidth)
  {
    std::uint64_t nValue = 0;
    for (; nWidth > 0; --nWidth, ++m_nPos)
      nValue = nValue << 1 | (m_bytes[m_nPos / 8] >> (7 - m_nPos % 8) & 1U);
    return nValue;
  }
  std::vector<std::uint64_t> GetColumn(size_t nCount, int nWidth, std::uint64_t nLeast)
  {
    std::vector<std::uint64_t> values;
    for (size_t i = 0; i < nCount; ++i)
      values.push_back(nLeast + Get(nWidth));
    m_nPos = (m_nPos + 7) / 8 * 8;
    return values;
  }
  bool IsAtEnd() const { return m_nPos == 8 * m_bytes.size(); }

private:
  std::span<const unsigned char> m_bytes;
  size_t m_nPos = 0;
};

using CValues = std::vector<std::uint64_t>;

TEST(PDLColumn, PacksAnyWidth)
{
  for (int nWidth = 0; nWidth <= 32; ++nWidth)
  {
    const std::uint64_t nLargest = (std::uint64_t{1} << nWidth) - 1;
    const CValues values = {nLargest, 0, nLargest / 3, nLargest / 2, nLargest};
    for (const bool bLeast : {false, true})
    {
      const std::uint64_t nLeast = bLeast && nWidth < 32 ? 1 : 0;
      PDLColumn column;
      for (const std::uint64_t nValue : values)
        column.Add(static_cast<std::int64_t>(nValue + nLeast));
      ASSERT_TRUE(column.Pack(bLeast, PDLColumn::g_nNarrowest));
      EXPECT_EQ(column.GetWidth(), nWidth);
      CBits bits(column.GetBytes());
      const auto nOffset = static_cast<std::uint64_t>(column.GetLeast()) - nLeast;
      EXPECT_EQ(bits.GetColumn(values.size(), column.GetWidth(), nOffset), values) << nWidth;
      EXPECT_TRUE(bits.IsAtEnd());
    }
  }
}

TEST(PDLColumn, RefusesWhatDoesNotFit)
{
  PDLColumn empty;
  ASSERT_TRUE(empty.Pack(true, 4));
  EXPECT_EQ(empty.GetWidth(), 0);
  EXPECT_TRUE(empty.GetBytes().empty());
  PDLColumn column;
  column.Add(16);
  EXPECT_FALSE(column.Pack(false, 4));
  EXPECT_TRUE(column.Pack(false, 5));
  EXPECT_TRUE(column.Pack(true, 4));
  column.Add(std::int64_t{1} << 32);
  EXPECT_FALSE(column.Pack(true, PDLColumn::g_nNarrowest));
}

TEST(PDLHints, LaysTablesOut)
{
  PDLHints hints;
  hints.m_nFirstPageLocation = 1000;
  hints.AddPage(5, 700);
  hints.AddPage(3, 450);
  hints.AddSharedReference(2);
  hints.AddSharedReference(6);
  hints.AddPage(4, 950);
  hints.AddSharedReference(5);
  hints.m_nSharedNumber = 8;
  hints.m_nSharedLocation = 3100;
  hints.m_nFirstPageEntries = 5;
  for (const int nLength : {100, 200, 150, 120, 130, 90, 80})
    hints.AddSharedObject(nLength);
  hints.m_outlines = {10, 3270, 2, 160};
  BSE::CBasicArray<unsigned char> data;
  ASSERT_TRUE(hints.Build(data));
  BSE::CBasicArray<unsigned char> entries;
  hints.AppendEntries(entries);
  CBits bits(data.GetSpan());
  const auto header = [&bits](std::initializer_list<int> widths)
  {
    CValues values;
    for (const int nWidth : widths)
      values.push_back(bits.Get(nWidth));
    return values;
  };
  EXPECT_EQ(header({32, 32, 16, 32, 16, 32, 16, 32, 16, 16, 16, 16, 16}),
            (CValues{3, 1000, 2, 450, 9, 0, 0, 0, 9, 2, 3, 4, 8}));
  EXPECT_EQ(bits.GetColumn(3, 2, 3), (CValues{5, 3, 4}));
  EXPECT_EQ(bits.GetColumn(3, 9, 450), (CValues{700, 450, 950}));
  EXPECT_EQ(bits.GetColumn(3, 2, 0), (CValues{0, 2, 1}));
  EXPECT_EQ(bits.GetColumn(3, 3, 0), (CValues{2, 6, 5}));
  EXPECT_EQ(bits.GetColumn(3, 4, 0), (CValues{0, 0, 0}));
  EXPECT_EQ(bits.GetColumn(3, 9, 450), (CValues{700, 450, 950}));
  EXPECT_EQ(header({32, 32, 32, 32, 16, 32, 16}), (CValues{8, 3100, 5, 7, 0, 80, 7}));
  EXPECT_EQ(bits.GetColumn(7, 7, 80), (CValues{100, 200, 150, 120, 130, 90, 80}));
  EXPECT_EQ(bits.GetColumn(7, 1, 0), (CValues{0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(header({32, 32, 32, 32}), (CValues{10, 3270, 2, 160}));
  EXPECT_TRUE(bits.IsAtEnd());
  EXPECT_EQ(std::string(entries.GetSpan().begin(), entries.GetSpan().end()), "/S 50/O 82");
}

TEST(PDLHints, RefusesPositionsBeyondTheirFields)
{
  PDLHints hints;
  hints.AddPage(1, 10);
  hints.AddSharedObject(10);
  hints.m_nSharedLocation = std::int64_t{1} << 32;
  BSE::CBasicArray<unsigned char> data;
  EXPECT_FALSE(hints.Build(data));
}

}  // namespace
