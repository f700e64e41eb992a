#pragma once

#include "document/NumberSet.h"
#include "document/ObjectCopier.h"

namespace PDF
{

// Knows objects that do not enter the target.
class IObjectFilter
{
public:
  virtual bool IsDropped(const CObjectPtr& object) = 0;

protected:
  ~IObjectFilter() = default;
};

// True for the root of a structure tree and an element, whose "Type" is optional (ISO 32000-1, 14.7.2).
bool IsStructureObject(const CObjectPtr& object);

// Copies a structure tree (ISO 32000-1, 14.7): of the kids "K" of an element only those are kept whose page
// is in the target. An element without a page of its own stays, and so does one that holds further
// elements. References to objects that the filter drops go.
class CStructTreeCopier : public CObjectCopier
{
public:
  // Values outside the tree go through the owner; a null owner leaves them to this copier. A null filter
  // drops nothing.
  explicit CStructTreeCopier(CObjectTraverser* pOwner = nullptr, IObjectFilter* pFilter = nullptr)
      : m_pOwner(pOwner), m_pFilter(pFilter)
  {
    m_bTakesStructure = true;
  }
  virtual ~CStructTreeCopier() = default;

  // Elements that other parts of the document lead to and the tree does not, once it is copied. What the tree
  // has left out stays out.
  void CopyPutOff();

  CObjectPtr VisitDictionary(const CObjectPtr& object) override;
  CObjectPtr VisitIndirect(const CObjectPtr& object) override;

private:
  bool IsKidKept(const CObjectPtr& kid, const CObjectPtr& page);
  bool IsPagePresent(const CObjectPtr& page) const { return page.IsNull() || IsPageCopied(page); }
  CObjectPtr CopyKids(const CObjectPtr& kids, const CObjectPtr& page);
  CObjectPtr CopyKidArray(const CObjectPtr& kids, const CObjectPtr& page);
  bool HasElements(const CObjectPtr& kids);
  bool BelongsToOwner(const CObjectPtr& object) const;

  bool IsDropped(const CObjectPtr& object) const;
  bool IsPutOff(const CObjectPtr& object) const { return m_pState->m_putOff.Contains(object.GetObjNumber()); }

  CObjectTraverser* m_pOwner;
  IObjectFilter* m_pFilter;
  // Arrays of kids, by number: many may refer to one of them.
  CNumberSet m_arrays;
  CNumberSet m_arraysWithElements;
  CNumberSet m_arraysWithoutElements;
};

}  // namespace PDF
