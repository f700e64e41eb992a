#include "document/ObjectTraverserNonRec.h"

namespace PDF
{

CObjectPtr CObjectTraverserNonRec::Visit(const CObjectPtr& object)
{
  const CObjectPtr result = Dispatch(object);
  if (m_nDepth == 0)
    ProcessPending();
  return result;
}

CObjectPtr CObjectTraverserNonRec::VisitIndirect(const CObjectPtr& object)
{
  Push(object);
  return object;
}

void CObjectTraverserNonRec::Push(const CObjectPtr& object)
{
  const int nNumber = object.GetObjNumber();
  if (nNumber < 1 || m_pushed.Add(nNumber))
    m_stack.Add(object.Get());
}

void CObjectTraverserNonRec::ProcessPending()
{
  if (m_bProcessing)
    return;
  m_bProcessing = true;
  while (!m_stack.IsEmpty())
  {
    const int nLast = m_stack.GetSize() - 1;
    const CObjectPtr object(m_stack[nLast]);
    m_stack.SetSize(nLast);
    ProcessObject(object);
  }
  m_pushed.RemoveAll();
  m_bProcessing = false;
}

void CObjectTraverserNonRec::ProcessObject(const CObjectPtr& object)
{
  if (object->IsLocked())
    return;
  object->Lock();
  Visit(object->GetValueObject());
  if (const CObjectPtr stream = object->GetStreamObject())
    Visit(stream);
  object->Unlock();
}

}  // namespace PDF
