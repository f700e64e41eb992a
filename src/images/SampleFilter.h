#pragma once

#include "base/DecodeFilter.h"
#include "images/SampleFormat.h"

namespace PDF
{

// Base of the filters of samples: makes rows of rows, one at a time, for readers with any size of buffer. The
// source delivers samples of the format. It may deliver whole rows only. Where it ends too early, the pixels
// that were there are still made, and the length is reported unless a filter below has had a gap itself; the
// filter has one then. What the source has beyond the last row is left unread.
class CSampleFilter : public BSE::CDecodeFilter
{
public:
  // False for a format that is not usable, which has been reported.
  bool IsValid() const override { return m_nRowSize > 0 && CDecodeFilter::IsValid(); }

  // Of the result.
  std::int64_t GetRowSize() const { return m_nRowSize; }
  int GetRowCount() const { return m_nRows; }

protected:
  CSampleFilter(BSE::IByteStream* pSource, const CSampleFormat& format, BSE::IErrorContext* pErrorContext)
      : CDecodeFilter(pSource, pErrorContext), m_format(format)
  {
  }

  // To be called once, when the filter is made. Sizes out of bounds leave it invalid, with a report.
  void SetResult(std::int64_t nRowSize, std::int64_t nRows);

  // Reads what the next row is made of; the bytes that can be made: less than a row is the last one.
  virtual std::int64_t FetchRow() = 0;

  // Makes that many bytes. False if they cannot be had, which has been reported.
  virtual bool MakeRow(std::span<unsigned char> row) = 0;

  // The next row of the source, or what there is of it. Valid until the next call.
  std::span<const unsigned char> ReadSourceRow();

  // Whole pixels in the bytes of a row.
  std::int64_t CountPixels(std::span<const unsigned char> row) const;

  int DecodeBlock(std::span<unsigned char> block) override;
  void ResetState() override;

  // As many bytes as the format says, of what the source gives.
  std::int64_t GetSizeLimit() const override;

  CSampleFormat m_format;  // of the source
  int m_nSourceRow = 0;    // rows read

private:
  std::int64_t FillSourceRow(std::int64_t nRowSize);
  std::size_t TakeHeld(std::span<unsigned char> room);
  void ReportShort(std::int64_t nLast);

  BSE::CBasicArray<unsigned char> m_source;
  BSE::CBasicArray<unsigned char> m_held;  // a row for a reader with less room
  int m_nHeldPos = 0;
  int m_nRow = 0;  // made
  int m_nRows = 0;
  std::int64_t m_nRowSize = 0;
  bool m_bLast = false;  // no row follows
  bool m_bShort = false;
};

}  // namespace PDF
