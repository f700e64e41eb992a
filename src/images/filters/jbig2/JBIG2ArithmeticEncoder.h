#pragma once

#include "base/BasicArray.h"
#include "images/filters/jbig2/JBIG2ArithmeticStates.h"

#include <bit>
#include <cstdint>
#include <span>

namespace BSE
{

// The arithmetic encoder of ITU-T T.88, annex E.2, into memory of its own.
class CJBIG2ArithmeticEncoder
{
public:
  // Codes a value for a context, which learns from it.
  void Encode(TJBIG2Context& nContext, unsigned nValue)
  {
    const TJBIG2State& state = g_jbig2States[nContext];
    m_nInterval -= state.m_nInterval;
    if (nValue == (nContext & 1U))
    {
      if ((m_nInterval & 0x80000000U) != 0)
      {
        m_nCode += state.m_nInterval >> 16;
        return;
      }
      // The larger part is given to what is expected.
      if (m_nInterval < state.m_nInterval)
        m_nInterval = state.m_nInterval;
      else
        m_nCode += state.m_nInterval >> 16;
      nContext = state.m_nExpected;
    }
    else
    {
      if (m_nInterval < state.m_nInterval)
        m_nCode += state.m_nInterval >> 16;
      else
        m_nInterval = state.m_nInterval;
      nContext = state.m_nUnexpected;
    }
    Renormalize();
  }

  // Codes that many zeros for one context, many in one step where they are likely.
  void EncodeZeros(TJBIG2Context& nContext, std::int64_t nCount)
  {
    while (nCount > 0)
    {
      const std::uint32_t nStep = g_jbig2States[nContext].m_nInterval;
      if ((nContext & 1U) == 0)
      {
        std::int64_t n = (m_nInterval - 0x80000000U) / nStep;
        if (n > nCount)
          n = nCount;
        m_nInterval -= static_cast<std::uint32_t>(n) * nStep;
        m_nCode += static_cast<std::uint32_t>(n) * (nStep >> 16);
        nCount -= n;
        if (nCount == 0)
          return;
      }
      Encode(nContext, 0);
      --nCount;
    }
  }

  // Ends the code with its marker. Nothing is encoded afterwards.
  void Flush();

  // The bytes so far, all of them after Flush.
  std::span<const unsigned char> GetBytes() const { return m_bytes.GetSpan(); }

private:
  void Renormalize()
  {
    int nShift = std::countl_zero(m_nInterval);
    m_nInterval <<= nShift;
    for (; nShift >= m_nCount; nShift -= m_nCount, WriteByte())
      m_nCode <<= m_nCount;
    m_nCode <<= nShift;
    m_nCount -= nShift;
  }

  // Writes the byte on top of the code; where it carries, the one before is still at hand.
  void WriteByte();

  CBasicArray<unsigned char> m_bytes;
  std::uint32_t m_nInterval = 0x80000000U;  // in the high half of the word
  std::uint32_t m_nCode = 0;
  int m_nCount = 12;    // shifts before the next byte is complete
  int m_nPending = -1;  // the byte before, which may still grow by one
};

}  // namespace BSE
