#pragma once

#include "base/BasicArray.h"
#include "base/File.h"

#include <ctime>
#include <mutex>
#include <span>
#include <type_traits>

namespace BSE
{

// Keeps data that is costly to fetch, one file per key, in a folder of the cache's name below the user's
// ".norvane/Caches". An entry is valid up to a time and is removed when it is met after that. An entry is
// complete or absent, whatever happens to the process, so that processes can share a cache. With bShared the
// threads of a process can share the object too.
//
// A file holds one line "yyyymmddhhmmssZ" with the end of validity, in UTC, one line with the number of the
// key's bytes in decimal, the key and the data. Its name is the key's hash; of two keys with one hash the
// later one stays.
template <bool bShared>
class CFileCache
{
public:
  explicit CFileCache(const char* szName);

  // False if the user has no folder of his own, or the cache's cannot be created.
  bool IsValid() const { return !m_folder.IsEmpty(); }

  // Replaces what the key had. A failure is traced, and the key keeps what it had.
  bool Add(std::span<const unsigned char> key, std::span<const unsigned char> data, std::time_t nValidUntil);

  // Replaces the contents of the array; false, and an empty array, for an absent or outdated entry, one that
  // is damaged, and one of more than g_nMaxCacheEntry bytes.
  bool Find(std::span<const unsigned char> key, CBasicArray<unsigned char>& data,
            std::time_t nNow = std::time(nullptr));

  // False for an absent entry.
  bool Remove(std::span<const unsigned char> key);

private:
  struct TNoLock
  {
    void lock() {}
    void unlock() {}
  };
  using CLock = std::conditional_t<bShared, std::mutex, TNoLock>;

  CFile m_folder;
  CLock m_lock;
};

extern template class CFileCache<false>;
extern template class CFileCache<true>;

}  // namespace BSE
