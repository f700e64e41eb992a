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

}  // namespace

CObjectPtr CListCopier::VisitIndirect(const CObjectPtr& object)
{
  bool bCreated = false;
  const CObjectPtr target = GetOrCreateCopy(object, bCreated);
  if (!bCreated)
    return target;
  if (IsBead(object))
    CopyRound(object, target);
  else
    CopyIndirect(object, target);
  return target;
}

void CListCopier::CopyBead(const CObjectPtr& source, const CObjectPtr& target)
{
  const CObjectPtr value = source.GetValueObject();
  const CObjectPtr copy(new CDictionaryObject);
  for (int i = value.GetBegin(); i != value.GetEnd(); i = value.GetNext(i))
  {
    const char* szKey = value.GetKey(i);
    if (KeyEquals(szKey, "N") || KeyEquals(szKey, "V"))
      continue;
    const bool bOwn = !m_pOwner || KeyEquals(szKey, "T");
    const CObjectPtr entry =
        bOwn ? VisitEntry(szKey, value.GetValue(i)) : m_pOwner->VisitEntry(szKey, value.GetValue(i));
    if (entry)
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
