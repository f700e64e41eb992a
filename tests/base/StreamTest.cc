#include "base/Stream.h"

#include "base/BufferedInputStream.h"
#include "base/EmbeddedStream.h"
#include "base/MemoryStream.h"
#include "tests/base/TestStreams.h"

#include <gtest/gtest.h>

namespace test
{

namespace
{

std::int64_t Draw(std::minstd_rand& random, std::int64_t nMax)
{
  return std::uniform_int_distribution<std::int64_t>(0, nMax)(random);
}

void CheckRead(BSE::IByteStream& stream, const TBytes& bytes, std::int64_t nPos, std::int64_t n)
{
  TBytes read(static_cast<std::size_t>(n), 0xEE);
  const std::int64_t nExpected = std::min(n, std::max<std::int64_t>(std::ssize(bytes) - nPos, 0));
  ASSERT_EQ(stream.ReadAll(read.data(), n), nExpected) << "at " << nPos;
  ASSERT_TRUE(std::equal(read.begin(), read.begin() + nExpected, bytes.begin() + nPos)) << "at " << nPos;
  for (std::int64_t i = nExpected; i < n; ++i)
    ASSERT_EQ(read[static_cast<std::size_t>(i)], 0xEE) << "written behind the end";
}

}  // namespace

void CheckRandomReading(BSE::IByteStream& stream, const TBytes& bytes, int nSteps, unsigned nSeed)
{
  std::minstd_rand random(nSeed);
  const std::int64_t nLength = std::ssize(bytes);
  std::int64_t nPos = 0;
  for (int i = 0; i < nSteps && !testing::Test::HasFatalFailure(); ++i)
  {
    SCOPED_TRACE(testing::Message() << "step " << i);
    const std::int64_t n = Draw(random, Draw(random, 3) == 0 ? nLength : 20);
    switch (Draw(random, 3))
    {
    case 0:
      nPos = Draw(random, nLength);
      ASSERT_TRUE(stream.Seek(nPos));
      break;
    case 1:
      ASSERT_EQ(stream.Skip(n), n <= nLength - nPos);
      nPos = std::min(nPos + n, nLength);
      break;
    case 2:
      if (Draw(random, 9) == 0)
      {
        ASSERT_TRUE(stream.Seek(-1));
        nPos = nLength;
      }
      break;
    default:
      CheckRead(stream, bytes, nPos, n);
      nPos = std::min(nPos + n, nLength);
    }
    ASSERT_EQ(stream.Tell(), nPos);
  }
  ASSERT_TRUE(stream.Rewind());
  ASSERT_EQ(ReadRest(stream), bytes);
}

void CheckRandomWriting(BSE::IByteStream& stream, int nSteps, unsigned nSeed)
{
  std::minstd_rand random(nSeed);
  TBytes bytes;
  for (int i = 0; i < nSteps && !testing::Test::HasFatalFailure(); ++i)
  {
    SCOPED_TRACE(testing::Message() << "step " << i);
    const std::int64_t nPos = Draw(random, 2) == 0 ? Draw(random, std::ssize(bytes)) : std::ssize(bytes);
    const TBytes block = MakeBytes(static_cast<std::size_t>(Draw(random, Draw(random, 9) == 0 ? 5000 : 30)),
                                   static_cast<unsigned>(i + 1));
    ASSERT_TRUE(stream.Seek(nPos));
    ASSERT_TRUE(WriteBytes(stream, block));
    bytes.resize(static_cast<std::size_t>(std::max(std::ssize(bytes), nPos + std::ssize(block))));
    std::copy(block.begin(), block.end(), bytes.begin() + nPos);
    ASSERT_EQ(stream.Tell(), nPos + std::ssize(block));
    ASSERT_EQ(stream.GetLength(), std::ssize(bytes));
    const std::int64_t nRead = Draw(random, std::ssize(bytes));
    ASSERT_TRUE(stream.Seek(nRead));
    CheckRead(stream, bytes, nRead, Draw(random, 100));
  }
  ASSERT_TRUE(stream.Rewind());
  ASSERT_EQ(ReadRest(stream), bytes);
}

namespace
{

TEST(Stream, CopyGoesThroughShortReadsAndWrites)
{
  const TBytes bytes = MakeBytes(20000);
  for (const std::int64_t nMaxCall : {1, 7, 8192, 1 << 20})
  {
    CFaultyStream source(bytes);
    CFaultyStream target;
    source.m_nMaxCall = nMaxCall;
    target.m_nMaxCall = 3 * nMaxCall / 2 + 1;
    EXPECT_TRUE(target.CopyFrom(&source, -1, true));
    EXPECT_EQ(target.m_bytes, bytes);
  }
}

TEST(Stream, CopyEndsAsAsked)
{
  const TBytes bytes = MakeBytes(100);
  struct TCase
  {
    std::int64_t m_nCount;
    bool m_bPad;
    std::size_t m_nExpected;
  };
  for (const TCase& c : {TCase{40, false, 40}, TCase{40, true, 40}, TCase{20000, false, 100},
                         TCase{20000, true, 20000}, TCase{0, true, 0}})
  {
    CFaultyStream source(bytes);
    CFaultyStream target;
    EXPECT_TRUE(target.CopyFrom(&source, c.m_nCount, c.m_bPad));
    TBytes expected = bytes;
    expected.resize(c.m_nExpected);
    EXPECT_EQ(target.m_bytes, expected) << c.m_nCount;
  }
}

TEST(Stream, CopyFailsWithEitherSide)
{
  CFaultyStream source(MakeBytes(100));
  CFaultyStream target;
  source.m_nFailFrom = 50;
  EXPECT_FALSE(target.CopyFrom(&source, -1, false));
  source.m_nFailFrom = 1000;
  target.m_nFailFrom = 60;
  EXPECT_FALSE(target.CopyFrom(&source, -1, false));
  EXPECT_FALSE(target.CopyFrom(nullptr, 1, false));
  source.m_bValid = false;
  EXPECT_FALSE(target.CopyFrom(&source, 0, false));
}

TEST(Stream, ReadAllTellsFailureFromTheEnd)
{
  unsigned char buffer[100];
  CFaultyStream source(MakeBytes(60));
  source.m_nMaxCall = 9;
  EXPECT_EQ(source.ReadAll(buffer, 100), 60);
  source.m_nPos = 0;
  source.m_nFailFrom = 50;
  EXPECT_EQ(source.ReadAll(buffer, 100), -1);
  source.m_nPos = 0;
  EXPECT_EQ(source.ReadFully(buffer, 100), 0);
  EXPECT_EQ(source.ReadAll(nullptr, 0), 0);
}

TEST(Stream, ReadToArrayKeepsItsLimit)
{
  const TBytes bytes = MakeBytes(9000);
  for (const std::int64_t nMax : {8999, 9000, 9001})
  {
    CFaultyStream source(bytes);
    source.m_nMaxCall = 1000;
    BSE::CBasicArray<unsigned char> array;
    array.Add(1);
    EXPECT_EQ(source.ReadToArray(array, nMax), nMax >= 9000) << nMax;
    if (nMax < 9000)
      continue;
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), array.GetData() + 1, array.GetData() + 9001));
  }
  CFaultyStream source(bytes);
  source.m_nFailFrom = 8500;
  BSE::CBasicArray<unsigned char> array;
  EXPECT_FALSE(source.ReadToArray(array));
}

TEST(Stream, EqualsComparesWhatIsLeft)
{
  CFaultyStream first(MakeBytes(9000));
  CFaultyStream second(first.m_bytes);
  second.m_nMaxCall = 11;
  EXPECT_TRUE(first.Equals(&second));
  first.m_nPos = second.m_nPos = 0;
  second.m_bytes.back() ^= 1;
  EXPECT_FALSE(first.Equals(&second));
  first.m_nPos = second.m_nPos = 0;
  second.m_bytes.pop_back();
  EXPECT_FALSE(first.Equals(&second));
  first.m_nPos = second.m_nPos = 0;
  second.m_nFailFrom = 8000;
  EXPECT_FALSE(first.Equals(&second)) << "unread contents taken for equal";
  first.m_nPos = second.m_nPos = 0;
  first.m_nFailFrom = second.m_nFailFrom = 0;
  EXPECT_FALSE(first.Equals(&second)) << "two failures taken for equal";
  EXPECT_FALSE(first.Equals(nullptr));
  first.m_bValid = false;
  EXPECT_TRUE(first.Equals(nullptr));
}

TEST(EmbeddedStream, ReadsItsSection)
{
  const TBytes bytes = MakeBytes(3000);
  struct TCase
  {
    std::int64_t m_nOffset;
    std::int64_t m_nLength;
    std::int64_t m_nReadable;
  };
  for (const TCase& c : {TCase{0, -1, 3000}, TCase{100, -1, 2900}, TCase{100, 500, 500},
                         TCase{2900, 100, 100}, TCase{10, 0, 0}, TCase{3000, -1, 0}})
  {
    SCOPED_TRACE(c.m_nOffset);
    BSE::CEmbeddedStream section(new BSE::CMemoryInputStream(bytes.data(), std::ssize(bytes)), c.m_nOffset,
                                 c.m_nLength);
    const auto begin = bytes.begin() + c.m_nOffset;
    CheckRandomReading(section, TBytes(begin, begin + c.m_nReadable), 300);
  }
}

TEST(EmbeddedStream, StaysInsideSourceAndSection)
{
  BSE::CObjectPtr<BSE::CMemoryStream> pSource(new BSE::CMemoryStream("0123456789", 10));
  unsigned char buffer[20];

  BSE::CEmbeddedStream beyond(pSource.Get(), 8, 100);
  EXPECT_EQ(beyond.ReadAll(buffer, 20), 2) << "the section reaches behind the source";
  BSE::CEmbeddedStream behind(pSource.Get(), 20, 5);
  EXPECT_EQ(behind.ReadEx(buffer, 5), 0);
  BSE::CEmbeddedStream outside(pSource.Get(), INT64_MAX - 1, 100);
  EXPECT_EQ(outside.Read(buffer, 20), 0);
  EXPECT_FALSE(outside.Seek(50)) << "the source's position would wrap";
  EXPECT_EQ(pSource->GetLength(), 10) << "reading made the source grow";

  // Sections of one source do not disturb each other.
  BSE::CEmbeddedStream first(pSource.Get(), 0, 5);
  BSE::CObjectPtr<BSE::CEmbeddedStream> pSecond(dynamic_cast<BSE::CEmbeddedStream*>(first.Dup()));
  EXPECT_EQ(first.Read(buffer, 2), 2);
  EXPECT_EQ(pSecond->Read(buffer, 3), 3);
  EXPECT_EQ(first.Read(buffer, 9), 3);
  EXPECT_EQ(buffer[0], '2');

  EXPECT_TRUE(first.Seek(4));
  EXPECT_TRUE(first.WriteAll(reinterpret_cast<const unsigned char*>("ABC"), 3));
  EXPECT_EQ(first.GetLength(), 7);
  EXPECT_EQ(pSource->GetLength(), 10);
}

TEST(EmbeddedStream, TellsFailureOfItsSource)
{
  CFaultyPtr pSource(new CFaultyStream(MakeBytes(100)));
  pSource->m_nFailFrom = 50;
  BSE::CEmbeddedStream section(pSource.Get(), 10, 80);
  unsigned char buffer[100];
  EXPECT_EQ(section.ReadEx(buffer, 100), 40);
  EXPECT_EQ(section.ReadEx(buffer, 100), -1);
  EXPECT_EQ(section.Read(buffer, 100), 0);
  pSource->m_bFailSeek = true;
  EXPECT_TRUE(section.Seek(0));
  EXPECT_EQ(section.ReadEx(buffer, 100), -1);
}

}  // namespace

}  // namespace test
