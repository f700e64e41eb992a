#pragma once

#include "base/BufferedOutputStream.h"
#include "base/ErrorContext.h"
#include "base/Event.h"
#include "base/MemoryStream.h"
#include "pdf/Conformance.h"
#include "pdf/FilterTable.h"
#include "pdf/ObjectMap.h"
#include "pdf/SecurityHandler.h"
#include "pdf/XRefTable.h"

namespace PDF
{

class CFile;
class CGenerator;
class CObjectStream;
class CParser;
class CPendingObjectStream;
class CInputMonitor;
class IStreamDeflater;

// Hears of changes of a file while it is read.
class CFileEventListener : public BSE::CEventListener<CFileEventListener>
{
public:
  // Before each load of an object.
  virtual void OnObjectLoading(CFile&, int /*nObjNumber*/, int /*nGenNumber*/) {}

  // After a recovery has altered the table.
  virtual void OnXRefChanged(CFile&) {}
};

// Rewrites a finished file in first-page-first order. Declared here, and implemented in the layer above, so
// that closing a file does not depend on it.
class ILinearizer
{
public:
  virtual ~ILinearizer() = default;

  // From a seekable stream to another one, from its position on. nWritten: bytes that the output may have
  // taken, on failure as well.
  virtual bool LinearizeStream(BSE::IByteStream* pInput, BSE::IByteStream* pOutput, CFile& file,
                               std::int64_t& nWritten) = 0;
};

// Form of cross-reference data.
enum TXRefForm
{
  eXRefUnknown = 0,
  eXRefTable = 1,
  eXRefStream = 2,
  eXRefHybrid = 3
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
  // output that is no file is collected in memory first and reaches the stream at Close.
  virtual bool Create(BSE::IByteStream* pStream, const CString& id, bool bDirectOutput, bool bObjectStreams);

  // Writes what is dirty, linearizes if asked for, releases everything. False if the file could not be
  // completed.
  virtual bool Close();

  // Gives a file that is written up, in whatever state it is: Close then completes nothing and releases all.
  void Abandon() { m_bFailed = true; }

  bool IsOpened() const { return m_bOpened; }
  bool IsWritable() const { return m_pOutput.Get() != nullptr; }

  // --- Objects
  // The object of a reference; null for a number outside 1 to the limit.
  CObjectPtr GetObject(int nObjNumber, int nGenNumber);
  CXRefTable& GetXRef() { return m_xref; }
  int GetObjectCount() const { return m_xref.GetSize(); }

  // False while something else is read with the same reader, or too many loads are under way inside each
  // other: an object that is wanted meanwhile reads as null, and can be had later.
  bool CanLoad() const;

  // Fills an object from the file; false, reported and noted as damage, if it cannot be read even after a
  // repair.
  bool LoadObject(CIndirectObject& object);

  // Called when only the table holds an object: unloads or holds it, and what that sets free, without
  // recursion.
  void UnloadUnused(CIndirectObject& object);

  // Called by an object that has been unloaded.
  void OnUnloaded(CIndirectObject& object);

  // For an object whose generation is not the one that it should be; true if that has been told before.
  bool NoteOtherGeneration(int nObjNumber);

  // --- Damage
  // What an object lacks is noted where it is found, and reported as a loss where a copy meets it: an object
  // may be read long before, by a query whose reports nobody hears, or never be wanted. Kept until the file
  // is closed, through unloading and repeated loads; the first code of an object counts.
  void NoteDamage(int nObjNumber, unsigned nCode);

  // The code with which a part of the object, or all of it, could not be read; 0 for a whole object.
  unsigned GetDamage(int nObjNumber) const { return static_cast<unsigned>(m_damage.GetAt(nObjNumber)); }

  // File position of an entry in use, else 0.
  std::int64_t GetTableOffset(int nObjNumber) const;

  // A new dirty object; number 0 takes the next free one. Group: an object stream 0 to 2, or g_nGroupDirect.
  CObjectPtr NewObject(int nObjNumber, int nGenNumber, int nGroup);

  // Writes an object and with bFollow everything dirty that it reaches, children first.
  bool WriteObject(CObject* pObject, bool bFollow);

  // Writes one dirty object, into an object stream or directly. Its children are not followed.
  bool WriteIndirect(CIndirectObject& object);

  // Flushes all that is dirty and writes a cross-reference section.
  bool FinishRevision();

  // Source object numbers to this file's, one map per source.
  CObjectMap& GetObjectMap(CFile& source);
  CObjectPtr GetCopy(CFile& source, int nObjNumber);
  CObjectPtr GetOrCreateCopy(CFile* pSource, int nObjNumber, bool& bCreated, int nGroup);

  // Counts the bytes of a source's stream that is to be copied. False, reported, once streams that overlap in
  // the source would make this file many times as long.
  bool AdmitStream(const CFile& source, std::int64_t nLength);

  // --- Trailer
  CObjectPtr GetTrailerValue(const char* szKey) const { return m_trailer[szKey]; }
  CObjectPtr GetRoot() const { return m_root; }

  // True if the catalogue is lost, and the root is one that was assumed for the pages that were found.
  bool IsRootAssumed() const { return m_bRootAssumed; }

  // True if a trailer lacks something that stood in it, and none names the document information.
  bool IsInfoLost() const { return m_bTrailerCut && !m_info.IsDictionary(); }
  CObjectPtr GetInfo() const { return m_info; }
  CObjectPtr GetEncrypt() const { return m_encrypt; }
  void SetRoot(CObject* pRoot) { m_root = pRoot; }
  void SetInfo(CObject* pInfo) { m_info = pInfo; }
  const CString& GetId1() const { return m_id1; }
  const CString& GetId2() const { return m_id2; }

  // --- Version and conformance
  int GetMajorVersion() const { return m_nMajor; }
  int GetMinorVersion() const { return m_nMinor; }
  bool IsVersionAtLeast(int nMajor, int nMinor) const
  {
    return m_nMajor > nMajor || (m_nMajor == nMajor && m_nMinor >= nMinor);
  }

  // The version of a file to be created, whatever it was.
  void InitVersion(int nMajor, int nMinor);

  // Raises the version: of a new file in memory, of one whose header stands through the catalogue's Version.
  void SetVersion(int nMajor, int nMinor);
  CConformance GetConformance() const { return m_conformance; }
  void SetConformance(CConformance conformance) { m_conformance = conformance; }

  // --- Security
  CSecurityHandler* GetSecurityHandler() const { return m_pSecurity.Get(); }

  // For a file that is written, before its first object. Makes the Encrypt dictionary.
  void SetSecurityHandler(CSecurityHandler* pHandler);

  // --- Revisions, oldest first; a reader of the file up to the revision's end.
  int GetRevisionCount() const { return m_revisions.GetSize(); }
  BSE::CObjectPtr<BSE::IByteStream> GetRevision(int nIndex) const;
  bool IsLinearized() const { return static_cast<bool>(m_linearized); }
  TXRefForm GetXRefForm() const { return m_nXRefForm; }

  // True for a stream that cross-reference data have been read from; in a file that was scanned for its
  // objects, for every one that says so.
  bool IsXRefStream(CIndirectObject& object);
  bool HasSplitXRef() const { return m_bSplitXRef; }
  bool WasRecovered() const { return m_bRecoveryDone; }

  // --- Linearization of the output: requested, and only if it does not cost too much.
  void SetLinearize(bool bLinearize, bool bAuto, ILinearizer* pLinearizer);
  std::int64_t GetSavedBytes() const { return m_nSavedBytes; }

  // How the output's own streams are compressed: borrowed, and kept until it is replaced. Null, as at the
  // start, for the plain encoder. To be set before the first object is written: with one, size comes first
  // elsewhere too, in the layout of objects and the length of object streams.
  void SetStreamDeflater(IStreamDeflater* pDeflater) { m_pDeflater = pDeflater; }

  IStreamDeflater* GetStreamDeflater() const { return m_pDeflater; }

  // Bytes through the deflater, or the plain encoder; null on failure.
  BSE::CObjectPtr<BSE::CMemoryStream> Deflate(std::span<const unsigned char> data);

  // The filters of pictures that streams of this file are decoded and encoded with; none at first. Outlives
  // documents.
  void SetImageFilters(CFilterTable filters) { m_imageFilters = filters; }
  CFilterTable GetImageFilters() const { return m_imageFilters; }

  // The code with which reading has failed or was given up, and 0 while all is well. Objects may then have
  // been taken for damaged or absent, and a save must not go on.
  unsigned GetReadFailure() const;

  // True once the input could not be read where it has data, by whatever reader.
  bool HasInputFailed() const;

  // Gives reading up; reported, the first time, as the end of the operation.
  void GiveUpReading(unsigned nCode);

  // How many elements and entries one object of an object stream may have; and counts those that have been
  // read for the first time. False if reading is given up.
  std::int64_t GetValueLimit() const;
  bool AdmitValues(std::int64_t nCount);

  BSE::IByteStream* GetInput() const { return m_pInput.Get(); }
  std::int64_t GetHeaderOffset() const { return m_nHeaderOffset; }
  CParser* GetParser() const { return m_pParser.Get(); }
  void SetDirty() { m_bDirty = true; }

private:
  friend class CFileLoader;
  friend class CXRefRecovery;
  friend class CPendingObjectStream;
  friend class CRevisionWriter;

  bool LoadDirect(CIndirectObject& object, unsigned& nFailure);
  bool LoadCompressed(CIndirectObject& object, const TXRefEntry& entry, unsigned& nFailure);
  bool RecoverObject(int nObjNumber);

  // Reads the value of an object with an entry; false, with the reason, if it cannot be read.
  bool ReadObject(CIndirectObject& object, unsigned& nFailure);

  // For an object whose entry is free: reads as null, unless the table is not to be trusted in that.
  bool LoadFree(CIndirectObject& object);

  // Counts what has been read for an object.
  void CountLoad(CIndirectObject& object, bool bCompressed);
  bool IsOverworked();
  bool Hold(CIndirectObject& object);
  void ReleaseHeld(int nCount);
  void ForgetObjects();

  // Enters what the scan for lost objects has found under a number; false if it has found none.
  bool TakeScanned(int nObjNumber);
  CObjectStream* GetObjectStream(int nObjNumber);

  // Decodes an object stream that is not in memory and puts it to the front of the cache.
  bool LoadObjectStream(CObjectStream& stream);

  // As long as the file does not ask for too much of that.
  bool DecodeObjectStream(CObjectStream& stream);
  void TouchObjectStream(CObjectStream& stream);
  void DropFromCache(CObjectStream& stream);
  void UnloadOldestObjectStream();

  // Writes the pending object stream of that number, so that its members can be read back; true if there is
  // none.
  bool FlushPendingHolder(int nStream);

  // Brings to the output what is buffered for it. Before anything is read back.
  void SyncOutput();

  // Puts the parser on the input.
  bool FailOpening();
  void CreateParser();

  // Gives the file up for the reason of that code, which is the end of whatever writes it; 0 for one that has
  // been reported. Always false.
  bool Fail(unsigned nCode);
  bool FailWriting();
  bool UsesObjectStreams() const;
  bool WriteHeader();
  bool PrepareToWrite();
  bool WriteCompressed(CIndirectObject& object, int nGroup);
  bool WriteDirect(CIndirectObject& object);
  bool WriteStreamData(CIndirectObject& object, CSecurityHandler* pSecurity);
  bool FlushObjects();
  bool WriteSection();
  bool FinishOutput();
  bool WantsLinearization();
  bool LinearizeOutput();
  bool LinearizeOutputFile();
  bool ReplaceOutputFile();
  bool LinearizeOutputMemory();
  bool RewindTarget();
  bool DeliverToTarget();

  // The same where the target has taken bytes of another file, which are gone afterwards.
  bool DeliverInstead(std::int64_t nWritten);
  void ReleaseAll();
  void NotifyXRefChanged();
  void DropTrailer();
  void DropObjectStreams();
  bool CheckRoot();

  // For a file that a scan has found no root of; false unless it may and can do without.
  bool FindRoot();
  bool ReadHeader();

  // Remembers whether a trailer lacks something.
  void NoteTrailer(const CObjectPtr& trailer, bool bCut);
  void ReadCatalogueVersion();

  // Once objects can be loaded.
  void FollowId();

  // Entries for what object streams hold, unless a plain object of that number stands behind them; for
  // streams that a scan has found, in the order of the file.
  void EnterRecoveredHolders(const BSE::CBasicArray<int>& holders, bool bBeside);
  void UnloadAll();

  // Reading
  TXRefForm m_nXRefForm = eXRefUnknown;
  std::int64_t m_nHeaderOffset = 0;
  std::int64_t m_nStartXRef = -1;
  CXRefTable m_xref{this};
  CXRefTable m_scanned{this};
  CObjectMap m_damage{this};                 // status codes of objects that are not whole
  CObjectStream* m_pNewestCached = nullptr;  // object streams that stay decoded
  CObjectStream* m_pOldestCached = nullptr;
  int m_nCachedCount = 0;
  BSE::CPagedArray<CObjectStream*, 64> m_objectStreams;  // by object number
  BSE::CBasicArray<int> m_recoveredHolders;              // wait for the password
  BSE::CBasicArray<std::int64_t> m_revisions;
  BSE::CBasicArray<std::int64_t> m_xrefStreams;  // where they stand
  CObjectPtr m_trailer;
  CObjectPtr m_root;
  CObjectPtr m_encrypt;
  CObjectPtr m_info;
  CObjectPtr m_linearized;
  CObjectPtr m_id;  // the file's identifier, where it has references
  CString m_id1;
  CString m_id2;
  int m_nMajor = 1;
  int m_nMinor = 4;
  CConformance m_conformance;
  CFilterTable m_imageFilters;
  BSE::CObjectPtr<BSE::IByteStream> m_pInput;
  BSE::CObjectPtr<CInputMonitor> m_pMonitor;  // the same, where it is a stream of the caller's
  BSE::CScopedPtr<CParser> m_pParser;
  BSE::CObjectPtr<CSecurityHandler> m_pSecurity;
  BSE::CObjectArray<CIndirectObject> m_unloadQueue;
  BSE::CObjectArray<CIndirectObject> m_held;  // the oldest first
  BSE::CBasicArray<int> m_heldCosts;
  std::int64_t m_nHeldBytes = 0;
  std::int64_t m_nLoadedBytes = 0;  // read for values that are in memory
  std::int64_t m_nFirstBytes = 0;   // read for values that stand in the file for themselves
  std::int64_t m_nAgainBytes = 0;   // read for values after the first time
  unsigned m_nReadFailure = 0;
  int m_nErrors = 0;
  int m_nLoadDepth = 0;
  std::int64_t m_nCachedBytes = 0;   // decoded object streams of the cache
  std::int64_t m_nDecodedBytes = 0;  // decoded for the first time
  std::int64_t m_nRereadBytes = 0;   // decoded more than once
  std::int64_t m_nCompressedValues = 0;
  std::int64_t m_nAdmittedBytes = 0;  // copied from a source's streams
  bool m_bUnloading = false;
  bool m_bReleasing = false;
  bool m_bWantObjectStreams = false;
  bool m_bSplitXRef = false;
  bool m_bOpened = false;
  bool m_bRecoveryDone = false;
  bool m_bLenient = false;
  bool m_bRootAssumed = false;
  bool m_bTrailerCut = false;
  bool m_bScanning = false;        // the reader is in the middle of something: nothing may be loaded
  bool m_bXRefIncomplete = false;  // objects may exist that the table calls free
  bool m_bHoldersBeside = false;   // the table stays, where it does not call a number free

  // Writing
  BSE::CObjectPtr<BSE::IByteStream> m_pOutput;  // working output
  BSE::CObjectPtr<BSE::IByteStream> m_pTarget;  // where it goes in the end, if that is another stream
  BSE::CObjectPtr<BSE::CBufferedOutputStream> m_pWriter;
  BSE::CScopedPtr<CGenerator> m_pGenerator;
  BSE::CScopedPtr<CPendingObjectStream> m_pendingObjStm[3];
  BSE::CPtrArray<CObjectMap> m_objectMaps;
  std::int64_t m_nFileSize = 0;
  std::int64_t m_nSavedBytes = 0;
  std::int64_t m_nXRefPosition = 0;
  std::int64_t m_nRevisionStart = 0;  // where what has been written since the last section begins
  int m_nFlushedStreams = 0;          // object streams among it
  ILinearizer* m_pLinearizer = nullptr;
  IStreamDeflater* m_pDeflater = nullptr;
  bool m_bHeaderWritten = false;
  bool m_bAppending = false;
  bool m_bDirty = false;
  bool m_bFailed = false;
  bool m_bLinearize = false;
  bool m_bLinearizeAuto = false;
};

}  // namespace PDF
