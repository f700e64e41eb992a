#pragma once

#include "document/ListCopier.h"
#include "document/StructTreeCopier.h"
#include "engine/FeatureStripper.h"
#include "engine/Optimizer.h"

namespace PDF
{

// A copier for a part of the document. Dictionaries that it copies itself lose their entries as all others
// do, and duplicates that it reaches are replaced.
template <class TCopier>
class COptPartCopierT : public TCopier
{
public:
  // Further arguments are those of the copier, after its owner.
  template <class... TArguments>
  explicit COptPartCopierT(COptimizer& owner, TArguments... arguments)
      : TCopier(&owner, arguments...), m_owner(owner), m_stripper(owner.GetOptions().m_nStrip)
  {
  }

  CObjectPtr VisitIndirect(const CObjectPtr& object) override
  {
    return TCopier::VisitIndirect(m_owner.GetStandIn(object));
  }

  CObjectPtr VisitEntry(const char* szKey, const CObjectPtr& value) override
  {
    return m_stripper.IsEntryDropped(szKey) ? CObjectPtr() : TCopier::VisitEntry(szKey, value);
  }

private:
  COptimizer& m_owner;
  CFeatureStripper m_stripper;
};

using COptStructTreeCopier = COptPartCopierT<CStructTreeCopier>;
using COptListCopier = COptPartCopierT<CListCopier>;

}  // namespace PDF
