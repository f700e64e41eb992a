#pragma once

#include "base/BasicArray.h"

#include <cstdint>
#include <span>

namespace PDF
{

// How far a picture of bytes is from what it was made of.
class CPictureError
{
public:
  CPictureError(int nWidth, int nComponents);

  // The next row of both, components of a pixel one after the other.
  void Add(std::span<const unsigned char> before, std::span<const unsigned char> after);

  // Root of the mean square of all differences, 0 to 255.
  double GetNoise() const;

  // The largest mean difference of one component, 0 to 255: how much lighter or darker the picture has
  // become.
  double GetShift() const;

  // Root of the mean square in the worst block of 16 by 16 pixels, for one component.
  double GetWorstNoise() const;

  // The same in the worst area of 64 by 64 pixels that is plain in the picture itself, where the eye sees
  // ripples that details hide.
  double GetPlainNoise() const;

private:
  // A component of an area.
  struct TArea
  {
    std::int64_t m_nSquares = 0;
    std::int64_t m_nSamples = 0;
    unsigned char m_nLow = 255;
    unsigned char m_nHigh = 0;
  };

  void FinishBlocks();
  // The largest mean square in an area that is plain, of those that are not finished.
  double MeasureAreas() const;

  int m_nComponents;
  std::int64_t m_nRows = 0;
  std::int64_t m_nSquares = 0;
  std::int64_t m_nWorst = 0;
  std::int64_t m_nSamples = 0;
  BSE::CBasicArray<std::int64_t> m_differences;  // of each component
  BSE::CBasicArray<std::int64_t> m_blocks;       // squares of a row of blocks
  BSE::CBasicArray<TArea> m_areas;               // of a row
  double m_dPlainSquare = 0;
};

}  // namespace PDF
