#include "document/Outline.h"

#include "base/Checked.h"
#include "base/Tracer.h"
#include "pdf/DictionaryObject.h"
#include "pdf/File.h"
#include "pdf/SimpleObjects.h"

#include <algorithm>
#include <utility>

namespace PDF
{

COutline::~COutline()
{
  // Items far below one another are freed one by one, without recursion.
  COutlineItem* pDoomed = nullptr;
  LetGo(pDoomed);
  while (pDoomed)
  {
    COutlineItem* pItem = std::exchange(pDoomed, pDoomed->m_pNextDoomed);
    pItem->LetGo(pDoomed);
    pItem->Release();
  }
}

// Drops the children. Those that are not held elsewhere are added to the list of those to delete.
void COutline::LetGo(COutlineItem*& pDoomed)
{
  for (int i = 0; i < m_items.GetSize(); ++i)
  {
    COutlineItem* pItem = m_items[i];
    pItem->m_pParent = nullptr;
    if (pItem->GetRefCount() > 1)
      continue;
    pItem->AddRef();
    pItem->m_pNextDoomed = std::exchange(pDoomed, pItem);
  }
  m_items.RemoveAll();
}

bool COutline::AddItem(COutlineItem* pItem)
{
  // An item with children could be one that this one hangs from.
  if (!pItem || pItem->m_pParent || pItem->GetItemCount() > 0)
    return false;
  m_items.Add(pItem);
  pItem->m_pParent = this;
  return true;
}

bool COutline::RemoveItem(int nIndex)
{
  COutlineItem* pItem = m_items[nIndex];
  if (!pItem)
    return false;
  pItem->m_pParent = nullptr;
  m_items.RemoveAt(nIndex);
  return true;
}

void COutline::LoadCount(const CObjectPtr& object)
{
  const CObjectPtr count = object["Count"];
  if (!count.IsInteger() && object["First"] && BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF Outlines", "Outline has an invalid count.");
  m_nCount = count.GetIntegerValue();
  m_bOpen = m_nCount > 0;
}

bool COutline::Load(const CObjectPtr& object)
{
  while (RemoveItem(GetItemCount() - 1))
    continue;
  if (!object.IsDictionary())
    return false;
  m_object = object;
  LoadCount(object);
  CNumberSet visited;
  visited.Add(object.GetObjNumber());
  BSE::CPtrArray<COutline> pending;
  pending.Add(this);
  while (!pending.IsEmpty())
  {
    COutline* pOutline = pending[pending.GetSize() - 1];
    pending.Truncate(pending.GetSize() - 1);
    pOutline->LoadChildren(visited);
    for (int i = 0; i < pOutline->GetItemCount(); ++i)
      pending.Add(pOutline->GetItem(i));
  }
  return true;
}

void COutline::LoadChildren(CNumberSet& visited)
{
  // Without a count there may be children all the same; with a count of 0 there are none.
  if (m_nCount == 0 && m_object["Count"].IsInteger())
    return;
  for (CObjectPtr child = m_object["First"]; child.IsDictionary(); child = child["Next"])
  {
    if (child.IsIndirect() && !visited.Add(child.GetObjNumber()))
    {
      if (BSE::CTracer::IsOn())
        BSE::CTracer::Trace("E", "PDF Outlines", "Loop detected for object %d", child.GetObjNumber());
      return;
    }
    const BSE::CObjectPtr<COutlineItem> pItem(new COutlineItem(child.Get()));
    if (!AddItem(pItem.Get()))
      return;
    pItem->LoadEntries();
  }
}

bool COutline::Save(CFile& file)
{
  // Parents come before their children.
  BSE::CPtrArray<COutline> nodes;
  nodes.Add(this);
  for (int i = 0; i < nodes.GetSize(); ++i)
  {
    COutline* pNode = nodes[i];
    pNode->m_object = file.NewObject(0, 0, 0);
    if (!pNode->m_object)
      return false;
    for (int nItem = 0; nItem < pNode->GetItemCount(); ++nItem)
      nodes.Add(pNode->GetItem(nItem));
  }
  for (int i = nodes.GetSize() - 1; i >= 0; --i)
  {
    COutline* pNode = nodes[i];
    std::int64_t nShown = pNode->GetItemCount();
    for (int nItem = 0; nItem < pNode->GetItemCount(); ++nItem)
      nShown += std::max<std::int64_t>(pNode->GetItem(nItem)->m_nCount, 0);
    pNode->m_nCount = pNode->IsShown() ? nShown : -nShown;
    const CObjectPtr dictionary(new CDictionaryObject);
    pNode->SaveEntries(*dictionary);
    pNode->SaveLinks(dictionary);
    pNode->m_object->SetValueObject(dictionary.Get());
  }
  // The links between siblings are known to their parent.
  for (COutline* pNode : nodes.GetSpan())
    for (int nItem = 0; nItem < pNode->GetItemCount(); ++nItem)
    {
      const CObjectPtr& item = pNode->GetItem(nItem)->m_object;
      item.AddEntry("Parent", pNode->m_object);
      if (nItem > 0)
        item.AddEntry("Prev", pNode->GetItem(nItem - 1)->m_object);
      if (nItem + 1 < pNode->GetItemCount())
        item.AddEntry("Next", pNode->GetItem(nItem + 1)->m_object);
    }
  return true;
}

void COutline::SaveLinks(const CObjectPtr& dictionary) const
{
  if (m_items.IsEmpty())
    return;
  dictionary.AddEntry("First", m_items[0]->m_object);
  dictionary.AddEntry("Last", m_items[m_items.GetSize() - 1]->m_object);
  dictionary.AddEntry("Count", new CIntegerObject(m_nCount));
}

bool COutlineItem::Load(const CObjectPtr& object)
{
  if (!COutline::Load(object))
    return false;
  LoadEntries();
  return true;
}

void COutlineItem::LoadEntries()
{
  LoadCount(m_object);
  m_title = CTextString(m_object["Title"].GetStringValue());
  m_dest = m_object["Dest"];
  m_action = m_object["A"];
  m_nStyle = BSE::ClampTo<int>(GetIntegerOr(m_object["F"], 0));
  m_color = m_object["C"];
}

void COutlineItem::SaveEntries(PDF::CObject& dictionary) const
{
  dictionary.AddEntry("Title", new CStringObject(m_title));
  if (m_dest)
    dictionary.AddEntry("Dest", m_dest.Get());
  if (m_action)
    dictionary.AddEntry("A", m_action.Get());
  if (m_nStyle != 0)
    dictionary.AddEntry("F", new CIntegerObject(m_nStyle));
  if (m_color)
    dictionary.AddEntry("C", m_color.Get());
}

}  // namespace PDF
