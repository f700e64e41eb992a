#pragma once

#include "images/SampleFilter.h"

namespace PDF
{

// Makes a picture smaller: each sample of the result is the mean of a box of samples, truncated. A box for
// which rows are missing in the source is divided as a whole one, and is the last.
class CResampleFilter final : public CSampleFilter
{
public:
  // Factors above 1 are taken for 1. The new sizes are rounded, and at least 1.
  CResampleFilter(BSE::IByteStream* pSource, const CSampleFormat& format, double dFactorX, double dFactorY,
                  BSE::IErrorContext* pErrorContext = nullptr);

  int GetNewWidth() const { return m_nNewWidth; }
  int GetNewHeight() const { return m_nNewHeight; }

  // The new size by the old one.
  double GetTrueFactorX() const { return double{1} * m_nNewWidth / m_format.nWidth; }
  double GetTrueFactorY() const { return double{1} * m_nNewHeight / m_format.nHeight; }

protected:
  std::int64_t FetchRow() override;
  bool MakeRow(std::span<unsigned char> row) override;
  void ResetState() override;

private:
  int GetColumn(int nCell) const { return GetBoundary(nCell, m_format.nWidth, m_nNewWidth); }
  static int GetBoundary(int nCell, int nOld, int nNew);
  void AddRow(std::span<const unsigned char> row);
  template <class T>
  void AverageRow(T* pResult, int nComponents);

  int m_nNewWidth;
  int m_nNewHeight;
  int m_nNext = 0;                         // row of the result
  BSE::CBasicArray<unsigned> m_sums;       // of the columns of a row of boxes
  BSE::CBasicArray<int> m_ends;            // column after each box
  BSE::CBasicArray<std::uint16_t> m_wide;  // samples of other depths than 8
};

// Makes a picture larger, by the nearest sample or bilinear between four. Factors below 1 are taken for 1.
class CUpsampleFilter final : public CSampleFilter
{
public:
  CUpsampleFilter(BSE::IByteStream* pSource, const CSampleFormat& format, double dFactorX, double dFactorY,
                  bool bSmooth, BSE::IErrorContext* pErrorContext = nullptr);

  int GetNewWidth() const { return m_nNewWidth; }
  int GetNewHeight() const { return m_nNewHeight; }

protected:
  std::int64_t FetchRow() override;
  bool MakeRow(std::span<unsigned char> row) override;
  void ResetState() override;

private:
  // A place in the source: the sample, and the weight of the next one.
  struct TPlace
  {
    int m_nSample;
    double m_dWeight;
  };
  TPlace GetPlace(int nNew, int nOldSize, int nNewSize) const;
  bool LoadRows(int nFirst, bool bSecond);

  int m_nNewWidth;
  int m_nNewHeight;
  bool m_bSmooth;
  int m_nNext = 0;    // row of the result
  int m_nLoaded = 0;  // rows of the source
  TPlace m_place = {};
  BSE::CBasicArray<std::uint16_t> m_samples[2];  // rows by their number, even and odd
  BSE::CBasicArray<std::uint16_t> m_result;
};

}  // namespace PDF
