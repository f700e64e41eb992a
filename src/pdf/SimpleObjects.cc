#include "pdf/SimpleObjects.h"

#include <limits>

namespace PDF
{

std::int64_t CRealObject::GetIntegerValue()
{
  // The bounds are exact as doubles; anything at or beyond them, and NaN, must not reach the conversion.
  constexpr double dLimit = 9223372036854775808.0;
  if (m_dValue >= dLimit)
    return std::numeric_limits<std::int64_t>::max();
  if (m_dValue <= -dLimit)
    return std::numeric_limits<std::int64_t>::min();
  return m_dValue == m_dValue ? static_cast<std::int64_t>(m_dValue) : 0;
}

}  // namespace PDF
