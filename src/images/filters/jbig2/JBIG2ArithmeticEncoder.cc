#include "images/filters/jbig2/JBIG2ArithmeticEncoder.h"

namespace BSE
{

void CJBIG2ArithmeticEncoder::WriteByte()
{
  constexpr std::uint32_t nCarry = 0x8000000U;
  if (m_nPending != 0xFF && m_nCode >= nCarry && m_nPending >= 0)
  {
    ++m_nPending;
    m_nCode -= nCarry;
    // What a carry made 0xFF is followed by seven bits too.
  }
  if (m_nPending >= 0)
    m_bytes.Add(static_cast<unsigned char>(m_nPending));
  const int nBits = m_nPending == 0xFF ? 7 : 8;
  const int nShift = 27 - nBits;
  m_nPending = static_cast<int>(m_nCode >> nShift);
  m_nCode &= (1U << nShift) - 1;
  m_nCount = nBits;
}

void CJBIG2ArithmeticEncoder::Flush()
{
  // As many ones as still lie in the interval.
  const std::uint32_t nEnd = m_nCode + (m_nInterval >> 16);
  m_nCode |= 0xFFFF;
  if (m_nCode >= nEnd)
    m_nCode -= 0x8000;
  for (int i = 0; i < 2; ++i)
  {
    m_nCode <<= m_nCount;
    WriteByte();
  }
  if (m_nPending != 0xFF)
    m_bytes.Add(static_cast<unsigned char>(m_nPending));
  m_bytes.Add(0xFF);
  m_bytes.Add(0xAC);
}

}  // namespace BSE
