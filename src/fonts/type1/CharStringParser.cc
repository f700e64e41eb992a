// A stack machine as in CFF, but older (Adobe Type 1 Font Format, chapters 6 and 8): flex and the replacement
// of hints are not operators but calls to procedures in PostScript, OtherSubrs, whose results come back with
// pop. Four of them have fixed meanings, and they are done here instead of running the PostScript. In a flex,
// moves give the points of its curves, so that they must not reach the outline.
//
// Subroutines have frames instead of recursion, and steps are bounded, since a few of them that call each
// other can make billions of steps.

#include "fonts/type1/CharStringParser.h"

#include "base/Limits.h"
#include "base/Tracer.h"

#include <algorithm>

namespace PFB
{

namespace
{

int ToInteger(double dValue)
{
  return static_cast<int>(std::clamp(dValue, -2147483647.0, 2147483647.0));
}

}  // namespace

bool CType1CharStringParser::Fail(const char* szText, int nValue)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace(nValue != 0 ? "I" : "E", "PFB", szText, nValue);
  return false;
}

bool CType1CharStringParser::Parse(TData charString)
{
  m_nStack = m_nResults = 0;
  m_nDepth = 1;
  m_nFlexPoints = -1;
  m_bFlexEnded = false;
  m_dBearingX = m_dBearingY = 0;
  m_bStop = false;
  m_frames[0] = {charString, 0};
  m_nWorkLimit = m_nWork + BSE::g_nMaxGlyphSteps;
  return Run();
}

bool CType1CharStringParser::Run()
{
  while (!m_bStop)
  {
    TFrame& frame = m_frames[m_nDepth - 1];
    if (frame.m_nOffset >= frame.m_data.size())
    {
      if (--m_nDepth == 0)
        End();
      continue;
    }
    if (++m_nWork > m_nWorkLimit)
      return Fail("Too many operators");
    BSE::CByteCursor cursor(frame.m_data.subspan(frame.m_nOffset));
    const int nByte = static_cast<int>(cursor.Card8());
    const bool bNumber = nByte >= 32;
    if (bNumber && !ReadNumber(nByte, cursor))
      return false;
    const int nOperator = nByte == eEscape ? 0x0C00 | static_cast<int>(cursor.Card8()) : nByte;
    frame.m_nOffset += cursor.GetOffset();
    if (cursor.HasFailed())
      return Fail("Parser error");
    if (!bNumber && !Execute(nOperator))
      return false;
  }
  return true;
}

bool CType1CharStringParser::ReadNumber(int nByte, BSE::CByteCursor& cursor)
{
  if (nByte <= 246)
    return Push(nByte - 139);
  if (nByte <= 250)
    return Push((nByte - 247) * 256 + static_cast<int>(cursor.Card8()) + 108);
  if (nByte <= 254)
    return Push(-(nByte - 251) * 256 - static_cast<int>(cursor.Card8()) - 108);
  return Push(cursor.Int32());
}

bool CType1CharStringParser::Push(double dValue)
{
  if (m_nStack == g_nStackSize)
    return Fail("Stack overflow");
  m_stack[m_nStack++] = dValue;
  return true;
}

bool CType1CharStringParser::Needs(int nCount) const
{
  return m_nStack >= nCount || Fail("Stack underflow");
}

bool CType1CharStringParser::Execute(int nOperator)
{
  switch (nOperator)
  {
  case eCallSubr:
    return Call();
  case eReturn:
    m_nDepth = std::max(m_nDepth - 1, 1);
    return true;
  case eCallOtherSubr:
    return CallOther();
  case ePopValue:
    // A pop without a result does nothing: the value that it is meant for never left the stack.
    return m_nResults == 0 || Push(m_results[--m_nResults]);
  case eDiv:
    return ExecuteDiv();
  case eEndChar:
    End();
    return true;
  case eHsbw:
  case eSbw:
  {
    const int nCount = nOperator == eSbw ? 4 : 2;
    if (!Needs(nCount))
      return false;
    const double* d = m_stack + m_nStack - nCount;
    m_dBearingX = d[0];
    m_dBearingY = nCount == 4 ? d[1] : 0;
    OnWidth(m_dBearingX, m_dBearingY, d[nCount / 2]);
    m_nStack = 0;
    return true;
  }
  case eSetCurrentPoint:
    ExecuteSetPoint();
    return true;
  case eDotSection:
    m_nStack = 0;
    return true;
  case eSeac:
    return ExecuteSeac();
  case eHStem:
  case eVStem:
  case eHStem3:
  case eVStem3:
    return ExecuteHint(nOperator);
  default:
    return ExecutePath(nOperator);
  }
}

void CType1CharStringParser::End()
{
  OnEnd();
  m_bStop = true;
}

// At the end of a flex it says where the point is already. Elsewhere it has no place, but readers go there.
void CType1CharStringParser::ExecuteSetPoint()
{
  if (!std::exchange(m_bFlexEnded, false) && m_nStack >= 2)
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("I", "PFB", "Deprecated absolute moveto operator.");
    OnSetPoint(m_stack[m_nStack - 2], m_stack[m_nStack - 1]);
  }
  m_nStack = 0;
}

bool CType1CharStringParser::ExecuteHint(int nOperator)
{
  const bool bVertical = nOperator == eVStem || nOperator == eVStem3;
  const int nCount = nOperator == eHStem || nOperator == eVStem ? 2 : 6;
  if (!Needs(nCount))
    return false;
  const double* d = m_stack + m_nStack - nCount;
  const double dOrigin = bVertical ? m_dBearingX : m_dBearingY;
  if (nCount == 2)
    OnStem(bVertical, d[0] + dOrigin, d[1]);
  else
    OnStem3(bVertical, {d[0] + dOrigin, d[1], d[2] + dOrigin, d[3], d[4] + dOrigin, d[5]});
  m_nStack = 0;
  return true;
}

bool CType1CharStringParser::ExecuteSeac()
{
  if (!Needs(5))
    return false;
  const double* d = m_stack + m_nStack - 5;
  OnSeac(m_dBearingX + d[1] - d[0], d[2], ToInteger(d[3]), ToInteger(d[4]));
  End();
  return true;
}

bool CType1CharStringParser::ExecuteDiv()
{
  if (!Needs(2))
    return false;
  const double dDivisor = m_stack[--m_nStack];
  if (dDivisor == 0)
    return Fail("Division by zero");
  m_stack[m_nStack - 1] /= dDivisor;
  return true;
}

void CType1CharStringParser::Move(double dX, double dY)
{
  // In a flex, moves give its points.
  if (m_nFlexPoints < 0)
  {
    OnMove(dX, dY);
    return;
  }
  m_dFlexX += dX;
  m_dFlexY += dY;
}

bool CType1CharStringParser::ExecutePath(int nOperator)
{
  static constexpr struct
  {
    int m_nOperator;
    int m_nCount;
  } counts[] = {{eRMoveTo, 2}, {eHMoveTo, 1},   {eVMoveTo, 1},   {eRLineTo, 2},   {eHLineTo, 1},
                {eVLineTo, 1}, {eRRCurveTo, 6}, {eVHCurveTo, 4}, {eHVCurveTo, 4}, {eClosePath, 0}};
  const auto* pFound = std::find_if(std::begin(counts), std::end(counts),
                                    [&](const auto& entry) { return entry.m_nOperator == nOperator; });
  if (pFound == std::end(counts))
  {
    if (BSE::CTracer::IsOn() && nOperator >= 0x0C00)
      BSE::CTracer::Trace("I", "PFB", "Unknown operator (%d, %d)", 12, nOperator & 0xFF);
    return nOperator < 0x0C00 ? Fail("Unknown operator %d.", nOperator) : false;
  }
  if (!Needs(pFound->m_nCount))
    return false;
  const double* d = m_stack + m_nStack - pFound->m_nCount;
  switch (nOperator)
  {
  case eRMoveTo:
    Move(d[0], d[1]);
    break;
  case eHMoveTo:
    Move(d[0], 0);
    break;
  case eVMoveTo:
    Move(0, d[0]);
    break;
  case eRLineTo:
    OnLine(d[0], d[1]);
    break;
  case eHLineTo:
    OnLine(d[0], 0);
    break;
  case eVLineTo:
    OnLine(0, d[0]);
    break;
  case eRRCurveTo:
    OnCurve(d[0], d[1], d[2], d[3], d[4], d[5]);
    break;
  case eVHCurveTo:
    OnCurve(0, d[0], d[1], d[2], d[3], 0);
    break;
  case eHVCurveTo:
    OnCurve(d[0], 0, d[1], d[2], 0, d[3]);
    break;
  default:
    OnClosePath();
  }
  m_nStack = 0;
  return true;
}

bool CType1CharStringParser::Call()
{
  if (!Needs(1))
    return false;
  const int nSubr = ToInteger(m_stack[--m_nStack]);
  if (nSubr < 0 || std::cmp_greater_equal(nSubr, m_subrs.size()))
    return Fail("Invalid subr no. %d", nSubr);
  if (m_nDepth == g_nMaxDepth)
    return Fail("Subroutines nested too deep");
  m_frames[m_nDepth++] = {m_subrs[static_cast<std::size_t>(nSubr)], 0};
  return true;
}

// The first four are known to all interpreters: flex and hint replacement. Others just give back their
// arguments; 14 to 18 blend the designs of a font and would have to compute.
bool CType1CharStringParser::CallOther()
{
  if (!Needs(2))
    return false;
  const int nOther = ToInteger(m_stack[--m_nStack]);
  const int nCount = ToInteger(m_stack[--m_nStack]);
  if (nCount < 0 || !Needs(nCount))
    return false;
  if (nOther >= 14 && nOther <= 18)
    return Fail("Blended glyphs are not supported");
  m_nResults = 0;
  m_bFlexEnded = nOther == 0;
  if (nOther == 0 && m_nFlexPoints >= 0)
    return EndFlex(nCount);
  if (nOther == 1)
  {
    m_nFlexPoints = 0;
    m_dFlexX = m_dFlexY = 0;
  }
  else if (nOther == 2 && m_nFlexPoints >= 0)
  {
    if (m_nFlexPoints == 7)
      return Fail("Too many points of a flex");
    m_flex[2 * m_nFlexPoints] = std::exchange(m_dFlexX, 0);
    m_flex[2 * m_nFlexPoints + 1] = std::exchange(m_dFlexY, 0);
    ++m_nFlexPoints;
  }
  else if (nOther == 3)
    OnHintReplacement();
  // The last argument is the first to be popped.
  for (int i = 0; i < nCount; ++i)
    m_results[m_nResults++] = m_stack[m_nStack - nCount + i];
  m_nStack -= nCount;
  return true;
}

// The first point is a reference point, from which the next one counts.
bool CType1CharStringParser::EndFlex(int nCount)
{
  if (nCount < 3 || m_nFlexPoints != 7)
    return Fail("Invalid flex");
  m_nFlexPoints = -1;
  double curves[12];
  std::copy(m_flex + 2, m_flex + 14, curves);
  curves[0] += m_flex[0];
  curves[1] += m_flex[1];
  OnFlex(curves);
  m_results[m_nResults++] = m_stack[m_nStack - 1];
  m_results[m_nResults++] = m_stack[m_nStack - 2];
  m_nStack -= nCount;
  return true;
}

void CType1CharStringParser::OnStem3(bool bVertical, const double (&d)[6])
{
  for (int i = 0; i < 6; i += 2)
    OnStem(bVertical, d[i], d[i + 1]);
}

void CType1CharStringParser::OnFlex(const double (&d)[12])
{
  OnCurve(d[0], d[1], d[2], d[3], d[4], d[5]);
  OnCurve(d[6], d[7], d[8], d[9], d[10], d[11]);
}

void CType1Recorder::OnWidth(double dBearingX, double dBearingY, double dWidth)
{
  m_glyph.m_dWidth = dWidth;
  m_glyph.SetPoint(dBearingX, dBearingY);
}

int CType1Recorder::AddStem(bool bVertical, double dEdge, double dWidth)
{
  // The two edges may come in any order. The widths -20 and -21 are different: they mark a single edge, at
  // the top or at the bottom.
  if (dWidth < 0 && dWidth != -20 && dWidth != -21)
  {
    dEdge += dWidth;
    dWidth = -dWidth;
  }
  const int nStem = m_glyph.AddStem(bVertical, dEdge, dWidth);
  m_bStemsLost = m_bStemsLost || nStem < 0;
  if (nStem >= 0 && !m_active.Has(nStem))
  {
    m_active.Set(nStem);
    m_bHintsChanged = true;
  }
  return nStem;
}

void CType1Recorder::OnStem(bool bVertical, double dEdge, double dWidth)
{
  AddStem(bVertical, dEdge, dWidth);
}

void CType1Recorder::OnStem3(bool bVertical, const double (&d)[6])
{
  FONT::TStemMask counters{};
  for (int i = 0; i < 6; i += 2)
    if (const int nStem = AddStem(bVertical, d[i], d[i + 1]); nStem >= 0)
      counters.Set(nStem);
  // Each replacement of hints repeats the counters.
  const auto known = m_glyph.m_counters.GetSpan();
  if (std::find(known.begin(), known.end(), counters) == known.end())
    m_glyph.AddCounters(counters);
}

void CType1Recorder::OnHintReplacement()
{
  m_active = {};
  m_bHintsChanged = true;
}

void CType1Recorder::FlushHints()
{
  if (m_bHintsChanged)
    m_glyph.AddMask(m_active);
  m_bHintsChanged = false;
}

void CType1Recorder::OnSetPoint(double dX, double dY)
{
  m_glyph.SetPoint(dX, dY);
}

void CType1Recorder::OnMove(double dX, double dY)
{
  FlushHints();
  m_glyph.MoveBy(dX, dY);
}

void CType1Recorder::OnLine(double dX, double dY)
{
  FlushHints();
  m_glyph.LineBy(dX, dY);
}

void CType1Recorder::OnCurve(double dX1, double dY1, double dX2, double dY2, double dX3, double dY3)
{
  FlushHints();
  m_glyph.CurveBy(dX1, dY1, dX2, dY2, dX3, dY3);
}

void CType1Recorder::OnFlex(const double (&d)[12])
{
  FlushHints();
  m_glyph.CurveBy(d[0], d[1], d[2], d[3], d[4], d[5], true);
  m_glyph.CurveBy(d[6], d[7], d[8], d[9], d[10], d[11]);
}

void CType1Recorder::OnSeac(double dX, double dY, int nBase, int nAccent)
{
  m_bAccent = true;
  m_nBase = nBase;
  m_nAccent = nAccent;
  m_dAccentX = dX;
  m_dAccentY = dY;
}

// A single mask with all stems is the same as none.
void CType1Recorder::OnEnd()
{
  if (m_glyph.m_masks.GetSize() != 1 || m_glyph.m_masks[0] != m_glyph.GetAllStems() ||
      m_glyph.m_segments[0].m_nKind != FONT::TSegment::eHints)
    return;
  m_glyph.m_segments.RemoveAt(0);
  m_glyph.m_masks.RemoveAll();
}

}  // namespace PFB
