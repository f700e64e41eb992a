#include "pdf/FileState.h"

#include "pdf/InputMonitor.h"
#include "pdf/Parser.h"

namespace PDF
{

TFileState::TFileState(CFile* pFile) : m_xref(pFile), m_scanned(pFile), m_damage(pFile) {}

TFileState::~TFileState() = default;

void TFileState::Reset()
{
  DropTrailer();
  m_linearized = nullptr;
  m_recoveredHolders.RemoveAll();
  m_revisions.RemoveAll();
  m_xrefStreams.RemoveAll();
  m_xref.RemoveAll();
  m_scanned.RemoveAll();
  m_damage.RemoveAll();
  m_pParser.Reset();
  m_pSecurity = nullptr;
  m_pInput = nullptr;
  m_pMonitor = nullptr;
  m_id1 = CString();
  m_id2 = CString();
  m_nXRefForm = eXRefUnknown;
  m_nHeaderOffset = 0;
  m_nStartXRef = -1;
  m_bWantObjectStreams = m_bSplitXRef = m_bOpened = m_bRecoveryDone = m_bRootAssumed = m_bTrailerCut = false;
  m_bScanning = m_bXRefIncomplete = m_bHoldersBeside = false;
}

void TFileState::DropTrailer()
{
  m_trailer = nullptr;
  m_root = nullptr;
  m_encrypt = nullptr;
  m_info = nullptr;
  m_id = nullptr;
}

void TFileState::NoteTrailer(const CObjectPtr& trailer, bool bCut)
{
  m_bTrailerCut = m_bTrailerCut || (bCut && trailer.GetType() == eDictionary && trailer["Root"].IsIndirect());
}

std::int64_t TFileState::GetTableOffset(int nObjNumber) const
{
  const TXRefEntry& entry = m_xref.GetEntry(nObjNumber);
  return entry.m_nType == eXRefInUse ? entry.m_nOffset : 0;
}

}  // namespace PDF
