#pragma once

#include "pdf/linearize/PDInput.h"

// Bytes that wait to be read at random: in memory up to a budget, in a temporary file beyond it.
class PDStore
{
public:
  // At most nMaxBytes are kept, nMemoryBudget of them in memory.
  PDStore(std::int64_t nMaxBytes, std::int64_t nMemoryBudget);

  // Bytes that may be stored yet.
  std::int64_t GetRoom() const { return m_nMax - m_nLength; }

  // Appends bytes; returns their position, or -1 on failure.
  std::int64_t Store(std::span<const unsigned char> bytes);

  // A reader of all that has been stored so far.
  PDInput* CreateInput() { return new PDInput(m_pStream.Get(), g_nWindow); }

private:
  static constexpr int g_nWindow = 1 << 12;

  bool MoveToFile();

  BSE::CObjectPtr<BSE::IByteStream> m_pStream;
  std::int64_t m_nLength = 0;
  std::int64_t m_nMax;
  std::int64_t m_nBudget;
  bool m_bFile = false;
};
