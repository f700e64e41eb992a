#include "base/EmbeddedStream.h"
#include "base/Limits.h"
#include "base/Tracer.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/File.h"
#include "pdf/FilterFactory.h"
#include "pdf/Generator.h"
#include "pdf/PendingObjectStream.h"
#include "pdf/SimpleObjects.h"
#include "pdf/StatusCodes.h"
#include "pdf/StreamDeflater.h"
#include "pdf/StreamObjects.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>

#include <unistd.h>

// The writing members of CFile: from values to objects in the output.
namespace PDF
{

namespace
{

constexpr int g_nWriteBufferSize = 1 << 16;

constexpr int g_nIdLength = 16;

// Identifiers need to differ, not to be secret.
unsigned CreateSeed()
{
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  const auto nThread = reinterpret_cast<std::uintptr_t>(&now) >> 8;
  return static_cast<unsigned>(now.tv_sec) ^ static_cast<unsigned>(now.tv_nsec) * 2654435761U ^
         static_cast<unsigned>(getpid()) << 16 ^ static_cast<unsigned>(nThread);
}

CString CreateFileId()
{
  static thread_local unsigned nSeed = CreateSeed();
  unsigned char id[g_nIdLength];
  for (unsigned char& nByte : id)
    nByte = static_cast<unsigned char>(rand_r(&nSeed) >> 8);
  return CString(id, g_nIdLength);
}

// What a stream can deliver from its beginning; -1 if that is not known. A section cannot reach beyond its
// source, whatever the file says.
std::int64_t GetAvailableLength(BSE::IByteStream& data)
{
  std::int64_t nLength = data.GetLength();
  const auto* pSection = dynamic_cast<BSE::CEmbeddedStream*>(&data);
  if (nLength < 0 || !pSection || !pSection->GetSource())
    return nLength;
  const std::int64_t nSource = pSection->GetSource()->GetLength();
  if (nSource >= 0)
    nLength = std::clamp<std::int64_t>(nSource - pSection->GetOffset(), 0, nLength);
  return nLength;
}

// The value behind a position of a container, -1 in front of the first; false at its end and for anything
// else.
bool NextValue(CObject* pContainer, int& nPos, CObject*& pValue)
{
  if (!pContainer)
    return false;
  if (pContainer->GetType() == eArray)
  {
    auto* pArray = static_cast<CArrayObject*>(pContainer);
    if (++nPos >= pArray->GetSize())
      return false;
    pValue = pArray->PeekElement(nPos);
    return true;
  }
  if (pContainer->GetType() == eIndirect)
  {
    pValue = nPos++ < 0 ? pContainer : nullptr;
    return pValue != nullptr;
  }
  if (pContainer->GetType() != eDictionary)
    return false;
  auto* pDictionary = static_cast<CDictionaryObject*>(pContainer);
  nPos = pDictionary->GetNext(nPos);
  if (nPos == pDictionary->GetEnd())
    return false;
  pValue = pDictionary->PeekValue(nPos);
  return true;
}

}  // namespace

bool CFile::Create(BSE::IByteStream* pStream, const CString& id, bool bDirectOutput, bool bObjectStreams)
{
  if (!BSE::IsObjectAddress(pStream) || !pStream->IsValid())
  {
    BSE::ReportEnd(this, g_nFileNotCreated);
    return false;
  }
  // What the thread has met before is not what will end this file.
  BSE::CTLSError::SetSuccess();
  m_pTarget = nullptr;
  m_pOutput = pStream;
  if (!bDirectOutput && !pStream->IsFile())
  {
    m_pTarget = pStream;
    m_pOutput = new BSE::CMemoryStream;
  }
  m_pInput = m_pOutput;
  CreateParser();
  m_id1 = id.IsEmpty() ? CreateFileId() : id;
  m_id2 = CreateFileId();
  for (auto& pPending : m_pendingObjStm)
    pPending.Reset();
  m_bWantObjectStreams = bObjectStreams;
  m_nXRefForm = eXRefUnknown;
  m_nStartXRef = -1;
  m_nSavedBytes = 0;
  m_bHeaderWritten = false;
  m_bAppending = false;
  m_bFailed = false;
  m_bOpened = true;
  return true;
}

void CFile::InitVersion(int nMajor, int nMinor)
{
  m_nMajor = nMajor;
  m_nMinor = nMinor;
}

void CFile::SetVersion(int nMajor, int nMinor)
{
  if (IsVersionAtLeast(nMajor, nMinor))
    return;
  if (m_bHeaderWritten || m_bAppending)
  {
    if (BSE::CTracer::IsOn() && !IsVersionAtLeast(1, 4))
    {
      const char szOld[] = {static_cast<char>('0' + m_nMajor % 10), '.',
                            static_cast<char>('0' + m_nMinor % 10), '\0'};
      BSE::CTracer::Trace("I", "PDF File", "Upgrading PDF version from %s.", szOld);
    }
    const char szNew[] = {static_cast<char>('0' + nMajor % 10), '.', static_cast<char>('0' + nMinor % 10),
                          '\0'};
    if (m_root.AddEntry("Version", new CNameObject(szNew)))
      m_root->SetDirty(true);
  }
  InitVersion(nMajor, nMinor);
}

void CFile::SetSecurityHandler(CSecurityHandler* pHandler)
{
  m_pSecurity = pHandler;
  m_encrypt = nullptr;
  if (!m_pSecurity)
    return;
  m_encrypt = NewObject(0, 0, g_nGroupDirect);
  if (!m_encrypt)
    return;
  const CObjectPtr dictionary(new CDictionaryObject);
  m_pSecurity->Write(*dictionary);
  m_encrypt->SetValueObject(dictionary.Get());
}

CObjectPtr CFile::NewObject(int nObjNumber, int nGenNumber, int nGroup)
{
  if (nObjNumber == 0)
    nObjNumber = std::max(m_xref.GetListedSize(), 1);
  if (nObjNumber < 1 || nObjNumber > BSE::g_nMaxObjNumber)
  {
    Fail(g_nFileNotCreated);
    return nullptr;
  }
  const BSE::CObjectPtr<CIndirectObject> pObject(new CIndirectObject(this, nObjNumber, nGenNumber, -1));
  pObject->SetCompressedFlags(nGroup);
  m_xref.SetObject(nObjNumber, pObject.Get());
  m_bDirty = true;
  return pObject.Get();
}

CObjectMap& CFile::GetObjectMap(CFile& source)
{
  for (CObjectMap* pMap : m_objectMaps.GetSpan())
    if (pMap->GetSource() == &source)
      return *pMap;
  BSE::CScopedPtr<CObjectMap> pMap(new CObjectMap(&source));
  m_objectMaps.Add(pMap.Get());
  return *pMap.Detach();
}

CObjectPtr CFile::GetCopy(CFile& source, int nObjNumber)
{
  for (const CObjectMap* pMap : m_objectMaps.GetSpan())
    if (pMap->GetSource() == &source)
      if (const int nCopy = pMap->GetAt(nObjNumber); nCopy > 0)
        return m_xref.GetObject(nCopy, -1);
  return nullptr;
}

CObjectPtr CFile::GetOrCreateCopy(CFile* pSource, int nObjNumber, bool& bCreated, int nGroup)
{
  bCreated = false;
  if (!pSource || nObjNumber < 1)
    return nullptr;
  for (CObjectMap* pMap : m_objectMaps.GetSpan())
  {
    if (pMap->GetSource() != pSource)
      continue;
    if (const int nCopy = pMap->GetAt(nObjNumber); nCopy > 0)
      return m_xref.GetObject(nCopy, -1);
    CObjectPtr copy = NewObject(0, 0, nGroup);
    pMap->SetAt(nObjNumber, copy.GetObjNumber());
    bCreated = !copy.IsNull();
    return copy;
  }
  return nullptr;
}

bool CFile::PrepareToWrite()
{
  if (!m_pOutput || m_bFailed)
    return false;
  if (!m_pGenerator)
  {
    m_pWriter = new BSE::CBufferedOutputStream(m_pOutput.Get(), g_nWriteBufferSize);
    m_pGenerator.Reset(new CGenerator(m_pWriter.Get(), m_pDeflater ? eLayoutDense : eLayoutLines));
  }
  return m_bHeaderWritten || WriteHeader();
}

bool CFile::WriteHeader()
{
  if (m_bAppending)
  {
    if (!m_pWriter->Seek(-1))
      return FailWriting();
    m_nRevisionStart = m_pWriter->Tell() - m_nHeaderOffset;
    m_pGenerator->WriteByte('\n');
  }
  else
  {
    m_nHeaderOffset = m_pWriter->Tell();
    m_nRevisionStart = 0;
    m_pGenerator->WriteText("%PDF-");
    m_pGenerator->WriteInteger(m_nMajor);
    m_pGenerator->WriteByte('.');
    m_pGenerator->WriteInteger(m_nMinor);
    m_pGenerator->WriteText("\n%\xE2\xE3\xCF\xD3\n");
  }
  m_bHeaderWritten = true;
  return !m_pWriter->HasFailed() || FailWriting();
}

bool CFile::Fail(unsigned nCode)
{
  if (!m_bFailed && nCode != 0)
    BSE::ReportEnd(this, nCode);
  m_bFailed = true;
  return false;
}

// Whatever was to be written came from the input, or from memory, if it was not the output that refused it.
bool CFile::FailWriting()
{
  if (m_pWriter && m_pWriter->HasFailed())
    return Fail(m_pWriter->GetFailure());
  const BSE::IError* pError = BSE::CTLSError::Get();
  return Fail(pError ? pError->GetCode() : 0);
}

void CFile::SyncOutput()
{
  if (m_pWriter)
    m_pWriter->Flush();
}

bool CFile::UsesObjectStreams() const
{
  return m_bWantObjectStreams && IsVersionAtLeast(1, 5) &&
         (m_nXRefForm == eXRefUnknown || m_nXRefForm == eXRefStream);
}

// Walks the values with a stack of its own: an indirect object stays locked from its meeting until its
// children are written, so that a cycle ends at it.
bool CFile::WriteObject(CObject* pObject, bool bFollow)
{
  struct TFrame
  {
    CObject* m_pContainer;      // null once its values are done
    CIndirectObject* m_pOwner;  // to be written behind them, or null
    int m_nPos;
  };
  BSE::CBasicArray<TFrame> frames;
  bool bResult = true;
  const auto visit = [&](CObject* pValue)
  {
    if (!pValue)
      return;
    switch (pValue->GetType())
    {
    case eIndirect:
    {
      auto* pIndirect = static_cast<CIndirectObject*>(pValue);
      if (!pIndirect->IsDirty() || pIndirect->IsLocked() || pIndirect->GetFile() != this)
        return;
      if (!bFollow)
      {
        bResult = pIndirect->Flush(true) && bResult;
        return;
      }
      pIndirect->Lock();
      frames.Add({pIndirect->GetValueObject().Get(), pIndirect, -1});
      return;
    }
    case eArray:
    case eDictionary:
      frames.Add({pValue, nullptr, -1});
      return;
    default:
      return;
    }
  };

  visit(pObject);
  while (!frames.IsEmpty())
  {
    TFrame& frame = frames.GetSpan().back();
    CObject* pNext = nullptr;
    if (NextValue(frame.m_pContainer, frame.m_nPos, pNext))
    {
      visit(pNext);
      continue;
    }
    CIndirectObject* pOwner = frame.m_pOwner;
    frames.Truncate(frames.GetSize() - 1);
    if (!pOwner)
      continue;
    pOwner->Unlock();
    bResult = pOwner->Flush(true) && bResult;
  }
  return bResult;
}

bool CFile::WriteIndirect(CIndirectObject& object)
{
  if (!object.IsDirty())
    return true;
  if (!PrepareToWrite())
    return false;
  const int nGroup = object.GetCompressedFlags();
  if (nGroup < 0 || nGroup >= g_nGroupDirect || !UsesObjectStreams())
    return WriteDirect(object);
  const CObjectPtr value = object.GetValueObject();
  if (object.IsStream() || value.IsNull() || value.IsIndirect() || object.GetGenNumber() > 0)
  {
    object.SetCompressedFlags(g_nGroupDirect);
    return WriteDirect(object);
  }
  return WriteCompressed(object, nGroup);
}

bool CFile::WriteCompressed(CIndirectObject& object, int nGroup)
{
  auto& pPending = m_pendingObjStm[nGroup];
  if (!pPending)
    pPending.Reset(new CPendingObjectStream(*this));
  if (!pPending->Add(object))
    return Fail(BSE::g_nOutOfMemory);
  if (!pPending->IsFull())
    return true;
  const BSE::CScopedPtr<CPendingObjectStream> pFull = std::move(pPending);
  return pFull->Flush() || Fail(BSE::g_nOutOfMemory);
}

bool CFile::FlushPendingHolder(int nStream)
{
  for (auto& pPending : m_pendingObjStm)
  {
    if (!pPending || pPending->GetObjNumber() != nStream)
      continue;
    const BSE::CScopedPtr<CPendingObjectStream> pComplete = std::move(pPending);
    return pComplete->Flush() || Fail(BSE::g_nOutOfMemory);
  }
  return true;
}

bool CFile::WriteDirect(CIndirectObject& object)
{
  const bool bSecure = m_pSecurity && &object != m_encrypt.Get();
  CSecurityHandler* pStrings = bSecure && !m_pSecurity->HasPlainStrings(object) ? m_pSecurity.Get() : nullptr;
  CSecurityHandler* pData = bSecure && !m_pSecurity->IsExempt(object) ? m_pSecurity.Get() : nullptr;
  const int nObjNumber = object.GetObjNumber();
  const int nGenNumber = std::max(object.GetGenNumber(), 0);
  const std::int64_t nOffset = m_pWriter->Tell() - m_nHeaderOffset;
  m_pGenerator->BeginObject(nObjNumber, nGenNumber);
  m_pGenerator->SetEncryption(pStrings, nObjNumber, nGenNumber);
  bool bWritten = true;
  if (object.IsStream())
  {
    bWritten = WriteStreamData(object, pData);
  }
  else
  {
    m_pGenerator->WriteValue(object.GetValueObject().Get());
    m_pGenerator->WriteByte('\n');
  }
  m_pGenerator->SetEncryption(nullptr, 0, 0);
  m_pGenerator->EndObject();
  if (bWritten && pStrings && pStrings->HasFailed())
    return Fail(BSE::g_nStreamWriteFailed);
  if (!bWritten || m_pWriter->HasFailed())
    return FailWriting();
  m_xref.SetOffset(nObjNumber, nGenNumber, nOffset);
  return true;
}

BSE::CObjectPtr<BSE::CMemoryStream> CFile::Deflate(std::span<const unsigned char> data)
{
  BSE::CBasicArray<unsigned char> encoded;
  if (m_pDeflater)
    m_pDeflater->Deflate(data, encoded);
  if (!encoded.IsEmpty())
    return new BSE::CMemoryStream(encoded.GetData(), encoded.GetSize());
  BSE::CObjectPtr<BSE::CMemoryStream> pEncoded(new BSE::CMemoryStream);
  CObjectPtr parameters;
  const BSE::CObjectPtr<BSE::IByteStream> pFilter =
      CreateEncodeFilter(pEncoded.Get(), "FlateDecode", nullptr, parameters);
  const bool bDone =
      pFilter && pFilter->WriteAll(data.data(), std::ssize(data)) && CloseEncodeChain(pFilter.Get());
  return bDone ? pEncoded : nullptr;
}

// Encoded bytes pass through as they are; decoded ones are encoded first, so that the length stands in front.
bool CFile::WriteStreamData(CIndirectObject& object, CSecurityHandler* pSecurity)
{
  const auto* pPart = static_cast<CStreamPart*>(object.GetStreamObject().Get());
  if (!pPart->IsEncoded() && GetFilterCount(&object) > 0 && !object.Encode())
    return false;
  BSE::CObjectPtr<BSE::IByteStream> pData = object.GetStreamObject()->GetStream();
  if (!pData || !pData->IsValid())
    return false;
  std::int64_t nLength = GetAvailableLength(*pData);
  if (nLength < 0)
  {
    const BSE::CObjectPtr<BSE::CMemoryStream> pCopy(new BSE::CMemoryStream);
    BSE::CTLSError::SetSuccess();
    if (!pCopy->CopyFrom(pData.Get(), -1, false))
    {
      const BSE::IError* pError = BSE::CTLSError::Get();
      return Fail(pError && pError->GetCode() != 0 ? pError->GetCode() : BSE::g_nOutOfMemory);
    }
    nLength = pCopy->GetLength();
    pCopy->Rewind();
    pData = pCopy;
  }
  const CObjectPtr dictionary = object.GetValueObject();
  if (pSecurity && IsPlainByFilter(&object))
    pSecurity = nullptr;
  else if (pSecurity && GetCryptFilterName(&object))
    RemoveFirstFilter(*dictionary);
  const int nCrypt =
      pSecurity ? pSecurity->FindStreamCrypt(object, nullptr) : CSecurityHandler::g_nStreamCrypt;
  if (const char* szCrypt = pSecurity ? pSecurity->GetCryptName(nCrypt) : nullptr)
    InsertCryptFilter(*dictionary, szCrypt);
  m_pGenerator->WriteStreamDictionary(dictionary.Get(),
                                      pSecurity ? pSecurity->GetEncryptedLength(nLength, nCrypt) : nLength);
  m_pGenerator->BeginStream();
  BSE::CObjectPtr<BSE::IByteStream> pSink = m_pWriter;
  if (pSecurity)
    pSink = pSecurity->CreateEncryptFilter(m_pWriter.Get(), object.GetObjNumber(),
                                           std::max(object.GetGenNumber(), 0), this, nCrypt);
  if (!pSink)
    return Fail(BSE::g_nStreamWriteFailed);
  if (!pSink->CopyFrom(pData.Get(), nLength, true) || !CloseEncodeChain(pSink.Get()))
    return false;
  m_pGenerator->EndStream();
  return true;
}

}  // namespace PDF
