#pragma once

#include "base/DecodeFilter.h"
#include "images/filters/PredictionParameters.h"

namespace BSE
{

// Undoes the prediction of Flate and LZW data (ISO 32000-1, 7.4.4.4). With a PNG predictor the tag of each
// row decides, whatever the value of Predictor; a row with an unknown tag passes through after a trace line.
// The last row may be incomplete. A predictor or depth that is not handled delivers nothing and is traced, at
// construction and at each read; parameters that give no row are reported at construction.
class CPredictionDecodeFilter final : public CBufferedDecodeFilter
{
public:
  CPredictionDecodeFilter(IByteStream* pSource, const CPredictionParameters& parameters,
                          IErrorContext* pErrorContext = nullptr);

  // False for a predictor, depth or row size that is not handled.
  bool IsValid() const override { return m_bUsable && CDecodeFilter::IsValid(); }

  const CPredictionParameters& GetParameters() const { return m_parameters; }

  std::int64_t Read(unsigned char* pBuffer, std::int64_t n) override;

protected:
  int DecodeBlock(std::span<unsigned char> block) override;
  void ResetState() override;

private:
  // The tag of the next row, None without PNG prediction; false at the end of the data.
  bool ReadTag(unsigned char& nTag);
  void UndoRow(unsigned char nTag, std::span<const unsigned char> previous,
               std::span<unsigned char> row) const;

  // Decodes the next row into a span of the row's size; returns the bytes that there were of it.
  int DecodeRow(std::span<const unsigned char> previous, std::span<unsigned char> row);

  // Decodes rows straight into the reader's memory as long as a whole one fits.
  int DecodeWholeRows(std::span<unsigned char> room);

  // Decodes the next row for a reader with less room than that; false at the end of the data.
  bool HoldRow();
  int TakeHeld(std::span<unsigned char> room);

  CPredictionParameters m_parameters;
  TPredictionLayout m_layout;
  bool m_bUsable;

  CBasicArray<unsigned char> m_row;
  CBasicArray<unsigned char> m_previous;  // the last row decoded, [m_nHeldPos, m_nHeldEnd) of it undelivered
  int m_nHeldPos = 0;
  int m_nHeldEnd = 0;
};

}  // namespace BSE
