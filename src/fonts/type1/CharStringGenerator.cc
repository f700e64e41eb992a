// Type 1 charstrings have integers and no fractions, so that a fraction is written as a quotient; coordinates
// are rounded before differences are taken, so that rounding does not add up. Hints that change within a
// glyph must be in a subroutine, since interpreters that do not replace hints run an empty one instead (Adobe
// Type 1 Font Format, chapter 8). The first five subroutines are the same in all fonts, and interpreters rely
// on their numbers.

#include "fonts/type1/CharStringGenerator.h"

#include <cmath>

namespace PFB
{

namespace
{

constexpr int g_nFirstHintSubr = 5;
constexpr int g_nHintReplacement = 4;

double Quantize(double dValue)
{
  return std::round(dValue * 65536) / 65536;
}

}  // namespace

void CType1CharStringGenerator::PutInteger(int nValue)
{
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
    PutByte(eLongInteger);
    for (int nShift = 24; nShift >= 0; nShift -= 8)
      PutByte(nValue >> nShift);
  }
}

bool CType1CharStringGenerator::PutNumber(double dValue)
{
  if (!(std::abs(dValue) <= 32000))
    return false;
  // The smallest divisor that leaves no fraction.
  int nDivisor = 65536;
  for (const int n : {1, 2, 4, 5, 10, 100, 256})
    if (std::abs(dValue * n - std::round(dValue * n)) * 65536 < 0.5 * n)
    {
      nDivisor = n;
      break;
    }
  PutInteger(static_cast<int>(std::round(dValue * nDivisor)));
  if (nDivisor == 1)
    return true;
  PutInteger(nDivisor);
  PutOperator(eDiv);
  return true;
}

void CType1CharStringGenerator::PutOperator(int nOperator)
{
  if (nOperator >= 0x0C00)
    PutByte(eEscape);
  PutByte(nOperator & 0xFF);
}

// Three for flex, an empty one, and one for hint replacement.
CType1Writer::CType1Writer(CPFB& font) : m_font(font)
{
  static constexpr int programs[g_nFirstHintSubr][9] = {
      {3, 0, -eCallOtherSubr, -ePopValue, -ePopValue, -eSetCurrentPoint, -eReturn},
      {0, 1, -eCallOtherSubr, -eReturn},
      {0, 2, -eCallOtherSubr, -eReturn},
      {-eReturn},
      {1, 3, -eCallOtherSubr, -ePopValue, -eCallSubr, -eReturn}};
  for (const auto& program : programs)
  {
    CType1CharStringGenerator generator;
    for (const int n : program)
    {
      if (n < 0)
        generator.PutOperator(-n);
      else
        generator.PutNumber(n);
      if (n == -eReturn)
        break;
    }
    m_font.AddSubr(generator.GetBytes());
  }
}

int CType1Writer::Add(FONT::TName name, const FONT::CGlyph& glyph)
{
  return Write(glyph) ? m_font.AddGlyph(name, m_generator.GetBytes()) : -1;
}

int CType1Writer::AddAccented(FONT::TName name, double dWidth, double dX, double dY, int nBase, int nAccent)
{
  m_generator.Clear();
  const bool bOk = Put({0, dWidth}, eHsbw) &&
                   Put({0, dX, dY, static_cast<double>(nBase), static_cast<double>(nAccent)}, eSeac);
  return bOk ? m_font.AddGlyph(name, m_generator.GetBytes()) : -1;
}

bool CType1Writer::Put(std::initializer_list<double> values, int nOperator)
{
  for (const double dValue : values)
    if (!m_generator.PutNumber(dValue))
      return false;
  m_generator.PutOperator(nOperator);
  return true;
}

void CType1Writer::Close()
{
  if (m_bOpen)
    m_generator.PutOperator(eClosePath);
  m_bOpen = false;
}

bool CType1Writer::Write(const FONT::CGlyph& glyph)
{
  m_generator.Clear();
  m_dX = m_dY = 0;
  m_bOpen = false;
  bool bOk = Put({0, glyph.m_dWidth}, eHsbw);
  const bool bMaskFirst =
      glyph.m_segments.GetSize() > 0 && glyph.m_segments[0].m_nKind == FONT::TSegment::eHints;
  bOk =
      bOk && WriteStems(glyph, bMaskFirst ? glyph.m_masks[glyph.m_segments[0].m_nValue] : glyph.GetAllStems(),
                        m_generator);
  for (int i = bMaskFirst ? 1 : 0; i < glyph.m_segments.GetSize() && bOk; ++i)
  {
    const FONT::TSegment& segment = glyph.m_segments[i];
    bOk = segment.m_nKind == FONT::TSegment::eHints ? WriteHints(glyph, glyph.m_masks[segment.m_nValue])
                                                    : WriteSegment(segment);
  }
  Close();
  m_generator.PutOperator(eEndChar);
  return bOk;
}

bool CType1Writer::WriteStems(const FONT::CGlyph& glyph, const FONT::TStemMask& mask,
                              CType1CharStringGenerator& generator)
{
  for (int i = 0; i < glyph.m_stems.GetSize(); ++i)
  {
    if (!mask.Has(i))
      continue;
    const FONT::TStem& stem = glyph.m_stems[i];
    if (!generator.PutNumber(stem.m_dEdge) || !generator.PutNumber(stem.m_dWidth))
      return false;
    generator.PutOperator(stem.m_bVertical ? eVStem : eHStem);
  }
  return true;
}

bool CType1Writer::WriteHints(const FONT::CGlyph& glyph, const FONT::TStemMask& mask)
{
  CType1CharStringGenerator generator;
  if (!WriteStems(glyph, mask, generator))
    return false;
  generator.PutOperator(eReturn);
  const TData bytes = generator.GetBytes();
  int nEntry = m_hints.Lookup(bytes.data(), bytes.size());
  if (nEntry < 0)
    nEntry = m_hints.SetAt(bytes.data(), bytes.size(),
                           reinterpret_cast<void*>(static_cast<std::uintptr_t>(m_font.AddSubr(bytes))));
  const auto nSubr = reinterpret_cast<std::uintptr_t>(m_hints.GetValue(nEntry));
  return Put({static_cast<double>(nSubr), g_nHintReplacement}, eCallSubr);
}

bool CType1Writer::WriteSegment(const FONT::TSegment& segment)
{
  double d[6] = {};
  for (int i = segment.m_nKind == FONT::TSegment::eCurve ? 0 : 4; i < 6; i += 2)
  {
    const double dX = Quantize(segment.m_d[i]);
    const double dY = Quantize(segment.m_d[i + 1]);
    d[i] = dX - m_dX;
    d[i + 1] = dY - m_dY;
    m_dX = dX;
    m_dY = dY;
  }
  switch (segment.m_nKind)
  {
  case FONT::TSegment::eMove:
    Close();
    m_bOpen = true;
    if (d[5] == 0)
      return Put({d[4]}, eHMoveTo);
    return d[4] == 0 ? Put({d[5]}, eVMoveTo) : Put({d[4], d[5]}, eRMoveTo);
  case FONT::TSegment::eLine:
    if (d[5] == 0)
      return Put({d[4]}, eHLineTo);
    return d[4] == 0 ? Put({d[5]}, eVLineTo) : Put({d[4], d[5]}, eRLineTo);
  default:
    if (d[1] == 0 && d[4] == 0)
      return Put({d[0], d[2], d[3], d[5]}, eHVCurveTo);
    if (d[0] == 0 && d[5] == 0)
      return Put({d[1], d[2], d[3], d[4]}, eVHCurveTo);
    return Put({d[0], d[1], d[2], d[3], d[4], d[5]}, eRRCurveTo);
  }
}

}  // namespace PFB
