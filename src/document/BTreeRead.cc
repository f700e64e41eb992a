// One walk over the tree gives every page its index. It goes down by "Kids" alone and keeps a stack of its
// own, so that neither depth nor wrong counts matter, and a node that has been entered is not entered again.
// Pages are kept as object numbers. What a page inherits is decided by the nodes that list it, on the way
// down: "Parent" may be missing or lie.

#include "base/Checked.h"
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
  ForgetPages();
  m_levels.RemoveAll();
  m_levelPages.RemoveAll();
  m_pRoot.Reset();
  m_pNode.Reset();
  m_pFile = nullptr;
  m_nOldRoot = 0;
  m_nPages = 0;
  m_nLimit = 0;
  m_bCounted = false;
  m_bFailed = false;
}

void CBTree::ForgetPages()
{
  m_pages.RemoveAll();
  m_nodes.RemoveAll();
  m_nodeIndices.RemoveAll();
  m_directObjects.RemoveAll();
  for (int i = 0; i < g_nInheritedKeys; ++i)
  {
    m_heldNodes[i].Reset();
    m_nHeldNodes[i] = -1;
  }
  m_present.RemoveAll();
  m_treeObjects.RemoveAll();
  m_pageNumbers.RemoveAll();
  m_repeated.RemoveAll();
  m_openNodes.RemoveAll();
  m_kidArrays.RemoveAll();
  m_remarks.RemoveAll();
  m_losses.RemoveAll();
  m_bLoaded = false;
}

int CBTree::GetPageCount()
{
  if (m_bCounted)
    return m_nPages;
  Load();
  return m_pages.GetSize();
}

CPage CBTree::GetPage(int nIndex)
{
  CPage page;
  if (nIndex >= 0 && m_pFile)
  {
    if (!m_bLoaded)
      // A single page before the first count: the counts of the nodes lead to it without a walk over all.
      page = Search(nIndex + 1);
    if (!page)
    {
      Load();
      if (nIndex < m_pages.GetSize())
        page = MakePage(ObjectOf(m_pages[nIndex].m_nNumber), m_pages[nIndex].m_nNode);
    }
  }
  if (!page)
    BSE::ReportError(m_pErrorContext, BSE::MakeError(g_nPageMissing, "Page", nIndex + 1));
  return page;
}

CObjectPtr CBTree::ObjectOf(int nNumber) const
{
  return nNumber < 0 ? CObjectPtr(m_directObjects[-1 - nNumber]) : m_pFile->GetXRef().GetObject(nNumber, -1);
}

void CBTree::Load()
{
  if (m_bLoaded || !m_pFile)
    return;
  WriteCounts();
  Walk(0);
  if (m_pages.IsEmpty() && GetClaimedCount(m_pRoot) != 0)
    LoadStrayPages();
  m_bLoaded = true;
  if (m_pages.IsEmpty())
    BSE::ReportError(m_pErrorContext, g_nNoPages);
}

CPage CBTree::Search(int nPage)
{
  WriteCounts();
  const CObjectPtr found = Walk(nPage);
  CPage page = found ? MakePage(found, m_nodes.GetSize() - 1) : CPage();
  ForgetPages();
  return page;
}

CObjectPtr CBTree::Walk(int nSearch)
{
  ForgetPages();
  m_nSearch = nSearch;
  m_nWalked = 0;
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
      found = WalkKid(CObjectPtr(step.m_pNode), step.m_pKids->GetElement(step.m_nNextKid++));
    else
      LeaveNode();
  }
  // A search goes on with the nodes above the page that it has found.
  while (found && m_nodes.GetSize() > 0 && m_nodes.GetSize() - 1 != GetWalkedNode())
    m_nodes.SetSize(m_nodes.GetSize() - 1);
  m_walk.RemoveAll();
  m_walkObjects.RemoveAll();
  m_openNodes.RemoveAll();
  return found;
}

// Returns the kid if it is the page searched.
CObjectPtr CBTree::WalkKid(const CObjectPtr& node, const CObjectPtr& kid)
{
  // A page that is listed again is what it was, and is not loaded for that.
  if (m_nSearch == 0 && m_pageNumbers.Contains(kid.GetObjNumber()))
  {
    m_repeated.Add(kid.GetObjNumber());
    AddListing(kid.GetObjNumber(), GetWalkedNode(), true);
    ++m_nWalked;
    return {};
  }
  if (!kid.IsDictionary())
  {
    Report(node, g_nPageMissing);
    if (kid)
      AddLoss(kid, g_nPageMissing, 1);
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
      AddFoundPage(kid, GetWalkedNode());
    else if (m_nWalked == m_nSearch)
      return kid;
    kid->Unload();
    return {};
  }
  if (kid.IsIndirect() && !m_treeObjects.Add(kid.GetObjNumber()))
  {
    Report(node, g_nPageKidsInvalid);
    // A loop has no end, and so no pages that could be missed.
    if (!m_openNodes.Contains(kid.GetObjNumber()))
      AddLoss(kid, g_nPageKidsInvalid, GetClaimedCount(kid));
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
  // Nodes that share their kids would list them as often as there are nodes.
  if (!kids.IsArray() || (kids.IsIndirect() && !m_kidArrays.Add(kids.GetObjNumber())))
  {
    Report(node, g_nPageKidsInvalid);
    if (node && GetClaimedCount(node) != 0)
      AddLoss(kids.IsIndirect() && !kids.IsArray() ? kids : node, g_nPageKidsInvalid, GetClaimedCount(node));
    return;
  }
  CheckDamage(node, kids);
  m_walkObjects.Add(node.Get());
  m_walkObjects.Add(kids.Get());
  const int nNode = AddNode(node, GetWalkedNode());
  m_openNodes.Add(node.GetObjNumber());
  m_walk.Add({node.Get(), kids.Get(), 0, kids.GetSize(), m_nWalked, nNode});
}

// What a node lacks is never copied, so that it has to be noted here.
void CBTree::CheckDamage(const CObjectPtr& node, const CObjectPtr& kids)
{
  for (const CObjectPtr& object : {node, kids})
    if (const unsigned nCode = object.IsIndirect() ? m_pFile->GetDamage(object.GetObjNumber()) : 0U)
      AddLoss(object, nCode, -1);
}

int CBTree::AddNode(const CObjectPtr& node, int nParent)
{
  TNode entry = {node.GetObjNumber(), {}, 0};
  if (!node.IsIndirect())
  {
    entry.m_nNumber = -1 - m_directObjects.GetSize();
    m_directObjects.Add(node.Get());
  }
  const int nIndex = m_nodes.GetSize();
  for (int i = 0; i < g_nInheritedKeys; ++i)
  {
    const int nAbove = nParent < 0 ? -1 : m_nodes[nParent].m_nHolders[i];
    entry.m_nHolders[i] = HasOwn(node, g_inheritedKeys[i]) ? nIndex : nAbove;
  }
  return m_nodes.Add(entry);
}

bool CBTree::HasOwn(const CObjectPtr& object, const char* szKey)
{
  const CObjectPtr value = object[szKey];
  if (!value.IsIndirect())
    return static_cast<bool>(value);
  if (m_present.Contains(value.GetObjNumber()))
    return true;
  if (IsAbsent(value))
    return false;
  m_present.Add(value.GetObjNumber());
  return true;
}

void CBTree::LeaveNode()
{
  const int nTop = m_walk.GetSize() - 1;
  const CObjectPtr node(m_walk[nTop].m_pNode);
  const int nPages = m_nWalked - m_walk[nTop].m_nFirstPage;
  m_walk.SetSize(nTop);
  m_walkObjects.SetSize(2 * nTop);
  m_openNodes.Remove(node.GetObjNumber());
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

void CBTree::AddFoundPage(const CObjectPtr& page, int nNode)
{
  const bool bInherits = !page["Resources"];
  if (!page.IsIndirect())
  {
    AddListing(-1 - m_directObjects.GetSize(), nNode, bInherits);
    m_directObjects.Add(page.Get());
    return;
  }
  // A stream in the place of a page, or of the root, may be needed as what it is, too.
  if (!page.IsStream())
  {
    m_treeObjects.Add(page.GetObjNumber());
    m_pageNumbers.Add(page.GetObjNumber());
  }
  AddListing(page.GetObjNumber(), nNode, bInherits);
}

void CBTree::AddListing(int nNumber, int nNode, bool bInherits)
{
  const int nHolder = nNode < 0 ? -1 : m_nodes[nNode].m_nHolders[GetInheritedKey("Resources")];
  if (nHolder >= 0 && bInherits)
    ++m_nodes[nHolder].m_nInheriting;
  m_pages.Add({nNumber, nNode});
}

int CBTree::GetRepeatedNumber(int nIndex) const
{
  const int nNumber = m_pages[nIndex].m_nNumber;
  return m_repeated.Contains(nNumber) ? nNumber : 0;
}

TInheritedValue CBTree::GetInherited(int nIndex, int nKey)
{
  const int nNode = nIndex >= 0 && nIndex < m_pages.GetSize() ? m_pages[nIndex].m_nNode : -1;
  const int nHolder = nNode < 0 ? -1 : m_nodes[nNode].m_nHolders[nKey];
  if (nHolder < 0)
    return {};
  return {HoldNode(nHolder, nKey)[g_inheritedKeys[nKey]], nHolder};
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
        AddFoundPage(object, FindParentNode(object));
    }
    xref.ReleaseObject(i);
  }
}

// The node that a page names as its parent, entered with those above it that are not known yet; -1 for none.
int CBTree::FindParentNode(const CObjectPtr& page)
{
  BSE::CBasicArray<int> path;
  int nNode = -1;
  m_openNodes.RemoveAll();
  for (CObjectPtr node = page["Parent"]; node.IsIndirect() && node.IsDictionary(); node = node["Parent"])
  {
    const int nNumber = node.GetObjNumber();
    nNode = m_nodeIndices[nNumber] - 1;
    if (nNode >= 0 || !m_openNodes.Add(nNumber))
      break;
    path.Add(nNumber);
  }
  for (int i = path.GetSize() - 1; i >= 0; --i)
  {
    nNode = AddNode(ObjectOf(path[i]), nNode);
    m_nodeIndices.Provide(path[i]) = nNode + 1;
  }
  return nNode;
}

CPage CBTree::MakePage(const CObjectPtr& page, int nNode)
{
  TInheritedValue inherited[g_nInheritedKeys];
  for (int i = 0; i < g_nInheritedKeys; ++i)
  {
    const int nHolder = nNode < 0 ? -1 : m_nodes[nNode].m_nHolders[i];
    if (nHolder < 0 || HasOwn(page, g_inheritedKeys[i]))
      continue;
    inherited[i].m_value = HoldNode(nHolder, i)[g_inheritedKeys[i]];
    inherited[i].m_nHolder = nHolder;
  }
  return {page, inherited};
}

// Pages share their nodes, which would otherwise be read again for every value that a page inherits.
const CObjectPtr& CBTree::HoldNode(int nNode, int nKey)
{
  if (m_nHeldNodes[nKey] != nNode)
  {
    m_heldNodes[nKey] = ObjectOf(m_nodes[nNode].m_nNumber);
    m_nHeldNodes[nKey] = nNode;
  }
  return m_heldNodes[nKey];
}

void CBTree::Report(const CObjectPtr& object, unsigned nCode)
{
  if (m_nSearch != 0)
    return;
  m_remarks.Add({object.GetObjNumber(), nCode, 0, 0});
  ReportFinding(m_remarks[m_remarks.GetSize() - 1], false);
}

void CBTree::AddLoss(const CObjectPtr& object, unsigned nCode, int nPages)
{
  if (m_nSearch != 0)
    return;
  const int nNumber = object.GetObjNumber();
  const unsigned nDamage = nNumber > 0 ? m_pFile->GetDamage(nNumber) : 0U;
  m_losses.Add({nNumber, nDamage != 0 ? nDamage : nCode, m_nWalked + 1, nPages});
}

void CBTree::ReportFinding(const TFinding& finding, bool bLoss)
{
  BSE::CScopedPtr<BSE::IError> pError = BSE::MakeError(finding.m_nCode);
  BSE::CErrorProperties* pProperties = pError->GetProperties();
  if (finding.m_nNumber > 0)
    pProperties->Set("Object No.", finding.m_nNumber);
  if (bLoss)
    pProperties->Set("Page No.", finding.m_nPage);
  if (bLoss && finding.m_nPages > 1)
    pProperties->Set("Pages", finding.m_nPages);
  if (bLoss)
    BSE::ReportLoss(m_pErrorContext, std::move(pError));
  else
    BSE::ReportError(m_pErrorContext, std::move(pError));
}

void CBTree::RepeatReports()
{
  for (const TFinding& remark : m_remarks.GetSpan())
    ReportFinding(remark, false);
}

bool CBTree::ReportLosses()
{
  Load();
  for (const TFinding& loss : m_losses.GetSpan())
    ReportFinding(loss, true);
  return m_losses.IsEmpty();
}

bool CBTree::IsReallyEmpty()
{
  Load();
  return m_pages.IsEmpty() && m_losses.IsEmpty() && m_pRoot["Kids"].IsArray();
}

}  // namespace PDF
