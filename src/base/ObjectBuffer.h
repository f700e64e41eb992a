#pragma once

#include "base/Checked.h"
#include "base/Memory.h"

#include <cstddef>
#include <cstring>
#include <new>
#include <span>
#include <type_traits>
#include <utility>

namespace BSE
{

// Growable block of elements, allocated in nGranularity elements doubled as often as needed. With bConstruct
// the constructors and destructors of the elements run; without, T is a plain record, and new elements are
// zero. Pointers to elements are valid until the next change of the size.
template <class T, bool bConstruct, int nGranularity>
class CObjectBuffer
{
  static_assert(nGranularity > 0 && (bConstruct || std::is_trivially_copyable_v<T>));

public:
  CObjectBuffer() = default;
  CObjectBuffer(const CObjectBuffer&) = delete;
  CObjectBuffer& operator=(const CObjectBuffer&) = delete;
  virtual ~CObjectBuffer() { Clear(); }

  std::size_t GetSize() const { return m_nSize; }

  // Elements for which there is room.
  std::size_t GetAllocated() const { return m_nAllocated; }

  T* GetData() { return m_pData; }
  const T* GetData() const { return m_pData; }
  std::span<T> GetSpan() { return {m_pData, m_nSize}; }
  std::span<const T> GetSpan() const { return {m_pData, m_nSize}; }

  // The index is below the size.
  T& operator[](std::size_t nIndex) { return m_pData[nIndex]; }
  const T& operator[](std::size_t nIndex) const { return m_pData[nIndex]; }

  // A size of 0 frees the block. Throws when memory is exhausted; no element that stays is lost then.
  void SetSize(std::size_t nSize)
  {
    if (nSize == 0)
    {
      Clear();
      return;
    }
    if (nSize < m_nSize)
      Destroy(nSize);
    Reallocate(GetAllocation(nSize));
    while (m_nSize < nSize)
      new (static_cast<void*>(m_pData + m_nSize++)) T{};
  }

  // Appends a copy; the value may be an element.
  T& Add(const T& value)
  {
    T copy(value);
    SetSize(m_nSize + 1);
    return m_pData[m_nSize - 1] = std::move(copy);
  }

private:
  static constexpr std::size_t g_nSizeLimit = std::size_t{1} << 58;

  static std::size_t GetAllocation(std::size_t nSize)
  {
    if (nSize >= g_nSizeLimit)
      return 2 * g_nSizeLimit - 1;
    std::size_t nAllocation = nGranularity;
    while (nAllocation < nSize)
      nAllocation *= 2;
    return nAllocation;
  }

  void Reallocate(std::size_t nAllocation)
  {
    if (nAllocation == m_nAllocated)
      return;
    std::size_t nBytes = 0;
    if (!CheckedMul(nAllocation, sizeof(T), nBytes))
      ThrowOutOfMemory();
    T* pData = static_cast<T*>(Allocate(nBytes));
    if constexpr (std::is_trivially_copyable_v<T>)
    {
      if (m_nSize > 0)
        std::memcpy(static_cast<void*>(pData), m_pData, m_nSize * sizeof(T));
    }
    else
      for (std::size_t i = 0; i < m_nSize; ++i)
      {
        new (static_cast<void*>(pData + i)) T(std::move(m_pData[i]));
        m_pData[i].~T();
      }
    Free(m_pData);
    m_pData = pData;
    m_nAllocated = nAllocation;
  }

  void Destroy(std::size_t nSize)
  {
    while (m_nSize > nSize)
    {
      --m_nSize;
      if constexpr (bConstruct)
        m_pData[m_nSize].~T();
    }
  }

  void Clear()
  {
    Destroy(0);
    Free(m_pData);
    m_pData = nullptr;
    m_nAllocated = 0;
  }

  std::size_t m_nSize = 0;
  std::size_t m_nAllocated = 0;
  T* m_pData = nullptr;
};

}  // namespace BSE
