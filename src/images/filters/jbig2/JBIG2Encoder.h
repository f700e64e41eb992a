#pragma once

#include "images/filters/jbig2/JBIG2SegmentWriter.h"

namespace BSE
{

// Encodes a page without loss as one image in JBIG2 coding (ITU-T T.88), in the embedded form.
class CJBIG2Encoder
{
public:
  // Borrows the page; resolutions in dots per metre.
  CJBIG2Encoder(const CJBIG2Bitmap& page, std::uint32_t nResolutionX, std::uint32_t nResolutionY);

  // Once only. The bytes live as long as the encoder.
  std::span<const unsigned char> Encode();

private:
  void AddPage();

  const CJBIG2Bitmap& m_page;
  std::uint32_t m_nResolutionX;
  std::uint32_t m_nResolutionY;
  CJBIG2SegmentWriter m_writer;
};

// A generic region in the form that makes it smallest, with its upper left corner at a place of the page.
void EncodeJBIG2Region(const CJBIG2Bitmap& bitmap, int x, int y, CJBIG2SegmentData& data);

}  // namespace BSE
