#pragma once

#include "base/PagedArray.h"
#include "pdf/ObjectStream.h"

namespace PDF
{

// The object streams of a file, and which of them stay decoded: the ones that were used last, as far as
// memory goes (BSE::g_nMaxCachedStreams and its neighbours).
class CObjectStreamCache
{
public:
  explicit CObjectStreamCache(CFile& file) : m_file(file) {}
  CObjectStreamCache(const CObjectStreamCache&) = delete;
  CObjectStreamCache& operator=(const CObjectStreamCache&) = delete;
  ~CObjectStreamCache() { RemoveAll(); }

  // The stream of an object number, made on first use. Borrowed.
  CObjectStream* Get(int nObjNumber);

  // A stream beyond the cache's size makes room before the next one is decoded.
  void MakeRoom();

  // Puts a decoded stream in front, and unloads old ones. nReread: bytes that had to be decoded again so far.
  void Touch(CObjectStream& stream, std::int64_t nReread);
  void RemoveAll();

private:
  void Drop(CObjectStream& stream);
  void UnloadOldest();

  CFile& m_file;
  BSE::CPagedArray<CObjectStream*, 64> m_objectStreams;  // by object number
  CObjectStream* m_pNewestCached = nullptr;
  CObjectStream* m_pOldestCached = nullptr;
  int m_nCachedCount = 0;
  std::int64_t m_nCachedBytes = 0;
};

}  // namespace PDF
