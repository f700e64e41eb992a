// A glyph comes as moves, lines and curves with absolute coordinates. Runs of lines and curves are collected,
// and each run is cut greedily: the shape of the first step chooses the operator that leaves out the most
// zeros, which then takes all steps that follow its pattern, up to the 48 arguments of the stack (Adobe
// Technical Note 5177, appendix B, as for the 96 stems). A search for the best cuts would save little, since
// most steps fit one pattern only. Coordinates are rounded to 16.16 before differences are taken: the
// differences are then exact, and rounding cannot add up along an outline.

#include "fonts/cff/CharStringGenerator.h"

#include <algorithm>
#include <cmath>

namespace CFF
{

namespace
{

// To the nearest number that a charstring can hold.
double Quantize(double dValue)
{
  return std::round(dValue * 65536) / 65536;
}

}  // namespace

// The encoding of numbers in Technical Note 5177, section 3.2.
bool CCharStringGenerator::PutNumber(double dValue)
{
  if (!(std::abs(dValue) <= 32767))
    return false;
  const double dFixed = std::round(dValue * 65536);
  if (dFixed != 65536 * std::floor(dFixed / 65536))
  {
    const auto nFixed = static_cast<std::int32_t>(dFixed);
    PutByte(CTypes::eFixed);
    for (int nShift = 24; nShift >= 0; nShift -= 8)
      PutByte(nFixed >> nShift);
    return true;
  }
  const int nValue = static_cast<int>(dFixed / 65536);
  if (nValue >= -107 && nValue <= 107)
    PutByte(nValue + 139);
  else if (nValue >= 108 && nValue <= 1131)
  {
    PutByte(247 + (nValue - 108) / 256);
    PutByte((nValue - 108) % 256);
  }
  else if (nValue >= -1131 && nValue <= -108)
  {
    PutByte(251 + (-nValue - 108) / 256);
    PutByte((-nValue - 108) % 256);
  }
  else
  {
    PutByte(CTypes::eShortInt);
    PutByte(nValue >> 8);
    PutByte(nValue);
  }
  return true;
}

void CCharStringGenerator::PutOperator(int nOperator)
{
  if (nOperator >= CTypes::Escape(0))
    PutByte(CTypes::eEscape);
  PutByte(nOperator & 0xFF);
}

bool CType2Writer::Emit(int nOperator)
{
  for (const double dValue : m_arguments.GetSpan())
    if (!m_generator.PutNumber(dValue))
      return false;
  m_arguments.Truncate(0);
  m_generator.PutOperator(nOperator);
  return true;
}

bool CType2Writer::Write(const FONT::CGlyph& glyph)
{
  m_generator.Clear();
  m_arguments.Truncate(0);
  m_steps.Truncate(0);
  m_dX = m_dY = 0;
  if (glyph.m_dWidth != m_dDefaultWidth)
    Push(glyph.m_dWidth - m_dNominalWidth);
  const bool bMasks = glyph.m_masks.GetSize() > 0 && glyph.m_stems.GetSize() > 0;
  bool bOk = WriteStems(glyph, bMasks);
  for (const FONT::TSegment& segment : glyph.m_segments.GetSpan())
  {
    if (!bOk)
      break;
    if (segment.m_nKind == FONT::TSegment::eLine || segment.m_nKind == FONT::TSegment::eCurve)
    {
      AddStep(segment);
      continue;
    }
    bOk = WriteSteps(m_steps.GetSpan());
    m_steps.Truncate(0);
    if (segment.m_nKind == FONT::TSegment::eMove)
      bOk = bOk && WriteMove(segment.GetX(), segment.GetY());
    else if (bMasks)
      bOk = bOk && WriteMask(CTypes::eHintMask, glyph.m_masks[segment.m_nValue]);
  }
  return bOk && WriteSteps(m_steps.GetSpan()) && Emit(CTypes::eEndChar);
}

void CType2Writer::AddStep(const FONT::TSegment& segment)
{
  TStep step{segment.m_nKind == FONT::TSegment::eCurve, segment.m_nValue != 0, {}};
  for (int i = step.m_bCurve ? 0 : 4; i < 6; i += 2)
  {
    const double dX = Quantize(segment.m_d[i]);
    const double dY = Quantize(segment.m_d[i + 1]);
    step.m_d[i] = dX - m_dX;
    step.m_d[i + 1] = dY - m_dY;
    m_dX = dX;
    m_dY = dY;
  }
  m_steps.Add(step);
}

// Horizontal stems first, each kind from below; vertical ones right before a mask need no operator.
bool CType2Writer::WriteStems(const FONT::CGlyph& glyph, bool bMasks)
{
  m_nStems = glyph.m_stems.GetSize();
  if (m_nStems > g_nMaxStems)
    return false;
  for (int i = 0; i < m_nStems; ++i)
    m_order[i] = i;
  std::stable_sort(m_order, m_order + m_nStems,
                   [&](int nA, int nB)
                   {
                     const FONT::TStem& a = glyph.m_stems[nA];
                     const FONT::TStem& b = glyph.m_stems[nB];
                     return a.m_bVertical != b.m_bVertical ? b.m_bVertical : a.m_dEdge < b.m_dEdge;
                   });
  const bool bCounters = m_nStems > 0 && glyph.m_counters.GetSize() > 0;
  const bool bMarked = bMasks || bCounters;
  double dLast = 0;
  for (int i = 0; i < m_nStems; ++i)
  {
    const FONT::TStem& stem = glyph.m_stems[m_order[i]];
    const bool bLast = i + 1 == m_nStems;
    const bool bKindEnds = bLast || glyph.m_stems[m_order[i + 1]].m_bVertical != stem.m_bVertical;
    const double dEdge = Quantize(stem.m_dEdge);
    const double dWidth = Quantize(stem.m_dWidth);
    Push(dEdge - dLast);
    Push(dWidth);
    dLast = bKindEnds ? 0 : dEdge + dWidth;
    if (!bKindEnds && m_arguments.GetSize() + 2 <= g_nMaxArguments)
      continue;
    if (bLast && stem.m_bVertical && bMarked)
      continue;
    const int nOperator = stem.m_bVertical ? (bMarked ? CTypes::eVStemHM : CTypes::eVStem)
                                           : (bMarked ? CTypes::eHStemHM : CTypes::eHStem);
    if (!Emit(nOperator))
      return false;
    dLast = 0;
  }
  for (const FONT::TStemMask& mask : glyph.m_counters.GetSpan())
    if (bCounters && !WriteMask(CTypes::eCntrMask, mask))
      return false;
  const bool bMaskFollows =
      glyph.m_segments.GetSize() > 0 && glyph.m_segments[0].m_nKind == FONT::TSegment::eHints;
  return !bMasks || bMaskFollows || WriteMask(CTypes::eHintMask, glyph.GetAllStems());
}

bool CType2Writer::WriteMask(int nOperator, const FONT::TStemMask& mask)
{
  if (!Emit(nOperator))
    return false;
  for (int i = 0; i < m_nStems; i += 8)
  {
    int nByte = 0;
    for (int n = i; n < i + 8; ++n)
      nByte = 2 * nByte + (n < m_nStems && mask.Has(m_order[n]) ? 1 : 0);
    m_generator.PutByte(nByte);
  }
  return true;
}

bool CType2Writer::WriteMove(double dX, double dY)
{
  dX = Quantize(dX);
  dY = Quantize(dY);
  const double dDeltaX = dX - m_dX;
  const double dDeltaY = dY - m_dY;
  m_dX = dX;
  m_dY = dY;
  if (dDeltaX != 0 || dDeltaY == 0)
    Push(dDeltaX);
  if (dDeltaY != 0)
    Push(dDeltaY);
  return Emit(dDeltaY == 0 ? CTypes::eHMoveTo : (dDeltaX == 0 ? CTypes::eVMoveTo : CTypes::eRMoveTo));
}

bool CType2Writer::WriteSteps(std::span<const TStep> steps)
{
  while (!steps.empty())
  {
    std::size_t nDone = 0;
    if (steps[0].m_bFlex && steps.size() > 1 && steps[1].m_bCurve)
      nDone = WriteFlex(steps);
    else if (!steps[0].m_bCurve)
      nDone = WriteLines(steps);
    else
    {
      const double* d = steps[0].m_d;
      if ((d[0] == 0 || d[1] == 0) && (d[4] == 0 || d[5] == 0) && (d[1] == 0) != (d[5] == 0))
        nDone = WriteAlternatingCurves(steps);
      else if (d[5] == 0)
        nDone = WriteStraightCurves(steps, false);
      else if (d[4] == 0)
        nDone = WriteStraightCurves(steps, true);
      else
      {
        for (; nDone < steps.size() && steps[nDone].m_bCurve && !steps[nDone].m_bFlex &&
               m_arguments.GetSize() + 6 <= g_nMaxArguments;
             ++nDone)
        {
          const double* p = steps[nDone].m_d;
          if (nDone > 0 && (p[4] == 0 || p[5] == 0))
            break;
          m_arguments.Append({p, 6});
        }
        if (!Emit(CTypes::eRRCurveTo))
          return false;
      }
    }
    if (nDone == 0)
      return false;
    steps = steps.subspan(nDone);
  }
  return true;
}

// Lines along the axes that alternate are one operator, others in a row another.
std::size_t CType2Writer::WriteLines(std::span<const TStep> steps)
{
  const auto IsStraight = [](const TStep& step) { return step.m_d[4] == 0 || step.m_d[5] == 0; };
  std::size_t n = 0;
  if (!IsStraight(steps[0]))
  {
    for (; n < steps.size() && !steps[n].m_bCurve && !IsStraight(steps[n]) &&
           m_arguments.GetSize() + 2 <= g_nMaxArguments;
         ++n)
      m_arguments.Append({steps[n].m_d + 4, 2});
    return Emit(CTypes::eRLineTo) ? n : 0;
  }
  const bool bFirstVertical = steps[0].m_d[4] == 0 && steps[0].m_d[5] != 0;
  bool bVertical = bFirstVertical;
  for (; n < steps.size() && !steps[n].m_bCurve && m_arguments.GetSize() < g_nMaxArguments; ++n)
  {
    if (steps[n].m_d[bVertical ? 4 : 5] != 0)
      break;
    Push(steps[n].m_d[bVertical ? 5 : 4]);
    bVertical = !bVertical;
  }
  return Emit(bFirstVertical ? CTypes::eVLineTo : CTypes::eHLineTo) ? n : 0;
}

std::size_t CType2Writer::WriteStraightCurves(std::span<const TStep> steps, bool bVertical)
{
  std::size_t n = 0;
  for (; n < steps.size() && steps[n].m_bCurve && !steps[n].m_bFlex &&
         m_arguments.GetSize() + 5 <= g_nMaxArguments;
       ++n)
  {
    const double* d = steps[n].m_d;
    const double dAcross = d[bVertical ? 0 : 1];
    if (d[bVertical ? 4 : 5] != 0 || (n > 0 && dAcross != 0))
      break;
    if (dAcross != 0)
      Push(dAcross);
    for (const double dValue : {d[bVertical ? 1 : 0], d[2], d[3], d[bVertical ? 5 : 4]})
      Push(dValue);
  }
  return Emit(bVertical ? CTypes::eVVCurveTo : CTypes::eHHCurveTo) ? n : 0;
}

std::size_t CType2Writer::WriteAlternatingCurves(std::span<const TStep> steps)
{
  const bool bFirstVertical = steps[0].m_d[0] == 0 && steps[0].m_d[1] != 0;
  bool bVertical = bFirstVertical;
  std::size_t n = 0;
  for (bool bEnded = false; n < steps.size() && !bEnded && steps[n].m_bCurve && !steps[n].m_bFlex &&
                            m_arguments.GetSize() + 5 <= g_nMaxArguments;
       ++n, bVertical = !bVertical)
  {
    const double* d = steps[n].m_d;
    // A curve ends in the other direction; only the last one of the operator may end in any.
    const double dAside = d[bVertical ? 5 : 4];
    if (d[bVertical ? 0 : 1] != 0)
      break;
    for (const double dValue : {d[bVertical ? 1 : 0], d[2], d[3], d[bVertical ? 4 : 5]})
      Push(dValue);
    if (dAside != 0)
      Push(dAside);
    bEnded = dAside != 0;
  }
  return Emit(bFirstVertical ? CTypes::eVHCurveTo : CTypes::eHVCurveTo) ? n : 0;
}

std::size_t CType2Writer::WriteFlex(std::span<const TStep> steps)
{
  const double* a = steps[0].m_d;
  const double* b = steps[1].m_d;
  if (a[1] == 0 && a[5] == 0 && b[1] == 0 && b[5] == 0 && a[3] == -b[3])
  {
    for (const double dValue : {a[0], a[2], a[3], a[4], b[0], b[2], b[4]})
      Push(dValue);
    return Emit(CTypes::eHFlex) ? 2 : 0;
  }
  m_arguments.Append({a, 6});
  m_arguments.Append({b, 6});
  // The depth in hundredths of a pixel below which the flex is drawn as a line; hflex implies the same.
  Push(50);
  return Emit(CTypes::eFlex) ? 2 : 0;
}

}  // namespace CFF
