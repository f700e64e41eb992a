#pragma once

#include "base/BasicArray.h"
#include "base/BufferedInputStream.h"
#include "pdf/IndirectObject.h"

namespace PDF
{

class CParser;

// An object stream that is read (ISO 32000-1, 7.5.7). Its data is decoded once, when the first object is
// wanted, and stays in memory until it is unloaded.
class CObjectStream
{
public:
  CObjectStream(CFile* pFile, int nObjNumber);
  ~CObjectStream();
  CObjectStream(const CObjectStream&) = delete;
  CObjectStream& operator=(const CObjectStream&) = delete;

  int GetObjNumber() const { return m_nObjNumber; }
  bool IsLoaded() const { return m_bLoaded; }
  // True once it was to be loaded, whatever came of it.
  bool WasTried() const { return m_bTried; }

  // False if the stream cannot be read.
  bool Load();
  void Unload();

  // Fills an object from the entry at an index, or where that holds another number from the entry with the
  // object's number; bFirst if it has not been read before. False, traced, if there is none or the stream
  // cannot be read. What is not whole, or comes from data that did not decode well, is noted as damaged.
  bool GetObject(CIndirectObject& object, int nIndex, bool bFirst);

  // Bytes that the last load has decoded, kept or not.
  std::int64_t GetDecodedSize() const { return m_nDecoded; }

  // Number of entries, and the object number of one; after Load.
  int GetCount() const { return m_index.GetSize(); }
  int GetNumberAt(int nIndex) const { return m_index[nIndex].m_nObjNumber; }

  // What it takes in memory while it is loaded.
  std::int64_t GetMemorySize() const;

private:
  friend class CObjectStreamCache;  // links those that it keeps

  struct TIndexEntry
  {
    int m_nObjNumber;
    std::int64_t m_nOffset;
  };

  bool DecodeData(CIndirectObject& stream);
  void ReadIndex(std::int64_t nCount);
  void MendFirst();
  int FindEntry(int nObjNumber, int nIndex);
  int FindByNumber(int nObjNumber);

  CFile* m_pFile;
  int m_nObjNumber;
  std::int64_t m_nFirst = 0;
  std::int64_t m_nDecoded = 0;
  std::int64_t m_nValueLimit = 0;
  std::int64_t m_nParsed = 0;  // bytes of members that were read for the first time
  BSE::CBasicArray<TIndexEntry> m_index;
  BSE::CBasicArray<int> m_byNumber;  // indexes by object number, filled when the table names a wrong one
  BSE::CBasicArray<unsigned char> m_data;
  BSE::CScopedPtr<CParser> m_pParser;
  CObjectStream* m_pNewer = nullptr;  // in the file's cache
  CObjectStream* m_pOlder = nullptr;
  std::int64_t m_nCachedSize = 0;
  bool m_bCached = false;
  bool m_bLoaded = false;
  bool m_bTried = false;
  bool m_bDamaged = false;  // its data did not decode well
};

}  // namespace PDF
