#pragma once

#include "fonts/cff/Index.h"
#include "fonts/cff/Types.h"

namespace CFF
{

// A DICT: the values of each operator as they are written, strings by their numbers and rows of edges by
// their differences.
class CDictionary
{
public:
  // Adds what the data hold. What is not known is left out with a trace line, and counted as a fault where it
  // may matter. False if the data are not a dictionary.
  bool Parse(TData data, FONT::CFontLog& log);

  bool Has(CTypes::TKey nKey) const { return Find(nKey) >= 0; }

  // The first value; the default that the format has for the key if there is none.
  double GetNumber(CTypes::TKey nKey) const;
  int GetInteger(CTypes::TKey nKey) const;

  // As they are written; valid until the next change. Empty if the key is absent.
  std::span<const double> GetValues(CTypes::TKey nKey) const;

  // Of a row of edges, or of the six numbers of a matrix and others that have a default.
  void GetArray(CTypes::TKey nKey, BSE::CBasicArray<double>& values) const;

  // Replaces the values; none remove the key. Keys keep their order.
  void SetValues(CTypes::TKey nKey, std::span<const double> values);
  void SetNumber(CTypes::TKey nKey, double dValue) { SetValues(nKey, {&dValue, 1}); }
  void SetArray(CTypes::TKey nKey, std::span<const double> values);
  void Remove(CTypes::TKey nKey) { SetValues(nKey, {}); }

  // Calls visit with a reference to each number of a string.
  template <class T>
  void VisitStrings(T visit)
  {
    for (const TEntry& entry : m_entries.GetSpan())
      for (int i = 0; i < GetStringCount(entry.m_nKey) && i < entry.m_nCount; ++i)
        visit(m_values[entry.m_nFirst + i]);
  }

  // Appends it. False, with a trace line, if a value cannot be written.
  bool Write(BSE::CBasicArray<unsigned char>& bytes) const;

private:
  friend class CDictParser;

  struct TEntry
  {
    CTypes::TKey m_nKey;
    int m_nFirst;
    int m_nCount;
  };

  int Find(CTypes::TKey nKey) const;
  static int GetStringCount(CTypes::TKey nKey);

  BSE::CBasicArray<TEntry> m_entries;
  BSE::CBasicArray<double> m_values;
};

// Appends a number in the form of dictionaries; a real one with as many digits as it needs.
bool PutDictNumber(double dValue, BSE::CBasicArray<unsigned char>& bytes);

}  // namespace CFF
