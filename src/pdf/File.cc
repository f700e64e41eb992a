// Opening and loading of CFile; writing stands in FileWriter.cc.

#include "pdf/File.h"

#include "base/EmbeddedStream.h"
#include "base/ErrorHandler.h"
#include "base/Limits.h"
#include "base/ScopedValue.h"
#include "base/Tracer.h"
#include "pdf/FileLoader.h"
#include "pdf/Generator.h"
#include "pdf/InputMonitor.h"
#include "pdf/ObjectStream.h"
#include "pdf/Parser.h"
#include "pdf/PendingObjectStream.h"
#include "pdf/RootFinder.h"
#include "pdf/StatusCodes.h"
#include "pdf/XRefRecovery.h"

#include <algorithm>
#include <climits>
#include <limits>

namespace PDF
{

namespace
{

constexpr int g_nCachedObjectStreams = 10;

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
    BSE::ReportError(this, g_nFileNotOpened);
    return false;
  }
  ReleaseAll();
  m_pMonitor = new CInputMonitor(pStream);
  m_pInput = m_pMonitor.Get();
  m_bAppending = bUpdate;
  if (bUpdate)
    m_pOutput = pStream;
  CreateParser();
  const bool bHeader = ReadHeader();
  if (!bHeader && !m_bLenient)
    return FailOpening();
  CFileLoader loader(*this);
  loader.TestLinearized();
  m_nStartXRef = m_pParser->ReadStartXRef();
  bool bGood = m_nStartXRef >= 0 && loader.Read(m_nStartXRef);
  if (bGood && (m_xref.GetSize() == 0 || !CheckRoot()))
  {
    BSE::ReportError(this, m_xref.GetSize() == 0 ? g_nNoTrailer : g_nNoRoot);
    bGood = false;
  }
  if (!bGood)
  {
    CXRefRecovery recovery(*this);
    if ((!recovery.Run(false) || !CheckRoot()) && !FindRoot())
    {
      if (!bHeader || m_bOpened)
        BSE::ReportError(this, bHeader ? g_nNoRoot : g_nNoHeader);
      return FailOpening();
    }
  }
  m_bOpened = true;
  FollowId();
  std::reverse(m_revisions.GetSpan().begin(), m_revisions.GetSpan().end());
  if (m_revisions.GetSize() >= 2 && m_revisions[1] < m_revisions[0])
    m_revisions.RemoveAt(0);
  if (!m_encrypt)
    ReadCatalogueVersion();
  return true;
}

// What could not be read may be no damage of the file.
bool CFile::FailOpening()
{
  if (HasInputFailed())
    GiveUpReading(BSE::g_nStreamReadFailed);
  ReleaseAll();
  return false;
}

void CFile::CreateParser()
{
  m_pParser.Reset(new CParser(this));
}

bool CFile::ReadHeader()
{
  if (m_pParser->ReadHeader(m_nHeaderOffset, m_nMajor, m_nMinor))
    return true;
  m_pParser->SeekTo(0);
  return false;
}

bool CFile::FindRoot()
{
  if (!m_bLenient)
    return false;
  // What needs the password is found after that.
  if (m_encrypt.IsDictionary() && !m_pSecurity)
    return true;
  CRootFinder finder(*this);
  m_root = finder.Find();
  m_bRootAssumed = finder.HasAssumed();
  if (!m_trailer)
    m_info = finder.FindInfo();
  // What is assumed is nothing to be written, unless the rest is.
  m_bDirty = m_bDirty && m_bAppending;
  return static_cast<bool>(m_root);
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

void CFile::FollowId()
{
  if (m_id.IsArray() && m_id[0].IsString())
  {
    m_id1 = m_id[0].GetStringValue();
    m_id2 = m_id[1].IsString() ? m_id[1].GetStringValue() : m_id1;
  }
  m_id = nullptr;
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
  EnterRecoveredHolders(m_recoveredHolders, m_bHoldersBeside);
  m_recoveredHolders.RemoveAll();
  if (!m_root.IsDictionary() && !FindRoot())
  {
    BSE::ReportError(this, g_nNoRoot);
    return false;
  }
  ReadCatalogueVersion();
  return true;
}

void CFile::OnReportError(BSE::CScopedPtr<BSE::IError> pError)
{
  m_nErrors = (m_nErrors + 1) & INT_MAX;
  CBasicErrorContext::OnReportError(std::move(pError));
}

void CFile::UnloadAll()
{
  for (int i = m_xref.GetNextNumber(-1); i < m_xref.GetSize(); i = m_xref.GetNextNumber(i))
    if (CIndirectObject* pObject = m_xref.GetEntry(i).m_pObject)
      if (i != m_encrypt.GetObjNumber())
        pObject->Unload();
  // What was met so far is met again.
  m_damage.RemoveAll();
}

bool CFile::HasInputFailed() const
{
  return (m_pMonitor && m_pMonitor->HasFailed()) ||
         (m_pParser && m_pParser->GetScanner().GetStream().HadFailure());
}

unsigned CFile::GetReadFailure() const
{
  if (m_nReadFailure != 0)
    return m_nReadFailure;
  return HasInputFailed() ? BSE::g_nStreamReadFailed : 0;
}

void CFile::GiveUpReading(unsigned nCode)
{
  if (m_nReadFailure != 0)
    return;
  m_nReadFailure = nCode;
  BSE::ReportEnd(this, nCode);
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

void CFile::NoteTrailer(const CObjectPtr& trailer, bool bCut)
{
  // Where the reference to the root is what is damaged, nothing else is known to be.
  m_bTrailerCut = m_bTrailerCut || (bCut && trailer.GetType() == eDictionary && trailer["Root"].IsIndirect());
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

bool CFile::CanLoad() const
{
  return m_pParser && !m_bScanning && m_nLoadDepth < g_nMaxLoadDepth;
}

bool CFile::LoadObject(CIndirectObject& object)
{
  const int nNumber = object.GetObjNumber();
  if (nNumber <= 0)
  {
    BSE::ReportError(this, g_nWrongOffset);
    return false;
  }
  ForEachListener([&](CFileEventListener& listener)
                  { listener.OnObjectLoading(*this, nNumber, object.GetGenNumber()); });
  if (m_xref.GetEntry(nNumber).m_nType == eXRefFree && !LoadFree(object))
    return true;
  if (IsOverworked())
    GiveUpReading(g_nNotRepairable);
  unsigned nFailure = m_nReadFailure;
  const BSE::CScopedValue depth(m_nLoadDepth, m_nLoadDepth + 1);
  if (nFailure != 0 || !ReadObject(object, nFailure))
  {
    NoteDamage(nNumber, nFailure);
    return false;
  }
  if (!object.BreakCycle())
    NoteDamage(nNumber, g_nNotRepairable);
  return true;
}

bool CFile::LoadFree(CIndirectObject& object)
{
  const int nNumber = object.GetObjNumber();
  // Where other offsets were wrong, what a reference leads to and is there was not freed.
  if (!m_pWriter && (m_bRecoveryDone || m_bXRefIncomplete) &&
      (RecoverObject(nNumber) || m_xref.GetEntry(nNumber).m_nType != eXRefFree))
  {
    BSE::ReportError(this, BSE::MakeError(g_nWrongOffset, "Object No.", nNumber));
    return true;
  }
  if (m_bXRefIncomplete && !m_pWriter && m_recoveredHolders.IsEmpty())
    NoteDamage(nNumber, g_nWrongOffset);
  object.SetParsed(nullptr, nullptr);
  return false;
}

bool CFile::ReadObject(CIndirectObject& object, unsigned& nFailure)
{
  const TXRefEntry entry = m_xref.GetEntry(object.GetObjNumber());
  const bool bCompressed = entry.m_nType == eXRefCompressed;
  if (!(bCompressed ? LoadCompressed(object, entry, nFailure) : LoadDirect(object, nFailure)))
    return false;
  CountLoad(object, bCompressed);
  return true;
}

void CFile::CountLoad(CIndirectObject& object, bool bCompressed)
{
  TXRefEntry& entry = m_xref.GetOrCreateEntry(object.GetObjNumber());
  const int nCost = object.GetCost();
  m_nLoadedBytes += nCost;
  object.SetReread(entry.m_bRead);
  if (!entry.m_bRead && !bCompressed)
    m_nFirstBytes += nCost;
  else if (entry.m_bRead && nCost >= BSE::g_nMinHeldObject)
    m_nAgainBytes += nCost;
  entry.m_bRead = true;
}

bool CFile::IsOverworked()
{
  // What has been written is read back as often as it is wanted.
  if (m_pWriter || (m_nFirstBytes <= BSE::g_nFreeValues && m_nAgainBytes <= BSE::g_nFreeParsedSize))
    return false;
  const std::int64_t nLength = m_pInput->GetLength();
  return BSE::IsOutOfProportion(m_nFirstBytes, BSE::g_nFreeValues, BSE::g_nMaxValueRatio, nLength) ||
         BSE::IsOutOfProportion(m_nAgainBytes, BSE::g_nFreeParsedSize, BSE::g_nMaxSharedRatio,
                                nLength + m_nDecodedBytes);
}

bool CFile::LoadDirect(CIndirectObject& object, unsigned& nFailure)
{
  if (m_pWriter)
  {
    SyncOutput();
    m_pParser->GetScanner().GetStream().Invalidate();
  }
  const int nNumber = object.GetObjNumber();
  if (m_pParser->ParseIndirectObject(&object, GetTableOffset(nNumber)))
    return true;
  nFailure = m_pParser->GetFailure() != 0 ? m_pParser->GetFailure() : g_nNotRepairable;
  // A file that is written has no damage to repair.
  const bool bNeverWritten = GetTableOffset(nNumber) == 0;
  if (m_pWriter || !RecoverObject(nNumber) || m_xref.GetEntry(nNumber).m_nType != eXRefInUse)
  {
    // Some writers state the position 0 for numbers that they have not used.
    if (bNeverWritten)
      object.SetParsed(nullptr, nullptr);
    return bNeverWritten;
  }
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

bool CFile::LoadCompressed(CIndirectObject& object, const TXRefEntry& entry, unsigned& nFailure)
{
  const int nNumber = object.GetObjNumber();
  const auto nStream = static_cast<int>(entry.m_nOffset);
  CObjectStream* pStream = nullptr;
  if (FlushPendingHolder(nStream) && m_xref.GetEntry(nStream).m_nType == eXRefInUse)
    pStream = GetObjectStream(nStream);
  if (pStream && LoadObjectStream(*pStream) &&
      pStream->GetObject(object, entry.m_nGeneration, !entry.m_bRead))
  {
    object.SetCompressedFlags(0);
    return true;
  }
  nFailure = m_nReadFailure != 0 ? m_nReadFailure : g_nNotRepairable;
  if (m_nReadFailure != 0)
    return false;
  BSE::ReportError(this, BSE::MakeError(g_nWrongOffset, "Object No.", nNumber));
  // A plain object of that number may still stand somewhere.
  return !m_pWriter && RecoverObject(nNumber) && m_xref.GetEntry(nNumber).m_nType == eXRefInUse &&
         m_pParser->ParseIndirectObject(&object, GetTableOffset(nNumber));
}

bool CFile::LoadObjectStream(CObjectStream& stream)
{
  if (stream.IsLoaded())
  {
    TouchObjectStream(stream);
    return true;
  }
  // A stream beyond the cache's size makes room before the next one is decoded.
  while (m_pOldestCached && m_nCachedBytes > BSE::g_nMaxCachedStreamsReread)
    UnloadOldestObjectStream();
  if (!DecodeObjectStream(stream))
    return false;
  TouchObjectStream(stream);
  return true;
}

bool CFile::DecodeObjectStream(CObjectStream& stream)
{
  const std::int64_t nLength = m_pInput ? m_pInput->GetLength() : 0;
  if (!m_pWriter &&
      (BSE::IsOutOfProportion(m_nRereadBytes, BSE::g_nMaxRereadStreams, BSE::g_nMaxSharedRatio, nLength) ||
       BSE::IsOutOfProportion(m_nDecodedBytes, BSE::g_nFreeStreams, BSE::g_nMaxStreamRatio, nLength)))
    GiveUpReading(BSE::g_nSizeExceeded);
  if (m_nReadFailure != 0)
    return false;
  std::int64_t& nCount = stream.WasTried() ? m_nRereadBytes : m_nDecodedBytes;
  const bool bLoaded = stream.Load();
  nCount += stream.GetDecodedSize();
  return bLoaded;
}

std::int64_t CFile::GetValueLimit() const
{
  if (m_pWriter || !m_pInput)
    return std::numeric_limits<std::int64_t>::max();
  constexpr std::int64_t nMaxLength = std::int64_t{1} << 48;
  return BSE::g_nFreeObjectValues +
         BSE::g_nMaxObjectValueRatio * std::clamp<std::int64_t>(m_pInput->GetLength(), 0, nMaxLength);
}

bool CFile::AdmitValues(std::int64_t nCount)
{
  if (m_pWriter || !m_pInput)
    return true;
  m_nCompressedValues += nCount;
  if (m_nCompressedValues > BSE::g_nFreeAllValues &&
      BSE::IsOutOfProportion(m_nCompressedValues, BSE::g_nFreeAllValues, BSE::g_nMaxValuesRatio,
                             m_pInput->GetLength()))
    GiveUpReading(BSE::g_nSizeExceeded);
  return m_nReadFailure == 0;
}

CObjectStream* CFile::GetObjectStream(int nObjNumber)
{
  CObjectStream*& pStream = m_objectStreams.Provide(nObjNumber);
  if (!pStream)
    pStream = new CObjectStream(this, nObjNumber);
  return pStream;
}

void CFile::TouchObjectStream(CObjectStream& stream)
{
  if (m_pNewestCached == &stream)
    return;
  if (stream.m_bCached)
    DropFromCache(stream);
  stream.m_pOlder = m_pNewestCached;
  (m_pNewestCached ? m_pNewestCached->m_pNewer : m_pOldestCached) = &stream;
  m_pNewestCached = &stream;
  stream.m_bCached = true;
  ++m_nCachedCount;
  stream.m_nCachedSize = stream.GetMemorySize();
  m_nCachedBytes += stream.m_nCachedSize;
  const bool bReread = m_nRereadBytes > BSE::g_nMaxCachedStreams;
  const std::int64_t nMaxBytes = bReread ? BSE::g_nMaxCachedStreamsReread : BSE::g_nMaxCachedStreams;
  // However many there are: objects may refer to one another across all of them. What had to be decoded again
  // would have been kept with more room, so the room grows by it.
  const std::int64_t nManyBytes = std::min(nMaxBytes, BSE::g_nFreeCachedStreams + m_nRereadBytes);
  while (m_nCachedCount > 1 && (m_nCachedBytes > nMaxBytes ||
                                (m_nCachedCount > g_nCachedObjectStreams && m_nCachedBytes > nManyBytes)))
    UnloadOldestObjectStream();
}

void CFile::DropFromCache(CObjectStream& stream)
{
  (stream.m_pNewer ? stream.m_pNewer->m_pOlder : m_pNewestCached) = stream.m_pOlder;
  (stream.m_pOlder ? stream.m_pOlder->m_pNewer : m_pOldestCached) = stream.m_pNewer;
  stream.m_pNewer = stream.m_pOlder = nullptr;
  stream.m_bCached = false;
  --m_nCachedCount;
  m_nCachedBytes -= stream.m_nCachedSize;
}

void CFile::UnloadOldestObjectStream()
{
  CObjectStream& oldest = *m_pOldestCached;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("I", "libpdf", "Unloading ObjStm %d.", oldest.GetObjNumber());
  DropFromCache(oldest);
  oldest.Unload();
}

bool CFile::AdmitStream(const CFile& source, std::int64_t nLength)
{
  const std::int64_t nSource = source.m_pInput ? source.m_pInput->GetLength() : 0;
  if (BSE::IsOutOfProportion(m_nAdmittedBytes + nLength, BSE::g_nFreeCopiedSize, BSE::g_nMaxSharedRatio,
                             nSource))
  {
    BSE::ReportEnd(this, g_nWrongLength);
    return false;
  }
  m_nAdmittedBytes += nLength;
  return true;
}

void CFile::EnterRecoveredHolders(const BSE::CBasicArray<int>& holders, bool bBeside)
{
  const BSE::CErrorSuppressor quiet(OnGetErrorHandler());
  for (int nAt = 0; nAt < holders.GetSize(); ++nAt)
  {
    // Beside a table the first entry counts, and has to be that of the newest stream.
    const int nHolder = holders[bBeside ? holders.GetSize() - 1 - nAt : nAt];
    CObjectStream stream(this, nHolder);
    if (!DecodeObjectStream(stream))
      continue;
    const std::int64_t nPosition = GetTableOffset(nHolder);
    for (int i = 0; i < stream.GetCount(); ++i)
    {
      const int nNumber = stream.GetNumberAt(i);
      if (nNumber < 1 || nNumber > BSE::g_nMaxObjNumber)
        continue;
      if (bBeside && m_xref.GetEntry(nNumber).m_nType != eXRefFree)
        continue;
      // Of two objects with one number the later one in the file is the newer.
      const TXRefEntry& entry = bBeside ? m_scanned.GetEntry(nNumber) : m_xref.GetEntry(nNumber);
      if (entry.m_nType == eXRefInUse && entry.m_nOffset >= nPosition)
        continue;
      m_xref.SetCompressed(nNumber, nHolder, i);
      m_scanned.Remove(nNumber);
    }
  }
}

bool CFile::IsXRefStream(CIndirectObject& object)
{
  return object.GetEntry("Type").IsName("XRef") &&
         (m_bRecoveryDone || m_xrefStreams.Find(object.Tell()) != m_xrefStreams.GetSize());
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
    if (pObject->GetRefCount() == 2 && !Hold(*pObject))
      pObject->Unload();
  }
}

bool CFile::Hold(CIndirectObject& object)
{
  const int nCost = object.GetCost();
  if (!object.IsReread() || nCost < BSE::g_nMinHeldObject)
    return false;
  m_held.Add(&object);
  m_heldCosts.Add(nCost);
  m_nHeldBytes += nCost;
  const bool bReread = m_nAgainBytes > BSE::g_nRereadObjects;
  const std::int64_t nMax = bReread ? BSE::g_nMaxHeldReread : BSE::g_nMaxHeldObjects;
  const std::int64_t nMaxLoaded = bReread ? BSE::g_nMaxHeldLoadedReread : BSE::g_nMaxHeldLoaded;
  while (m_held.GetSize() > 1 && (m_nHeldBytes > nMax || m_nLoadedBytes > nMaxLoaded))
    ReleaseHeld(1);
  return true;
}

void CFile::ReleaseHeld(int nCount)
{
  for (int i = 0; i < nCount; ++i)
  {
    m_nHeldBytes -= m_heldCosts[0];
    m_heldCosts.RemoveAt(0);
    // Marked, so that it is not held again at once.
    m_held[0]->SetReread(false);
    m_held.RemoveAt(0);
  }
}

void CFile::OnUnloaded(CIndirectObject& object)
{
  m_nLoadedBytes -= object.GetCost();
  object.SetCost(0);
}

void CFile::ForgetObjects()
{
  // One by one: what is let go would be held again.
  while (m_held.GetSize() > 0)
    ReleaseHeld(1);
  m_unloadQueue.RemoveAll();
  m_xref.RemoveAll();
  m_nHeldBytes = m_nLoadedBytes = 0;
}

bool CFile::NoteOtherGeneration(int nObjNumber)
{
  return std::exchange(m_xref.GetOrCreateEntry(nObjNumber).m_bOtherReported, true);
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
  m_id = nullptr;
}

void CFile::DropObjectStreams()
{
  for (int i = m_objectStreams.GetNext(-1); i >= 0; i = m_objectStreams.GetNext(i))
    delete m_objectStreams[i];
  m_objectStreams.RemoveAll();
  m_pNewestCached = m_pOldestCached = nullptr;
  m_nCachedCount = 0;
  m_nCachedBytes = 0;
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
  m_xrefStreams.RemoveAll();
  for (BSE::CScopedPtr<CPendingObjectStream>& pPending : m_pendingObjStm)
    pPending.Reset();
  ForgetObjects();
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
  m_pMonitor = nullptr;
  m_pOutput = nullptr;
  m_pTarget = nullptr;
  m_id1 = CString();
  m_id2 = CString();
  m_nXRefForm = eXRefUnknown;
  m_nHeaderOffset = 0;
  m_nStartXRef = -1;
  m_nLoadDepth = 0;
  m_nDecodedBytes = m_nRereadBytes = m_nAdmittedBytes = m_nCompressedValues = 0;
  m_nFirstBytes = m_nAgainBytes = 0;
  m_nReadFailure = 0;
  m_bWantObjectStreams = m_bSplitXRef = m_bOpened = m_bRecoveryDone = m_bRootAssumed = m_bTrailerCut = false;
  m_bScanning = m_bXRefIncomplete = m_bHoldersBeside = false;
  m_bHeaderWritten = m_bAppending = m_bDirty = m_bFailed = false;
  m_nFileSize = m_nSavedBytes = m_nXRefPosition = m_nRevisionStart = 0;
  m_nFlushedStreams = 0;
}

}  // namespace PDF
