#include "base/Tracer.h"
#include "images/filters/PredictionDecodeFilter.h"
#include "images/filters/PredictionEncodeFilter.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "tests/images/filters/FilterFixture.h"

namespace BSE
{
namespace
{

using namespace std::string_literals;

CPredictionParameters Png(int nColumns, int nColors = 1, int nBits = 8)
{
  return {15, nColors, nColumns, nBits};
}

TEST(PredictionFilter, RoundTripsEveryLayout)
{
  for (const int nPredictor : {1, 2, 10, 11, 12, 13, 14, 15})
  {
    for (const int nBits : {1, 2, 4, 8, 16})
    {
      for (const int nColors : {1, 2, 3, 4, 5, 32})
      {
        if (nPredictor == 2 && (nBits == 2 || nBits == 4))
          continue;
        const CPredictionParameters parameters{nPredictor, nColors, 37, nBits};
        // Two rows, a hundred, and one that is cut.
        for (const size_t nSize : {size_t{0}, size_t{14801}})
        {
          SCOPED_TRACE(testing::Message() << nPredictor << " " << nBits << " " << nColors << " " << nSize);
          CReports reports;
          const std::string data = MakeData(nSize, static_cast<unsigned>(nBits * nColors));
          const std::string encoded = Encode<CPredictionEncodeFilter>(data, parameters, &reports);
          const CObjectPtr<CPredictionDecodeFilter> pFilter(
              new CPredictionDecodeFilter(MakeSource(encoded).Get(), parameters, &reports));
          ExpectRoundTrip(pFilter, data, reports);
        }
      }
    }
  }
}

TEST(PredictionFilter, FollowsTheTagOfEachRow)
{
  // Rows of two pixels of three bytes, worked out by hand.
  const std::string encoded =
      "\x00\x0A\x14\x1E\x28\x32\x3C"s   // none
      "\x01\x01\x02\x03\xFF\xFE\xFD"s   // left
      "\x02\x01\x01\x01\xFF\xFF\xFF"s   // above
      "\x03\x0A\x0A\x0A\x01\x01\x01"s   // average
      "\x04\x01\x01\x01\x02\x02\x02"s   // nearest
      "\x09\x05\x06\x07\x08\x09\x0A"s;  // unknown
  const std::string rows =
      "\x0A\x14\x1E\x28\x32\x3C"s
      "\x01\x02\x03\x00\x00\x00"s
      "\x02\x03\x04\xFF\xFF\xFF"s
      "\x0B\x0B\x0C\x86\x86\x86"s
      "\x0C\x0C\x0D\x88\x88\x88"s
      "\x05\x06\x07\x08\x09\x0A"s;
  for (const int nPredictor : {10, 12, 15})
  {
    const CPredictionParameters parameters{nPredictor, 3, 2, 8};
    EXPECT_EQ(Decode<CPredictionDecodeFilter>(encoded, parameters), rows);
  }
}

TEST(PredictionFilter, DecodesTIFFRows)
{
  struct TCase
  {
    CPredictionParameters m_parameters;
    std::string m_encoded;
    std::string m_decoded;
  };
  const TCase cases[] = {
      {{2, 1, 4, 8}, "\x01\x01\xFF\x10\x05\x01\x01\x01"s, "\x01\x02\x01\x11\x05\x06\x07\x08"s},
      {{2, 3, 2, 8}, "\x01\x02\x03\x01\x01\xFF"s, "\x01\x02\x03\x02\x03\x02"s},
      {{2, 1, 3, 16}, "\x00\xFF\x00\x01\xFF\xFF"s, "\x00\xFF\x01\x00\x00\xFF"s},
      {{2, 1, 16, 1}, "\x80\x81"s, "\xFF\x01"s},
      {{2, 2, 8, 1}, "\xC0\x40"s, "\xFF\xAA"s},
  };
  for (const TCase& c : cases)
    EXPECT_EQ(Decode<CPredictionDecodeFilter>(c.m_encoded, c.m_parameters), c.m_decoded);
}

TEST(PredictionFilter, DeliversAnIncompleteLastRow)
{
  const std::string encoded = "\x02\x01\x02\x03\x04\x02\x01\x01"s;
  EXPECT_EQ(Decode<CPredictionDecodeFilter>(encoded, Png(4)), "\x01\x02\x03\x04\x02\x03"s);
  EXPECT_EQ(Decode<CPredictionDecodeFilter>(encoded + "\x01\x01\x02"s, Png(4)),
            "\x01\x02\x03\x04\x02\x03\x04\x05"s);
}

TEST(PredictionFilter, RefusesWhatItCannotDo)
{
  const CPredictionParameters unknown[] = {
      {2, 1, 4, 4}, {3, 1, 4, 8}, {16, 1, 4, 8}, {0, 1, 4, 8}, {-1, 1, 4, 8}};
  for (const CPredictionParameters& parameters : unknown)
  {
    CReports reports;
    const CObjectPtr<CPredictionDecodeFilter> pFilter(
        new CPredictionDecodeFilter(MakeSource("some data").Get(), parameters, &reports));
    EXPECT_FALSE(pFilter->IsValid());
    EXPECT_EQ(ReadPieces(*pFilter, 4), "");
    EXPECT_EQ(reports.GetCodes(), CCodes{});
    EXPECT_EQ(Encode<CPredictionEncodeFilter>("some data", parameters), "failed");
  }
  const int nHuge = 0x7FFFFFFF;
  const CPredictionParameters senseless[] = {
      {12, 0, 4, 8}, {12, 1, -4, 8}, {2, 1, 0, 8}, {12, nHuge, nHuge, nHuge}, {12, 8, nHuge, 8}};
  for (const CPredictionParameters& parameters : senseless)
  {
    CReports reports;
    EXPECT_EQ(Decode<CPredictionDecodeFilter>("some data", parameters, &reports), "");
    EXPECT_EQ(reports.GetCodes(), CCodes{0x80300052U});
  }
}

TEST(PredictionFilter, TracesWhatItCannotDo)
{
  const auto path =
      std::filesystem::temp_directory_path() / ("prediction" + std::to_string(getpid()) + ".txt");
  ASSERT_TRUE(CTracer::SetOutput(path.c_str()));
  Decode<CPredictionDecodeFilter>("x", CPredictionParameters{2, 1, 4, 4});
  Decode<CPredictionDecodeFilter>("x", CPredictionParameters{7, 1, 4, 8});
  EXPECT_EQ(Decode<CPredictionDecodeFilter>("\x05xyz", Png(3)), "xyz");
  CTracer::Close();
  std::ifstream file(path);
  const std::string trace(std::istreambuf_iterator<char>(file), {});
  std::filesystem::remove(path);
  const auto Count = [&trace](const std::string& text)
  {
    int nCount = 0;
    for (size_t nPos = trace.find(text); nPos != std::string::npos; nPos = trace.find(text, nPos + 1))
      ++nCount;
    return nCount;
  };
  // At construction and at the one read.
  EXPECT_EQ(Count("Prediction Filter,\"PDF Predictor: Bits per component is 4.\""), 2);
  EXPECT_EQ(Count("Prediction Filter,\"Unimplemented predictor function 7.\""), 2);
  EXPECT_EQ(Count("Prediction Filter,\"PDF Predictor: Unknown PNG predictor 5.\""), 1);
}

TEST(PredictionFilter, ChoosesTheFilterThatFits)
{
  // A gradient to the right, and rows that repeat.
  std::string right;
  std::string down;
  for (int nRow = 0; nRow < 8; ++nRow)
  {
    for (int nColumn = 0; nColumn < 64; ++nColumn)
    {
      right.push_back(static_cast<char>(nColumn * 3 + nRow * nRow * 40));
      down.push_back(static_cast<char>(nColumn * nColumn * 7));
    }
  }
  EXPECT_EQ(Encode<CPredictionEncodeFilter>(right, Png(64))[3 * 65], '\x01');
  EXPECT_EQ(Encode<CPredictionEncodeFilter>(down, Png(64))[3 * 65], '\x02');
}

}  // namespace
}  // namespace BSE
