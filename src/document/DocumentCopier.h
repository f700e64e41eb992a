#pragma once

#include "base/BasicMap.h"
#include "document/Document.h"
#include "document/ListCopier.h"
#include "document/OutputCipher.h"
#include "document/StatusCodes.h"
#include "document/StructTreeCopier.h"
#include "document/TreeCopier.h"
#include "pdf/StandardSecurityHandler.h"

namespace PDF
{

// Permissions of a save that stand for something else: none asked for, so that a file without passwords stays
// plain; and those of the input with its key length and crypt filters.
inline constexpr int g_nPermissionsPlain = -1;
inline constexpr int g_nPermissionsAsInput = -2;

// A page that is to be copied, with what its content decides: which contents it gets and which resources.
struct TPageCopy
{
  const CPage& m_source;
  CObjectPtr m_contents;        // for "Contents"
  TInheritedValue m_resources;  // for "Resources"
};

// The part of a document copier that does not depend on how objects are copied: the two documents, the steps
// of a save, and the copies of metadata, pages and catalogue through a visitor. Page numbers are 1-based.
class CDocumentCopierBase
{
public:
  CDocumentCopierBase(const CDocumentCopierBase&) = delete;
  CDocumentCopierBase& operator=(const CDocumentCopierBase&) = delete;

  CDocument& GetInput() { return m_input; }
  CDocument& GetOutput() { return m_output; }

  // Name and version that are used as "Producer" where the input names none.
  void SetProducer(const char16_t* szProducer) { m_producer.Assign(szProducer); }

  // Replaces a former value of the key. Entries outlive documents. Both are kept as copies; null is refused.
  bool SetInfoEntry(const char16_t* szKey, const char16_t* szValue);

  // Borrowed; null for a key that was not set.
  const char16_t* GetInfoEntry(const char16_t* szKey) const;

protected:
  CDocumentCopierBase(BSE::IErrorContext* pErrorContext, CObjectTraverser& visitor, CCopyBase& copier);
  virtual ~CDocumentCopierBase();

  // Closes both documents and opens the input. The output starts with the input's version and conformance.
  bool OpenInput(BSE::IByteStream* pStream, const CString* pPassword);
  bool CloseDocuments();

  // Steps of Save before the first copy: conformance, encryption, file, page tree, linearization. On failure
  // the output is closed.
  bool BeginSave(BSE::IByteStream* pStream, TEncryption encryption);

  // False, reported as the end of the save, if the input could not be read on the way: the copy then lacks
  // what was taken for damaged.
  bool CheckInput();

  // Reports what the catalogue and the trailer lack. To be called once in a save.
  void TellCatalogue();

  // Reports the data of an object that becomes a dictionary in the copy, and should have been one.
  static void TellStreamData(const CObjectPtr& source);

  // Reports the pages that the input's tree has lost. False, reported as the end of the save, if there is no
  // page left although the input is not known to be empty: the copy would be an empty document.
  bool CheckPageTree();

  // Binds the files that the copier works between, unless that is done.
  void BindFiles();

  // Metadata stream and information dictionary, with the set entries in both and in step with one another.
  // The packet claims the output's conformance. A packet that cannot be read is replaced by one made from the
  // dictionary, which does not concern the caller.
  bool CopyDocumentMetadata();

  // The information dictionary alone, new in the output. Keys of the list, ended by null, are left out; the
  // list itself may be null.
  CObjectPtr CopyInfo(const char* const* pszOmitted);
  void ApplyInfoEntries(CObject& info);

  // Copies the page to the end of the output's tree, in a fixed order: a look at its content, before anything
  // of it is copied; what it may inherit, resources among it; its other entries; its beads. The page itself
  // is written last. True if the tree took it.
  bool CopyPageObject(int nPage);

  // The place for what depends on the content of a page: may replace its contents and its resources by values
  // of the source or of its own. Nothing, unless overridden.
  virtual void LookAtContent(TPageCopy& /*page*/) {}

  // Whether an entry of a page that it cannot inherit is to be copied. True, unless overridden.
  virtual bool IsPageEntryKept(const char* /*szKey*/, const CObjectPtr& /*value*/) { return true; }

  // The copy of an entry that a page cannot inherit; null leaves it out.
  virtual CObjectPtr CopyPageEntry(const char* szKey, const CObjectPtr& value);

  // The catalogue's entries in their order, then threads, outlines and structure tree, which have copiers of
  // their own.
  bool CopyCatalogEntries();

  // Whether an entry of the catalogue is to be copied. True, unless overridden.
  virtual bool IsCatalogEntryKept(const char* /*szKey*/, const CObjectPtr& /*value*/) { return true; }

  // The copy of an entry that has no copier of its own; null leaves it out.
  virtual CObjectPtr CopyCatalogEntry(const char* szKey, const CObjectPtr& value);

  // The copiers of parts, each for one use.
  virtual BSE::CScopedPtr<CListCopier> CreateListCopier();
  virtual BSE::CScopedPtr<CStructTreeCopier> CreateStructTreeCopier();
  virtual BSE::CScopedPtr<CTreeCopier> CreateOutlinesCopier();

  // Target of a page: the object that references to it have been given, or a new one.
  CObjectPtr CreatePageCopy(const CPage& source);

  // A value that a page may inherit, through the visitor, written on the copy if there is one. A larger value
  // that is in a node itself becomes one object for all pages that inherit it.
  void CopyInherited(const TPageCopy& page, const CObjectPtr& target, const char* szKey);
  void CopyInheritedValue(const TInheritedValue& inherited, const CObjectPtr& target, const char* szKey);

  // Adds a finished page to the tree and writes it; forgets what was loaded for it.
  bool FinishPage(const CPage& source, const CObjectPtr& target);

  CDocument m_input;
  CDocument m_output;
  BSE::CStr16 m_producer;
  BSE::CBasicMap m_infoEntries;  // UTF-16 key with its end, to CStr16
  BSE::IErrorContext* m_pErrorContext;
  bool m_bCopierReady = false;
  bool m_bLinearize = false;
  bool m_bAutoLinearize = false;
  bool m_bKeepFileId = false;
  bool m_bUseObjectStreams = true;
  unsigned m_nOutputCipher = eCipherUnspecified;
  ILinearizer* m_pLinearizer = nullptr;

private:
  void CopyPageEntries(const TPageCopy& page, const CObjectPtr& target);
  void CopyCatalogParts(const CObjectPtr& catalog, const CObjectPtr& target);
  bool SetUpOutput(BSE::IByteStream* pStream, TEncryption& encryption);
  bool SetUpEncryption(TEncryption& encryption, bool bAsInput, bool bUniform);
  bool InstallHandler(CSecurityHandler* pHandler);
  const CStandardSecurityHandler* GetInputHandler();
  CObjectPtr CopyShared(int nHolder, const char* szKey, const CObjectPtr& value);
  CObjectPtr MakeShared(const CObjectPtr& copy);
  void KeepForRepeats(int nNumber, const CPage& source, const CObjectPtr& target);
  bool CopyRepeat(int nPage, const CObjectPtr& entries);

  CObjectTraverser& m_visitor;
  CCopyBase& m_copier;
  BSE::CBasicArray<int> m_shared;  // target numbers by node and inherited key; 0 for none yet
  BSE::CValueKeyObjectMap<int, CObject> m_repeats;  // entries of pages that will be met again
  std::int64_t m_nRepeatedEntries = 0;
};

// Copies whole documents. T is the copier of objects: CObjectCopier or CObjectCopierNonRec.
template <class T>
class CDocumentCopierT : public T, public CDocumentCopierBase
{
public:
  explicit CDocumentCopierT(BSE::IErrorContext* pErrorContext)
      : CDocumentCopierBase(pErrorContext, *this, *this)
  {
  }
  ~CDocumentCopierT() override = default;

  // Pages from first to last, 1-based; ends at the first that fails.
  virtual bool CopyPages(int nFirst, int nLast)
  {
    for (int nPage = nFirst; nPage <= nLast; ++nPage)
      if (!CopyPage(nPage))
        return false;
    return true;
  }
  virtual bool CopyPage(int nPage) { return CopyPageObject(nPage); }
  virtual bool CopyCatalog() { return CopyCatalogEntries(); }
  virtual bool CopyMetadata() { return CopyDocumentMetadata(); }

  // Opens the input; false, with both documents closed, on failure.
  bool Open(BSE::IByteStream* pStream, const CString* pPassword) { return OpenInput(pStream, pPassword); }

  // Writes the input, as the copier changes it, to the stream. May be repeated. Nothing is rolled back on
  // failure.
  bool Save(BSE::IByteStream* pStream, const TEncryption& encryption)
  {
    if (!BeginSave(pStream, encryption))
      return false;
    const bool bCopied = CheckInput() && CheckPageTree() && CopyMetadata() &&
                         CopyPages(1, m_input.GetPageCount()) && CopyCatalog() && !T::IsRefused();
    const bool bRead = CheckInput();
    return m_output.Close() && bCopied && bRead;
  }

  bool Close() { return CloseDocuments(); }
};

}  // namespace PDF
