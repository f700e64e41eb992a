// What CFile does itself: opening and closing, numbers and copies of objects, version and security. Loading,
// writing and finishing are classes of their own.

#include "pdf/File.h"

#include "base/EmbeddedStream.h"
#include "base/ErrorHandler.h"
#include "base/Limits.h"
#include "base/ScopedValue.h"
#include "base/Tracer.h"
#include "pdf/DictionaryObject.h"
#include "pdf/FileLoader.h"
#include "pdf/InputMonitor.h"
#include "pdf/Parser.h"
#include "pdf/RootFinder.h"
#include "pdf/SimpleObjects.h"
#include "pdf/StatusCodes.h"
#include "pdf/XRefRecovery.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <ctime>

#include <unistd.h>

namespace PDF
{

namespace
{

constexpr int g_nIdLength = 16;

// Identifiers need to differ, not to be secret.
unsigned CreateSeed()
{
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  const auto nThread = reinterpret_cast<std::uintptr_t>(&now) >> 8;
  // 2654435761 is 2^32 divided by the golden ratio, and spreads the nanoseconds over all bits.
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
  m_state.m_pMonitor = new CInputMonitor(pStream);
  m_state.m_pInput = m_state.m_pMonitor.Get();
  m_writer.Begin(bUpdate ? pStream : nullptr, bUpdate);
  CreateParser();
  const bool bHeader = ReadHeader();
  if (!bHeader && !m_bLenient)
    return FailOpening();
  CFileLoader loader(*this, m_state);
  loader.TestLinearized();
  m_state.m_nStartXRef = m_state.m_pParser->ReadStartXRef();
  bool bGood = m_state.m_nStartXRef >= 0 && loader.Read(m_state.m_nStartXRef);
  if (bGood && (m_state.m_xref.GetSize() == 0 || !CheckRoot()))
  {
    BSE::ReportError(this, m_state.m_xref.GetSize() == 0 ? g_nNoTrailer : g_nNoRoot);
    bGood = false;
  }
  if (!bGood)
  {
    CXRefRecovery recovery(*this, m_state, m_reader);
    if ((!recovery.Run(false) || !CheckRoot()) && !FindRoot())
    {
      if (!bHeader || m_state.m_bOpened)
        BSE::ReportError(this, bHeader ? g_nNoRoot : g_nNoHeader);
      return FailOpening();
    }
  }
  m_state.m_bOpened = true;
  FollowId();
  std::reverse(m_state.m_revisions.GetSpan().begin(), m_state.m_revisions.GetSpan().end());
  if (m_state.m_revisions.GetSize() >= 2 && m_state.m_revisions[1] < m_state.m_revisions[0])
    m_state.m_revisions.RemoveAt(0);
  if (!m_state.m_encrypt)
    ReadCatalogueVersion();
  return true;
}

// What could not be read may be no damage of the file.
bool CFile::FailOpening()
{
  if (m_reader.HasInputFailed())
    m_reader.GiveUp(BSE::g_nStreamReadFailed);
  ReleaseAll();
  return false;
}

void CFile::CreateParser()
{
  m_state.m_pParser.Reset(new CParser(this));
}

bool CFile::ReadHeader()
{
  if (m_state.m_pParser->ReadHeader(m_state.m_nHeaderOffset, m_state.m_nMajor, m_state.m_nMinor))
    return true;
  m_state.m_pParser->SeekTo(0);
  return false;
}

bool CFile::FindRoot()
{
  if (!m_bLenient)
    return false;
  // What needs the password is found after that.
  if (m_state.m_encrypt.IsDictionary() && !m_state.m_pSecurity)
    return true;
  CRootFinder finder(*this);
  m_state.m_root = finder.Find();
  m_state.m_bRootAssumed = finder.HasAssumed();
  if (!m_state.m_trailer)
    m_state.m_info = finder.FindInfo();
  // What is assumed is nothing to be written, unless the rest is.
  m_writer.SetDirty(m_writer.IsDirty() && m_writer.IsAppending());
  return static_cast<bool>(m_state.m_root);
}

bool CFile::CheckRoot()
{
  if (!m_state.m_root)
    return false;
  // Its object stream may need the password: then it is checked after that.
  const int nRoot = m_state.m_root.GetObjNumber();
  if (m_state.m_encrypt && !m_state.m_pSecurity &&
      (m_state.m_xref.GetStreamOf(nRoot) > 0 || !m_state.m_recoveredHolders.IsEmpty()))
    return true;
  return m_state.m_root.IsDictionary();
}

void CFile::FollowId()
{
  if (m_state.m_id.IsArray() && m_state.m_id[0].IsString())
  {
    m_state.m_id1 = m_state.m_id[0].GetStringValue();
    m_state.m_id2 = m_state.m_id[1].IsString() ? m_state.m_id[1].GetStringValue() : m_state.m_id1;
  }
  m_state.m_id = nullptr;
}

void CFile::ReadCatalogueVersion()
{
  int nMajor = 0;
  int nMinor = 0;
  const char* szVersion =
      m_state.m_root["Version"].IsName() ? m_state.m_root["Version"].GetNameValue() : nullptr;
  if (szVersion && szVersion[0] >= '0' && szVersion[0] <= '9' && szVersion[1] == '.' && szVersion[2] >= '0' &&
      szVersion[2] <= '9')
  {
    nMajor = szVersion[0] - '0';
    nMinor = szVersion[2] - '0';
  }
  if (!IsVersionAtLeast(nMajor, nMinor))
  {
    m_state.m_nMajor = nMajor;
    m_state.m_nMinor = nMinor;
  }
  if (!m_state.m_conformance.IsNone() &&
      (IsVersionAtLeast(m_state.m_conformance.GetMajor(), m_state.m_conformance.GetMinor() + 1)))
    BSE::ReportError(this, g_nHeaderVersion);
}

bool CFile::Authenticate(const CString* pPassword)
{
  if (!m_state.m_encrypt)
    return true;
  if (!m_state.m_pSecurity)
    m_state.m_pSecurity = CreateSecurityHandler(*this, m_state.m_encrypt);
  if (!m_state.m_pSecurity)
    return false;
  if (!m_state.m_pSecurity->Authenticate(pPassword))
  {
    m_state.m_pSecurity = nullptr;
    BSE::ReportError(this, g_nWrongPassword);
    return false;
  }
  // What was read so far holds strings that have not been decrypted.
  UnloadAll();
  m_reader.EnterRecoveredHolders(m_state.m_recoveredHolders, m_state.m_bHoldersBeside);
  m_state.m_recoveredHolders.RemoveAll();
  if (!m_state.m_root.IsDictionary() && !FindRoot())
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
  for (int i = m_state.m_xref.GetNextNumber(-1); i < m_state.m_xref.GetSize();
       i = m_state.m_xref.GetNextNumber(i))
    if (CIndirectObject* pObject = m_state.m_xref.GetEntry(i).m_pObject)
      if (i != m_state.m_encrypt.GetObjNumber())
        pObject->Unload();
  // What was met so far is met again.
  m_state.m_damage.RemoveAll();
}

CObjectPtr CFile::GetObject(int nObjNumber, int nGenNumber)
{
  if (nObjNumber < 1 || nObjNumber > BSE::g_nMaxObjNumber)
    return CObjectPtr();
  return m_state.m_xref.GetObject(nObjNumber, nGenNumber);
}

void CFile::NoteDamage(int nObjNumber, unsigned nCode)
{
  if (nObjNumber > 0 && nObjNumber <= BSE::g_nMaxObjNumber && GetDamage(nObjNumber) == 0)
    m_state.m_damage.SetAt(nObjNumber, static_cast<int>(nCode));
}

void CFile::NotifyXRefChanged()
{
  ForEachListener([this](CFileEventListener& listener) { listener.OnXRefChanged(*this); });
}

void CFile::NotifyLoading(int nObjNumber, int nGenNumber)
{
  ForEachListener([&](CFileEventListener& listener)
                  { listener.OnObjectLoading(*this, nObjNumber, nGenNumber); });
}

bool CFile::AdmitStream(const CFile& source, std::int64_t nLength)
{
  const std::int64_t nSource = source.m_state.m_pInput ? source.m_state.m_pInput->GetLength() : 0;
  if (BSE::IsOutOfProportion(m_nAdmittedBytes + nLength, BSE::g_nFreeCopiedSize, BSE::g_nMaxSharedRatio,
                             nSource))
  {
    BSE::ReportEnd(this, g_nWrongLength);
    return false;
  }
  m_nAdmittedBytes += nLength;
  return true;
}

bool CFile::IsXRefStream(CIndirectObject& object)
{
  return object.GetEntry("Type").IsName("XRef") &&
         (m_state.m_bRecoveryDone ||
          m_state.m_xrefStreams.Find(object.Tell()) != m_state.m_xrefStreams.GetSize());
}

bool CFile::NoteOtherGeneration(int nObjNumber)
{
  return std::exchange(m_state.m_xref.GetOrCreateEntry(nObjNumber).m_bOtherReported, true);
}

BSE::CObjectPtr<BSE::IByteStream> CFile::GetRevision(int nIndex) const
{
  if (nIndex < 0 || nIndex >= m_state.m_revisions.GetSize() || !m_state.m_pInput)
    return nullptr;
  return new BSE::CEmbeddedStream(m_state.m_pInput.Get(), 0, m_state.m_revisions[nIndex]);
}

bool CFile::Create(BSE::IByteStream* pStream, const CString& id, bool bDirectOutput, bool bObjectStreams)
{
  if (!BSE::IsObjectAddress(pStream) || !pStream->IsValid())
  {
    BSE::ReportEnd(this, g_nFileNotCreated);
    return false;
  }
  // What the thread has met before is not what will end this file.
  BSE::CTLSError::SetSuccess();
  BSE::CObjectPtr<BSE::IByteStream> pOutput = pStream;
  const bool bWaits = !bDirectOutput && !pStream->IsFile();
  if (bWaits)
    pOutput = new BSE::CMemoryStream;
  m_finisher.SetTarget(bWaits ? pStream : nullptr);
  m_writer.Begin(pOutput.Get(), false);
  m_state.m_pInput = pOutput;
  CreateParser();
  m_state.m_id1 = id.IsEmpty() ? CreateFileId() : id;
  m_state.m_id2 = CreateFileId();
  m_state.m_bWantObjectStreams = bObjectStreams;
  m_state.m_nXRefForm = eXRefUnknown;
  m_state.m_nStartXRef = -1;
  m_state.m_bOpened = true;
  return true;
}

void CFile::InitVersion(int nMajor, int nMinor)
{
  m_state.m_nMajor = nMajor;
  m_state.m_nMinor = nMinor;
}

void CFile::SetVersion(int nMajor, int nMinor)
{
  if (IsVersionAtLeast(nMajor, nMinor))
    return;
  if (!m_writer.IsHeaderOpen())
  {
    if (BSE::CTracer::IsOn() && !IsVersionAtLeast(1, 4))
    {
      const char szOld[] = {static_cast<char>('0' + m_state.m_nMajor % 10), '.',
                            static_cast<char>('0' + m_state.m_nMinor % 10), '\0'};
      BSE::CTracer::Trace("I", "PDF File", "Upgrading PDF version from %s.", szOld);
    }
    const char szNew[] = {static_cast<char>('0' + nMajor % 10), '.', static_cast<char>('0' + nMinor % 10),
                          '\0'};
    if (m_state.m_root.AddEntry("Version", new CNameObject(szNew)))
      m_state.m_root->SetDirty(true);
  }
  InitVersion(nMajor, nMinor);
}

void CFile::SetSecurityHandler(CSecurityHandler* pHandler)
{
  m_state.m_pSecurity = pHandler;
  m_state.m_encrypt = nullptr;
  if (!m_state.m_pSecurity)
    return;
  m_state.m_encrypt = NewObject(0, 0, g_nGroupDirect);
  if (!m_state.m_encrypt)
    return;
  const CObjectPtr dictionary(new CDictionaryObject);
  m_state.m_pSecurity->Write(*dictionary);
  m_state.m_encrypt->SetValueObject(dictionary.Get());
}

CObjectPtr CFile::NewObject(int nObjNumber, int nGenNumber, int nGroup)
{
  if (nObjNumber == 0)
    nObjNumber = std::max(m_state.m_xref.GetListedSize(), 1);
  if (nObjNumber < 1 || nObjNumber > BSE::g_nMaxObjNumber)
  {
    m_writer.Fail(g_nFileNotCreated);
    return nullptr;
  }
  const BSE::CObjectPtr<CIndirectObject> pObject(new CIndirectObject(this, nObjNumber, nGenNumber, -1));
  pObject->SetCompressedFlags(nGroup);
  m_state.m_xref.SetObject(nObjNumber, pObject.Get());
  m_writer.SetDirty(true);
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
        return m_state.m_xref.GetObject(nCopy, -1);
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
      return m_state.m_xref.GetObject(nCopy, -1);
    CObjectPtr copy = NewObject(0, 0, nGroup);
    pMap->SetAt(nObjNumber, copy.GetObjNumber());
    bCreated = !copy.IsNull();
    return copy;
  }
  return nullptr;
}

bool CFile::Close()
{
  const bool bResult = m_finisher.Finish();
  ReleaseAll();
  return bResult;
}

void CFile::ReleaseAll()
{
  m_bEditable = false;
  m_reader.SetReleasing(true);
  m_state.DropTrailer();
  m_state.m_linearized = nullptr;
  m_writer.Reset();
  m_reader.Reset();
  for (CObjectMap* pMap : m_objectMaps.GetSpan())
    delete pMap;
  m_objectMaps.RemoveAll();
  m_state.Reset();
  m_finisher.SetTarget(nullptr);
  m_nAdmittedBytes = 0;
  m_reader.SetReleasing(false);
}

}  // namespace PDF
