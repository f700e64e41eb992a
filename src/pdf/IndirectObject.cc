#include "pdf/IndirectObject.h"

#include "base/Checked.h"
#include "base/ErrorHandler.h"
#include "base/MemoryStream.h"
#include "base/ScopedValue.h"
#include "base/Tracer.h"
#include "pdf/File.h"
#include "pdf/FilterFactory.h"
#include "pdf/StreamObjects.h"

#include <algorithm>
#include <cassert>
#include <limits>

namespace PDF
{

CIndirectObject::CIndirectObject(CFile* pFile, int nObjNumber, int nGenNumber, std::int64_t nOffset)
    : m_nOffset(nOffset), m_pFile(pFile), m_nObjNumber(nObjNumber), m_nGenNumber(nGenNumber)
{
}

void CIndirectObject::Release()
{
  if (m_nRefCount <= 0 && BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF Object", "Reference count <= 0");
  --m_nRefCount;
  if (m_nRefCount == 0)
    delete this;
  // The reference that is left is that of the table.
  else if (m_nRefCount == 1 && m_nGenNumber >= 0 && m_pFile && m_bLoaded && m_nLockCount == 0 &&
           m_nOffset != -1)
    m_pFile->UnloadUnused(*this);
}

BSE::CErrorHandler* CIndirectObject::OnGetErrorHandler()
{
  return m_pFile ? m_pFile->OnGetErrorHandler() : nullptr;
}

void CIndirectObject::OnReportError(BSE::CScopedPtr<BSE::IError> pError)
{
  if (!pError)
    return;
  OnAddContextInfo(*pError);
  BSE::ReportError(m_pFile, std::move(pError));
}

void CIndirectObject::OnReport(unsigned nCode, const BSE::CErrorProperties* pProperties)
{
  if (m_pFile)
    m_pFile->OnReport(nCode, pProperties);
}

void CIndirectObject::OnAddContextInfo(BSE::IError& error)
{
  BSE::CErrorProperties* pProperties = error.GetProperties();
  if (pProperties && m_nObjNumber != 0)
    pProperties->Set("Object No.", m_nObjNumber);
}

// What is changed in an input by mistake is neither written nor safe: it is gone as soon as the object is
// unloaded.
void CIndirectObject::CheckEdit()
{
  if (!m_pFile || m_pFile->IsEditable())
    return;
  assert(false && "an object of a file that is not written to is changed");
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF Object", "Object %d of a file that is not writable is changed.",
                        m_nObjNumber);
}

bool CIndirectObject::PrepareEdit()
{
  CheckEdit();
  return Value();
}

void CIndirectObject::SetDirty(bool bDirty)
{
  if (bDirty == IsDirty())
    return;
  if (!bDirty)
  {
    m_nOffset = m_pFile ? m_pFile->GetTableOffset(m_nObjNumber) : 0;
    m_bLoaded = true;
    return;
  }
  if (BSE::CTracer::IsOn())
  {
    if (!m_pValue && !m_bLoaded)
      BSE::CTracer::Trace("E", "PDF Object", "SetDirty called for object that has not been loaded");
    BSE::CTracer::Trace("D", "PDF Object", "SetDirty");
  }
  m_nOffset = -1;
  if (m_pFile)
    m_pFile->SetDirty();
}

bool CIndirectObject::Equals(CObject& other)
{
  if (&other == this)
    return true;
  if (other.GetType() != eIndirect || m_nGenNumber < 0)
    return false;
  auto& reference = static_cast<CIndirectObject&>(other);
  return reference.m_nObjNumber == m_nObjNumber && reference.m_nGenNumber == m_nGenNumber &&
         reference.m_pFile == m_pFile;
}

const CString& CIndirectObject::GetStringValue()
{
  Load();
  return m_pValue.GetStringValue();
}

void CIndirectObject::DeleteEntry(const char* szKey)
{
  if (PrepareEdit())
    m_pValue->DeleteEntry(szKey);
}

void CIndirectObject::SetAt(int nIndex, const CObjectPtr& value)
{
  if (PrepareEdit())
    m_pValue->SetAt(nIndex, value);
}

void CIndirectObject::Add(const CObjectPtr& value)
{
  if (PrepareEdit())
    m_pValue->Add(value);
}

void CIndirectObject::SetSize(int nSize)
{
  if (PrepareEdit())
    m_pValue->SetSize(nSize);
}

void CIndirectObject::Insert(int nIndex, const CObjectPtr& value)
{
  if (PrepareEdit())
    m_pValue->Insert(nIndex, value);
}

void CIndirectObject::Delete(int nIndex)
{
  if (PrepareEdit())
    m_pValue->Delete(nIndex);
}

BSE::CObjectPtr<BSE::IByteStream> CIndirectObject::GetStream()
{
  return IsStream() ? m_pStream->GetStream() : nullptr;
}

BSE::CObjectPtr<BSE::IByteStream> CIndirectObject::OnGetDecodedStream()
{
  if (!IsStream())
    return nullptr;
  BSE::CObjectPtr<BSE::IByteStream> pData = m_pStream->GetStream();
  if (!pData || !static_cast<CStreamPart*>(m_pStream.Get())->IsEncoded())
    return pData;
  return CreateDecodeChain(pData.Get(), this);
}

BSE::CObjectPtr<BSE::IByteStream> CIndirectObject::OnGetEncodeFilter(BSE::IByteStream* pSink)
{
  return CreateEncodeChain(pSink, this);
}

bool CIndirectObject::Encode()
{
  if (!m_pFile || !m_pFile->IsWritable())
  {
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF Object", "Unable to create encode filter, file is not writable.");
    return false;
  }
  if (!IsStream())
    return false;
  auto* pPart = static_cast<CStreamPart*>(m_pStream.Get());
  if (pPart->IsEncoded())
    return true;
  BSE::CObjectPtr<BSE::IByteStream> pData = pPart->GetStream();
  BSE::CObjectPtr<BSE::CMemoryStream> pEncoded(new BSE::CMemoryStream);
  const BSE::CObjectPtr<BSE::IByteStream> pFilter = CreateEncodeChain(pEncoded.Get(), this);
  if (!pData)
    return false;
  const bool bEncoded = pFilter &&
                        pFilter->CopyFrom(pData.Get(), std::numeric_limits<std::int64_t>::max(), false) &&
                        CloseEncodeChain(pFilter.Get());
  // Without any bytes there is nothing to encode, even where the encoder is missing or its output would not
  // be empty.
  if (!bEncoded && pPart->GetDataLength() == 0)
  {
    m_pStream = new CEmbeddedStreamObject(new BSE::CMemoryStream, 0, 0);
    return true;
  }
  if (!bEncoded)
    return false;
  m_pStream = new CEmbeddedStreamObject(pEncoded.Get(), 0, pEncoded->GetLength());
  return true;
}

CObjectPtr CIndirectObject::GetStreamObject()
{
  return Load() ? m_pStream : CObjectPtr();
}

void CIndirectObject::SetStreamObject(const CObjectPtr& stream)
{
  CheckEdit();
  m_pStream = stream;
  SetDirty(m_pFile != nullptr || IsDirty());
}

CObjectPtr CIndirectObject::GetValueObject()
{
  return Load() ? m_pValue : CObjectPtr();
}

void CIndirectObject::SetValueObject(const CObjectPtr& value)
{
  CheckEdit();
  m_pValue = value;
  m_bLoaded = true;
  m_bUnreadable = false;
  if (m_pValue && m_pValue->GetType() == eIndirect)
    BreakCycle();
  if (m_pFile)
    SetDirty(true);
}

bool CIndirectObject::Flush(bool bFreeMemory)
{
  if (!IsDirty())
    return true;
  if (IsLocked())
    return false;
  if (!m_pFile || !m_pFile->WriteIndirect(*this))
    return false;
  if (bFreeMemory)
    Unload();
  return true;
}

void CIndirectObject::Lock()
{
  Load();
  ++m_nLockCount;
}

void CIndirectObject::Unlock()
{
  if (m_nLockCount > 0)
    --m_nLockCount;
}

bool CIndirectObject::LoadFromFile()
{
  if (!m_pFile || m_bLoading || !m_pFile->CanLoad())
    return false;
  {
    const BSE::CScopedValue loading(m_bLoading, true);
    m_bUnreadable = !m_pFile->LoadObject(*this);
  }
  // A failed load reads as null until the object is unloaded, so that the damage is met once.
  m_bLoaded = true;
  return !m_bUnreadable;
}

bool CIndirectObject::BreakCycle()
{
  // A reference as the value of an object is against the rules, but is followed.
  constexpr int nMaxChain = 32;
  CObjectPtr value = m_pValue;
  for (int i = 0; value.IsIndirect(); ++i)
  {
    if (value.Get() == this || i >= nMaxChain)
    {
      m_pValue = nullptr;
      return i < nMaxChain;
    }
    value = value.GetValueObject();
  }
  return true;
}

void CIndirectObject::SetCost(std::int64_t nBytes)
{
  m_nCost = BSE::ClampTo<int>(std::max<std::int64_t>(nBytes, 0));
}

void CIndirectObject::Unload()
{
  if (IsDirty() || IsLocked())
    return;
  DropValue();
}

void CIndirectObject::DropValue()
{
  m_bLoaded = m_bUnreadable = false;
  if (m_pFile)
    m_pFile->OnUnloaded(*this);
  // Moved out first: releasing may come back to this object.
  const CObjectPtr value = std::move(m_pValue);
  const CObjectPtr stream = std::move(m_pStream);
}

void CIndirectObject::SetParsed(CObject* pValue, CObject* pStream)
{
  m_pValue = pValue;
  m_pStream = pStream;
  m_bLoaded = true;
  m_bUnreadable = false;
}

void CIndirectObject::SetNumbers(int nObjNumber, int nGenNumber)
{
  m_nObjNumber = nObjNumber;
  m_nGenNumber = nGenNumber;
}

void CIndirectObject::Orphan()
{
  m_pFile = nullptr;
  m_nLockCount = 0;
}

}  // namespace PDF
