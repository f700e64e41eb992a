#pragma once

#include "images/ImageCompression.h"

namespace PDF
{

// Flags of image compressions, in options that hold a set: 1 shifted left by the number, and one without a
// number.
enum TCompressionFlag : unsigned
{
  eCompressionFlagRaw = 0x001,
  eCompressionFlagJPEG = 0x002,
  eCompressionFlagFlate = 0x004,
  eCompressionFlagLZW = 0x008,
  eCompressionFlagGroup31D = 0x010,
  eCompressionFlagGroup3 = 0x020,
  eCompressionFlagGroup4 = 0x040,
  eCompressionFlagJBIG2 = 0x080,
  eCompressionFlagJPEG2000 = 0x100,
  eCompressionFlagMRC = 0x200,
  eCompressionFlagKeep = 0x400  // the compression that an image has, at the time of the decision
};

// The flag for the compression that an image has: that of the number for 0 to 8, JPEG 2000 for 9, none for
// 10, and eCompressionFlagKeep above, where nothing else could reproduce it.
unsigned GetCompressionFlag(unsigned nCompression);

}  // namespace PDF
