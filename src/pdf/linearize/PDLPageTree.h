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
  int m_inherited[ePDInheritableCount];  // value that the page lacks and a node has, or -1
};

struct TPDTreeNode
{
  int m_nObject;
  int m_nParent;  // -1 for the root
};

// Pages and nodes of a document, in order.
class PDLPageTree : public PDBase
{
public:
  // False for a tree without pages, one that cannot be read, is too deep or holds a page twice, and one whose
  // inherited values would swell the document.
  bool Load(PDFile& file);

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

  BSE::CBasicArray<TPDPage> m_pages;
  BSE::CBasicArray<TPDTreeNode> m_nodes;
  BSE::CBasicArray<TValue> m_values;
  BSE::CBasicArray<unsigned char> m_texts;
  BSE::CBasicArray<TScope> m_scopes;
  BSE::CBasicArray<TPending> m_pending;
  BSE::CBasicArray<unsigned char> m_seen;
  std::int64_t m_nBudget = 0;  // bytes of inherited values that may be given to pages yet
};
