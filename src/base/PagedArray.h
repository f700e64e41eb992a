#pragma once

#include "base/BasicArray.h"

namespace BSE
{

// Plain values by number, of which most may never be set: pages of them are allocated, filled with zeros,
// when a value in them is first wanted for writing. Memory follows what is set and, at a pointer a page, the
// highest number. Values keep their place until RemoveAll.
template <class T, int nPageSize>
class CPagedArray
{
  static_assert(std::is_trivially_copyable_v<T>);

public:
  CPagedArray() = default;
  CPagedArray(CPagedArray&& other) noexcept = default;
  CPagedArray& operator=(CPagedArray&& other) noexcept = default;
  ~CPagedArray() { RemoveAll(); }

  // Zero for what was never set, and for numbers below 0.
  T operator[](int nNumber) const
  {
    const T* pValue = Find(nNumber);
    return pValue ? *pValue : T{};
  }

  // Null for what is in no page.
  const T* Find(int nNumber) const
  {
    const T* pPage = nNumber >= 0 ? m_pages[nNumber / nPageSize] : nullptr;
    return pPage ? pPage + nNumber % nPageSize : nullptr;
  }

  // The place of a value, from 0. Throws when memory is exhausted, unchanged then.
  T& Provide(int nNumber)
  {
    const int nPage = nNumber / nPageSize;
    if (nPage >= m_pages.GetSize())
      m_pages.SetSize(nPage + 1);
    T*& pPage = m_pages[nPage];
    if (!pPage)
    {
      pPage = static_cast<T*>(Allocate(sizeof(T) * nPageSize));
      std::memset(static_cast<void*>(pPage), 0, sizeof(T) * nPageSize);
    }
    return pPage[nNumber % nPageSize];
  }

  // The next number after one, from -1 on, that is in a page; -1 after the last.
  int GetNext(int nNumber) const
  {
    for (++nNumber; nNumber / nPageSize < m_pages.GetSize(); nNumber = (nNumber / nPageSize + 1) * nPageSize)
      if (m_pages[nNumber / nPageSize])
        return nNumber;
    return -1;
  }

  void RemoveAll()
  {
    for (T* pPage : m_pages.GetSpan())
      Free(pPage);
    m_pages.RemoveAll();
  }

private:
  CPtrArray<T> m_pages;
};

}  // namespace BSE
