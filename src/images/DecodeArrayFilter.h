#pragma once

#include "images/ColorFilters.h"
#include "pdf/Object.h"

namespace PDF
{

// Applies a Decode array (ISO 32000-1, 8.9.5.2): the result has 8 bits a component, or 16 of 16, with the
// ends of a component's range at 0 and the highest value, rounded; of an indexed space it has indices. Pairs
// that are not numbers leave their component as it is.
class CDecodeArrayFilter final : public CPixelFilter
{
public:
  CDecodeArrayFilter(BSE::IByteStream* pSource, const CSampleFormat& format, const CObjectPtr& decode,
                     BSE::IErrorContext* pErrorContext = nullptr);

  // Of the result.
  static int GetResultBits(const CSampleFormat& format) { return format.nBitsPerComponent == 16 ? 16 : 8; }

protected:
  bool MakeRow(std::span<unsigned char> row) override;

private:
  // Linear from samples to results, which are clamped.
  struct TLine
  {
    double m_dStart = 0;
    double m_dStep = 0;
  };

  int m_nHigh;  // of the result
  BSE::CBasicArray<TLine> m_lines;
  BSE::CBasicArray<std::uint16_t> m_samples;
};

}  // namespace PDF
