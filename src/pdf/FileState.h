#pragma once

#include "base/BasicArray.h"
#include "pdf/Conformance.h"
#include "pdf/ObjectMap.h"
#include "pdf/SecurityHandler.h"
#include "pdf/XRefTable.h"

namespace PDF
{

class CFile;
class CInputMonitor;
class CParser;

// Form of cross-reference data.
enum TXRefForm
{
  eXRefUnknown = 0,
  eXRefTable = 1,
  eXRefStream = 2,
  eXRefHybrid = 3
};

// What is known of one file, shared by what opens, reads and writes it: CFile owns it and lends it to them.
struct TFileState
{
  explicit TFileState(CFile* pFile);
  TFileState(const TFileState&) = delete;
  TFileState& operator=(const TFileState&) = delete;
  ~TFileState();

  // As before the first use, but for the version and what was set for the next file. The tables go last: all
  // values go with them.
  void Reset();

  // Forgets what was taken from trailers.
  void DropTrailer();

  // Remembers whether a trailer lacks something. Where the reference to the root is what is damaged, nothing
  // else is known to be.
  void NoteTrailer(const CObjectPtr& trailer, bool bCut);

  // File position of an entry in use, else 0.
  std::int64_t GetTableOffset(int nObjNumber) const;

  bool IsVersionAtLeast(int nMajor, int nMinor) const
  {
    return m_nMajor > nMajor || (m_nMajor == nMajor && m_nMinor >= nMinor);
  }

  // --- Cross-references
  CXRefTable m_xref;
  CXRefTable m_scanned;  // what a scan has found besides
  CObjectMap m_damage;   // status codes of objects that are not whole
  TXRefForm m_nXRefForm = eXRefUnknown;
  std::int64_t m_nHeaderOffset = 0;
  std::int64_t m_nStartXRef = -1;
  BSE::CBasicArray<int> m_recoveredHolders;  // object streams that a scan has found; wait for the password
  BSE::CBasicArray<std::int64_t> m_revisions;
  BSE::CBasicArray<std::int64_t> m_xrefStreams;  // where they are
  bool m_bSplitXRef = false;
  bool m_bRecoveryDone = false;
  bool m_bXRefIncomplete = false;  // objects may exist that the table calls free
  bool m_bHoldersBeside = false;   // the table stays, where it does not call a number free

  // --- Trailer
  CObjectPtr m_trailer;
  CObjectPtr m_root;
  CObjectPtr m_encrypt;
  CObjectPtr m_info;
  CObjectPtr m_linearized;
  CObjectPtr m_id;  // the file's identifier, where it has references
  CString m_id1;
  CString m_id2;
  bool m_bRootAssumed = false;
  bool m_bTrailerCut = false;

  // --- Version and security
  int m_nMajor = 1;
  int m_nMinor = 4;
  CConformance m_conformance;
  BSE::CObjectPtr<CSecurityHandler> m_pSecurity;

  // --- The input; for a file that is written, the output, whose objects can be read back
  BSE::CObjectPtr<BSE::IByteStream> m_pInput;
  BSE::CObjectPtr<CInputMonitor> m_pMonitor;  // the same, where it is a stream of the caller's
  BSE::CScopedPtr<CParser> m_pParser;
  bool m_bOpened = false;
  bool m_bScanning = false;  // the reader is in the middle of something: nothing may be loaded
  bool m_bWantObjectStreams = false;
};

}  // namespace PDF
