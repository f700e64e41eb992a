#include "base/Limits.h"
#include "images/filters/ASCII85EncodeFilter.h"
#include "images/filters/ASCIIHexDecodeFilter.h"
#include "images/filters/ASCIIHexEncodeFilter.h"
#include "images/filters/FlateEncodeFilter.h"
#include "images/filters/InvertFilters.h"

#include <gtest/gtest.h>

#include "tests/images/filters/FilterFixture.h"

namespace BSE
{
namespace
{

// Claims to decode without end, and leaves the reader's memory alone.
class CEndlessFilter : public CDecodeFilter
{
public:
  CEndlessFilter(IByteStream* pSource, IErrorContext* pErrorContext) : CDecodeFilter(pSource, pErrorContext)
  {
  }

protected:
  int DecodeBlock(std::span<unsigned char> block) override { return static_cast<int>(block.size()); }
};

TEST(DecodeFilter, LimitsItsOutput)
{
  struct TCase
  {
    int m_nEncoded;
    std::int64_t m_nExpected;
  };
  const TCase cases[] = {{0, g_nFreeDecodedSize},
                         {1000, g_nFreeDecodedSize},
                         {100000, 100000 * g_nMaxDecodeRatio},
                         {10000000, g_nMaxDecodedSize}};
  std::vector<unsigned char> block(1 << 20);
  for (const TCase& c : cases)
  {
    const auto pSource = MakeSource(std::string(static_cast<size_t>(c.m_nEncoded), 'x'));
    pSource->Seek(-1);
    CReports reports;
    const CObjectPtr<CEndlessFilter> pFilter(new CEndlessFilter(pSource.Get(), &reports));
    while (pFilter->Read(block.data(), std::ssize(block)) > 0)
    {
    }
    EXPECT_EQ(pFilter->Tell(), c.m_nExpected);
    EXPECT_TRUE(pFilter->HasEnded());
    EXPECT_EQ(reports.GetCodes(), CCodes{g_nSizeExceeded});
  }
}

TEST(EncodeFilter, ClosesTheChainOnce)
{
  const CObjectPtr<CMemoryStream> pSink(new CMemoryStream);
  const CObjectPtr<CASCIIHexEncodeFilter> pHex(new CASCIIHexEncodeFilter(pSink.Get()));
  const CObjectPtr<CASCII85EncodeFilter> p85(new CASCII85EncodeFilter(pHex.Get()));
  EXPECT_EQ(p85->Write(reinterpret_cast<const unsigned char*>("\0\0\0\0\xFF"), 5), 5);
  EXPECT_TRUE(p85->Close());
  EXPECT_TRUE(p85->Close());
  EXPECT_EQ(p85->Write(reinterpret_cast<const unsigned char*>("x"), 1), 0);
  EXPECT_EQ(p85->Tell(), 5);
  EXPECT_EQ(Contents(*pSink), "7A72727E3E>");
}

TEST(EncodeFilter, ReleaseIsAFallbackForClose)
{
  const CObjectPtr<CMemoryStream> pSink(new CMemoryStream);
  {
    const CObjectPtr<IByteStream> pFilter(new CASCIIHexEncodeFilter(pSink.Get()));
    pFilter->Write(reinterpret_cast<const unsigned char*>("A"), 1);
  }
  EXPECT_EQ(Contents(*pSink), "41>");
}

TEST(EncodeFilter, TellsThatTheSinkFailed)
{
  // A decoder refuses what is written to it.
  const CObjectPtr<CASCIIHexDecodeFilter> pSink(new CASCIIHexDecodeFilter(MakeSource("").Get()));
  const std::string data = MakeData(300000, 1);
  EXPECT_EQ(Encode<CFlateEncodeFilter>(data).empty(), false);
  const CObjectPtr<CEncodeFilter> filters[] = {new CFlateEncodeFilter(pSink.Get()),
                                               new CASCIIHexEncodeFilter(pSink.Get()),
                                               new CASCII85EncodeFilter(pSink.Get())};
  for (const auto& pFilter : filters)
  {
    EXPECT_FALSE(pFilter->WriteAll(reinterpret_cast<const unsigned char*>(data.data()), std::ssize(data)));
    EXPECT_FALSE(pFilter->Close());
  }
}

TEST(InvertFilter, InvertsBothWays)
{
  const std::string data = MakeData(20000, 7);
  const std::string inverted = Encode<CInvertEncodeFilter>(data);
  ASSERT_EQ(inverted.size(), data.size());
  EXPECT_EQ(static_cast<unsigned char>(inverted[5]), 255 - static_cast<unsigned char>(data[5]));
  CReports reports;
  const CObjectPtr<CInvertDecodeFilter> pFilter(
      new CInvertDecodeFilter(MakeSource(inverted).Get(), &reports));
  ExpectRoundTrip(pFilter, data, reports);
}

}  // namespace
}  // namespace BSE
