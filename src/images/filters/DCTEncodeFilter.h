#pragma once

#include "base/EncodeFilter.h"
#include "images/filters/DCTParameters.h"

namespace BSE
{

class CDCTCompressor;

// Encodes rows of one byte a component as a baseline JPEG image (ISO/IEC 10918-1). The number of components
// follows from the colour space: 1 for gray, 3 for RGB and YCbCr, 4 for CMYK and YCCK. With the colour
// transform RGB is encoded as YCbCr and CMYK as YCCK. Takes whole rows, no more than the image has; closing
// fails if the image is not complete, and without any row nothing is written.
class CDCTEncodeFilter final : public CBufferedEncodeFilter
{
public:
  explicit CDCTEncodeFilter(IByteStream* pSink, const CDCTParameters& parameters,
                            IErrorContext* pErrorContext = nullptr);
  ~CDCTEncodeFilter() override;

  // False for parameters that no image has, which are reported when the filter is made.
  bool IsValid() const override { return m_nRowSize > 0 && CBufferedEncodeFilter::IsValid(); }

  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;

  // A multiple of the size of a row, for writers in blocks.
  int GetBlockSize() const override;

protected:
  bool EncodeBlock(std::span<const unsigned char> block) override;
  bool FinishBuffered() override;

private:
  CDCTParameters m_parameters;
  std::int64_t m_nRowSize = 0;
  CScopedPtr<CDCTCompressor> m_pCompressor;  // null before the first row
  std::int64_t m_nRows = 0;                  // taken
};

}  // namespace BSE
