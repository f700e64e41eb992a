#pragma once

#include "base/BasicArray.h"

#include <cstdint>

namespace PDF
{

// Codes from the first to the last have values that begin with m_nValue at m_nOrigin.
struct TCodeRange
{
  std::uint32_t m_nFirst;
  std::uint32_t m_nLast;
  std::uint32_t m_nOrigin;
  std::uint32_t m_nValue;

  std::uint32_t GetStep(std::uint32_t nCode) const { return nCode - m_nOrigin; }
};

// Values of codes, in ranges. What a file says in a few bytes takes a few bytes here, however many codes it
// is about.
class CCodeMap
{
public:
  // False, and nothing is added, for a range that ends before it begins.
  bool Add(std::uint32_t nFirst, std::uint32_t nLast, std::uint32_t nValue);

  // To be called before the first search: of ranges that overlap, the last one that was added counts, or the
  // first.
  void Finish(bool bLastCounts);

  // Borrowed; null for a code without a value.
  const TCodeRange* Find(std::uint32_t nCode) const;

  // In order, and apart from each other.
  std::span<const TCodeRange> GetRanges() const { return m_ranges.GetSpan(); }
  bool IsEmpty() const { return m_ranges.IsEmpty(); }

private:
  BSE::CBasicArray<TCodeRange> m_ranges;
};

}  // namespace PDF
