#pragma once

namespace DOC
{

// Lowest and highest value of an input, an output or a component.
struct TRange
{
  double m_dMin = 0;
  double m_dMax = 1;

  // The value moved into the range, whichever way round it is; what is not a number becomes an end of it.
  double Clamp(double d) const
  {
    const double dLow = m_dMin < m_dMax ? m_dMin : m_dMax;
    const double dHigh = m_dMin < m_dMax ? m_dMax : m_dMin;
    return d >= dLow ? (d <= dHigh ? d : dHigh) : dLow;
  }

  // 0 to 255 for the range's ends, truncated; what lies outside becomes 0 or 255. Everything in an empty
  // range is 0 or 255. A byte that FromByte has made a number of comes back.
  unsigned char ToByte(double d) const
  {
    // Far below what a step is: division and multiplication leave some values a rounding error short.
    constexpr double dRounding = 1e-9;
    const double dByte = (d - m_dMin) / (m_dMax - m_dMin) * 255.0 + dRounding;
    return dByte >= 255.0 ? 255 : dByte >= 0.0 ? static_cast<unsigned char>(dByte) : 0;
  }
  double FromByte(unsigned char n) const { return n * (m_dMax - m_dMin) / 255.0 + m_dMin; }
};

}  // namespace DOC
