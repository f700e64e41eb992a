#pragma once

#include "pdf/linearize/PDLEdges.h"
#include "pdf/linearize/PDLPageTree.h"

// What an object has been found to be. The numbers are those of the records that older traces show.
enum TPDFlag : unsigned char
{
  ePDVisited = 1,     // reached by a walk of the catalogue
  ePDReferenced = 2,  // a first page object that a walk of the catalogue has reached as well
  ePDFirstPage = 4,
  ePDShared = 8,  // used by more than one page, or by a page and the catalogue
  ePDUnreadable = 16,
  ePDParsed = 32,  // its edges are known
  ePDSeveral = 64  // holds at least two items
};

enum TPDRole : unsigned char
{
  ePDRoleNone,
  ePDRolePage,
  ePDRoleNode,     // of the page tree
  ePDRoleSpecial,  // catalogue, document information, encryption: their places are fixed
  ePDRolePageMetadata
};

enum TPDForm : unsigned char
{
  ePDFormPlain,     // has to be an object of its own
  ePDFormPackable,  // may be in an object stream
  ePDFormBeside     // a stream that no picture needs
};

// Lists of objects by the key of the catalogue through which they are reached.
enum TPDCategory
{
  ePDCategoryPages = 0,  // page tree nodes and what else only they refer to
  ePDCategoryThreads = 1,
  ePDCategoryOutlines = 2,
  ePDCategoryNames = 4,
  ePDCategoryAcroForm = 9,
  ePDCategoryPageLabels = 10,
  ePDCategoryInformation = 11,
  ePDCategoryStructure = 12,
  ePDCategoryOther = 13,  // also what no walk follows
  ePDCategoryCount = 14
};

// Sorts the objects of a document by who uses them: the first page, one other page, several pages, or an
// entry of the catalogue. Pages are walked before the catalogue, so that what a page needs is found with it.
// In the end everything is followed that the walks leave alone: an object that belongs to no list is reached
// by nothing.
class PDLClassifier : public PDBase
{
public:
  // A page and an object that it shares.
  struct TUse
  {
    int m_nPage;
    int m_nObject;
  };

  // Both must outlive the classifier.
  PDLClassifier(PDFile& file, const PDLPageTree& tree) : m_file(file), m_tree(tree), m_reader(file) {}

  bool Classify();

  // Objects of a page, 0 to the count, the page's own object first.
  BSE::CBasicArray<int> GetPageObjects(int nPage) const;
  std::span<const int> GetSharedObjects() const { return m_sharedObjects.GetSpan(); }
  std::span<const int> GetCategory(int nCategory) const { return m_groups[nCategory].GetSpan(); }

  // Shared objects that pages but the first use, in the order of discovery. Of documents whose pages share
  // uncommonly much only as many as leave the work linear, which is traced.
  std::span<const TUse> GetUses() const { return m_uses.GetSpan(); }

  TPDRole GetRole(int nObject) const { return m_objects[nObject].m_nRole; }
  bool IsFirstPage(int nObject) const { return (m_objects[nObject].m_nFlags & ePDFirstPage) != 0; }

  // Whether the object may be in an object stream of a linearized file (ISO 32000-1, 7.5.7), and can be
  // written there: none but the last are no streams, catalogue, encryption dictionary, pages; signatures have
  // a string that is never encrypted.
  bool IsPackable(int nObject) const;

  // Whether no picture needs the object: metadata, files.
  bool IsBeside(int nObject) const { return m_objects[nObject].m_nForm == ePDFormBeside; }

  // Outlines are shown when the document opens, and come first.
  bool IsOutlinesFirst() const { return m_bOutlinesFirst; }

  // Frees what only the walks need.
  void ReleaseEdges() { m_edges.RemoveAll(); }

private:
  struct TObject
  {
    int m_nOwner;  // number of the page, from 1, that has it; 0 for none
    int m_nWalk;   // the last walk that reached it
    int m_nFirstEdge;
    int m_nEdgeCount;
    unsigned char m_nFlags;
    TPDRole m_nRole;
    TPDMarker m_nMarker;
    TPDForm m_nForm;
  };

  bool MarkRoles();
  void WalkPage(int nPage);
  void WalkInherited(const TPDPage& page);

  // The edges of a value of the page tree, until the next call.
  std::span<const TPDEdge> ReadInherited(int nValue);
  void WalkNodes();
  bool WalkCatalogue();
  void WalkEntry(TPDCategory nCategory, std::span<const TPDEdge> edges);
  void WalkInformation();

  // Follows what no walk has followed, from all that has been reached.
  void WalkLeft();
  void AddLeft(std::span<const TPDEdge> edges, TPDRole nRole, BSE::CBasicArray<int>& pending);
  void AddLeftInherited(BSE::CBasicArray<int>& pending);
  bool IsReached(int nObject) const;

  static TPDForm GetForm(const PDObj& object, bool bStream);

  // Makes an object's edges known; false if it cannot be read.
  bool Parse(int nObject);

  // Of a parsed object; valid until another one is parsed.
  std::span<const TPDEdge> GetEdges(int nObject) const;

  // Puts edges on the stack as seen from an object with that marker.
  void Push(std::span<const TPDEdge> edges, TPDMarker nMarker, bool bChain);
  bool IsFollowed(TPDEdge nEdge);

  // Works the stack off, and what has been deferred.
  void Run();
  void Step(TPDEdge nEdge);
  void Enter(int nObject, TPDMarker nMarker, bool bChain);

  // Puts an object that a walk reaches where it belongs; true if the walk goes on inside.
  bool ClassifyForPage(int nObject);
  bool ClassifyForCategory(int nObject);
  void Share(int nObject);
  void AddUse(int nPage, int nObject);

  // --- References that wait for all others
  void Defer();
  void Flush();

  PDFile& m_file;
  const PDLPageTree& m_tree;
  PDLEdgeReader m_reader;
  PDObj m_object;
  BSE::CBasicArray<TObject> m_objects;
  BSE::CBasicArray<TPDEdge> m_edges;
  BSE::CBasicArray<TPDEdge> m_scratch;
  BSE::CBasicArray<TPDEdge> m_stack;
  BSE::CBasicArray<TPDEdge> m_deferred;
  BSE::CBasicArray<int> m_pageObjects;
  BSE::CBasicArray<int> m_pageStarts;
  BSE::CBasicArray<int> m_sharedObjects;
  BSE::CBasicArray<int> m_groups[ePDCategoryCount];
  BSE::CBasicArray<TUse> m_uses;
  int m_nWalk = 0;
  int m_nPage = 0;  // number of the page that is walked, 0 in the catalogue
  int m_nCurrentGroup = 0;
  std::int64_t m_nMaxUses = 0;
  std::int64_t m_nRevisits = 0;  // entries into other pages' objects that are left
  bool m_bOutlinesFirst = false;
  bool m_bUsesCut = false;
};
