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

  // After the last row, before anything is asked.
  void Finish();

  // Root of the mean square of all differences, 0 to 255.
  double GetNoise() const;

  // The largest mean difference of one component, 0 to 255: how much lighter or darker the picture has
  // become.
  double GetShift() const;

  // Root of the mean square in the worst block of 16 by 16 pixels, for one component.
  double GetWorstNoise() const;

  // The same in the worst block that is plain in the picture itself, where the eye sees what details hide;
  // and in the worst plain area of 64 by 64 pixels, which is further from details than what they make of it.
  double GetPlainBlockNoise() const;
  double GetPlainAreaNoise() const;

private:
  // A component of a block or an area.
  struct TArea
  {
    std::int64_t m_nSquares = 0;
    std::int64_t m_nSamples = 0;
    unsigned char m_nLow = 255;
    unsigned char m_nHigh = 0;
  };
  using CAreas = BSE::CBasicArray<TArea>;

  void AddBlock(std::span<const unsigned char> before, std::span<const unsigned char> after, TArea* pBlock);
  void FinishBlocks();
  void FinishAreas();

  // The largest mean square in an area that is plain, and not less than half of one.
  double MeasurePlain(const CAreas& areas, int nSide) const;

  int m_nComponents;
  std::int64_t m_nRows = 0;
  std::int64_t m_nSquares = 0;
  std::int64_t m_nWorst = 0;
  std::int64_t m_nSamples = 0;
  double m_dPlainBlock = 0;
  double m_dPlainArea = 0;
  BSE::CBasicArray<std::int64_t> m_differences;  // of each component
  CAreas m_blocks;                               // of a row
  CAreas m_areas;
};

}  // namespace PDF
