#pragma once

#include "base/BasicArray.h"
#include "pdf/IndirectObject.h"

#include <algorithm>

namespace PDF
{

enum TXRefType : unsigned char
{
  eXRefFree = 0,
  eXRefInUse = 1,
  eXRefCompressed = 2
};

// One object number (ISO 32000-1, 7.5.4 and 7.5.8).
struct TXRefEntry
{
  // In use: file offset; compressed: number of the object stream; free: the next free number.
  std::int64_t m_nOffset;
  // In use and free: generation; compressed: index in the stream.
  int m_nGeneration;
  TXRefType m_nType;
  bool m_bRead = false;           // the object has been read from the file
  bool m_bOtherReported = false;  // its wrong generation has been reported
  // Null until the object is wanted. The table keeps one reference.
  CIndirectObject* m_pObject = nullptr;
};

// Object numbers to entries, in pages that are allocated when a number in them is first in use or wanted.
// Numbers outside the table, or in an absent page, read as free.
class CXRefTable
{
public:
  explicit CXRefTable(CFile* pFile) : m_pFile(pFile) {}
  CXRefTable(const CXRefTable&) = delete;
  CXRefTable& operator=(const CXRefTable&) = delete;
  ~CXRefTable() { RemoveAll(); }

  // Highest number plus one; and the same with those that are only listed as free.
  int GetSize() const { return m_nSize; }
  int GetListedSize() const { return std::max(m_nSize, m_nListed); }
  const TXRefEntry& GetEntry(int nObjNumber) const;

  // Allocates the page and raises the size. A number below 0 or above the limit gives a scratch entry.
  TXRefEntry& GetOrCreateEntry(int nObjNumber);

  // The object for a number, created on first use; borrowed. A generation that differs from the entry's is
  // reported as a warning, and the object is used all the same. A free number gives an object that reads as
  // null.
  CIndirectObject* GetObject(int nObjNumber, int nGenNumber);

  // An object in memory at another offset is unloaded and takes the new one.
  void SetOffset(int nObjNumber, int nGenNumber, std::int64_t nOffset);

  // A number equal to its own stream is ignored.
  void SetCompressed(int nObjNumber, int nStream, int nIndex);

  // Of a number whose page has had no other entry yet, nothing is kept but that it is listed.
  void SetFree(int nObjNumber, int nGenNumber, int nNext);

  // Puts a new object into its entry, which becomes in use.
  void SetObject(int nObjNumber, CIndirectObject* pObject);

  // -1 unless the number is compressed.
  int GetStreamOf(int nObjNumber) const;
  int GetIndexOf(int nObjNumber) const;

  // Releases the object; the entry becomes free with generation 65535.
  void Remove(int nObjNumber);

  // Drops the entry's object if nobody else holds it; it is made again when wanted.
  void ReleaseObject(int nObjNumber);
  void RemoveAll();

  bool HasObjectZero() const { return m_bHasObjectZero; }

  // Next number after nObjNumber whose page exists, or the size: walks skip what was never written.
  int GetNextNumber(int nObjNumber) const;

private:
  // Small enough that a wild number costs little.
  static constexpr int g_nPageSize = 32;

  CFile* m_pFile;
  BSE::CPtrArray<TXRefEntry> m_pages;
  int m_nSize = 0;
  int m_nListed = 0;
  bool m_bHasObjectZero = false;
};

}  // namespace PDF
