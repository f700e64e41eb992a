#include "base/MemoryStream.h"

#include "tests/base/TestStreams.h"

#include <gtest/gtest.h>

namespace test
{

namespace
{

TEST(MemoryStream, HoldsWhatWasWritten)
{
  for (const int nBlockSize : {1, 7, 100, 8192})
  {
    SCOPED_TRACE(nBlockSize);
    BSE::CMemoryStream stream(nBlockSize, nBlockSize);
    CheckRandomWriting(stream, 300);
  }
  const TBytes bytes = MakeBytes(10000);
  BSE::CMemoryStream stream(bytes.data(), std::ssize(bytes));
  EXPECT_EQ(stream.GetBlockAt(0).size(), bytes.size()) << "a copy stands in one block";
  CheckRandomReading(stream, bytes, 300);
}

TEST(MemoryStream, GapsAreZeroAndCostNothing)
{
  BSE::CMemoryStream stream(0, 16);
  const TBytes bytes(40, 0xAA);
  ASSERT_TRUE(WriteBytes(stream, bytes));
  ASSERT_TRUE(stream.SetLength(10));
  ASSERT_TRUE(stream.Seek(std::int64_t{1} << 30)) << "a far position needs no memory";
  EXPECT_EQ(stream.GetLength(), std::int64_t{1} << 30);
  ASSERT_TRUE(stream.Seek(100));
  ASSERT_TRUE(WriteBytes(stream, {1}));

  TBytes expected(120, 0);
  std::fill_n(expected.begin(), 10, static_cast<unsigned char>(0xAA));
  expected[100] = 1;
  ASSERT_TRUE(stream.SetLength(120));
  ASSERT_TRUE(stream.Rewind());
  EXPECT_EQ(ReadRest(stream), expected);
  EXPECT_FALSE(stream.GetBlockAt(50).empty());

  EXPECT_FALSE(stream.Seek(INT64_MAX));
  EXPECT_FALSE(stream.Seek(-200)) << "before the beginning";
  EXPECT_TRUE(stream.Seek(-1));
  EXPECT_EQ(stream.Tell(), 120);
}

TEST(MemoryStream, BlocksDoNotMove)
{
  BSE::CMemoryStream stream;
  ASSERT_TRUE(WriteBytes(stream, MakeBytes(100)));
  const unsigned char* pBlock = stream.GetBlockAt(0).data();
  ASSERT_TRUE(WriteBytes(stream, MakeBytes(1000000)));
  EXPECT_EQ(stream.GetBlockAt(0).data(), pBlock);
}

TEST(MemoryStream, DuplicatesShareTheDataAndOutliveTheFirst)
{
  BSE::CObjectPtr<BSE::CMemoryStream> pFirst(new BSE::CMemoryStream("0123456789", 10));
  ASSERT_TRUE(pFirst->Seek(4));
  BSE::CObjectPtr<BSE::CMemoryStream> pDup(dynamic_cast<BSE::CMemoryStream*>(pFirst->Dup()));
  ASSERT_TRUE(WriteBytes(*pFirst, {'a', 'b'}));
  EXPECT_EQ(pDup->Tell(), 4);
  pFirst.Reset();
  EXPECT_EQ(ReadRest(*pDup), (TBytes{'a', 'b', '6', '7', '8', '9'}));

  // A duplicate that is after a cut writes there, over zeros.
  BSE::CObjectPtr<BSE::CMemoryStream> pThird(dynamic_cast<BSE::CMemoryStream*>(pDup->Dup()));
  ASSERT_TRUE(pThird->SetLength(2));
  ASSERT_TRUE(WriteBytes(*pDup, {'x'}));
  ASSERT_TRUE(pThird->Rewind());
  EXPECT_EQ(ReadRest(*pThird), (TBytes{'0', '1', 0, 0, 0, 0, 0, 0, 0, 0, 'x'}));
}

}  // namespace

}  // namespace test
