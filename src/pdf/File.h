#pragma once

#include "base/ErrorContext.h"
#include "base/Event.h"
#include "pdf/FileFinisher.h"
#include "pdf/FilterTable.h"
#include "pdf/ObjectReader.h"

namespace PDF
{

class CFile;
class CParser;

// Is told of changes to a file while it is read.
class CFileEventListener : public BSE::CEventListener<CFileEventListener>
{
public:
  // Before each load of an object.
  virtual void OnObjectLoading(CFile&, int /*nObjNumber*/, int /*nGenNumber*/) {}

  // After a recovery has altered the table.
  virtual void OnXRefChanged(CFile&) {}
};

// An open PDF file, read or written: owner of the cross-reference table, the parser or generator, the trailer
// values and every indirect object. Objects load when they are asked for; a damaged file is repaired by a
// scan, at opening or when an object is not where its entry says. All offsets count from the "%PDF-" header.
// Belongs to one thread.
//
// An object that nobody uses is unloaded. One that is long and was wanted again is held for a while, so that
// what many others share is not read for each of them. Work stays in proportion to the file all the same:
// what is read for values and for object streams is counted, the first time and again, and beyond the limits,
// which no sound file reaches, reading is given up as a whole. Every object then fails to load, and
// GetReadFailure has the reason, so that no operation takes what it did not get for what is not there.
class CFile : public BSE::CBasicErrorContext, public BSE::CEventCaller<CFileEventListener>
{
public:
  explicit CFile(BSE::IErrorContext* pErrorContext);
  ~CFile() override;

  // Reads header, cross-reference chain and trailer; falls back on a scan. False, closed and reported if
  // neither finds a catalogue. An encrypted file opens here and is unusable until Authenticate.
  virtual bool Open(BSE::IByteStream* pStream, bool bUpdate = false);

  // Whether a file also opens that has no header, no trailer or no root in it, as long as a catalogue or
  // pages are found in it: of several catalogues the last one of the file counts, and without any one is
  // assumed over the page tree or over all pages. Off at first; to be set before Open.
  void SetLenient(bool bLenient) { m_bLenient = bLenient; }

  // The input's password; true at once for a file that is not encrypted. A failure is reported.
  bool Authenticate(const CString* pPassword);

  void OnReportError(BSE::CScopedPtr<BSE::IError> pError) override;

  // Errors reported here so far: whoever reads can tell whether any came up meanwhile.
  int GetErrorCount() const { return m_nErrors; }

  // Prepares a new file on a stream. bDirectOutput false: the result may have to be rewritten, so that an
  // output that is not a file is collected in memory first and reaches the stream at Close.
  virtual bool Create(BSE::IByteStream* pStream, const CString& id, bool bDirectOutput, bool bObjectStreams);

  // Before Close, for whoever lets go of many objects first: what nobody uses any more goes with the file
  // alone, and no memory is needed for it.
  void BeginRelease() { m_reader.SetReleasing(true); }

  // Writes what is dirty, linearizes if asked for, releases everything. False if the file could not be
  // completed.
  virtual bool Close();

  // Gives up a file that is being written, in whatever state it is: Close then completes nothing and releases
  // all.
  void Abandon() { m_writer.Fail(0); }

  bool IsOpened() const { return m_state.m_bOpened; }
  bool IsWritable() const { return m_writer.GetOutput() != nullptr; }

  // Lets objects of a file be changed that is not written to, until it is closed: a copy of it has the
  // changes. What is changed stays in memory as long as somebody holds it.
  void AllowEdits() { m_bEditable = true; }
  bool IsEditable() const { return m_bEditable || IsWritable(); }

  // --- Objects
  // The object of a reference; null for a number outside 1 to the limit.
  CObjectPtr GetObject(int nObjNumber, int nGenNumber);
  CXRefTable& GetXRef() { return m_state.m_xref; }
  int GetObjectCount() const { return m_state.m_xref.GetSize(); }

  // False while something else is read with the same reader, or too many loads are under way inside each
  // other: an object that is wanted meanwhile reads as null, and can be had later.
  bool CanLoad() const { return m_reader.CanLoad(); }

  // Fills an object from the file; false, reported and noted as damage, if it cannot be read even after a
  // repair.
  bool LoadObject(CIndirectObject& object) { return m_reader.Load(object); }

  // Called when only the table holds an object: unloads or holds it, and what that sets free, without
  // recursion.
  void UnloadUnused(CIndirectObject& object) { m_reader.UnloadUnused(object); }

  // Called by an object that has been unloaded.
  void OnUnloaded(CIndirectObject& object) { m_reader.OnUnloaded(object); }

  // For an object whose generation is not the one that it should be; true if that has been reported before.
  bool NoteOtherGeneration(int nObjNumber);

  // --- Damage
  // What an object lacks is noted where it is found, and reported as a loss where a copy meets it: an object
  // may be read long before, by a query whose reports nobody reads, or never be wanted. Kept until the file
  // is closed, through unloading and repeated loads; the first code of an object counts.
  void NoteDamage(int nObjNumber, unsigned nCode);

  // The code with which a part of the object, or all of it, could not be read; 0 for a whole object.
  unsigned GetDamage(int nObjNumber) const
  {
    return static_cast<unsigned>(m_state.m_damage.GetAt(nObjNumber));
  }

  // File position of an entry in use, else 0.
  std::int64_t GetTableOffset(int nObjNumber) const { return m_state.GetTableOffset(nObjNumber); }

  // A new dirty object; number 0 takes the next free one. Group: an object stream 0 to 2, or g_nGroupDirect.
  CObjectPtr NewObject(int nObjNumber, int nGenNumber, int nGroup);

  // Writes an object and with bFollow everything dirty that it reaches, children first.
  bool WriteObject(CObject* pObject, bool bFollow) { return m_writer.WriteObject(pObject, bFollow); }

  // Writes one dirty object, into an object stream or directly. Its children are not followed.
  bool WriteIndirect(CIndirectObject& object) { return m_writer.WriteIndirect(object); }

  // Flushes all that is dirty and writes a cross-reference section.
  bool FinishRevision() { return m_writer.FinishRevision(); }

  // Source object numbers to this file's, one map per source.
  CObjectMap& GetObjectMap(CFile& source);
  CObjectPtr GetCopy(CFile& source, int nObjNumber);
  CObjectPtr GetOrCreateCopy(CFile* pSource, int nObjNumber, bool& bCreated, int nGroup);

  // Counts the bytes of a source's stream that is to be copied. False, reported, once streams that overlap in
  // the source would make this file many times as long.
  bool AdmitStream(const CFile& source, std::int64_t nLength);

  // --- Trailer
  CObjectPtr GetTrailerValue(const char* szKey) const { return m_state.m_trailer[szKey]; }
  CObjectPtr GetRoot() const { return m_state.m_root; }

  // True if the catalogue is lost, and the root is one that was assumed for the pages that were found.
  bool IsRootAssumed() const { return m_state.m_bRootAssumed; }

  // True if a trailer lacks something that was in it, and none names the document information.
  bool IsInfoLost() const { return m_state.m_bTrailerCut && !m_state.m_info.IsDictionary(); }
  CObjectPtr GetInfo() const { return m_state.m_info; }
  CObjectPtr GetEncrypt() const { return m_state.m_encrypt; }
  void SetRoot(CObject* pRoot) { m_state.m_root = pRoot; }
  void SetInfo(CObject* pInfo) { m_state.m_info = pInfo; }
  const CString& GetId1() const { return m_state.m_id1; }
  const CString& GetId2() const { return m_state.m_id2; }

  // --- Version and conformance
  int GetMajorVersion() const { return m_state.m_nMajor; }
  int GetMinorVersion() const { return m_state.m_nMinor; }
  bool IsVersionAtLeast(int nMajor, int nMinor) const { return m_state.IsVersionAtLeast(nMajor, nMinor); }

  // The version of a file to be created, whatever it was.
  void InitVersion(int nMajor, int nMinor);

  // Raises the version: of a new file in memory, of one whose header is written through the catalogue's
  // Version.
  void SetVersion(int nMajor, int nMinor);
  CConformance GetConformance() const { return m_state.m_conformance; }
  void SetConformance(CConformance conformance) { m_state.m_conformance = conformance; }

  // --- Security
  CSecurityHandler* GetSecurityHandler() const { return m_state.m_pSecurity.Get(); }

  // For a file that is written, before its first object. Makes the Encrypt dictionary.
  void SetSecurityHandler(CSecurityHandler* pHandler);

  // --- Revisions, oldest first; a reader of the file up to the revision's end.
  int GetRevisionCount() const { return m_state.m_revisions.GetSize(); }
  BSE::CObjectPtr<BSE::IByteStream> GetRevision(int nIndex) const;
  bool IsLinearized() const { return static_cast<bool>(m_state.m_linearized); }
  TXRefForm GetXRefForm() const { return m_state.m_nXRefForm; }

  // True for a stream that cross-reference data have been read from; in a file that was scanned for its
  // objects, for every one that says so.
  bool IsXRefStream(CIndirectObject& object);
  bool HasSplitXRef() const { return m_state.m_bSplitXRef; }
  bool WasRecovered() const { return m_state.m_bRecoveryDone; }

  // --- Linearization of the output: requested, and only if it does not cost too much.
  void SetLinearize(bool bLinearize, bool bAuto, ILinearizer* pLinearizer)
  {
    m_finisher.SetLinearize(bLinearize, bAuto, pLinearizer);
  }
  std::int64_t GetSavedBytes() const { return m_writer.GetSavedBytes(); }

  // How the output's own streams are compressed: borrowed, and kept until it is replaced. Null, as at the
  // start, for the plain encoder. To be set before the first object is written: with one, size comes first
  // elsewhere too, in the layout of objects and the length of object streams.
  void SetStreamDeflater(IStreamDeflater* pDeflater) { m_writer.SetDeflater(pDeflater); }

  IStreamDeflater* GetStreamDeflater() const { return m_writer.GetDeflater(); }

  // Bytes through the deflater, or the plain encoder; null on failure.
  BSE::CObjectPtr<BSE::CMemoryStream> Deflate(std::span<const unsigned char> data)
  {
    return m_writer.Deflate(data);
  }

  // The filters of pictures that streams of this file are decoded and encoded with; none at first. Outlives
  // documents.
  void SetImageFilters(CFilterTable filters) { m_imageFilters = filters; }
  CFilterTable GetImageFilters() const { return m_imageFilters; }

  // The code with which reading has failed or was given up, and 0 while all is well. Objects may then have
  // been taken for damaged or absent, and a save must not go on.
  unsigned GetReadFailure() const { return m_reader.GetReadFailure(); }

  // True once the input could not be read where it has data, by whatever reader.
  bool HasInputFailed() const { return m_reader.HasInputFailed(); }

  // Gives reading up; reported, the first time, as the end of the operation.
  void GiveUpReading(unsigned nCode) { m_reader.GiveUp(nCode); }

  // How many elements and entries one object of an object stream may have; and counts those that have been
  // read for the first time. False if reading is given up.
  std::int64_t GetValueLimit() const { return m_reader.GetValueLimit(); }
  bool AdmitValues(std::int64_t nCount) { return m_reader.AdmitValues(nCount); }

  BSE::IByteStream* GetInput() const { return m_state.m_pInput.Get(); }
  std::int64_t GetHeaderOffset() const { return m_state.m_nHeaderOffset; }
  CParser* GetParser() const { return m_state.m_pParser.Get(); }
  void SetDirty() { m_writer.SetDirty(true); }

  // --- For the parts of a file: the reader, the writer and those who help them.
  void NotifyLoading(int nObjNumber, int nGenNumber);
  void NotifyXRefChanged();
  bool HasWritten() const { return m_writer.HasWritten(); }
  void SyncOutput() { m_writer.Sync(); }
  bool ReadPendingMember(int nStream, CIndirectObject& object, int nIndex)
  {
    return m_writer.ReadPending(nStream, object, nIndex);
  }
  bool FlushPendingHolder(int nStream) { return m_writer.FlushPending(nStream); }

private:
  bool FailOpening();
  void CreateParser();
  void ReleaseAll();
  bool CheckRoot();

  // For a file that a scan has found no root of; false unless it may and can do without.
  bool FindRoot();
  bool ReadHeader();
  void ReadCatalogueVersion();

  // Once objects can be loaded.
  void FollowId();
  void UnloadAll();

  TFileState m_state{this};
  CObjectReader m_reader{*this, m_state};
  CFileWriter m_writer{*this, m_state};
  CFileFinisher m_finisher{*this, m_state, m_writer};
  BSE::CPtrArray<CObjectMap> m_objectMaps;
  CFilterTable m_imageFilters;
  std::int64_t m_nAdmittedBytes = 0;  // copied from a source's streams
  int m_nErrors = 0;
  bool m_bLenient = false;
  bool m_bEditable = false;
};

}  // namespace PDF
