#pragma once

#include "base/DecodeFilter.h"
#include "images/filters/CCITTFaxParameters.h"
#include "images/filters/FaxBitReader.h"
#include "images/filters/FaxRowDecoder.h"

namespace BSE
{

// Decodes fax images (ITU-T T.4 and T.6) to rows of one bit a pixel. A run beyond its row is cut. After a
// code that does not exist the row keeps the colour that it has there, and the data is taken up again at the
// next end-of-line code; such rows are reported once more of them have come than the parameters allow. Rows
// that are too long are reported once. The data ends with the rows stated, with the source, or with two
// end-of-line codes one after the other if either kind of end code is expected.
class CCCITTFaxDecodeFilter final : public CBufferedDecodeFilter
{
public:
  explicit CCCITTFaxDecodeFilter(IByteStream* pSource, const CCCITTFaxParameters& parameters = {},
                                 IErrorContext* pErrorContext = nullptr);

  // False for parameters that give no row, which are reported when the filter is made.
  bool IsValid() const override { return m_nRowSize > 0 && CDecodeFilter::IsValid(); }

  const CCCITTFaxParameters& GetParameters() const { return m_parameters; }

  // Delivers whole rows. Where there is no room for one, and after the end, the buffer is filled with black
  // and the result is 0; what an ending leaves of the buffer is filled with black too.
  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;

  // A multiple of the size of a row, for readers that ask in blocks.
  int GetBlockSize() const override;

  // Over the rows that are left and the codes of the end of the block, where one is expected.
  bool SkipToEnd() override;

protected:
  int DecodeBlock(std::span<unsigned char> block) override;
  void ResetState() override;
  void ReturnUnread() override;

  // That of an image, since a blank row needs a single bit.
  std::int64_t GetSizeLimit() const override;

private:
  unsigned char GetBlack() const { return m_parameters.BlackIs1 ? 0xFF : 0; }
  bool IsRowTagged() const;

  // Goes to the codes of the next row, and tells whether they are the tail; false at the end of the data.
  bool FindRow();
  bool IsEndOfLineNext();

  // Bits of fill before the end-of-line code that comes at an offset, as many as align a code to a byte; -1
  // where none comes.
  int FindNextCode(int nOffset);

  // Whether two end-of-line codes come, one after the other but for fill and tags.
  bool IsBlockEndNext();
  void SkipFill();

  // Takes the end-of-line codes of the end of the block, as many as belong to it.
  void TakeBlockEnd();

  // Decodes the next row into m_row; false at the end of the data.
  bool DecodeRow();

  // The row in less bits than an end-of-line code has, after the last such code; false if they are none but
  // fill or what follows the data.
  bool DecodeTail();
  void HandleDamage(TFaxRowStatus status, bool b2D);
  void FindEndOfLine();

  CCCITTFaxParameters m_parameters;
  std::int64_t m_nRowSize;
  CFaxBitReader m_reader;
  CFaxRow m_above;
  CFaxRow m_row;
  int m_nRows = 0;  // decoded
  int m_nDamaged = 0;
  bool m_bTooLongReported = false;
  bool m_bTail = false;      // the data ends within the next row or with it
  bool m_bHasCodes = false;  // an end-of-line code came before the first row
};

}  // namespace BSE
