#include "document/OptionalContent.h"

#include "base/Tracer.h"

namespace PDF
{

bool COptionalContent::Load(const CObjectPtr& properties)
{
  m_groups.RemoveAll();
  m_orderObjects.RemoveAll();
  m_order.RemoveAll();
  m_off.RemoveAll();
  m_usages.Reset();
  if (!properties.IsDictionary())
    return false;
  const CObjectPtr groups = properties["OCGs"];
  for (int i = 0; groups.IsArray() && i < groups.GetSize(); ++i)
    if (const CObjectPtr group = groups[i]; COCG(group).IsValid())
      m_groups.Add(group.Get());
  const CObjectPtr configuration = properties["D"];
  LoadStates(configuration);
  LoadOrder(configuration["Order"]);
  m_usages = configuration["AS"];
  if (!m_usages.IsArray())
    m_usages.Reset();
  return true;
}

void COptionalContent::LoadStates(const CObjectPtr& configuration)
{
  if (configuration["BaseState"].IsName("OFF"))
  {
    for (int i = 0; i < m_groups.GetSize(); ++i)
      m_off.Add(m_groups[i]->GetObjNumber());
    const CObjectPtr on = configuration["ON"];
    for (int i = 0; on.IsArray() && i < on.GetSize(); ++i)
      m_off.Remove(on[i].GetObjNumber());
  }
  const CObjectPtr off = configuration["OFF"];
  for (int i = 0; off.IsArray() && i < off.GetSize(); ++i)
    m_off.Add(off[i].GetObjNumber());
}

void COptionalContent::LoadOrder(const CObjectPtr& order)
{
  BSE::CObjectArray<CObject> lists;
  BSE::CBasicArray<int> places;
  CNumberSet visited;
  const auto enter = [&](const CObjectPtr& list)
  {
    const bool bNew = !list.IsIndirect() || visited.Add(list.GetObjNumber());
    if (!list.IsArray() || !bNew)
      return;
    lists.Add(list.Get());
    places.Add(0);
  };
  enter(order);
  while (!lists.IsEmpty())
  {
    const int nLevel = lists.GetSize() - 1;
    const CObjectPtr list(lists[nLevel]);
    const int nPlace = places[nLevel]++;
    if (nPlace >= list.GetSize())
    {
      lists.SetSize(nLevel);
      places.Truncate(nLevel);
      continue;
    }
    const CObjectPtr entry = list[nPlace];
    if (entry.IsArray())
      enter(entry);
    else if (entry.IsString() || COCG(entry).IsValid())
    {
      m_orderObjects.Add(entry.Get());
      m_order.Add({entry.Get(), nLevel});
    }
    else if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF OCG", "Invalid object of type %d in OCG order.",
                          static_cast<int>((entry.IsIndirect() ? entry.GetValueObject() : entry).GetType()));
  }
}

bool COptionalContent::IsVisible(const CObjectPtr& content) const
{
  if (!content["Type"].IsName("OCMD"))
    return IsOn(content);
  const CObjectPtr groups = content["OCGs"];
  const int nGroups = groups.IsArray() ? groups.GetSize() : 1;
  int nOn = 0;
  int nOff = 0;
  for (int i = 0; i < nGroups; ++i)
  {
    const CObjectPtr group = groups.IsArray() ? groups[i] : groups;
    if (COCG(group).IsValid())
      ++(IsOn(group) ? nOn : nOff);
  }
  if (nOn + nOff == 0)
    return true;
  const CObjectPtr policy = content["P"];
  if (policy.IsName("AllOn"))
    return nOff == 0;
  if (policy.IsName("AnyOff"))
    return nOff > 0;
  if (policy.IsName("AllOff"))
    return nOn == 0;
  return nOn > 0;
}

}  // namespace PDF
