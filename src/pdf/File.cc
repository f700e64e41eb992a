// Opening and loading of CFile; writing stands in FileWriter.cc.

#include "pdf/File.h"

#include "base/EmbeddedStream.h"
#include "base/ErrorHandler.h"
#include "base/Limits.h"
#include "base/ScopedValue.h"
#include "base/Tracer.h"
#include "pdf/FileLoader.h"
#include "pdf/Generator.h"
#include "pdf/ObjectStream.h"
#include "pdf/Parser.h"
#include "pdf/PendingObjectStream.h"
#include "pdf/XRefRecovery.h"

#include <algorithm>
#include <cstdio>

namespace PDF
{

namespace
{

constexpr unsigned g_nHeaderVersion = 0x00410106;
constexpr unsigned g_nWrongOffset = 0x00418309;
constexpr unsigned g_nNotOpened = 0x80410101;
constexpr unsigned g_nWrongLength = 0x80410306;
constexpr unsigned g_nWrongPassword = 0x80410112;
constexpr unsigned g_nNoTrailer = 0x8041010E;
constexpr unsigned g_nNoRoot = 0x8041010F;

constexpr unsigned g_nSizeExceeded = 0x80300040;

constexpr int g_nCachedObjectStreams = 10;
constexpr int g_nCachedObjectStreamsReread = 1000;

// Loads inside loads: a stream's length through references, and references as values, at most that many deep.
constexpr int g_nMaxLoadDepth = 64;

}  // namespace

CFile::CFile(BSE::IErrorContext* pErrorContext) : BSE::CBasicErrorContext(pErrorContext) {}

CFile::~CFile()
{
  ReleaseAll();
}

bool CFile::Open(BSE::IByteStream* pStream, bool bUpdate)
{
  if (!pStream || !pStream->IsValid())
  {
    BSE::ReportError(this, g_nNotOpened);
    return false;
  }
  ReleaseAll();
  m_pInput = pStream;
  m_bAppending = bUpdate;
  if (bUpdate)
    m_pOutput = pStream;
  CreateParser();
  if (!m_pParser->ReadHeader(m_nHeaderOffset, m_nMajor, m_nMinor))
  {
    ReleaseAll();
    return false;
  }
  CFileLoader loader(*this);
  loader.TestLinearized();
  m_nStartXRef = m_pParser->ReadStartXRef();
  bool bGood = m_nStartXRef >= 0 && loader.ReadChain(m_nStartXRef) && loader.Merge();
  if (bGood && (m_xref.GetSize() == 0 || !CheckRoot()))
  {
    BSE::ReportError(this, m_xref.GetSize() == 0 ? g_nNoTrailer : g_nNoRoot);
    bGood = false;
  }
  if (!bGood)
  {
    CXRefRecovery recovery(*this);
    if (!recovery.Run(false) || !CheckRoot())
    {
      if (m_bOpened)
        BSE::ReportError(this, g_nNoRoot);
      ReleaseAll();
      return false;
    }
  }
  m_bOpened = true;
  std::reverse(m_revisions.GetSpan().begin(), m_revisions.GetSpan().end());
  if (m_revisions.GetSize() >= 2 && m_revisions[1] < m_revisions[0])
    m_revisions.RemoveAt(0);
  if (!m_encrypt)
    ReadCatalogueVersion();
  return true;
}

void CFile::CreateParser()
{
  m_pParser.Reset(new CParser(this));
}

bool CFile::CheckRoot()
{
  if (!m_root)
    return false;
  // Its object stream may need the password: then it is checked after that.
  const int nRoot = m_root.GetObjNumber();
  if (m_encrypt && !m_pSecurity && (m_xref.GetStreamOf(nRoot) > 0 || !m_recoveredHolders.IsEmpty()))
    return true;
  return m_root.IsDictionary();
}

void CFile::ReadCatalogueVersion()
{
  int nMajor = 0;
  int nMinor = 0;
  const char* szVersion = m_root["Version"].IsName() ? m_root["Version"].GetNameValue() : nullptr;
  if (szVersion && szVersion[0] >= '0' && szVersion[0] <= '9' && szVersion[1] == '.' && szVersion[2] >= '0' &&
      szVersion[2] <= '9')
  {
    nMajor = szVersion[0] - '0';
    nMinor = szVersion[2] - '0';
  }
  if (!IsVersionAtLeast(nMajor, nMinor))
  {
    m_nMajor = nMajor;
    m_nMinor = nMinor;
  }
  if (!m_conformance.IsNone() && (IsVersionAtLeast(m_conformance.GetMajor(), m_conformance.GetMinor() + 1)))
    BSE::ReportError(this, g_nHeaderVersion);
}

bool CFile::Authenticate(const CString* pPassword)
{
  if (!m_encrypt)
    return true;
  if (!m_pSecurity)
    m_pSecurity = CreateSecurityHandler(*this, m_encrypt);
  if (!m_pSecurity)
    return false;
  if (!m_pSecurity->Authenticate(pPassword))
  {
    m_pSecurity = nullptr;
    BSE::ReportError(this, g_nWrongPassword);
    return false;
  }
  // What was read so far holds strings that have not been decrypted.
  UnloadAll();
  EnterRecoveredHolders(m_recoveredHolders);
  m_recoveredHolders.RemoveAll();
  if (!m_root.IsDictionary())
  {
    BSE::ReportError(this, g_nNoRoot);
    return false;
  }
  ReadCatalogueVersion();
  return true;
}

void CFile::UnloadAll()
{
  for (int i = m_xref.GetNextNumber(-1); i < m_xref.GetSize(); i = m_xref.GetNextNumber(i))
    if (CIndirectObject* pObject = m_xref.GetEntry(i).m_pObject)
      if (i != m_encrypt.GetObjNumber())
        pObject->Unload();
}

bool CFile::HasInputFailed() const
{
  return m_pParser && m_pParser->GetScanner().GetStream().HadFailure();
}

CObjectPtr CFile::GetObject(int nObjNumber, int nGenNumber)
{
  if (nObjNumber < 1 || nObjNumber > BSE::g_nMaxObjNumber)
    return CObjectPtr();
  return m_xref.GetObject(nObjNumber, nGenNumber);
}

void CFile::NoteDamage(int nObjNumber, unsigned nCode)
{
  if (nObjNumber > 0 && nObjNumber <= BSE::g_nMaxObjNumber && GetDamage(nObjNumber) == 0)
    m_damage.SetAt(nObjNumber, static_cast<int>(nCode));
}

std::int64_t CFile::GetTableOffset(int nObjNumber) const
{
  const TXRefEntry& entry = m_xref.GetEntry(nObjNumber);
  return entry.m_nType == eXRefInUse ? entry.m_nOffset : 0;
}

void CFile::NotifyXRefChanged()
{
  ForEachListener([this](CFileEventListener& listener) { listener.OnXRefChanged(*this); });
}

bool CFile::LoadObject(CIndirectObject& object)
{
  const int nNumber = object.GetObjNumber();
  if (nNumber <= 0)
  {
    BSE::ReportError(this, g_nWrongOffset);
    return false;
  }
  if (!m_pParser || m_nLoadDepth >= g_nMaxLoadDepth)
    return false;
  ForEachListener([&](CFileEventListener& listener)
                  { listener.OnObjectLoading(*this, nNumber, object.GetGenNumber()); });
  TXRefEntry entry = m_xref.GetEntry(nNumber);
  if (entry.m_nType == eXRefFree)
  {
    // Where other offsets were wrong, what a reference leads to and is there was not freed.
    if (!m_bRecoveryDone || m_pWriter || !TakeScanned(nNumber))
    {
      object.SetParsed(nullptr, nullptr);
      return true;
    }
    BSE::ReportError(this, BSE::MakeError(g_nWrongOffset, "Object No.", nNumber));
    entry = m_xref.GetEntry(nNumber);
  }
  const BSE::CScopedValue depth(m_nLoadDepth, m_nLoadDepth + 1);
  const bool bLoaded = entry.m_nType == eXRefCompressed ? LoadCompressed(object, entry) : LoadDirect(object);
  object.BreakCycle();
  return bLoaded;
}

bool CFile::LoadDirect(CIndirectObject& object)
{
  if (m_pWriter)
  {
    SyncOutput();
    m_pParser->GetScanner().GetStream().Invalidate();
  }
  const int nNumber = object.GetObjNumber();
  if (m_pParser->ParseIndirectObject(&object, GetTableOffset(nNumber)))
    return true;
  // A file that is written has no damage to repair.
  if (m_pWriter || !RecoverObject(nNumber) || m_xref.GetEntry(nNumber).m_nType != eXRefInUse)
    return false;
  if (!m_pParser->ParseIndirectObject(&object, GetTableOffset(nNumber)))
    return false;
  BSE::ReportError(this, BSE::MakeError(g_nWrongOffset, "Object No.", nNumber));
  return true;
}

bool CFile::RecoverObject(int nObjNumber)
{
  if (!m_bRecoveryDone)
  {
    CXRefRecovery recovery(*this);
    recovery.Run(true);
  }
  return TakeScanned(nObjNumber);
}

bool CFile::TakeScanned(int nObjNumber)
{
  const TXRefEntry entry = m_scanned.GetEntry(nObjNumber);
  if (entry.m_nType != eXRefInUse)
    return false;
  m_xref.SetOffset(nObjNumber, entry.m_nGeneration, entry.m_nOffset);
  m_scanned.Remove(nObjNumber);
  NotifyXRefChanged();
  return true;
}

bool CFile::LoadCompressed(CIndirectObject& object, const TXRefEntry& entry)
{
  const int nNumber = object.GetObjNumber();
  const auto nStream = static_cast<int>(entry.m_nOffset);
  CObjectStream* pStream = nullptr;
  if (FlushPendingHolder(nStream) && m_xref.GetEntry(nStream).m_nType == eXRefInUse)
    pStream = GetObjectStream(nStream);
  if (!pStream || !LoadObjectStream(*pStream) || !pStream->GetObject(object, entry.m_nGeneration))
  {
    BSE::ReportError(this, BSE::MakeError(g_nWrongOffset, "Object No.", nNumber));
    // A plain object of that number may still stand somewhere.
    return !m_pWriter && RecoverObject(nNumber) && m_xref.GetEntry(nNumber).m_nType == eXRefInUse &&
           m_pParser->ParseIndirectObject(&object, GetTableOffset(nNumber));
  }
  object.SetCompressedFlags(0);
  return true;
}

bool CFile::LoadObjectStream(CObjectStream& stream)
{
  const bool bReread = !stream.IsLoaded() && stream.WasTried();
  const std::int64_t nLength = m_pInput ? m_pInput->GetLength() : 0;
  if (bReread &&
      m_nRereadBytes / BSE::g_nMaxSharedRatio > BSE::g_nMaxRereadStreams / BSE::g_nMaxSharedRatio + nLength)
  {
    BSE::ReportError(this, g_nSizeExceeded);
    return false;
  }
  // A stream beyond the cache's size makes room before the next one is decoded.
  while (!stream.IsLoaded() && m_objStmCache.GetSize() > 0 && m_nCachedBytes > BSE::g_nMaxCachedStreamsReread)
    UnloadOldestObjectStream();
  const bool bLoaded = stream.Load();
  if (bReread)
    m_nRereadBytes += stream.GetDecodedSize();
  if (!bLoaded)
    return false;
  TouchObjectStream(stream.GetObjNumber());
  return true;
}

CObjectStream* CFile::GetObjectStream(int nObjNumber)
{
  const std::span<CObjectStream*> streams = m_objectStreams.GetSpan();
  const auto pPosition =
      std::lower_bound(streams.begin(), streams.end(), nObjNumber,
                       [](const CObjectStream* p, int n) { return p->GetObjNumber() < n; });
  if (pPosition != streams.end() && (*pPosition)->GetObjNumber() == nObjNumber)
    return *pPosition;
  auto* pStream = new CObjectStream(this, nObjNumber);
  m_objectStreams.InsertAt(static_cast<int>(pPosition - streams.begin()), pStream);
  return pStream;
}

void CFile::TouchObjectStream(int nObjNumber)
{
  if (m_objStmCache.GetSize() > 0 && m_objStmCache[0] == nObjNumber)
    return;
  const int nFound = m_objStmCache.Find(nObjNumber);
  if (nFound != m_objStmCache.GetSize())
    m_objStmCache.RemoveAt(nFound);
  else
    m_nCachedBytes += GetObjectStream(nObjNumber)->GetDecodedSize();
  m_objStmCache.InsertAt(0, nObjNumber);
  const bool bReread = m_nRereadBytes > BSE::g_nMaxCachedStreams;
  const int nMaxCount = bReread ? g_nCachedObjectStreamsReread : g_nCachedObjectStreams;
  const std::int64_t nMaxBytes = bReread ? BSE::g_nMaxCachedStreamsReread : BSE::g_nMaxCachedStreams;
  while (m_objStmCache.GetSize() > 1 && (m_objStmCache.GetSize() > nMaxCount || m_nCachedBytes > nMaxBytes))
    UnloadOldestObjectStream();
}

void CFile::UnloadOldestObjectStream()
{
  const int nLast = m_objStmCache.GetSize() - 1;
  CObjectStream* pOldest = GetObjectStream(m_objStmCache[nLast]);
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("I", "libpdf", "Unloading ObjStm %d.", pOldest->GetObjNumber());
  m_nCachedBytes -= pOldest->GetDecodedSize();
  pOldest->Unload();
  m_objStmCache.RemoveAt(nLast);
}

bool CFile::AdmitStream(const CFile& source, std::int64_t nLength)
{
  const std::int64_t nSource = source.m_pInput ? source.m_pInput->GetLength() : 0;
  if (BSE::IsOutOfProportion(m_nAdmittedBytes + nLength, BSE::g_nFreeCopiedSize, BSE::g_nMaxSharedRatio,
                             nSource))
  {
    BSE::ReportError(this, g_nWrongLength);
    return false;
  }
  m_nAdmittedBytes += nLength;
  return true;
}

void CFile::EnterRecoveredHolders(const BSE::CBasicArray<int>& holders)
{
  const BSE::CErrorSuppressor quiet(OnGetErrorHandler());
  for (const int nHolder : holders.GetSpan())
  {
    CObjectStream stream(this, nHolder);
    if (!stream.Load())
      continue;
    const std::int64_t nPosition = GetTableOffset(nHolder);
    for (int i = 0; i < stream.GetCount(); ++i)
    {
      const int nNumber = stream.GetNumberAt(i);
      if (nNumber < 1 || nNumber > BSE::g_nMaxObjNumber)
        continue;
      // Of two objects with one number the later one in the file is the newer.
      const TXRefEntry& entry = m_xref.GetEntry(nNumber);
      if (entry.m_nType != eXRefInUse || entry.m_nOffset < nPosition)
        m_xref.SetCompressed(nNumber, nHolder, i);
    }
  }
}

void CFile::UnloadUnused(CIndirectObject& object)
{
  // All values go with the table then.
  if (m_bReleasing)
    return;
  try
  {
    m_unloadQueue.Add(&object);
  }
  catch (...)
  {
    // Without memory for the queue the object stays loaded: whoever lets go of one must not be disturbed.
    return;
  }
  if (m_bUnloading)
    return;
  // What an object held comes back here and only joins the queue: chains of any length need no stack.
  const BSE::CScopedValue unloading(m_bUnloading, true);
  while (m_unloadQueue.GetSize() > 0)
  {
    const int nLast = m_unloadQueue.GetSize() - 1;
    const BSE::CObjectPtr<CIndirectObject> pObject(m_unloadQueue[nLast]);
    m_unloadQueue.RemoveAt(nLast);
    // The table and this pointer.
    if (pObject->GetRefCount() == 2)
      pObject->Unload();
  }
}

BSE::CObjectPtr<BSE::IByteStream> CFile::GetRevision(int nIndex) const
{
  if (nIndex < 0 || nIndex >= m_revisions.GetSize() || !m_pInput)
    return nullptr;
  return new BSE::CEmbeddedStream(m_pInput.Get(), 0, m_revisions[nIndex]);
}

void CFile::DropTrailer()
{
  m_trailer = nullptr;
  m_root = nullptr;
  m_encrypt = nullptr;
  m_info = nullptr;
}

void CFile::DropObjectStreams()
{
  for (CObjectStream* pStream : m_objectStreams.GetSpan())
    delete pStream;
  m_objectStreams.RemoveAll();
  m_objStmCache.RemoveAll();
}

void CFile::ReleaseAll()
{
  const BSE::CScopedValue releasing(m_bReleasing, true);
  DropTrailer();
  m_linearized = nullptr;
  m_unloadQueue.RemoveAll();
  DropObjectStreams();
  m_recoveredHolders.RemoveAll();
  m_revisions.RemoveAll();
  for (BSE::CScopedPtr<CPendingObjectStream>& pPending : m_pendingObjStm)
    pPending.Reset();
  m_xref.RemoveAll();
  m_scanned.RemoveAll();
  m_damage.RemoveAll();
  m_pParser.Reset();
  m_pGenerator.Reset();
  m_pWriter = nullptr;
  for (CObjectMap* pMap : m_objectMaps.GetSpan())
    delete pMap;
  m_objectMaps.RemoveAll();
  m_pSecurity = nullptr;
  m_pInput = nullptr;
  m_pOutput = nullptr;
  m_pTarget = nullptr;
  m_id1 = CString();
  m_id2 = CString();
  m_nXRefForm = eXRefUnknown;
  m_nHeaderOffset = 0;
  m_nStartXRef = -1;
  m_nLoadDepth = 0;
  m_nCachedBytes = m_nRereadBytes = m_nAdmittedBytes = 0;
  m_bWantObjectStreams = m_bSplitXRef = m_bOpened = m_bRecoveryDone = false;
  m_bHeaderWritten = m_bAppending = m_bDirty = m_bFailed = false;
  m_nFileSize = m_nSavedBytes = m_nXRefPosition = m_nRevisionStart = 0;
  m_nFlushedStreams = 0;
}

}  // namespace PDF
