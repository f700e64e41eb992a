#include "images/filters/jpx/JPXEncodeFilter.h"
#include "images/filters/jpx/JPXError.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "tests/images/filters/jpx/JPXFixture.h"

namespace BSE
{

const char* const g_szSamples = BREVEX_SAMPLES;

namespace
{

using namespace std::string_literals;

std::string EncodePicture(const std::string& rows, const CJPXParameters& parameters)
{
  const CObjectPtr<CMemoryStream> pSink(new CMemoryStream);
  const CObjectPtr<CJPXEncodeFilter> pFilter(new CJPXEncodeFilter(pSink.Get(), parameters));
  EXPECT_TRUE(pFilter->WriteAll(reinterpret_cast<const unsigned char*>(rows.data()),
                                static_cast<std::int64_t>(rows.size())));
  EXPECT_TRUE(pFilter->Close());
  return Contents(*pSink);
}

CJPXParameters MakeParameters(int nWidth, int nHeight, int nColorSpace, int nDepth = 8)
{
  CJPXParameters parameters;
  parameters.nWidth = nWidth;
  parameters.nHeight = nHeight;
  parameters.nColorSpace = nColorSpace;
  parameters.nChannels = GetJPXColorCount(nColorSpace);
  parameters.nBitsPerComponent = nDepth;
  return parameters;
}

// Packed rows of the test's samples; those of 8 bits for nDepth 8.
std::string MakeRows(int nWidth, int nHeight, int nChannels, int nDepth)
{
  std::string rows;
  for (int y = 0; y < nHeight; ++y)
  {
    int nBits = 0;
    for (int x = 0; x < nWidth * nChannels; ++x)
    {
      for (int nBit = nDepth - 1; nBit >= 0; --nBit, ++nBits)
      {
        if (nBits % 8 == 0)
          rows.push_back('\0');
        const int nValue = GetTestSample(x % nChannels, x / nChannels, y, nDepth) >> nBit & 1;
        rows.back() = static_cast<char>(rows.back() | nValue << (7 - nBits % 8));
      }
    }
  }
  return rows;
}

// What a decoder delivers of such samples.
std::string MakeScaled(int nWidth, int nHeight, int nChannels, int nDepth)
{
  std::string rows;
  for (int i = 0; i < nWidth * nHeight * nChannels; ++i)
  {
    const int nPixel = i / nChannels;
    const int nValue = GetTestSample(i % nChannels, nPixel % nWidth, nPixel / nWidth, nDepth);
    rows.push_back(
        static_cast<char>(nDepth > 8 ? nValue >> (nDepth - 8) : nValue * 255 / ((1 << nDepth) - 1)));
  }
  return rows;
}

TEST(JPXFilter, RoundTripsWithoutLoss)
{
  const int sizes[][2] = {{1, 1}, {1, 17}, {7, 3}, {33, 64}, {130, 75}};
  for (const auto& size : sizes)
  {
    for (const int nColorSpace : {eJPXGray, eJPXRGB, eJPXCMYK, eJPXLab})
    {
      for (const int nDepth : {1, 2, 4, 8, 16})
      {
        CJPXParameters parameters = MakeParameters(size[0], size[1], nColorSpace, nDepth);
        parameters.dResolutionX = 300;
        parameters.dResolutionY = 1200.5;
        parameters.labRange[1] = 127;
        const int nChannels = parameters.nChannels;
        const TPicture picture =
            DecodePicture(EncodePicture(MakeRows(size[0], size[1], nChannels, nDepth), parameters));
        ASSERT_EQ(picture.m_rows, MakeScaled(size[0], size[1], nChannels, nDepth))
            << size[0] << " " << nColorSpace << " " << nDepth;
        EXPECT_EQ(picture.m_codes, CCodes{});
        EXPECT_EQ(picture.m_parameters.nColorSpace, nColorSpace);
        EXPECT_EQ(picture.m_parameters.nWidth, size[0]);
        EXPECT_EQ(picture.m_parameters.nHeight, size[1]);
        EXPECT_DOUBLE_EQ(picture.m_parameters.dResolutionX, 300);
        EXPECT_NEAR(picture.m_parameters.dResolutionY, 1200.5, 0.51);
        EXPECT_NEAR(picture.m_parameters.labRange[1], nColorSpace == eJPXLab ? 127 : 100, 0.5);
      }
    }
  }
}

// Beyond some millions of pixels an image is coded in pieces.
TEST(JPXFilter, RoundTripsLargeImages)
{
  for (const int nDepth : {2, 16})
  {
    const std::string rows = MakeRows(1500, 2801, 1, nDepth);
    EXPECT_TRUE(DecodePicture(EncodePicture(rows, MakeParameters(1500, 2801, eJPXGray, nDepth))).m_rows ==
                MakeScaled(1500, 2801, 1, nDepth));
  }
  const std::string rows = MakeRows(2801, 1500, 3, 8);
  EXPECT_TRUE(DecodePicture(EncodePicture(rows, MakeParameters(2801, 1500, eJPXRGB))).m_rows == rows);
}

TEST(JPXFilter, LosesByQuality)
{
  const std::string rows = MakeRows(200, 150, 3, 8);
  std::size_t nLast = 0;
  int nLastError = 256;
  for (const int nQuality : {5, 40, 75, 99, 100})
  {
    CJPXParameters parameters = MakeParameters(200, 150, eJPXRGB);
    parameters.nQuality = nQuality;
    const std::string encoded = EncodePicture(rows, parameters);
    const std::string decoded = DecodePicture(encoded).m_rows;
    ASSERT_EQ(decoded.size(), rows.size());
    int nError = 0;
    for (std::size_t i = 0; i < rows.size(); ++i)
      nError += std::abs(static_cast<unsigned char>(rows[i]) - static_cast<unsigned char>(decoded[i]));
    nError /= static_cast<int>(rows.size() / 100);
    EXPECT_LT(nError, nLastError * 100);
    EXPECT_TRUE(nQuality == 100 || encoded.size() > nLast) << nQuality;
    nLast = encoded.size();
    nLastError = nError;
  }
  EXPECT_EQ(nLastError, 0);
}

// A few strokes on a page of paper. What they add to its noise is next to nothing, as is what a plain page
// loses where it becomes a little darker all over.
TEST(JPXFilter, KeepsTheLittleOnPlainGround)
{
  constexpr int nSide = 600;
  const auto isInk = [](int x, int y)
  { return x >= 300 && x < 348 && y >= 500 && y < 516 && x / 3 % 2 == 0; };
  for (const int nChannels : {1, 3})
    for (const int nGrain : {0, 1, 5})
      for (const int nInk : {40, 130, 245})
      {
        std::string rows;
        for (int i = 0; i < nSide * nSide * nChannels; ++i)
        {
          const int nPixel = i / nChannels;
          const int nGround = isInk(nPixel % nSide, nPixel / nSide) ? nInk : 245;
          rows += static_cast<char>(nGround + nPixel % 1009 * 79 % 101 * 2 * nGrain / 101 - nGrain);
        }
        CJPXParameters parameters = MakeParameters(nSide, nSide, nChannels == 1 ? eJPXGray : eJPXRGB);
        parameters.nQuality = 75;
        const std::string decoded = DecodePicture(EncodePicture(rows, parameters)).m_rows;
        ASSERT_EQ(decoded.size(), rows.size());
        double dShift = 0;
        double dLost = 0;
        int nStrokes = 0;
        for (int i = 0; i < nSide * nSide * nChannels; ++i)
        {
          const int nError = static_cast<unsigned char>(decoded[i]) - static_cast<unsigned char>(rows[i]);
          const int nPixel = i / nChannels;
          dShift += nError;
          dLost += isInk(nPixel % nSide, nPixel / nSide) ? std::abs(nError) : 0;
          nStrokes += isInk(nPixel % nSide, nPixel / nSide) ? 1 : 0;
        }
        const std::string sCase =
            std::to_string(nChannels) + " " + std::to_string(nGrain) + " " + std::to_string(nInk);
        EXPECT_LT(std::abs(dShift) / (nSide * nSide * nChannels), 1.0) << sCase;
        EXPECT_LT(dLost / nStrokes, 12.0) << sCase;
      }
}

TEST(JPXFilter, KeepsPalettes)
{
  const std::string colors = "\x10\x20\x30\xFF\0\x7F"s;
  for (const int nDepth : {1, 8})
  {
    CJPXParameters parameters = MakeParameters(20, 9, eJPXRGB, nDepth);
    parameters.Palette.Append({reinterpret_cast<const unsigned char*>(colors.data()), colors.size()});
    parameters.nQuality = 10;
    std::string rows = MakeRows(20, 9, 1, nDepth);
    for (char& c : rows)
      c = static_cast<char>(nDepth == 8 ? c & 1 : c);
    std::string indices;
    for (int i = 0; i < 180; ++i)
      indices.push_back(static_cast<char>(GetTestSample(0, i % 20, i / 20, nDepth) & 1));
    const std::string encoded = EncodePicture(rows, parameters);
    const TPicture picture = DecodePicture(encoded);
    EXPECT_EQ(picture.m_rows, indices);
    EXPECT_EQ(picture.m_nSamples, 1);
    EXPECT_EQ(picture.m_parameters.nChannels, 3);
    EXPECT_EQ(picture.m_parameters.nColorSpace, eJPXRGB);
    EXPECT_TRUE(std::ranges::equal(picture.m_parameters.Palette.GetSpan(), parameters.Palette.GetSpan()));
    // A reader with a colour space of its own gets the colours, one with a palette of its own the indices.
    std::string resolved;
    for (const char c : indices)
      resolved += colors.substr(3 * static_cast<std::size_t>(c), 3);
    EXPECT_EQ(DecodePicture(encoded, 3).m_rows, resolved);
    EXPECT_EQ(DecodePicture(encoded, 1, true).m_rows, indices);
    EXPECT_TRUE(DecodePicture(encoded, 3).m_parameters.Palette.IsEmpty());
  }
}

TEST(JPXFilter, ScalesPalettes)
{
  // A column of 2 bits, one of 12, and one with a sign.
  const std::string palette = MakeBox("pclr", "\0\2\3\x01\x0B\x87\0\x0F\xFF\x80\2\x01\0\x7F"s);
  const std::string mapping = MakeBox("cmap", "\0\0\1\2\0\0\1\0\0\0\1\1"s);
  const TPicture picture =
      DecodePicture(MakeFile(MakeColor(16) + palette + mapping, ReadCodestream("3x2-1-bits")));
  const unsigned char wanted[] = {0, 0, 255, 255, 170, 15};
  EXPECT_TRUE(std::ranges::equal(picture.m_parameters.Palette.GetSpan(), wanted));
  EXPECT_EQ(picture.m_codes, CCodes{});
}

TEST(JPXFilter, ReadsColorSpaces)
{
  const std::string gray = ReadCodestream("4x3-1");
  const std::string color = ReadCodestream("4x3-3");
  const std::string four = ReadCodestream("4x3-4");
  const auto profile = [](const std::string& space)
  { return MakeBox("colr", "\2\0\0"s + std::string(16, 'x') + space); };
  const struct
  {
    std::string m_file;
    int m_nColorSpace;
    int m_nSamples;
  } cases[] = {{gray, eJPXGray, 1},
               {color, eJPXRGB, 3},
               {four, eJPXCMYK, 4},
               {ReadCodestream("4x3-2"), eJPXNone, 2},
               {ReadCodestream("4x3-5"), eJPXNone, 5},
               {MakeFile(MakeColor(17), gray), eJPXGray, 1},
               {MakeFile(MakeColor(16), color), eJPXRGB, 3},
               {MakeFile(MakeColor(18), color), eJPXRGB, 3},
               {MakeFile(MakeColor(12), four), eJPXCMYK, 4},
               {MakeFile(MakeColor(14), color), eJPXLab, 3},
               {MakeFile(MakeColor(99), color), eJPXRGB, 3},
               {MakeFile(MakeColor(99) + MakeColor(14) + MakeColor(16), color), eJPXLab, 3},
               {MakeFile(profile("GRAY"), gray), eJPXGray, 1},
               {MakeFile(profile("RGB "), color), eJPXRGB, 3},
               {MakeFile(profile("CMYK"), four), eJPXCMYK, 4},
               // Channels beyond those of the space are not colours, and a space with more does not count.
               {MakeFile(MakeColor(16), four), eJPXRGB, 3},
               {MakeFile(MakeColor(16), gray), eJPXGray, 1},
               {"junk" + color, eJPXRGB, 3}};
  for (const auto& c : cases)
  {
    const TPicture picture = DecodePicture(c.m_file);
    EXPECT_EQ(picture.m_parameters.nColorSpace, c.m_nColorSpace) << &c - cases;
    EXPECT_EQ(picture.m_nSamples, c.m_nSamples) << &c - cases;
    EXPECT_EQ(picture.m_rows.size(), static_cast<std::size_t>(12 * c.m_nSamples)) << &c - cases;
    EXPECT_EQ(picture.m_codes, CCodes{}) << &c - cases;
  }
  const TPicture lab = DecodePicture(MakeFile(MakeColor(14), color));
  EXPECT_NEAR(lab.m_parameters.labRange[0], -85.3, 0.1);
  EXPECT_NEAR(lab.m_parameters.labRange[3], 124.7, 0.1);
  // White, and full red, in YCC.
  CJPXParameters parameters = MakeParameters(2, 1, eJPXYCC);
  EXPECT_EQ(DecodePicture(EncodePicture("\xFF\x80\x80\x4C\x55\xFF"s, parameters)).m_rows,
            "\xFF\xFF\xFF\xFE\0\0"s);
}

TEST(JPXFilter, OrdersChannelsAndLeavesOpacityOut)
{
  const std::string four = ReadCodestream("5x4-4");
  const std::string all = DecodePicture(four).m_rows;
  // The first channel is opacity, and the others come from the last colour to the first.
  const std::string definitions = MakeBox("cdef", "\0\4\0\0\0\1\0\0\0\1\0\0\0\3\0\2\0\0\0\2\0\3\0\0\0\1"s);
  const TPicture picture = DecodePicture(MakeFile(MakeColor(16) + definitions, four));
  std::string wanted;
  for (std::size_t i = 0; i < all.size(); i += 4)
    wanted += {all[i + 3], all[i + 2], all[i + 1]};
  EXPECT_EQ(picture.m_rows, wanted);
  EXPECT_TRUE(picture.m_bOpacity);
  EXPECT_EQ(picture.m_parameters.nChannels, 3);
  // The reader's colour space may have fewer channels.
  EXPECT_EQ(DecodePicture(four, 3).m_nSamples, 3);
}

TEST(JPXFilter, RepeatsSamples)
{
  for (const std::string sName : {"steps-0", "steps-0-tiles", "steps-1", "steps-3"})
  {
    const int nLeft = sName[6] - '0';
    const TPicture picture = DecodePicture(ReadCodestream(sName));
    ASSERT_EQ(picture.m_rows.size(), 19U * 11 * 3);
    for (int i = 0; i < 19 * 11; ++i)
    {
      const int x = i % 19;
      const int y = i / 19;
      const auto sample = [&](int nComponent, int nStepX, int nStepY, int nDepth)
      {
        const int nColumn = std::max((nLeft + x) / nStepX - (nLeft + nStepX - 1) / nStepX, 0);
        const int nRow = std::max((2 + y) / nStepY - (2 + nStepY - 1) / nStepY, 0);
        return GetTestSample(nComponent, nColumn, nRow, nDepth) >> (nDepth - 8);
      };
      const auto nPlace = static_cast<std::size_t>(3 * i);
      const int wanted[] = {sample(0, 1, 1, 8), sample(1, 2, 2, 8), sample(2, 3, 1, 12)};
      for (std::size_t k = 0; k < 3; ++k)
        ASSERT_EQ(static_cast<unsigned char>(picture.m_rows[nPlace + k]), wanted[k])
            << i << " " << k << " " << sName;
    }
  }
}

TEST(JPXFilter, DeliversWholeRowsAgain)
{
  const std::string data = ReadCodestream("10x10-3");
  const CObjectPtr<CJPXDecodeFilter> pFilter(new CJPXDecodeFilter(MakeSource(data).Get()));
  unsigned char row[30];
  EXPECT_EQ(pFilter->Read(row, 29), 0);
  const std::string rows = ReadPieces(*pFilter, 70);
  EXPECT_EQ(rows, DecodePicture(data).m_rows);
  EXPECT_TRUE(pFilter->Reset());
  EXPECT_EQ(ReadPieces(*pFilter, 30), rows);
  EXPECT_FALSE(pFilter->HasGap());
}

TEST(JPXFilter, RefusesToEncode)
{
  std::vector<CJPXParameters> refused{MakeParameters(0, 1, eJPXGray),
                                      MakeParameters(1, -1, eJPXGray),
                                      MakeParameters(1, 1, eJPXNone),
                                      MakeParameters(1, 1, eJPXGray, 3),
                                      MakeParameters(1 << 20, 1 << 20, eJPXGray),
                                      MakeParameters(4, 4, eJPXRGB, 16)};
  refused.back().Palette.SetSize(300);
  for (const CJPXParameters& parameters : refused)
  {
    CReports reports;
    const CObjectPtr<CMemoryStream> pSink(new CMemoryStream);
    const CObjectPtr<CJPXEncodeFilter> pFilter(new CJPXEncodeFilter(pSink.Get(), parameters, &reports));
    EXPECT_FALSE(pFilter->IsValid());
    EXPECT_EQ(reports.GetCodes(), CCodes{0x80300052U});
  }
  const CObjectPtr<CMemoryStream> pSink(new CMemoryStream);
  const CObjectPtr<CJPXEncodeFilter> pFilter(
      new CJPXEncodeFilter(pSink.Get(), MakeParameters(2, 2, eJPXGray)));
  const unsigned char row[8] = {};
  EXPECT_EQ(pFilter->Write(row, 3), 2);
  EXPECT_FALSE(pFilter->Close());
  EXPECT_EQ(Contents(*pSink), "");
}

// Large images are coded in tiles, and decoded in bands of them.
TEST(JPXFilter, DecodesBands)
{
  const int nSize = 2100;
  CJPXParameters parameters = MakeParameters(nSize, nSize, eJPXGray);
  std::string rows;
  for (int i = 0; i < nSize * nSize; ++i)
    rows.push_back(static_cast<char>(GetTestSample(0, i % nSize, i / nSize, 8)));
  const std::string data = EncodePicture(rows, parameters);
  CReports reports;
  const CObjectPtr<CJPXDecodeFilter> pFilter(new CJPXDecodeFilter(MakeSource(data).Get(), {}, &reports));
  std::string row(nSize, ' ');
  const auto read = [&]
  { return pFilter->Read(reinterpret_cast<unsigned char*>(row.data()), nSize) == nSize; };
  // Back to the first band from the first, the second and the last.
  for (const int nEnd : {10, 1100, nSize, nSize})
  {
    for (int y = 0; y < nEnd; ++y)
      ASSERT_TRUE(read() && row == rows.substr(static_cast<std::size_t>(y) * nSize, nSize)) << y;
    ASSERT_TRUE(pFilter->Rewind());
  }
  EXPECT_EQ(reports.GetCodes(), CCodes{});
  // What is missing is told once, and what is there is there.
  const TPicture cut = DecodePicture(data.substr(0, data.size() * 2 / 3));
  EXPECT_TRUE(cut.m_bGap);
  EXPECT_EQ(cut.m_codes, CCodes{CJPXError::GetCodeOf(eJPXTruncated)});
  ASSERT_EQ(cut.m_rows.size(), rows.size());
  EXPECT_EQ(cut.m_rows.substr(0, rows.size() / 3), rows.substr(0, rows.size() / 3));
}

// The first row of the second tiles has the sample of the row before it.
TEST(JPXFilter, RepeatsSamplesAcrossBands)
{
  const TPicture picture = DecodePicture(ReadCodestream("steps-bands"));
  constexpr std::size_t nWidth = 4096;
  ASSERT_EQ(picture.m_rows.size(), nWidth * 1042 * 3);
  for (std::size_t y = 0; y < 1042; ++y)
    ASSERT_EQ(picture.m_rows[y * nWidth * 3 + 1], static_cast<char>(y < 522 ? 50 : 200)) << y;
}

}  // namespace
}  // namespace BSE
