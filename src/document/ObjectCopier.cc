#include "document/ObjectCopier.h"

#include "base/ScopedValue.h"

namespace PDF
{

CObjectPtr CObjectCopier::Visit(const CObjectPtr& object)
{
  const CObjectPtr result = Dispatch(object);
  if (m_nDepth == 0)
    CopyPending();
  return result;
}

CObjectPtr CObjectCopier::VisitDictionary(const CObjectPtr& object)
{
  return CopyEntries(*this, object);
}

CObjectPtr CObjectCopier::VisitArray(const CObjectPtr& object)
{
  return CopyElements(*this, object);
}

CObjectPtr CObjectCopier::VisitIndirect(const CObjectPtr& object)
{
  CObjectPtr next;
  if (LeadsElsewhere(object, next))
    return next ? VisitIndirect(next) : CObjectPtr();
  bool bCreated = false;
  const CObjectPtr target = GetOrCreateCopy(object, bCreated);
  if (bCreated)
    CopyIndirect(object, target);
  return target;
}

void CObjectCopier::CopyIndirect(const CObjectPtr& source, const CObjectPtr& target)
{
  if (IsLeftToOther(source))
    return;
  if (!IsDeep())
  {
    FillCopy(*this, source, target);
    return;
  }
  m_pending.Add({source.GetObjNumber(), target.GetObjNumber(), static_cast<short>(m_nGroup), m_bFlush});
  source->Unload();
}

void CObjectCopier::CopyPending()
{
  if (m_bCopyingPending || m_pending.IsEmpty())
    return;
  const BSE::CScopedValue copying(m_bCopyingPending, true);
  const CGroupScope group(*this, m_nGroup);
  const BSE::CScopedValue flush(m_bFlush, m_bFlush);
  while (!m_pending.IsEmpty())
  {
    const TPending pending = m_pending[m_pending.GetSize() - 1];
    m_pending.Truncate(m_pending.GetSize() - 1);
    m_nGroup = pending.m_nGroup;
    m_bFlush = pending.m_bFlush;
    FillCopy(*this, m_pSource->GetXRef().GetObject(pending.m_nSource, -1),
             m_pTarget->GetXRef().GetObject(pending.m_nTarget, -1));
  }
}

void CObjectCopier::ForgetPending()
{
  m_pending.RemoveAll();
  ForgetCopied();
}

}  // namespace PDF
