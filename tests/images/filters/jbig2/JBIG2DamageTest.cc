// Data that is damaged, or made to cost more than it should.

#include "tests/images/filters/jbig2/JBIG2Fixture.h"

namespace BSE
{
namespace
{

using namespace std::string_literals;

constexpr unsigned g_nFatal = 0x8A030015U;
constexpr unsigned g_nWarning = 0x0A038014U;

std::string GenericSegment(unsigned nNumber, const TBitmap& bitmap, int x, int y, int nFlags = 0)
{
  CArithmeticWriter writer;
  writer.Generic(bitmap, 0, DefaultPlaces(0));
  return Segment(nNumber, 38, {},
                 RegionHead(bitmap.m_nWidth, bitmap.m_nHeight, x, y, nFlags) + Number8(0) +
                     Numbers(DefaultPlaces(0)) + writer.Finish());
}

// A dictionary with one symbol.
std::string DictionarySegment(unsigned nNumber, const TBitmap& symbol)
{
  CArithmeticWriter writer;
  writer.Integer("IADH", symbol.m_nHeight);
  writer.Integer("IADW", symbol.m_nWidth);
  writer.Generic(symbol, 0, DefaultPlaces(0));
  writer.Integer("IADW", std::nullopt);
  writer.Integer("IAEX", 0);
  writer.Integer("IAEX", 1);
  return Segment(nNumber, 0, {},
                 Number16(0) + Numbers(DefaultPlaces(0)) + Number32(1) + Number32(1) + writer.Finish());
}

// The only symbol of a dictionary again and again in one line.
std::string TextSegment(unsigned nNumber, unsigned nDictionary, int nWidth, int nHeight, int nCount,
                        int nStep)
{
  CArithmeticWriter writer;
  writer.Integer("IADT", 0);
  writer.Integer("IADT", 0);
  writer.Integer("IAFS", 0);
  for (int i = 1; i < nCount; ++i)
    writer.Integer("IADS", nStep);
  writer.Integer("IADS", std::nullopt);
  return Segment(nNumber, 6, {nDictionary},
                 RegionHead(nWidth, nHeight, 0, 0) + Number16(16) + Number32(nCount) + writer.Finish());
}

std::string PatternSegment(unsigned nNumber)
{
  CArithmeticWriter writer;
  writer.Generic(MakeNoise(16, 4, 500, 1), 0, {{-4, 0}, {-3, -1}, {2, -2}, {-2, -2}});
  return Segment(nNumber, 16, {}, Number8(0) + Number8(4) + Number8(4) + Number32(3) + writer.Finish());
}

std::string HalftoneSegment(unsigned nNumber, unsigned nDictionary)
{
  CArithmeticWriter writer;
  writer.Generic(MakeNoise(15, 10, 500, 2), 0, DefaultPlaces(0));
  writer.Generic(MakeNoise(15, 10, 500, 3), 0, DefaultPlaces(0));
  return Segment(nNumber, 22, {nDictionary},
                 RegionHead(60, 40, 60, 0) + Number8(0) + Number32(15) + Number32(10) + Number32(0) +
                     Number32(0) + Number16(1024) + Number16(0) + writer.Finish());
}

// A page with a segment of each kind, and where they begin.
std::string MakeData(std::vector<size_t>& starts)
{
  std::string data = PageSegment(130, 90);
  for (const std::string& segment :
       {DictionarySegment(1, MakeNoise(11, 9, 500, 4)), TextSegment(2, 1, 130, 90, 9, 3), PatternSegment(3),
        HalftoneSegment(4, 3), GenericSegment(5, MakePage(100, 40, 5), 10, 45)})
  {
    starts.push_back(data.size());
    data += segment;
  }
  return data;
}

TEST(JBIG2Damage, TellsWhatIsMissing)
{
  std::vector<size_t> starts;
  const std::string data = MakeData(starts);
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
  std::vector<size_t> starts;
  const std::string data = MakeData(starts);
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
  const TBitmap bitmap = MakeNoise(60, 20, 500, 7);
  const std::u16string colour = u"the colour extension is not supported";
  const std::u16string missing = u"a segment that it refers to is missing or damaged";
  const TCase cases[] = {
      {"", g_nFatal, u"there is no page"},
      {Segment(1, 51, {}, ""), g_nFatal, u"there is no page"},
      {PageSegment(0, 20), g_nFatal, u"there is no page"},
      {PageSegment(70000, 70000), g_nFatal, u"page 0: a bitmap has an impossible size"},
      {page + GenericSegment(1, bitmap, 0, 0, 8), g_nFatal, u"generic region 1: " + colour},
      {page + Segment(1, 54, {}, "xx"), g_nFatal, u"colour palette 1: " + colour},
      {page + GenericSegment(1, bitmap, 0, 0, 5), g_nFatal,
       u"generic region 1: the header is cut or impossible"},
      {page + Segment(1, 13, {}, ""), g_nWarning, u"segment 1: a segment of an unknown type is left out"},
      {page + PageSegment(60, 20), g_nWarning, u"page 0: a second page is left out"},
      {page + TextSegment(2, 1, 60, 20, 2, 0), g_nFatal, u"text region 2: " + missing},
      {page + TextSegment(1, 1, 60, 20, 2, 0), g_nFatal, u"text region 1: " + missing},
      {page + Segment(1, 22, {}, RegionHead(60, 20, 0, 0) + std::string(21, '\0')), g_nFatal,
       u"halftone region 1: it refers to no pattern dictionary"},
      {page + Segment(1, 53, {}, std::string(9, '\0')), g_nFatal,
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
  const TBitmap symbol = MakeNoise(600, 600, 500, 8);
  // Dictionaries that each make known what two of the one before do.
  std::string doubling = PageSegment(60, 20) + DictionarySegment(1, TBitmap(1, 1));
  for (unsigned i = 2; i < 40; ++i)
  {
    CArithmeticWriter writer;
    const std::int64_t nCount = std::int64_t{1} << (i - 1);
    writer.Integer("IAEX", 0);
    writer.Integer("IAEX", nCount);
    doubling +=
        Segment(i, 0, {i - 1, i - 1},
                Number16(0) + Numbers(DefaultPlaces(0)) + Number32(nCount) + Number32(0) + writer.Finish());
  }
  const std::string head = Number16(0) + Numbers(DefaultPlaces(0));
  const std::string cases[] = {
      // A large page, large symbols drawn often, a grid of many places, many symbols, a doubling.
      PageSegment(46000, 46000),
      PageSegment(1000, 1000) + DictionarySegment(1, symbol) + TextSegment(2, 1, 1000, 1000, 200000, -599),
      PageSegment(60, 20) + Segment(1, 16, {}, Number8(1) + Number8(1) + Number8(1) + Number32(0) + "\x80") +
          Segment(2, 22, {1},
                  RegionHead(60, 20, 0, 0) + Number8(8) + Number32(1 << 30) + Number32(1) +
                      std::string(20, '\0')),
      PageSegment(60, 20) + Segment(1, 0, {},
                                    Number16(2) + Numbers(DefaultPlaces(0)) + Number32(0) + Number32(0) +
                                        Number32(0x3FFFFFFF) + std::string(50, '\0')),
      doubling,
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
      MakeSource(
          PageSegment(20000, 20000) +
          Segment(1, 38, {}, RegionHead(20000, 20000, 0, 0) + Number8(0) + Numbers(DefaultPlaces(0)) + code))
          .Get(),
      CJBIG2Parameters{}, &reports));
  std::string row(2500, '\0');
  EXPECT_EQ(pFilter->Read(reinterpret_cast<unsigned char*>(row.data()), 2500), 2500);
  EXPECT_EQ(reports.GetCodes(), CCodes{});
}

}  // namespace
}  // namespace BSE
