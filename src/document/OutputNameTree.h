#pragma once

#include "base/BasicArray.h"
#include "base/BasicMap.h"
#include "document/SemanticObject.h"
#include "pdf/String.h"

namespace PDF
{

class CFile;

// A name tree being written (ISO 32000-1, 7.9.6): collects pairs in any order, then writes them sorted. It
// keeps a reference on each value.
class COutputNameTree : public CSemanticObject, private BSE::CBasicMap
{
public:
  // Pairs of a leaf, and kids of a node above. A leaf of short names and references is then some 3 KB: few
  // objects, and a reader that looks one name up parses little.
  static constexpr int g_nMaxPairs = 64;

  COutputNameTree() : CSemanticObject(nullptr) {}

  // Adds a pair. A key that is there already gets a number, "(1)" and so on, at its end; the result is the
  // key in use.
  CString Add(const CString& key, PDF::CObject* pValue);

  // Null for a key that is not there.
  PDF::CObject* Find(const CString& key) const;

  int GetCount() const { return BSE::CBasicMap::GetCount(); }

  // Writes the tree into new objects of a file; GetObject is its root then. Values must belong to that file.
  // False if no object can be made there. Without a pair there is no root.
  bool Save(CFile& file);

private:
  bool WriteLeaves(CFile& file, BSE::CObjectArray<PDF::CObject>& nodes) const;
  static bool WriteLevel(CFile& file, BSE::CObjectArray<PDF::CObject>& nodes, int nFirst, int nLast);

  BSE::CObjectArray<PDF::CObject> m_values;
  BSE::CBasicMap m_numbers;  // last number given to a key, by key
};

}  // namespace PDF
