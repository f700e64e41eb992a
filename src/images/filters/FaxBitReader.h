#pragma once

#include "base/BufferedInputStream.h"

#include <cstdint>

namespace BSE
{

// Bits of fax data from the high end of each byte, looked at in a window and then taken. After the end of
// the source come zeros.
class CFaxBitReader
{
public:
  static constexpr int g_nMaxPeek = 32;

  // Borrows the input.
  explicit CFaxBitReader(CBufferedInputStream& input, bool bReverseBits = false)
      : m_input(input), m_bReverseBits(bReverseBits)
  {
  }

  // The next n bits, 1 to g_nMaxPeek.
  unsigned Peek(int n)
  {
    if (m_nCount < n)
      Fill();
    return static_cast<unsigned>(m_nWindow >> (64 - n));
  }

  // Takes bits that have been looked at.
  void Take(int n)
  {
    m_nWindow <<= n;
    m_nCount -= n;
  }

  // To the next byte of the data, if not at one.
  void AlignToByte() { Take(m_nCount & 7); }

  // Whether the source still has n bits, at most g_nMaxPeek.
  bool Has(int n)
  {
    if (m_nCount < n)
      Fill();
    return m_nCount - m_nPadding >= n;
  }

  // Forgets the window, for an input that has been moved.
  void Reset();

  // Gives the whole bytes that have not been taken back to the input, if that is seekable. A byte of which
  // bits have been taken counts as taken.
  void ReturnUnread();

private:
  void Fill();

  CBufferedInputStream& m_input;
  bool m_bReverseBits;
  std::uint64_t m_nWindow = 0;
  int m_nCount = 0;
  int m_nPadding = 0;  // bits at the end of the window that are not of the source
};

}  // namespace BSE
