#pragma once

#include "base/Memory.h"
#include "base/ObjectPtr.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <span>
#include <type_traits>
#include <utility>

namespace BSE
{

class IObject;

// Allocation size for n bytes: 8 (held inside the array), 32, then powers of two from 64. All ones on
// overflow.
std::size_t GetArraySizeClass(std::size_t nBytes);

// Storage of the dense arrays: up to 8 bytes are in the object itself, more in one heap block of a size
// class.
class CArrayStorage
{
public:
  static constexpr std::size_t g_nInlineSize = 8;

protected:
  CArrayStorage() = default;
  ~CArrayStorage()
  {
    if (!IsInline())
      Free(m_pData);
  }
  CArrayStorage(const CArrayStorage&) = delete;
  CArrayStorage& operator=(const CArrayStorage&) = delete;

  bool IsInline() const { return m_pData == static_cast<const void*>(m_u.m_inline); }
  std::size_t GetCapacity() const { return IsInline() ? g_nInlineSize : m_u.m_nCapacity; }

  // Moves between size classes; nothing happens if they are equal. Throws when memory is exhausted, unchanged
  // then.
  void Resize(std::size_t nOldClass, std::size_t nNewClass);

  void Swap(CArrayStorage& other) noexcept;

  // The calling thread's cell for indices out of range: reads as zero, swallows stores.
  static void* GetDummyCell();

  union
  {
    std::size_t m_nCapacity;
    unsigned char m_inline[g_nInlineSize];
  } m_u = {0};
  void* m_pData = m_u.m_inline;
  long long m_nSize = 0;
};

// Dense array of plain values. An index out of range reads as zero and swallows stores, without any report.
// New elements are zero-filled. Shrinking returns memory at once.
template <class T>
class CBasicArray : protected CArrayStorage
{
  static_assert(std::is_trivially_copyable_v<T> && sizeof(T) <= 64);

public:
  CBasicArray() = default;
  CBasicArray(const CBasicArray& other) { *this = other; }
  CBasicArray(CBasicArray&& other) noexcept { Swap(other); }
  CBasicArray& operator=(const CBasicArray& other)
  {
    if (this != &other)
    {
      SetSize(other.GetSize());
      if (m_nSize > 0)
        std::memcpy(m_pData, other.m_pData, Bytes(m_nSize));
    }
    return *this;
  }
  CBasicArray& operator=(CBasicArray&& other) noexcept
  {
    if (this != &other)
      Swap(other);
    return *this;
  }

  int GetSize() const { return static_cast<int>(m_nSize); }
  bool IsEmpty() const { return m_nSize == 0; }

  // Valid until the next change of the array.
  T* GetData() { return static_cast<T*>(m_pData); }
  const T* GetData() const { return static_cast<const T*>(m_pData); }
  std::span<T> GetSpan() { return {GetData(), static_cast<std::size_t>(m_nSize)}; }
  std::span<const T> GetSpan() const { return {GetData(), static_cast<std::size_t>(m_nSize)}; }

  T& operator[](int nIndex) { return IsInside(nIndex) ? GetData()[nIndex] : Dummy(); }
  const T& operator[](int nIndex) const { return IsInside(nIndex) ? GetData()[nIndex] : Dummy(); }
  T& GetAt(int nIndex) { return (*this)[nIndex]; }
  const T& GetAt(int nIndex) const { return (*this)[nIndex]; }
  void SetAt(int nIndex, T value)
  {
    if (IsInside(nIndex))
      GetData()[nIndex] = value;
  }

  // Appends and returns the index of the new element. Only grows.
  int Add(T value)
  {
    if (Bytes(m_nSize + 1) > GetCapacity())
      Resize(GetCapacity(), GetArraySizeClass(Bytes(m_nSize + 1)));
    GetData()[m_nSize] = value;
    return static_cast<int>(m_nSize++);
  }

  void Append(std::span<const T> values)
  {
    const long long nNew = m_nSize + static_cast<long long>(values.size());
    if (Bytes(nNew) > GetCapacity())
      Resize(GetCapacity(), GetArraySizeClass(Bytes(nNew)));
    if (!values.empty())
      std::memcpy(GetData() + m_nSize, values.data(), values.size_bytes());
    m_nSize = nNew;
  }

  // Opens a zero element at the index, 0 to the size.
  void InsertAt(int nIndex)
  {
    if (nIndex < 0 || nIndex > m_nSize)
      return;
    Add(T{});
    T* pData = GetData();
    std::memmove(static_cast<void*>(pData + nIndex + 1), pData + nIndex, Bytes(m_nSize - 1 - nIndex));
    pData[nIndex] = T{};
  }
  void InsertAt(int nIndex, T value)
  {
    InsertAt(nIndex);
    SetAt(nIndex, value);
  }

  void RemoveAt(int nIndex)
  {
    if (!IsInside(nIndex))
      return;
    T* pData = GetData();
    std::memmove(static_cast<void*>(pData + nIndex), pData + nIndex + 1, Bytes(m_nSize - 1 - nIndex));
    SetSize(GetSize() - 1);
  }

  void SetSize(int nSize)
  {
    if (nSize < 0)
      nSize = 0;
    Resize(GetCapacity(), GetArraySizeClass(Bytes(nSize)));
    if (nSize > m_nSize)
      std::memset(static_cast<void*>(GetData() + m_nSize), 0, Bytes(nSize - m_nSize));
    m_nSize = nSize;
  }

  // Room for that many elements without further allocation.
  void Reserve(int nSize)
  {
    if (nSize > 0 && Bytes(nSize) > GetCapacity())
      Resize(GetCapacity(), GetArraySizeClass(Bytes(nSize)));
  }

  // Cuts the array to that size but keeps its block, for buffers that are filled again and again.
  void Truncate(int nSize)
  {
    if (nSize >= 0 && nSize < m_nSize)
      m_nSize = nSize;
  }

  void RemoveAll() { SetSize(0); }

  // Index of the first element that equals the value, or the size.
  int Find(T value) const
  {
    return static_cast<int>(std::find(GetData(), GetData() + m_nSize, value) - GetData());
  }

  using TCompare = int (*)(const void*, const void*);
  void Sort(TCompare pfCompare = &CompareValues) { std::qsort(m_pData, Count(), sizeof(T), pfCompare); }

protected:
  static std::size_t Bytes(long long nCount) { return static_cast<std::size_t>(nCount) * sizeof(T); }
  std::size_t Count() const { return static_cast<std::size_t>(m_nSize); }
  bool IsInside(int nIndex) const { return nIndex >= 0 && nIndex < m_nSize; }
  static T& Dummy() { return *new (GetDummyCell()) T{}; }
  static int CompareValues(const void* pA, const void* pB)
  {
    const T& a = *static_cast<const T*>(pA);
    const T& b = *static_cast<const T*>(pB);
    return a < b ? -1 : (b < a ? 1 : 0);
  }
};

// Array of pointers that owns nothing.
template <class T>
using CPtrArray = CBasicArray<T*>;

// Array of counted objects with a reference on each element. T is the element's class or interface.
template <class T>
class CObjectArray
{
public:
  CObjectArray() = default;
  CObjectArray(const CObjectArray& other) { *this = other; }
  CObjectArray(CObjectArray&& other) noexcept = default;
  CObjectArray& operator=(CObjectArray&& other) noexcept = default;
  CObjectArray& operator=(const CObjectArray& other)
  {
    if (this == &other)
      return *this;
    // Memory first: nothing has changed if it is exhausted.
    CPtrArray<T> elements(other.m_elements);
    for (T* p : elements.GetSpan())
      Take(p);
    std::swap(m_elements, elements);
    for (T* p : elements.GetSpan())
      Drop(p);
    return *this;
  }
  ~CObjectArray() { SetSize(0); }

  int GetSize() const { return m_elements.GetSize(); }
  bool IsEmpty() const { return m_elements.IsEmpty(); }

  // Borrowed; null for an index out of range.
  T* operator[](int nIndex) const { return m_elements[nIndex]; }
  T* GetAt(int nIndex) const { return m_elements[nIndex]; }

  int Add(T* p)
  {
    int nIndex = 0;
    Keep(p, [&] { nIndex = m_elements.Add(p); });
    return nIndex;
  }

  // Out of range nothing happens. The new element gets its reference before the old one loses its.
  void SetAt(int nIndex, T* p)
  {
    if (nIndex < 0 || nIndex >= GetSize())
      return;
    Take(p);
    T* pOld = m_elements[nIndex];
    m_elements.SetAt(nIndex, p);
    Drop(pOld);
  }

  void InsertAt(int nIndex, T* p)
  {
    if (nIndex < 0 || nIndex > GetSize())
      return;
    Keep(p, [&] { m_elements.InsertAt(nIndex); });
    m_elements.SetAt(nIndex, p);
  }

  void RemoveAt(int nIndex)
  {
    if (nIndex < 0 || nIndex >= GetSize())
      return;
    T* pOld = m_elements[nIndex];
    m_elements.RemoveAt(nIndex);
    Drop(pOld);
  }

  void SetSize(int nSize)
  {
    if (nSize < 0)
      nSize = 0;
    for (int i = GetSize() - 1; i >= nSize; --i)
      Drop(std::exchange(m_elements[i], nullptr));
    m_elements.SetSize(nSize);
  }

  void Reserve(int nSize) { m_elements.Reserve(nSize); }
  void RemoveAll() { SetSize(0); }
  int Find(T* p) const { return m_elements.Find(p); }

private:
  static void Take(T* p)
  {
    if (IsObjectAddress(p))
      p->AddRef();
  }
  static void Drop(T* p)
  {
    if (IsObjectAddress(p))
      p->Release();
  }

  // Takes the object before room is made for it: a new one is nobody else's when memory runs out.
  template <class F>
  static void Keep(T* p, F fnMakeRoom)
  {
    Take(p);
    try
    {
      fnMakeRoom();
    }
    catch (...)
    {
      Drop(p);
      throw;
    }
  }

  CPtrArray<T> m_elements;
};

using CIObjectArray = CObjectArray<IObject>;

}  // namespace BSE
