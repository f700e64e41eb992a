// An object is read where its entry says it is, in the file or in an object stream that stays decoded for
// a while. One that is not there is looked for by a scan of the whole file, once, and what the scan has found
// is used from then on. What nobody uses any more is unloaded; what is long and was wanted again is held for
// a while, because many others may share it. All work is counted, and beyond what a sound file can ask for
// reading is given up as a whole.

#include "pdf/ObjectReader.h"

#include "base/ErrorHandler.h"
#include "base/Limits.h"
#include "base/ScopedValue.h"
#include "pdf/File.h"
#include "pdf/InputMonitor.h"
#include "pdf/Parser.h"
#include "pdf/StatusCodes.h"
#include "pdf/XRefRecovery.h"

#include <algorithm>
#include <limits>

namespace PDF
{

namespace
{

// Loads inside loads: a stream's length through references, and references as values, at most that many deep.
constexpr int g_nMaxLoadDepth = 64;

}  // namespace

bool CObjectReader::HasInputFailed() const
{
  return (m_state.m_pMonitor && m_state.m_pMonitor->HasFailed()) ||
         (m_state.m_pParser && m_state.m_pParser->GetScanner().GetStream().HadFailure());
}

unsigned CObjectReader::GetReadFailure() const
{
  if (m_nReadFailure != 0)
    return m_nReadFailure;
  return HasInputFailed() ? BSE::g_nStreamReadFailed : 0;
}

void CObjectReader::GiveUp(unsigned nCode)
{
  if (m_nReadFailure != 0)
    return;
  m_nReadFailure = nCode;
  BSE::ReportEnd(&m_file, nCode);
}

bool CObjectReader::CanLoad() const
{
  return m_state.m_pParser && !m_state.m_bScanning && m_nLoadDepth < g_nMaxLoadDepth;
}

bool CObjectReader::Load(CIndirectObject& object)
{
  const int nNumber = object.GetObjNumber();
  if (nNumber <= 0)
  {
    BSE::ReportError(&m_file, g_nWrongOffset);
    return false;
  }
  m_file.NotifyLoading(nNumber, object.GetGenNumber());
  if (m_state.m_xref.GetEntry(nNumber).m_nType == eXRefFree && !LoadFree(object))
    return true;
  if (IsOverworked())
    GiveUp(g_nNotRepairable);
  unsigned nFailure = m_nReadFailure;
  const BSE::CScopedValue depth(m_nLoadDepth, m_nLoadDepth + 1);
  if (nFailure != 0 || !ReadObject(object, nFailure))
  {
    m_file.NoteDamage(nNumber, nFailure);
    return false;
  }
  if (!object.BreakCycle())
    m_file.NoteDamage(nNumber, g_nNotRepairable);
  return true;
}

bool CObjectReader::LoadFree(CIndirectObject& object)
{
  const int nNumber = object.GetObjNumber();
  // Where other offsets were wrong, what a reference leads to and is there was not freed.
  if (!m_file.HasWritten() && (m_state.m_bRecoveryDone || m_state.m_bXRefIncomplete) &&
      (RecoverObject(nNumber) || m_state.m_xref.GetEntry(nNumber).m_nType != eXRefFree))
  {
    BSE::ReportError(&m_file, BSE::MakeError(g_nWrongOffset, "Object No.", nNumber));
    return true;
  }
  if (m_state.m_bXRefIncomplete && !m_file.HasWritten() && m_state.m_recoveredHolders.IsEmpty())
    m_file.NoteDamage(nNumber, g_nWrongOffset);
  object.SetParsed(nullptr, nullptr);
  return false;
}

bool CObjectReader::ReadObject(CIndirectObject& object, unsigned& nFailure)
{
  const TXRefEntry entry = m_state.m_xref.GetEntry(object.GetObjNumber());
  const bool bCompressed = entry.m_nType == eXRefCompressed;
  if (!(bCompressed ? LoadCompressed(object, entry, nFailure) : LoadDirect(object, nFailure)))
    return false;
  CountLoad(object, bCompressed);
  return true;
}

void CObjectReader::CountLoad(CIndirectObject& object, bool bCompressed)
{
  TXRefEntry& entry = m_state.m_xref.GetOrCreateEntry(object.GetObjNumber());
  const int nCost = object.GetCost();
  m_nLoadedBytes += nCost;
  object.SetReread(entry.m_bRead);
  if (!entry.m_bRead && !bCompressed)
    m_nFirstBytes += nCost;
  else if (entry.m_bRead && nCost >= BSE::g_nMinHeldObject)
    m_nAgainBytes += nCost;
  entry.m_bRead = true;
}

bool CObjectReader::IsOverworked()
{
  // What has been written is read back as often as it is wanted.
  if (m_file.HasWritten() || (m_nFirstBytes <= BSE::g_nFreeValues && m_nAgainBytes <= BSE::g_nFreeParsedSize))
    return false;
  const std::int64_t nLength = m_state.m_pInput->GetLength();
  return BSE::IsOutOfProportion(m_nFirstBytes, BSE::g_nFreeValues, BSE::g_nMaxValueRatio, nLength) ||
         BSE::IsOutOfProportion(m_nAgainBytes, BSE::g_nFreeParsedSize, BSE::g_nMaxSharedRatio,
                                nLength + m_nDecodedBytes);
}

bool CObjectReader::LoadDirect(CIndirectObject& object, unsigned& nFailure)
{
  if (m_file.HasWritten())
  {
    m_file.SyncOutput();
    m_state.m_pParser->GetScanner().GetStream().Invalidate();
  }
  const int nNumber = object.GetObjNumber();
  if (m_state.m_pParser->ParseIndirectObject(&object, m_state.GetTableOffset(nNumber)))
    return true;
  nFailure = m_state.m_pParser->GetFailure() != 0 ? m_state.m_pParser->GetFailure() : g_nNotRepairable;
  // A file that is written has no damage to repair.
  const bool bNeverWritten = m_state.GetTableOffset(nNumber) == 0;
  if (m_file.HasWritten() || !RecoverObject(nNumber) ||
      m_state.m_xref.GetEntry(nNumber).m_nType != eXRefInUse)
  {
    // Some writers state the position 0 for numbers that they have not used.
    if (bNeverWritten)
      object.SetParsed(nullptr, nullptr);
    return bNeverWritten;
  }
  if (!m_state.m_pParser->ParseIndirectObject(&object, m_state.GetTableOffset(nNumber)))
    return false;
  BSE::ReportError(&m_file, BSE::MakeError(g_nWrongOffset, "Object No.", nNumber));
  return true;
}

bool CObjectReader::RecoverObject(int nObjNumber)
{
  if (!m_state.m_bRecoveryDone)
  {
    CXRefRecovery recovery(m_file, m_state, *this);
    recovery.Run(true);
  }
  return TakeScanned(nObjNumber);
}

bool CObjectReader::TakeScanned(int nObjNumber)
{
  const TXRefEntry entry = m_state.m_scanned.GetEntry(nObjNumber);
  if (entry.m_nType != eXRefInUse)
    return false;
  m_state.m_xref.SetOffset(nObjNumber, entry.m_nGeneration, entry.m_nOffset);
  m_state.m_scanned.Remove(nObjNumber);
  m_file.NotifyXRefChanged();
  return true;
}

bool CObjectReader::LoadCompressed(CIndirectObject& object, const TXRefEntry& entry, unsigned& nFailure)
{
  const int nNumber = object.GetObjNumber();
  const auto nStream = static_cast<int>(entry.m_nOffset);
  // What has just been written is not complete yet, and shall not be cut off for a look at a member.
  if (m_file.ReadPendingMember(nStream, object, entry.m_nGeneration))
  {
    object.SetCompressedFlags(0);
    return true;
  }
  CObjectStream* pStream = nullptr;
  if (m_file.FlushPendingHolder(nStream) && m_state.m_xref.GetEntry(nStream).m_nType == eXRefInUse)
    pStream = m_streams.Get(nStream);
  if (pStream && LoadStream(*pStream) && pStream->GetObject(object, entry.m_nGeneration, !entry.m_bRead))
  {
    object.SetCompressedFlags(0);
    return true;
  }
  nFailure = m_nReadFailure != 0 ? m_nReadFailure : g_nNotRepairable;
  if (m_nReadFailure != 0)
    return false;
  BSE::ReportError(&m_file, BSE::MakeError(g_nWrongOffset, "Object No.", nNumber));
  // A plain object of that number may still be somewhere.
  return !m_file.HasWritten() && RecoverObject(nNumber) &&
         m_state.m_xref.GetEntry(nNumber).m_nType == eXRefInUse &&
         m_state.m_pParser->ParseIndirectObject(&object, m_state.GetTableOffset(nNumber));
}

bool CObjectReader::LoadStream(CObjectStream& stream)
{
  if (stream.IsLoaded())
  {
    m_streams.Touch(stream, m_nRereadBytes);
    return true;
  }
  m_streams.MakeRoom();
  if (!DecodeStream(stream))
    return false;
  m_streams.Touch(stream, m_nRereadBytes);
  return true;
}

bool CObjectReader::DecodeStream(CObjectStream& stream)
{
  const std::int64_t nLength = m_state.m_pInput ? m_state.m_pInput->GetLength() : 0;
  if (!m_file.HasWritten() &&
      (BSE::IsOutOfProportion(m_nRereadBytes, BSE::g_nMaxRereadStreams, BSE::g_nMaxSharedRatio, nLength) ||
       BSE::IsOutOfProportion(m_nDecodedBytes, BSE::g_nFreeStreams, BSE::g_nMaxStreamRatio, nLength)))
    GiveUp(BSE::g_nSizeExceeded);
  if (m_nReadFailure != 0)
    return false;
  std::int64_t& nCount = stream.WasTried() ? m_nRereadBytes : m_nDecodedBytes;
  const bool bLoaded = stream.Load();
  nCount += stream.GetDecodedSize();
  return bLoaded;
}

std::int64_t CObjectReader::GetValueLimit() const
{
  if (m_file.HasWritten() || !m_state.m_pInput)
    return std::numeric_limits<std::int64_t>::max();
  constexpr std::int64_t nMaxLength = std::int64_t{1} << 48;
  return BSE::g_nFreeObjectValues +
         BSE::g_nMaxObjectValueRatio * std::clamp<std::int64_t>(m_state.m_pInput->GetLength(), 0, nMaxLength);
}

bool CObjectReader::AdmitValues(std::int64_t nCount)
{
  if (m_file.HasWritten() || !m_state.m_pInput)
    return true;
  m_nCompressedValues += nCount;
  if (m_nCompressedValues > BSE::g_nFreeAllValues &&
      BSE::IsOutOfProportion(m_nCompressedValues, BSE::g_nFreeAllValues, BSE::g_nMaxValuesRatio,
                             m_state.m_pInput->GetLength()))
    GiveUp(BSE::g_nSizeExceeded);
  return m_nReadFailure == 0;
}

void CObjectReader::EnterRecoveredHolders(const BSE::CBasicArray<int>& holders, bool bBeside)
{
  const BSE::CErrorSuppressor quiet(m_file.OnGetErrorHandler());
  for (int nAt = 0; nAt < holders.GetSize(); ++nAt)
  {
    // Beside a table the first entry counts, and has to be that of the newest stream.
    const int nHolder = holders[bBeside ? holders.GetSize() - 1 - nAt : nAt];
    CObjectStream stream(&m_file, nHolder);
    if (!DecodeStream(stream))
      continue;
    const std::int64_t nPosition = m_state.GetTableOffset(nHolder);
    for (int i = 0; i < stream.GetCount(); ++i)
    {
      const int nNumber = stream.GetNumberAt(i);
      if (nNumber < 1 || nNumber > BSE::g_nMaxObjNumber)
        continue;
      if (bBeside && m_state.m_xref.GetEntry(nNumber).m_nType != eXRefFree)
        continue;
      // Of two objects with one number the later one in the file is the newer.
      const TXRefEntry& entry =
          bBeside ? m_state.m_scanned.GetEntry(nNumber) : m_state.m_xref.GetEntry(nNumber);
      if (entry.m_nType == eXRefInUse && entry.m_nOffset >= nPosition)
        continue;
      m_state.m_xref.SetCompressed(nNumber, nHolder, i);
      m_state.m_scanned.Remove(nNumber);
    }
  }
}

void CObjectReader::UnloadUnused(CIndirectObject& object)
{
  // All values go with the table then. An object that could not be queued comes back as it is let go of.
  if (m_bReleasing || m_bQueuing)
    return;
  try
  {
    const BSE::CScopedValue queuing(m_bQueuing, true);
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

bool CObjectReader::Hold(CIndirectObject& object)
{
  const int nCost = object.GetCost();
  if (!object.IsReread() || nCost < BSE::g_nMinHeldObject)
    return false;
  try
  {
    m_held.Reserve(m_held.GetSize() + 1);
    m_heldCosts.Reserve(m_heldCosts.GetSize() + 1);
  }
  catch (...)
  {
    // Whoever lets go of an object must not be disturbed.
    return false;
  }
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

void CObjectReader::ReleaseHeld(int nCount)
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

void CObjectReader::OnUnloaded(CIndirectObject& object)
{
  m_nLoadedBytes -= object.GetCost();
  object.SetCost(0);
}

void CObjectReader::ForgetObjects()
{
  m_streams.RemoveAll();
  // One by one: what is let go would be held again.
  while (m_held.GetSize() > 0)
    ReleaseHeld(1);
  m_unloadQueue.RemoveAll();
  m_state.m_xref.RemoveAll();
  m_nHeldBytes = m_nLoadedBytes = 0;
}

void CObjectReader::Reset()
{
  ForgetObjects();
  m_nLoadDepth = 0;
  m_nDecodedBytes = m_nRereadBytes = m_nCompressedValues = 0;
  m_nFirstBytes = m_nAgainBytes = 0;
  m_nReadFailure = 0;
}

}  // namespace PDF
