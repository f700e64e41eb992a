#pragma once

#include "engine/StreamDecoder.h"
#include "images/filters/DCTRecoder.h"

namespace PDF
{

// Codes streams of JPEG data anew where that makes them smaller, without a change of any sample (see
// BSE::CDCTRecoder). Filters around the JPEG data, which rarely gain anything, go; its parameters stay. What
// cannot be decoded without a complaint, is too large or has its data outside the file stays as it is. One
// image at a time is in memory.
class CJPEGStreamRecoder
{
public:
  // True for a stream that has been given another encoding.
  bool Recode(CObject& stream);

private:
  CStreamDecoder m_decoder;
  BSE::CDCTRecoder m_recoder;
};

}  // namespace PDF
