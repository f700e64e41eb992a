#include "pdf/XRefTable.h"

#include "base/Limits.h"
#include "base/Tracer.h"
#include "pdf/File.h"

#include <algorithm>

namespace PDF
{

namespace
{

constexpr TXRefEntry g_freeEntry = {0, 0, eXRefFree};

}  // namespace

const TXRefEntry& CXRefTable::GetEntry(int nObjNumber) const
{
  if (nObjNumber < 0 || nObjNumber >= m_nSize)
    return g_freeEntry;
  const TXRefEntry* pPage = m_pages[nObjNumber / g_nPageSize];
  return pPage ? pPage[nObjNumber % g_nPageSize] : g_freeEntry;
}

TXRefEntry& CXRefTable::GetOrCreateEntry(int nObjNumber)
{
  static thread_local TXRefEntry scratch;
  if (nObjNumber < 0 || nObjNumber > BSE::g_nMaxObjNumber)
  {
    scratch = g_freeEntry;
    return scratch;
  }
  const int nPage = nObjNumber / g_nPageSize;
  if (nPage >= m_pages.GetSize())
  {
    try
    {
      m_pages.SetSize(nPage + 1);
    }
    catch (...)
    {
      if (BSE::CTracer::IsOn())
        BSE::CTracer::Trace("E", "PDF XRef", "Failed to allocate XRef table of size %d.", nObjNumber + 1);
      throw;
    }
  }
  if (!m_pages[nPage])
  {
    auto* pPage = static_cast<TXRefEntry*>(BSE::Allocate(sizeof(TXRefEntry) * g_nPageSize));
    std::fill_n(pPage, g_nPageSize, g_freeEntry);
    m_pages[nPage] = pPage;
  }
  m_nSize = std::max(m_nSize, nObjNumber + 1);
  return m_pages[nPage][nObjNumber % g_nPageSize];
}

CIndirectObject* CXRefTable::GetObject(int nObjNumber, int nGenNumber)
{
  TXRefEntry& entry = GetOrCreateEntry(nObjNumber);
  if (nObjNumber < 0 || nObjNumber > BSE::g_nMaxObjNumber)
    return nullptr;
  if (entry.m_nType == eXRefInUse && entry.m_nGeneration != nGenNumber && nGenNumber >= 0 &&
      !std::exchange(entry.m_bOtherReported, true))
    BSE::ReportError(m_pFile, BSE::MakeError(0x00410116, "n1", nGenNumber, "n2", entry.m_nGeneration,
                                             "Object No.", nObjNumber));
  if (entry.m_pObject)
    return entry.m_pObject;
  const bool bInUse = entry.m_nType == eXRefInUse;
  CIndirectObject* pObject = nullptr;
  try
  {
    pObject = new CIndirectObject(m_pFile, nObjNumber, bInUse ? entry.m_nGeneration : 0,
                                  bInUse ? entry.m_nOffset : 0);
  }
  catch (...)
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF XRef", "new CIndirectObject() failed.");
    throw;
  }
  pObject->AddRef();
  entry.m_pObject = pObject;
  return pObject;
}

void CXRefTable::SetOffset(int nObjNumber, int nGenNumber, std::int64_t nOffset)
{
  TXRefEntry& entry = GetOrCreateEntry(nObjNumber);
  entry.m_nType = eXRefInUse;
  entry.m_nOffset = nOffset;
  entry.m_nGeneration = nGenNumber;
  if (!entry.m_pObject || entry.m_pObject->Tell() == nOffset)
    return;
  entry.m_pObject->Unload();
  entry.m_pObject->Seek(nOffset);
  entry.m_pObject->SetNumbers(nObjNumber, nGenNumber);
}

void CXRefTable::SetCompressed(int nObjNumber, int nStream, int nIndex)
{
  if (nObjNumber == nStream)
    return;
  TXRefEntry& entry = GetOrCreateEntry(nObjNumber);
  entry.m_nType = eXRefCompressed;
  entry.m_nOffset = nStream;
  entry.m_nGeneration = nIndex;
  if (!entry.m_pObject)
    return;
  entry.m_pObject->Unload();
  entry.m_pObject->Seek(0);
}

void CXRefTable::SetFree(int nObjNumber, int nGenNumber, int nNext)
{
  if (nObjNumber == 0)
    m_bHasObjectZero = true;
  if (nObjNumber < 0 || nObjNumber > BSE::g_nMaxObjNumber)
    return;
  m_nListed = std::max(m_nListed, nObjNumber + 1);
  if (!m_pages[nObjNumber / g_nPageSize])
    return;
  TXRefEntry& entry = GetOrCreateEntry(nObjNumber);
  entry.m_nType = eXRefFree;
  entry.m_nOffset = nNext;
  entry.m_nGeneration = nGenNumber;
  if (entry.m_pObject)
    entry.m_pObject->Unload();
}

void CXRefTable::SetObject(int nObjNumber, CIndirectObject* pObject)
{
  TXRefEntry& entry = GetOrCreateEntry(nObjNumber);
  pObject->AddRef();
  CIndirectObject* pFormer = entry.m_pObject;
  entry = {0, pObject->GetGenNumber(), eXRefInUse};
  entry.m_pObject = pObject;
  if (pFormer)
    pFormer->Release();
}

int CXRefTable::GetStreamOf(int nObjNumber) const
{
  const TXRefEntry& entry = GetEntry(nObjNumber);
  return entry.m_nType == eXRefCompressed ? static_cast<int>(entry.m_nOffset) : -1;
}

int CXRefTable::GetIndexOf(int nObjNumber) const
{
  const TXRefEntry& entry = GetEntry(nObjNumber);
  return entry.m_nType == eXRefCompressed ? entry.m_nGeneration : -1;
}

void CXRefTable::Remove(int nObjNumber)
{
  if (nObjNumber < 0 || nObjNumber >= m_nSize)
    return;
  TXRefEntry& entry = GetOrCreateEntry(nObjNumber);
  CIndirectObject* pObject = entry.m_pObject;
  entry = {0, 65535, eXRefFree};
  if (!pObject)
    return;
  pObject->Orphan();
  pObject->Release();
}

void CXRefTable::ReleaseObject(int nObjNumber)
{
  if (!GetEntry(nObjNumber).m_pObject)
    return;
  TXRefEntry& entry = GetOrCreateEntry(nObjNumber);
  if (entry.m_pObject->GetRefCount() != 1 || entry.m_pObject->IsDirty() || entry.m_pObject->IsLocked())
    return;
  CIndirectObject* pObject = std::exchange(entry.m_pObject, nullptr);
  pObject->Unload();
  pObject->Orphan();
  pObject->Release();
}

void CXRefTable::RemoveAll()
{
  // Objects hold one another: first none of them reaches the file any more, then all values go, then the
  // objects.
  for (int i = GetNextNumber(-1); i < m_nSize; i = GetNextNumber(i))
    if (CIndirectObject* pObject = GetEntry(i).m_pObject)
      pObject->Orphan();
  for (int i = GetNextNumber(-1); i < m_nSize; i = GetNextNumber(i))
    if (CIndirectObject* pObject = GetEntry(i).m_pObject)
      pObject->SetParsed(nullptr, nullptr);
  for (int i = GetNextNumber(-1); i < m_nSize; i = GetNextNumber(i))
    if (CIndirectObject* pObject = GetEntry(i).m_pObject)
      pObject->Release();
  for (TXRefEntry* pPage : m_pages.GetSpan())
    BSE::Free(pPage);
  m_pages.RemoveAll();
  m_nSize = m_nListed = 0;
  m_bHasObjectZero = false;
}

int CXRefTable::GetNextNumber(int nObjNumber) const
{
  for (++nObjNumber; nObjNumber < m_nSize; nObjNumber = (nObjNumber / g_nPageSize + 1) * g_nPageSize)
    if (m_pages[nObjNumber / g_nPageSize])
      return nObjNumber;
  return m_nSize;
}

}  // namespace PDF
