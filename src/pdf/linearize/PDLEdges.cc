#include "pdf/linearize/PDLEdges.h"

#include "pdf/linearize/PDLPageTree.h"

#include <algorithm>

TPDMarker PDLEdgeReader::GetMarker(const PDObj& object)
{
  const int nType = object.Find(0, "Type");
  if (object.GetType(nType) != ePDName)
    return ePDMarkerNone;
  if (object.IsName(nType, "Annot"))
    return ePDMarkerAnnot;
  if (object.IsName(nType, "Font"))
    return ePDMarkerFont;
  if (object.IsName(nType, "Page"))
    return ePDMarkerPage;
  return object.IsName(nType, "Pages") ? ePDMarkerPages : ePDMarkerOther;
}

void PDLEdgeReader::Read(const PDObj& object, int nNode, TPDPlace nPlace, BSE::CBasicArray<TPDEdge>& edges)
{
  m_pObject = &object;
  m_bDeferred = false;
  m_work.Truncate(0);
  m_work.Add({nNode, ePDFollow, ePDMarkerNone, nPlace});
  while (!m_work.IsEmpty())
  {
    const TWork work = m_work[m_work.GetSize() - 1];
    m_work.Truncate(m_work.GetSize() - 1);
    if (work.m_nNode < 0)
    {
      if (work.m_nKind != ePDFlush || m_bDeferred || work.m_nPlace != ePDInside)
        edges.Add(MakePDEdge(0, work.m_nKind));
      m_bDeferred |= work.m_nKind == ePDDefer;
      continue;
    }
    if (!object.GetNode(work.m_nNode).m_bReferences)
      continue;
    if (object.GetType(work.m_nNode) == ePDArray)
      AddArray(work);
    else if (object.GetType(work.m_nNode) == ePDDictionary)
      AddDictionary(work);
    else if (const int nTarget = m_file.FindObject(object.GetReference(work.m_nNode)); nTarget >= 0)
      edges.Add(MakePDEdge(nTarget, work.m_nKind, work.m_nMarker));
  }
}

// Work is taken from the end: what is added is turned around.
void PDLEdgeReader::AddArray(const TWork& work)
{
  const auto nFirst = static_cast<std::size_t>(m_work.GetSize());
  const int nEnd = m_pObject->GetNext(work.m_nNode);
  for (int i = work.m_nNode + 1; i < nEnd; i = m_pObject->GetNext(i))
  {
    if (m_pObject->GetNode(i).m_bReferences)
      m_work.Add({i, work.m_nKind, work.m_nMarker, ePDInside});
  }
  const std::span<TWork> added = m_work.GetSpan().subspan(nFirst);
  std::reverse(added.begin(), added.end());
}

void PDLEdgeReader::AddDictionary(const TWork& work)
{
  const auto nFirst = static_cast<std::size_t>(m_work.GetSize());
  const bool bLeft = work.m_nKind >= ePDLeft;
  const bool bPages = m_pObject->IsName(m_pObject->Find(work.m_nNode, "Type"), "Pages");
  const int nResources = bPages || bLeft ? -1 : m_pObject->Find(work.m_nNode, "Resources");
  const int nContents = bLeft ? -1 : m_pObject->Find(work.m_nNode, "Contents");
  if (nResources >= 0)
    m_work.Add({nResources, ePDFollow, ePDMarkerFont, ePDInside});
  if (nContents >= 0)
    m_work.Add({nContents, ePDFollow, work.m_nMarker, ePDInside});
  if (!bLeft)
    m_work.Add({-1, ePDFlush, ePDMarkerNone, work.m_nPlace});
  const int nEnd = m_pObject->GetNext(work.m_nNode);
  for (int nKey = work.m_nNode + 1; nKey < nEnd; nKey = m_pObject->GetNext(nKey + 1))
  {
    if (!m_pObject->GetNode(nKey + 1).m_bReferences || nKey + 1 == nResources || nKey + 1 == nContents ||
        IsLength(work, nKey))
      continue;
    const TPDEdgeKind nLeft = bLeft ? work.m_nKind : GetLeftKind(work, nKey, bPages);
    if (nLeft != ePDFollow)
      m_work.Add({nKey + 1, nLeft, work.m_nMarker, ePDInside});
    else
      AddEntry(work, nKey);
  }
  const std::span<TWork> added = m_work.GetSpan().subspan(nFirst);
  std::reverse(added.begin(), added.end());
}

TPDEdgeKind PDLEdgeReader::GetLeftKind(const TWork& dictionary, int nKey, bool bPages) const
{
  const TPDEdgeKind nLeft = dictionary.m_nPlace == ePDInside ? ePDLeft : ePDLeftOfTree;
  if (m_pObject->IsName(nKey, "Parent"))
    return nLeft;
  if (m_pObject->IsName(nKey, "Prev"))
    return ePDLeft;
  const bool bInherited =
      bPages && std::any_of(std::begin(g_pdInheritableKeys), std::end(g_pdInheritableKeys),
                            [this, nKey](const char* szKey) { return m_pObject->IsName(nKey, szKey); });
  return bInherited ? nLeft : ePDFollow;
}

bool PDLEdgeReader::IsLength(const TWork& dictionary, int nKey) const
{
  return dictionary.m_nPlace == ePDStreamObject && m_pObject->IsName(nKey, "Length") &&
         m_pObject->GetType(nKey + 1) == ePDReference;
}

void PDLEdgeReader::AddEntry(const TWork& dictionary, int nKey)
{
  const int nValue = nKey + 1;
  const bool bReference = m_pObject->GetType(nValue) == ePDReference;
  TPDEdgeKind nKind = dictionary.m_nKind;
  if (m_pObject->IsName(nKey, "XObject"))
  {
    m_work.Add({-1, ePDDefer, ePDMarkerNone, ePDInside});
    m_work.Add({nValue, nKind, dictionary.m_nMarker, ePDInside});
    m_work.Add({-1, ePDDeferEnd, ePDMarkerNone, ePDInside});
    return;
  }
  if (m_pObject->IsName(nKey, "P"))
    nKind = bReference ? ePDParent : ePDStructure;
  else if (m_pObject->IsName(nKey, "Pg"))
    nKind = ePDStructure;
  else if (dictionary.m_nPlace != ePDInside && bReference && m_pObject->IsName(nKey, "First"))
    nKind = ePDFirst;
  else if (dictionary.m_nPlace != ePDInside && bReference && m_pObject->IsName(nKey, "Next"))
    nKind = ePDNext;
  m_work.Add({nValue, nKind, dictionary.m_nMarker, ePDInside});
}
