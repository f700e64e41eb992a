// Pages arrive in order, so the tree grows like a counter: a node takes twenty kids, is then written and
// forgotten, and becomes a kid of the open node one level up. At most one node of each level is in memory.
// Only at the end is it known which node is the root.

#include "document/BTree.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/File.h"
#include "pdf/SimpleObjects.h"

namespace PDF
{

void CBTree::Create(CFile* pFile, BSE::IErrorContext* pErrorContext)
{
  Attach(pFile, pErrorContext, nullptr);
  m_bCounted = true;
  AddLevel();
}

CObjectPtr CBTree::NewNode()
{
  const CObjectPtr dictionary(new CDictionaryObject);
  dictionary.AddEntry("Type", new CNameObject("Pages"));
  dictionary.AddEntry("Kids", new CArrayObject);
  dictionary.AddEntry("Count", new CIntegerObject(0));
  CObjectPtr node = m_pFile->NewObject(0, 0, 0);
  node->SetValueObject(dictionary.Get());
  return node;
}

CObjectPtr CBTree::EditKids(const CObjectPtr& node)
{
  CObjectPtr kids = node["Kids"];
  node->SetDirty(true);
  if (kids)
    kids->SetDirty(true);
  return kids;
}

CObjectPtr CBTree::NewPage(int nGroup)
{
  CObjectPtr page = m_pFile ? m_pFile->NewObject(0, 0, nGroup) : CObjectPtr();
  if (page)
    InitPage(*page);
  return page;
}

void CBTree::InitPage(CObject& page)
{
  const CObjectPtr dictionary(new CDictionaryObject);
  dictionary.AddEntry("Type", new CNameObject("Page"));
  if (m_pFile->GetConformance().GetLevel() == 3 && m_pFile->IsVersionAtLeast(1, 5))
    dictionary.AddEntry("Tabs", new CNameObject("S"));
  page.SetValueObject(dictionary.Get());
}

int CBTree::AddPage(CObject* pPage)
{
  const CObjectPtr page(pPage);
  if (!m_pFile || !m_pFile->IsWritable() || !page.IsIndirect() || !page.IsDictionary())
    return 0;
  if (m_levels.IsEmpty())
    OpenForAppending();
  if (m_nPages >= m_nLimit)
    OpenLevel(0);
  page.AddEntry("Parent", m_pNode);
  page->SetDirty(true);
  EditKids(m_pNode).Add(page);
  for (int& nPages : m_levelPages.GetSpan())
    ++nPages;
  m_bLoaded = false;
  return ++m_nPages;
}

// Makes room for one more kid in the open node of that level. A full node gives way to a new sibling; it is
// complete then, and its parent is known.
void CBTree::OpenLevel(int nLevel)
{
  if (nLevel == m_levels.GetSize())
  {
    AddLevel();
    return;
  }
  const int nKids = CObjectPtr(m_levels[nLevel])["Kids"].GetSize();
  if (nKids >= g_nMaxKids)
  {
    OpenLevel(nLevel + 1);
    FlushLevel(nLevel);
    const CObjectPtr node = NewNode();
    const CObjectPtr parent(m_levels[nLevel + 1]);
    node.AddEntry("Parent", parent);
    EditKids(parent).Add(node);
    m_levels.SetAt(nLevel, node.Get());
    m_levelPages[nLevel] = 0;
  }
  if (nLevel > 0)
    return;
  m_pNode = m_levels[0];
  m_nLimit = m_nPages + g_nMaxKids - m_pNode["Kids"].GetSize();
}

void CBTree::AddLevel()
{
  const CObjectPtr node = NewNode();
  const int nBelow = m_levels.GetSize() - 1;
  if (nBelow >= 0)
  {
    const CObjectPtr below(m_levels[nBelow]);
    m_nOldRoot = below.GetObjNumber();
    node["Kids"].Add(below);
    below.AddEntry("Parent", node);
    below->SetDirty(true);
  }
  m_levels.Add(node.Get());
  m_levelPages.Add(m_levelPages[nBelow]);
  m_pRoot = node;
  if (nBelow >= 0)
    return;
  m_pNode = node;
  m_nLimit = m_nPages + g_nMaxKids;
}

bool CBTree::FlushLevel(int nLevel)
{
  const CObjectPtr node(m_levels[nLevel]);
  node.AddEntry("Count", new CIntegerObject(m_levelPages[nLevel]));
  const bool bWritten = node->Flush(true);
  m_bFailed |= !bWritten;
  return bWritten;
}

void CBTree::WriteCounts()
{
  for (int i = 0; i < m_levels.GetSize(); ++i)
  {
    const CObjectPtr node(m_levels[i]);
    if (GetClaimedCount(node) == m_levelPages[i])
      continue;
    node.AddEntry("Count", new CIntegerObject(m_levelPages[i]));
    node->SetDirty(true);
  }
}

bool CBTree::Close()
{
  WriteCounts();
  for (int i = 0; i < m_levels.GetSize(); ++i)
    FlushLevel(i);
  m_levels.RemoveAll();
  m_levelPages.RemoveAll();
  m_pNode.Reset();
  m_nLimit = 0;
  return !m_bFailed;
}

// Takes up the nodes at the end of a tree that exists.
void CBTree::OpenForAppending()
{
  m_nPages = GetPageCount();
  m_bCounted = true;
  if (!m_pRoot.IsDictionary() || !IsNode(m_pRoot) || !m_pRoot["Kids"].IsArray())
  {
    m_nPages = 0;
    AddLevel();
    return;
  }
  BSE::CObjectArray<CObject> path;
  CNumberSet visited;
  CObjectPtr node = m_pRoot;
  while (node.IsIndirect() && visited.Add(node.GetObjNumber()))
  {
    path.Add(node.Get());
    const CObjectPtr kids = node["Kids"];
    const CObjectPtr last = kids[kids.GetSize() - 1];
    node = IsNode(last) && last["Kids"].IsArray() ? last : CObjectPtr();
  }
  for (int i = path.GetSize() - 1; i >= 0; --i)
  {
    m_levels.Add(path[i]);
    m_levelPages.Add(GetClaimedCount(path[i]));
  }
  OpenLevel(0);
}

}  // namespace PDF
