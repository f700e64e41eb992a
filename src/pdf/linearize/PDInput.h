#pragma once

#include "base/BasicArray.h"
#include "base/ObjectPtr.h"
#include "base/Stream.h"
#include "pdf/InputMonitor.h"

#include <cstdint>
#include <span>

// Bytes at random positions of a seekable stream, through a window. Several inputs can share a stream.
class PDInput
{
public:
  // Smallest piece that is read from a stream at once.
  static constexpr int g_nWindow = 1 << 14;

  explicit PDInput(BSE::IByteStream* pStream, int nWindow = g_nWindow);

  // 0 for a stream whose length is not known.
  std::int64_t GetLength() const { return m_nLength; }

  // Up to n bytes from a position, fewer only at the end or where the stream fails; empty outside. Valid
  // until the next call.
  std::span<const unsigned char> Get(std::int64_t nPos, std::int64_t n);

  // A reader of a section that lies inside; the input must outlive it.
  BSE::CObjectPtr<BSE::IByteStream> CreateSection(std::int64_t nPos, std::int64_t nLength) const;

  // Whether the stream, or a section of it, has failed to give bytes that it has: what could not be read must
  // not pass for what is not there.
  bool HasFailed() const { return m_pSource && m_pSource->HasFailed(); }

private:
  BSE::CObjectPtr<PDF::CInputMonitor> m_pSource;  // null for a stream that is not valid
  std::int64_t m_nLength = 0;
  int m_nMinimum = g_nWindow;
  BSE::CBasicArray<unsigned char> m_window;
  std::int64_t m_nWindowPos = 0;
  std::int64_t m_nWindowFill = 0;
};

// Reads forward from a position, byte by byte, with its own window on an input.
class PDCursor
{
public:
  PDCursor(PDInput& input, std::int64_t nPos) : m_input(input), m_nBase(nPos) {}

  // Next byte, or -1 at the end.
  int Peek() { return m_nAt < m_bytes.size() || Fill() ? m_bytes[m_nAt] : -1; }
  int Get()
  {
    const int nByte = Peek();
    if (nByte >= 0)
      ++m_nAt;
    return nByte;
  }
  std::int64_t Tell() const { return m_nBase + static_cast<std::int64_t>(m_nAt); }

  // Skips white space and comments (ISO 32000-1, 7.2.3).
  void SkipSpace();

  // A number without a sign after white space; false for anything else, and for more than 18 digits.
  bool ReadNumber(std::int64_t& nValue);

  // True, and after it, if this word comes next after white space; else the position is undefined.
  bool ReadWord(const char* szWord);

private:
  bool Fill();

  PDInput& m_input;
  std::span<const unsigned char> m_bytes;
  std::size_t m_nAt = 0;
  std::int64_t m_nBase;
};
