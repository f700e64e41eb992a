// Data that is damaged, or made to cost more than it should.

#include "images/filters/jbig2/JBIG2ArithmeticEncoder.h"
#include "tests/images/filters/jbig2/JBIG2Fixture.h"

namespace BSE
{
namespace
{

using namespace std::string_literals;

constexpr unsigned g_nFatal = 0x8A030015U;
constexpr unsigned g_nWarning = 0x0A038014U;

// Where the segments after the page begin, each with a number below 256.
std::vector<size_t> FindSegments(const std::string& data)
{
  std::vector<size_t> starts;
  size_t nLength = 0;
  for (size_t i = 0; i < data.size(); i += nLength)
  {
    if (i > 0)
      starts.push_back(i);
    const size_t nHead = 11 + (static_cast<unsigned char>(data[i + 5]) >> 5);
    nLength = nHead + static_cast<unsigned char>(data[i + nHead - 1]) +
              (size_t{256} * static_cast<unsigned char>(data[i + nHead - 2]));
  }
  return starts;
}

TEST(JBIG2Damage, TellsWhatIsMissing)
{
  const std::string data = ReadSample("page.jb2");
  const std::vector<size_t> starts = FindSegments(data);
  CReports none;
  const std::string picture = DecodeJBIG2(data, none);
  ASSERT_EQ(none.GetCodes(), CCodes{});
  ASSERT_EQ(picture.size(), 90U * 17);
  for (size_t nSize = starts.front(); nSize < data.size(); ++nSize)
  {
    CReports reports;
    const std::string rows = DecodeJBIG2(data.substr(0, nSize), reports);
    EXPECT_EQ(rows.size(), picture.size());
    // The number of a segment begins with zeros, which could be padding.
    const bool bPadding =
        std::any_of(starts.begin(), starts.end(), [nSize](size_t n) { return nSize >= n && nSize < n + 4; });
    EXPECT_TRUE(rows == picture || bPadding || !reports.GetCodes().empty()) << nSize;
  }
  // What is before the damage and after it is there.
  std::string damaged = data;
  damaged[starts[2] + 12] = '\x7F';
  CReports reports;
  const std::string rows = DecodeJBIG2(damaged, reports);
  EXPECT_EQ(rows.substr(0, 7), picture.substr(0, 7));
  EXPECT_EQ(rows.substr(45 * 17), picture.substr(45 * 17));
  EXPECT_EQ(reports.GetCodes(), CCodes(2, g_nFatal));
}

TEST(JBIG2Damage, SurvivesAnyByte)
{
  const std::string data = ReadSample("page.jb2");
  const std::vector<size_t> starts = FindSegments(data);
  std::mt19937 random(6);
  for (int i = 0; i < 3000; ++i)
  {
    std::string damaged = data;
    for (auto nLeft = 1 + random() % 3; nLeft > 0; --nLeft)
      damaged[starts.front() + random() % (data.size() - starts.front())] = static_cast<char>(random());
    CReports reports;
    EXPECT_EQ(DecodeJBIG2(damaged, reports).size(), 90U * 17);
  }
}

// Keeps what the decoder said.
class CMessages : public CErrorHandler
{
public:
  CMessages() { SetThreshold(0); }
  void OnHandleError(CScopedPtr<IError>& pError) override
  {
    m_codes.push_back(pError->GetCode());
    m_texts.emplace_back(pError->GetProperties()->Find("msg")->GetText());
  }

  CCodes m_codes;
  std::vector<std::u16string> m_texts;
};

struct TCase
{
  std::string m_data;
  unsigned m_nCode;
  std::u16string m_text;
};

TEST(JBIG2Damage, SaysWhatIsWrong)
{
  const std::string page = PageSegment(60, 20);
  const std::string zeros(30, '\0');
  const std::string text = RegionHead(60, 20) + zeros;
  const std::u16string colour = u"the colour extension is not supported";
  const std::u16string missing = u"a segment that it refers to is missing or damaged";
  const TCase cases[] = {
      {"", g_nFatal, u"there is no page"},
      {Segment(1, 51, "", ""), g_nFatal, u"there is no page"},
      {PageSegment(0, 20), g_nFatal, u"there is no page"},
      {PageSegment(70000, 70000), g_nFatal, u"page 0: a bitmap has an impossible size"},
      {page + GenericSegment(60, 20, 8, zeros), g_nFatal, u"generic region 1: " + colour},
      {page + Segment(1, 54, "", "xx"), g_nFatal, u"colour palette 1: " + colour},
      {page + GenericSegment(60, 20, 5, zeros), g_nFatal,
       u"generic region 1: the header is cut or impossible"},
      {page + Segment(1, 13, "", ""), g_nWarning, u"segment 1: a segment of an unknown type is left out"},
      {page + PageSegment(60, 20), g_nWarning, u"page 0: a second page is left out"},
      {page + Segment(2, 6, "\1", text), g_nFatal, u"text region 2: " + missing},
      {page + Segment(1, 6, "\1", text), g_nFatal, u"text region 1: " + missing},
      {page + Segment(1, 22, "", text), g_nFatal, u"halftone region 1: it refers to no pattern dictionary"},
      {page + Segment(1, 53, "", std::string(9, '\0')), g_nFatal,
       u"tables 1: the Huffman table is cut or has an impossible range"},
      {page + "\xFF\xFF"s, g_nFatal, u"the header of a segment is damaged"},
  };
  for (const TCase& c : cases)
  {
    CMessages messages;
    const CObjectPtr<CJBIG2DecodeFilter> pFilter(
        new CJBIG2DecodeFilter(MakeSource(c.m_data).Get(), CJBIG2Parameters{}, &messages));
    ReadPieces(*pFilter, 10000);
    EXPECT_EQ(messages.m_codes, CCodes{c.m_nCode});
    EXPECT_EQ(messages.m_texts, std::vector{c.m_text});
    EXPECT_EQ(pFilter->HasGap(), pFilter->IsValid() && c.m_nCode == g_nFatal);
  }
}

TEST(JBIG2Damage, KeepsWithinItsLimits)
{
  const std::string cases[] = {
      // A large page, large symbols drawn often, a grid of many places, many symbols, a doubling.
      PageSegment(46000, 46000),
      ReadSample("heavy.jb2"),
      PageSegment(60, 20) + Segment(1, 16, "", "\1\1\1\0\0\0\0\x80"s) +
          Segment(2, 22, "\1",
                  RegionHead(60, 20) + '\x8' + Number(1 << 30, 4) + Number(1, 4) + std::string(20, '\0')),
      PageSegment(60, 20) + Segment(1, 0, "",
                                    "\0\2\x03\xFF\xFD\xFF\x02\xFE\xFE\xFE"s + std::string(8, '\0') +
                                        Number(0x3FFFFFFF, 4) + std::string(50, '\0')),
      ReadSample("doubling.jb2"),
  };
  for (const std::string& data : cases)
  {
    CReports reports;
    DecodeJBIG2(data, reports);
    EXPECT_FALSE(reports.GetCodes().empty());
  }
  // A white page is cheap however large it is.
  CJBIG2ArithmeticEncoder encoder;
  TJBIG2Context nContext = 0;
  encoder.EncodeZeros(nContext, std::int64_t{20000} * 20000);
  encoder.Flush();
  const std::string code(encoder.GetBytes().begin(), encoder.GetBytes().end());
  CReports reports;
  const CObjectPtr<CJBIG2DecodeFilter> pFilter(new CJBIG2DecodeFilter(
      MakeSource(PageSegment(20000, 20000) + GenericSegment(20000, 20000, 0, code)).Get(), CJBIG2Parameters{},
      &reports));
  std::string row(2500, '\0');
  EXPECT_EQ(pFilter->Read(reinterpret_cast<unsigned char*>(row.data()), 2500), 2500);
  EXPECT_EQ(reports.GetCodes(), CCodes{});
}

}  // namespace
}  // namespace BSE
