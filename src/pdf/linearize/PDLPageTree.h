#pragma once

#include "pdf/linearize/PDFile.h"

// Page values that a page tree node can hold for its descendants (ISO 32000-1, 7.7.3.4).
enum TPDInheritable
{
  ePDRotate,
  ePDCropBox,
  ePDMediaBox,
  ePDResources,
  ePDInheritableCount
};

inline constexpr const char* g_pdInheritableKeys[ePDInheritableCount] = {"Rotate", "CropBox", "MediaBox",
                                                                         "Resources"};

struct TPDPage
{
  int m_nObject;
  int m_nParent;                         // the node it was reached from
  int m_nMetadata;                       // object of the page's own metadata stream, or -1
  int m_nThumbnail;                      // or -1
  int m_inherited[ePDInheritableCount];  // value that the page lacks and a node has, or -1
};

struct TPDTreeNode
{
  int m_nObject;
  int m_nParent;  // -1 for the root

  // Of a tree that is built anew.
  int m_nFirstKid = 0;
  int m_nKidCount = 0;
  int m_nPageCount = 0;
};

// Pages and nodes of a document, in order.
class PDLPageTree : public PDBase
{
public:
  // False for a tree without pages, one that cannot be read, is too deep or holds a page twice, and one whose
  // inherited values would swell the document.
  bool Load(PDFile& file);

  // Builds the tree anew, below the same root. The root has the first page, the last page, and one node that
  // all others are below; leaves are small. So readers that look for a page by going through its siblings,
  // for the last page too before they show the first, read few objects that are far apart. New nodes have
  // indices beyond those of the file. False, and nothing is changed, if a node below the root has entries
  // that would be lost.
  bool Rebuild(const PDFile& file);
  bool IsRebuilt() const { return !m_kids.IsEmpty(); }

  // Kids of a node of a tree that is built anew, as objects.
  std::span<const int> GetKids(const TPDTreeNode& node) const;

  std::span<const TPDPage> GetPages() const { return m_pages.GetSpan(); }
  std::span<const TPDTreeNode> GetNodes() const { return m_nodes.GetSpan(); }

  // A value of a node, as it is written there, and the node.
  std::span<const unsigned char> GetValueText(int nValue) const;
  int GetValueNode(int nValue) const { return m_values[nValue].m_nNode; }

private:
  struct TValue
  {
    int m_nNode;
    int m_nStart;
    int m_nLength;
  };
  struct TScope  // what holds below a node
  {
    int m_values[ePDInheritableCount];
  };
  struct TPending
  {
    int m_nObject;
    int m_nParent;
    int m_nScope;
    int m_nDepth;
  };

  bool Visit(PDFile& file, const TPending& item);
  bool AddNode(PDFile& file, const TPending& item, const PDObj& node);
  void AddKids(const PDFile& file, const PDObj& object, int nKids, const TPending& node, int nScope);
  bool AddPage(PDFile& file, const TPending& item, const PDObj& page);

  // --- The new tree
  void AddLevels(BSE::CBasicArray<int>& starts) const;
  void FillNode(int nNode, std::span<const int> starts, std::size_t nLevel);
  void AddKid(int nNode, int nKid);
  void AddKidPage(int nNode, int nPage);

  BSE::CBasicArray<TPDPage> m_pages;
  BSE::CBasicArray<TPDTreeNode> m_nodes;
  BSE::CBasicArray<int> m_kids;
  BSE::CBasicArray<TValue> m_values;
  BSE::CBasicArray<unsigned char> m_texts;
  BSE::CBasicArray<TScope> m_scopes;
  BSE::CBasicArray<TPending> m_pending;
  BSE::CBasicArray<unsigned char> m_seen;
  bool m_bForeignEntries = false;
  std::int64_t m_nBudget = 0;  // bytes of inherited values that may be given to pages yet
};
