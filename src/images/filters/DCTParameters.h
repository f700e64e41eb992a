#pragma once

namespace BSE
{

// How the samples of a DCT image are coloured: on the encoding side those that are given, on the decoding
// side those of the encoded data. The numbers are libjpeg's.
enum TDCTColorSpace
{
  eDCTUnknown = 0,
  eDCTGray = 1,
  eDCTRGB = 2,
  eDCTYCC = 3,
  eDCTCMYK = 4,
  eDCTYCCK = 5
};

// Parameters of DCT data (ISO/IEC 10918-1). A decoder writes back what the header says.
struct CDCTParameters
{
  double dResolutionX = 0;  // dots per inch; 0 for unknown
  double dResolutionY = 0;
  int nWidth = 0;
  int nHeight = 0;
  int nColorSpace = eDCTUnknown;
  // Whether colours are, or are to be, encoded as luminance and chrominance: 0 or 1, -1 for what a decoder
  // takes for granted. An Adobe marker in the data overrides it.
  int nColorTransform = -1;
  int nQuality = 75;         // 1 to 100
  int nOrientation = 0;      // of Exif, 1 to 8; 0 for unknown
  bool bFullChroma = false;  // encoding: as many samples of chrominance as of luminance
  bool bHasResolution = false;
  bool bFlag = false;  // has no meaning for the filters
};

}  // namespace BSE
