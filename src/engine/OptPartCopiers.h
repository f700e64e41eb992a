#pragma once

#include "document/ListCopier.h"
#include "document/StructTreeCopier.h"
#include "engine/FeatureStripper.h"

namespace PDF
{

// Copiers for parts of the document. Dictionaries that they copy themselves lose their entries as all others
// do.
class COptStructTreeCopier : public CStructTreeCopier
{
public:
  COptStructTreeCopier(CObjectTraverser* pOwner, unsigned nStrip, IObjectFilter* pFilter)
      : CStructTreeCopier(pOwner, pFilter), m_stripper(nStrip)
  {
  }

  CObjectPtr VisitEntry(const char* szKey, const CObjectPtr& value) override
  {
    return m_stripper.IsEntryDropped(szKey) ? CObjectPtr() : CStructTreeCopier::VisitEntry(szKey, value);
  }

private:
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
