#include "base/BufferStream.h"
#include "base/BufferedInputStream.h"
#include "base/CachedInputStream.h"
#include "base/CompoundStream.h"
#include "base/InterleaverStream.h"
#include "tests/base/TestStreams.h"

#include <gtest/gtest.h>

namespace test
{

namespace
{

TBytes operator+(TBytes a, const TBytes& b)
{
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// An object that is no stream.
class COther : public BSE::CObject
{
public:
  bool IsValid() const override { return true; }
};

TEST(CompoundStream, JoinsItsStreams)
{
  const TBytes first = MakeBytes(1000, 1);
  const TBytes last = MakeBytes(10000, 2);
  BSE::CIObjectArray streams;
  CFaultyPtr pFirst(new CFaultyStream(first));
  pFirst->m_nPos = 5;
  pFirst->m_nMaxCall = 13;
  streams.Add(pFirst.Get());
  streams.Add(new CFaultyStream);
  streams.Add(new COther);
  streams.Add(nullptr);
  streams.Add(new CFaultyStream(last));
  streams.Add(pFirst.Get());
  BSE::CCompoundStream stream(streams);
  ASSERT_TRUE(stream.IsValid());

  const TBytes all = first + last + first;
  EXPECT_EQ(ReadRest(stream), all);
  EXPECT_EQ(stream.Tell(), std::ssize(all));
  EXPECT_FALSE(stream.Seek(10));
  EXPECT_TRUE(stream.Rewind());
  EXPECT_TRUE(stream.Skip(990));
  TBytes across(20);
  EXPECT_EQ(stream.Read(across.data(), 20), 20) << "one read goes across the end of a stream";
  EXPECT_EQ(across, TBytes(all.begin() + 990, all.begin() + 1010));
  EXPECT_EQ(stream.Tell(), 1010);
  EXPECT_FALSE(stream.Skip(20000));
  EXPECT_TRUE(stream.Rewind());
  EXPECT_TRUE(stream.Skip(-1));
  EXPECT_EQ(stream.Tell(), std::ssize(all));
}

TEST(CompoundStream, DeliversWhatIsSoundBeforeAFailure)
{
  BSE::CIObjectArray streams;
  EXPECT_EQ(ReadRest(*BSE::CObjectPtr(new BSE::CCompoundStream(streams))), TBytes());
  CFaultyPtr pBroken(new CFaultyStream(MakeBytes(50)));
  pBroken->m_nFailFrom = 20;
  streams.Add(new CFaultyStream(MakeBytes(10)));
  streams.Add(pBroken.Get());
  streams.Add(new CFaultyStream(MakeBytes(10)));
  BSE::CCompoundStream stream(streams);
  unsigned char buffer[100];
  EXPECT_EQ(stream.ReadEx(buffer, 100), 30);
  EXPECT_EQ(stream.ReadEx(buffer, 100), -1);
  EXPECT_FALSE(stream.Skip(-1)) << "a failure taken for the end";

  pBroken->m_bFailSeek = true;
  EXPECT_TRUE(stream.Rewind());
  EXPECT_EQ(stream.ReadEx(buffer, 100), 10);
  EXPECT_EQ(stream.ReadEx(buffer, 100), -1) << "a stream that cannot be rewound was passed over";
}

TEST(CachedInputStream, GivesRandomAccess)
{
  const TBytes bytes = MakeBytes(3000);
  for (const int nBlockSize : {1, 100, 8192})
  {
    SCOPED_TRACE(nBlockSize);
    CFaultyPtr pSource(new CFaultyStream(bytes));
    pSource->m_bSeekable = false;
    pSource->m_nMaxCall = 37;
    BSE::CCachedInputStream stream(pSource.Get(), nBlockSize);
    EXPECT_EQ(stream.GetLength(), -1);
    CheckRandomReading(stream, bytes, 300, static_cast<unsigned>(nBlockSize));
    EXPECT_EQ(stream.GetLength(), 3000);
  }
}

TEST(CachedInputStream, ReadsOnlyWhatIsAskedFor)
{
  CFaultyPtr pSource(new CFaultyStream(MakeBytes(3000)));
  pSource->m_bSeekable = false;
  pSource->m_nPos = 100;
  BSE::CCachedInputStream stream(pSource.Get(), 64);
  EXPECT_EQ(pSource->m_nReads, 0);
  unsigned char nByte = 0;
  EXPECT_EQ(stream.Read(&nByte, 1), 1);
  EXPECT_EQ(nByte, pSource->m_bytes[100]) << "it begins where the source stood";
  EXPECT_EQ(pSource->m_nReads, 1);
  EXPECT_TRUE(stream.Seek(60));
  EXPECT_TRUE(stream.Seek(0));
  EXPECT_EQ(pSource->m_nReads, 1);
  EXPECT_FALSE(stream.Seek(5000)) << "behind an end that was not known";
  EXPECT_TRUE(stream.Seek(5000)) << "clamped once the end is known";
  EXPECT_EQ(stream.Tell(), 2900);
  EXPECT_FALSE(stream.Seek(-4000));
}

TEST(CachedInputStream, KeepsWhatCameBeforeAFailure)
{
  CFaultyPtr pSource(new CFaultyStream(MakeBytes(3000)));
  pSource->m_bSeekable = false;
  pSource->m_nFailFrom = 1000;
  BSE::CCachedInputStream stream(pSource.Get());
  TBytes buffer(3000);
  EXPECT_FALSE(stream.Seek(-1));
  EXPECT_EQ(stream.ReadEx(buffer.data(), 3000), 1000);
  EXPECT_EQ(stream.ReadEx(buffer.data(), 3000), -1);
  EXPECT_TRUE(stream.Seek(999));
  EXPECT_EQ(stream.ReadEx(buffer.data(), 3000), 1);
}

TEST(InterleaverStream, TakesOneUnitOfEachInTurn)
{
  for (const std::size_t nCount : {1U, 3U, 4U, 2000U})
  {
    SCOPED_TRACE(nCount);
    const std::size_t nLength = 10000 / nCount + 3000 % nCount;
    BSE::CObjectArray<BSE::IByteStream> streams;
    TBytes expected(nCount * nLength);
    for (std::size_t i = 0; i < nCount; ++i)
    {
      // All but the first are longer; what they have more is not delivered.
      const TBytes bytes = MakeBytes(nLength + (i > 0 ? i % 3 : 0), static_cast<unsigned>(i + 1));
      for (std::size_t n = 0; n < nLength; ++n)
        expected[n * nCount + i] = bytes[n];
      auto* pStream = new CFaultyStream(bytes);
      pStream->m_nMaxCall = 777;
      streams.Add(pStream);
    }
    BSE::CInterleaverStream stream(streams);
    ASSERT_TRUE(stream.IsValid());
    EXPECT_EQ(stream.GetBlockSize() % static_cast<int>(nCount), 0);
    EXPECT_EQ(stream.GetLength(), std::ssize(expected));
    ASSERT_EQ(ReadRest(stream), expected);
    EXPECT_EQ(stream.Tell(), std::ssize(expected));

    ASSERT_TRUE(stream.Rewind());
    EXPECT_TRUE(stream.Skip(std::ssize(expected) - 1));
    EXPECT_EQ(ReadRest(stream), TBytes{expected.back()});
    EXPECT_FALSE(stream.Skip(1));
  }
}

TEST(InterleaverStream, TellsFailureFromTheEnd)
{
  BSE::CObjectArray<BSE::IByteStream> streams;
  unsigned char buffer[10];
  EXPECT_FALSE(BSE::CObjectPtr(new BSE::CInterleaverStream(streams))->IsValid());
  EXPECT_EQ(BSE::CObjectPtr(new BSE::CInterleaverStream(streams))->Read(buffer, 10), 0);
  auto* pBroken = new CFaultyStream(MakeBytes(10));
  streams.Add(new CFaultyStream(MakeBytes(10)));
  streams.Add(pBroken);
  pBroken->m_nFailFrom = 5;
  BSE::CInterleaverStream stream(streams);
  EXPECT_EQ(stream.ReadEx(buffer, 10), -1);
  EXPECT_EQ(stream.Read(buffer, 10), 0);
  pBroken->m_nFailFrom = 100;
  EXPECT_TRUE(stream.Rewind());
  EXPECT_EQ(ReadRest(stream).size(), 20U);
}

TEST(BufferStream, StaysInItsBuffer)
{
  TBytes bytes = MakeBytes(100);
  {
    BSE::CBufferStream stream(bytes.data(), 100);
    CheckRandomReading(stream, bytes, 200);
  }
  BSE::CBufferStream stream(bytes.data(), 50);
  const unsigned char nBehind = bytes[50];
  EXPECT_FALSE(WriteBytes(stream, TBytes(60, 1)));
  EXPECT_EQ(std::count(bytes.begin(), bytes.begin() + 50, 1), 50);
  EXPECT_EQ(bytes[50], nBehind);
  EXPECT_FALSE(stream.Seek(51));
  EXPECT_FALSE(stream.Seek(-52));
  EXPECT_TRUE(stream.Seek(-51));
  EXPECT_EQ(stream.Tell(), 0);
}

}  // namespace

}  // namespace test
