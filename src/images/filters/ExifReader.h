#pragma once

#include <span>

namespace BSE
{

// What Exif data says of an image as a whole (TIFF 6.0, first directory).
struct TExif
{
  int m_nOrientation = 0;     // 1 to 8; 0 where it is not stated
  double m_dResolutionX = 0;  // dots per inch; 0 where it is not stated
  double m_dResolutionY = 0;
};

// Reads a TIFF structure of either byte order, of which the end may be missing. What is damaged counts as not
// stated.
TExif ReadExif(std::span<const unsigned char> tiff);

}  // namespace BSE
