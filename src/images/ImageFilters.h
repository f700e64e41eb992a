#pragma once

#include "pdf/FilterTable.h"

namespace PDF
{

// The rows of the filters of pictures: CCITTFaxDecode, DCTDecode, JBIG2Decode and JPXDecode (ISO 32000-1,
// 7.4.6 to 7.4.9), for CFile::SetImageFilters. Their owner is the image's dictionary, of which they read
// size, depth and colour space; an encoder without it cannot be had.
//
// Encoders read Quality of the parameters and take it away, that of DCTDecode FullChroma as well. The decoder
// of JPXDecode adds ColorSpace, BitsPerComponent, Width and Height to the dictionary where it has none, since
// the data has them, but never to an object of a file that is only read: there, ask the decoder, and
// MakeJPXColorSpace.
CFilterTable GetImageFilters();

}  // namespace PDF
