#pragma once

#include "base/BasicArray.h"

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace BSE
{

// Hash of key bytes: one-at-a-time with arithmetic (signed) right shifts. Saved data depends on the values:
// keep them.
int HashKey(const void* pKey, std::size_t nLength);

// Insertion-ordered hash map from a byte string to a pointer. It owns copies of its keys and nothing of its
// values. Entry numbers never change, so that an iteration position stays valid across insertions; a removed
// entry leaves a gap that iteration skips. No allocation before the first insertion.
// Slots come from a hash with a secret of the process: a file cannot choose keys that collide.
class CBasicMap
{
public:
  CBasicMap() = default;
  CBasicMap(const CBasicMap& other);
  CBasicMap(CBasicMap&& other) noexcept { Swap(other); }
  CBasicMap& operator=(const CBasicMap& other);
  CBasicMap& operator=(CBasicMap&& other) noexcept;
  ~CBasicMap() { RemoveAll(); }

  // Replaces the value of a key or appends an entry; returns the entry number.
  int SetAt(const void* pKey, std::size_t nLength, void* pValue);

  // Entry number of the key, or -1.
  int Lookup(const void* pKey, std::size_t nLength) const;

  // Clears the entry and returns its value; null for an absent key.
  void* RemoveKey(const void* pKey, std::size_t nLength);

  // Number of entries that have a key.
  int GetCount() const;

  // Entry numbers in insertion order, cleared entries skipped. GetBegin equals GetEnd for an empty map.
  int GetBegin() const { return GetNext(-1); }
  int GetNext(int nPos) const;
  int GetEnd() const { return m_nCount; }

  // Null for an entry number out of range or a cleared entry.
  const void* GetKey(int nPos) const { return IsInside(nPos) ? m_pEntries[nPos].m_pKey : nullptr; }
  std::size_t GetKeyLength(int nPos) const { return IsInside(nPos) ? m_pEntries[nPos].m_nLength : 0; }
  void* GetValue(int nPos) const { return IsInside(nPos) ? m_pEntries[nPos].m_pValue : nullptr; }
  void SetValue(int nPos, void* pValue)
  {
    if (IsInside(nPos))
      m_pEntries[nPos].m_pValue = pValue;
  }

  // Number of slots: 0 before the first insertion, then a power of two from 32.
  int GetCapacity() const { return m_nCapacity; }

  void RemoveAll();
  void Swap(CBasicMap& other) noexcept;

private:
  struct TEntry
  {
    void* m_pKey;
    std::size_t m_nLength;
    void* m_pValue;
  };

  bool IsInside(int nPos) const { return nPos >= 0 && nPos < m_nCount; }
  int FindSlot(const void* pKey, std::size_t nLength) const;
  void Grow();

  TEntry* m_pEntries = nullptr;
  int* m_pIndex = nullptr;
  int m_nCapacity = 0;
  int m_nCount = 0;
};

// Map whose keys are the raw bytes of a value (a pointer or a number).
template <class K, class V>
class CValueKeyPtrMap : private CBasicMap
{
  static_assert(std::has_unique_object_representations_v<K>);

public:
  int SetAt(const K& key, V* pValue) { return CBasicMap::SetAt(&key, sizeof(K), pValue); }

  // Null when absent.
  V* Find(const K& key) const
  {
    return static_cast<V*>(CBasicMap::GetValue(CBasicMap::Lookup(&key, sizeof(K))));
  }
  bool Contains(const K& key) const { return CBasicMap::Lookup(&key, sizeof(K)) >= 0; }
  V* RemoveKey(const K& key) { return static_cast<V*>(CBasicMap::RemoveKey(&key, sizeof(K))); }
  K GetKeyAt(int nPos) const
  {
    K key{};
    if (const void* pKey = CBasicMap::GetKey(nPos))
      std::memcpy(&key, pKey, sizeof(K));
    return key;
  }
  V* GetAt(int nPos) const { return static_cast<V*>(CBasicMap::GetValue(nPos)); }

  using CBasicMap::GetBegin;
  using CBasicMap::GetCount;
  using CBasicMap::GetEnd;
  using CBasicMap::GetNext;
  using CBasicMap::RemoveAll;
};

// As CValueKeyPtrMap, with a reference on each value.
template <class K, class V>
class CValueKeyObjectMap
{
public:
  CValueKeyObjectMap() = default;
  CValueKeyObjectMap(const CValueKeyObjectMap&) = delete;
  CValueKeyObjectMap& operator=(const CValueKeyObjectMap&) = delete;
  ~CValueKeyObjectMap() { RemoveAll(); }

  void SetAt(const K& key, V* pValue)
  {
    if (IsObjectAddress(pValue))
      pValue->AddRef();
    V* pOld = m_map.Find(key);
    try
    {
      m_map.SetAt(key, pValue);
    }
    catch (...)
    {
      if (IsObjectAddress(pValue))
        pValue->Release();
      throw;
    }
    if (IsObjectAddress(pOld))
      pOld->Release();
  }
  V* Find(const K& key) const { return m_map.Find(key); }
  bool Contains(const K& key) const { return m_map.Contains(key); }
  void RemoveKey(const K& key)
  {
    V* pOld = m_map.RemoveKey(key);
    if (IsObjectAddress(pOld))
      pOld->Release();
  }
  int GetCount() const { return m_map.GetCount(); }
  int GetBegin() const { return m_map.GetBegin(); }
  int GetNext(int nPos) const { return m_map.GetNext(nPos); }
  int GetEnd() const { return m_map.GetEnd(); }
  K GetKeyAt(int nPos) const { return m_map.GetKeyAt(nPos); }
  V* GetAt(int nPos) const { return m_map.GetAt(nPos); }
  void RemoveAll()
  {
    for (int i = GetBegin(); i != GetEnd(); i = GetNext(i))
      if (V* p = GetAt(i); IsObjectAddress(p))
        p->Release();
    m_map.RemoveAll();
  }

private:
  CValueKeyPtrMap<K, V> m_map;
};

template <class K>
using CValueKeyIObjectMap = CValueKeyObjectMap<K, IObject>;

}  // namespace BSE
