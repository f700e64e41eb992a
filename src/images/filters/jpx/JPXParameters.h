#pragma once

#include "base/BasicArray.h"

namespace BSE
{

enum TJPXColorSpace
{
  eJPXNone = -1,
  eJPXGray = 0,
  eJPXRGB = 1,
  eJPXCMYK = 2,
  eJPXLab = 4,
  eJPXYCC = 5
};

// Channels of a colour space; 0 for none.
constexpr int GetJPXColorCount(int nColorSpace)
{
  switch (nColorSpace)
  {
  case eJPXGray:
    return 1;
  case eJPXRGB:
  case eJPXLab:
  case eJPXYCC:
    return 3;
  case eJPXCMYK:
    return 4;
  default:
    return 0;
  }
}

// Parameters of JPEG 2000 data (ISO/IEC 15444-1). A decoder writes back what the data tells.
struct CJPXParameters
{
  // Colours of an image of indices, nChannels bytes each; empty for an image of samples.
  CBasicArray<unsigned char> Palette;

  double dResolutionX = 0;  // dots per inch; 0 for unknown
  double dResolutionY = 0;
  int nColorSpace = eJPXNone;

  // Encoding: of a sample or an index, 1, 2, 4, 8 or 16. Decoding: of what is delivered.
  int nBitsPerComponent = 8;

  // Channels of colour. Decoding: those that the reader's colour space has, if it has one of its own, and
  // then palettes are resolved; 0 to take the data's.
  int nChannels = 0;

  int nWidth = 0;
  int nHeight = 0;

  // Smallest and largest a, smallest and largest b.
  double labRange[4] = {-100, 100, -100, 100};

  // 100 for an image without loss; images of indices always are.
  int nQuality = 100;

  // Tests of conformance that the caller wants; the filters have none.
  int nFeatures = 0;

  // Decoding: the samples are indices into the reader's own palette and are delivered as they are.
  bool bIndices = false;
};

}  // namespace BSE
