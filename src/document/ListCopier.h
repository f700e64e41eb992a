#pragma once

#include "document/ObjectCopier.h"

namespace PDF
{

// Copies circular lists of beads and their threads (ISO 32000-1, 12.4.3): "V" the previous bead, "N" the next
// one, "T" the thread, "P" the page; "F" of the thread is the first bead. The walk goes round from the bead
// by "N" with a loop, and links the copies. A chain that does not come back to its first bead is linked as
// far as it goes.
class CListCopier : public CObjectCopier
{
public:
  // Other values than the links go through the owner; a null owner leaves them to this copier.
  explicit CListCopier(CObjectTraverser* pOwner = nullptr) : m_pOwner(pOwner) {}
  virtual ~CListCopier() = default;

  // A bead or a thread; another object is a value.
  CObjectPtr VisitIndirect(const CObjectPtr& object) override;

private:
  // The bead's dictionary without its links to other beads.
  void CopyBead(const CObjectPtr& source, const CObjectPtr& target);
  CObjectPtr CopyBeadEntry(const char* szKey, const CObjectPtr& value);
  void CopyRound(const CObjectPtr& first, const CObjectPtr& firstTarget);

  CObjectTraverser* m_pOwner;
  BSE::CObjectArray<CObject> m_threads;  // met on the round, with a target that is still empty
};

}  // namespace PDF
