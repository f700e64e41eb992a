#pragma once

#include "base/EncodeFilter.h"
#include "images/filters/PredictionParameters.h"

namespace BSE
{

// Applies prediction before Flate or LZW (ISO 32000-1, 7.4.4.4). Predictor 10 to 14 uses that one PNG filter
// for all rows, 15 chooses for each row. Writing fails for a predictor or depth that is not handled, after a
// trace line at construction. An incomplete last row is written as it is.
class CPredictionEncodeFilter final : public CBufferedEncodeFilter
{
public:
  CPredictionEncodeFilter(IByteStream* pSink, const CPredictionParameters& parameters,
                          IErrorContext* pErrorContext = nullptr);
  ~CPredictionEncodeFilter() override { CloseOnRelease(); }

  const CPredictionParameters& GetParameters() const { return m_parameters; }

protected:
  bool EncodeBlock(std::span<const unsigned char> block) override;
  bool FinishBuffered() override;

private:
  bool WriteRow(std::span<unsigned char> row);
  bool WritePNGRow(std::span<const unsigned char> row);

  CPredictionParameters m_parameters;
  TPredictionLayout m_layout;
  bool m_bUsable;
  CBasicArray<unsigned char> m_row;
  CBasicArray<unsigned char> m_previous;
  CBasicArray<unsigned char> m_filtered;
  int m_nFilled = 0;
};

}  // namespace BSE
