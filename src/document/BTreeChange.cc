#include "document/BTree.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/File.h"
#include "pdf/SimpleObjects.h"

namespace PDF
{

namespace
{

void SetCount(const CObjectPtr& node, int nPages)
{
  node.AddEntry("Count", new CIntegerObject(nPages));
  node->SetDirty(true);
}

int FindKid(const CObjectPtr& kids, const CObjectPtr& kid)
{
  int i = 0;
  while (i < kids.GetSize() && kids[i] != kid)
    ++i;
  return i;
}

}  // namespace

// Brings the counts and parents in order, which the changes rely on.
void CBTree::BeginChange()
{
  WriteCounts();
  m_levels.RemoveAll();
  m_levelPages.RemoveAll();
  m_nPages = GetPageCount();
  m_bCounted = true;
  ForgetPages();
}

CObjectPtr CBTree::GetParentNode(const CObjectPtr& node) const
{
  const CObjectPtr parent = node["Parent"];
  return node != m_pRoot && parent.IsDictionary() ? parent : CObjectPtr();
}

// The node that holds the page, and the page's place in it.
CObjectPtr CBTree::FindNode(int nIndex, int& nKid)
{
  CNumberSet visited;
  for (CObjectPtr node = m_pRoot; !node.IsIndirect() || visited.Add(node.GetObjNumber());)
  {
    const CObjectPtr kids = node["Kids"];
    CObjectPtr next;
    for (nKid = 0; nKid < kids.GetSize() && !next; ++nKid)
    {
      const CObjectPtr kid = kids[nKid];
      if (!kid.IsDictionary())
        continue;
      const int nPages = IsNode(kid) ? std::max(GetClaimedCount(kid), 0) : 1;
      if (nIndex >= nPages)
        nIndex -= nPages;
      else if (!IsNode(kid))
        return node;
      else
        next = kid;
    }
    if (!next)
      return {};
    node = next;
  }
  return {};
}

bool CBTree::InsertPage(int nIndex, CObject* pPage)
{
  const CObjectPtr page(pPage);
  if (!m_pFile || !m_pFile->IsWritable() || !page.IsIndirect() || !page.IsDictionary() || nIndex < 0)
    return false;
  BeginChange();
  if (nIndex >= m_nPages)
    return AddPage(pPage) > 0;
  int nKid = 0;
  const CObjectPtr node = FindNode(nIndex, nKid);
  if (!node.IsIndirect())
    return false;
  EditKids(node)->Insert(nKid, pPage);
  page.AddEntry("Parent", node);
  page->SetDirty(true);
  AdjustCounts(node, 1);
  SplitFullNodes(node);
  ++m_nPages;
  return true;
}

bool CBTree::DeletePage(int nIndex)
{
  if (!m_pFile || !m_pFile->IsWritable())
    return false;
  BeginChange();
  int nKid = 0;
  const CObjectPtr node = nIndex >= 0 && nIndex < m_nPages ? FindNode(nIndex, nKid) : CObjectPtr();
  if (!node)
  {
    BSE::ReportError(m_pErrorContext, BSE::MakeError(g_nPageMissing, "Page", nIndex + 1));
    return false;
  }
  EditKids(node)->Delete(nKid);
  AdjustCounts(node, -1);
  RemoveEmptyNodes(node);
  --m_nPages;
  return true;
}

void CBTree::AdjustCounts(const CObjectPtr& node, int nPages)
{
  CNumberSet visited;
  for (CObjectPtr ancestor = node; ancestor; ancestor = GetParentNode(ancestor))
  {
    if (ancestor.IsIndirect() && !visited.Add(ancestor.GetObjNumber()))
      break;
    SetCount(ancestor, std::max(GetClaimedCount(ancestor), 0) + nPages);
  }
}

void CBTree::RemoveEmptyNodes(CObjectPtr node)
{
  while (node["Kids"].GetSize() == 0)
  {
    const CObjectPtr parent = GetParentNode(node);
    const CObjectPtr kids = parent["Kids"];
    const int nKid = FindKid(kids, node);
    if (nKid >= kids.GetSize())
      return;
    EditKids(parent)->Delete(nKid);
    node = parent;
  }
}

// Splits from the node upwards as long as the parent, too, got one kid more than it may hold.
void CBTree::SplitFullNodes(CObjectPtr node)
{
  while (node && node["Kids"].GetSize() > g_nMaxKids)
  {
    CObjectPtr parent = GetParentNode(node);
    if (!parent)
    {
      parent = NewNode();
      parent["Kids"].Add(node);
      SetCount(parent, std::max(GetClaimedCount(node), 0));
      m_nOldRoot = node.GetObjNumber();
      node.AddEntry("Parent", parent);
      m_pRoot = parent;
    }
    const CObjectPtr sibling = SplitNode(node);
    const CObjectPtr kids = EditKids(parent);
    kids->Insert(std::min(FindKid(kids, node) + 1, kids.GetSize()), sibling.Get());
    sibling.AddEntry("Parent", parent);
    node = parent;
  }
}

// Moves the upper half of the kids to a new node.
CObjectPtr CBTree::SplitNode(const CObjectPtr& node)
{
  CObjectPtr sibling = NewNode();
  const CObjectPtr from = EditKids(node);
  const CObjectPtr to = sibling["Kids"];
  const int nKept = (from.GetSize() + 1) / 2;
  int nMoved = 0;
  for (int i = nKept; i < from.GetSize(); ++i)
  {
    const CObjectPtr kid = from[i];
    to.Add(kid);
    if (!kid.IsDictionary())
      continue;
    nMoved += IsNode(kid) ? std::max(GetClaimedCount(kid), 0) : 1;
    kid.AddEntry("Parent", sibling);
    kid->SetDirty(true);
  }
  from->SetSize(nKept);
  SetCount(node, std::max(GetClaimedCount(node), 0) - nMoved);
  SetCount(sibling, nMoved);
  return sibling;
}

}  // namespace PDF
