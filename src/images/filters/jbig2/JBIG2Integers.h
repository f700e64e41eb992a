#pragma once

#include "base/BasicArray.h"
#include "images/filters/jbig2/JBIG2ArithmeticDecoder.h"
#include "images/filters/jbig2/JBIG2ArithmeticEncoder.h"

#include <array>
#include <cstdint>

namespace BSE
{

// Numbers in arithmetic coding (ITU-T T.88, annex A): a sign, a unary choice of a range, and the bits of the
// place in that range.
struct TJBIG2IntegerRange
{
  int m_nBits;
  std::int64_t m_nFirst;
};

inline constexpr std::array<TJBIG2IntegerRange, 6> g_jbig2IntegerRanges{
    {{2, 0}, {4, 4}, {6, 20}, {8, 84}, {12, 340}, {32, 4436}}};

// The contexts of one procedure for numbers. The bits of a number that are known choose the context of the
// next one, so that many values share them.
class CJBIG2IntegerContexts
{
public:
  // False for the value that stands for none, which ends lists. Numbers have up to 33 bits.
  bool Decode(CJBIG2ArithmeticDecoder& decoder, std::int64_t& nValue);

  void Encode(CJBIG2ArithmeticEncoder& encoder, std::int64_t nValue);
  void EncodeNone(CJBIG2ArithmeticEncoder& encoder);

private:
  std::array<TJBIG2Context, 512> m_contexts{};
};

// The contexts of symbol numbers of a fixed count of bits.
class CJBIG2SymbolContexts
{
public:
  // All contexts at their start, for up to g_nMaxBits bits.
  void Start(int nBits);
  static constexpr int g_nMaxBits = 30;

  int GetBits() const { return m_nBits; }
  int Decode(CJBIG2ArithmeticDecoder& decoder);
  void Encode(CJBIG2ArithmeticEncoder& encoder, int nSymbol);

private:
  int m_nBits = 0;
  CBasicArray<TJBIG2Context> m_contexts;
};

// Bits that it takes to number that many things: 0 for one.
int GetJBIG2CodeBits(std::int64_t nCount);

}  // namespace BSE
