#pragma once

#include "document/TreeCopier.h"
#include "engine/FeatureStripper.h"

namespace PDF
{

// Copies the outlines of a document that is optimized. Root and items lose their entries as all other
// dictionaries do, and with eStripStructure also the link to the structure tree, "SE" (ISO 32000-1, 12.3.3),
// which would keep what it leads to in the file.
class COptOutlinesCopier : public CTreeCopier
{
public:
  COptOutlinesCopier(CObjectTraverser* pOwner, unsigned nStrip)
      : CTreeCopier(pOwner), m_stripper(nStrip), m_bStripStructure((nStrip & eStripStructure) != 0)
  {
  }

protected:
  CObjectPtr CopyNodeEntry(const char* szKey, const CObjectPtr& value) override
  {
    if (m_stripper.IsEntryDropped(szKey) || (m_bStripStructure && KeyEquals(szKey, "SE")))
      return {};
    return CTreeCopier::CopyNodeEntry(szKey, value);
  }

private:
  CFeatureStripper m_stripper;
  bool m_bStripStructure;
};

}  // namespace PDF
