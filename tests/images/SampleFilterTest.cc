#include "base/ErrorHandler.h"
#include "images/BitonalFilter.h"
#include "images/ColorFilters.h"
#include "images/ImageSizeFilter.h"
#include "images/ResampleFilter.h"
#include "images/SampleRows.h"
#include "images/StatusCodes.h"
#include "tests/pdf/WriterSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

namespace PDF
{
namespace
{

using CSamples = std::vector<int>;
using CFilterPtr = BSE::CObjectPtr<CSampleFilter>;

constexpr int g_depths[] = {1, 2, 3, 4, 5, 6, 7, 8, 16};

// Rows of samples, each on whole bytes, bit by bit.
std::string Pack(const CSamples& samples, int nRowSamples, int nBits)
{
  std::string bytes;
  for (std::size_t i = 0, nPos = 0; i < samples.size(); ++i)
  {
    if (i % static_cast<std::size_t>(nRowSamples) == 0)
      nPos = bytes.size() * 8;
    for (int k = nBits - 1; k >= 0; --k, ++nPos)
    {
      bytes.resize(nPos / 8 + 1);
      bytes[nPos / 8] = static_cast<char>(bytes[nPos / 8] | (samples[i] >> k & 1) << (7 - nPos % 8));
    }
  }
  return bytes;
}

CSamples MakeSamples(int nCount, int nBits, unsigned nSeed)
{
  std::mt19937 random(nSeed);
  CSamples samples(static_cast<std::size_t>(nCount));
  for (int& n : samples)
    n = static_cast<int>(random() & ((1U << nBits) - 1));
  return samples;
}

std::string Read(BSE::IByteStream& stream, std::int64_t nStep)
{
  std::string bytes;
  std::string block(static_cast<std::size_t>(nStep), '\0');
  for (std::int64_t n = 1; n > 0; bytes.append(block, 0, static_cast<std::size_t>(n)))
    n = stream.Read(reinterpret_cast<unsigned char*>(block.data()), nStep);
  return bytes;
}

std::string Bytes(std::initializer_list<int> values)
{
  return {values.begin(), values.end()};
}

TEST(SampleRows, PackAndUnpackAllDepths)
{
  for (const int nBits : g_depths)
  {
    for (int nCount = 1; nCount < 30; ++nCount)
    {
      const CSamples samples = MakeSamples(nCount, nBits, static_cast<unsigned>(nCount));
      const std::string packed = Pack(samples, nCount, nBits);
      const std::span<const unsigned char> row(reinterpret_cast<const unsigned char*>(packed.data()),
                                               packed.size());
      std::vector<std::uint16_t> wide(samples.size());
      UnpackSamples(row, nBits, wide);
      EXPECT_EQ(CSamples(wide.begin(), wide.end()), samples) << nBits;
      std::vector<unsigned char> again(packed.size(), 0xFF);
      PackSamples(wide, nBits, again);
      EXPECT_EQ(std::string(again.begin(), again.end()), packed) << nBits;
      std::vector<unsigned char> bytes(samples.size());
      UnpackSamples(row, nBits, true, bytes);
      for (std::size_t i = 0; i < bytes.size(); ++i)
        EXPECT_EQ(bytes[i], nBits == 16 ? samples[i] >> 8 : samples[i] * 255 / ((1 << nBits) - 1)) << nBits;
      UnpackSamples(row, nBits, false, bytes);
      EXPECT_EQ(bytes[0], nBits == 16 ? samples[0] >> 8 : samples[0]) << nBits;
    }
  }
}

// Whatever the reader's buffer, again after a rewind, and of data that is cut anywhere what there is of it.
TEST(SampleFilter, DeliversAnyPart)
{
  const CSampleFormat format = {nullptr, 4, 5, 7};
  const CSamples samples = MakeSamples(5 * 7, 4, 1);
  const std::string packed = Pack(samples, 5, 4);
  std::string wanted;
  for (const int n : samples)
    wanted.push_back(static_cast<char>(n * 17));
  for (const int nStep : {1, 2, 4, 5, 6, 11, 100})
  {
    CConvertTo8BPCFilter filter(MakeStream(packed + "more").Get(), format);
    EXPECT_EQ(Read(filter, nStep), wanted) << nStep;
    ASSERT_TRUE(filter.Rewind());
    EXPECT_EQ(Read(filter, nStep), wanted) << nStep;
    EXPECT_FALSE(filter.HasGap());
  }
  for (std::size_t nCut = 0; nCut < packed.size(); ++nCut)
  {
    BSE::CErrorHandler handler;
    CConvertTo8BPCFilter filter(MakeStream(packed.substr(0, nCut)).Get(), format, &handler);
    const std::size_t nPixels = nCut / 3 * 5 + std::min<std::size_t>(nCut % 3 * 2, 5);
    EXPECT_EQ(Read(filter, 4), wanted.substr(0, nPixels)) << nCut;
    EXPECT_TRUE(filter.HasGap());
    EXPECT_EQ(handler.GetLastCode(), g_nSampleLength);
  }
}

TEST(SampleFilter, RefusesSizesOutOfBounds)
{
  const CSampleFormat formats[] = {{nullptr, 8, 0, 1},  {nullptr, 8, 1, 0},         {nullptr, 8, -1, 1},
                                   {nullptr, 12, 1, 1}, {nullptr, 8, 1 << 30, 1},   {nullptr, -8, 1, 1},
                                   {nullptr, 0, 1, 1},  {nullptr, 8, 1 << 20, 4096}};
  for (const CSampleFormat& format : formats)
  {
    BSE::CErrorHandler handler;
    const auto pData = MakeStream("data");
    CConvertTo8BPCFilter filter(pData.Get(), format, &handler);
    CResampleFilter resample(pData.Get(), format, 0.5, NAN, &handler);
    CUpsampleFilter upsample(pData.Get(), format, 1e300, NAN, true, &handler);
    EXPECT_FALSE(filter.IsValid() || resample.IsValid() || upsample.IsValid());
    EXPECT_EQ(Read(filter, 10) + Read(resample, 10) + Read(upsample, 10), "");
  }
}

// The mean of each box as it is defined, one by one.
CSamples MakeSmaller(const CSamples& samples, int nWidth, int nHeight, int nNewWidth, int nNewHeight)
{
  CSamples result;
  for (int y = 0; y < nNewHeight; ++y)
  {
    for (int x = 0; x < nNewWidth; ++x)
    {
      long nSum = 0;
      long nCount = 0;
      for (int i = y * nHeight / nNewHeight; i < (y + 1) * nHeight / nNewHeight; ++i)
        for (int k = x * nWidth / nNewWidth; k < (x + 1) * nWidth / nNewWidth; ++k, ++nCount)
          nSum += samples[static_cast<std::size_t>(i * nWidth + k)];
      result.push_back(static_cast<int>(nSum / nCount));
    }
  }
  return result;
}

TEST(ResampleFilter, TakesTheMeanOfBoxes)
{
  for (const int nBits : g_depths)
  {
    for (const int nWidth : {1, 2, 3, 17, 40})
    {
      for (const double dFactor : {0.01, 0.1, 0.34, 0.5, 0.9, 1.5})
      {
        const int nHeight = 60 / nWidth + 1;
        const CSamples samples = MakeSamples(nWidth * nHeight, nBits, 3);
        const CSampleFormat format = {nullptr, nBits, nWidth, nHeight};
        CResampleFilter filter(MakeStream(Pack(samples, nWidth, nBits)).Get(), format, dFactor, 0.3);
        const int nNewWidth = std::max(static_cast<int>(nWidth * std::min(dFactor, 1.0) + 0.5), 1);
        const int nNewHeight = std::max(static_cast<int>(nHeight * 0.3 + 0.5), 1);
        EXPECT_EQ(filter.GetNewWidth(), nNewWidth);
        EXPECT_EQ(Read(filter, 7),
                  Pack(MakeSmaller(samples, nWidth, nHeight, nNewWidth, nNewHeight), nNewWidth, nBits))
            << nBits << " " << nWidth << " " << dFactor;
      }
    }
  }
}

TEST(ResampleFilter, DividesAShortBoxAsAWholeOne)
{
  const CSampleFormat format = {nullptr, 8, 2, 4};
  CResampleFilter filter(MakeStream(Bytes({10, 20, 30, 40, 50, 60})).Get(), format, 1, 0.5);
  EXPECT_EQ(Read(filter, 100), Bytes({20, 30, 25, 30}));
  EXPECT_TRUE(filter.HasGap());
}

TEST(UpsampleFilter, RepeatsOrBlends)
{
  const CSampleFormat format = {nullptr, 8, 2, 2};
  const std::string picture = Bytes({0, 100, 40, 200});
  CUpsampleFilter nearest(MakeStream(picture).Get(), format, 2, 1, false);
  EXPECT_EQ(Read(nearest, 3), Bytes({0, 0, 100, 100, 40, 40, 200, 200}));
  CUpsampleFilter smooth(MakeStream(picture).Get(), format, 2, 2, true);
  EXPECT_EQ(Read(smooth, 3), Bytes({0, 0, 50, 100, 0, 0, 50, 100, 20, 20, 85, 150, 40, 40, 120, 200}));
  CUpsampleFilter pixel(MakeStream("\x07").Get(), {nullptr, 4, 1, 1}, 3, 2, true);
  EXPECT_EQ(Read(pixel, 1), Bytes({0, 0, 0, 0}));
}

std::string Dither(int nMode, int nWidth, const std::string& samples)
{
  const int nHeight = static_cast<int>(samples.size()) / nWidth;
  CConvertToBitonalFilter filter(MakeStream(samples).Get(), {nullptr, 8, nWidth, nHeight}, nMode);
  return Read(filter, 1);
}

TEST(BitonalFilter, FollowsTheRulesOfEachMode)
{
  EXPECT_EQ(Dither(eBitonalThreshold, 9, Bytes({127, 128, 0, 255, 1, 2, 3, 4, 200})), Bytes({0x50, 0x80}));
  // The second row gets 29 and 5 from the first one.
  EXPECT_EQ(Dither(eBitonalFloydSteinberg, 2, Bytes({100, 200, 98, 116})), Bytes({0x40, 0x40}));
  EXPECT_EQ(Dither(eBitonalFloydSteinberg, 2, Bytes({100, 200, 99, 116})), Bytes({0x40, 0x80}));
  EXPECT_EQ(Dither(7, 2, Bytes({100, 200, 99, 116})), Bytes({0x40, 0x80}));
  // A mean of 8 is above half of the matrix; of 5 rows the last one is a block of its own.
  EXPECT_EQ(Dither(eBitonalHalftone, 4, std::string(16, '\x80') + Bytes({0, 255, 255, 0})),
            Bytes({0xA0, 0x50, 0xA0, 0x50, 0xA0}));
  EXPECT_EQ(Dither(eBitonalOrdered, 4, std::string(16, '\x80')), Bytes({0xA0, 0x50, 0xA0, 0x50}));
  EXPECT_EQ(Dither(eBitonalOrdered, 5, std::string(5, '\x08')), Bytes({0x88}));
  EXPECT_EQ(Dither(eBitonalSpiral, 4, Bytes({63, 64, 190, 191, 63, 64, 64, 64})), Bytes({0x30, 0x60}));
  // Worked out by hand: 80 gives 10 to each of its neighbours, and 10 two rows below, which makes 128 there
  // once all others have given theirs.
  EXPECT_EQ(Dither(eBitonalAtkinson, 3, Bytes({80, 118, 117, 118, 117, 0, 118, 0, 0})),
            Bytes({0x40, 0x40, 0x80}));
}

TEST(ImageSizeFilter, ReportsAnotherLength)
{
  for (const std::int64_t nExpected : {3, 4, 5})
  {
    BSE::CErrorHandler handler;
    CImageSizeFilter filter(MakeStream("abcd").Get(), nExpected, &handler);
    EXPECT_EQ(Read(filter, 3), "abcd");
    EXPECT_EQ(handler.GetLastCode(), nExpected == 4 ? 0U : g_nSampleLength);
  }
}

TEST(ColorFilters, SelectAndUnmatte)
{
  const CSampleFormat gray = {nullptr, 8, 3, 1};
  const unsigned char matte[] = {100};
  CUnmatteFilter unmatte(MakeStream(Bytes({120, 10, 100})).Get(), gray, MakeStream(Bytes({128, 64, 0})).Get(),
                         matte);
  EXPECT_EQ(Read(unmatte, 2), Bytes({139, 0, 255}));
  const TKeyRange ranges[] = {{1, 2}};
  CColorKeyFilter key(MakeStream(Bytes({0x1B})).Get(), {nullptr, 2, 4, 1}, ranges);
  EXPECT_EQ(Read(key, 3), Bytes({0, 255, 255, 0}));
  BSE::CErrorHandler handler;
  CUnmatteFilter cut(MakeStream("abc").Get(), gray, MakeStream("\xFF").Get(), matte, &handler);
  EXPECT_EQ(Read(cut, 9), "a");
  EXPECT_EQ(handler.GetLastCode(), g_nSampleLength);
}

}  // namespace
}  // namespace PDF
