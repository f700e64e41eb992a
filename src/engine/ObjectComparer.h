#pragma once

#include "document/ObjectDigestComputer.h"
#include "engine/StreamDigester.h"

namespace PDF
{

// Compares objects of an input in depth. References to candidates of the object table are equal if they have
// one canonical object: what candidates refer to is decided before them. Other objects are compared
// themselves, as far as BSE::g_nMaxGraphDepth; objects that lead back to one that is under comparison are not
// equal.
class CObjectComparer
{
public:
  // Borrows both.
  CObjectComparer(const CObjectTable& table, CStreamDigester& streams) : m_table(table), m_streams(streams) {}

  // Null equals null. The key "Name" of optional content groups, fonts and XObjects does not count; reals are
  // equal if they differ by less than a part in 10,000 of their sum. Streams are equal if their decoded data
  // are.
  bool Equal(const CObjectPtr& a, const CObjectPtr& b);

private:
  const TObjectTableEntry* FindCandidate(int nNumber) const;
  bool EqualScalars(const CObjectPtr& a, const CObjectPtr& b) const;
  bool EqualDictionaries(const CObjectPtr& a, const CObjectPtr& b);
  bool EqualArrays(const CObjectPtr& a, const CObjectPtr& b);
  bool EqualReferences(const CObjectPtr& a, const CObjectPtr& b);
  bool EqualTargets(const CObjectPtr& a, const CObjectPtr& b);

  const CObjectTable& m_table;
  CStreamDigester& m_streams;
  BSE::CBasicArray<int> m_open;  // numbers under comparison
  int m_nDepth = 0;
};

}  // namespace PDF
