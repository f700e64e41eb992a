#pragma once

namespace PDF
{

// Numbers of image compressions: how data is compressed, and what options name.
enum TCompression : unsigned
{
  eCompressionRaw = 0,
  eCompressionJPEG = 1,
  eCompressionFlate = 2,
  eCompressionLZW = 3,
  eCompressionGroup31D = 4,
  eCompressionGroup3 = 5,
  eCompressionGroup4 = 6,
  eCompressionJBIG2 = 7,
  eCompressionJPEG2000 = 8,
  eCompressionMRC = 9,           // mixed raster content; continuous-tone sets only
  eCompressionUnspecified = 10,  // none chosen, and any other one
  eCompressionInvalid = 11
};

}  // namespace PDF
