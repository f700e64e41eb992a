#pragma once

#include <bit>
#include <cstring>
#include <type_traits>

namespace BSE
{

template <class T>
constexpr T SwapBytes(T nValue)
{
  static_assert(std::is_unsigned_v<T>);
  if constexpr (sizeof(T) == 2)
    return static_cast<T>(__builtin_bswap16(nValue));
  else if constexpr (sizeof(T) == 4)
    return __builtin_bswap32(nValue);
  else if constexpr (sizeof(T) == 8)
    return __builtin_bswap64(nValue);
  else
    return nValue;
}

// Unsigned values at an unaligned address. Nothing is checked: the caller has sizeof(T) bytes there.
template <class T>
T LoadBigEndian(const unsigned char* pBytes)
{
  T nValue;
  std::memcpy(&nValue, pBytes, sizeof(T));
  return std::endian::native == std::endian::big ? nValue : SwapBytes(nValue);
}

template <class T>
T LoadLittleEndian(const unsigned char* pBytes)
{
  T nValue;
  std::memcpy(&nValue, pBytes, sizeof(T));
  return std::endian::native == std::endian::little ? nValue : SwapBytes(nValue);
}

template <class T>
void StoreBigEndian(T nValue, unsigned char* pBytes)
{
  if constexpr (std::endian::native != std::endian::big)
    nValue = SwapBytes(nValue);
  std::memcpy(pBytes, &nValue, sizeof(T));
}

template <class T>
void StoreLittleEndian(T nValue, unsigned char* pBytes)
{
  if constexpr (std::endian::native != std::endian::little)
    nValue = SwapBytes(nValue);
  std::memcpy(pBytes, &nValue, sizeof(T));
}

}  // namespace BSE
