#pragma once

#include "document/NumberSet.h"
#include "document/ObjectCopier.h"

namespace PDF
{

// Copies a tree whose nodes are linked by "First", "Next", "Prev", "Last" and "Parent", as outlines are (ISO
// 32000-1, 12.3.3). The walk uses no recursion: one path of nodes is in memory, of any length. A node met
// twice ends its list of siblings, with a trace line. A list that ends before the node that its parent calls
// the last is reported as a loss.
class CTreeCopier : public CObjectCopier
{
public:
  // Values of the nodes go through the owner, so that they are copied as the rest of the document is; a null
  // owner leaves them to this copier.
  explicit CTreeCopier(CObjectTraverser* pOwner = nullptr) : m_pOwner(pOwner) {}
  virtual ~CTreeCopier() = default;

  // The root of a tree, which is copied with all that hangs from it. An object copied before is returned as
  // it is.
  CObjectPtr VisitIndirect(const CObjectPtr& object) override;

  // From outside, the entry that names a tree. Where the root itself is there, its copy is an object of
  // its own, which the nodes can refer to.
  CObjectPtr VisitEntry(const char* szKey, const CObjectPtr& value) override;

protected:
  // True if a node enters the list; its children go with it.
  virtual bool IsKept(const CObjectPtr& node);

  // The copy of an entry that is not a link of the tree; null leaves it out.
  virtual CObjectPtr CopyNodeEntry(const char* szKey, const CObjectPtr& value);

private:
  struct TLevel;

  void CopyTree(const CObjectPtr& root, const CObjectPtr& target);
  void CopyNode(const CObjectPtr& source, const CObjectPtr& target);
  void CopyChildren(const CObjectPtr& root, const CObjectPtr& rootTarget);
  void CopyChild(BSE::CScopedPtr<TLevel>& pLevel);
  static std::int64_t GetCount(const TLevel& level);
  void EndLevel(BSE::CScopedPtr<TLevel>& pLevel);
  CObjectPtr GetNodeCopy(const CObjectPtr& source);

  CObjectTraverser* m_pOwner;
  CNumberSet m_visited;
  BSE::CBasicArray<int> m_unreached;  // named as the last of a list that did not come to them
  bool m_bWalking = false;
};

}  // namespace PDF
