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
// twice. A tree that leads to no page although its root does not claim to be empty is replaced by the objects
// of the file that call themselves pages, in the order of their numbers.
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

  // Appends a page and sets its "Parent"; returns the number of pages then, 0 on failure.
  int AddPage(CObject* pPage);

  // Puts a page in front of that index, or at the end. A full node is split.
  bool InsertPage(int nIndex, CObject* pPage);

  // Takes a page out of the tree; nodes that have no kid any more go with it, but for the root.
  bool DeletePage(int nIndex);

private:
  // A node on the way from the root to the place of the walk. References are held by m_walkObjects.
  struct TStep
  {
    CObject* m_pNode;
    CObject* m_pKids;
    int m_nNextKid;
    int m_nKids;
    int m_nFirstPage;  // index of the node's first page
  };

  static bool IsNode(const CObjectPtr& kid);

  // The number of pages that a node claims, -1 where it claims none.
  static int GetClaimedCount(const CObjectPtr& node);

  // The kids of a node, for a change: both will be written.
  static CObjectPtr EditKids(const CObjectPtr& node);

  // Reading
  void Load();
  CObjectPtr Walk(int nSearch);
  CObjectPtr Search(int nPage);
  CObjectPtr WalkKid(const CObjectPtr& node, const CObjectPtr& kid);
  void EnterNode(const CObjectPtr& node);
  void LeaveNode();
  bool IsOutside(const CObjectPtr& node) const;
  void CheckParent(const CObjectPtr& node, const CObjectPtr& kid);
  void AddFoundPage(const CObjectPtr& page);
  void LoadStrayPages();
  CObjectPtr PageAt(int nIndex) const;
  void HoldAncestors(const CObjectPtr& page);
  void Report(const CObjectPtr& object, unsigned nCode);

  // Writing
  CObjectPtr NewNode();
  void OpenLevel(int nLevel);
  void AddLevel();
  bool FlushLevel(int nLevel);
  void WriteCounts();
  void OpenForAppending();

  // Changing
  void BeginChange();
  CObjectPtr FindNode(int nIndex, int& nKid);
  void AdjustCounts(const CObjectPtr& node, int nPages);
  void SplitFullNodes(CObjectPtr node);
  CObjectPtr SplitNode(const CObjectPtr& node);
  void RemoveEmptyNodes(CObjectPtr node);
  CObjectPtr GetParentNode(const CObjectPtr& node) const;

  CFile* m_pFile = nullptr;
  BSE::IErrorContext* m_pErrorContext = nullptr;
  int m_nOldRoot = 0;  // a former root
  int m_nSearch = 0;   // number of the page searched, 1-based; 0 walks all
  CObjectPtr m_pRoot;
  CObjectPtr m_pNode;  // takes the next page
  int m_nPages = 0;
  int m_nLimit = 0;  // page count at which a further node must be opened

  // Reading
  BSE::CBasicArray<TStep> m_walk;
  BSE::CObjectArray<CObject> m_walkObjects;  // node and kids of each step
  BSE::CBasicArray<int> m_pageNumbers;       // object numbers; -1 - n for the direct page n
  BSE::CObjectArray<CObject> m_directPages;
  BSE::CObjectArray<CObject> m_heldNodes;  // ancestors of the page asked for last
  CNumberSet m_treeObjects;
  int m_nWalked = 0;       // pages met by the walk
  bool m_bLoaded = false;  // m_pageNumbers and m_treeObjects stand

  // Writing: the open nodes from the pages upwards, and their page counts.
  BSE::CObjectArray<CObject> m_levels;
  BSE::CBasicArray<int> m_levelPages;
  bool m_bCounted = false;  // m_nPages is kept by the changes made here
  bool m_bFailed = false;
};

}  // namespace PDF
