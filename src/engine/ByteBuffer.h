#pragma once

#include "base/Memory.h"

#include <cstddef>
#include <cstring>
#include <span>
#include <utility>

namespace PDF
{

// Memory that is filled again and again: growing loses the contents, and nothing is cleared.
class CByteBuffer
{
public:
  CByteBuffer() = default;
  CByteBuffer(const CByteBuffer&) = delete;
  CByteBuffer& operator=(const CByteBuffer&) = delete;
  ~CByteBuffer() { BSE::Free(m_pData); }

  // Room for that many bytes at least. Throws when memory is exhausted; the buffer is empty then.
  void Provide(std::size_t nBytes)
  {
    m_nSize = 0;
    if (nBytes <= m_nCapacity)
      return;
    BSE::Free(std::exchange(m_pData, nullptr));
    m_nCapacity = 0;
    m_pData = static_cast<unsigned char*>(BSE::Allocate(nBytes));
    m_nCapacity = nBytes;
  }

  // A copy of the bytes, with no more room than they take if there was none.
  void Assign(std::span<const unsigned char> bytes)
  {
    Provide(bytes.size());
    if (!bytes.empty())
      std::memcpy(m_pData, bytes.data(), bytes.size());
    m_nSize = bytes.size();
  }

  std::size_t GetCapacity() const { return m_nCapacity; }

  // Gives up memory that only few large contents need.
  void Trim(std::size_t nKept)
  {
    if (m_nCapacity <= nKept)
      return;
    BSE::Free(std::exchange(m_pData, nullptr));
    m_nCapacity = m_nSize = 0;
  }

  // All of the room, and what of it is filled.
  std::span<unsigned char> GetRoom() { return {m_pData, m_nCapacity}; }
  std::span<const unsigned char> GetSpan() const { return {m_pData, m_nSize}; }
  std::size_t GetSize() const { return m_nSize; }
  void SetSize(std::size_t nSize) { m_nSize = nSize; }

  void Swap(CByteBuffer& other) noexcept
  {
    std::swap(m_pData, other.m_pData);
    std::swap(m_nCapacity, other.m_nCapacity);
    std::swap(m_nSize, other.m_nSize);
  }

private:
  unsigned char* m_pData = nullptr;
  std::size_t m_nCapacity = 0;
  std::size_t m_nSize = 0;
};

}  // namespace PDF
