#include "images/color/Function.h"

#include "base/Tracer.h"
#include "images/color/StatusCodes.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace PDF
{

namespace
{

// Points that are worked on at a time, so that buffers stay small.
constexpr int g_nBlock = 256;

bool HasRoom(std::size_t nSize, int nCount, int nValues)
{
  return nSize / static_cast<std::size_t>(nValues) >= static_cast<std::size_t>(nCount);
}

double MakeFinite(double d)
{
  constexpr double dMax = std::numeric_limits<float>::max();
  return d >= -dMax ? std::min(d, dMax) : d < -dMax ? -dMax : 0;
}

}  // namespace

bool CFunction::ReadDomain(bool bNeedsRange)
{
  const CObjectPtr range = m_object["Range"];
  if (!ReadRanges(m_object["Domain"], 1, BSE::g_nMaxFunctionValues + 1, m_domain) ||
      m_domain.GetSize() > BSE::g_nMaxFunctionValues)
    return false;
  m_nInputs = m_domain.GetSize();
  if (range.IsNull() && !bNeedsRange)
    return true;
  return ReadRanges(range, bNeedsRange ? 1 : 0, BSE::g_nMaxFunctionValues + 1, m_range) &&
         m_range.GetSize() <= BSE::g_nMaxFunctionValues;
}

void CFunction::ReportFailure()
{
  m_pAccount->NoteFailure();
  if (!m_bReported)
    BSE::ReportLoss(GetContext(m_object, *m_pAccount), g_nInvalidFunction);
  m_bReported = true;
}

bool CFunction::EvaluateRow(std::span<const double> inputs, std::span<double> outputs, int nCount)
{
  if (nCount < 0 || !IsValid() || !HasRoom(inputs.size(), nCount, m_nInputs) ||
      !HasRoom(outputs.size(), nCount, m_nOutputs))
  {
    std::fill(outputs.begin(), outputs.end(), 0.0);
    return false;
  }
  const double* pInputs = inputs.data();
  double* pOutputs = outputs.data();
  while (nCount > 0)
  {
    const int nBlock = std::min(nCount, g_nBlock);
    if (!EvaluateBlock(pInputs, pOutputs, nBlock))
    {
      std::fill(outputs.begin(), outputs.end(), 0.0);
      return false;
    }
    pInputs += std::ptrdiff_t{nBlock} * m_nInputs;
    pOutputs += std::ptrdiff_t{nBlock} * m_nOutputs;
    nCount -= nBlock;
  }
  return true;
}

bool CFunction::EvaluateBlock(const double* pInputs, double* pOutputs, int nCount)
{
  if (!m_pAccount->SpendWork(m_nPointWork * nCount))
  {
    ReportFailure();
    return false;
  }
  if (m_clamped.GetSize() < nCount * m_nInputs)
    m_clamped.SetSize(nCount * m_nInputs);
  double* pClamped = m_clamped.GetData();
  const TRange* pDomain = m_domain.GetData();
  for (int nPoint = 0; nPoint < nCount; ++nPoint)
    for (int i = 0; i < m_nInputs; ++i)
      *pClamped++ = pDomain[i].Clamp(*pInputs++);
  if (!OnEvaluate(m_clamped.GetData(), pOutputs, nCount))
    return false;
  const TRange* pRange = m_range.GetData();
  const int nRanges = std::min(m_range.GetSize(), m_nOutputs);
  for (int nPoint = 0; nPoint < nCount; ++nPoint, pOutputs += m_nOutputs)
  {
    for (int i = 0; i < nRanges; ++i)
      pOutputs[i] = pRange[i].Clamp(pOutputs[i]);
    for (int i = nRanges; i < m_nOutputs; ++i)
      pOutputs[i] = MakeFinite(pOutputs[i]);
  }
  return true;
}

bool CFunction::EvaluateBytes(std::span<const unsigned char> inputs, std::span<const TRange> inputRanges,
                              std::span<unsigned char> outputs, std::span<const TRange> outputRanges,
                              int nCount)
{
  if (std::cmp_less(inputRanges.size(), m_nInputs) || std::cmp_less(outputRanges.size(), m_nOutputs))
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF Functions", "Invalid decode or encode range.");
    return false;
  }
  if (nCount < 0 || !IsValid() || !HasRoom(inputs.size(), nCount, m_nInputs) ||
      !HasRoom(outputs.size(), nCount, m_nOutputs))
    return false;
  unsigned char* pOutputs = outputs.data();
  const auto nOutputs = static_cast<std::size_t>(m_nOutputs);
  if (m_nInputs == 1 && nCount > 256)
  {
    // Each of the values that a byte can have once.
    unsigned char all[256];
    for (int i = 0; i < 256; ++i)
      all[i] = static_cast<unsigned char>(i);
    unsigned char table[256 * BSE::g_nMaxFunctionValues];
    if (!EvaluateByteBlock(all, inputRanges, table, outputRanges, 256))
      return false;
    for (int i = 0; i < nCount; ++i, pOutputs += nOutputs)
      std::memcpy(pOutputs, table + inputs[static_cast<std::size_t>(i)] * nOutputs, nOutputs);
    return true;
  }
  for (int nDone = 0; nDone < nCount; nDone += g_nBlock)
  {
    const int nBlock = std::min(nCount - nDone, g_nBlock);
    const auto nStart = static_cast<std::size_t>(nDone);
    if (!EvaluateByteBlock(inputs.subspan(nStart * static_cast<std::size_t>(m_nInputs)), inputRanges,
                           pOutputs + nStart * nOutputs, outputRanges, nBlock))
      return false;
  }
  return true;
}

bool CFunction::EvaluateByteBlock(std::span<const unsigned char> inputs, std::span<const TRange> inputRanges,
                                  unsigned char* pOutputs, std::span<const TRange> outputRanges, int nCount)
{
  if (m_byteInputs.GetSize() < nCount * m_nInputs)
    m_byteInputs.SetSize(nCount * m_nInputs);
  if (m_byteOutputs.GetSize() < nCount * m_nOutputs)
    m_byteOutputs.SetSize(nCount * m_nOutputs);
  double* pReal = m_byteInputs.GetData();
  const unsigned char* pByte = inputs.data();
  for (int nPoint = 0; nPoint < nCount; ++nPoint)
    for (int i = 0; i < m_nInputs; ++i)
      *pReal++ = inputRanges[static_cast<std::size_t>(i)].FromByte(*pByte++);
  if (!EvaluateRow(m_byteInputs.GetSpan(), m_byteOutputs.GetSpan(), nCount))
    return false;
  const double* pResult = m_byteOutputs.GetData();
  for (int nPoint = 0; nPoint < nCount; ++nPoint)
    for (int i = 0; i < m_nOutputs; ++i)
      *pOutputs++ = outputRanges[static_cast<std::size_t>(i)].ToByte(*pResult++);
  return true;
}

}  // namespace PDF
