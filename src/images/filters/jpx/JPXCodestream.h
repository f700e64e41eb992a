#pragma once

#include "images/filters/jpx/JPXError.h"

#include <cstdint>
#include <span>

namespace BSE
{

// What the SIZ marker at the head of a codestream tells (ISO/IEC 15444-1, A.5.1).
struct TJPXSize
{
  std::int64_t m_nWidth = 0;
  std::int64_t m_nHeight = 0;
  int m_nComponents = 0;
  std::int64_t m_nTiles = 0;

  // The last row of the first tiles, and rows of all others, counted from the top of the image.
  std::int64_t m_nFirstTileEnd = 0;
  std::int64_t m_nTileHeight = 0;

  // Whether no component has a sample that stands for rows of two tiles.
  bool m_bTilesApart = true;
};

// Reads the size of the image, and adds up what decoding it would cost at most: the samples, and the parts
// into which tiles are divided by the coding styles (COD and COC markers) that occur anywhere in the data,
// since each of them may hold for a tile. Says whether that is in proportion to the data; eJPXInvalidSize
// where it is not, eJPXInvalidHeader for data that is no codestream.
bool CheckJPXCodestream(std::span<const unsigned char> codestream, TJPXSize& size, TJPXStatus& status);

}  // namespace BSE
