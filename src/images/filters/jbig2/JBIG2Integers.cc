#include "images/filters/jbig2/JBIG2Integers.h"

#include <bit>

namespace BSE
{

bool CJBIG2IntegerContexts::Decode(CJBIG2ArithmeticDecoder& decoder, std::int64_t& nValue)
{
  unsigned nPrevious = g_nStart;
  const auto decodeBit = [&]
  {
    const unsigned nBit = decoder.Decode(m_contexts[nPrevious]);
    nPrevious = Append(nPrevious, nBit);
    return nBit;
  };
  const bool bNegative = decodeBit() != 0;
  std::size_t nRange = 0;
  while (nRange + 1 < g_jbig2IntegerRanges.size() && decodeBit() != 0)
    ++nRange;
  std::int64_t nOffset = 0;
  for (int i = 0; i < g_jbig2IntegerRanges[nRange].m_nBits; ++i)
    nOffset = nOffset << 1 | decodeBit();
  nValue = g_jbig2IntegerRanges[nRange].m_nFirst + nOffset;
  if (!bNegative)
    return true;
  nValue = -nValue;
  return nValue != 0;
}

void CJBIG2SymbolContexts::Start(int nBits)
{
  m_nBits = nBits;
  m_contexts.SetSize(0);
  m_contexts.SetSize(1 << nBits);
}

int CJBIG2SymbolContexts::Decode(CJBIG2ArithmeticDecoder& decoder)
{
  unsigned nPrevious = 1;
  for (int i = 0; i < m_nBits; ++i)
    nPrevious = nPrevious << 1 | decoder.Decode(m_contexts.GetData()[nPrevious]);
  return static_cast<int>(nPrevious - (1U << m_nBits));
}

int GetJBIG2CodeBits(std::int64_t nCount)
{
  return nCount > 1 ? static_cast<int>(std::bit_width(static_cast<std::uint64_t>(nCount - 1))) : 0;
}

}  // namespace BSE
