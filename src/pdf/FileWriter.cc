// From values to objects in the output. An object is written as soon as its owner says so, to where the
// output is, and its place goes into the table; small ones collect in object streams first. A section of
// cross-references ends a revision. What was written can be read back, so the reader asks here for what is
// still buffered.

#include "pdf/FileWriter.h"

#include "base/EmbeddedStream.h"
#include "base/Tracer.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/File.h"
#include "pdf/FilterFactory.h"
#include "pdf/PendingObjectStream.h"
#include "pdf/RevisionWriter.h"
#include "pdf/StatusCodes.h"
#include "pdf/StreamObjects.h"

#include <algorithm>

namespace PDF
{

namespace
{

constexpr int g_nWriteBufferSize = 1 << 16;

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

// The value after a position of a container, -1 before the first; false at its end and for anything else.
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

// Ten digits are the room for a position in a cross-reference table.
constexpr std::int64_t g_nMaxTablePosition = 9999999999;

}  // namespace

CFileWriter::CFileWriter(CFile& file, TFileState& state) : m_file(file), m_state(state) {}

CFileWriter::~CFileWriter() = default;

void CFileWriter::Begin(BSE::IByteStream* pOutput, bool bAppending)
{
  m_pOutput = pOutput;
  for (auto& pPending : m_pendingObjStm)
    pPending.Reset();
  m_nSavedBytes = 0;
  m_bHeaderWritten = false;
  m_bAppending = bAppending;
  m_bFailed = false;
}

void CFileWriter::Reset()
{
  for (auto& pPending : m_pendingObjStm)
    pPending.Reset();
  DropBuffers();
  m_pOutput = nullptr;
  m_bHeaderWritten = m_bAppending = m_bDirty = m_bFailed = false;
  m_nSavedBytes = m_nRevisionStart = 0;
  m_nFlushedStreams = 0;
}

void CFileWriter::DropBuffers()
{
  m_pGenerator.Reset();
  m_pWriter = nullptr;
}

bool CFileWriter::Prepare()
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

bool CFileWriter::WriteHeader()
{
  if (m_bAppending)
  {
    if (!m_pWriter->Seek(-1))
      return FailWriting();
    m_nRevisionStart = m_pWriter->Tell() - m_state.m_nHeaderOffset;
    m_pGenerator->WriteByte('\n');
  }
  else
  {
    m_state.m_nHeaderOffset = m_pWriter->Tell();
    m_nRevisionStart = 0;
    m_pGenerator->WriteText("%PDF-");
    m_pGenerator->WriteInteger(m_state.m_nMajor);
    m_pGenerator->WriteByte('.');
    m_pGenerator->WriteInteger(m_state.m_nMinor);
    m_pGenerator->WriteText("\n%\xE2\xE3\xCF\xD3\n");
  }
  m_bHeaderWritten = true;
  return !m_pWriter->HasFailed() || FailWriting();
}

bool CFileWriter::Fail(unsigned nCode)
{
  if (!m_bFailed && nCode != 0)
    BSE::ReportEnd(&m_file, nCode);
  m_bFailed = true;
  return false;
}

// Whatever was to be written came from the input, or from memory, if it was not the output that refused it.
bool CFileWriter::FailWriting()
{
  if (m_pWriter && m_pWriter->HasFailed())
    return Fail(m_pWriter->GetFailure());
  const BSE::IError* pError = BSE::CTLSError::Get();
  return Fail(pError ? pError->GetCode() : 0);
}

// Memory that runs out in a stream of it is no error of anybody else.
bool CFileWriter::FailCopying()
{
  const BSE::IError* pError = BSE::CTLSError::Get();
  return Fail(pError && pError->GetCode() != 0 ? pError->GetCode() : BSE::g_nOutOfMemory);
}

void CFileWriter::Sync()
{
  if (m_pWriter)
    m_pWriter->Flush();
}

bool CFileWriter::UsesObjectStreams() const
{
  return m_state.m_bWantObjectStreams && m_state.IsVersionAtLeast(1, 5) &&
         (m_state.m_nXRefForm == eXRefUnknown || m_state.m_nXRefForm == eXRefStream);
}

// Walks the values with a stack of its own: an indirect object stays locked from its meeting until its
// children are written, so that a cycle ends at it.
bool CFileWriter::WriteObject(CObject* pObject, bool bFollow)
{
  struct TFrame
  {
    CObject* m_pContainer;      // null once its values are done
    CIndirectObject* m_pOwner;  // to be written after them, or null
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
      if (!pIndirect->IsDirty() || pIndirect->IsLocked() || pIndirect->GetFile() != &m_file)
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

bool CFileWriter::WriteIndirect(CIndirectObject& object)
{
  if (!object.IsDirty())
    return true;
  if (!Prepare())
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

bool CFileWriter::WriteCompressed(CIndirectObject& object, int nGroup)
{
  auto& pPending = m_pendingObjStm[nGroup];
  if (!pPending)
    pPending.Reset(new CPendingObjectStream(m_file, m_state, *this));
  if (!pPending->Add(object))
    return Fail(BSE::g_nOutOfMemory);
  if (!pPending->IsFull())
    return true;
  const BSE::CScopedPtr<CPendingObjectStream> pFull = std::move(pPending);
  return pFull->Flush() || Fail(BSE::g_nOutOfMemory);
}

bool CFileWriter::ReadPending(int nStream, CIndirectObject& object, int nIndex)
{
  for (auto& pPending : m_pendingObjStm)
    if (pPending && pPending->GetObjNumber() == nStream)
      return pPending->Read(object, nIndex);
  return false;
}

bool CFileWriter::FlushPending(int nStream)
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

bool CFileWriter::WriteDirect(CIndirectObject& object)
{
  const bool bSecure = m_state.m_pSecurity && &object != m_state.m_encrypt.Get();
  CSecurityHandler* pStrings =
      bSecure && !m_state.m_pSecurity->HasPlainStrings(object) ? m_state.m_pSecurity.Get() : nullptr;
  CSecurityHandler* pData =
      bSecure && !m_state.m_pSecurity->IsExempt(object) ? m_state.m_pSecurity.Get() : nullptr;
  const int nObjNumber = object.GetObjNumber();
  const int nGenNumber = std::max(object.GetGenNumber(), 0);
  const std::int64_t nOffset = m_pWriter->Tell() - m_state.m_nHeaderOffset;
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
  m_state.m_xref.SetOffset(nObjNumber, nGenNumber, nOffset);
  return true;
}

BSE::CObjectPtr<BSE::CMemoryStream> CFileWriter::Deflate(std::span<const unsigned char> data)
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

// Encoded bytes pass through as they are; decoded ones are encoded first, so that the length comes first.
bool CFileWriter::WriteStreamData(CIndirectObject& object, CSecurityHandler* pSecurity)
{
  const auto* pPart = static_cast<CStreamPart*>(object.GetStreamObject().Get());
  BSE::CTLSError::SetSuccess();
  if (!pPart->IsEncoded() && GetFilterCount(&object) > 0 && !object.Encode())
    return FailCopying();
  BSE::CObjectPtr<BSE::IByteStream> pData = object.GetStreamObject()->GetStream();
  if (!pData || !pData->IsValid())
    return false;
  std::int64_t nLength = GetAvailableLength(*pData);
  if (nLength < 0)
  {
    const BSE::CObjectPtr<BSE::CMemoryStream> pCopy(new BSE::CMemoryStream);
    BSE::CTLSError::SetSuccess();
    if (!pCopy->CopyFrom(pData.Get(), -1, false))
      return FailCopying();
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
                                           std::max(object.GetGenNumber(), 0), &m_file, nCrypt);
  if (!pSink)
    return Fail(BSE::g_nStreamWriteFailed);
  if (!pSink->CopyFrom(pData.Get(), nLength, true) || !CloseEncodeChain(pSink.Get()))
    return false;
  m_pGenerator->EndStream();
  return true;
}

bool CFileWriter::FlushObjects()
{
  for (int i = m_state.m_xref.GetNextNumber(0); i < m_state.m_xref.GetSize();
       i = m_state.m_xref.GetNextNumber(i))
  {
    CIndirectObject* pObject = m_state.m_xref.GetEntry(i).m_pObject;
    if (pObject && pObject->IsDirty() && !pObject->IsLocked() && !pObject->Flush(true))
      return false;
  }
  for (auto& pPending : m_pendingObjStm)
  {
    const BSE::CScopedPtr<CPendingObjectStream> pComplete = std::move(pPending);
    if (pComplete && !pComplete->Flush())
      return Fail(BSE::g_nOutOfMemory);
  }
  return true;
}

bool CFileWriter::WriteSection()
{
  const bool bUpdate = m_state.m_nStartXRef > 0 && !m_state.m_bRecoveryDone;
  CRevisionWriter writer(m_file, m_state, *this, *m_pGenerator, bUpdate ? m_state.m_nStartXRef : -1,
                         m_nRevisionStart);
  const std::int64_t nPosition = m_pGenerator->Tell() - m_state.m_nHeaderOffset;
  if (m_state.m_nXRefForm == eXRefUnknown)
    m_state.m_nXRefForm =
        m_state.m_bWantObjectStreams && m_state.IsVersionAtLeast(1, 5) ? eXRefStream : eXRefTable;
  if (nPosition > g_nMaxTablePosition && m_state.m_nXRefForm != eXRefStream)
  {
    m_state.m_nXRefForm = eXRefStream;
    if (BSE::CTracer::IsOn())
      BSE::CTracer::Trace("E", "PDF File", "Forced to use cross-reference stream because of file size.");
  }
  if (m_state.m_nXRefForm != eXRefStream && writer.NeedsStream())
    m_state.m_nXRefForm = eXRefStream;
  if (m_state.m_nXRefForm == eXRefStream ? !writer.WriteStream() : !writer.WriteTable())
    return false;
  m_state.m_nStartXRef = writer.GetPosition();
  return true;
}

bool CFileWriter::FinishRevision()
{
  if (!m_bDirty)
    return true;
  if (!m_state.m_root)
    return Fail(g_nFileNotCreated);
  if (!Prepare() || !FlushObjects())
    return FailWriting();
  if (!WriteSection() || !m_pWriter->Flush())
    return FailWriting();
  m_bDirty = false;
  m_nRevisionStart = m_pGenerator->Tell() - m_state.m_nHeaderOffset;
  m_nFlushedStreams = 0;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("I", "PDF File", "Saved bytes in object streams: %d",
                        static_cast<int>(m_nSavedBytes));
  return true;
}

}  // namespace PDF
