// A charstring is a program for a stack machine (Adobe Technical Note 5177): operators that draw take their
// arguments from the bottom of the stack and clear it. The first of them may have one argument too many,
// which is the width; that is why each asks for the width before it takes its own arguments.
//
// Frames of subroutines are kept here instead of recursing. Depth and stack are larger than the note asks
// for, so that sloppy fonts still run, and steps are bounded, since a few subroutines that call each other
// can make billions of them. A missing end is taken to be where the data end, and unknown operators are
// skipped; anything else that is wrong fails the glyph.

#include "fonts/cff/Type2Parser.h"

#include "base/Limits.h"
#include "base/Tracer.h"

#include <algorithm>
#include <cmath>

namespace CFF
{

namespace
{

int ToInteger(double dValue)
{
  return static_cast<int>(std::clamp(dValue, -2147483647.0, 2147483647.0));
}

}  // namespace

// Technical Note 5176, section 16.
int GetSubrBias(int nCount)
{
  return nCount < 1240 ? 107 : (nCount < 33900 ? 1131 : 32768);
}

bool CType2Parser::Fail(const char* szText)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "CFF", "%s", szText);
  return false;
}

bool CType2Parser::Parse(TData charString)
{
  m_nStack = m_nStems = 0;
  m_nDepth = 1;
  m_nNumberAt = -1;
  m_bWidthTaken = m_bStop = false;
  std::fill(std::begin(m_transients), std::end(m_transients), 0.0);
  m_frames[0] = {charString, 0};
  m_nWorkLimit = m_nWork + BSE::g_nMaxGlyphSteps;
  return Run();
}

bool CType2Parser::Run()
{
  while (!m_bStop)
  {
    TFrame& frame = m_frames[m_nDepth - 1];
    if (frame.m_nOffset >= frame.m_data.size())
    {
      // A subroutine that does not return, and a glyph that does not end, end with their data.
      m_nNumberAt = -1;
      if (--m_nDepth > 0)
        continue;
      m_nDepth = 1;
      return ExecuteEnd();
    }
    if (++m_nWork > m_nWorkLimit)
      return Fail("Too many operators");
    BSE::CByteCursor cursor(frame.m_data);
    cursor.Seek(static_cast<std::int64_t>(frame.m_nOffset));
    const int nDepth = m_nDepth;
    const int nByte = static_cast<int>(cursor.Card8());
    const bool bNumber = nByte >= 32 || nByte == CTypes::eShortInt;
    if (bNumber)
    {
      m_nNumberAt = static_cast<int>(frame.m_nOffset);
      if (!ReadNumber(nByte, cursor))
        return false;
      frame.m_nOffset = cursor.GetOffset();
    }
    else
    {
      const int nOperator =
          nByte == CTypes::eEscape ? CTypes::Escape(static_cast<int>(cursor.Card8())) : nByte;
      frame.m_nOffset = cursor.GetOffset();
      if (!Execute(nOperator, cursor))
        return false;
      if (m_nDepth == nDepth)
        frame.m_nOffset = cursor.GetOffset();
      m_nNumberAt = -1;
    }
    if (cursor.HasFailed())
      return Fail("Parser error");
  }
  return true;
}

bool CType2Parser::ReadNumber(int nByte, BSE::CByteCursor& cursor)
{
  if (nByte == CTypes::eShortInt)
    return Push(cursor.Int16());
  if (nByte <= 246)
    return Push(nByte - 139);
  if (nByte <= 250)
    return Push((nByte - 247) * 256 + static_cast<int>(cursor.Card8()) + 108);
  if (nByte <= 254)
    return Push(-(nByte - 251) * 256 - static_cast<int>(cursor.Card8()) - 108);
  return Push(cursor.Int32() / 65536.0);
}

bool CType2Parser::Push(double dValue)
{
  if (m_nStack == g_nStackSize)
    return Fail("Stack overflow");
  m_stack[m_nStack++] = dValue;
  return true;
}

bool CType2Parser::Needs(int nCount)
{
  return m_nStack >= nCount || Fail("Stack underflow");
}

bool CType2Parser::Execute(int nOperator, BSE::CByteCursor& cursor)
{
  bool bOk = true;
  switch (nOperator)
  {
  case CTypes::eCallSubr:
  case CTypes::eCallGSubr:
    return Call(nOperator == CTypes::eCallGSubr);
  case CTypes::eReturn:
    m_nDepth = std::max(m_nDepth - 1, 1);
    return true;
  case CTypes::eEndChar:
    return ExecuteEnd();
  case CTypes::eHStem:
  case CTypes::eVStem:
  case CTypes::eHStemHM:
  case CTypes::eVStemHM:
  case CTypes::eHintMask:
  case CTypes::eCntrMask:
    bOk = ExecuteHint(nOperator, cursor);
    break;
  case CTypes::eRMoveTo:
  case CTypes::eHMoveTo:
  case CTypes::eVMoveTo:
    bOk = ExecuteMove(nOperator);
    break;
  case CTypes::eRLineTo:
  case CTypes::eHLineTo:
  case CTypes::eVLineTo:
    bOk = ExecuteLines(nOperator);
    break;
  case CTypes::eRRCurveTo:
  case CTypes::eRCurveLine:
  case CTypes::eRLineCurve:
  case CTypes::eVVCurveTo:
  case CTypes::eHHCurveTo:
  case CTypes::eVHCurveTo:
  case CTypes::eHVCurveTo:
    bOk = ExecuteCurves(nOperator);
    break;
  case CTypes::eHFlex:
  case CTypes::eFlex:
  case CTypes::eHFlex1:
  case CTypes::eFlex1:
    bOk = ExecuteFlex(nOperator);
    break;
  default:
    if (nOperator >= CTypes::eAnd)
      return ExecuteArithmetic(nOperator);
    if (nOperator != CTypes::eDotSection && BSE::CTracer::IsOn())
      BSE::CTracer::Trace("I", "CFF", "Operator not supported: %8d", nOperator);
  }
  m_nStack = 0;
  return bOk;
}

bool CType2Parser::Call(bool bGlobal)
{
  if (!Needs(1))
    return false;
  const CIndex* pSubrs = bGlobal ? m_context.m_pGlobalSubrs : m_context.m_pSubrs;
  const int nCount = pSubrs ? pSubrs->GetSize() : 0;
  const int nSubr = ToInteger(Pop()) + GetSubrBias(nCount);
  if (nSubr < 0 || nSubr >= nCount)
    return Fail("Invalid subroutine");
  if (m_nDepth == g_nMaxDepth)
    return Fail("Subroutines nested too deep");
  const TFrame& frame = m_frames[m_nDepth - 1];
  const int nLength = static_cast<int>(frame.m_nOffset) - 1 - m_nNumberAt;
  OnCall({bGlobal, nSubr, frame.m_data, m_nNumberAt, m_nNumberAt < 0 ? 0 : nLength});
  m_frames[m_nDepth++] = {(*pSubrs)[nSubr], 0};
  return true;
}

void CType2Parser::TakeWidth(bool bGiven)
{
  if (m_bWidthTaken)
    return;
  m_bWidthTaken = true;
  OnWidth(bGiven ? m_context.m_dNominalWidth + m_stack[0] : m_context.m_dDefaultWidth, bGiven);
}

void CType2Parser::TakeStems(bool bVertical)
{
  const int nFirst = m_nStack % 2;
  TakeWidth(nFirst != 0);
  double dEdge = 0;
  for (int i = nFirst; i + 1 < m_nStack && !m_bStop; i += 2)
  {
    OnStem(bVertical, dEdge + m_stack[i], m_stack[i + 1]);
    dEdge += m_stack[i] + m_stack[i + 1];
    ++m_nStems;
  }
}

bool CType2Parser::ExecuteHint(int nOperator, BSE::CByteCursor& cursor)
{
  const bool bMask = nOperator == CTypes::eHintMask || nOperator == CTypes::eCntrMask;
  // Stems right before a mask are vertical ones whose operator is left out.
  TakeStems(bMask || nOperator == CTypes::eVStem || nOperator == CTypes::eVStemHM);
  if (!bMask || m_bStop)
    return true;
  const TData mask = cursor.Take((m_nStems + 7) / 8);
  if (cursor.HasFailed())
    return true;
  if (nOperator == CTypes::eHintMask)
    OnHintMask(mask);
  else
    OnCounterMask(mask);
  return true;
}

bool CType2Parser::ExecuteMove(int nOperator)
{
  const int nCount = nOperator == CTypes::eRMoveTo ? 2 : 1;
  TakeWidth(m_nStack > nCount);
  if (m_bStop)
    return true;
  if (!Needs(nCount))
    return false;
  const double dLast = m_stack[m_nStack - 1];
  if (nCount == 2)
    OnMove(m_stack[m_nStack - 2], dLast);
  else if (nOperator == CTypes::eHMoveTo)
    OnMove(dLast, 0);
  else
    OnMove(0, dLast);
  return true;
}

bool CType2Parser::ExecuteLines(int nOperator)
{
  TakeWidth(false);
  if (nOperator == CTypes::eRLineTo)
  {
    for (int i = 0; i + 1 < m_nStack; i += 2)
      OnLine(m_stack[i], m_stack[i + 1]);
    return true;
  }
  bool bVertical = nOperator == CTypes::eVLineTo;
  for (int i = 0; i < m_nStack; ++i, bVertical = !bVertical)
    OnLine(bVertical ? 0 : m_stack[i], bVertical ? m_stack[i] : 0);
  return true;
}

bool CType2Parser::ExecuteCurves(int nOperator)
{
  TakeWidth(false);
  if (nOperator == CTypes::eVVCurveTo || nOperator == CTypes::eHHCurveTo)
    ExecuteStraightCurves(nOperator == CTypes::eVVCurveTo);
  else if (nOperator == CTypes::eVHCurveTo || nOperator == CTypes::eHVCurveTo)
    ExecuteAlternatingCurves(nOperator == CTypes::eVHCurveTo);
  else
  {
    int i = 0;
    if (nOperator == CTypes::eRLineCurve)
      for (; i + 8 <= m_nStack; i += 2)
        OnLine(m_stack[i], m_stack[i + 1]);
    const int nAfter = nOperator == CTypes::eRCurveLine ? 2 : 0;
    for (; i + 6 + nAfter <= m_nStack; i += 6)
      OnCurve(m_stack[i], m_stack[i + 1], m_stack[i + 2], m_stack[i + 3], m_stack[i + 4], m_stack[i + 5]);
    if (nAfter > 0 && i + 2 <= m_nStack)
      OnLine(m_stack[i], m_stack[i + 1]);
  }
  return true;
}

// Curves that begin and end along the same axis; the first may begin in any direction.
void CType2Parser::ExecuteStraightCurves(bool bVertical)
{
  int i = m_nStack % 4 != 0 ? 1 : 0;
  double dAcross = i > 0 ? m_stack[0] : 0;
  for (; i + 4 <= m_nStack; i += 4, dAcross = 0)
  {
    const double* d = m_stack + i;
    if (bVertical)
      OnCurve(dAcross, d[0], d[1], d[2], 0, d[3]);
    else
      OnCurve(d[0], dAcross, d[1], d[2], d[3], 0);
  }
}

// Curves that begin along one axis and end along the other, where the next one begins; the last may end in
// any direction.
void CType2Parser::ExecuteAlternatingCurves(bool bVertical)
{
  for (int i = 0; i + 4 <= m_nStack; i += 4, bVertical = !bVertical)
  {
    const double* d = m_stack + i;
    const double dLast = m_nStack - i == 5 ? d[4] : 0;
    if (bVertical)
      OnCurve(0, d[0], d[1], d[2], d[3], dLast);
    else
      OnCurve(d[0], 0, d[1], d[2], dLast, d[3]);
  }
}

void CType2Parser::OnFlex(const double (&d)[12])
{
  OnCurve(d[0], d[1], d[2], d[3], d[4], d[5]);
  OnCurve(d[6], d[7], d[8], d[9], d[10], d[11]);
}

bool CType2Parser::ExecuteFlex(int nOperator)
{
  TakeWidth(false);
  const double* d = m_stack;
  switch (nOperator)
  {
  case CTypes::eHFlex:
    if (!Needs(7))
      return false;
    OnFlex({d[0], 0, d[1], d[2], d[3], 0, d[4], 0, d[5], -d[2], d[6], 0});
    return true;
  case CTypes::eFlex:
    if (!Needs(12))
      return false;
    OnFlex({d[0], d[1], d[2], d[3], d[4], d[5], d[6], d[7], d[8], d[9], d[10], d[11]});
    return true;
  case CTypes::eHFlex1:
    if (!Needs(9))
      return false;
    OnFlex({d[0], d[1], d[2], d[3], d[4], 0, d[5], 0, d[6], d[7], d[8], -(d[1] + d[3] + d[7])});
    return true;
  default:
  {
    if (!Needs(11))
      return false;
    const double dX = d[0] + d[2] + d[4] + d[6] + d[8];
    const double dY = d[1] + d[3] + d[5] + d[7] + d[9];
    const bool bHorizontal = std::abs(dX) > std::abs(dY);
    OnFlex({d[0], d[1], d[2], d[3], d[4], d[5], d[6], d[7], d[8], d[9], bHorizontal ? d[10] : -dX,
            bHorizontal ? -dY : d[10]});
    return true;
  }
  }
}

bool CType2Parser::ExecuteEnd()
{
  TakeWidth(m_nStack == 1 || m_nStack == 5);
  if (m_bStop)
    return true;
  if (m_nStack >= 4)
  {
    const double* d = m_stack + m_nStack - 4;
    OnSeac(d[0], d[1], ToInteger(d[2]), ToInteger(d[3]));
  }
  OnEnd();
  m_bStop = true;
  return true;
}

bool CType2Parser::ExecuteArithmetic(int nOperator)
{
  if (nOperator >= CTypes::eDrop && nOperator != CTypes::eMul && nOperator != CTypes::eSqrt)
    return ExecuteStack(nOperator);
  const bool bUnary = nOperator == CTypes::eNot || nOperator == CTypes::eAbs || nOperator == CTypes::eNeg ||
                      nOperator == CTypes::eSqrt;
  if (!Needs(bUnary ? 1 : 2))
    return false;
  const double dB = Pop();
  const double dA = bUnary ? dB : Pop();
  switch (nOperator)
  {
  case CTypes::eAnd:
    return Push(dA != 0 && dB != 0 ? 1 : 0);
  case CTypes::eOr:
    return Push(dA != 0 || dB != 0 ? 1 : 0);
  case CTypes::eNot:
    return Push(dA == 0 ? 1 : 0);
  case CTypes::eAbs:
    return Push(std::abs(dA));
  case CTypes::eAdd:
    return Push(dA + dB);
  case CTypes::eSub:
    return Push(dA - dB);
  case CTypes::eDiv:
    return Push(dB != 0 ? dA / dB : 0);
  case CTypes::eNeg:
    return Push(-dA);
  case CTypes::eEq:
    return Push(dA == dB ? 1 : 0);
  case CTypes::eMul:
    return Push(std::clamp(dA * dB, -1e9, 1e9));
  case CTypes::eSqrt:
    return Push(dA > 0 ? std::sqrt(dA) : 0);
  default:
    return Fail("Operator not supported");
  }
}

bool CType2Parser::ExecuteStack(int nOperator)
{
  switch (nOperator)
  {
  case CTypes::eDrop:
    if (!Needs(1))
      return false;
    Pop();
    return true;
  case CTypes::ePut:
  case CTypes::eGet:
  {
    if (!Needs(nOperator == CTypes::ePut ? 2 : 1))
      return false;
    const int nIndex = ToInteger(Pop());
    if (nIndex < 0 || nIndex >= g_nTransients)
      return Fail("Invalid index");
    if (nOperator == CTypes::eGet)
      return Push(m_transients[nIndex]);
    m_transients[nIndex] = Pop();
    return true;
  }
  case CTypes::eIfElse:
    if (!Needs(4))
      return false;
    m_nStack -= 3;
    if (m_stack[m_nStack + 1] > m_stack[m_nStack + 2])
      m_stack[m_nStack - 1] = m_stack[m_nStack];
    return true;
  case CTypes::eRandom:
    // The same number each time, so that a glyph always looks the same.
    return Push(0.5);
  case CTypes::eDup:
    return Needs(1) && Push(m_stack[m_nStack - 1]);
  case CTypes::eExch:
    if (!Needs(2))
      return false;
    std::swap(m_stack[m_nStack - 1], m_stack[m_nStack - 2]);
    return true;
  case CTypes::eIndex:
  {
    if (!Needs(2))
      return false;
    const int nIndex = std::max(0, ToInteger(Pop()));
    return nIndex < m_nStack ? Push(m_stack[m_nStack - 1 - nIndex]) : Fail("Invalid index");
  }
  case CTypes::eRoll:
  {
    if (!Needs(2))
      return false;
    const int nShift = ToInteger(Pop());
    const int nCount = ToInteger(Pop());
    if (nCount < 0 || nCount > m_nStack)
      return Fail("Invalid index");
    if (nCount > 0)
      std::rotate(m_stack + m_nStack - nCount, m_stack + m_nStack - (nShift % nCount + nCount) % nCount,
                  m_stack + m_nStack);
    return true;
  }
  default:
    return Fail("Operator not supported");
  }
}

}  // namespace CFF
