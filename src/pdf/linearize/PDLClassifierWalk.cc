#include "pdf/linearize/PDLClassifier.h"

#include <algorithm>

// The walk over the references of a document. It keeps a stack of what is still to be followed and never
// recurses; the last edge of the stack comes first.

bool PDLClassifier::IsPackable(int nObject) const
{
  const TObject& object = m_objects[nObject];
  return object.m_nForm == ePDFormPackable && object.m_nRole != ePDRolePage && nObject != m_file.GetRoot() &&
         nObject != m_file.GetEncrypt();
}

TPDForm PDLClassifier::GetForm(const PDObj& object, bool bStream)
{
  if (bStream)
  {
    const int nType = object.Find(0, "Type");
    return object.IsName(nType, "Metadata") || object.IsName(nType, "EmbeddedFile") ? ePDFormBeside
                                                                                    : ePDFormPlain;
  }
  const TPDType nType = object.GetType(0);
  const bool bSignature = object.GetNode(0).m_bStrings && object.HoldsName(0, "ByteRange");
  return nType == ePDReference || nType == ePDNull || bSignature ? ePDFormPlain : ePDFormPackable;
}

bool PDLClassifier::Parse(int nObject)
{
  TObject& entry = m_objects[nObject];
  if ((entry.m_nFlags & ePDParsed) != 0)
    return (entry.m_nFlags & ePDUnreadable) == 0;
  entry.m_nFlags |= ePDParsed;
  TPDStream stream;
  if (!m_file.ReadObject(nObject, m_object, stream))
  {
    entry.m_nFlags |= ePDUnreadable;
    return false;
  }
  entry.m_nMarker = PDLEdgeReader::GetMarker(m_object);
  entry.m_nForm = GetForm(m_object, stream.m_bStream);
  if (m_object.CountItems(0) >= 2)
    entry.m_nFlags |= ePDSeveral;
  entry.m_nFirstEdge = m_edges.GetSize();
  m_reader.Read(m_object, 0, stream.m_bStream ? ePDStreamObject : ePDObject, m_edges);
  entry.m_nEdgeCount = m_edges.GetSize() - entry.m_nFirstEdge;
  return true;
}

std::span<const TPDEdge> PDLClassifier::GetEdges(int nObject) const
{
  const TObject& entry = m_objects[nObject];
  return m_edges.GetSpan().subspan(static_cast<std::size_t>(entry.m_nFirstEdge),
                                   static_cast<std::size_t>(entry.m_nEdgeCount));
}

void PDLClassifier::Push(std::span<const TPDEdge> edges, TPDMarker nMarker, bool bChain)
{
  // The item that follows comes after all that this one holds.
  for (const TPDEdge nEdge : edges)
  {
    if (bChain && GetPDEdgeKind(nEdge) == ePDNext)
      m_stack.Add(MakePDEdge(GetPDEdgeTarget(nEdge), ePDChainItem));
  }
  for (std::size_t i = edges.size(); i-- > 0;)
  {
    const TPDEdge nEdge = edges[i];
    TPDEdgeKind nKind = GetPDEdgeKind(nEdge);
    if (IsPDEdgeLeft(nEdge) || (bChain && nKind == ePDNext))
      continue;
    if (bChain && nKind == ePDFirst)
      nKind = ePDChainItem;
    const bool bResources = GetPDEdgeMarker(nEdge) == ePDMarkerFont;
    m_stack.Add(MakePDEdge(GetPDEdgeTarget(nEdge), nKind, bResources ? ePDMarkerFont : nMarker));
  }
}

void PDLClassifier::Run()
{
  for (;;)
  {
    while (!m_stack.IsEmpty())
    {
      const TPDEdge nEdge = m_stack[m_stack.GetSize() - 1];
      m_stack.Truncate(m_stack.GetSize() - 1);
      Step(nEdge);
    }
    if (m_deferred.IsEmpty())
      return;
    Flush();
  }
}

void PDLClassifier::Step(TPDEdge nEdge)
{
  const TPDEdgeKind nKind = GetPDEdgeKind(nEdge);
  if (nKind == ePDDefer)
    Defer();
  else if (nKind == ePDFlush)
    Flush();
  else if (nKind != ePDDeferEnd && IsFollowed(nEdge))
    Enter(GetPDEdgeTarget(nEdge), GetPDEdgeMarker(nEdge), nKind == ePDChainItem);
}

// A P entry leads from an annotation to its page, and from a structure element to its parent; elsewhere it is
// followed if there is something after it.
bool PDLClassifier::IsFollowed(TPDEdge nEdge)
{
  const bool bStructure = m_nPage == 0 && m_nCurrentGroup == ePDCategoryStructure;
  switch (GetPDEdgeKind(nEdge))
  {
  case ePDStructure:
    return !bStructure;
  case ePDParent:
  {
    const TPDMarker nMarker = GetPDEdgeMarker(nEdge);
    if (bStructure || nMarker == ePDMarkerAnnot)
      return false;
    const int nTarget = GetPDEdgeTarget(nEdge);
    return nMarker == ePDMarkerFont || (Parse(nTarget) && (m_objects[nTarget].m_nFlags & ePDSeveral) != 0);
  }
  default:
    return true;
  }
}

// Pages, and with them the page tree, are reached from its root alone: a link to a page pulls nothing in.
void PDLClassifier::Enter(int nObject, TPDMarker nMarker, bool bChain)
{
  const TPDRole nRole = m_objects[nObject].m_nRole;
  if (nRole == ePDRolePage || nRole == ePDRoleNode || nRole == ePDRoleSpecial || !Parse(nObject))
    return;
  const TPDMarker nOwn = m_objects[nObject].m_nMarker;
  if (nOwn == ePDMarkerPage || nOwn == ePDMarkerPages)
    return;
  if (m_nPage > 0 ? ClassifyForPage(nObject) : ClassifyForCategory(nObject))
    Push(GetEdges(nObject), nOwn != ePDMarkerNone ? nOwn : nMarker, bChain);
}

bool PDLClassifier::ClassifyForPage(int nObject)
{
  TObject& object = m_objects[nObject];
  if (object.m_nWalk == m_nWalk)
    return false;
  object.m_nWalk = m_nWalk;
  if (object.m_nOwner == 0)
  {
    object.m_nOwner = m_nPage;
    if (m_nPage == 1)
      object.m_nFlags |= ePDFirstPage;
    m_pageObjects.Add(nObject);
    return true;
  }
  Share(nObject);
  AddUse(m_nPage, nObject);
  return --m_nRevisits >= 0;
}

bool PDLClassifier::ClassifyForCategory(int nObject)
{
  TObject& object = m_objects[nObject];
  if ((object.m_nFlags & ePDVisited) != 0)
    return false;
  object.m_nFlags |= ePDVisited;
  if (object.m_nOwner == 0)
  {
    m_groups[m_nCurrentGroup].Add(nObject);
    return true;
  }
  if ((object.m_nFlags & ePDFirstPage) != 0)
    object.m_nFlags |= ePDReferenced;
  else
    Share(nObject);
  return false;
}

void PDLClassifier::Share(int nObject)
{
  TObject& object = m_objects[nObject];
  if ((object.m_nFlags & ePDShared) != 0)
    return;
  object.m_nFlags |= ePDShared;
  if ((object.m_nFlags & ePDFirstPage) != 0)
    return;
  m_sharedObjects.Add(nObject);
  AddUse(object.m_nOwner, nObject);
}

// The first page has all it needs in its own section.
void PDLClassifier::AddUse(int nPage, int nObject)
{
  if (nPage <= 1)
    return;
  if (m_uses.GetSize() < m_nMaxUses)
  {
    m_uses.Add({nPage, nObject});
    return;
  }
  if (!m_bUsesCut)
    Note("Pages share more than the hint tables list.");
  m_bUsesCut = true;
  m_nRevisits = 0;
}

bool PDLClassifier::IsReached(int nObject) const
{
  const TObject& object = m_objects[nObject];
  const bool bFixed = object.m_nRole != ePDRoleNone && object.m_nRole != ePDRolePageMetadata;
  return bFixed || object.m_nOwner != 0 || (object.m_nFlags & ePDVisited) != 0;
}

void PDLClassifier::WalkLeft()
{
  BSE::CBasicArray<int> pending;
  for (int nObject = 0; nObject < m_objects.GetSize(); ++nObject)
  {
    if (IsReached(nObject))
      pending.Add(nObject);
  }
  AddLeftInherited(pending);
  while (!pending.IsEmpty())
  {
    const int nObject = pending[pending.GetSize() - 1];
    pending.Truncate(pending.GetSize() - 1);
    if (nObject != m_file.GetEncrypt() && Parse(nObject))
    {
      m_scratch.Truncate(0);
      m_scratch.Append(GetEdges(nObject));
      AddLeft(m_scratch.GetSpan(), m_objects[nObject].m_nRole, pending);
    }
  }
}

// Values that no page inherits are carried nowhere.
void PDLClassifier::AddLeftInherited(BSE::CBasicArray<int>& pending)
{
  BSE::CBasicArray<int> values;
  for (const TPDPage& page : m_tree.GetPages())
  {
    for (const int nValue : page.m_inherited)
    {
      if (nValue >= 0)
        values.Add(nValue);
    }
  }
  const std::span<int> sorted = values.GetSpan();
  std::sort(sorted.begin(), sorted.end());
  int nLast = -1;
  for (const int nValue : sorted)
  {
    if (nValue != nLast)
    {
      ReadInherited(nValue);
      AddLeft(m_scratch.GetSpan(), ePDRoleNone, pending);
    }
    nLast = nValue;
  }
}

// Pages and nodes of the tree get other parents when they are written.
void PDLClassifier::AddLeft(std::span<const TPDEdge> edges, TPDRole nRole, BSE::CBasicArray<int>& pending)
{
  const bool bTree = nRole == ePDRolePage || nRole == ePDRoleNode;
  for (const TPDEdge nEdge : edges)
  {
    const TPDEdgeKind nKind = GetPDEdgeKind(nEdge);
    const int nTarget = GetPDEdgeTarget(nEdge);
    const bool bOrder = nKind == ePDDefer || nKind == ePDDeferEnd || nKind == ePDFlush;
    if (bOrder || (bTree && nKind == ePDLeftOfTree) || IsReached(nTarget) || !Parse(nTarget))
      continue;
    m_objects[nTarget].m_nFlags |= ePDVisited;
    m_groups[ePDCategoryOther].Add(nTarget);
    pending.Add(nTarget);
  }
}

// What has been deferred earlier is followed first.
void PDLClassifier::Defer()
{
  if (!m_deferred.IsEmpty())
  {
    m_stack.Add(MakePDEdge(0, ePDDefer));
    Flush();
    return;
  }
  int nOpen = 1;
  while (!m_stack.IsEmpty())
  {
    const TPDEdge nEdge = m_stack[m_stack.GetSize() - 1];
    m_stack.Truncate(m_stack.GetSize() - 1);
    nOpen += GetPDEdgeKind(nEdge) == ePDDefer ? 1 : 0;
    nOpen -= GetPDEdgeKind(nEdge) == ePDDeferEnd ? 1 : 0;
    if (nOpen == 0)
      return;
    m_deferred.Add(nEdge);
  }
}

void PDLClassifier::Flush()
{
  const std::span<TPDEdge> deferred = m_deferred.GetSpan();
  std::reverse(deferred.begin(), deferred.end());
  m_stack.Append(deferred);
  m_deferred.Truncate(0);
}
