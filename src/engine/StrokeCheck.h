#pragma once

#include "base/BasicArray.h"
#include "base/Stream.h"

#include <span>

namespace PDF
{

// Whether a picture of one bit still shows what it did after it has been made smaller. Half of a pixel makes
// a whole one: lines that are thinner than that vanish, and the grays of a halftone become black or white.
class CStrokeCheck
{
public:
  // The sizes of the smaller picture.
  CStrokeCheck(int nWidth, int nHeight);

  // Takes the picture as it was. False if its rows cannot be read.
  bool Measure(BSE::IByteStream& picture, int nWidth, int nHeight);

  // After that, the smaller one. False as well if it cannot be read.
  bool AreKept(BSE::IByteStream& picture) const;

private:
  // Adds the bits of a row to those of its blocks, of which the last one ends with the row.
  void CountBits(std::span<const unsigned char> row, int nWidth, std::span<int> blocks) const;
  bool CountPicture(BSE::IByteStream& picture, int nWidth, int nHeight, BSE::CBasicArray<int>& blocks) const;

  // The part of a block that is set in a picture of this size.
  double GetShare(int x, int y, const BSE::CBasicArray<int>& blocks, int nWidth, int nHeight) const;
  bool IsPlainAround(int x, int y, const BSE::CBasicArray<int>& blocks) const;

  // Where a block of the smaller picture begins in one that is this wide or high.
  static int GetStart(int nBlock, int nSmall, int nSize);

  int m_nWidth;
  int m_nHeight;
  int m_nColumns;
  int m_nRows;
  int m_nOldWidth = 0;
  int m_nOldHeight = 0;
  BSE::CBasicArray<int> m_blocks;
};

}  // namespace PDF
