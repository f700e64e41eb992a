#include "base/BasicMap.h"

#include "base/Random.h"

// A hash index over an array of entries. The entries are in the order of insertion and keep their numbers;
// the index holds those numbers and is searched by linear probing. It has at least twice as many slots as
// there are entries, so that every search meets an empty slot. A removed entry keeps its slot, without a key,
// until the index grows, since keys that were placed after it are found past it. Its number is not given out
// again: a map whose keys come and go grows with every key that was ever in it, up to RemoveAll.
//
// HashKey does not choose the slots. It is fixed and without a secret, and a file could hold any number of
// keys that collide in it.
namespace BSE
{

namespace
{

// Keys of length 0 share this address; it is never freed.
char g_emptyKey;

void* CopyKey(const void* pKey, std::size_t nLength)
{
  if (nLength == 0)
    return &g_emptyKey;
  void* pCopy = Allocate(nLength);
  std::memcpy(pCopy, pKey, nLength);
  return pCopy;
}

// Two secrets of this process: nobody can make keys whose slots collide.
struct TSecret
{
  TSecret()
  {
    unsigned char bytes[sizeof(m_n)];
    // Without random numbers the defaults stay, and the map is right, though it can be slowed down.
    if (GetRandomBytes(bytes))
      std::memcpy(m_n, bytes, sizeof(m_n));
  }
  std::uint64_t m_n[2] = {0x9E3779B97F4A7C15U, 0xD1B54A32D192ED03U};
};

std::uint64_t Fold(std::uint64_t nLeft, std::uint64_t nRight)
{
  __extension__ using TWide = unsigned __int128;
  const TWide nProduct = static_cast<TWide>(nLeft) * nRight;
  return static_cast<std::uint64_t>(nProduct) ^ static_cast<std::uint64_t>(nProduct >> 64);
}

// Where the search for a key begins, before the mask.
int GetSlotHash(const void* pKey, std::size_t nLength)
{
  static const TSecret secret;
  const auto* p = static_cast<const unsigned char*>(pKey);
  std::uint64_t nHash = secret.m_n[0] ^ nLength;
  for (; nLength > 0; p += std::min<std::size_t>(nLength, 8), nLength -= std::min<std::size_t>(nLength, 8))
  {
    std::uint64_t nWord = 0;
    std::memcpy(&nWord, p, std::min<std::size_t>(nLength, 8));
    nHash = Fold(nHash ^ nWord, secret.m_n[1] | 1);
  }
  return static_cast<int>(Fold(nHash ^ secret.m_n[1], secret.m_n[0]) & 0x7FFFFFFFU);
}

void FreeKey(void* pKey)
{
  if (pKey != &g_emptyKey)
    Free(pKey);
}

}  // namespace

int HashKey(const void* pKey, std::size_t nLength)
{
  const unsigned char* p = static_cast<const unsigned char*>(pKey);
  // Sums and products wrap as 32-bit numbers; the shifts carry the sign.
  unsigned nHash = 0;
  for (std::size_t i = 0; i < nLength; ++i)
  {
    const unsigned nProduct = (nHash + p[i]) * 1025U;
    nHash = static_cast<unsigned>(static_cast<int>(nProduct) >> 6) ^ nProduct;
  }
  const unsigned nProduct = nHash * 9U;
  nHash = static_cast<unsigned>(static_cast<int>(nProduct) >> 11) ^ nProduct;
  return static_cast<int>(nHash * 32769U);
}

// Delegates, so that the destructor frees what is there if memory runs out on the way.
CBasicMap::CBasicMap(const CBasicMap& other) : CBasicMap()
{
  *this = other;
}

CBasicMap& CBasicMap::operator=(const CBasicMap& other)
{
  if (this == &other)
    return *this;
  RemoveAll();
  if (other.m_nCapacity == 0)
    return *this;
  const auto nSlots = static_cast<std::size_t>(other.m_nCapacity);
  m_pEntries = static_cast<TEntry*>(Allocate(nSlots / 2 * sizeof(TEntry)));
  // Entries are counted one by one: RemoveAll frees those that are whole if memory runs out here.
  m_nCount = 0;
  m_pIndex = static_cast<int*>(Allocate(nSlots * sizeof(int)));
  std::memcpy(m_pIndex, other.m_pIndex, nSlots * sizeof(int));
  m_nCapacity = other.m_nCapacity;
  for (int i = 0; i < other.m_nCount; ++i)
  {
    const TEntry& entry = other.m_pEntries[i];
    m_pEntries[i] = {entry.m_pKey ? CopyKey(entry.m_pKey, entry.m_nLength) : nullptr, entry.m_nLength,
                     entry.m_pValue};
    m_nCount = i + 1;
  }
  return *this;
}

CBasicMap& CBasicMap::operator=(CBasicMap&& other) noexcept
{
  if (this == &other)
    return *this;
  RemoveAll();
  Swap(other);
  return *this;
}

int CBasicMap::FindSlot(const void* pKey, std::size_t nLength) const
{
  const int nMask = m_nCapacity - 1;
  int nSlot = GetSlotHash(pKey, nLength) & nMask;
  while (m_pIndex[nSlot] >= 0)
  {
    const TEntry& entry = m_pEntries[m_pIndex[nSlot]];
    if (entry.m_pKey && entry.m_nLength == nLength &&
        (nLength == 0 || std::memcmp(entry.m_pKey, pKey, nLength) == 0))
      break;
    nSlot = (nSlot + 1) & nMask;
  }
  return nSlot;
}

void CBasicMap::Grow()
{
  const int nNewCapacity = m_nCapacity == 0 ? 32 : m_nCapacity * 2;
  if (nNewCapacity <= 0)
    ThrowOutOfMemory();
  const auto nSlots = static_cast<std::size_t>(nNewCapacity);
  int* pIndex = static_cast<int*>(Allocate(nSlots * sizeof(int)));
  TEntry* pEntries = nullptr;
  try
  {
    pEntries = static_cast<TEntry*>(Reallocate(m_pEntries, nSlots / 2 * sizeof(TEntry)));
  }
  catch (...)
  {
    Free(pIndex);
    throw;
  }
  m_pEntries = pEntries;
  std::fill_n(pIndex, nSlots, -1);
  const int nMask = nNewCapacity - 1;
  for (int i = 0; i < m_nCapacity; ++i)
  {
    const int nEntry = m_pIndex[i];
    if (nEntry < 0 || !m_pEntries[nEntry].m_pKey)
      continue;
    const TEntry& entry = m_pEntries[nEntry];
    int nSlot = GetSlotHash(entry.m_pKey, entry.m_nLength) & nMask;
    while (pIndex[nSlot] >= 0)
      nSlot = (nSlot + 1) & nMask;
    pIndex[nSlot] = nEntry;
  }
  Free(m_pIndex);
  m_pIndex = pIndex;
  m_nCapacity = nNewCapacity;
}

int CBasicMap::SetAt(const void* pKey, std::size_t nLength, void* pValue)
{
  if (m_nCapacity == 0)
    Grow();
  int nSlot = FindSlot(pKey, nLength);
  if (m_pIndex[nSlot] >= 0)
  {
    m_pEntries[m_pIndex[nSlot]].m_pValue = pValue;
    return m_pIndex[nSlot];
  }
  if (m_nCount >= m_nCapacity / 2)
  {
    Grow();
    nSlot = FindSlot(pKey, nLength);
  }
  m_pEntries[m_nCount] = {CopyKey(pKey, nLength), nLength, pValue};
  m_pIndex[nSlot] = m_nCount;
  return m_nCount++;
}

int CBasicMap::Lookup(const void* pKey, std::size_t nLength) const
{
  return m_nCapacity == 0 ? -1 : m_pIndex[FindSlot(pKey, nLength)];
}

void* CBasicMap::RemoveKey(const void* pKey, std::size_t nLength)
{
  const int nEntry = Lookup(pKey, nLength);
  if (nEntry < 0)
    return nullptr;
  TEntry& entry = m_pEntries[nEntry];
  void* pValue = entry.m_pValue;
  FreeKey(entry.m_pKey);
  entry = {nullptr, 0, nullptr};
  return pValue;
}

int CBasicMap::GetCount() const
{
  int nCount = 0;
  for (int i = 0; i < m_nCount; ++i)
    if (m_pEntries[i].m_pKey)
      ++nCount;
  return nCount;
}

int CBasicMap::GetNext(int nPos) const
{
  for (++nPos; nPos < m_nCount; ++nPos)
    if (m_pEntries[nPos].m_pKey)
      return nPos;
  return m_nCount;
}

void CBasicMap::RemoveAll()
{
  for (int i = 0; i < m_nCount; ++i)
    if (m_pEntries[i].m_pKey)
      FreeKey(m_pEntries[i].m_pKey);
  Free(m_pEntries);
  Free(m_pIndex);
  m_pEntries = nullptr;
  m_pIndex = nullptr;
  m_nCapacity = 0;
  m_nCount = 0;
}

void CBasicMap::Swap(CBasicMap& other) noexcept
{
  std::swap(m_pEntries, other.m_pEntries);
  std::swap(m_pIndex, other.m_pIndex);
  std::swap(m_nCapacity, other.m_nCapacity);
  std::swap(m_nCount, other.m_nCount);
}

}  // namespace BSE
