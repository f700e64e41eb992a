#pragma once

#include "base/BasicArray.h"
#include "document/NumberSet.h"
#include "pdf/Object.h"
#include "pdf/String.h"

namespace PDF
{

// Reads a name tree or a number tree (ISO 32000-1, 7.9.6 and 7.9.7): leaves hold keys and values in turn in
// "Names" or "Nums", nodes above them have "Kids", and "Limits" give the least and the greatest key of a
// node. One pair of the path is in memory. Nodes met twice are left out.
//
//   CNameTreeReader reader(catalog["Names"]["Dests"]);
//   while (reader.Next())
//     Use(reader.GetKey(), reader.GetValue());
class CNameTreeReader
{
public:
  enum class TKind
  {
    Names,
    Numbers
  };

  // A null root is an empty tree.
  explicit CNameTreeReader(const CObjectPtr& root, TKind kind = TKind::Names);

  // The next pair in the order of the file; false at the end. Keys of another kind than the tree's are left
  // out with their values.
  bool Next();

  // Of the pair that Next has moved to. The value may be null.
  const CObjectPtr& GetKey() const { return m_key; }
  CObjectPtr GetValue() const { return m_value; }

  // The value of a key, null if there is none. Goes only where limits say that the key can be, and everywhere
  // below a node without limits. The order inside a leaf does not matter.
  static CObjectPtr Find(const CObjectPtr& root, const CString& key);
  static CObjectPtr Find(const CObjectPtr& root, std::int64_t nKey);

private:
  struct TStep
  {
    int m_nNext;
    bool m_bLeaf;
  };

  bool IsKey(const CObjectPtr& key) const;
  static int Compare(const CObjectPtr& a, const CObjectPtr& b);
  bool CanHold(const CObjectPtr& node) const;
  void Enter(const CObjectPtr& node);
  CObjectPtr FindWanted();

  TKind m_kind;
  CObjectPtr m_key;
  CObjectPtr m_value;
  CObjectPtr m_wanted;  // only nodes that can hold this key are entered; null for all
  BSE::CBasicArray<TStep> m_steps;
  BSE::CObjectArray<CObject> m_arrays;  // of the steps: kids, or keys and values
  CNumberSet m_visited;
};

}  // namespace PDF
