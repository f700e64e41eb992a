#pragma once

#include "base/BasicArray.h"
#include "document/ObjectHasher.h"

namespace PDF
{

// Digests to numbers.
class CDigestTable
{
public:
  // The number of a digest, which is nNumber from now on if it had none.
  int FindOrAdd(const TObjectDigest& digest, int nNumber)
  {
    if (2 * m_nCount >= m_slots.GetSize())
      Grow();
    TSlot& slot = FindSlot(digest);
    if (slot.m_bUsed)
      return slot.m_nNumber;
    slot = {digest, nNumber, true};
    ++m_nCount;
    return nNumber;
  }

  int GetCount() const { return m_nCount; }

private:
  struct TSlot
  {
    TObjectDigest m_digest;
    int m_nNumber;
    bool m_bUsed;
  };

  static constexpr int g_nFirstSize = 256;

  // The slot of a digest or the free one where it belongs; the table is never full.
  TSlot& FindSlot(const TObjectDigest& digest)
  {
    const auto nMask = static_cast<unsigned>(m_slots.GetSize() - 1);
    unsigned nIndex = 0;
    std::memcpy(&nIndex, digest.data(), sizeof nIndex);
    const std::span<TSlot> slots = m_slots.GetSpan();
    for (nIndex &= nMask; slots[nIndex].m_bUsed && slots[nIndex].m_digest != digest;)
      nIndex = (nIndex + 1) & nMask;
    return slots[nIndex];
  }

  void Grow()
  {
    BSE::CBasicArray<TSlot> former = std::move(m_slots);
    m_slots = BSE::CBasicArray<TSlot>();
    m_slots.SetSize(std::max(2 * former.GetSize(), g_nFirstSize));
    for (const TSlot& slot : former.GetSpan())
      if (slot.m_bUsed)
        FindSlot(slot.m_digest) = slot;
  }

  BSE::CBasicArray<TSlot> m_slots;
  int m_nCount = 0;
};

}  // namespace PDF
