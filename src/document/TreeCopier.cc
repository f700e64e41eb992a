#include "document/TreeCopier.h"

#include "base/Tracer.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"

// No link is copied: a node gets those that follow from the nodes around it which were kept. So a node can be
// written as soon as its successor is known, and memory holds the path to it alone, one level for each of its
// ancestors. A count is the source's own as long as nothing below the node was left out.

namespace PDF
{

namespace
{

bool IsLink(const char* szKey)
{
  for (const char* szLink : {"Prev", "Next", "First", "Last", "Parent", "Count"})
    if (KeyEquals(szKey, szLink))
      return true;
  return false;
}

}  // namespace

// A node whose children are being copied. The copy of a child stays in memory until the next sibling is
// known.
struct CTreeCopier::TLevel
{
  TLevel() = default;
  TLevel(const TLevel&) = delete;
  TLevel& operator=(const TLevel&) = delete;

  // Where memory runs out, a long path is freed level by level: recursion would use up the stack.
  ~TLevel()
  {
    while (m_pAbove)
    {
      BSE::CScopedPtr<TLevel> pNext = std::move(m_pAbove->m_pAbove);
      m_pAbove = std::move(pNext);
    }
  }

  CObjectPtr m_source;
  CObjectPtr m_target;
  CObjectPtr m_next;   // child to be copied next
  CObjectPtr m_first;  // copied children
  CObjectPtr m_last;
  CObjectPtr m_lastSource;
  std::int64_t m_nVisible = 0;  // kept descendants that are shown when the node is open
  bool m_bChanged = false;      // a descendant was left out
  int m_nDepth = 0;
  BSE::CScopedPtr<TLevel> m_pAbove;
};

CObjectPtr CTreeCopier::VisitIndirect(const CObjectPtr& object)
{
  if (m_bWalking)
    return CObjectCopier::VisitIndirect(object);
  bool bCreated = false;
  const CObjectPtr target = GetOrCreateCopy(object, bCreated);
  if (bCreated)
    CopyTree(object, target);
  return target;
}

CObjectPtr CTreeCopier::VisitEntry(const char* szKey, const CObjectPtr& value)
{
  const bool bRoot = m_nDepth == 0 && !m_bWalking && !value.IsIndirect() && value.IsDictionary();
  const CObjectPtr target = bRoot ? GetNodeCopy(value) : CObjectPtr();
  if (!target)
    return CObjectCopier::VisitEntry(szKey, value);
  CopyTree(value, target);
  return target;
}

void CTreeCopier::CopyTree(const CObjectPtr& root, const CObjectPtr& target)
{
  m_bWalking = true;
  m_visited.RemoveAll();
  m_visited.Add(root.GetObjNumber());
  m_unreached.RemoveAll();
  CopyNode(root, target);
  CopyChildren(root, target);
  m_bWalking = false;
  for (const int nNumber : m_unreached.GetSpan())
    if (!m_visited.Contains(nNumber))
      BSE::ReportLoss(GetSource()->GetObject(nNumber, -1).Get(), g_nNotRepairable);
}

bool CTreeCopier::IsKept(const CObjectPtr&)
{
  return true;
}

CObjectPtr CTreeCopier::CopyNodeEntry(const char* szKey, const CObjectPtr& value)
{
  return m_pOwner ? m_pOwner->VisitEntry(szKey, value) : VisitEntry(szKey, value);
}

void CTreeCopier::CopyNode(const CObjectPtr& source, const CObjectPtr& target)
{
  const CObjectPtr value = GetDirect(source);
  const CObjectPtr copy(new CDictionaryObject);
  for (int i = value.GetBegin(); i != value.GetEnd(); i = value.GetNext(i))
  {
    const char* szKey = value.GetKey(i);
    if (IsLink(szKey))
      continue;
    if (const CObjectPtr entry = CopyNodeEntry(szKey, value.GetValue(i)))
      copy.AddEntry(szKey, entry);
  }
  target->SetValueObject(copy.Get());
}

void CTreeCopier::CopyChildren(const CObjectPtr& root, const CObjectPtr& rootTarget)
{
  BSE::CScopedPtr<TLevel> pLevel(new TLevel);
  pLevel->m_source = root;
  pLevel->m_target = rootTarget;
  pLevel->m_next = root["First"];
  while (pLevel)
    if (pLevel->m_next.IsDictionary())
      CopyChild(pLevel);
    else
      EndLevel(pLevel);
  FinishCopy(root, rootTarget);
}

// A node without a number is in the file inside its predecessor, so that it cannot be part of a loop.
CObjectPtr CTreeCopier::GetNodeCopy(const CObjectPtr& source)
{
  bool bCreated = false;
  CObjectPtr target = GetOrCreateCopy(source, bCreated);
  if (!target && GetTarget())
    target = GetTarget()->NewObject(0, 0, GetGroup());
  return target;
}

void CTreeCopier::CopyChild(BSE::CScopedPtr<TLevel>& pLevel)
{
  const CObjectPtr source = pLevel->m_next;
  if (source.IsIndirect() && !m_visited.Add(source.GetObjNumber()))
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "pdfcopy", "Loop detected in tree for obj %d", source.GetObjNumber());
    pLevel->m_bChanged = true;
    pLevel->m_next.Reset();
    return;
  }
  pLevel->m_next = source["Next"];
  const CObjectPtr target = IsKept(source) ? GetNodeCopy(source) : CObjectPtr();
  if (!target)
  {
    pLevel->m_bChanged = true;
    source->Unload();
    return;
  }
  CopyNode(source, target);
  target.AddEntry("Parent", pLevel->m_target);
  if (pLevel->m_last)
  {
    target.AddEntry("Prev", pLevel->m_last);
    pLevel->m_last.AddEntry("Next", target);
    FinishCopy(pLevel->m_lastSource, pLevel->m_last);
  }
  else
  {
    pLevel->m_first = target;
  }
  pLevel->m_last = target;
  pLevel->m_lastSource = source;
  ++pLevel->m_nVisible;

  BSE::CScopedPtr<TLevel> pBelow(new TLevel);
  pBelow->m_source = source;
  pBelow->m_target = target;
  pBelow->m_nDepth = pLevel->m_nDepth + 1;
  pBelow->m_next = source["First"];
  pBelow->m_pAbove = std::move(pLevel);
  pLevel = std::move(pBelow);
}

// The count of the source where it still holds. A root is always open, so that its count has no sign.
std::int64_t CTreeCopier::GetCount(const TLevel& level)
{
  const std::int64_t nCount = level.m_source["Count"].GetIntegerValue();
  const bool bRoot = level.m_nDepth == 0;
  if (!level.m_bChanged && (!bRoot || nCount >= 0))
    return nCount;
  return bRoot || nCount > 0 ? level.m_nVisible : -level.m_nVisible;
}

void CTreeCopier::EndLevel(BSE::CScopedPtr<TLevel>& pLevel)
{
  // The list ends at a node that is not there, or that could not be read.
  TellDamage(pLevel->m_next);
  // A list that breaks off before its last node has nodes that no walk finds.
  const CObjectPtr last = pLevel->m_source["Last"];
  if (last.IsDictionary() && last.IsIndirect() && !m_visited.Contains(last.GetObjNumber()))
    m_unreached.Add(last.GetObjNumber());
  const CObjectPtr count = pLevel->m_source["Count"];
  const bool bOpen = count.GetIntegerValue() > 0;
  if (pLevel->m_first)
  {
    FinishCopy(pLevel->m_lastSource, pLevel->m_last);
    pLevel->m_target.AddEntry("First", pLevel->m_first);
    pLevel->m_target.AddEntry("Last", pLevel->m_last);
    if (count.IsInteger())
      pLevel->m_target.AddEntry("Count", new CIntegerObject(GetCount(*pLevel)));
  }
  BSE::CScopedPtr<TLevel> pAbove = std::move(pLevel->m_pAbove);
  if (pAbove)
  {
    pAbove->m_nVisible += bOpen ? pLevel->m_nVisible : 0;
    pAbove->m_bChanged |= pLevel->m_bChanged;
  }
  pLevel = std::move(pAbove);
}

}  // namespace PDF
