#pragma once

#include "base/BasicString.h"
#include "base/Event.h"
#include "document/BTree.h"
#include "document/Page.h"
#include "metadata/Xmp.h"
#include "pdf/File.h"

namespace PDF
{

class CDocument;

// Is told of changes to a document.
class CDocumentEventListener : public BSE::CEventListener<CDocumentEventListener>
{
public:
  // A file has been opened or created, and the catalogue is there.
  virtual void OnDocumentOpened(CDocument&) {}

  // Before everything is released.
  virtual void OnDocumentClosing(CDocument&) {}
};

// Colour models of an output intent's profile.
enum TColorModel : int
{
  eModelGray = 0,
  eModelRgb = 2,
  eModelCmyk = 4,
  eModelNone = 11  // no profile, or one of another model
};

// A PDF document over a file of its own: catalogue, pages, and the values that belong to the whole. Page
// indices are 0-based. Belongs to one thread.
class CDocument : public BSE::CEventCaller<CDocumentEventListener>, public CFileEventListener
{
public:
  explicit CDocument(BSE::IErrorContext* pErrorContext);
  CDocument(const CDocument&) = delete;
  CDocument& operator=(const CDocument&) = delete;
  // Abandons what has not been closed.
  ~CDocument() override;

  // Closes first. A null password tries the empty one. False, reported and closed, if the file cannot be read
  // or the password does not fit. With bUpdate the document can be changed in place.
  bool Open(BSE::IByteStream* pStream, const CString* pPassword, bool bUpdate = false);

  // See CFile::SetLenient.
  void SetLenient(bool bLenient) { m_file.SetLenient(bLenient); }

  // Prepares a new document on a stream with the version and the conformance that were set (1.4 and none
  // otherwise). No object is made before CreateTree, so that a security handler can be set in between. False,
  // reported and closed, on failure.
  bool Create(BSE::IByteStream* pStream, const CString& id, bool bDirectOutput, bool bObjectStreams);

  // Makes the catalogue and an empty page tree of a new document.
  void CreateTree();

  // Completes a new or changed document. False if it could not be written, or if a former write failed. True
  // for a document that is not open.
  bool Close();

  // Gives up a document, half opened or half written: releases everything and completes nothing. What reached
  // the stream of a new document stays there.
  void Abandon();

  bool IsOpened() const { return m_bOpened; }
  CFile& GetFile() { return m_file; }
  BSE::IErrorContext* GetErrorContext() const { return m_pErrorContext; }

  // The catalogue (ISO 32000-1, 7.7.2); null while nothing is open.
  CObjectPtr GetCatalog() const { return m_file.GetRoot(); }
  CObjectPtr GetAcroForm() const { return GetCatalog()["AcroForm"]; }
  CObjectPtr GetInfo() const { return m_file.GetInfo(); }

  // Pages that really are there. 0, reported, without any.
  int GetPageCount();
  CPage GetPage(int nIndex) { return m_tree.GetPage(nIndex); }
  CBTree& GetPageTree() { return m_tree; }

  // Changes of the tree of a writable document.
  int AddPage(CObject* pPage) { return m_tree.AddPage(pPage); }
  bool InsertPage(int nIndex, CObject* pPage) { return m_tree.InsertPage(nIndex, pPage); }
  bool DeletePage(int nIndex) { return m_tree.DeletePage(nIndex); }

  // The metadata, read at the first call and kept; never null. A packet that cannot be read is as good as
  // none.
  BSE::CObjectPtr<CXMP> GetXMP();

  // Text of an entry of the document information (ISO 32000-1, 14.3.3): what the metadata stream says, else
  // the information dictionary. Keys are UTF-16 as the interface takes them. False if there is none.
  bool GetInfoEntry(const char16_t* szKey, BSE::CStr16& value);

  // Sets an entry in dictionary and packet, making the dictionary where it is missing. A null or empty value
  // removes it. The metadata stream of a document that is changed in place follows at the close.
  bool SetInfoEntry(const char16_t* szKey, const char16_t* szValue);

  // Notes what has been done, for the next update. Either text may be null.
  void AddHistoryEvent(const char* szAction, const char* szParameters);

  // Brings metadata stream and information dictionary in step and writes the stream, if there is to be one,
  // into the target or, with a null target, into a new object. The packet of a new document claims what the
  // document does. Only a stream with a target is compressed. The producer is used where none is named.
  void UpdateMetadata(const char16_t* szProducer, const CObjectPtr& target);

  // What an opened document claims: the PDF/A identification of its metadata, else that of the file; found at
  // the first call. For a document that is written, what was set.
  CConformance GetConformance();

  // Of the document that will be created. A code other than 0 sets the version too.
  void SetConformance(CConformance conformance);
  void SetVersion(int nMajor, int nMinor);
  int GetMajorVersion() const { return m_bOpened ? m_file.GetMajorVersion() : m_nMajor; }
  int GetMinorVersion() const { return m_bOpened ? m_file.GetMinorVersion() : m_nMinor; }

  // Of the first output intent with the subtype "GTS_PDFA1"; read once.
  TColorModel GetOutputIntentModel();

  // "1.7" and 3 from the catalogue's Extensions (ISO 32000-2, 7.12): the developer's base version formatted
  // as major.minor and the extension level. False if the prefix is not listed.
  bool GetExtension(const char* szPrefix, BSE::CStr8& baseVersion, int& nLevel);

  void OnXRefChanged(CFile&) override;

private:
  bool Release();

  BSE::IErrorContext* m_pErrorContext;
  CFile m_file;
  CBTree m_tree;
  CConformance m_claim;        // of the opened document
  CConformance m_conformance;  // of the document to be created
  int m_nMajor = 1;
  int m_nMinor = 4;
  TColorModel m_nIntentModel = eModelNone;
  BSE::CObjectPtr<CXMP> m_pXmp;
  bool m_bMetadataChanged = false;  // in a document that is changed in place
  bool m_bOpened = false;
  bool m_bCreated = false;
  bool m_bClaimKnown = false;
  bool m_bIntentKnown = false;
};

}  // namespace PDF
