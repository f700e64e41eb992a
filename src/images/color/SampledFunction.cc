#include "images/color/SampledFunction.h"

#include "base/Checked.h"

#include <algorithm>
#include <cmath>

namespace PDF
{

bool CType0Function::Load()
{
  return ReadDomain(true) && LoadSizes() && LoadSamples();
}

bool CType0Function::LoadSizes()
{
  m_nOutputs = m_range.GetSize();
  const CObjectPtr size = m_object["Size"];
  const bool bNumber = size.IsNumber() && m_nInputs == 1;
  if (!bNumber && (!size.IsArray() || size.GetSize() < m_nInputs))
    return false;
  std::int64_t nStride = m_nOutputs;
  int nCorners = 1;
  for (int i = 0; i < m_nInputs; ++i)
  {
    const CObjectPtr element = bNumber ? size : size[i];
    int nSize = 0;
    if (!element.IsNumber() || !BSE::CheckedNarrow(element.GetIntegerValue(), nSize) || nSize < 1)
      return false;
    m_sizes.Add(nSize);
    m_strides.Add(nStride);
    if (!BSE::CheckedMul(nStride, nSize, nStride))
      return false;
    if (nSize > 1 && (nCorners *= 2) > BSE::g_nMaxFunctionCorners)
      return false;
    m_encode.Add({0, static_cast<double>(nSize) - 1});
  }
  m_nPoints = nStride / m_nOutputs;
  m_nCorners = nCorners;
  m_nPointWork = 8 * m_nInputs + std::int64_t{4} * nCorners * m_nOutputs;

  const CObjectPtr encode = m_object["Encode"];
  if (!encode.IsNull() && !ReadRanges(encode, m_nInputs, m_nInputs, m_encode))
    return false;
  const CObjectPtr decode = m_object["Decode"];
  m_decode = m_range;
  return decode.IsNull() || ReadRanges(decode, m_nOutputs, m_nOutputs, m_decode);
}

bool CType0Function::LoadSamples()
{
  m_nBits = BSE::ClampTo<int>(GetIntegerOr(m_object["BitsPerSample"], 0));
  if (m_nBits < 1 || m_nBits > 32)
    return false;
  m_dMaxSample = m_nBits == 32 ? 4294967296.0 : static_cast<double>((1U << m_nBits) - 1);
  int nSamples = 0;
  std::int64_t nSampleBits = 0;
  if (!BSE::CheckedMul(m_nPoints, m_nOutputs, nSamples) ||
      !BSE::CheckedMul(std::int64_t{nSamples}, m_nBits, nSampleBits) ||
      nSampleBits / 8 > BSE::g_nMaxDecodedSize)
    return false;
  // Data that is longer than needed is not a fault of the samples.
  BSE::CBasicArray<unsigned char> data;
  const std::int64_t nBytes = (nSampleBits + 7) / 8;
  ReadData(m_object, nBytes, *m_pAccount, data);
  const std::int64_t nRead = std::min<std::int64_t>(data.GetSize(), nBytes);
  if (nRead < (nBytes + 1) / 2 ||
      !m_pAccount->SpendMemory(std::int64_t{4} * nSamples + std::int64_t{8} * m_nCorners * (m_nOutputs + 1)))
    return false;
  m_offsets.SetSize(m_nCorners);
  m_cells.SetSize(m_nCorners * m_nOutputs);
  if (nRead < nBytes)
    ReportFailure();
  m_samples.SetSize(nSamples);
  Unpack(data.GetSpan().first(static_cast<std::size_t>(nRead)));
  return true;
}

void CType0Function::Unpack(std::span<const unsigned char> data)
{
  std::uint64_t nBuffer = 0;
  int nBuffered = 0;
  std::size_t nNext = 0;
  for (std::uint32_t& nSample : m_samples.GetSpan())
  {
    for (; nBuffered < m_nBits; nBuffered += 8)
      nBuffer = nBuffer << 8 | (nNext < data.size() ? data[nNext++] : 0U);
    nBuffered -= m_nBits;
    nSample = static_cast<std::uint32_t>(nBuffer >> nBuffered & ((std::uint64_t{1} << m_nBits) - 1));
  }
}

bool CType0Function::OnEvaluate(const double* pInputs, double* pOutputs, int nCount)
{
  for (int i = 0; i < nCount; ++i, pInputs += m_nInputs, pOutputs += m_nOutputs)
    EvaluatePoint(pInputs, pOutputs);
  return true;
}

int CType0Function::Gather(const double* pInputs, double* pFractions)
{
  int nDirections = 0;
  std::int64_t* pOffsets = m_offsets.GetData();
  std::size_t nCorners = 1;
  pOffsets[0] = 0;
  for (int i = 0; i < m_nInputs; ++i)
  {
    const TRange& domain = m_domain[i];
    const TRange& encode = m_encode[i];
    double d = encode.m_dMin;
    if (domain.m_dMax != domain.m_dMin)
      d += (pInputs[i] - domain.m_dMin) * (encode.m_dMax - encode.m_dMin) / (domain.m_dMax - domain.m_dMin);
    d = TRange{0, static_cast<double>(m_sizes[i]) - 1}.Clamp(d);
    const double dFloor = std::floor(d);
    const std::int64_t nOffset = static_cast<std::int64_t>(dFloor) * m_strides[i];
    for (std::size_t n = 0; n < nCorners; ++n)
      pOffsets[n] += nOffset;
    if (d == dFloor)
      continue;
    for (std::size_t n = 0; n < nCorners; ++n)
      pOffsets[nCorners + n] = pOffsets[n] + m_strides[i];
    nCorners *= 2;
    pFractions[nDirections++] = d - dFloor;
  }
  double* pCell = m_cells.GetData();
  for (std::size_t n = 0; n < nCorners; ++n)
  {
    const std::uint32_t* pSample = m_samples.GetData() + pOffsets[n];
    for (int i = 0; i < m_nOutputs; ++i)
      *pCell++ = pSample[i];
  }
  return nDirections;
}

void CType0Function::EvaluatePoint(const double* pInputs, double* pOutputs)
{
  double fractions[BSE::g_nMaxFunctionValues];
  const int nDirections = Gather(pInputs, fractions);
  double* pCells = m_cells.GetData();
  for (int nDirection = 0; nDirection < nDirections; ++nDirection)
  {
    // Neighbours in the first direction that is left are side by side.
    const double dFraction = fractions[nDirection];
    const std::ptrdiff_t nPairs = std::ptrdiff_t{1} << (nDirections - nDirection - 1);
    for (std::ptrdiff_t nPair = 0; nPair < nPairs; ++nPair)
      for (int i = 0; i < m_nOutputs; ++i)
        pCells[nPair * m_nOutputs + i] = (1 - dFraction) * pCells[2 * nPair * m_nOutputs + i] +
                                         dFraction * pCells[(2 * nPair + 1) * m_nOutputs + i];
  }
  for (int i = 0; i < m_nOutputs; ++i)
  {
    const TRange& decode = m_decode[i];
    pOutputs[i] = (decode.m_dMax - decode.m_dMin) * pCells[i] / m_dMaxSample + decode.m_dMin;
  }
}

}  // namespace PDF
