#include "base/ByteCursor.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace BSE
{
namespace
{

const std::vector<unsigned char> g_bytes = {0xFF, 0xFE, 0x01, 0x02, 0x03, 0x80, 0, 0, 1, 9, 8, 7};

TEST(ByteCursor, ReadsBigEndian)
{
  CByteCursor cursor(g_bytes);
  EXPECT_EQ(cursor.Int16(), -2);
  EXPECT_EQ(cursor.Card24(), 0x010203U);
  EXPECT_EQ(cursor.Int32(), std::numeric_limits<int>::min() + 1);
  EXPECT_EQ(cursor.Card(3), 0x090807U);
  EXPECT_TRUE(cursor.IsAtEnd());
  EXPECT_EQ(cursor.Card(0), 0U);
  EXPECT_FALSE(cursor.HasFailed());
  EXPECT_EQ(CByteCursor(g_bytes).Int8(), -1);
  EXPECT_EQ(CByteCursor(g_bytes).Card64(), 0xFFFE010203800000U);
}

TEST(ByteCursor, FailsForGood)
{
  CByteCursor cursor(g_bytes);
  cursor.Skip(10);
  EXPECT_EQ(cursor.Card32(), 0U);
  EXPECT_TRUE(cursor.HasFailed());
  EXPECT_EQ(cursor.GetOffset(), 10U);
  EXPECT_EQ(cursor.Card8(), 0U);
  EXPECT_TRUE(cursor.Take(0).empty());
  cursor.Seek(0);
  EXPECT_TRUE(cursor.HasFailed());
  EXPECT_EQ(cursor.Card8(), 0U);
}

TEST(ByteCursor, RefusesWildSizes)
{
  constexpr std::int64_t nMax = std::numeric_limits<std::int64_t>::max();
  const std::pair<std::int64_t, std::int64_t> cases[] = {{nMax, 2}, {nMax, nMax}, {-1, 4},
                                                         {4, -1},   {-2, -3},     {13, 1}};
  for (const auto& [nCount, nSize] : cases)
  {
    CByteCursor cursor(g_bytes);
    EXPECT_TRUE(cursor.Take(nCount, nSize).empty());
    EXPECT_TRUE(cursor.HasFailed()) << nCount << " of " << nSize;
  }
  CByteCursor whole(g_bytes);
  EXPECT_EQ(whole.Take(3, 4).size(), 12U);
  EXPECT_FALSE(whole.HasFailed());
  for (const std::int64_t nOffset :
       {std::int64_t{-1}, std::int64_t{13}, nMax, std::numeric_limits<std::int64_t>::min()})
  {
    EXPECT_TRUE(CByteCursor(g_bytes).GetPart(nOffset, 1).HasFailed()) << nOffset;
    CByteCursor cursor(g_bytes);
    cursor.Seek(nOffset);
    EXPECT_TRUE(cursor.HasFailed()) << nOffset;
  }
}

TEST(ByteCursor, PartsStayInside)
{
  CByteCursor cursor(g_bytes);
  cursor.Skip(1);
  CByteCursor part = cursor.GetPart(2, 3);
  EXPECT_EQ(part.Card24(), 0x010203U);
  EXPECT_TRUE(part.IsAtEnd());
  part.Card8();
  EXPECT_TRUE(part.HasFailed());
  EXPECT_FALSE(cursor.HasFailed());
  EXPECT_EQ(cursor.GetOffset(), 1U);
  EXPECT_EQ(cursor.GetPart(9).GetRemaining(), 3U);
  EXPECT_TRUE(cursor.GetPart(10, 3).HasFailed());
}

}  // namespace
}  // namespace BSE
