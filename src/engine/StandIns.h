#pragma once

#include "base/PagedArray.h"
#include "document/ObjectDigestComputer.h"

namespace PDF
{

// By object number of an input, the object that stands for it and all its duplicates: what the analysis has
// found, in the form in which everything after it asks.
class CStandIns
{
public:
  // The object itself for most.
  int Get(int nNumber) const
  {
    for (int nOther = m_numbers[nNumber]; nOther > 0 && nOther != nNumber; nOther = m_numbers[nNumber])
      nNumber = nOther;
    return nNumber;
  }

  // The same for an object, which is one of that file or has no other.
  CObjectPtr Get(CFile& file, const CObjectPtr& object) const
  {
    const int nNumber = object.GetFile() == &file ? object.GetObjNumber() : 0;
    return nNumber > 0 && Contains(nNumber) ? file.GetObject(Get(nNumber), -1) : object;
  }
  bool Contains(int nNumber) const { return m_numbers[nNumber] > 0; }

  // The other one must not lead back. What stands in already for others takes them along.
  void Set(int nNumber, int nOther) { m_numbers.Provide(nNumber) = nOther; }

  // The duplicates of an object table.
  void Add(const CObjectTable& table)
  {
    for (int i = table.GetNext(-1); i >= 0; i = table.GetNext(i))
      if (const int nCanonical = table[i].m_nCanonical; nCanonical != 0 && nCanonical != i)
        Set(i, nCanonical);
  }
  void RemoveAll() { m_numbers.RemoveAll(); }

private:
  BSE::CPagedArray<int, 64> m_numbers;  // 0: no other
};

}  // namespace PDF
