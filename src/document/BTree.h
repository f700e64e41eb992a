#pragma once

#include "document/NumberSet.h"
#include "document/Page.h"

namespace PDF
{

// Reads and writes a page tree (ISO 32000-1, 7.7.3). Page indices are 0-based.
//
// Reading walks the tree once, without recursion, and keeps 4 bytes a page, so that every later page costs
// the same. The tree is taken as it is met: wrong counts, missing kids, nodes met twice, chains deeper than
// g_nMaxTreeDepth and pages without "Type" are reported and survived. A page that is listed twice counts
// twice. A document whose root is unusable gets the pages that its objects claim to be.
//
// Writing appends pages to nodes of at most 20 kids. A node is written and leaves memory as soon as it is
// full and its parent is known, so that at most one node of each level is held. The tree's root is known for
// good at Close only.
class CBTree
{
public:
  // Kids of a node.
  static constexpr int g_nMaxKids = 20;

  CBTree() = default;
  CBTree(const CBTree&) = delete;
  CBTree& operator=(const CBTree&) = delete;

  // Binds the tree to a file and the node that its catalogue names, for reading, or on a writable file for
  // changing. Nothing is read. A null root is a tree without pages.
  void Attach(CFile* pFile, BSE::IErrorContext* pErrorContext, CObject* pRoot);

  // An empty tree in a file that is written; its first node is made here.
  void Create(CFile* pFile, BSE::IErrorContext* pErrorContext);

  // Writes all counts and nodes; the root object is settled then. False if a node could not be written.
  bool Close();

  // Forgets everything; the file need not live any more after that.
  void Reset();

  // The node that the catalogue has to name.
  const CObjectPtr& GetRoot() const { return m_pRoot; }

  // Number of pages that really are there, from one walk over the tree at the first call.
  int GetPageCount();

  // The page; null, reported with g_nPageMissing, out of range. Before the pages have been counted the search
  // follows the counts of the nodes and descends only where they say that the page is. The nodes above the
  // page stay loaded until another page is asked for.
  CPage GetPage(int nIndex);

  // True for the objects of the tree, pages and nodes, once they have been counted.
  bool IsTreeObject(int nObjNumber) const { return m_treeObjects.Contains(nObjNumber); }

  // A new dictionary of "Type" "Page", with "Tabs" where the file's conformance asks for it, not in the tree.
  CObjectPtr NewPage(int nGroup);

  // Makes an existing object a page: what NewPage sets.
  void InitPage(CObject& page);

  // The node that the next page added will be in: its "Parent" may be written before it is added.
  CObjectPtr PrepareParent();

  // Appends a page and sets its "Parent"; returns the number of pages then, 0 on failure.
  int AddPage(CObject* pPage);

  // Puts a page in front of that index, or at the end. A full node is split.
  bool InsertPage(int nIndex, CObject* pPage);

  // Takes a page out of the tree; nodes that have no kid any more go with it, but for the root.
  bool DeletePage(int nIndex);

private:
  // A node on the way from the root to the place of the walk.
  struct TStep
  {
    CObject* m_pNode;  // a reference is held by m_walkNodes
    int m_nKid;        // next kid
    int m_nKids;
    int m_nFirstPage;  // index of the node's first page
  };

  bool Load();
  bool Walk(CObjectPtr& found);
  void WalkKid(CObject* pNode, const CObjectPtr& kid);
  bool EnterNode(const CObjectPtr& node);
  void LeaveNode();
  bool IsSkipped(const CObjectPtr& node);
  bool CheckNode(const CObjectPtr& node);
  void CheckParent(CObject* pNode, const CObjectPtr& kid);
  void AddFoundPage(const CObjectPtr& page);
  void LoadStrayPages();
  CObjectPtr PageAt(int nIndex) const;
  void HoldAncestors(const CObjectPtr& page);
  void Report(const CObjectPtr& object, unsigned nCode);

  CObjectPtr NewNode();
  bool FlushNode(int nLevel);
  bool OpenNode(int nLevel);
  void OpenForAppending();
  bool IsFull(int nLevel) const;
  CObjectPtr FindNode(int nIndex, int& nKid);
  bool InsertKid(CObjectPtr node, int nKid, CObjectPtr kid, int nPages);
  CObjectPtr SplitNode(const CObjectPtr& node);
  void AdjustCounts(CObjectPtr node, int nPages);
  void ForgetPages();

  CFile* m_pFile = nullptr;
  BSE::IErrorContext* m_pErrorContext = nullptr;
  int m_nOldRoot = 0;  // a former root, whose number kids must not name as parent
  int m_nSearch = 0;   // page number searched, 1-based; 0 walks all
  CObjectPtr m_pRoot;
  CObjectPtr m_pNode;  // takes the next page
  int m_nPages = 0;
  int m_nLimit = 0;  // page count at which a further node must be opened

  // Reading
  BSE::CBasicArray<TStep> m_walk;
  BSE::CObjectArray<CObject> m_walkNodes;
  BSE::CBasicArray<int> m_pageNumbers;  // object numbers; -1 - n for the direct page n
  BSE::CObjectArray<CObject> m_directPages;
  BSE::CObjectArray<CObject> m_heldNodes;  // ancestors of the page asked for last
  CNumberSet m_treeObjects;
  bool m_bLoaded = false;

  // Writing: open nodes from the pages upwards, and their page counts.
  BSE::CObjectArray<CObject> m_levels;
  BSE::CBasicArray<int> m_levelPages;
};

}  // namespace PDF
