#pragma once

#include "base/Limits.h"

namespace PDF
{

// What the content of one document may cost, all its pages and appearances together: bytes that are parsed,
// with what else takes time counted in bytes. A form may be drawn from many places, and forms may draw each
// other, so that a few hundred bytes make work without end.
class CContentAccount
{
public:
  // In proportion to the length of the file.
  explicit CContentAccount(std::int64_t nFileLength) : m_nFileLength(nFileLength) {}

  // False once it is spent; it stays so.
  bool Charge(std::int64_t nWork)
  {
    if (!m_bSpent)
      m_nWork += nWork;
    m_bSpent = m_bSpent || BSE::IsOutOfProportion(m_nWork, BSE::g_nFreeContentWork, BSE::g_nContentWorkRatio,
                                                  m_nFileLength);
    return !m_bSpent;
  }
  bool IsSpent() const { return m_bSpent; }

private:
  std::int64_t m_nFileLength;
  std::int64_t m_nWork = 0;
  bool m_bSpent = false;
};

}  // namespace PDF
