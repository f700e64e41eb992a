#pragma once

#include "document/CopyBase.h"
#include "document/ObjectTraverser.h"

namespace PDF
{

// Copies objects from a source file to a target file. Direct containers are built anew, scalars are shared,
// references become references to copies; an object is copied once. A reference to nothing gives null, one to
// a reference that to which it leads. A null returned for an entry leaves the entry out, for an element it
// keeps a null in its place. Stream parts are passed on as they are.
//
// The copy of a reference does not depend on the file's depth: from a small depth on the target object is
// made and entered in the map, and the copy itself waits on a list that the outermost visit works off. An
// override of VisitIndirect gets the same by ending in CopyIndirect.
class CObjectCopier : public CObjectTraverser, public CCopyBase
{
public:
  CObjectCopier() = default;

  CObjectPtr Visit(const CObjectPtr& object) override;
  CObjectPtr VisitDictionary(const CObjectPtr& object) override;
  CObjectPtr VisitArray(const CObjectPtr& object) override;
  CObjectPtr VisitIndirect(const CObjectPtr& object) override;

protected:
  // Fills a target that GetOrCreateCopy has just created: at once, or at the end of the outermost visit with
  // the group and flushing of this moment. Pages, nodes of page trees and elements of the structure tree are
  // left to whoever copies them.
  void CopyIndirect(const CObjectPtr& source, const CObjectPtr& target);

  // Drops the list, when the target file is given up.
  void ForgetPending();

  // Works the list off; only the outermost visit needs it.
  void CopyPending();

private:
  struct TPending
  {
    int m_nSource;
    int m_nTarget;
    short m_nGroup;
    bool m_bFlush;
  };

  BSE::CBasicArray<TPending> m_pending;
  bool m_bCopyingPending = false;
};

}  // namespace PDF
