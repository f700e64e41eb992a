#include "images/filters/ASCII85DecodeFilter.h"
#include "images/filters/ASCII85EncodeFilter.h"
#include "images/filters/ASCIIHexDecodeFilter.h"
#include "images/filters/ASCIIHexEncodeFilter.h"
#include "images/filters/RunLengthDecodeFilter.h"
#include "images/filters/RunLengthEncodeFilter.h"

#include <gtest/gtest.h>

#include "tests/images/filters/FilterFixture.h"

namespace BSE
{
namespace
{

using namespace std::string_literals;

struct TCase
{
  std::string m_encoded;
  std::string m_decoded;
  CCodes m_codes;
  bool m_bGap = false;
};

template <class F>
void ExpectCases(std::span<const TCase> cases)
{
  for (const TCase& c : cases)
  {
    // The piece of one byte makes a filter keep what it decoded beyond it.
    for (const std::int64_t nPiece : {1, 3, 1000})
    {
      CReports reports;
      const CObjectPtr<F> pFilter(new F(MakeSource(c.m_encoded).Get(), &reports));
      EXPECT_EQ(ReadPieces(*pFilter, nPiece), c.m_decoded) << c.m_encoded;
      EXPECT_EQ(reports.GetCodes(), c.m_codes) << c.m_encoded;
      EXPECT_TRUE(pFilter->HasEnded());
      EXPECT_EQ(pFilter->HasGap(), c.m_bGap) << c.m_encoded;
    }
  }
}

template <class E, class D>
void ExpectRoundTrips()
{
  for (const size_t nSize :
       {size_t{0}, size_t{1}, size_t{2}, size_t{3}, size_t{4}, size_t{130}, size_t{70000}})
  {
    SCOPED_TRACE(nSize);
    const std::string data = MakeData(nSize, static_cast<unsigned>(nSize));
    CReports reports;
    const CObjectPtr<D> pFilter(new D(MakeSource(Encode<E>(data)).Get(), &reports));
    ExpectRoundTrip(pFilter, data, reports);
  }
}

// The source is after the end marker, however the end was reached.
template <class F>
void ExpectSourceBehind(const std::string& encoded, bool bSkip)
{
  const auto pSource = MakeSource("##" + encoded + " EI");
  pSource->Seek(2);
  const CObjectPtr<F> pFilter(new F(pSource.Get()));
  if (bSkip)
    EXPECT_TRUE(pFilter->SkipToEnd());
  else
    ReadPieces(*pFilter, 100);
  EXPECT_EQ(pSource->Tell(), static_cast<std::int64_t>(2 + encoded.size()));
  EXPECT_EQ(ReadPieces(*pFilter, 100), "");
}

TEST(ASCIIHexFilter, Decodes)
{
  const TCase cases[] = {
      {">", "", {}},
      {"", "", {}},
      {"41 4a\n4B>rest", "AJK", {}},
      {"A>", "\xA0", {}},
      {"414", "A", {}, true},
      {"41g42>", "A", {0x80300007U}, true},
      {"41\x80>", "A", {0x80300007U}, true},
  };
  ExpectCases<CASCIIHexDecodeFilter>(cases);
}

TEST(ASCIIHexFilter, RoundTripsInLines)
{
  ExpectRoundTrips<CASCIIHexEncodeFilter, CASCIIHexDecodeFilter>();
  const std::string encoded = Encode<CASCIIHexEncodeFilter>(std::string(81, '\xAB'));
  EXPECT_EQ(encoded.substr(158), "AB\nAB>");
  ExpectSourceBehind<CASCIIHexDecodeFilter>("41 42>", true);
  ExpectSourceBehind<CASCIIHexDecodeFilter>("41 42>", false);
}

TEST(ASCII85Filter, Decodes)
{
  const TCase cases[] = {
      {"~>", "", {}},
      {"87cURD]i,\"Ebo80~>", "Hello World!", {}},
      {"87cUR D]i\n,\"Ebo7~>", "Hello World"s, {}},
      {"zz!!~>", "\0\0\0\0\0\0\0\0\0"s, {}},
      {"s8W-!~>", "\xFF\xFF\xFF\xFF", {}},
      {"s8W-\"~>", "\xFF\xFF\xFF\xFF", {0x80300002U}, true},
      {"uuuuu~>", "\xFF\xFF\xFF\xFF", {0x80300002U}, true},
      {"uu~>", "\xFF", {0x80300002U}, true},
      {"87zcUR~>", "Hell", {0x80300003U}, true},
      {"87cUR8~>", "Hell", {0x80300004U}, true},
      {"87v\x7F"
       "cUR~>",
       "Hell",
       {0x80300005U, 0x80300005U},
       true},
      {"87cUR", "Hell", {0x80300006U}},
      {"87cURD]i", "Hell", {0x80300006U}, true},
  };
  ExpectCases<CASCII85DecodeFilter>(cases);
}

TEST(ASCII85Filter, RoundTrips)
{
  ExpectRoundTrips<CASCII85EncodeFilter, CASCII85DecodeFilter>();
  ExpectSourceBehind<CASCII85DecodeFilter>("87cUR~>", true);
  ExpectSourceBehind<CASCII85DecodeFilter>("87cUR~>", false);
}

TEST(ASCII85Filter, DoesNotFloodItsReports)
{
  CReports reports;
  EXPECT_EQ(Decode<CASCII85DecodeFilter>(std::string(100000, 'x') + "87cUR~>", &reports), "Hell");
  EXPECT_EQ(reports.GetCodes().size(), size_t{CASCII85DecodeFilter::g_nMaxReports});
}

TEST(RunLengthFilter, Decodes)
{
  const TCase cases[] = {
      {"\x80", "", {}},
      {"", "", {}},
      {"\x02"
       "abc\xFE"
       "d\x80rest",
       "abcddd",
       {}},
      {"\x81q\x80", std::string(128, 'q'), {}},
      {"\x04"
       "ab",
       "ab\xFF\xFF\xFF",
       {},
       true},
      {"\xFE", "\xFF\xFF\xFF", {}, true},
      {"\x00x"s, "x", {}},
  };
  ExpectCases<CRunLengthDecodeFilter>(cases);
}

TEST(RunLengthFilter, EncodesInRuns)
{
  ExpectRoundTrips<CRunLengthEncodeFilter, CRunLengthDecodeFilter>();
  const TCase cases[] = {
      {"\x80", "", {}},
      {"\x00x\x80"s, "x", {}},
      {"\xFFx\x80", "xx", {}},
      {"\x01"
       "ab\xFE"
       "c\x00"
       "d\x80"s,
       "abcccd",
       {}},
      {"\x81q\xFFq\x80", std::string(130, 'q'), {}},
  };
  for (const TCase& c : cases)
    EXPECT_EQ(Encode<CRunLengthEncodeFilter>(c.m_decoded), c.m_encoded);
  ExpectSourceBehind<CRunLengthDecodeFilter>(
      "\x02"
      "abc\x80",
      true);
  ExpectSourceBehind<CRunLengthDecodeFilter>(
      "\x02"
      "abc\x80",
      false);
}

}  // namespace
}  // namespace BSE
