#pragma once

#include "base/CharsetReader.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace BSE
{

enum TByteOrder
{
  eLittleEndian = 1,
  eBigEndian = 2
};

inline constexpr TByteOrder g_nNativeByteOrder =
    std::endian::native == std::endian::little ? eLittleEndian : eBigEndian;

// Bytes to units: char16_t or wchar_t. Bytes that do not fill a unit at the end are a failure.
template <class T>
class CByteOrderDecodeReader : public CBasicFilter<T, unsigned char>
{
protected:
  using CBasicFilter<T, unsigned char>::CBasicFilter;
};

// Units to bytes.
template <class T>
class CByteOrderEncodeReader : public CBasicFilter<unsigned char, T>
{
protected:
  using CBasicFilter<unsigned char, T>::CBasicFilter;
};

template <class T, TByteOrder nOrder>
class CByteOrderDecodeReaderImpl : public CByteOrderDecodeReader<T>
{
public:
  explicit CByteOrderDecodeReaderImpl(IBasicStream<unsigned char>* pSource,
                                      IErrorContext* pErrorContext = nullptr)
      : CByteOrderDecodeReader<T>(pSource, pErrorContext)
  {
  }

protected:
  using TOutcome = typename CBasicFilter<T, unsigned char>::TOutcome;
  TOutcome Convert(std::span<const unsigned char> input, std::span<T> output, std::size_t& nTaken,
                   std::size_t& nWritten) override
  {
    nWritten = std::min(input.size() / sizeof(T), output.size());
    nTaken = nWritten * sizeof(T);
    std::memcpy(output.data(), input.data(), nTaken);
    if constexpr (nOrder != g_nNativeByteOrder)
      for (T& nUnit : output.first(nWritten))
        nUnit = SwapUnit(nUnit);
    return nWritten == output.size() ? TOutcome::Done : TOutcome::NeedsMore;
  }

private:
  static T SwapUnit(T nUnit)
  {
    using TBits = std::conditional_t<sizeof(T) == 2, std::uint16_t, std::uint32_t>;
    return static_cast<T>(SwapBytes(static_cast<TBits>(nUnit)));
  }
};

template <class T, TByteOrder nOrder>
class CByteOrderEncodeReaderImpl : public CByteOrderEncodeReader<T>
{
public:
  explicit CByteOrderEncodeReaderImpl(IBasicStream<T>* pSource, IErrorContext* pErrorContext = nullptr)
      : CByteOrderEncodeReader<T>(pSource, pErrorContext)
  {
  }

protected:
  using TOutcome = typename CBasicFilter<unsigned char, T>::TOutcome;
  TOutcome Convert(std::span<const T> input, std::span<unsigned char> output, std::size_t& nTaken,
                   std::size_t& nWritten) override
  {
    nTaken = std::min(output.size() / sizeof(T), input.size());
    nWritten = nTaken * sizeof(T);
    std::memcpy(output.data(), input.data(), nWritten);
    if constexpr (nOrder != g_nNativeByteOrder)
      for (std::size_t i = 0; i < nWritten; i += sizeof(T))
        std::reverse(output.data() + i, output.data() + i + sizeof(T));
    return nTaken == input.size() ? TOutcome::NeedsMore : TOutcome::Done;
  }
};

// A plain copy.
template <class T>
using CByteOrderDecodeReaderNative = CByteOrderDecodeReaderImpl<T, g_nNativeByteOrder>;
template <class T>
using CByteOrderEncodeReaderNative = CByteOrderEncodeReaderImpl<T, g_nNativeByteOrder>;

}  // namespace BSE
