#include "fonts/cff/Type2Converters.h"

namespace CFF
{

void CType2Recorder::OnWidth(double dWidth, bool)
{
  m_glyph.m_dWidth = dWidth;
}

void CType2Recorder::OnStem(bool bVertical, double dEdge, double dWidth)
{
  const int nNumber = m_glyph.AddStem(bVertical, dEdge, dWidth);
  m_numbers.Add(nNumber);
  m_bStemsLost = m_bStemsLost || nNumber < 0;
}

FONT::TStemMask CType2Recorder::MakeMask(TData mask) const
{
  FONT::TStemMask result{};
  for (int i = 0; i < m_numbers.GetSize(); ++i)
    if (m_numbers[i] >= 0 && (mask[static_cast<std::size_t>(i / 8)] >> (7 - i % 8) & 1) != 0)
      result.Set(m_numbers[i]);
  return result;
}

void CType2Recorder::OnFlex(const double (&d)[12])
{
  m_glyph.CurveBy(d[0], d[1], d[2], d[3], d[4], d[5], true);
  m_glyph.CurveBy(d[6], d[7], d[8], d[9], d[10], d[11]);
}

void CType2Recorder::OnSeac(double dX, double dY, int nBase, int nAccent)
{
  m_bAccent = true;
  m_nBase = nBase;
  m_nAccent = nAccent;
  m_dAccentX = dX;
  m_dAccentY = dY;
}

}  // namespace CFF
