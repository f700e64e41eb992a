#pragma once

#include "base/Limits.h"
#include "base/PagedArray.h"

#include <cstdint>

namespace PDF
{

// A set of object numbers, one bit each. Adding and asking take constant time; memory follows the members,
// however far apart they are. Numbers outside 1 to the limit are never members.
class CNumberSet
{
public:
  bool Contains(int nNumber) const
  {
    return nNumber > 0 && (m_words[nNumber / 64] >> (nNumber % 64) & 1) != 0;
  }

  // False if the number was a member already, or cannot be one.
  bool Add(int nNumber)
  {
    if (nNumber < 1 || nNumber > BSE::g_nMaxObjNumber || Contains(nNumber))
      return false;
    m_words.Provide(nNumber / 64) |= std::uint64_t{1} << (nNumber % 64);
    return true;
  }

  void Remove(int nNumber)
  {
    if (Contains(nNumber))
      m_words.Provide(nNumber / 64) &= ~(std::uint64_t{1} << (nNumber % 64));
  }
  void RemoveAll() { m_words.RemoveAll(); }

private:
  BSE::CPagedArray<std::uint64_t, 8> m_words;
};

}  // namespace PDF
