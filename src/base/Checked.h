#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>
#include <utility>

namespace BSE
{

// Arithmetic on numbers from a file: each returns false, and leaves the result alone, where the exact value
// does not fit the result's type.
template <class R, class A, class B>
[[nodiscard]] constexpr bool CheckedAdd(A a, B b, R& result)
{
  R value{};
  if (__builtin_add_overflow(a, b, &value))
    return false;
  result = value;
  return true;
}

template <class R, class A, class B>
[[nodiscard]] constexpr bool CheckedSub(A a, B b, R& result)
{
  R value{};
  if (__builtin_sub_overflow(a, b, &value))
    return false;
  result = value;
  return true;
}

template <class R, class A, class B>
[[nodiscard]] constexpr bool CheckedMul(A a, B b, R& result)
{
  R value{};
  if (__builtin_mul_overflow(a, b, &value))
    return false;
  result = value;
  return true;
}

template <class R, class A>
[[nodiscard]] constexpr bool CheckedNarrow(A a, R& result)
{
  if (!std::in_range<R>(a))
    return false;
  result = static_cast<R>(a);
  return true;
}

// The nearest value that the type can hold.
template <class R, class A>
[[nodiscard]] constexpr R ClampTo(A a)
{
  if (std::cmp_less(a, std::numeric_limits<R>::min()))
    return std::numeric_limits<R>::min();
  if (std::cmp_greater(a, std::numeric_limits<R>::max()))
    return std::numeric_limits<R>::max();
  return static_cast<R>(a);
}

}  // namespace BSE
