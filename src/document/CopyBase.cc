// A copy is a map from numbers of the source to numbers of the target, and one step for each object that a
// reference leads to: the first reference makes the target object and enters it, every later one finds it
// there. So cycles end, shared objects stay shared, and a forward reference needs no second pass. An object
// is written as soon as its value is complete, and both sides leave memory; what remains is four bytes in the
// map. Losses are reported here, because only here is it known that a damaged object was wanted.

#include "document/CopyBase.h"

#include "base/ScopedValue.h"

#include "document/BTree.h"
#include "document/ObjectTraverser.h"
#include "document/StructTreeCopier.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"
#include "pdf/StreamObjects.h"

namespace PDF
{

namespace
{

// The length of a stream is known when it is written: a reference to it would only carry a number over that
// nobody reads.
CObjectPtr WithDirectLength(const CObjectPtr& value)
{
  const CObjectPtr length = value["Length"];
  if (!length.IsIndirect())
    return value;
  const CObjectPtr copy(value->Clone());
  copy.AddEntry("Length", new CIntegerObject(length.GetIntegerValue()));
  return copy;
}

}  // namespace

void CCopyBase::SetFiles(CFile* pSource, CFile* pTarget)
{
  m_pSource = pSource;
  m_pTarget = pTarget;
  IStreamStep* const pStep = m_ownState.m_pStreamStep;
  m_ownState = TState();
  m_ownState.m_pStreamStep = pStep;
}

void CCopyBase::ShareWith(CCopyBase& other)
{
  m_pSource = other.m_pSource;
  m_pTarget = other.m_pTarget;
  m_pSourceTree = other.m_pSourceTree;
  m_nGroup = other.m_nGroup;
  m_pState = other.m_pState;
}

CObjectPtr CCopyBase::GetCopy(const CObjectPtr& source) const
{
  if (!m_pTarget || !m_pSource || source.GetFile() != m_pSource)
    return {};
  return m_pTarget->GetCopy(*m_pSource, source.GetObjNumber());
}

CObjectPtr CCopyBase::GetOrCreateCopy(const CObjectPtr& source, bool& bCreated)
{
  bCreated = false;
  if (!m_pTarget || !m_pSource || source.GetFile() != m_pSource)
    return {};
  const int nGroup = m_nGroup == g_nGroupDirect ? source->GetCompressedFlags() : m_nGroup;
  return m_pTarget->GetOrCreateCopy(m_pSource, source.GetObjNumber(), bCreated, nGroup);
}

bool CCopyBase::IsInTree(const CObjectPtr& source) const
{
  return m_pSourceTree && m_pSourceTree->IsTreeObject(source.GetObjNumber());
}

bool CCopyBase::IsPageObject(const CObjectPtr& source) const
{
  if (IsInTree(source))
    return true;
  if (!source.IsDictionary() || source.IsStream())
    return false;
  const CObjectPtr type = source["Type"];
  return type.IsName("Page") || (type.IsName("Pages") && source["Kids"].IsArray());
}

bool CCopyBase::LeadsElsewhere(const CObjectPtr& source, CObjectPtr& next)
{
  // What has a copy and what is a page need not be loaded.
  if (!m_pSource || source.GetFile() != m_pSource || GetCopy(source) || IsInTree(source))
    return false;
  const CObjectPtr value = source.GetValueObject();
  if (value && !value.IsIndirect())
    return false;
  TellDamage(source);
  next = value;
  return true;
}

bool CCopyBase::IsLeftToOther(const CObjectPtr& source)
{
  if (IsPageObject(source))
    return true;
  if (m_bTakesStructure || !m_pState->m_bStructureApart || !IsStructureObject(source))
    return false;
  if (m_pState->m_putOff.Add(source.GetObjNumber()))
    m_pState->m_putOffOrder.Add(source.GetObjNumber());
  return true;
}

bool CCopyBase::IsFilled(const CObjectPtr& target)
{
  return target && (!target->IsDirty() || target->GetValueObject());
}

bool CCopyBase::IsPageCopied(const CObjectPtr& sourcePage) const
{
  return IsFilled(GetCopy(sourcePage));
}

CObjectPtr CCopyBase::CopyEntries(CObjectTraverser& visitor, const CObjectPtr& dictionary)
{
  CObjectPtr copy(new CDictionaryObject);
  for (int i = dictionary.GetBegin(); i != dictionary.GetEnd(); i = dictionary.GetNext(i))
    if (const CObjectPtr value = visitor.VisitEntry(dictionary.GetKey(i), dictionary.GetValue(i)))
      copy.AddEntry(dictionary.GetKey(i), value);
  return copy;
}

CObjectPtr CCopyBase::CopyElements(CObjectTraverser& visitor, const CObjectPtr& array)
{
  const int nSize = array.GetSize();
  CObjectPtr copy(new CArrayObject);
  copy->SetSize(nSize);
  for (int i = 0; i < nSize; ++i)
    copy->SetAt(i, visitor.VisitElement(i, array[i]).Get());
  return copy;
}

bool CCopyBase::AdmitStream(const CObjectPtr& stream)
{
  auto* pPart = static_cast<CStreamPart*>(stream.Get());
  return !m_pSource || !m_pTarget || !pPart->IsEncoded() ||
         m_pTarget->AdmitStream(*m_pSource, pPart->GetDataLength());
}

void CCopyBase::FillCopy(CObjectTraverser& visitor, const CObjectPtr& source, const CObjectPtr& target)
{
  if (target->IsLocked())
    return;
  const bool bFlush = m_bFlush;
  const int nGroup = m_nGroup;
  target->Lock();
  const CObjectPtr value = source->GetValueObject();
  CObjectPtr stream = source->GetStreamObject();
  if (stream && !AdmitStream(stream))
  {
    stream = nullptr;
    m_pState->m_bRefused = true;
  }
  {
    const BSE::CScopedValue filled(m_nFilled, source.GetObjNumber());
    target->SetValueObject(visitor.Visit(stream ? WithDirectLength(value) : value).Get());
  }
  if (stream)
    target->SetStreamObject(visitor.Visit(stream).Get());
  target->Unlock();
  if (stream)
    HandleStream(source, target);
  m_bFlush = bFlush;
  m_nGroup = nGroup;
  FinishCopy(source, target);
}

void CCopyBase::HandleStream(const CObjectPtr& source, const CObjectPtr& target)
{
  if (!m_pState->m_pStreamStep)
    return;
  const CObjectPtr part = target.GetStreamObject();
  if (part && !static_cast<CStreamPart*>(part.Get())->IsEncodingFinal())
    m_pState->m_pStreamStep->HandleStream(source, target);
}

void CCopyBase::TellDamage(const CObjectPtr& source)
{
  if (!m_pSource || source.GetFile() != m_pSource)
    return;
  const unsigned nCode = m_pSource->GetDamage(source.GetObjNumber());
  if (nCode == 0)
    return;
  // What cannot be read for the moment is not lost: the save ends.
  if (m_pSource->GetReadFailure() != 0)
    m_pState->m_bRefused = true;
  else if (m_pState->m_told.Add(source.GetObjNumber()))
    BSE::ReportLoss(source.Get(), nCode);
}

void CCopyBase::FinishCopy(const CObjectPtr& source, const CObjectPtr& target)
{
  TellDamage(source);
  if (m_bFlush)
    target->Flush(true);
  source->Unload();
  m_copied.Add(source.GetObjNumber());
  m_copied.Add(target.GetObjNumber());
  if (m_copied.GetSize() >= 2 * g_nReleaseLimit)
    ReleaseCopied();
}

void CCopyBase::ReleaseCopied()
{
  if (!m_pSource || !m_pTarget)
    return;
  for (int i = 0; i + 1 < m_copied.GetSize(); i += 2)
  {
    m_pSource->GetXRef().ReleaseObject(m_copied[i]);
    m_pTarget->GetXRef().ReleaseObject(m_copied[i + 1]);
  }
  m_copied.Truncate(0);
}

}  // namespace PDF
