#pragma once

#include "images/color/Function.h"

#include <cstdint>

namespace PDF
{

// Type 0 (ISO 32000-1, 7.10.2): a table of samples, with linear interpolation in all directions whatever
// "Order" says. Only the samples around a point are looked at. For 32 bits a sample is divided by 2^32, so
// the end of "Decode" is never reached.
class CType0Function : public CFunction
{
public:
  CType0Function(const CObjectPtr& object, CColorAccount& account) : CFunction(object, account) {}

  // False if an entry is missing or out of bounds, or more than half of the samples is missing. Fewer missing
  // ones are 0, which is reported as a loss.
  bool Load();

protected:
  bool OnEvaluate(const double* pInputs, double* pOutputs, int nCount) override;

private:
  bool LoadSizes();
  bool LoadSamples();
  void Unpack(std::span<const unsigned char> data);
  void EvaluatePoint(const double* pInputs, double* pOutputs);

  // Fills the cells with the samples around a point and leaves what is between them; returns the number of
  // directions in which there is something between.
  int Gather(const double* pInputs, double* pFractions);

  BSE::CBasicArray<int> m_sizes;
  BSE::CBasicArray<std::int64_t> m_strides;  // in samples
  BSE::CBasicArray<TRange> m_encode;
  BSE::CBasicArray<TRange> m_decode;
  BSE::CBasicArray<std::uint32_t> m_samples;
  BSE::CBasicArray<std::int64_t> m_offsets;
  BSE::CBasicArray<double> m_cells;
  std::int64_t m_nPoints = 1;
  int m_nBits = 0;
  int m_nCorners = 1;  // samples around a point, where it lies between samples in all directions
  double m_dMaxSample = 1;
};

}  // namespace PDF
