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

bool HasElements(const CObjectPtr& kids)
{
  if (!kids.IsArray())
    return kids.IsDictionary() && !IsContentItem(kids);
  for (int i = 0; i < kids.GetSize(); ++i)
    if (const CObjectPtr kid = kids[i]; kid.IsDictionary() && !IsContentItem(kid))
      return true;
  return false;
}

}  // namespace

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
    return copy;
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

bool CStructTreeCopier::IsKidKept(const CObjectPtr& kid, const CObjectPtr& page) const
{
  if (kid.IsInteger())
    return IsPagePresent(page);
  if (GetCopy(kid) || !kid.IsDictionary())
    return true;
  const CObjectPtr ownPage = kid["Pg"];
  if (IsContentItem(kid))
    return !IsDropped(kid["Obj"]) && IsPagePresent(ownPage ? ownPage : page);
  return IsPagePresent(ownPage) || HasElements(kid["K"]);
}

CObjectPtr CStructTreeCopier::CopyKids(const CObjectPtr& kids, const CObjectPtr& page)
{
  if (!kids.IsArray())
    return IsKidKept(kids, page) ? VisitEntry("K", kids) : CObjectPtr();
  CObjectPtr copy(new CArrayObject);
  for (int i = 0; i < kids.GetSize(); ++i)
  {
    const CObjectPtr kid = kids[i];
    if (!IsKidKept(kid, page))
      continue;
    if (const CObjectPtr entry = VisitElement(i, kid))
      copy.Add(entry);
  }
  return copy.GetSize() > 0 || kids.GetSize() == 0 ? copy : CObjectPtr();
}

}  // namespace PDF
