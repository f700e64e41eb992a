#pragma once

#include "document/NumberSet.h"
#include "document/ObjectCopier.h"

namespace PDF
{

// Copies a tree whose nodes are linked by "First", "Next", "Prev", "Last" and "Parent", as outlines are
// (ISO 32000-1, 12.3.3). The walk uses no recursion: one path of nodes is in memory. A node met twice ends
// its list of siblings, with a trace line; nodes deeper than g_nMaxTreeDepth are left out.
class CTreeCopier : public CObjectCopier
{
public:
  // Values of the nodes go through the owner, so that they are copied as the rest of the document is; a null
  // owner leaves them to this copier.
  explicit CTreeCopier(CObjectTraverser* pOwner = nullptr) : m_pOwner(pOwner) {}

  // The root of a tree, which is copied with all that hangs from it. An object copied before is returned as
  // it is.
  CObjectPtr VisitIndirect(const CObjectPtr& object) override;

protected:
  // True if a node enters the list; its children go with it.
  virtual bool IsKept(const CObjectPtr& node);

  // The copy of an entry that is no link of the tree; null leaves it out.
  virtual CObjectPtr CopyNodeEntry(const char* szKey, const CObjectPtr& value);

private:
  // A node whose children are being copied.
  struct TLevel
  {
    CObject* m_pSource;  // the node; references are held by m_sources and m_targets
    CObject* m_pTarget;
    CObject* m_pFirst;  // its copied children, held by m_firsts and m_lasts
    CObject* m_pLast;
    int m_nVisible;   // kept descendants that are shown when the node is open
    bool m_bChanged;  // a descendant was left out
  };

  CObjectTraverser* m_pOwner;
  CNumberSet m_visited;
};

}  // namespace PDF
