#pragma once

#include "base/ByteOrder.h"
#include "base/ErrorContext.h"
#include "base/ObjectPtr.h"
#include "base/StatusCodes.h"
#include "base/Stream.h"

#include <span>

namespace BSE
{

// A stream of units TOut, for reading, converted from a source of units TIn. Positions count units of TOut;
// the source is read ahead. A conversion that fails reports its code once to the error context; what comes
// before it is delivered, then Read gives 0 and ReadEx -1 until Rewind.
template <class TOut, class TIn>
class CBasicFilter : public CObject, public IBasicStream<TOut>
{
public:
  bool IsValid() const override { return m_pSource && m_pSource->IsValid(); }
  bool Rewind() override;
  bool Skip(std::int64_t n) override;
  std::int64_t Tell() override { return m_nPos; }

  // A position after the present one is reached through Rewind; a negative one is refused.
  bool Seek(std::int64_t nPos) override;
  std::int64_t Read(TOut* pBuffer, std::int64_t n) override;
  std::int64_t ReadEx(TOut* pBuffer, std::int64_t n) override;

  // Refused with a trace line.
  std::int64_t Write(const TOut* pBuffer, std::int64_t n) override;

  bool HasFailed() const { return m_bFailed; }

protected:
  // Units of one character at most: the room that every call of Convert gets.
  static constexpr std::size_t g_nMaxUnits = 4;

  explicit CBasicFilter(IBasicStream<TIn>* pSource, IErrorContext* pErrorContext = nullptr)
      : m_pSource(pSource), m_pErrorContext(pErrorContext)
  {
  }

  enum class TOutcome
  {
    Done,       // the output is full or the input used up
    NeedsMore,  // what is left of the input begins a character
    Invalid     // what is left of the input begins with something that cannot be converted
  };

  // Converts as much as fits; nTaken and nWritten become the units used of either side. The output holds at
  // least g_nMaxUnits units, the input at least one.
  virtual TOutcome Convert(std::span<const TIn> input, std::span<TOut> output, std::size_t& nTaken,
                           std::size_t& nWritten) = 0;

  // Reported for an invalid input.
  virtual unsigned GetFailureCode() const { return g_nStreamReadFailed; }

private:
  static constexpr int g_nInputSize = 2048;

  bool FillInput();
  bool ConvertInto(std::span<TOut> output, std::size_t& nWritten);
  void Fail(unsigned nCode);

  CObjectPtr<IBasicStream<TIn>> m_pSource;
  IErrorContext* m_pErrorContext;
  CBasicArray<TIn> m_input;
  int m_nInputPos = 0;
  TOut m_pending[g_nMaxUnits] = {};  // the rest of a character that did not fit the caller's buffer
  std::size_t m_nPending = 0;
  std::size_t m_nPendingPos = 0;
  std::int64_t m_nPos = 0;
  bool m_bFailed = false;
};

// Base of the conversions between character sets.
template <class TOut, class TIn>
class CCharsetReader : public CBasicFilter<TOut, TIn>
{
protected:
  using CBasicFilter<TOut, TIn>::CBasicFilter;
};

// From units T to code points.
template <class T>
class CCharsetDecodeReader : public CCharsetReader<wchar_t, T>
{
protected:
  using CCharsetReader<wchar_t, T>::CCharsetReader;
};

// From code points to units T.
template <class T>
class CCharsetEncodeReader : public CCharsetReader<T, wchar_t>
{
protected:
  using CCharsetReader<T, wchar_t>::CCharsetReader;
};

// UTF-8 or, with T = char16_t, UTF-16, judged strictly: no replacement characters.
template <class T>
class CUtfDecodeReader : public CCharsetDecodeReader<T>
{
public:
  explicit CUtfDecodeReader(IBasicStream<T>* pSource, IErrorContext* pErrorContext = nullptr)
      : CCharsetDecodeReader<T>(pSource, pErrorContext)
  {
  }

protected:
  using TOutcome = typename CBasicFilter<wchar_t, T>::TOutcome;
  TOutcome Convert(std::span<const T> input, std::span<wchar_t> output, std::size_t& nTaken,
                   std::size_t& nWritten) override;
  unsigned GetFailureCode() const override { return sizeof(T) == 1 ? g_nInvalidUtf8 : g_nInvalidUtf16; }
};

template <class T>
class CUtfEncodeReader : public CCharsetEncodeReader<T>
{
public:
  explicit CUtfEncodeReader(IBasicStream<wchar_t>* pSource, IErrorContext* pErrorContext = nullptr)
      : CCharsetEncodeReader<T>(pSource, pErrorContext)
  {
  }

protected:
  using TOutcome = typename CBasicFilter<T, wchar_t>::TOutcome;
  TOutcome Convert(std::span<const wchar_t> input, std::span<T> output, std::size_t& nTaken,
                   std::size_t& nWritten) override;
  unsigned GetFailureCode() const override { return sizeof(T) == 1 ? g_nInvalidUtf8 : g_nInvalidUtf16; }
};

using CUtf8DecodeReader = CUtfDecodeReader<unsigned char>;
using CUtf8EncodeReader = CUtfEncodeReader<unsigned char>;
using CUtf16DecodeReader = CUtfDecodeReader<char16_t>;
using CUtf16EncodeReader = CUtfEncodeReader<char16_t>;

}  // namespace BSE
