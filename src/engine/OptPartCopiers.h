#pragma once

#include "document/ListCopier.h"
#include "document/StructTreeCopier.h"
#include "engine/FeatureStripper.h"
#include "engine/Optimizer.h"

namespace PDF
{

// Copiers for parts of the document. Dictionaries that they copy themselves lose their entries as all others
// do, and duplicates that they reach are replaced.
class COptStructTreeCopier : public CStructTreeCopier
{
public:
  COptStructTreeCopier(COptimizer& owner, IObjectFilter* pFilter)
      : CStructTreeCopier(&owner, pFilter), m_owner(owner), m_stripper(owner.GetOptions().m_nStrip)
  {
  }

  CObjectPtr VisitIndirect(const CObjectPtr& object) override
  {
    return CStructTreeCopier::VisitIndirect(m_owner.GetStandIn(object));
  }

  CObjectPtr VisitEntry(const char* szKey, const CObjectPtr& value) override
  {
    return m_stripper.IsEntryDropped(szKey) ? CObjectPtr() : CStructTreeCopier::VisitEntry(szKey, value);
  }

private:
  COptimizer& m_owner;
  CFeatureStripper m_stripper;
};

class COptListCopier : public CListCopier
{
public:
  COptListCopier(CObjectTraverser* pOwner, unsigned nStrip) : CListCopier(pOwner), m_stripper(nStrip) {}

  CObjectPtr VisitEntry(const char* szKey, const CObjectPtr& value) override
  {
    return m_stripper.IsEntryDropped(szKey) ? CObjectPtr() : CListCopier::VisitEntry(szKey, value);
  }

private:
  CFeatureStripper m_stripper;
};

}  // namespace PDF
