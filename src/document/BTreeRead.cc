#include "base/Checked.h"
#include "base/Limits.h"
#include "document/BTree.h"
#include "pdf/File.h"
#include "pdf/SimpleObjects.h"

namespace PDF
{

// A kid is a node if it has kids, whatever its type says, unless it shows itself to be a page.
bool CBTree::IsNode(const CObjectPtr& kid)
{
  const CObjectPtr type = kid["Type"];
  if (kid["Kids"].IsArray())
    return !type.IsName("Page") || kid["Count"].IsInteger();
  return type.IsName("Pages") && kid["Contents"].IsNull() && kid["MediaBox"].IsNull();
}

int CBTree::GetClaimedCount(const CObjectPtr& node)
{
  const CObjectPtr count = node["Count"];
  int nCount = -1;
  if (!count.IsInteger() || !BSE::CheckedNarrow(count.GetIntegerValue(), nCount))
    return -1;
  return nCount;
}

void CBTree::Attach(CFile* pFile, BSE::IErrorContext* pErrorContext, CObject* pRoot)
{
  Reset();
  m_pFile = pFile;
  m_pErrorContext = pErrorContext;
  m_pRoot = pRoot;
}

void CBTree::Reset()
{
  m_walk.RemoveAll();
  m_walkObjects.RemoveAll();
  m_pageNumbers.RemoveAll();
  m_directPages.RemoveAll();
  m_heldNodes.RemoveAll();
  m_treeObjects.RemoveAll();
  m_levels.RemoveAll();
  m_levelPages.RemoveAll();
  m_pRoot.Reset();
  m_pNode.Reset();
  m_pFile = nullptr;
  m_nOldRoot = 0;
  m_nPages = 0;
  m_nLimit = 0;
  m_bLoaded = false;
  m_bCounted = false;
  m_bFailed = false;
}

int CBTree::GetPageCount()
{
  if (m_bCounted)
    return m_nPages;
  Load();
  return m_pageNumbers.GetSize();
}

CPage CBTree::GetPage(int nIndex)
{
  CObjectPtr page;
  if (nIndex >= 0 && m_pFile)
  {
    if (!m_bLoaded)
      page = Search(nIndex + 1);
    if (!page)
    {
      Load();
      page = PageAt(nIndex);
    }
  }
  if (!page)
    BSE::ReportError(m_pErrorContext, BSE::MakeError(g_nPageMissing, "Page", nIndex + 1));
  else
    HoldAncestors(page);
  return page;
}

CObjectPtr CBTree::PageAt(int nIndex) const
{
  if (nIndex >= m_pageNumbers.GetSize())
    return {};
  const int nNumber = m_pageNumbers[nIndex];
  return nNumber < 0 ? CObjectPtr(m_directPages[-1 - nNumber]) : m_pFile->GetXRef().GetObject(nNumber, -1);
}

void CBTree::Load()
{
  if (m_bLoaded || !m_pFile)
    return;
  WriteCounts();
  m_pageNumbers.RemoveAll();
  m_directPages.RemoveAll();
  Walk(0);
  if (m_pageNumbers.IsEmpty() && GetClaimedCount(m_pRoot) != 0)
    LoadStrayPages();
  m_bLoaded = true;
  if (m_pageNumbers.IsEmpty())
    BSE::ReportError(m_pErrorContext, g_nNoPages);
}

CObjectPtr CBTree::Search(int nPage)
{
  WriteCounts();
  CObjectPtr page = Walk(nPage);
  m_treeObjects.RemoveAll();
  return page;
}

CObjectPtr CBTree::Walk(int nSearch)
{
  m_nSearch = nSearch;
  m_nWalked = 0;
  m_treeObjects.RemoveAll();
  CObjectPtr found;
  if (m_pRoot.IsDictionary() && !IsNode(m_pRoot) && m_pRoot["Type"].IsName("Page"))
  {
    found = WalkKid({}, m_pRoot);
  }
  else
  {
    if (m_pRoot.IsDictionary() && !m_pRoot["Type"].IsName("Pages"))
      Report(m_pRoot, g_nPageTypeInvalid);
    if (!m_pRoot.IsStream())
      m_treeObjects.Add(m_pRoot.GetObjNumber());
    EnterNode(m_pRoot);
  }
  while (!found && !m_walk.IsEmpty())
  {
    TStep& step = m_walk[m_walk.GetSize() - 1];
    if (step.m_nNextKid < step.m_nKids)
      found = WalkKid(step.m_pNode, step.m_pKids->GetElement(step.m_nNextKid++));
    else
      LeaveNode();
  }
  m_walk.RemoveAll();
  m_walkObjects.RemoveAll();
  return found;
}

// Returns the kid if it is the page searched.
CObjectPtr CBTree::WalkKid(const CObjectPtr& node, const CObjectPtr& kid)
{
  if (!kid.IsDictionary())
  {
    Report(node, g_nPageMissing);
    return {};
  }
  const bool bNode = IsNode(kid);
  if (!kid["Type"].IsName(bNode ? "Pages" : "Page"))
    Report(kid, g_nPageTypeInvalid);
  if (!bNode)
  {
    CheckParent(node, kid);
    ++m_nWalked;
    if (m_nSearch == 0)
      AddFoundPage(kid);
    else if (m_nWalked == m_nSearch)
      return kid;
    kid->Unload();
    return {};
  }
  const bool bFirstTime = !kid.IsIndirect() || m_treeObjects.Add(kid.GetObjNumber());
  if (!bFirstTime || m_walk.GetSize() >= BSE::g_nMaxTreeDepth)
  {
    Report(node, g_nPageKidsInvalid);
    return {};
  }
  CheckParent(node, kid);
  if (IsOutside(kid))
    m_nWalked += GetClaimedCount(kid);
  else
    EnterNode(kid);
  return {};
}

bool CBTree::IsOutside(const CObjectPtr& node) const
{
  const int nCount = GetClaimedCount(node);
  return m_nSearch > 0 && nCount >= 0 && nCount < m_nSearch - m_nWalked;
}

void CBTree::EnterNode(const CObjectPtr& node)
{
  const CObjectPtr kids = node["Kids"];
  if (!kids.IsArray())
  {
    Report(node, g_nPageKidsInvalid);
    return;
  }
  m_walkObjects.Add(node.Get());
  m_walkObjects.Add(kids.Get());
  m_walk.Add({node.Get(), kids.Get(), 0, kids.GetSize(), m_nWalked});
}

void CBTree::LeaveNode()
{
  const int nTop = m_walk.GetSize() - 1;
  const CObjectPtr node(m_walk[nTop].m_pNode);
  const int nPages = m_nWalked - m_walk[nTop].m_nFirstPage;
  m_walk.SetSize(nTop);
  m_walkObjects.SetSize(2 * nTop);
  if (m_nSearch == 0 && GetClaimedCount(node) != nPages)
  {
    Report(node, g_nPageCountInvalid);
    if (m_pFile->IsWritable())
    {
      node.AddEntry("Count", new CIntegerObject(nPages));
      node->SetDirty(true);
    }
  }
  node->Unload();
}

void CBTree::CheckParent(const CObjectPtr& node, const CObjectPtr& kid)
{
  if (!node)
    return;
  const CObjectPtr parent = kid["Parent"];
  if (parent == node)
    return;
  if (!parent.IsDictionary())
    Report(kid, g_nPageParentInvalid);
  if (!m_pFile->IsWritable() || !node.IsIndirect())
    return;
  if (m_nOldRoot > 0 && kid.GetObjNumber() == m_nOldRoot)
    kid.DeleteEntry("Parent");
  kid.AddEntry("Parent", node);
  kid->SetDirty(true);
}

void CBTree::AddFoundPage(const CObjectPtr& page)
{
  if (page.IsIndirect())
  {
    // A stream in the place of a page, or of the root, may be needed as what it is, too.
    if (!page.IsStream())
      m_treeObjects.Add(page.GetObjNumber());
    m_pageNumbers.Add(page.GetObjNumber());
    return;
  }
  m_pageNumbers.Add(-1 - m_directPages.GetSize());
  m_directPages.Add(page.Get());
}

void CBTree::LoadStrayPages()
{
  CXRefTable& xref = m_pFile->GetXRef();
  for (int i = xref.GetNextNumber(0); i < xref.GetSize(); i = xref.GetNextNumber(i))
  {
    if (xref.GetEntry(i).m_nType == eXRefFree)
      continue;
    {
      const CObjectPtr object = xref.GetObject(i, -1);
      if (object.IsDictionary() && object["Type"].IsName("Page"))
        AddFoundPage(object);
    }
    xref.ReleaseObject(i);
  }
}

// Pages share their ancestors, which would otherwise be read again for every value that a page inherits.
void CBTree::HoldAncestors(const CObjectPtr& page)
{
  CObjectPtr node = page["Parent"];
  if (!m_heldNodes.IsEmpty() && node == m_heldNodes[0])
    return;
  const BSE::CObjectArray<CObject> former = std::move(m_heldNodes);
  while (node.IsDictionary() && m_heldNodes.GetSize() < BSE::g_nMaxTreeDepth)
  {
    m_heldNodes.Add(node.Get());
    if (node == m_pRoot)
      break;
    node = node["Parent"];
  }
}

void CBTree::Report(const CObjectPtr& object, unsigned nCode)
{
  if (m_nSearch == 0)
    BSE::ReportError(object.IsIndirect() ? object.Get() : m_pErrorContext, nCode);
}

}  // namespace PDF
