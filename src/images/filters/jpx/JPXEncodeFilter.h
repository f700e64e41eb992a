#pragma once

#include "base/EncodeFilter.h"
#include "images/filters/jpx/JPXParameters.h"

namespace BSE
{

// Encodes rows of samples or indices, packed as in images of PDF, as a JP2 file, or as a JPX file for colours
// that JP2 has not. The rows are gathered, and encoded when the filter is closed, which fails if the image is
// not complete. Takes whole rows, no more than the image has.
class CJPXEncodeFilter final : public CBufferedEncodeFilter
{
public:
  explicit CJPXEncodeFilter(IByteStream* pSink, const CJPXParameters& parameters,
                            IErrorContext* pErrorContext = nullptr);
  ~CJPXEncodeFilter() override { CloseOnRelease(); }

  // False for parameters that no image has, which are reported when the filter is made.
  bool IsValid() const override { return m_nRowSize > 0 && CBufferedEncodeFilter::IsValid(); }

  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;

  // A multiple of the size of a row, for writers in blocks.
  int GetBlockSize() const override;

protected:
  bool EncodeBlock(std::span<const unsigned char> block) override;
  bool FinishBuffered() override;

private:
  CJPXParameters m_parameters;
  std::int64_t m_nRowSize = 0;
  CBasicArray<unsigned char> m_rows;
};

}  // namespace BSE
