#pragma once

#include "images/filters/jbig2/JBIG2SegmentWriter.h"
#include "images/filters/jbig2/JBIG2TextLayout.h"

namespace BSE
{

// Encodes a page without loss as one image in JBIG2 coding (ITU-T T.88), in the embedded form: as one generic
// region or, where that is smaller, with what comes again and again as symbols and the rest as a generic
// region.
class CJBIG2Encoder
{
public:
  // Borrows the page; resolutions in dots per metre.
  CJBIG2Encoder(const CJBIG2Bitmap& page, std::uint32_t nResolutionX, std::uint32_t nResolutionY);

  // Once only. The bytes live as long as the encoder.
  std::span<const unsigned char> Encode();

private:
  CJBIG2SegmentWriter MakeGeneric() const;

  // The page with the symbols of a layout.
  CJBIG2SegmentWriter MakeText(const CJBIG2TextLayout& layout);

  // Tries symbols, and takes what is smaller than the best so far.
  void TrySymbols();
  void Try(const CJBIG2TextLayout& layout);
  CJBIG2BitmapPtr MakeRest(const CJBIG2TextLayout& layout);
  void AddPage(CJBIG2SegmentWriter& writer, bool bRefined) const;

  const CJBIG2Bitmap& m_page;
  std::uint32_t m_nResolutionX;
  std::uint32_t m_nResolutionY;
  CJBIG2Run m_run;
  CJBIG2SegmentWriter m_best;
};

}  // namespace BSE
