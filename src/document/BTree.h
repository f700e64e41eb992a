#pragma once

#include "document/NumberSet.h"
#include "document/Page.h"

namespace PDF
{

// Reads and writes a page tree (ISO 32000-1, 7.7.3). Page indices are 0-based.
//
// Reading walks the tree once, without recursion, and keeps 8 bytes a page and a few for each node, so that
// every later page costs the same, however deep it is. The tree is taken as it is met: wrong counts, missing
// kids, nodes met twice and pages without "Type" are reported and survived. A page belongs to the node that
// lists it, whatever its "Parent" says; one that is listed twice counts twice. A tree that leads to no page
// although its root does not claim to be empty is replaced by the objects of the file that call themselves
// pages, in the order of their numbers, which belong to their parents.
//
// What the walk reports, and what it has lost, is kept: the walk may be made by a query long before the save
// whose result lacks the pages.
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
  bool IsCounted() const { return m_bLoaded; }

  // Reports again what was wrong with the form of the tree when the pages were counted.
  void RepeatReports();

  // Reports as losses what the tree lists, or claims to list, and cannot be read: pages, and whole nodes.
  // True if nothing was lost.
  bool ReportLosses();

  // True for a tree that was read, and that has no page because it is empty.
  bool IsReallyEmpty();

  // The page; null, reported with g_nPageMissing, out of range. Before the pages have been counted the search
  // follows the counts of the nodes and descends only where they say that the page is. The nodes that it
  // inherits from stay loaded until another page is asked for.
  CPage GetPage(int nIndex);

  // The object number of a page that is listed more than once, 0 for others, and what a page has from the
  // nodes above it where it has no value of its own. Known once the pages are counted; no page is loaded.
  int GetRepeatedNumber(int nIndex) const;
  TInheritedValue GetInherited(int nIndex, int nKey);

  // Nodes that hold inherited values are counted from 0.
  int GetNodeCount() const { return m_nodes.GetSize(); }

  // The number of pages that have the node's resources for their own; known once the pages are counted.
  int GetInheritingCount(int nNode) const { return m_nodes[nNode].m_nInheriting; }

  // True for the objects of the tree, pages and nodes, once they have been counted.
  bool IsTreeObject(int nObjNumber) const { return m_treeObjects.Contains(nObjNumber); }

  // A new dictionary of "Type" "Page", with "Tabs" where the file's conformance asks for it, not in the tree.
  CObjectPtr NewPage(int nGroup);

  // Makes an existing object a page: what NewPage sets.
  void InitPage(CObject& page);

  // Appends a page and sets its "Parent"; returns the number of pages then, 0 on failure.
  int AddPage(CObject* pPage);

  // Puts a page before that index, or at the end. A full node is split.
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
    int m_nNode;       // index in m_nodes
  };

  // A node that pages inherit from: where the nearest value of each inherited key is.
  struct TNode
  {
    int m_nNumber;                     // object number; -1 - n for the direct object n
    int m_nHolders[g_nInheritedKeys];  // indices of nodes, this one included; -1 for none
    int m_nInheriting;                 // pages without resources of their own that have them from this node
  };

  struct TPageEntry
  {
    int m_nNumber;  // object number; -1 - n for the direct object n
    int m_nNode;    // that lists it; -1 for none
  };

  // A remark on an object, or pages that are lost.
  struct TFinding
  {
    int m_nNumber;
    unsigned m_nCode;
    int m_nPage;   // 1-based index where the first lost page would be; 0 for a remark
    int m_nPages;  // as many as were claimed
  };

  static bool IsNode(const CObjectPtr& kid);

  // The number of pages that a node claims, -1 where it claims none.
  static int GetClaimedCount(const CObjectPtr& node);

  // The kids of a node, for a change: both will be written.
  static CObjectPtr EditKids(const CObjectPtr& node);

  // Reading
  void ForgetPages();
  void Load();
  CObjectPtr Walk(int nSearch);
  CPage Search(int nPage);
  CObjectPtr WalkKid(const CObjectPtr& node, const CObjectPtr& kid);
  void EnterNode(const CObjectPtr& node);
  void LeaveNode();
  bool IsOutside(const CObjectPtr& node) const;
  void CheckParent(const CObjectPtr& node, const CObjectPtr& kid);
  void AddFoundPage(const CObjectPtr& page, int nNode);
  void AddListing(int nNumber, int nNode, bool bInherits);
  void LoadStrayPages();
  int FindParentNode(const CObjectPtr& page);
  int GetWalkedNode() const { return m_walk.IsEmpty() ? -1 : m_walk[m_walk.GetSize() - 1].m_nNode; }
  int AddNode(const CObjectPtr& node, int nParent);
  CObjectPtr ObjectOf(int nNumber) const;
  CPage MakePage(const CObjectPtr& page, int nNode);
  const CObjectPtr& HoldNode(int nNode, int nKey);
  bool HasOwn(const CObjectPtr& object, const char* szKey);
  void Report(const CObjectPtr& object, unsigned nCode);
  void ReportFinding(const TFinding& finding, bool bLoss);
  void AddLoss(const CObjectPtr& object, unsigned nCode, int nPages);
  void CheckDamage(const CObjectPtr& node, const CObjectPtr& kids);

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
  BSE::CBasicArray<TPageEntry> m_pages;
  BSE::CBasicArray<TNode> m_nodes;
  BSE::CPagedArray<int, 64> m_nodeIndices;     // of parents of stray pages by number, from 1
  BSE::CObjectArray<CObject> m_directObjects;  // pages and nodes
  CObjectPtr m_heldNodes[g_nInheritedKeys];    // that the last page has its values from
  int m_nHeldNodes[g_nInheritedKeys] = {-1, -1, -1, -1};
  CNumberSet m_present;  // values that are not null, so that those that pages share need not be loaded again
  CNumberSet m_treeObjects;
  CNumberSet m_pageNumbers;
  CNumberSet m_repeated;   // pages that are listed more than once
  CNumberSet m_openNodes;  // on the way from the root to the place of the walk
  CNumberSet m_kidArrays;
  BSE::CBasicArray<TFinding> m_remarks;
  BSE::CBasicArray<TFinding> m_losses;
  int m_nWalked = 0;       // pages met by the walk
  bool m_bLoaded = false;  // m_pages and m_treeObjects are complete

  // Writing: the open nodes from the pages upwards, and their page counts.
  BSE::CObjectArray<CObject> m_levels;
  BSE::CBasicArray<int> m_levelPages;
  bool m_bCounted = false;  // m_nPages is kept by the changes made here
  bool m_bFailed = false;
};

}  // namespace PDF
