// A table says how many values an operator takes and leaves, and one check of the stack before each serves
// all of them; only "copy", "index" and "roll", whose counts are on the stack, check for themselves. A
// program has no loops, so its length bounds its run, and GetWork is known when it has been compiled. Values
// keep their number as a real one along with their kind, so that most operators need not look at the kind at
// all. What has no result, such as a division by 0, stops the program.

#include "images/color/Calculator.h"

#include "base/Tracer.h"
#include "images/color/CalculatorOperators.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace PDF
{

namespace
{

constexpr std::int64_t g_nMinInteger = std::numeric_limits<int>::min();
constexpr std::int64_t g_nMaxInteger = std::numeric_limits<int>::max();
constexpr double g_dDegrees = 180.0 / std::numbers::pi;

// Exact where the exact value is known.
double GetSine(double dDegrees)
{
  const double d = std::fmod(dDegrees, 360.0);
  if (d == 0 || d == 180 || d == -180)
    return 0;
  if (d == 90 || d == -270)
    return 1;
  if (d == 270 || d == -90)
    return -1;
  return std::sin(d / g_dDegrees);
}

}  // namespace

bool CCalculator::Stop(const char* szMessage)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PS Calculator", "%s", szMessage);
  return false;
}

// Truncated and moved into the range of integers; 0 for what is not a number.
int CCalculator::ToInteger(const TEntry& value)
{
  if (value.m_nKind != eRealEntry)
    return value.m_nValue;
  const double d = value.m_dValue;
  if (d >= static_cast<double>(g_nMaxInteger))
    return static_cast<int>(g_nMaxInteger);
  if (d <= static_cast<double>(g_nMinInteger))
    return static_cast<int>(g_nMinInteger);
  return std::isnan(d) ? 0 : static_cast<int>(d);
}

void CCalculator::PushInteger(std::int64_t n)
{
  if (n < g_nMinInteger || n > g_nMaxInteger)
    PushReal(static_cast<double>(n));
  else
    m_stack[m_nStack++] = {eIntegerEntry, static_cast<int>(n), static_cast<double>(n)};
}

bool CCalculator::Run(std::span<const double> inputs, std::span<double> outputs)
{
  m_nStack = 0;
  for (const double d : inputs)
    PushReal(d);
  const bool bDone = Execute();
  const auto nOutputs = static_cast<int>(outputs.size());
  const int nFirst = std::max(m_nStack - nOutputs, 0);
  for (int i = 0; i < nOutputs; ++i)
    outputs[static_cast<std::size_t>(i)] = nFirst + i < m_nStack ? m_stack[nFirst + i].m_dValue : 0;
  return bDone && m_nStack >= nOutputs;
}

bool CCalculator::Execute()
{
  const TEntry* pProgram = m_program.GetData();
  const int nEnd = m_program.GetSize();
  for (int nPlace = 0; nPlace < nEnd; ++nPlace)
  {
    const TEntry& entry = pProgram[nPlace];
    switch (entry.m_nKind)
    {
    case eOperatorEntry:
    {
      const TCalculatorRow& row = g_calculatorTable[entry.m_nValue];
      if (m_nStack < row.m_nTaken)
        return Stop("PostScript: Stack underflow");
      if (m_nStack - row.m_nTaken + row.m_nLeft > g_nStackSize)
        return Stop("PostScript: Stack overflow");
      if (!ExecuteOperator(entry.m_nValue))
        return false;
      break;
    }
    case eJumpEntry:
      if (m_nStack < 1)
        return Stop("PostScript: Stack underflow");
      if (Pop().m_dValue == 0)
        nPlace = entry.m_nValue - 1;
      break;
    case eBlockEntry:
      nPlace = entry.m_nValue - 1;
      break;
    default:
      if (m_nStack == g_nStackSize)
        return Stop("PostScript: Stack overflow");
      m_stack[m_nStack++] = entry;
    }
  }
  return true;
}

bool CCalculator::ExecuteOperator(int nOperator)
{
  switch (nOperator)
  {
  case eOpAbs:
  case eOpNeg:
  case eOpAdd:
  case eOpSub:
  case eOpMul:
    return ExecuteArithmetic(nOperator);
  case eOpDiv:
  case eOpIdiv:
  case eOpMod:
    return ExecuteDivision(nOperator);
  case eOpCeiling:
  case eOpFloor:
  case eOpRound:
  case eOpTruncate:
  case eOpCvi:
  case eOpCvr:
    return ExecuteRounding(nOperator);
  case eOpEq:
  case eOpNe:
  case eOpGe:
  case eOpGt:
  case eOpLe:
  case eOpLt:
    return ExecuteComparison(nOperator);
  case eOpAnd:
  case eOpOr:
  case eOpXor:
  case eOpNot:
  case eOpBitshift:
    return ExecuteLogic(nOperator);
  case eOpCopy:
  case eOpDup:
  case eOpExch:
  case eOpIndex:
  case eOpPop:
  case eOpRoll:
    return ExecuteStack(nOperator);
  default:
    return ExecuteReal(nOperator);
  }
}

bool CCalculator::ExecuteArithmetic(int nOperator)
{
  const TEntry b = Pop();
  if (nOperator == eOpAbs || nOperator == eOpNeg)
  {
    const bool bChange = nOperator == eOpNeg || b.m_dValue < 0;
    if (b.m_nKind == eRealEntry)
      PushReal(bChange ? -b.m_dValue : b.m_dValue);
    else
      PushInteger(bChange ? -std::int64_t{b.m_nValue} : b.m_nValue);
    return true;
  }
  const TEntry& a = Pop();
  if (a.m_nKind == eRealEntry || b.m_nKind == eRealEntry)
    PushReal(nOperator == eOpAdd   ? a.m_dValue + b.m_dValue
             : nOperator == eOpSub ? a.m_dValue - b.m_dValue
                                   : a.m_dValue * b.m_dValue);
  else
  {
    const std::int64_t n = a.m_nValue;
    PushInteger(nOperator == eOpAdd ? n + b.m_nValue : nOperator == eOpSub ? n - b.m_nValue : n * b.m_nValue);
  }
  return true;
}

bool CCalculator::ExecuteDivision(int nOperator)
{
  const TEntry b = Pop();
  const TEntry a = Pop();
  if (nOperator == eOpDiv)
  {
    if (b.m_dValue == 0)
      return Stop("PostScript: Argument of 'div' is zero");
    PushReal(a.m_dValue / b.m_dValue);
    return true;
  }
  const std::int64_t nDividend = ToInteger(a);
  const std::int64_t nDivisor = ToInteger(b);
  if (nDivisor == 0)
    return Stop(nOperator == eOpIdiv ? "PostScript: Argument of 'idiv' is zero"
                                     : "PostScript: Argument of 'mod' is zero");
  PushInteger(nOperator == eOpIdiv ? nDividend / nDivisor : nDividend % nDivisor);
  return true;
}

bool CCalculator::ExecuteRounding(int nOperator)
{
  TEntry& top = m_stack[m_nStack - 1];
  if (nOperator == eOpCvi)
  {
    const int n = ToInteger(Pop());
    PushInteger(n);
  }
  else if (nOperator == eOpCvr)
    top.m_nKind = eRealEntry;
  else if (top.m_nKind == eRealEntry)
    top.m_dValue = nOperator == eOpCeiling ? std::ceil(top.m_dValue)
                   : nOperator == eOpFloor ? std::floor(top.m_dValue)
                   : nOperator == eOpRound ? std::floor(top.m_dValue + 0.5)
                                           : std::trunc(top.m_dValue);
  return true;
}

bool CCalculator::ExecuteComparison(int nOperator)
{
  const double b = Pop().m_dValue;
  const double a = Pop().m_dValue;
  PushBoolean(nOperator == eOpEq   ? a == b
              : nOperator == eOpNe ? a != b
              : nOperator == eOpGe ? a >= b
              : nOperator == eOpGt ? a > b
              : nOperator == eOpLe ? a <= b
                                   : a < b);
  return true;
}

bool CCalculator::ExecuteLogic(int nOperator)
{
  const TEntry b = Pop();
  if (nOperator == eOpNot)
  {
    if (b.m_nKind == eBooleanEntry)
      PushBoolean(b.m_nValue == 0);
    else
      PushInteger(~ToInteger(b));
    return true;
  }
  const TEntry a = Pop();
  const int nA = ToInteger(a);
  const int nB = ToInteger(b);
  if (nOperator == eOpBitshift)
  {
    const auto nBits = static_cast<unsigned>(nA);
    PushInteger(static_cast<int>(nB >= 32 || nB <= -32 ? 0 : nB >= 0 ? nBits << nB : nBits >> -nB));
    return true;
  }
  const int nResult = nOperator == eOpAnd ? nA & nB : nOperator == eOpOr ? nA | nB : nA ^ nB;
  if (a.m_nKind == eBooleanEntry && b.m_nKind == eBooleanEntry)
    PushBoolean(nResult != 0);
  else
    PushInteger(nResult);
  return true;
}

bool CCalculator::ExecuteReal(int nOperator)
{
  const double b = Pop().m_dValue;
  switch (nOperator)
  {
  case eOpSqrt:
    if (b < 0)
      return Stop("PostScript: argument of sqrt is negative");
    PushReal(std::sqrt(b));
    return true;
  case eOpSin:
    PushReal(GetSine(b));
    return true;
  case eOpCos:
    PushReal(GetSine(std::fmod(b, 360.0) + 90));
    return true;
  case eOpLn:
    PushReal(std::log(b));
    return true;
  case eOpLog:
    PushReal(std::log10(b));
    return true;
  default:
    break;
  }
  const double a = Pop().m_dValue;
  if (nOperator == eOpExp)
  {
    PushReal(std::pow(a, b));
    return true;
  }
  if (a == 0 && b == 0)
    return Stop("PostScript: atan(0/0)");
  const double dAngle = std::atan2(a, b) * g_dDegrees;
  PushReal(dAngle < 0 ? dAngle + 360 : dAngle);
  return true;
}

bool CCalculator::ExecuteStack(int nOperator)
{
  switch (nOperator)
  {
  case eOpPop:
    --m_nStack;
    return true;
  case eOpDup:
    m_stack[m_nStack] = m_stack[m_nStack - 1];
    ++m_nStack;
    return true;
  case eOpExch:
    std::swap(m_stack[m_nStack - 1], m_stack[m_nStack - 2]);
    return true;
  case eOpCopy:
    return Copy();
  case eOpIndex:
    return Index();
  default:
    return Roll();
  }
}

bool CCalculator::Copy()
{
  const int nCount = ToInteger(Pop());
  if (nCount < 0 || nCount > m_nStack)
    return Stop("PostScript: Stack underflow");
  if (nCount > g_nStackSize - m_nStack)
    return Stop("PostScript: Stack overflow");
  std::copy_n(m_stack + m_nStack - nCount, nCount, m_stack + m_nStack);
  m_nStack += nCount;
  return true;
}

bool CCalculator::Index()
{
  const int nIndex = ToInteger(Pop());
  if (nIndex < 0 || nIndex >= m_nStack)
    return Stop("PostScript: Stack underflow");
  m_stack[m_nStack] = m_stack[m_nStack - 1 - nIndex];
  ++m_nStack;
  return true;
}

bool CCalculator::Roll()
{
  const int nSteps = ToInteger(Pop());
  const int nCount = ToInteger(Pop());
  if (nCount < 0 || nCount > m_nStack)
    return Stop("PostScript: Stack underflow");
  if (nCount == 0)
    return true;
  const int nShift = ((nSteps % nCount) + nCount) % nCount;
  TEntry* pEnd = m_stack + m_nStack;
  std::rotate(pEnd - nCount, pEnd - nShift, pEnd);
  return true;
}

}  // namespace PDF
