#pragma once

#include <span>

namespace BSE
{

// Row filters of PNG (ISO/IEC 15948, clause 9) and of TIFF 6.0 (section 14), on the bytes of one row without
// the tag. A row may be shorter than its layout says, where data ends early.

enum TPNGTag : unsigned char
{
  ePNGNone,
  ePNGSub,
  ePNGUp,
  ePNGAverage,
  ePNGPaeth,
  ePNGTagCount
};

// Undoes a filter: row = decoded(filtered). The spans have one length; previous holds the decoded row above
// (zeros for the first). The row may be the filtered span itself, not overlap it otherwise. Unknown tags
// copy.
void DecodePNGRow(unsigned char nTag, int nPixelSize, std::span<const unsigned char> filtered,
                  std::span<const unsigned char> previous, std::span<unsigned char> row);

// Applies a filter, into a span that overlaps neither of the others.
void EncodePNGRow(unsigned char nTag, int nPixelSize, std::span<const unsigned char> row,
                  std::span<const unsigned char> previous, std::span<unsigned char> filtered);

// The tag whose filter leaves the smallest sum of absolute differences, the usual guess at what compresses
// best. scratch has the length of the row and is overwritten.
unsigned char ChoosePNGTag(int nPixelSize, std::span<const unsigned char> row,
                           std::span<const unsigned char> previous, std::span<unsigned char> scratch);

// Horizontal differencing in place, for 1, 8 and 16 bits per component; 16-bit samples are big-endian.
void DecodeTIFFRow(int nColors, int nBitsPerComponent, std::span<unsigned char> row);
void EncodeTIFFRow(int nColors, int nBitsPerComponent, std::span<unsigned char> row);

}  // namespace BSE
