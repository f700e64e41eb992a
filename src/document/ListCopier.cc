#include "document/ListCopier.h"

#include "pdf/DictionaryObject.h"

namespace PDF
{

namespace
{

bool IsBead(const CObjectPtr& object)
{
  if (!object.IsDictionary() || object.IsStream() || object["Type"].IsName("Thread"))
    return false;
  return object["N"].IsIndirect() && (object["V"].IsIndirect() || object["R"].IsArray());
}

bool IsThread(const CObjectPtr& object)
{
  return object["Type"].IsName("Thread") || IsBead(object["F"]);
}

}  // namespace

CObjectPtr CListCopier::VisitIndirect(const CObjectPtr& object)
{
  if (const CObjectPtr copy = GetCopy(object))
    return copy;
  const bool bBead = IsBead(object);
  if (m_pOwner && !bBead && !IsThread(object))
    return m_pOwner->VisitIndirect(object);
  bool bCreated = false;
  const CObjectPtr target = GetOrCreateCopy(object, bCreated);
  if (!bCreated)
    return target;
  if (!bBead)
  {
    CopyIndirect(object, target);
    return target;
  }
  CopyRound(object, target);
  while (!m_threads.IsEmpty())
  {
    const CObjectPtr thread(m_threads[m_threads.GetSize() - 1]);
    m_threads.SetSize(m_threads.GetSize() - 1);
    CopyIndirect(thread, GetCopy(thread));
  }
  return target;
}

// A thread leads back to a bead of the round: it waits until the round is closed.
CObjectPtr CListCopier::CopyBeadEntry(const char* szKey, const CObjectPtr& value)
{
  if (!KeyEquals(szKey, "T") || !value.IsIndirect())
    return m_pOwner ? m_pOwner->VisitEntry(szKey, value) : VisitEntry(szKey, value);
  bool bCreated = false;
  CObjectPtr thread = GetOrCreateCopy(value, bCreated);
  if (bCreated)
    m_threads.Add(value.Get());
  return thread;
}

void CListCopier::CopyBead(const CObjectPtr& source, const CObjectPtr& target)
{
  const CObjectPtr value = GetDirect(source);
  const CObjectPtr copy(new CDictionaryObject);
  for (int i = value.GetBegin(); i != value.GetEnd(); i = value.GetNext(i))
  {
    const char* szKey = value.GetKey(i);
    if (KeyEquals(szKey, "N") || KeyEquals(szKey, "V"))
      continue;
    if (const CObjectPtr entry = CopyBeadEntry(szKey, value.GetValue(i)))
      copy.AddEntry(szKey, entry);
  }
  target->SetValueObject(copy.Get());
}

// The first bead waits for its predecessor, the last of the round; every other is complete when its successor
// is known.
void CListCopier::CopyRound(const CObjectPtr& first, const CObjectPtr& firstTarget)
{
  CObjectPtr source = first;
  CObjectPtr target = firstTarget;
  CObjectPtr previous;
  bool bMore = true;
  while (bMore)
  {
    target->Lock();
    CopyBead(source, target);
    target->Unlock();
    if (previous)
      target.AddEntry("V", previous);
    CObjectPtr next = source["N"];
    const CObjectPtr nextTarget = next.IsDictionary() ? GetOrCreateCopy(next, bMore) : CObjectPtr();
    bMore = bMore && nextTarget;
    if (nextTarget)
      target.AddEntry("N", nextTarget);
    if (nextTarget == firstTarget)
      firstTarget.AddEntry("V", target);
    if (target != firstTarget)
      FinishCopy(source, target);
    previous = target;
    source = next;
    target = nextTarget;
  }
  FinishCopy(first, firstTarget);
}

}  // namespace PDF
