#include "images/filters/FlateDecodeFilter.h"
#include "images/filters/FlateEncodeFilter.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include "tests/images/filters/FilterFixture.h"

namespace BSE
{
namespace
{

// Deflated by zlib itself, with a full flush after every nFlush bytes; says where the second part starts.
std::string DeflateWithFlushes(const std::string& data, size_t nFlush, size_t& nSecond)
{
  z_stream stream{};
  deflateInit(&stream, 9);
  std::string out(data.size() * 2 + 10000, '\0');
  stream.next_out = reinterpret_cast<Bytef*>(out.data());
  stream.avail_out = static_cast<uInt>(out.size());
  for (size_t nPos = 0; nPos < data.size(); nPos += nFlush)
  {
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data() + nPos));
    stream.avail_in = static_cast<uInt>(std::min(nFlush, data.size() - nPos));
    deflate(&stream, nPos + nFlush < data.size() ? Z_FULL_FLUSH : Z_FINISH);
    if (nPos == 0)
      nSecond = stream.total_out;
  }
  out.resize(stream.total_out);
  deflateEnd(&stream);
  return out;
}

TEST(FlateFilter, RoundTrips)
{
  for (const size_t nSize : {size_t{0}, size_t{1}, size_t{8192}, size_t{300000}})
  {
    for (const TFlateFormat eFormat : {TFlateFormat::Zlib, TFlateFormat::Raw})
    {
      const std::string data = MakeData(nSize, 1);
      CReports reports;
      const std::string encoded = Encode<CFlateEncodeFilter>(data, &reports, g_nFlateLevelFast, eFormat);
      const CObjectPtr<CFlateDecodeFilter> pFilter(
          new CFlateDecodeFilter(MakeSource(encoded).Get(), &reports, eFormat));
      ExpectRoundTrip(pFilter, data, reports);
    }
  }
}

TEST(FlateFilter, WritesWhatZlibReads)
{
  const std::string data = MakeData(100000, 2);
  std::string encoded = Encode<CFlateEncodeFilter>(data);
  EXPECT_LT(encoded.size(), Encode<CFlateEncodeFilter>(data, nullptr, g_nFlateLevelFast).size());
  std::string decoded(data.size(), '\0');
  uLongf nLength = decoded.size();
  EXPECT_EQ(uncompress(reinterpret_cast<Bytef*>(decoded.data()), &nLength,
                       reinterpret_cast<const Bytef*>(encoded.data()), encoded.size()),
            Z_OK);
  EXPECT_EQ(decoded, data);
}

TEST(FlateFilter, LeavesASeekableSourceBehindTheData)
{
  const std::string encoded = Encode<CFlateEncodeFilter>("content");
  const auto pSource = MakeSource(encoded + " EI");
  const CObjectPtr<CFlateDecodeFilter> pFilter(new CFlateDecodeFilter(pSource.Get()));
  EXPECT_TRUE(pFilter->SkipToEnd());
  EXPECT_EQ(pSource->Tell(), static_cast<std::int64_t>(encoded.size()));
}

TEST(FlateFilter, ResumesAtTheNextFlushPoint)
{
  // The parts are larger than a block of the source, so that the search crosses its borders.
  const std::string data = MakeData(200000, 3);
  const size_t nPart = 50000;
  size_t nSecond = 0;
  std::string encoded = DeflateWithFlushes(data, nPart, nSecond);
  encoded[nSecond] = '\x07';  // a block of no known type
  CReports reports;
  const CObjectPtr<CFlateDecodeFilter> pFilter(new CFlateDecodeFilter(MakeSource(encoded).Get(), &reports));
  ExpectRoundTrip(pFilter, data.substr(0, nPart) + data.substr(2 * nPart), reports);
}

TEST(FlateFilter, ReportsDamageOnceAndKeepsWhatIsSound)
{
  const std::string data = MakeData(100000, 4);
  const std::string encoded = Encode<CFlateEncodeFilter>(data);
  std::string badBlock = encoded;
  badBlock.replace(encoded.size() / 2, 16, 16, '\xFF');
  std::string badChecksum = encoded;
  badChecksum.back() = static_cast<char>(badChecksum.back() ^ 1);
  CReports reports;
  const std::string sound = Decode<CFlateDecodeFilter>(badBlock, &reports);
  EXPECT_GT(sound.size(), data.size() / 4);
  EXPECT_EQ(sound.substr(0, data.size() / 4), data.substr(0, data.size() / 4));
  EXPECT_EQ(Decode<CFlateDecodeFilter>(badChecksum, &reports), data);
  EXPECT_EQ(Decode<CFlateDecodeFilter>("this is no flate stream", &reports), "");
  EXPECT_EQ(reports.GetCodes(), CCodes(3, 0x8A117FFDU));
  EXPECT_EQ(reports.GetTexts()[0], u"Error in Flate stream: data error.");
}

TEST(FlateFilter, EndsSilentlyWithItsSource)
{
  const std::string data = MakeData(50000, 5);
  const std::string encoded = Encode<CFlateEncodeFilter>(data);
  CReports reports;
  for (const size_t nCut : {size_t{0}, size_t{1}, size_t{2}, encoded.size() / 2, encoded.size() - 4})
  {
    const std::string decoded = Decode<CFlateDecodeFilter>(encoded.substr(0, nCut), &reports);
    EXPECT_EQ(decoded, data.substr(0, decoded.size()));
    if (nCut == encoded.size() - 4)
    {
      EXPECT_EQ(decoded, data);
    }
  }
  EXPECT_EQ(reports.GetCodes(), CCodes{});
}

TEST(FlateFilter, MovesForwardAndBack)
{
  const std::string data = MakeData(60000, 6);
  const CObjectPtr<CFlateDecodeFilter> pFilter(
      new CFlateDecodeFilter(MakeSource(Encode<CFlateEncodeFilter>(data)).Get()));
  EXPECT_TRUE(pFilter->Seek(50000));
  EXPECT_TRUE(pFilter->Seek(20000));
  EXPECT_FALSE(pFilter->Seek(-1));
  EXPECT_EQ(ReadPieces(*pFilter, 30), data.substr(20000));
  EXPECT_FALSE(pFilter->Skip(1));
  EXPECT_EQ(pFilter->Write(reinterpret_cast<const unsigned char*>("x"), 1), 0);
}

}  // namespace
}  // namespace BSE
