#include "images/filters/DCTDecodeFilter.h"
#include "images/filters/DCTEncodeFilter.h"
#include "images/filters/DCTError.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tests/images/filters/FilterFixture.h"
#include "tests/images/filters/JpegFixture.h"

namespace BSE
{
namespace
{

using namespace std::string_literals;

constexpr unsigned g_nCut = 0x8A040078U;    // premature end of a data segment
constexpr unsigned g_nNoEnd = 0x8A04007BU;  // premature end of the file

// Keeps warnings too.
class CMessages : public CReports
{
public:
  CMessages() { SetThreshold(0); }
};

struct TPicture
{
  std::string m_rows;
  CDCTParameters m_parameters;
  CCodes m_codes;
  bool m_bGap = false;
  bool m_bAmbiguous = false;
};

TPicture DecodePicture(const std::string& data, int nColorTransform = -1)
{
  CMessages reports;
  CDCTParameters parameters;
  parameters.nColorTransform = nColorTransform;
  const CObjectPtr<CDCTDecodeFilter> pFilter(
      new CDCTDecodeFilter(MakeSource(data).Get(), parameters, &reports));
  TPicture picture;
  picture.m_rows = ReadPieces(*pFilter, pFilter->GetBlockSize());
  picture.m_parameters = pFilter->GetParameters();
  picture.m_codes = reports.GetCodes();
  picture.m_bGap = pFilter->HasGap();
  picture.m_bAmbiguous = pFilter->IsAmbiguous();
  return picture;
}

std::string EncodePicture(const std::string& rows, const CDCTParameters& parameters)
{
  const CObjectPtr<CMemoryStream> pSink(new CMemoryStream);
  const CObjectPtr<CDCTEncodeFilter> pFilter(new CDCTEncodeFilter(pSink.Get(), parameters));
  EXPECT_TRUE(pFilter->WriteAll(reinterpret_cast<const unsigned char*>(rows.data()),
                                static_cast<std::int64_t>(rows.size())));
  EXPECT_TRUE(pFilter->Close());
  return Contents(*pSink);
}

CDCTParameters MakeParameters(int nWidth, int nHeight, int nColorSpace, int nColorTransform)
{
  CDCTParameters parameters;
  parameters.nWidth = nWidth;
  parameters.nHeight = nHeight;
  parameters.nColorSpace = nColorSpace;
  parameters.nColorTransform = nColorTransform;
  parameters.nQuality = 95;
  return parameters;
}

int GetLargestDifference(const std::string& a, const std::string& b)
{
  int nLargest = a.size() == b.size() ? 0 : 1000;
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
    nLargest =
        std::max(nLargest, std::abs(static_cast<unsigned char>(a[i]) - static_cast<unsigned char>(b[i])));
  return nLargest;
}

// With a segment after the marker that starts the image.
std::string Insert(const std::string& jpeg, char nMarker, const std::string& segment)
{
  const std::size_t nLength = segment.size() + 2;
  return jpeg.substr(0, 2) + "\xFF" + nMarker + static_cast<char>(nLength >> 8) + static_cast<char>(nLength) +
         segment + jpeg.substr(2);
}

std::string WithoutAdobe(std::string jpeg)
{
  return jpeg.erase(jpeg.find("\xFF\xEE"), 16);
}

void WriteProgressive(jpeg_compress_struct& info)
{
  jpeg_simple_progression(&info);
}

TEST(DCTFilter, RoundTripsWithinItsError)
{
  const int sizes[][2] = {{1, 1}, {3, 40}, {8, 8}, {17, 33}, {255, 2}, {641, 90}};
  const int forms[][3] = {
      {eDCTGray, 0, 1}, {eDCTRGB, 0, 3}, {eDCTRGB, 1, 3}, {eDCTCMYK, 0, 4}, {eDCTCMYK, 1, 4}};
  for (const auto& size : sizes)
  {
    for (const auto& form : forms)
    {
      CDCTParameters parameters = MakeParameters(size[0], size[1], form[0], form[1]);
      // Without the transform RGB has no header that could tell a resolution.
      const bool bTold = form[0] != eDCTRGB || form[1] != 0;
      parameters.dResolutionX = 299.6;
      parameters.dResolutionY = 72;
      const std::string rows = MakePicture(size[0], size[1], form[2]);
      const TPicture picture = DecodePicture(EncodePicture(rows, parameters), form[1]);
      EXPECT_LE(GetLargestDifference(picture.m_rows, rows), form[1] == 0 ? 12 : 40)
          << size[0] << " " << form[0];
      EXPECT_EQ(picture.m_codes, CCodes{});
      EXPECT_EQ(picture.m_parameters.nWidth, size[0]);
      EXPECT_EQ(picture.m_parameters.nHeight, size[1]);
      EXPECT_EQ(picture.m_parameters.dResolutionX, bTold ? 300 : 0);
      EXPECT_EQ(picture.m_parameters.dResolutionY, bTold ? 72 : 0);
    }
  }
}

TEST(DCTFilter, GivesWhatTheLibraryGives)
{
  const std::string files[] = {MakeJpeg(130, 70, 1),
                               MakeJpeg(130, 70, 3),
                               MakeJpeg(130, 70, 4),
                               MakeJpeg(130, 70, 3, WriteProgressive),
                               MakeJpeg(130, 70, 3, [](auto& info) { info.restart_interval = 2; }),
                               MakeJpeg(130, 70, 3, [](auto& info) { info.arith_code = TRUE; }),
                               MakeJpeg(130, 70, 3, [](auto& info) { info.comp_info[0].h_samp_factor = 1; })};
  for (const std::string& file : files)
  {
    const TPicture picture = DecodePicture(file, 1);
    EXPECT_EQ(picture.m_rows, DecodeJpeg(file));
    EXPECT_EQ(picture.m_codes, CCodes{});
    // Without the marker at its end nothing of the image is missing.
    const TPicture open = DecodePicture(file.substr(0, file.size() - 2), 1);
    EXPECT_EQ(open.m_rows, picture.m_rows);
  }
}

TEST(DCTFilter, DecidesOnColors)
{
  const std::string rows = MakePicture(40, 30, 3);
  const std::string rgb = EncodePicture(rows, MakeParameters(40, 30, eDCTRGB, 0));
  const std::string ycc = MakeJpeg(40, 30, 3);
  const int nLarge = 60;
  // An Adobe marker decides, whatever the parameter.
  for (const int nTransform : {-1, 0, 1})
    EXPECT_EQ(DecodePicture(rgb, nTransform).m_parameters.nColorSpace, eDCTRGB);
  // Beside a JFIF header as well.
  const std::string both = Insert(rgb, '\xE0', "JFIF\0\1\1\0\0\1\0\1\0\0"s);
  EXPECT_LT(GetLargestDifference(DecodePicture(both).m_rows, rows), 12);
  EXPECT_TRUE(DecodePicture(both).m_bAmbiguous && DecodePicture(WithoutAdobe(rgb), 1).m_bAmbiguous);
  EXPECT_FALSE(DecodePicture(rgb).m_bAmbiguous || DecodePicture(ycc).m_bAmbiguous);
  // Without one the parameter does; YCbCr is taken for granted.
  EXPECT_LT(GetLargestDifference(DecodePicture(WithoutAdobe(rgb), 0).m_rows, rows), 12);
  EXPECT_GT(GetLargestDifference(DecodePicture(WithoutAdobe(rgb), 1).m_rows, rows), nLarge);
  EXPECT_EQ(DecodePicture(ycc).m_parameters.nColorSpace, eDCTYCC);
  EXPECT_EQ(DecodePicture(ycc, 0).m_parameters.nColorSpace, eDCTRGB);
  const std::string cmyk =
      WithoutAdobe(EncodePicture(MakePicture(40, 30, 4), MakeParameters(40, 30, eDCTCMYK, 0)));
  EXPECT_EQ(DecodePicture(cmyk, 0).m_parameters.nColorSpace, eDCTCMYK);
  EXPECT_EQ(DecodePicture(cmyk, 1).m_parameters.nColorSpace, eDCTYCCK);
}

TEST(DCTFilter, ReadsExif)
{
  // Orientation 6 and 2.5 dots per centimetre, in either byte order.
  const std::string head = "Exif\0\0"s;
  const std::string big =
      head +
      "MM\0\x2A\0\0\0\x08\0\x04\x01\x12\0\x03\0\0\0\x01\0\x06\0\0\x01\x1A\0\x05\0\0\0\x01\0\0\0\x3E"
      "\x01\x1B\0\x05\0\0\0\x01\0\0\0\x3E\x01\x28\0\x03\0\0\0\x01\0\x03\0\0\0\0\0\0\0\0\0\x05\0\0\0\x02"s;
  const std::string small = head + "II\x2A\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0"s;
  const std::string plain = MakeJpeg(9, 9, 1);
  const CDCTParameters first = DecodePicture(Insert(plain, '\xE1', big)).m_parameters;
  EXPECT_EQ(first.nOrientation, 6);
  EXPECT_TRUE(first.bHasResolution);
  EXPECT_DOUBLE_EQ(first.dResolutionY, 6.35);
  EXPECT_EQ(DecodePicture(Insert(plain, '\xE1', small)).m_parameters.nOrientation, 6);
  // The first 1000 bytes count, and only the first segment of this kind.
  const std::string far = head + "II\x2A\0\xE8\x03\0\0"s + std::string(986, '\0') + small.substr(14);
  EXPECT_EQ(DecodePicture(Insert(plain, '\xE1', far)).m_parameters.nOrientation, 0);
  EXPECT_EQ(DecodePicture(Insert(Insert(plain, '\xE1', small), '\xE1', far)).m_parameters.nOrientation, 0);
  for (std::size_t n = 0; n < big.size(); ++n)
    EXPECT_EQ(DecodePicture(Insert(plain, '\xE1', big.substr(0, n))).m_codes, CCodes{});
}

TEST(DCTFilter, SavesWhatItCan)
{
  const std::string sequential = MakeJpeg(200, 160, 3);
  const std::string whole = DecodeJpeg(sequential);
  const TPicture half = DecodePicture(sequential.substr(0, sequential.size() / 2));
  EXPECT_EQ(half.m_rows.size(), whole.size());
  EXPECT_EQ(half.m_rows.substr(0, whole.size() / 4), whole.substr(0, whole.size() / 4));
  EXPECT_EQ(half.m_codes, CCodes{g_nCut});
  EXPECT_TRUE(half.m_bGap);
  // Of a progressive image all is there, less sharp; a scan that cannot be read leaves those before it.
  const std::string progressive = MakeJpeg(200, 160, 3, WriteProgressive);
  const std::string sharp = DecodeJpeg(progressive);
  const TPicture cut = DecodePicture(progressive.substr(0, progressive.size() * 3 / 4));
  EXPECT_EQ(cut.m_rows.size(), sharp.size());
  EXPECT_EQ(cut.m_codes, (CCodes{g_nNoEnd, g_nCut}));
  std::string broken = progressive;
  broken[broken.rfind("\xFF\xDA") + 4] = '\x09';
  const TPicture rest = DecodePicture(broken);
  EXPECT_EQ(rest.m_codes, CCodes{0x8A04000CU});
  EXPECT_LT(GetLargestDifference(rest.m_rows, sharp), 100);
  // What comes before the image is passed over.
  const TPicture late = DecodePicture("\r\n\xFF" + sequential);
  EXPECT_EQ(late.m_rows, whole);
  EXPECT_EQ(late.m_codes, CCodes{0x03428977U});
  EXPECT_FALSE(late.m_bGap);
  // Wrong bits are told once, and the marker after them puts it right.
  std::string wrong = MakeJpeg(200, 160, 3, [](auto& info) { info.restart_in_rows = 1; });
  wrong.replace(wrong.find("\xFF\xD1") + 20, 30, 30, '\x7E');
  const TPicture repaired = DecodePicture(wrong);
  EXPECT_EQ(repaired.m_rows.substr(repaired.m_rows.size() / 2), whole.substr(whole.size() / 2));
  EXPECT_FALSE(repaired.m_codes.empty());
}

TEST(DCTFilter, RefusesWhatIsNoImage)
{
  const std::string jpeg = MakeJpeg(20, 20, 3);
  EXPECT_EQ(DecodePicture("").m_codes, CCodes{0x8A04002BU});
  EXPECT_EQ(DecodePicture("no picture").m_codes, CCodes{0x8A040037U});
  EXPECT_EQ(DecodePicture(jpeg.substr(0, jpeg.find("\xFF\xDA"))).m_codes, CCodes{0x8A04003EU});
  CReports reports;
  const CObjectPtr<CDCTDecodeFilter> pFilter(
      new CDCTDecodeFilter(MakeSource("no picture").Get(), CDCTParameters{}, &reports));
  EXPECT_FALSE(pFilter->IsValid());
  EXPECT_FALSE(pFilter->Reset());
  EXPECT_EQ(reports.GetTexts()[0], u"Error in DCT stream: Not a JPEG file: starts with 0x6e 0x6f.");
}

// The size in the header of an image.
std::string WithSize(std::string jpeg, const char* szFrame, const std::string& size)
{
  return jpeg.replace(jpeg.find(szFrame) + 5, 4, size);
}

TEST(DCTFilter, FindsLinesThatTheHeaderLacks)
{
  const std::string jpeg = MakeJpeg(20, 33, 3);
  const TPicture whole = DecodePicture(jpeg);
  const std::string open = WithSize(jpeg, "\xFF\xC0", "\0\0\0\x14"s);
  std::string told = open;
  told.insert(told.size() - 2, "\xFF\xDC\0\4\0\x21"s);
  EXPECT_EQ(DecodePicture(told).m_rows, whole.m_rows);
  // In another buffer than the rest.
  EXPECT_EQ(DecodePicture(Insert(told, '\xEF', std::string(BSE::g_nDefaultBlockSize - 14, 'x'))).m_rows,
            whole.m_rows);
  EXPECT_EQ(DecodePicture(open).m_codes, CCodes{0x8A040021U});
  CDCTParameters parameters;
  parameters.nHeight = 33;
  EXPECT_EQ(
      ReadPieces(*CObjectPtr<CDCTDecodeFilter>(new CDCTDecodeFilter(MakeSource(open).Get(), parameters)), 60),
      whole.m_rows);
}

TEST(DCTFilter, BoundsWorkAndMemory)
{
  const std::string plain = MakeJpeg(20, 20, 3);
  const std::string progressive = MakeJpeg(20, 20, 3, WriteProgressive);
  EXPECT_EQ(DecodePicture(WithSize(plain, "\xFF\xC0", "\xFF\xDC\xFF\xDC")).m_codes, CCodes{0x8A04002AU});
  EXPECT_EQ(DecodePicture(WithSize(progressive, "\xFF\xC2", "\x70\0\x70\0"s)).m_codes,
            CCodes{g_nSizeExceeded});
  // What is missing of a small file is gray up to a limit.
  const TPicture gray = DecodePicture(WithSize(plain, "\xFF\xC0", "\x70\0\x70\0"s));
  EXPECT_EQ(gray.m_codes.back(), g_nSizeExceeded);
  EXPECT_LE(gray.m_rows.size(), 65U << 20);
  // Scans of a few bytes that visit every block.
  std::string bomb = WithSize(progressive, "\xFF\xC2", "\x08\0\x08\0"s);
  const std::size_t nScan = bomb.rfind("\xFF\xDA");
  const std::string scan = bomb.substr(nScan, bomb.size() - 2 - nScan);
  bomb.resize(bomb.size() - 2);
  for (int i = 0; i < 5000; ++i)
    bomb += scan;
  CReports reports;
  const CObjectPtr<CDCTDecodeFilter> pFilter(
      new CDCTDecodeFilter(MakeSource(bomb).Get(), CDCTParameters{}, &reports));
  EXPECT_EQ(ReadPieces(*pFilter, 2048 * 3).size(), 2048U * 2048 * 3);
  EXPECT_EQ(reports.GetCodes().back(), g_nSizeExceeded);
}

TEST(DCTFilter, StandsAfterTheImage)
{
  const std::string jpeg = MakeJpeg(50, 50, 3);
  for (const bool bSkip : {false, true})
  {
    const auto pSource = MakeSource("##" + jpeg + " EI");
    pSource->Seek(2);
    const CObjectPtr<CDCTDecodeFilter> pFilter(new CDCTDecodeFilter(pSource.Get()));
    EXPECT_EQ(pFilter->Read(nullptr, 0), 0);
    unsigned char row[150];
    EXPECT_EQ(pFilter->Read(row, 149), 0);
    EXPECT_EQ(pFilter->Read(row, 150), 150);
    EXPECT_TRUE(bSkip ? pFilter->SkipToEnd() : ReadPieces(*pFilter, 300).size() == 49U * 150);
    EXPECT_EQ(pSource->Tell(), static_cast<std::int64_t>(2 + jpeg.size()));
  }
  const CObjectPtr<CDCTDecodeFilter> pFilter(new CDCTDecodeFilter(MakeSource(jpeg).Get()));
  const std::string rows = ReadPieces(*pFilter, 300);
  EXPECT_TRUE(pFilter->Reset());
  EXPECT_EQ(ReadPieces(*pFilter, 4500), rows);
}

TEST(DCTFilter, RefusesToEncode)
{
  for (const CDCTParameters& parameters :
       {MakeParameters(0, 5, eDCTRGB, 0), MakeParameters(5, 70000, eDCTRGB, 0),
        MakeParameters(5, 5, eDCTUnknown, 0)})
  {
    CReports reports;
    const CObjectPtr<CMemoryStream> pSink(new CMemoryStream);
    const CObjectPtr<CDCTEncodeFilter> pFilter(new CDCTEncodeFilter(pSink.Get(), parameters, &reports));
    EXPECT_FALSE(pFilter->IsValid());
    EXPECT_EQ(reports.GetCodes(), CCodes{0x80300052U});
  }
  // Nothing, less than a row, and less than an image.
  for (const int nBytes : {0, 14, 15})
  {
    CReports reports;
    const CObjectPtr<CMemoryStream> pSink(new CMemoryStream);
    const CObjectPtr<CDCTEncodeFilter> pFilter(
        new CDCTEncodeFilter(pSink.Get(), MakeParameters(5, 5, eDCTRGB, 0), &reports));
    const unsigned char row[15] = {};
    EXPECT_EQ(pFilter->Write(row, nBytes), nBytes == 15 ? 15 : 0);
    EXPECT_FALSE(pFilter->Close());
    EXPECT_EQ(reports.GetCodes(), nBytes == 15 ? CCodes{0x8A040045U} : CCodes{});
    EXPECT_EQ(Contents(*pSink), "");
  }
}

}  // namespace
}  // namespace BSE
