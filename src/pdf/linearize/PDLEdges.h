#pragma once

#include "pdf/linearize/PDFile.h"

// What an object's Type makes of a walk through it.
enum TPDMarker : unsigned char
{
  ePDMarkerNone,  // no Type: what holds outside goes on
  ePDMarkerOther,
  ePDMarkerAnnot,
  ePDMarkerFont,  // also everything below Resources
  ePDMarkerPage,
  ePDMarkerPages
};

// How a reference is to be followed, or an order among references.
enum TPDEdgeKind : unsigned char
{
  ePDFollow,
  ePDParent,     // a P entry that is a reference
  ePDStructure,  // not in the structure tree: a Pg entry, or below a P entry
  ePDFirst,      // First and Next of the object itself
  ePDNext,
  ePDDefer,  // the edges from here to ePDDeferEnd come after all others
  ePDDeferEnd,
  ePDFlush,      // what has been deferred comes here
  ePDChainItem,  // follows a list of outline items; not found in objects
  ePDLeft,       // no walk follows it: Parent and Prev entries, and what is below them
  ePDLeftOfTree  // nor is it carried over from the page tree: Parent, and values that pages inherit
};

// A reference in 32 bits: the object it leads to, and how.
using TPDEdge = std::uint32_t;

inline constexpr TPDEdge g_nPDEdgeTarget = 0xFFFFFF;

constexpr TPDEdge MakePDEdge(int nTarget, TPDEdgeKind nKind, TPDMarker nMarker = ePDMarkerNone)
{
  return static_cast<TPDEdge>(nTarget) | static_cast<TPDEdge>(nKind) << 24 |
         static_cast<TPDEdge>(nMarker) << 28;
}
constexpr int GetPDEdgeTarget(TPDEdge nEdge)
{
  return static_cast<int>(nEdge & g_nPDEdgeTarget);
}
constexpr TPDEdgeKind GetPDEdgeKind(TPDEdge nEdge)
{
  return static_cast<TPDEdgeKind>(nEdge >> 24 & 0xF);
}
constexpr bool IsPDEdgeLeft(TPDEdge nEdge)
{
  return GetPDEdgeKind(nEdge) >= ePDLeft;
}
constexpr TPDMarker GetPDEdgeMarker(TPDEdge nEdge)
{
  return static_cast<TPDMarker>(nEdge >> 28);
}

// What a value is that edges are read from.
enum TPDPlace : unsigned char
{
  ePDObject,  // a whole object
  ePDStreamObject,
  ePDInside  // inside another value
};

// Finds the references of a value in the order in which a walk follows them: of every dictionary first its
// Resources, then its Contents, then all other entries as they stand, XObject resources last. The Length of a
// stream and references to objects that do not exist are left out. References below Resources carry the font
// marker.
class PDLEdgeReader
{
public:
  explicit PDLEdgeReader(const PDFile& file) : m_file(file) {}

  // Appends the edges of a value.
  void Read(const PDObj& object, int nNode, TPDPlace nPlace, BSE::CBasicArray<TPDEdge>& edges);

  static TPDMarker GetMarker(const PDObj& object);

private:
  struct TWork
  {
    int m_nNode;  // or -1: only the edge of that kind
    TPDEdgeKind m_nKind;
    TPDMarker m_nMarker;
    TPDPlace m_nPlace;
  };

  void AddArray(const TWork& work);
  void AddDictionary(const TWork& work);
  void AddEntry(const TWork& dictionary, int nKey);

  // How no walk follows the entry; ePDFollow for all others.
  TPDEdgeKind GetLeftKind(const TWork& dictionary, int nKey, bool bPages) const;
  bool IsLength(const TWork& dictionary, int nKey) const;

  const PDFile& m_file;
  const PDObj* m_pObject = nullptr;
  BSE::CBasicArray<TWork> m_work;
  bool m_bDeferred = false;
};
