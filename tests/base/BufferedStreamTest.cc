#include "base/BufferedInputStream.h"
#include "base/BufferedOutputStream.h"
#include "base/MemoryStream.h"
#include "tests/base/TestStreams.h"

#include <gtest/gtest.h>

namespace test
{

namespace
{

TEST(BufferedInputStream, ReadsAnySource)
{
  const TBytes bytes = MakeBytes(3000);
  for (const int nCapacity : {1, 16, 1000, 8192})
    for (const std::int64_t nMaxCall : {1, 13, 10000})
    {
      SCOPED_TRACE(testing::Message() << nCapacity << " " << nMaxCall);
      CFaultyPtr pSource(new CFaultyStream(bytes));
      pSource->m_nMaxCall = nMaxCall;
      BSE::CBufferedInputStream stream(pSource.Get(), nCapacity);
      CheckRandomReading(stream, bytes, 400, static_cast<unsigned>(nCapacity));
    }
  BSE::CMemoryInputStream memory(bytes.data(), std::ssize(bytes));
  CheckRandomReading(memory, bytes, 400);
}

TEST(BufferedInputStream, ReadsForwardOnASourceWithoutPositions)
{
  const TBytes bytes = MakeBytes(1000);
  CFaultyPtr pSource(new CFaultyStream(bytes));
  pSource->m_bSeekable = false;
  pSource->m_nMaxCall = 30;
  BSE::CBufferedInputStream stream(pSource.Get(), 64);
  unsigned char buffer[8];
  EXPECT_TRUE(stream.Skip(500));
  EXPECT_EQ(stream.Read(buffer, 8), 8);
  EXPECT_TRUE(std::equal(buffer, buffer + 8, bytes.begin() + 500));
  EXPECT_TRUE(stream.Seek(505)) << "inside the buffer";
  EXPECT_FALSE(stream.Seek(3)) << "the source cannot go back";
}

// Some filters fill all room that they are given.
TEST(BufferedInputStream, KeepsItsBufferAtTheEnd)
{
  for (const int nBytes : {10, 64, 100})
    for (const bool bSeekable : {false, true})
    {
      const TBytes bytes = MakeBytes(nBytes);
      CFaultyPtr pSource(new CFaultyStream(bytes));
      pSource->m_bSeekable = bSeekable;
      BSE::CBufferedInputStream stream(pSource.Get(), 64);
      for (int nByte = 0; nByte < nBytes; ++nByte)
        EXPECT_EQ(stream.GetByte(), bytes[static_cast<std::size_t>(nByte)]);
      EXPECT_EQ(stream.GetByte(), -1);
      EXPECT_TRUE(stream.Seek(nBytes - 10));
      EXPECT_EQ(ReadRest(stream), TBytes(bytes.end() - 10, bytes.end())) << nBytes;
    }
}

TEST(BufferedInputStream, SeekToTheEndWithoutALength)
{
  const TBytes bytes = MakeBytes(1000);
  CFaultyPtr pSource(new CFaultyStream(bytes));
  pSource->m_bSeekable = false;
  BSE::CBufferedInputStream stream(pSource.Get(), 64);
  EXPECT_TRUE(stream.Seek(-1));
  EXPECT_EQ(stream.Tell(), 1000);
  EXPECT_TRUE(stream.Seek(-11)) << "ten bytes before the end stand in the buffer";
  EXPECT_EQ(ReadRest(stream), TBytes(bytes.end() - 10, bytes.end()));
}

TEST(BufferedInputStream, NegativePositionsCountFromTheEnd)
{
  const TBytes bytes = MakeBytes(100);
  CFaultyPtr pSource(new CFaultyStream(bytes));
  BSE::CBufferedInputStream buffered(pSource.Get(), 16);
  BSE::CMemoryInputStream memory(bytes.data(), 100);
  for (BSE::CBufferedInputStream* pStream : {&buffered, static_cast<BSE::CBufferedInputStream*>(&memory)})
  {
    EXPECT_TRUE(pStream->Seek(-6));
    EXPECT_EQ(ReadRest(*pStream), TBytes(bytes.end() - 5, bytes.end()));
    EXPECT_TRUE(pStream->Seek(-1000));
    EXPECT_EQ(pStream->Tell(), 0);
    EXPECT_TRUE(pStream->Seek(1000));
    EXPECT_EQ(pStream->Tell(), 100);
  }
}

TEST(BufferedInputStream, ReachesForItsSourceOnlyWhereItMust)
{
  CFaultyPtr pSource(new CFaultyStream(MakeBytes(100000)));
  BSE::CBufferedInputStream stream(pSource.Get());
  TBytes block(90000);
  EXPECT_EQ(stream.Read(nullptr, 5), 0);
  EXPECT_EQ(stream.Read(block.data(), 0), 0);
  EXPECT_EQ(pSource->m_nReads, 0);
  EXPECT_EQ(stream.Read(block.data(), 10), 10);
  EXPECT_TRUE(stream.Seek(5000));
  EXPECT_TRUE(stream.Seek(20));
  EXPECT_EQ(pSource->m_nReads, 1) << "seeking inside the buffer";
  EXPECT_EQ(stream.Read(block.data(), 90000), 90000);
  EXPECT_EQ(pSource->m_nReads, 2) << "a large block is read in one piece";
  EXPECT_TRUE(std::equal(block.begin(), block.end(), pSource->m_bytes.begin() + 20));
}

TEST(BufferedInputStream, TellsFailureFromTheEnd)
{
  CFaultyPtr pSource(new CFaultyStream(MakeBytes(100)));
  pSource->m_nFailFrom = 50;
  BSE::CBufferedInputStream stream(pSource.Get(), 16);
  unsigned char buffer[100];
  EXPECT_EQ(stream.ReadEx(buffer, 100), 50) << "what came before the failure";
  EXPECT_EQ(stream.ReadEx(buffer, 100), -1);
  EXPECT_EQ(stream.Read(buffer, 100), 0);
  EXPECT_EQ(stream.GetByte(), -1);
  EXPECT_FALSE(stream.Seek(60));
  EXPECT_TRUE(stream.Seek(10));
  EXPECT_EQ(stream.GetByte(), pSource->m_bytes[10]) << "usable again at a sound place";
  pSource->m_bFailSeek = true;
  EXPECT_FALSE(stream.Seek(40));
  EXPECT_EQ(stream.ReadEx(buffer, 1), -1);
}

TEST(BufferedInputStream, BytesComeOneByOne)
{
  const TBytes bytes = MakeBytes(50);
  CFaultyPtr pSource(new CFaultyStream(bytes));
  BSE::CBufferedInputStream stream(pSource.Get(), 16);
  for (const unsigned char nByte : bytes)
  {
    ASSERT_EQ(stream.PeekByte(), nByte);
    ASSERT_EQ(stream.GetByte(), nByte);
    stream.UngetByte();
    ASSERT_EQ(stream.GetByte(), nByte);
  }
  EXPECT_EQ(stream.GetByte(), -1);
  EXPECT_TRUE(stream.HasEnded());
}

TEST(BufferedInputStream, SeesWhatTheSourceGotMeanwhile)
{
  CFaultyPtr pSource(new CFaultyStream({1, 2, 3}));
  BSE::CBufferedInputStream stream(pSource.Get());
  EXPECT_EQ(stream.GetByte(), 1);
  pSource->m_bytes = {1, 7, 8, 9};
  stream.Invalidate();
  EXPECT_EQ(ReadRest(stream), (TBytes{7, 8, 9}));
  EXPECT_EQ(stream.GetLength(), 4);
}

// The written stream, read back through its target after each flush.
class CReadableOutput : public BSE::CBufferedOutputStream
{
public:
  CReadableOutput(CFaultyStream* pTarget, int nCapacity)
      : CBufferedOutputStream(pTarget, nCapacity), m_target(*pTarget)
  {
  }
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override
  {
    const std::int64_t nPos = Tell();
    if (!Flush() || !m_target.Seek(nPos))
      return 0;
    const std::int64_t nRead = m_target.Read(pBuffer, n);
    return Seek(nPos + nRead) ? nRead : 0;
  }

private:
  CFaultyStream& m_target;
};

TEST(BufferedOutputStream, WritesInAnyOrder)
{
  for (const int nCapacity : {1, 16, 1000, 8192})
  {
    SCOPED_TRACE(nCapacity);
    CFaultyPtr pTarget(new CFaultyStream);
    pTarget->m_nMaxCall = 13;
    CReadableOutput stream(pTarget.Get(), nCapacity);
    CheckRandomWriting(stream, 300, static_cast<unsigned>(nCapacity));
  }
}

TEST(BufferedOutputStream, AppendsToATargetWithoutPositions)
{
  const TBytes bytes = MakeBytes(5000);
  CFaultyPtr pTarget(new CFaultyStream);
  pTarget->m_bSeekable = false;
  {
    BSE::CBufferedOutputStream stream(pTarget.Get(), 100);
    for (std::size_t i = 0; i < 150; ++i)
      EXPECT_TRUE(stream.PutByte(bytes[i]));
    EXPECT_TRUE(stream.WriteAll(bytes.data() + 150, 4850));
    EXPECT_EQ(stream.Tell(), 5000);
    EXPECT_FALSE(stream.Seek(10));
  }
  EXPECT_EQ(pTarget->m_bytes, bytes) << "the destructor flushes";
}

TEST(BufferedOutputStream, PatchesBeforeItFlushes)
{
  CFaultyPtr pTarget(new CFaultyStream({9, 9}));
  pTarget->m_nPos = 2;
  BSE::CBufferedOutputStream stream(pTarget.Get(), 100);
  ASSERT_TRUE(WriteBytes(stream, {0, 0, 3, 4}));
  ASSERT_TRUE(stream.Seek(2));
  ASSERT_TRUE(WriteBytes(stream, {1}));
  EXPECT_EQ(stream.GetLength(), 6);
  EXPECT_EQ(pTarget->m_nWrites, 0) << "seeking inside the buffer flushes";
  EXPECT_TRUE(stream.Flush());
  EXPECT_EQ(pTarget->m_bytes, (TBytes{9, 9, 1, 0, 3, 4}));
  EXPECT_EQ(stream.Tell(), 3) << "flushing keeps the position";
}

TEST(BufferedOutputStream, ALargeBlockReplacesWhatIsBuffered)
{
  CFaultyPtr pTarget(new CFaultyStream);
  const TBytes bytes = MakeBytes(100);
  {
    BSE::CBufferedOutputStream stream(pTarget.Get(), 16);
    ASSERT_TRUE(WriteBytes(stream, TBytes(10, 0xEE)));
    ASSERT_TRUE(stream.Seek(0));
    ASSERT_TRUE(WriteBytes(stream, bytes));
  }
  EXPECT_EQ(pTarget->m_bytes, bytes);
}

TEST(BufferedOutputStream, StaysFailed)
{
  CFaultyPtr pTarget(new CFaultyStream);
  pTarget->m_nFailFrom = 30;
  BSE::CBufferedOutputStream stream(pTarget.Get(), 16);
  int nTaken = 0;
  while (nTaken < 1000 && stream.PutByte(1))
    ++nTaken;
  EXPECT_LE(nTaken, 48);
  EXPECT_TRUE(stream.HasFailed());
  pTarget->m_nFailFrom = 1 << 20;
  EXPECT_FALSE(WriteBytes(stream, {1})) << "a hole would stand in the file";
  EXPECT_FALSE(stream.Flush());
  EXPECT_FALSE(stream.Seek(0));

  pTarget->m_nFailFrom = 0;
  BSE::CBufferedOutputStream early(pTarget.Get(), 16);
  EXPECT_TRUE(early.PutByte(1));
  EXPECT_FALSE(early.Flush());
  EXPECT_FALSE(early.PutByte(1)) << "there is room, but it would be lost";

  pTarget->m_nFailFrom = 30;
  BSE::CBufferedOutputStream large(pTarget.Get(), 16);
  EXPECT_FALSE(WriteBytes(large, TBytes(100))) << "a block that goes past the buffer";
  EXPECT_FALSE(large.Flush());
}

}  // namespace

}  // namespace test
