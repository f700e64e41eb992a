#include "images/filters/LZWDecodeFilter.h"
#include "images/filters/LZWEncodeFilter.h"

#include <gtest/gtest.h>

#include "tests/images/filters/FilterFixture.h"

namespace BSE
{
namespace
{

using namespace std::string_literals;

constexpr int g_nClear = 256;
constexpr int g_nEnd = 257;

// Packs codes as an encoder does that counts one entry for each code but the first after a clear code.
std::string Pack(const std::vector<int>& codes, bool bLSBFirst, int nEarlyChange)
{
  std::vector<bool> bits;
  int nWidth = 9;
  int nNext = 257;
  for (const int nCode : codes)
  {
    for (int i = 0; i < nWidth; ++i)
      bits.push_back((nCode >> (bLSBFirst ? i : nWidth - 1 - i)) & 1);
    nNext = nCode == g_nClear ? 257 : std::min(nNext + 1, 4095);
    if (nCode == g_nClear)
      nWidth = 9;
    else if (nNext > (1 << nWidth) - 1 - nEarlyChange && nWidth < 12)
      ++nWidth;
  }
  std::string data((bits.size() + 7) / 8, '\0');
  for (size_t i = 0; i < bits.size(); ++i)
    if (bits[i])
      data[i / 8] = static_cast<char>(data[i / 8] | (bLSBFirst ? 1 << (i % 8) : 0x80 >> (i % 8)));
  return data;
}

std::string DecodeCodes(const std::vector<int>& codes, CReports& reports)
{
  return Decode<CLZWDecodeFilter>(Pack(codes, false, 1), CLZWParameters{}, &reports);
}

TEST(LZWFilter, DecodesTheStandardsExample)
{
  const std::string encoded = "\x80\x0B\x60\x50\x22\x0C\x0C\x85\x01"s;
  const std::string decoded = "\x2D\x2D\x2D\x2D\x2D\x41\x2D\x2D\x2D\x42";
  CReports reports;
  EXPECT_EQ(Decode<CLZWDecodeFilter>(encoded, CLZWParameters{}, &reports), decoded);
  EXPECT_EQ(Encode<CLZWEncodeFilter>(decoded), encoded);
  EXPECT_EQ(reports.GetCodes(), CCodes{});
}

TEST(LZWFilter, RoundTrips)
{
  // The run makes the longest strings; noise fills the table again and again.
  const std::string noise = MakeData(200000, 8);
  for (const std::string& data : {""s, "x"s, noise.substr(0, 255), noise, std::string(100000, 'r') + noise})
  {
    const std::string encoded = Encode<CLZWEncodeFilter>(data);
    CReports reports;
    const CObjectPtr<CLZWDecodeFilter> pFilter(
        new CLZWDecodeFilter(MakeSource(encoded).Get(), CLZWParameters{}, &reports));
    ExpectRoundTrip(pFilter, data, reports);
  }
}

TEST(LZWFilter, EndsAtEveryWidthOfCode)
{
  // Each length ends at another count of entries, at the borders of the widths among them.
  const std::string noise = MakeData(8000, 9);
  for (size_t nSize = 200; nSize < noise.size(); nSize += 1 + nSize / 300)
  {
    CReports reports;
    const std::string data = noise.substr(0, nSize);
    ASSERT_EQ(Decode<CLZWDecodeFilter>(Encode<CLZWEncodeFilter>(data), CLZWParameters{}, &reports), data);
    ASSERT_EQ(reports.GetCodes(), CCodes{});
  }
}

TEST(LZWFilter, FollowsEarlyChangeAndBitOrder)
{
  std::vector<int> codes{g_nClear};
  std::string data;
  for (int i = 0; i < 5000; ++i)
  {
    codes.push_back(i * 7 % 256);
    data.push_back(static_cast<char>(codes.back()));
  }
  codes.push_back(g_nEnd);
  for (const int nEarlyChange : {0, 1})
  {
    CReports reports;
    const CLZWParameters parameters{nEarlyChange, 8, false};
    EXPECT_EQ(Decode<CLZWDecodeFilter>(Pack(codes, false, nEarlyChange), parameters, &reports), data);
    // A clear code in low-bit-first order overrules the parameters.
    EXPECT_EQ(Decode<CLZWDecodeFilter>(Pack(codes, true, 0), parameters, &reports), data);
    EXPECT_EQ(reports.GetCodes(), CCodes{});
  }
}

TEST(LZWFilter, ReportsDamage)
{
  CReports reports;
  EXPECT_EQ(DecodeCodes({g_nClear, 'a', 258, 258, 259, g_nEnd}, reports), "aaaaaaaa");
  EXPECT_EQ(DecodeCodes({'a', 'b', 258, g_nEnd}, reports), "abab");
  EXPECT_EQ(reports.GetCodes(), CCodes{});
  EXPECT_EQ(DecodeCodes({g_nClear, 'a', 'b', 260, 'c', g_nEnd}, reports), "ab");
  EXPECT_EQ(DecodeCodes({g_nClear, 258, g_nEnd}, reports), "");
  EXPECT_EQ(reports.GetCodes(), CCodes(2, 0x8030001AU));
  const CObjectPtr<CLZWDecodeFilter> pFilter(
      new CLZWDecodeFilter(MakeSource(Pack({g_nClear, 'a', 260, g_nEnd}, false, 1)).Get()));
  EXPECT_EQ(ReadPieces(*pFilter, 100), "a");
  EXPECT_TRUE(pFilter->HasGap());
  EXPECT_EQ(DecodeCodes({g_nClear, 'a', 'b'}, reports), "ab");
  EXPECT_EQ(Decode<CLZWDecodeFilter>("", CLZWParameters{}, &reports), "");
  EXPECT_EQ(reports.GetCodes(), (CCodes{0x8030001AU, 0x8030001AU, 0x80300019U, 0x80300019U}));
}

TEST(LZWFilter, GoesOnWithAFullTable)
{
  std::vector<int> codes{g_nClear};
  std::string data;
  for (int i = 0; i < 4500; ++i)
  {
    codes.push_back('a' + i % 3);
    data.push_back(static_cast<char>(codes.back()));
  }
  // The code that no entry can take repeats what came before it.
  codes.insert(codes.end(), {4095, 4095, 258, g_nEnd});
  data += "ccccab"s;
  CReports reports;
  EXPECT_EQ(DecodeCodes(codes, reports), data);
  EXPECT_EQ(reports.GetCodes(), CCodes{});
}

TEST(LZWFilter, LeavesItsSourceBehindTheEndCode)
{
  const std::string encoded = Encode<CLZWEncodeFilter>("content");
  const auto pSource = MakeSource("##" + encoded + " EI");
  pSource->Seek(2);
  const CObjectPtr<CLZWDecodeFilter> pFilter(new CLZWDecodeFilter(pSource.Get()));
  EXPECT_EQ(ReadPieces(*pFilter, 3), "content");
  EXPECT_EQ(pSource->Tell(), static_cast<std::int64_t>(2 + encoded.size()));
}

}  // namespace
}  // namespace BSE
