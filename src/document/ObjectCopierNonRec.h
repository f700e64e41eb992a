#pragma once

#include "document/CopyBase.h"
#include "document/ObjectTraverserNonRec.h"

namespace PDF
{

// Copies as CObjectCopier does, but every reference waits on the stack: the target object is there at once,
// its value when the outermost Visit ends, with the group and flushing of that moment.
class CObjectCopierNonRec : public CObjectTraverserNonRec, public CCopyBase
{
public:
  CObjectCopierNonRec() = default;

  CObjectPtr VisitDictionary(const CObjectPtr& object) override;
  CObjectPtr VisitArray(const CObjectPtr& object) override;
  CObjectPtr VisitIndirect(const CObjectPtr& object) override;

protected:
  void ProcessObject(const CObjectPtr& object) override;
};

}  // namespace PDF
