#pragma once

#include "base/BasicArray.h"

#include <cstdint>
#include <span>

namespace BSE
{

// A row of a bilevel image as the positions where its colour changes, rising from left to right. A row starts
// white, so that positions with an even index begin a black run; one that begins black changes at 0.
class CFaxRow
{
public:
  // Positions readable after the last change, all of them the width of the row.
  static constexpr int g_nSentinels = 4;

  // An all-white row of that many pixels.
  explicit CFaxRow(int nColumns = 0) { Start(nColumns); }
  void Start(int nColumns);

  // The colour changes at a position that is not below the last one and below the width. A second change at
  // one place takes the first one back.
  void AddChange(int nPos)
  {
    if (m_nCount > 0 && m_positions.GetData()[m_nCount - 1] == nPos)
    {
      --m_nCount;
      return;
    }
    if (m_nCount + g_nSentinels >= m_positions.GetSize())
      Grow();
    m_positions.GetData()[m_nCount++] = nPos;
  }

  // Sets the sentinels, after the last change and before the positions are read.
  void Finish();

  int GetColumns() const { return m_nColumns; }
  int GetCount() const { return m_nCount; }
  const int* GetPositions() const { return m_positions.GetData(); }

  // Packs the row into (width + 7) / 8 bytes, high bit first, with all ones for the bits of nBlack where it
  // is black and the complement elsewhere; nBlack is 0 or 0xFF. Bits beyond the width are white.
  void Pack(std::span<unsigned char> bytes, unsigned char nBlack) const;

  // The row from such bytes; Finish is done.
  void Unpack(std::span<const unsigned char> bytes, unsigned char nBlack);

private:
  void Grow();
  void AddChanges(std::uint64_t nBits, std::uint64_t& nLast, int nPos);

  int m_nColumns = 0;
  int m_nCount = 0;
  CBasicArray<int> m_positions;  // its size is the room, m_nCount of it and the sentinels are in use
};

}  // namespace BSE
