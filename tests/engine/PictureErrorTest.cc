#include "engine/PictureError.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace
{

TEST(PictureError, MeasuresTheWholeAndTheWorstPlace)
{
  constexpr int nWidth = 40;
  constexpr int nHeight = 20;
  PDF::CPictureError error(nWidth, 2);
  for (int y = 0; y < nHeight; ++y)
  {
    const std::vector<unsigned char> before(nWidth * 2, 100);
    std::vector<unsigned char> after = before;
    // One component of the last block, which is 8 by 4 pixels.
    for (int x = 32; x < nWidth && y >= 16; ++x)
      after[2 * x + 1] = 90;
    error.Add(before, after);
  }
  error.Finish();
  constexpr double dSquares = 8 * 4 * 100;
  EXPECT_NEAR(error.GetNoise(), std::sqrt(dSquares / (nWidth * nHeight * 2)), 1e-9);
  EXPECT_NEAR(error.GetShift(), 8 * 4 * 10.0 / (nWidth * nHeight), 1e-9);
  EXPECT_NEAR(error.GetWorstNoise(), std::sqrt(dSquares / 256), 1e-9);
}

// Ripples on plain ground count, those among details do not, and a narrow area is one of details.
TEST(PictureError, FindsTheWorstPlainArea)
{
  constexpr int nWidth = 150;
  constexpr int nHeight = 64 + 40;
  PDF::CPictureError error(nWidth, 3);
  for (int y = 0; y < nHeight; ++y)
  {
    std::vector<unsigned char> before(nWidth * 3, 100);
    std::vector<unsigned char> after(nWidth * 3, 100);
    for (int x = 0; x < nWidth; ++x)
    {
      before[3 * x] += static_cast<unsigned char>(x % 3);
      if (x < 64 && y < 64)
        before[3 * x + 1] = static_cast<unsigned char>(100 + x);
      for (int k = 0; k < 3; ++k)
        after[3 * x + k] = before[3 * x + k];
      const bool bBelow = x >= 64 && x < 128 && y >= 64;
      const int nRipple = bBelow ? 3 : x < 64 && y < 64 ? 20 : x >= 128 ? 30 : 1;
      after[3 * x + 2] = static_cast<unsigned char>(100 + nRipple);
    }
    error.Add(before, after);
  }
  error.Finish();
  EXPECT_NEAR(error.GetPlainAreaNoise(), 3, 1e-9);
  EXPECT_NEAR(error.GetPlainBlockNoise(), 30, 1e-9);
}

}  // namespace
