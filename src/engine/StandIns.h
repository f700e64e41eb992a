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
    const int nOther = m_numbers[nNumber];
    return nOther > 0 ? nOther : nNumber;
  }
  bool Contains(int nNumber) const { return m_numbers[nNumber] > 0; }
  void Set(int nNumber, int nOther) { m_numbers.Provide(nNumber) = nOther; }

  // The duplicates of an object table.
  void Add(const CObjectTable& table)
  {
    for (int i = table.GetNext(-1); i >= 0; i = table.GetNext(i))
      if (const int nCanonical = table[i].m_nCanonical; nCanonical != 0 && nCanonical != i)
        Set(i, nCanonical);
  }

  // Takes the duplicates of a table, which are in already, to what their object has meanwhile been set to.
  void Settle(const CObjectTable& table)
  {
    for (int i = table.GetNext(-1); i >= 0; i = table.GetNext(i))
      if (Contains(i))
        Set(i, Get(Get(i)));
  }
  void RemoveAll() { m_numbers.RemoveAll(); }

private:
  BSE::CPagedArray<int, 64> m_numbers;  // 0: no other
};

}  // namespace PDF
