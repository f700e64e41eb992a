#pragma once

namespace PDF
{

// A transformation of the plane (ISO 32000-1, 8.3.4): x' = a x + c y + e, y' = b x + d y + f.
struct TMatrix
{
  double m_dA = 1;
  double m_dB = 0;
  double m_dC = 0;
  double m_dD = 1;
  double m_dE = 0;
  double m_dF = 0;

  // First this one, then the other.
  friend TMatrix operator*(const TMatrix& first, const TMatrix& then)
  {
    return {first.m_dA * then.m_dA + first.m_dB * then.m_dC,
            first.m_dA * then.m_dB + first.m_dB * then.m_dD,
            first.m_dC * then.m_dA + first.m_dD * then.m_dC,
            first.m_dC * then.m_dB + first.m_dD * then.m_dD,
            first.m_dE * then.m_dA + first.m_dF * then.m_dC + then.m_dE,
            first.m_dE * then.m_dB + first.m_dF * then.m_dD + then.m_dF};
  }

  // Moves the origin by a vector of the matrix's own system.
  void Translate(double dX, double dY)
  {
    m_dE += dX * m_dA + dY * m_dC;
    m_dF += dX * m_dB + dY * m_dD;
  }

  friend bool operator==(const TMatrix&, const TMatrix&) = default;
};

}  // namespace PDF
