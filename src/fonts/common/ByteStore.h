#pragma once

#include "base/BasicArray.h"

#include <span>

namespace FONT
{

// Bytes that keep their place until the store ends, for what is added to a font that borrows its data.
class CByteStore
{
public:
  CByteStore() = default;
  CByteStore(const CByteStore&) = delete;
  CByteStore& operator=(const CByteStore&) = delete;
  ~CByteStore();

  // A copy.
  std::span<const unsigned char> Add(std::span<const unsigned char> bytes);

  // Takes a whole block without a copy; those of a few bytes move.
  std::span<unsigned char> Take(BSE::CBasicArray<unsigned char>&& block);

private:
  BSE::CPtrArray<BSE::CBasicArray<unsigned char>> m_blocks;  // owned
  unsigned char* m_pFree = nullptr;
  std::size_t m_nFree = 0;
};

}  // namespace FONT
