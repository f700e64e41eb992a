#pragma once

#include "base/EncodeFilter.h"
#include "images/filters/jbig2/JBIG2Bitmap.h"
#include "images/filters/jbig2/JBIG2Parameters.h"

namespace BSE
{

// Encodes rows of one bit a pixel, 0 for black, as a JBIG2 image without loss. The rows are gathered, and
// encoded when the filter is closed, which fails if the image is not complete. Takes whole rows, no more than
// the image has.
class CJBIG2EncodeFilter final : public CBufferedEncodeFilter
{
public:
  explicit CJBIG2EncodeFilter(IByteStream* pSink, const CJBIG2Parameters& parameters,
                              IErrorContext* pErrorContext = nullptr);
  ~CJBIG2EncodeFilter() override { CloseOnRelease(); }

  // False for sizes that no image has, which are reported when the filter is made.
  bool IsValid() const override { return m_pPage && CBufferedEncodeFilter::IsValid(); }

  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;

  // A multiple of the size of a row, for writers in blocks.
  int GetBlockSize() const override;

protected:
  bool EncodeBlock(std::span<const unsigned char> block) override;
  bool FinishBuffered() override;

private:
  CJBIG2Parameters m_parameters;
  std::int64_t m_nRowSize;
  CJBIG2Run m_run;
  CJBIG2BitmapPtr m_pPage;
  int m_nRows = 0;  // taken
};

}  // namespace BSE
