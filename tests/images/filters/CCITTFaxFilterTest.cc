#include "images/filters/CCITTFaxDecodeFilter.h"
#include "images/filters/CCITTFaxEncodeFilter.h"

#include <gtest/gtest.h>

#include "tests/images/filters/BitmapFixture.h"
#include "tests/images/filters/FilterFixture.h"

namespace BSE
{
namespace
{

using namespace std::string_literals;

CCCITTFaxParameters MakeParameters(int K, int nColumns)
{
  CCCITTFaxParameters parameters;
  parameters.K = K;
  parameters.Columns = nColumns;
  parameters.BlackIs1 = true;
  return parameters;
}

// Bytes of a text of bits; spaces do not count, the last byte is filled up with zeros.
std::string Bits(const std::string& text)
{
  std::string bytes;
  int nBits = 0;
  for (const char c : text)
  {
    if (c == ' ')
      continue;
    if (nBits++ % 8 == 0)
      bytes.push_back('\0');
    if (c == '1')
      bytes.back() = static_cast<char>(bytes.back() | 0x80 >> ((nBits - 1) % 8));
  }
  return bytes;
}

std::string EncodeRows(const std::string& rows, const CCCITTFaxParameters& parameters)
{
  const CObjectPtr<CMemoryStream> pSink(new CMemoryStream);
  const CObjectPtr<CCCITTFaxEncodeFilter> pFilter(new CCCITTFaxEncodeFilter(pSink.Get(), parameters));
  EXPECT_TRUE(pFilter->WriteAll(reinterpret_cast<const unsigned char*>(rows.data()),
                                static_cast<std::int64_t>(rows.size())));
  EXPECT_TRUE(pFilter->Close());
  return Contents(*pSink);
}

std::string DecodeRows(const std::string& data, const CCCITTFaxParameters& parameters, CReports& reports)
{
  const CObjectPtr<CCCITTFaxDecodeFilter> pFilter(
      new CCCITTFaxDecodeFilter(MakeSource(data).Get(), parameters, &reports));
  return ReadPieces(*pFilter, 3 * ((parameters.Columns % 100000 + 7) / 8));
}

// Rows of 8 pixels from bits, with what is reported.
struct TResult
{
  std::string m_rows;
  CCodes m_codes;
  bool operator==(const TResult&) const = default;
};

TResult DecodeBits(const std::string& bits, CCCITTFaxParameters parameters)
{
  CReports reports;
  std::string rows = DecodeRows(Bits(bits), parameters, reports);
  return {std::move(rows), reports.GetCodes()};
}

const std::string g_end = "000000000001 ";
const std::string g_runs = "000111 010 1011 11 ";  // white 1, black 1, white 4, black 2: 0x43

TEST(CCITTFaxFilter, CodesByTheTables)
{
  EXPECT_EQ(EncodeRows("\x43", MakeParameters(0, 8)),
            Bits(g_runs + g_end + g_end + g_end + g_end + g_end + g_end));
  // The next row moves a change by one, passes over the first run and ends one early.
  EXPECT_EQ(EncodeRows("\x43\x06", MakeParameters(-1, 8)),
            Bits("001 000111 010 000010 1 0001 010 010 1 " + g_end + g_end));
  CCCITTFaxParameters parameters = MakeParameters(2, 8);
  parameters.EndOfLine = true;
  parameters.EndOfBlock = false;
  parameters.BlackIs1 = false;
  EXPECT_EQ(EncodeRows("\xBC\xBC\xBC", parameters),
            Bits(g_end + "1" + g_runs + g_end + "01111 " + g_end + "1" + g_runs + g_end));
}

TEST(CCITTFaxFilter, RoundTripsEveryForm)
{
  for (const int nColumns : {1, 7, 8, 33, 64, 1728, 5300})
  {
    const TBitmap page = MakePage(nColumns, 40, 1);
    const std::string rows = page.m_rows + MakeNoise(nColumns, 5, 500, 2).m_rows +
                             std::string(3 * page.GetRowSize(), '\0') + MakeNoise(nColumns, 9, 3, 3).m_rows;
    for (int nForm = 0; nForm < 7 * 32; ++nForm)
    {
      const int modes[] = {-1, 0, 1, 2, 5, 1099, 1100};
      CCCITTFaxParameters parameters = MakeParameters(modes[nForm / 32], nColumns);
      parameters.BlackIs1 = (nForm & 1) != 0;
      parameters.EndOfLine = (nForm & 2) != 0;
      parameters.EndOfBlock = (nForm & 4) != 0;
      parameters.EncodedByteAlign = (nForm & 8) != 0;
      parameters.bAlignEndOfLine = (nForm & 16) != 0 && parameters.EndOfLine;
      std::string data = rows;
      if (!parameters.BlackIs1)
      {
        // The bits beyond the width are white, as in what is decoded.
        for (char& c : data)
          c = static_cast<char>(~c);
      }
      const std::string encoded = EncodeRows(data, parameters);
      // Blank rows of this form look like the end of a block.
      const bool bAmbiguous = parameters.K > 1099 && parameters.EndOfLine;
      parameters.Rows = !bAmbiguous && (parameters.EndOfBlock || parameters.EndOfLine) ? 0 : 57;
      CReports reports;
      ASSERT_EQ(DecodeRows(encoded, parameters, reports), data) << nColumns << " " << nForm;
      ASSERT_EQ(reports.GetCodes(), CCodes{}) << nColumns << " " << nForm;
    }
  }
}

TEST(CCITTFaxFilter, CodesEveryRun)
{
  // White and black runs of all lengths up to beyond two of the longest make-up codes.
  std::string rows;
  for (int nRun = 0; nRun < 5300; ++nRun)
  {
    TBitmap row(5304, 1);
    for (int x = nRun; x < 5300; ++x)
      row.Set(x, 0);
    rows += row.m_rows;
  }
  CReports reports;
  const CCCITTFaxParameters parameters = MakeParameters(0, 5304);
  EXPECT_TRUE(DecodeRows(EncodeRows(rows, parameters), parameters, reports) == rows);
  EXPECT_EQ(reports.GetCodes(), CCodes{});
}

TEST(CCITTFaxFilter, ReadsReversedBits)
{
  std::string encoded = EncodeRows("\x43\x06"s, MakeParameters(-1, 8));
  for (char& c : encoded)
  {
    unsigned nReversed = 0;
    for (int i = 0; i < 8; ++i)
      nReversed |= (static_cast<unsigned char>(c) >> i & 1U) << (7 - i);
    c = static_cast<char>(nReversed);
  }
  CCCITTFaxParameters parameters = MakeParameters(-1, 8);
  parameters.bReverseBits = true;
  CReports reports;
  EXPECT_EQ(DecodeRows(encoded, parameters, reports), "\x43\x06"s);
}

TEST(CCITTFaxFilter, SavesWhatItCan)
{
  const CCCITTFaxParameters group3 = MakeParameters(0, 8);
  const CCCITTFaxParameters group4 = MakeParameters(-1, 8);
  const std::string end = g_end + g_end;
  // An unknown code in a black run, in a white one, and extensions: the data goes on at the next end of line.
  EXPECT_EQ(DecodeBits("000111 00000000011 " + g_end + g_runs + end, group3),
            (TResult{"\x7F\x43", {0x8030000BU}}));
  EXPECT_EQ(DecodeBits("000111 010 000000001111 11 " + g_end + g_runs + end, group3),
            (TResult{"\x40\x43", {0x8030000AU}}));
  EXPECT_EQ(DecodeBits("001 000111 010 0000001111 " + end, group4), (TResult{"\x40", {0x8030000CU}}));
  EXPECT_EQ(DecodeBits("001 000111 010 00000001 " + end, group4), (TResult{"\x40", {0x8030000DU}}));
  // A change to the left of where the row is does not exist either.
  EXPECT_EQ(DecodeBits("001 000111 010 001 1011 11 010 0000010 " + end, group4).m_codes, CCodes{0x8030000DU});
  // A run of 9 in a row of 8, with what follows it.
  EXPECT_EQ(DecodeBits("10100 " + g_runs + end, group3), (TResult{"\0\x43"s, {0x80300009U}}));
  // Two damaged rows are taken, the third is told, the next no more.
  CCCITTFaxParameters tolerant = group3;
  tolerant.DamagedRowsBeforeError = 2;
  const std::string damaged = "00000000011 " + g_end;
  EXPECT_EQ(DecodeBits(damaged + damaged + end, tolerant), (TResult{"\0\0"s, {}}));
  EXPECT_EQ(DecodeBits(damaged + damaged + damaged + damaged + end, tolerant),
            (TResult{"\0\0\0\0"s, {0x8030000BU}}));
}

TEST(CCITTFaxFilter, KnowsWhatIsMissing)
{
  const auto hasGap = [](const std::string& bits, int nRows)
  {
    CCCITTFaxParameters parameters = MakeParameters(0, 8);
    parameters.Rows = nRows;
    const CObjectPtr<CCCITTFaxDecodeFilter> pFilter(
        new CCCITTFaxDecodeFilter(MakeSource(Bits(bits)).Get(), parameters));
    ReadPieces(*pFilter, 1);
    return pFilter->HasGap();
  };
  EXPECT_FALSE(hasGap(g_runs + g_runs, 2));
  EXPECT_FALSE(hasGap(g_runs + g_runs, 0));
  EXPECT_TRUE(hasGap(g_runs + g_runs, 3));
  EXPECT_TRUE(hasGap("000111 00000000011 " + g_end + g_runs, 2));
}

TEST(CCITTFaxFilter, EndsWhereTheDataEnds)
{
  const CCCITTFaxParameters group3 = MakeParameters(0, 8);
  // Fill before an end of line, single ends of line, no end at all.
  EXPECT_EQ(DecodeBits("0000000" + g_end + g_runs + "000" + g_end + g_runs, group3),
            (TResult{"\x43\x43", {}}));
  EXPECT_EQ(DecodeBits("", group3), TResult{});
  EXPECT_EQ(DecodeBits("00000000 00000000 00000000 0000", group3), TResult{});
  // A last row may be shorter than the code before it; what is none is left out without a report.
  for (const int K : {0, 4, -1})
  {
    CCCITTFaxParameters parameters = MakeParameters(K, 8);
    parameters.EndOfLine = true;
    const std::string code = K > 0 ? g_end + "1" : g_end;
    const std::string row = K < 0 ? "001 " + g_runs.substr(0, 10) + "001 " + g_runs.substr(10) : g_runs;
    const std::string tail = K == 0 ? "10011" : K > 0 ? "0 1111" : "1111";
    EXPECT_EQ(DecodeBits(code + row + g_end + tail, parameters),
              (TResult{K == 0 ? "\x43\0"s : "\x43\x43"s, {}}))
        << K;
    EXPECT_EQ(DecodeBits(code + row + g_end + "00001", parameters), (TResult{"\x43", {}})) << K;
  }
  // The rows told end it too, and then what is after the end of the block can be read from the source.
  for (const int nRows : {0, 1, 2})
  {
    CCCITTFaxParameters parameters = MakeParameters(-1, 8);
    parameters.Rows = nRows;
    const std::string encoded = EncodeRows("\x43\x06"s, parameters);
    const auto pSource = MakeSource("##" + encoded + " EI");
    pSource->Seek(2);
    const CObjectPtr<CCCITTFaxDecodeFilter> pFilter(new CCCITTFaxDecodeFilter(pSource.Get(), parameters));
    EXPECT_EQ(ReadPieces(*pFilter, 4), "\x43\x06"s.substr(0, nRows == 1 ? 1 : 2));
    EXPECT_TRUE(pFilter->SkipToEnd());
    EXPECT_TRUE(nRows == 1 || pSource->Tell() == static_cast<std::int64_t>(2 + encoded.size())) << nRows;
  }
}

TEST(CCITTFaxFilter, TakesCodesThatEndAtBytes)
{
  // Each code of the end has fill before it as those of rows have, with tags and without.
  const std::string code = "0000" + g_end;
  const std::string tagged = "000" + g_end + "1";
  for (int nForm = 0; nForm < 8; ++nForm)
  {
    CCCITTFaxParameters parameters = MakeParameters((nForm & 1) * 4, 8);
    parameters.EndOfLine = (nForm & 2) != 0;
    parameters.EncodedByteAlign = (nForm & 4) != 0;
    const std::string& next = parameters.K > 0 ? tagged : code;
    const std::string row =
        (parameters.K > 0 ? "1" : "") + g_runs + (parameters.K > 0 ? "0000" : "00000") + g_end;
    std::string bits = code + row + row + (parameters.K > 0 ? "1" : "");
    for (int i = 0; i < 5; ++i)
      bits += next;
    EXPECT_EQ(DecodeBits(bits, parameters), (TResult{"\x43\x43", {}})) << nForm;
  }
}

TEST(CCITTFaxFilter, FillsWithBlack)
{
  for (const bool bBlackIs1 : {false, true})
  {
    CCCITTFaxParameters parameters = MakeParameters(0, 16);
    parameters.BlackIs1 = bBlackIs1;
    const char black = bBlackIs1 ? '\xFF' : '\0';
    const std::string encoded = EncodeRows("abcd", parameters);
    const CObjectPtr<CCCITTFaxDecodeFilter> pFilter(
        new CCCITTFaxDecodeFilter(MakeSource(encoded).Get(), parameters));
    std::string buffer(7, '#');
    auto* const pBuffer = reinterpret_cast<unsigned char*>(buffer.data());
    EXPECT_EQ(pFilter->Read(pBuffer, 1), 0);
    EXPECT_EQ(buffer, black + "######"s);
    EXPECT_EQ(pFilter->Read(pBuffer, 3), 2);
    EXPECT_EQ(buffer, "ab#####");
    EXPECT_EQ(pFilter->Read(pBuffer, 7), 2);
    EXPECT_EQ(buffer, "cd" + std::string(5, black));
    EXPECT_TRUE(pFilter->Reset());
    EXPECT_EQ(ReadPieces(*pFilter, 4), "abcd");
  }
}

TEST(CCITTFaxFilter, RefusesWhatGivesNoRow)
{
  for (const int nColumns : {0, -5, 0x7FFFFFFF})
  {
    CReports reports;
    EXPECT_EQ(DecodeRows("1111", MakeParameters(-1, nColumns), reports).size(), 0U);
    EXPECT_EQ(reports.GetCodes(), CCodes{0x80300052U});
  }
  // A blank row is one bit, however long; what comes out is bounded as an image is.
  CReports reports;
  const CObjectPtr<CCCITTFaxDecodeFilter> pFilter(new CCCITTFaxDecodeFilter(
      MakeSource(std::string(100, '\xFF')).Get(), MakeParameters(-1, 1 << 29), &reports));
  EXPECT_TRUE(pFilter->SkipToEnd());
  EXPECT_EQ(pFilter->Tell(), 800LL << 26);
  EXPECT_TRUE(pFilter->Reset());
  std::string row(1 << 26, '\0');
  int nRows = 0;
  while (pFilter->Read(reinterpret_cast<unsigned char*>(row.data()), 1 << 26) > 0)
    ++nRows;
  EXPECT_EQ(nRows, 4);
  EXPECT_EQ(reports.GetCodes(), CCodes{g_nSizeExceeded});
}

}  // namespace
}  // namespace BSE
