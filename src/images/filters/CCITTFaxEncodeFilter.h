#pragma once

#include "base/EncodeFilter.h"
#include "images/filters/CCITTFaxParameters.h"
#include "images/filters/FaxRowEncoder.h"

namespace BSE
{

// Encodes rows of one bit a pixel as a fax image (ITU-T T.4 and T.6). Takes whole rows: what a write has
// beyond them is not taken.
class CCCITTFaxEncodeFilter final : public CBufferedEncodeFilter
{
public:
  explicit CCCITTFaxEncodeFilter(IByteStream* pSink, const CCCITTFaxParameters& parameters = {},
                                 IErrorContext* pErrorContext = nullptr);
  ~CCCITTFaxEncodeFilter() override { CloseOnRelease(); }

  // False for parameters that give no row, which are reported when the filter is made.
  bool IsValid() const override { return m_nRowSize > 0 && CBufferedEncodeFilter::IsValid(); }

  std::int64_t Write(const unsigned char* pBuffer, std::int64_t n) override;

  // A multiple of the size of a row, for writers in blocks.
  int GetBlockSize() const override;

protected:
  bool EncodeBlock(std::span<const unsigned char> block) override;
  bool FinishBuffered() override;

private:
  void EncodeRow();
  bool IsRow2D() const;
  bool IsRowTagged() const;

  // Pads as the parameters ask for before an end-of-line code or, without those, before a row.
  void Align();

  CCCITTFaxParameters m_parameters;
  std::int64_t m_nRowSize;
  CFaxBitWriter m_writer;
  CFaxRow m_above;
  CFaxRow m_row;
  int m_nRows = 0;  // encoded; counts in a circle of K rows
};

}  // namespace BSE
