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
  constexpr double dSquares = 8 * 4 * 100;
  EXPECT_NEAR(error.GetNoise(), std::sqrt(dSquares / (nWidth * nHeight * 2)), 1e-9);
  EXPECT_NEAR(error.GetShift(), 8 * 4 * 10.0 / (nWidth * nHeight), 1e-9);
  EXPECT_NEAR(error.GetWorstNoise(), std::sqrt(dSquares / 256), 1e-9);
}

}  // namespace
