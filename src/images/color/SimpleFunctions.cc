#include "images/color/SimpleFunctions.h"

#include "base/Tracer.h"
#include "images/color/FunctionFactory.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace PDF
{

bool CType2Function::Load()
{
  const CObjectPtr exponent = m_object["N"];
  if (!ReadDomain(false) || !exponent.IsNumber())
    return false;
  m_dExponent = ReadNumber(exponent);
  const CObjectPtr c0 = m_object["C0"];
  const CObjectPtr c1 = m_object["C1"];
  BSE::CBasicArray<double> ends;
  constexpr int nMax = BSE::g_nMaxFunctionValues + 1;
  if ((!c0.IsNull() && !ReadNumbers(c0, 1, nMax, m_c0)) || (!c1.IsNull() && !ReadNumbers(c1, 1, nMax, ends)))
    return false;
  if (c0.IsNull())
    m_c0.SetSize(std::max(ends.GetSize(), 1));
  while (c1.IsNull() && ends.GetSize() < m_c0.GetSize())
    ends.Add(1);
  if (m_c0.GetSize() != ends.GetSize() || ends.GetSize() == nMax)
    return false;
  m_nOutputs = m_c0.GetSize();
  m_nPointWork = 32 + 2 * m_nOutputs;
  for (int i = 0; i < m_nOutputs; ++i)
    m_difference.Add(ends[i] - m_c0[i]);
  return true;
}

bool CType2Function::OnEvaluate(const double* pInputs, double* pOutputs, int nCount)
{
  const double* pC0 = m_c0.GetData();
  const double* pDifference = m_difference.GetData();
  for (int nPoint = 0; nPoint < nCount; ++nPoint, pInputs += m_nInputs)
  {
    const double d = m_dExponent == 1 ? *pInputs : std::pow(*pInputs, m_dExponent);
    for (int i = 0; i < m_nOutputs; ++i)
      *pOutputs++ = pC0[i] + d * pDifference[i];
  }
  return true;
}

bool CType3Function::Load(CFunctionFactory& factory)
{
  if (!ReadDomain(false) || !LoadFunctions(factory))
    return false;
  const int nFunctions = m_functions.GetSize();
  const CObjectPtr bounds = m_object["Bounds"];
  const CObjectPtr encode = m_object["Encode"];
  if (BSE::CTracer::IsOn() && bounds.GetSize() != nFunctions - 1)
    BSE::CTracer::Trace("I", "PDF Function", "Inconsistent Bounds size with respect to Functions.");
  if (BSE::CTracer::IsOn() && encode.GetSize() != 2 * nFunctions)
    BSE::CTracer::Trace("I", "PDF Function", "Inconsistent Encode size with respect to Functions.");
  // One function needs no bounds, and often has none.
  if ((nFunctions > 1 && !ReadNumbers(bounds, nFunctions - 1, nFunctions - 1, m_bounds)) ||
      !ReadRanges(encode, nFunctions, nFunctions, m_encode))
    return false;
  m_bounds.InsertAt(0, m_domain[0].m_dMin);
  m_bounds.Add(m_domain[0].m_dMax);
  for (int i = 0; i < nFunctions && m_bAscending; ++i)
    m_bAscending = m_bounds[i] <= m_bounds[i + 1];
  m_nPointWork = m_bAscending ? 32 : 32 + nFunctions;
  return m_nInputs == 1;
}

bool CType3Function::LoadFunctions(CFunctionFactory& factory)
{
  const CObjectPtr functions = m_object["Functions"];
  const int nFunctions = functions.IsArray() ? functions.GetSize() : 0;
  if (nFunctions < 1 || !m_pAccount->SpendMemory(std::int64_t{64} * nFunctions))
    return false;
  for (int i = 0; i < nFunctions; ++i)
  {
    const BSE::CObjectPtr<CFunction> pFunction = factory.CreateInner(functions[i]);
    if (!pFunction || pFunction->GetInputCount() != 1 || (i > 0 && pFunction->GetOutputCount() != m_nOutputs))
      return false;
    m_nOutputs = pFunction->GetOutputCount();
    m_nHeight = std::max(m_nHeight, pFunction->GetHeight() + 1);
    m_functions.Add(pFunction.Get());
  }
  return true;
}

int CType3Function::FindInterval(double d) const
{
  const int nLast = m_functions.GetSize() - 1;
  const double* pBounds = m_bounds.GetData();
  if (m_bAscending)
    return std::clamp(static_cast<int>(std::upper_bound(pBounds, pBounds + nLast + 2, d) - pBounds) - 1, 0,
                      nLast);
  for (int i = 0; i < nLast; ++i)
    if (pBounds[i] <= d && d < pBounds[i + 1])
      return i;
  return nLast;
}

double CType3Function::Encode(int nInterval, double d) const
{
  const TRange& encode = m_encode[nInterval];
  const double dStart = m_bounds[nInterval];
  const double dLength = m_bounds[nInterval + 1] - dStart;
  if (dLength == 0)
    return encode.m_dMin;
  return encode.m_dMin + (d - dStart) * (encode.m_dMax - encode.m_dMin) / dLength;
}

bool CType3Function::OnEvaluate(const double* pInputs, double* pOutputs, int nCount)
{
  if (m_encoded.GetSize() < nCount)
    m_encoded.SetSize(nCount);
  const std::span<double> encoded = m_encoded.GetSpan();
  // Neighbouring points are mostly of one interval, and go to its function together.
  int nDone = 0;
  while (nDone < nCount)
  {
    const int nInterval = FindInterval(pInputs[nDone]);
    int nEnd = nDone;
    do
    {
      encoded[static_cast<std::size_t>(nEnd)] = Encode(nInterval, pInputs[nEnd]);
      ++nEnd;
    } while (nEnd < nCount && FindInterval(pInputs[nEnd]) == nInterval);
    const std::size_t nRun = static_cast<std::size_t>(nEnd - nDone);
    if (!m_functions[nInterval]->EvaluateRow(encoded.subspan(static_cast<std::size_t>(nDone), nRun),
                                             {pOutputs, nRun * static_cast<std::size_t>(m_nOutputs)},
                                             nEnd - nDone))
      return false;
    pOutputs += nRun * static_cast<std::size_t>(m_nOutputs);
    nDone = nEnd;
  }
  return true;
}

bool CFunctionArray::Load(CFunctionFactory& factory)
{
  const int nFunctions = m_object.GetSize();
  if (nFunctions < 1 || nFunctions > BSE::g_nMaxFunctionValues)
    return false;
  for (int i = 0; i < nFunctions; ++i)
  {
    const BSE::CObjectPtr<CFunction> pFunction = factory.CreateInner(m_object[i]);
    if (!pFunction || pFunction->GetOutputCount() != 1)
    {
      if (BSE::CTracer::IsOn())
        BSE::CTracer::Trace("E", "PDF Function", "Invalid function array element %d.", i);
      return false;
    }
    if (i > 0 && pFunction->GetInputCount() != m_nInputs)
    {
      if (BSE::CTracer::IsOn())
        BSE::CTracer::Trace("E", "PDF Function", "Functions in array not consistent: %d vs. %d inputs.",
                            m_nInputs, pFunction->GetInputCount());
      return false;
    }
    m_nInputs = pFunction->GetInputCount();
    m_nHeight = std::max(m_nHeight, pFunction->GetHeight() + 1);
    m_functions.Add(pFunction.Get());
  }
  // Each function has a domain of its own, to which it clamps.
  for (int i = 0; i < m_nInputs; ++i)
    m_domain.Add({-std::numeric_limits<float>::max(), std::numeric_limits<float>::max()});
  m_nOutputs = nFunctions;
  return true;
}

bool CFunctionArray::OnEvaluate(const double* pInputs, double* pOutputs, int nCount)
{
  const std::size_t nInputs = static_cast<std::size_t>(nCount) * static_cast<std::size_t>(m_nInputs);
  if (m_column.GetSize() < nCount)
    m_column.SetSize(nCount);
  for (int nFunction = 0; nFunction < m_nOutputs; ++nFunction)
  {
    if (!m_functions[nFunction]->EvaluateRow({pInputs, nInputs}, m_column.GetSpan(), nCount))
      return false;
    for (int i = 0; i < nCount; ++i)
      pOutputs[i * m_nOutputs + nFunction] = m_column[i];
  }
  return true;
}

}  // namespace PDF
