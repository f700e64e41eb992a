#include "fonts/installed/FontCharacteristics.h"

#include <cmath>
#include <cstring>

namespace PDF
{

namespace
{

constexpr double g_dUnfit = 65000;
constexpr double g_dUnlike = 9000;
constexpr double g_dProportional = 15000;
constexpr double g_dSlight = 350;

struct TWeightWord
{
  const char* m_szWord;
  double m_dWeight;
};

// The first one that is in the name counts.
constexpr TWeightWord g_weights[] = {
    {"Semibold", 600},   {"SemiBold", 600}, {"Demibold", 600}, {"DemiBold", 600}, {"Demi", 600},
    {"ExtraBold", 800},  {"Black", 900},    {"Heavy", 900},    {"Bold", 700},     {"Medium", 500},
    {"ExtraLight", 200}, {"Thin", 100},     {"Light", 300}};

bool HasWord(const char* szName, const char* szWord)
{
  return std::strstr(szName, szWord) != nullptr;
}

// Of a metric that is 0 nothing is known.
double GetMetricDistance(double dCandidate, double dTarget, double dFactor)
{
  return dCandidate != 0 && dTarget != 0 ? std::abs(dCandidate - dTarget) * dFactor : 0;
}

}  // namespace

void CFontCharacteristics::AddNameHints(const char* szName)
{
  for (const TWeightWord& weight : g_weights)
    if (HasWord(szName, weight.m_szWord))
    {
      m_dWeight = weight.m_dWeight;
      m_bBold = m_bBold || m_dWeight >= 600;
      break;
    }
  m_bItalic = m_bItalic || HasWord(szName, "Italic") || HasWord(szName, "Oblique");
  m_bNarrow =
      m_bNarrow || HasWord(szName, "Narrow") || HasWord(szName, "Condensed") || HasWord(szName, "Cond");
  m_bExpanded = m_bExpanded || HasWord(szName, "Expanded");
}

double CFontCharacteristics::GetDistance(const CFontCharacteristics& target) const
{
  double dDistance = 0;
  if (target.HasCoverage())
    for (int i = 0; i < 2; ++i)
      if ((target.m_nCoverage[i] & ~m_nCoverage[i]) != 0)
        dDistance = g_dUnfit;
  if (m_bSymbol)
    dDistance = g_dUnfit;
  dDistance += m_bExpanded ? g_dUnlike : 0;
  dDistance += m_bNarrow ? g_dUnlike : 0;
  if (m_bFixedPitch != target.m_bFixedPitch)
    dDistance += target.m_bFixedPitch ? g_dProportional : g_dSlight;
  dDistance += m_bSerif != target.m_bSerif ? g_dUnlike : 0;
  dDistance += m_bScript != target.m_bScript ? g_dUnlike : 0;
  if (m_bItalic != target.m_bItalic)
    dDistance += g_dSlight;
  else if (m_bItalic)
    dDistance += std::abs(m_dItalicAngle - target.m_dItalicAngle);
  if (m_dWeight != 0)
    dDistance += std::abs(m_dWeight - target.m_dWeight) * 30;
  const bool bBothFixed = m_bFixedPitch && target.m_bFixedPitch;
  dDistance += GetMetricDistance(m_dWidth, target.m_dWidth, bBothFixed ? 50 : 0.1);
  dDistance += GetMetricDistance(m_dAscent, target.m_dAscent, 0.1);
  dDistance += GetMetricDistance(m_dDescent, target.m_dDescent, 0.1);
  dDistance += GetMetricDistance(m_dCapHeight, target.m_dCapHeight, 0.1);
  dDistance += GetMetricDistance(m_dXHeight, target.m_dXHeight, 0.1);
  return dDistance;
}

}  // namespace PDF
