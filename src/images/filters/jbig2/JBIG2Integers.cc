#include "images/filters/jbig2/JBIG2Integers.h"

#include <bit>

namespace BSE
{

namespace
{

constexpr unsigned g_nStart = 1;

// The place of the context after a bit: the bits so far, but for the oldest ones of long numbers.
unsigned Append(unsigned nPrevious, unsigned nBit)
{
  const unsigned nNext = nPrevious << 1 | nBit;
  return nPrevious < 256 ? nNext : (nNext & 511) | 256;
}

}  // namespace

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

void CJBIG2IntegerContexts::Encode(CJBIG2ArithmeticEncoder& encoder, std::int64_t nValue)
{
  unsigned nPrevious = g_nStart;
  const auto encodeBit = [&](unsigned nBit)
  {
    encoder.Encode(m_contexts[nPrevious], nBit);
    nPrevious = Append(nPrevious, nBit);
  };
  encodeBit(nValue < 0 ? 1 : 0);
  const std::int64_t nSize = nValue < 0 ? -nValue : nValue;
  std::size_t nRange = 0;
  for (; nRange + 1 < g_jbig2IntegerRanges.size(); ++nRange)
  {
    const bool bAbove = nSize >= g_jbig2IntegerRanges[nRange + 1].m_nFirst;
    encodeBit(bAbove ? 1 : 0);
    if (!bAbove)
      break;
  }
  const std::int64_t nOffset = nSize - g_jbig2IntegerRanges[nRange].m_nFirst;
  for (int i = g_jbig2IntegerRanges[nRange].m_nBits - 1; i >= 0; --i)
    encodeBit(static_cast<unsigned>(nOffset >> i & 1));
}

void CJBIG2IntegerContexts::EncodeNone(CJBIG2ArithmeticEncoder& encoder)
{
  // A zero with a sign.
  unsigned nPrevious = g_nStart;
  for (const unsigned nBit : {1U, 0U, 0U, 0U})
  {
    encoder.Encode(m_contexts[nPrevious], nBit);
    nPrevious = Append(nPrevious, nBit);
  }
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

void CJBIG2SymbolContexts::Encode(CJBIG2ArithmeticEncoder& encoder, int nSymbol)
{
  unsigned nPrevious = 1;
  for (int i = m_nBits - 1; i >= 0; --i)
  {
    const unsigned nBit = static_cast<unsigned>(nSymbol) >> i & 1;
    encoder.Encode(m_contexts.GetData()[nPrevious], nBit);
    nPrevious = nPrevious << 1 | nBit;
  }
}

int GetJBIG2CodeBits(std::int64_t nCount)
{
  return nCount > 1 ? static_cast<int>(std::bit_width(static_cast<std::uint64_t>(nCount - 1))) : 0;
}

}  // namespace BSE
