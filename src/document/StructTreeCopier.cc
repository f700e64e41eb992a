#include "document/StructTreeCopier.h"

#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"

namespace PDF
{

namespace
{

// Marked-content and object references; all other dictionaries among the kids are elements.
bool IsContentItem(const CObjectPtr& kid)
{
  const CObjectPtr type = kid["Type"];
  return type.IsName("MCR") || type.IsName("OBJR") || (!type.IsName("StructElem") && kid["S"].IsNull());
}

bool IsElement(const CObjectPtr& kid)
{
  return kid.IsDictionary() && !IsContentItem(kid);
}

}  // namespace

bool IsStructureObject(const CObjectPtr& object)
{
  if (!object.IsDictionary() || object.IsStream())
    return false;
  if (const CObjectPtr type = object["Type"]; type.IsName())
    return type.IsName("StructElem") || type.IsName("StructTreeRoot");
  return object["S"].IsName() && object["P"].IsDictionary() && (object["K"] || object["Pg"]);
}

bool CStructTreeCopier::BelongsToOwner(const CObjectPtr& object) const
{
  if (!m_pOwner)
    return false;
  if (object.IsStream())
    return true;
  const CObjectPtr type = object["Type"];
  if (!object.IsDictionary() || type.IsNull())
    return false;
  for (const char* szType : {"StructTreeRoot", "StructElem", "MCR", "OBJR"})
    if (type.IsName(szType))
      return false;
  return true;
}

CObjectPtr CStructTreeCopier::VisitIndirect(const CObjectPtr& object)
{
  if (const CObjectPtr copy = GetCopy(object))
  {
    const int nNumber = object.GetObjNumber();
    if (!IsPutOff(object))
      return copy;
    m_pState->m_putOff.Remove(nNumber);
    CopyIndirect(object, copy);
    return copy;
  }
  if (IsDropped(object))
    return {};
  return BelongsToOwner(object) ? m_pOwner->VisitIndirect(object) : CObjectCopier::VisitIndirect(object);
}

CObjectPtr CStructTreeCopier::VisitDictionary(const CObjectPtr& object)
{
  const CObjectPtr copy(new CDictionaryObject);
  for (int i = object.GetBegin(); i != object.GetEnd(); i = object.GetNext(i))
  {
    const char* szKey = object.GetKey(i);
    const CObjectPtr value = object.GetValue(i);
    const CObjectPtr entry = KeyEquals(szKey, "K") ? CopyKids(value, object["Pg"]) : VisitEntry(szKey, value);
    if (entry)
      copy.AddEntry(szKey, entry);
  }
  return copy;
}

// What has a copy was let in, and need not be loaded again.
bool CStructTreeCopier::IsDropped(const CObjectPtr& object) const
{
  return m_pFilter && object.IsIndirect() && !GetCopy(object) && m_pFilter->IsDropped(object);
}

bool CStructTreeCopier::HasElements(const CObjectPtr& kids)
{
  const int nNumber = kids.GetObjNumber();
  if (m_arraysWithElements.Contains(nNumber) || m_arraysWithoutElements.Contains(nNumber))
    return m_arraysWithElements.Contains(nNumber);
  if (!kids.IsArray())
    return IsElement(kids);
  bool bFound = false;
  for (int i = 0; i < kids.GetSize() && !bFound; ++i)
    bFound = IsElement(kids[i]);
  (bFound ? m_arraysWithElements : m_arraysWithoutElements).Add(nNumber);
  return bFound;
}

bool CStructTreeCopier::IsKidKept(const CObjectPtr& kid, const CObjectPtr& page)
{
  if (m_pState->m_omitted.Contains(kid.GetObjNumber()))
    return false;
  if (!IsPutOff(kid) && GetCopy(kid))
    return true;
  if (kid.IsInteger())
    return IsPagePresent(page);
  if (!kid.IsDictionary())
    return true;
  const CObjectPtr ownPage = kid["Pg"];
  if (IsContentItem(kid))
    return !IsDropped(kid["Obj"]) && IsPagePresent(ownPage ? ownPage : page);
  if (IsPagePresent(ownPage) || HasElements(kid["K"]))
    return true;
  m_pState->m_omitted.Add(kid.GetObjNumber());
  return false;
}

void CStructTreeCopier::CopyPutOff()
{
  for (int i = 0; i < m_pState->m_putOffOrder.GetSize(); ++i)
  {
    const int nNumber = m_pState->m_putOffOrder[i];
    if (m_pState->m_putOff.Contains(nNumber) && !m_pState->m_omitted.Contains(nNumber))
      Visit(m_pSource->GetObject(nNumber, -1));
  }
}

// An array that belongs to one element, as it should, becomes a direct one. Elements that share one share its
// copy, so that the work stays in proportion to the file.
CObjectPtr CStructTreeCopier::CopyKids(const CObjectPtr& kids, const CObjectPtr& page)
{
  if (m_arrays.Contains(kids.GetObjNumber()))
    if (const CObjectPtr copy = GetCopy(kids))
      return copy;
  if (!kids.IsArray())
    return IsKidKept(kids, page) ? VisitEntry("K", kids) : CObjectPtr();
  if (!kids.IsIndirect() || m_arrays.Add(kids.GetObjNumber()))
  {
    CObjectPtr copy = CopyKidArray(kids, page);
    return copy.GetSize() > 0 || kids.GetSize() == 0 ? copy : CObjectPtr();
  }
  bool bCreated = false;
  CObjectPtr target = GetOrCreateCopy(kids, bCreated);
  if (bCreated)
  {
    target->SetValueObject(CopyKidArray(kids, page).Get());
    FinishCopy(kids, target);
  }
  return target;
}

CObjectPtr CStructTreeCopier::CopyKidArray(const CObjectPtr& kids, const CObjectPtr& page)
{
  CObjectPtr copy(new CArrayObject);
  TellDamage(kids);
  for (int i = 0; i < kids.GetSize(); ++i)
  {
    const CObjectPtr kid = kids[i];
    if (!IsKidKept(kid, page))
      continue;
    if (const CObjectPtr entry = VisitElement(i, kid))
      copy.Add(entry);
  }
  return copy;
}

}  // namespace PDF
