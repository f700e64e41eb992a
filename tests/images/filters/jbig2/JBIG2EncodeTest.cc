#include "images/filters/jbig2/JBIG2EncodeFilter.h"
#include "images/filters/jbig2/JBIG2GenericEncoder.h"

#include "tests/images/filters/jbig2/JBIG2Fixture.h"

namespace BSE
{
namespace
{

// The rows as an encoder is given them: 0 for black, and anything beyond the width.
std::string Encode(const TBitmap& bitmap)
{
  std::string rows = bitmap.m_rows;
  for (char& c : rows)
    c = static_cast<char>(~c);
  CJBIG2Parameters parameters;
  parameters.nWidth = bitmap.m_nWidth;
  parameters.nHeight = bitmap.m_nHeight;
  parameters.nResolutionX = 600;
  const CObjectPtr<CMemoryStream> pSink(new CMemoryStream);
  const CObjectPtr<CJBIG2EncodeFilter> pFilter(new CJBIG2EncodeFilter(pSink.Get(), parameters));
  EXPECT_TRUE(pFilter->WriteAll(reinterpret_cast<const unsigned char*>(rows.data()),
                                static_cast<std::int64_t>(rows.size())));
  EXPECT_TRUE(pFilter->Close());
  return Contents(*pSink);
}

// What one generic region would take.
size_t GetGenericSize(const TBitmap& bitmap)
{
  CJBIG2Run run;
  const CObjectPtr<CJBIG2Bitmap> pBitmap = CJBIG2Bitmap::Create(run, bitmap.m_nWidth, bitmap.m_nHeight);
  for (int i = 0; i < bitmap.m_nWidth * bitmap.m_nHeight; ++i)
    if (bitmap.Get(i % bitmap.m_nWidth, i / bitmap.m_nWidth))
      pBitmap->FillRun(i / bitmap.m_nWidth, i % bitmap.m_nWidth, i % bitmap.m_nWidth + 1);
  CJBIG2ArithmeticEncoder encoder;
  CJBIG2GenericEncoder(TJBIG2GenericForm::Make(0)).Encode(encoder, *pBitmap);
  encoder.Flush();
  return PageSegment(1, 1).size() + GenericSegment(1, 1, 0, "").size() + encoder.GetBytes().size();
}

void ExpectPicture(const std::string& data, const TBitmap& expected)
{
  CReports reports;
  EXPECT_TRUE(DecodeJBIG2(data, reports) == expected.m_rows);
  EXPECT_EQ(reports.GetCodes(), CCodes{});
}

TEST(JBIG2Encoder, RoundTripsAndIsNeverLarger)
{
  for (const int nWidth : {1, 2, 7, 8, 9, 63, 64, 65, 200, 1000})
  {
    std::vector<TBitmap> bitmaps{TBitmap(nWidth, 1), TBitmap(nWidth, 70), MakePage(nWidth, 300, 1)};
    for (const unsigned nDensity : {2U, 30U, 300U, 700U, 1000U})
      bitmaps.push_back(MakeNoise(nWidth, 90, nDensity, nDensity));
    for (const TBitmap& bitmap : bitmaps)
    {
      SCOPED_TRACE(nWidth);
      const std::string data = Encode(bitmap);
      ExpectPicture(data, bitmap);
      EXPECT_LE(data.size(), GetGenericSize(bitmap));
    }
  }
}

TEST(JBIG2Encoder, FindsWhatRepeats)
{
  const TBitmap page = MakePage(1500, 1500, 2);
  TBitmap noisy = page;
  std::mt19937 random(3);
  for (int i = 0; i < 6000; ++i)
    noisy.Invert(static_cast<int>(random() % 1500), static_cast<int>(random() % 1500));
  // Shapes around others, and some that touch by corners only.
  TBitmap nested(800, 800);
  for (int i = 0; i < 400; ++i)
  {
    const int x = i % 20 * 40;
    const int y = i / 20 * 40;
    for (int k = 0; k < 30; ++k)
      for (const auto& [dx, dy] : {std::pair(k, 0), std::pair(k, 29), std::pair(0, k), std::pair(29, k),
                                   std::pair(10 + k / 3, 10 + k / 4)})
        nested.Set(x + dx, y + dy);
    nested.Set(x + 30, y + 30);
    nested.Invert(x + i % 28 + 1, y + 5);
  }
  const std::pair<const TBitmap*, double> cases[] = {{&page, 0.6}, {&noisy, 1}, {&nested, 0.6}};
  for (const auto& [pBitmap, dShare] : cases)
  {
    const std::string data = Encode(*pBitmap);
    ExpectPicture(data, *pBitmap);
    EXPECT_LT(static_cast<double>(data.size()), dShare * static_cast<double>(GetGenericSize(*pBitmap)));
  }
}

TEST(JBIG2Encoder, TakesTheRowsOfTheImage)
{
  CJBIG2Parameters parameters;
  parameters.nWidth = 12;
  parameters.nHeight = 3;
  unsigned char rows[8] = {};
  const CObjectPtr<CMemoryStream> pSink(new CMemoryStream);
  const CObjectPtr<CJBIG2EncodeFilter> pFilter(new CJBIG2EncodeFilter(pSink.Get(), parameters));
  EXPECT_EQ(pFilter->Write(rows, 1), 0);
  EXPECT_EQ(pFilter->Write(rows, 5), 4);
  EXPECT_EQ(pFilter->Write(rows, 8), 2);
  EXPECT_EQ(pFilter->Write(rows, 2), 0);
  EXPECT_TRUE(pFilter->Close());
  const CObjectPtr<CJBIG2DecodeFilter> pDecoder(new CJBIG2DecodeFilter(MakeSource(Contents(*pSink)).Get()));
  EXPECT_EQ(pDecoder->GetParameters().nHeight, 3);
  EXPECT_NEAR(pDecoder->GetParameters().nResolutionX, 300, 0.01);
  // An image of which rows are missing would be another one.
  const CObjectPtr<CJBIG2EncodeFilter> pShort(new CJBIG2EncodeFilter(pSink.Get(), parameters));
  EXPECT_EQ(pShort->Write(rows, 4), 4);
  EXPECT_FALSE(pShort->Close());
  CReports reports;
  parameters.nWidth = 0;
  EXPECT_FALSE(
      CObjectPtr<CJBIG2EncodeFilter>(new CJBIG2EncodeFilter(pSink.Get(), parameters, &reports))->IsValid());
  EXPECT_EQ(reports.GetCodes(), CCodes{0x80300052U});
}

}  // namespace
}  // namespace BSE
