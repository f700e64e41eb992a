#pragma once

#include "document/TreeCopier.h"

namespace PDF
{

// Copies the outlines of a document that is optimized.
class COptOutlinesCopier : public CTreeCopier
{
public:
  // With bStripStructure an item loses its link to the structure tree, "SE" (ISO 32000-1, 12.3.3), which
  // would keep what it leads to in the file. Other entries go through the owner.
  COptOutlinesCopier(CObjectTraverser* pOwner, bool bStripStructure)
      : CTreeCopier(pOwner), m_bStripStructure(bStripStructure)
  {
  }

protected:
  CObjectPtr CopyNodeEntry(const char* szKey, const CObjectPtr& value) override
  {
    if (m_bStripStructure && KeyEquals(szKey, "SE"))
      return {};
    return CTreeCopier::CopyNodeEntry(szKey, value);
  }

private:
  bool m_bStripStructure;
};

}  // namespace PDF
