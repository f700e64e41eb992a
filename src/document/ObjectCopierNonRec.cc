#include "document/ObjectCopierNonRec.h"

namespace PDF
{

CObjectPtr CObjectCopierNonRec::VisitDictionary(const CObjectPtr& object)
{
  return CopyEntries(*this, object);
}

CObjectPtr CObjectCopierNonRec::VisitArray(const CObjectPtr& object)
{
  return CopyElements(*this, object);
}

CObjectPtr CObjectCopierNonRec::VisitIndirect(const CObjectPtr& object)
{
  CObjectPtr next;
  if (LeadsElsewhere(object, next))
    return next ? VisitIndirect(next) : CObjectPtr();
  bool bCreated = false;
  const CObjectPtr target = GetOrCreateCopy(object, bCreated);
  if (bCreated && !IsLeftToOther(object))
    Push(object);
  return target;
}

void CObjectCopierNonRec::ProcessObject(const CObjectPtr& object)
{
  if (const CObjectPtr target = GetCopy(object))
    FillCopy(*this, object, target);
}

}  // namespace PDF
