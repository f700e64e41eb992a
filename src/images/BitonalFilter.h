#pragma once

#include "images/SampleFilter.h"

namespace PDF
{

// How gray becomes black and white.
enum TBitonalMode
{
  eBitonalThreshold = 0,
  eBitonalFloydSteinberg = 1,
  eBitonalHalftone = 2,
  eBitonalOrdered = 3,
  eBitonalSpiral = 4,
  eBitonalSpiral2 = 5,  // the same
  eBitonalAtkinson = 6
};

// Gray of 8 bits to one bit, set for white. Error diffusion goes from left to right in each row; errors are
// added to bytes, and what does not fit there is dropped. A row that is not whole in the source is left out.
class CConvertToBitonalFilter final : public CSampleFilter
{
public:
  // A mode that is not known is traced, and taken for Floyd-Steinberg.
  CConvertToBitonalFilter(BSE::IByteStream* pSource, const CSampleFormat& format, int nMode,
                          BSE::IErrorContext* pErrorContext = nullptr);

protected:
  std::int64_t FetchRow() override;
  bool MakeRow(std::span<unsigned char> row) override;
  void ResetState() override;

private:
  static constexpr int g_nRows = 4;

  unsigned char* GetRow(int nRow);
  void CutHalftone(unsigned char* pBits);
  void DiffuseFloydSteinberg(unsigned char* pBits);
  void DiffuseAtkinson(unsigned char* pBits);

  int m_nMode;
  int m_nLoaded = 0;                                // rows read whole
  int m_nNext = 0;                                  // the row that is made next
  BSE::CBasicArray<unsigned char> m_rows[g_nRows];  // the last ones read, with the errors of those above
  BSE::CBasicArray<unsigned char> m_bits;           // of the row, one a byte
};

// Pictures of one bit to gray of 8 bits, a byte for each block of as many rows and columns as the factor
// says: the share of set bits. Blocks that are cut off at the edges count as whole ones, the rest 0.
class CAntialiasFilter final : public CSampleFilter
{
public:
  CAntialiasFilter(BSE::IByteStream* pSource, const CSampleFormat& format, int nFactor,
                   BSE::IErrorContext* pErrorContext = nullptr);

protected:
  std::int64_t FetchRow() override;
  bool MakeRow(std::span<unsigned char> row) override;

private:
  int m_nFactor;
  BSE::CBasicArray<unsigned> m_counts;
};

}  // namespace PDF
