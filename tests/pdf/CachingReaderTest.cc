#include "base/MemoryStream.h"
#include "pdf/CachingReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace
{

using PDF::CCachingReader;

// Counts the accesses that reach it; fails from a position on.
class CSlowStream : public BSE::CMemoryStream
{
public:
  using BSE::CMemoryStream::CMemoryStream;
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override
  {
    ++m_nReads;
    if (m_nFailAt < 0)
      return CMemoryStream::Read(pBuffer, n);
    return Tell() >= m_nFailAt ? -1 : CMemoryStream::Read(pBuffer, std::min(n, m_nFailAt - Tell()));
  }

  int m_nReads = 0;
  std::int64_t m_nFailAt = -1;
};

std::string ReadAt(BSE::IByteStream& stream, std::int64_t nPos, int nLength)
{
  std::string text(static_cast<std::size_t>(nLength), '\0');
  if (!stream.Seek(nPos))
    return "seek";
  const std::int64_t nRead = stream.ReadEx(reinterpret_cast<unsigned char*>(text.data()), nLength);
  return nRead < 0 ? "failure" : text.substr(0, static_cast<std::size_t>(nRead));
}

TEST(CachingReader, ServesSmallReadsFromItsBlock)
{
  const BSE::CObjectPtr<CSlowStream> pSource(new CSlowStream("0123456789abcdefghijklmno", 25));
  const BSE::CObjectPtr<CCachingReader> pReader(new CCachingReader(pSource.Get(), 10));
  EXPECT_EQ(ReadAt(*pReader, 11, 3), "bcd");
  EXPECT_EQ(ReadAt(*pReader, 10, 1), "a");
  EXPECT_EQ(ReadAt(*pReader, 17, 3), "hij");
  EXPECT_EQ(pSource->m_nReads, 1);
  EXPECT_EQ(ReadAt(*pReader, 8, 17), "89abcdefghijklmno");
  EXPECT_EQ(ReadAt(*pReader, -4, 9), "mno");
  EXPECT_EQ(ReadAt(*pReader, 40, 1), "");
  EXPECT_EQ(ReadAt(*pReader, 2, 2), "23");
  EXPECT_TRUE(pReader->Skip(20));
  EXPECT_FALSE(pReader->Skip(20));
  EXPECT_EQ(pReader->Tell(), 25);
}

TEST(CachingReader, SeesWhatIsWrittenThroughIt)
{
  const BSE::CObjectPtr<CSlowStream> pSource(new CSlowStream("0123456789", 10));
  const BSE::CObjectPtr<CCachingReader> pReader(new CCachingReader(pSource.Get(), 8));
  EXPECT_EQ(ReadAt(*pReader, 2, 3), "234");
  EXPECT_EQ(pReader->GetLength(), 10);
  EXPECT_TRUE(pReader->Seek(9));
  EXPECT_EQ(pReader->Write(reinterpret_cast<const unsigned char*>("xyz"), 3), 3);
  EXPECT_EQ(pReader->GetLength(), 12);
  EXPECT_EQ(ReadAt(*pReader, 7, 9), "78xyz");
}

TEST(CachingReader, DeliversWhatCameBeforeAFailure)
{
  const BSE::CObjectPtr<CSlowStream> pSource(new CSlowStream("0123456789", 10));
  pSource->m_nFailAt = 5;
  const BSE::CObjectPtr<CCachingReader> pReader(new CCachingReader(pSource.Get(), 8));
  EXPECT_EQ(ReadAt(*pReader, 3, 6), "34");
  EXPECT_EQ(ReadAt(*pReader, 5, 1), "failure");
  pSource->m_nFailAt = -1;
  EXPECT_EQ(ReadAt(*pReader, 5, 1), "5");
}

}  // namespace
