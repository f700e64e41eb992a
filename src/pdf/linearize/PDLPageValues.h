#pragma once

#include "pdf/linearize/PDLPageTree.h"

// Long values of page dictionaries that become objects of their own, so that they can be in object streams:
// pages themselves cannot. Pages but the first, which is read whole anyway.
class PDLPageValues
{
public:
  struct TValue
  {
    int m_nPage;  // index in the tree
    int m_nNode;  // of the value in the page's object; or the complement of the value that is inherited
    int m_nSize;
  };

  // The values of each page come in the order of their keys, then those that are inherited.
  void Collect(PDFile& file, const PDLPageTree& tree);

  int GetCount() const { return m_values.GetSize(); }
  const TValue& GetValue(int nValue) const { return m_values[nValue]; }

  // Of a page, from one value to another; all 0 for none.
  int GetFirst(int nPage) const { return m_starts[nPage]; }
  int GetEnd(int nPage) const { return m_starts[nPage + 1]; }

private:
  void CollectPage(PDFile& file, const PDLPageTree& tree, int nPage);

  BSE::CBasicArray<TValue> m_values;
  BSE::CBasicArray<int> m_starts;
  PDObj m_object;
};
