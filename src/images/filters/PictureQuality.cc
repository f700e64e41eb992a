#include "images/filters/PictureQuality.h"

#include <algorithm>

namespace BSE
{

double GetSignalToNoise(int nQuality)
{
  constexpr int points[][2] = {{1, 22}, {10, 28}, {25, 31}, {50, 34}, {75, 37}, {90, 41}, {99, 48}};
  const int* pLow = points[0];
  for (const auto& point : points)
  {
    if (nQuality <= point[0])
    {
      const double dShare = point[0] > pLow[0] ? double(nQuality - pLow[0]) / (point[0] - pLow[0]) : 0.0;
      return pLow[1] + std::max(dShare, 0.0) * (point[1] - pLow[1]);
    }
    pLow = point;
  }
  return pLow[1];
}

}  // namespace BSE
