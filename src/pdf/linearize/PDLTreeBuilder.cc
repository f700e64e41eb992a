#include "pdf/linearize/PDLPageTree.h"

#include <algorithm>

// Builds the page tree anew. Readers find a page by its number through the counts of nodes, and have to read
// each page in front of it in its own node: pages are far apart in a linearized file, nodes are not.

namespace
{

constexpr int g_nLeafKids = 8;
constexpr int g_nNodeKids = 32;

constexpr int DivideUp(int nCount, int nPart)
{
  return (nCount + nPart - 1) / nPart;
}

}  // namespace

bool PDLPageTree::Rebuild(const PDFile& file)
{
  if (m_bForeignEntries)
    return false;
  const int nPages = m_pages.GetSize();
  const int nRoot = m_nodes[0].m_nObject;
  m_nodes.RemoveAll();
  BSE::CBasicArray<int> starts;
  AddLevels(starts);
  for (int i = 0; i < (starts.IsEmpty() ? 1 : starts[0]); ++i)
    m_nodes.Add({i == 0 ? nRoot : file.GetCount() + i - 1, -1});
  AddKidPage(0, 0);
  if (nPages > 2)
    AddKid(0, 1);
  if (nPages > 1)
    AddKidPage(0, nPages - 1);
  m_nodes[0].m_nPageCount = nPages;
  // From the node that all others are below down to the leaves.
  for (auto nLevel = static_cast<std::size_t>(std::max(starts.GetSize() - 1, 0)); nLevel-- > 0;)
  {
    for (int nNode = starts[static_cast<int>(nLevel) + 1]; nNode < starts[static_cast<int>(nLevel)]; ++nNode)
      FillNode(nNode, starts.GetSpan(), nLevel);
  }
  return true;
}

// Where the nodes of each level end, the leaves first, and in the end where those of the highest begin.
void PDLPageTree::AddLevels(BSE::CBasicArray<int>& starts) const
{
  if (m_pages.GetSize() < 3)
    return;
  BSE::CBasicArray<int> counts;
  for (int nCount = DivideUp(m_pages.GetSize() - 2, g_nLeafKids);; nCount = DivideUp(nCount, g_nNodeKids))
  {
    counts.Add(nCount);
    if (nCount == 1)
      break;
  }
  starts.SetSize(counts.GetSize() + 1);
  starts[counts.GetSize()] = 1;
  for (int i = counts.GetSize(); i-- > 0;)
    starts[i] = starts[i + 1] + counts[i];
}

void PDLPageTree::FillNode(int nNode, std::span<const int> starts, std::size_t nLevel)
{
  const int nIndex = nNode - starts[nLevel + 1];
  if (nLevel == 0)
  {
    const int nEnd = std::min(1 + (nIndex + 1) * g_nLeafKids, m_pages.GetSize() - 1);
    for (int nPage = 1 + nIndex * g_nLeafKids; nPage < nEnd; ++nPage)
      AddKidPage(nNode, nPage);
    m_nodes[nNode].m_nPageCount = m_nodes[nNode].m_nKidCount;
    return;
  }
  const int nEnd = std::min(starts[nLevel] + (nIndex + 1) * g_nNodeKids, starts[nLevel - 1]);
  for (int nKid = starts[nLevel] + nIndex * g_nNodeKids; nKid < nEnd; ++nKid)
    AddKid(nNode, nKid);
  int nPages = g_nLeafKids;
  for (std::size_t i = 0; i < nLevel; ++i)
    nPages *= g_nNodeKids;
  m_nodes[nNode].m_nPageCount = std::min(nPages, m_pages.GetSize() - 2 - nIndex * nPages);
}

void PDLPageTree::AddKid(int nNode, int nKid)
{
  TPDTreeNode& node = m_nodes[nNode];
  const int nPlace = m_kids.Add(m_nodes[nKid].m_nObject);
  if (node.m_nKidCount++ == 0)
    node.m_nFirstKid = nPlace;
  m_nodes[nKid].m_nParent = node.m_nObject;
}

void PDLPageTree::AddKidPage(int nNode, int nPage)
{
  TPDTreeNode& node = m_nodes[nNode];
  const int nPlace = m_kids.Add(m_pages[nPage].m_nObject);
  if (node.m_nKidCount++ == 0)
    node.m_nFirstKid = nPlace;
  m_pages[nPage].m_nParent = node.m_nObject;
}

std::span<const int> PDLPageTree::GetKids(const TPDTreeNode& node) const
{
  return m_kids.GetSpan().subspan(static_cast<std::size_t>(node.m_nFirstKid),
                                  static_cast<std::size_t>(node.m_nKidCount));
}
