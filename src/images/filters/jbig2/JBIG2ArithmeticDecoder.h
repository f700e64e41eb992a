#pragma once

#include "images/filters/jbig2/JBIG2ArithmeticStates.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

namespace BSE
{

// The arithmetic decoder of ITU-T T.88, annex E. Small and copied freely: loops work on a copy of their own,
// which the compiler can keep in registers. After the data come ones without end; whoever decodes asks now
// and then whether that has gone too far.
class CJBIG2ArithmeticDecoder
{
public:
  CJBIG2ArithmeticDecoder() = default;

  // Borrows the data.
  explicit CJBIG2ArithmeticDecoder(std::span<const unsigned char> data)
      : m_pData(data.data()), m_nSize(data.size())
  {
    m_nCode = m_nSize > 0 ? std::uint32_t{m_pData[0]} << 16 : 0xFF0000U;
    ReadByte();
    m_nCode <<= 7;
    m_nCount -= 7;
    m_nInterval = 0x80000000U;
  }

  // The next value for a context, which learns from it.
  unsigned Decode(TJBIG2Context& nContext)
  {
    const TJBIG2State& state = g_jbig2States[nContext];
    unsigned nValue = nContext & 1U;
    m_nInterval -= state.m_nInterval;
    if (m_nCode >= state.m_nInterval)
    {
      m_nCode -= state.m_nInterval;
      if ((m_nInterval & 0x80000000U) != 0)
        return nValue;
      // The larger part counts as expected, whichever it is.
      const bool bExpected = m_nInterval >= state.m_nInterval;
      nValue ^= bExpected ? 0U : 1U;
      nContext = bExpected ? state.m_nExpected : state.m_nUnexpected;
    }
    else
    {
      const bool bExpected = m_nInterval < state.m_nInterval;
      nValue ^= bExpected ? 0U : 1U;
      nContext = bExpected ? state.m_nExpected : state.m_nUnexpected;
      m_nInterval = state.m_nInterval;
    }
    Renormalize();
    return nValue;
  }

  // Decodes zeros for one context up to the first one or up to nMax of them; returns the zeros. If there are
  // fewer than nMax, the one after them has been decoded too. Where zeros are likely, many of them pass in
  // one step.
  std::int64_t DecodeZeros(TJBIG2Context& nContext, std::int64_t nMax)
  {
    std::int64_t nZeros = 0;
    while (nZeros < nMax)
    {
      nZeros += SkipExpected(nContext, nMax - nZeros);
      if (nZeros == nMax)
        break;
      if (Decode(nContext) != 0)
        return nZeros;
      ++nZeros;
    }
    return nZeros;
  }

  // Whether more has been taken than a sound encoder leaves to be taken.
  bool HasOverrun() const { return m_nOverrun > g_nMaxOverrun; }

private:
  static constexpr int g_nMaxOverrun = 8;

  // Steps shorter than this are not worth a division.
  static constexpr std::uint32_t g_nSkipInterval = 0x08000000U;

  // Takes expected zeros that change neither the context nor the scale.
  std::int64_t SkipExpected(TJBIG2Context nContext, std::int64_t nMax)
  {
    const std::uint32_t nStep = g_jbig2States[nContext].m_nInterval;
    if ((nContext & 1U) != 0 || nStep > g_nSkipInterval)
      return 0;
    const std::uint32_t nRoom = m_nInterval - 0x80000000U;
    std::int64_t n = (nRoom < m_nCode ? nRoom : m_nCode) / nStep;
    if (n > nMax)
      n = nMax;
    m_nInterval -= static_cast<std::uint32_t>(n) * nStep;
    m_nCode -= static_cast<std::uint32_t>(n) * nStep;
    return n;
  }

  void Renormalize()
  {
    int nShift = std::countl_zero(m_nInterval);
    m_nInterval <<= nShift;
    while (nShift > m_nCount)
    {
      m_nCode <<= m_nCount;
      nShift -= m_nCount;
      ReadByte();
    }
    m_nCode <<= nShift;
    m_nCount -= nShift;
  }

  // A byte 0xFF is followed by seven bits, or by a marker, which ends the data.
  void ReadByte()
  {
    const bool bAfterFF = m_nPos >= m_nSize || m_pData[m_nPos] == 0xFF;
    const unsigned nNext = m_nPos + 1 < m_nSize ? m_pData[m_nPos + 1] : 0xFFU;
    if (bAfterFF && nNext > 0x8F)
    {
      m_nCode += 0xFF00;
      m_nCount = 8;
      ++m_nOverrun;
      return;
    }
    ++m_nPos;
    m_nCode += bAfterFF ? nNext << 9 : nNext << 8;
    m_nCount = bAfterFF ? 7 : 8;
  }

  const unsigned char* m_pData = nullptr;
  std::size_t m_nSize = 0;
  std::size_t m_nPos = 0;
  std::uint32_t m_nCode = 0;
  std::uint32_t m_nInterval = 0;
  int m_nCount = 0;  // shifts before the next byte is needed
  int m_nOverrun = 0;
};

}  // namespace BSE
