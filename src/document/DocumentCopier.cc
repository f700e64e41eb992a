#include "document/DocumentCopier.h"

#include "base/ErrorHandler.h"
#include "base/Limits.h"
#include "document/StatusCodes.h"
#include "pdf/ArrayObject.h"
#include "pdf/StandardSecurityHandler.h"

// Pages are copied in their order and let go one by one, so that a save holds one page and what has been
// shared so far; then the catalogue, with what only it leads to. The page tree is not copied but built anew.
// A value that pages inherit is copied once, for the node that has it, and becomes an object of its own where
// several pages refer to it: copied into each page it would multiply the file. For the same reason a page
// that is listed again gets the entries of its first copy.
//
// Threads, outlines and structure are lists and trees whose length a file chooses. They have copiers of their
// own, which know the links and walk them without recursion; all other values go through the visitor.

namespace PDF
{

namespace
{

// Everything that can be permitted: bits 3 to 6 and 9 to 12 (ISO 32000-1, Table 22).
constexpr int g_nDefaultPermissions = 3900;
// PDF 1.6, the first version that knows the AES crypt filters.
constexpr unsigned g_nCryptFilterVersion = 0x1600;

// Entries of all pages that are listed again: this many, beyond g_nMaxSharedRatio for each byte of the file.
// A listing takes six bytes.
constexpr std::int64_t g_nFreeRepeatedEntries = 1 << 20;

// Groups of object streams: form fields and annotations stay apart from the rest.
constexpr int g_nFormGroup = 1;

bool IsOneOf(const char* szKey, std::initializer_list<const char*> keys)
{
  for (const char* szOther : keys)
    if (KeyEquals(szKey, szOther))
      return true;
  return false;
}

bool IsSubstitute(int nPermissions)
{
  return nPermissions == g_nPermissionsPlain || nPermissions == g_nPermissionsAsInput;
}

void TakeEncryption(const CStandardSecurityHandler* pInput, bool bUniform, TEncryption& encryption)
{
  encryption.m_nPermissions = g_nPermissionsPlain;
  if (!pInput)
    return;
  // The two lowest bits have no meaning, but set they would look like no permissions at all.
  const int nPermissions = pInput->GetPermissions();
  encryption.m_nPermissions = IsSubstitute(nPermissions) ? nPermissions & ~3 : nPermissions;
  pInput->TakeCiphers(bUniform, encryption);
}

// The file's version becomes one that knows them (ISO 32000-2, 7.6.2, Table 20 and 7.6.4.2, Table 21).
void ChooseCiphers(unsigned nCipher, TEncryption& encryption, CFile& file)
{
  if (nCipher == eCipherUnspecified)
    return;
  encryption.m_nKeyLength = nCipher == eCipherAES256 ? 256 : 128;
  encryption.m_szStreamCrypt = nCipher == eCipherAES256   ? "AESV3"
                               : nCipher == eCipherAES128 ? "AESV2"
                                                          : nullptr;
  encryption.m_szStringCrypt = encryption.m_szEmbeddedCrypt = encryption.m_szStreamCrypt;
  if (nCipher == eCipherAES256)
    file.SetVersion(2, 0);
  else
    file.SetVersion(1, nCipher == eCipherAES128 ? 6 : 4);
}

// Values that take no more room than a reference to them would, or little more.
bool IsSmall(const CObjectPtr& value)
{
  constexpr int nMaxElements = 8;
  constexpr std::size_t nMaxName = 32;
  if (value.IsIndirect() || value.IsNumber() || value.IsBoolean())
    return true;
  if (value.IsName())
    return std::strlen(value.GetNameValue()) <= nMaxName;
  if (!value.IsArray() || value.GetSize() > nMaxElements)
    return false;
  for (int i = 0; i < value.GetSize(); ++i)
    if (const CObjectPtr element = value[i]; element && !element.IsIndirect() && !element.IsNumber())
      return false;
  return true;
}

// Adds the number of the page that is being copied.
class CPageContext : public BSE::CBasicErrorContext
{
public:
  explicit CPageContext(int nPage) : m_nPage(nPage) {}

  void OnAddContextInfo(BSE::IError& error) override
  {
    if (BSE::CErrorProperties* pProperties = error.GetProperties())
      pProperties->Set("Page No.", m_nPage);
  }

private:
  int m_nPage;
};

}  // namespace

CDocumentCopierBase::CDocumentCopierBase(BSE::IErrorContext* pErrorContext, CObjectTraverser& visitor,
                                         CCopyBase& copier)
    : m_input(pErrorContext),
      m_output(pErrorContext),
      m_producer(u"Tarvex\u2122 Brevex Producer " BREVEX_VERSION),
      m_pErrorContext(pErrorContext),
      m_visitor(visitor),
      m_copier(copier)
{
}

bool CDocumentCopierBase::OpenInput(BSE::IByteStream* pStream, const CString* pPassword)
{
  CloseDocuments();
  if (!m_input.Open(pStream, pPassword))
    return false;
  m_copier.SetFiles(&m_input.GetFile(), nullptr);
  m_output.SetVersion(m_input.GetMajorVersion(), m_input.GetMinorVersion());
  m_output.SetConformance(m_input.GetConformance());
  return true;
}

bool CDocumentCopierBase::CloseDocuments()
{
  m_bCopierReady = false;
  m_repeats.RemoveAll();
  m_copier.SetFiles(nullptr, nullptr);
  m_copier.SetSourceTree(nullptr);
  // An output that a save has left open is incomplete, and is not finished now.
  m_output.Abandon();
  m_input.Abandon();
  return true;
}

bool CDocumentCopierBase::CheckInput()
{
  const unsigned nFailure = m_input.GetFile().GetReadFailure();
  if (nFailure == 0)
    return true;
  BSE::ReportEnd(m_pErrorContext, nFailure);
  return false;
}

void CDocumentCopierBase::TellCatalogue()
{
  m_copier.TellDamage(m_input.GetCatalog());
  TellStreamData(m_input.GetCatalog());
  // What it held besides the pages is lost.
  if (m_input.GetFile().IsRootAssumed())
    BSE::ReportLoss(m_pErrorContext, g_nNoRoot);
  if (m_input.GetFile().IsInfoLost())
    BSE::ReportLoss(m_pErrorContext, g_nNoTrailer);
}

void CDocumentCopierBase::TellStreamData(const CObjectPtr& source)
{
  if (source.IsStream())
    BSE::ReportLoss(source.Get(), g_nNotRepairable);
}

bool CDocumentCopierBase::CheckPageTree()
{
  CBTree& tree = m_input.GetPageTree();
  tree.ReportLosses();
  if (m_input.GetPageCount() > 0 || tree.IsReallyEmpty())
    return true;
  // What could not be read may be no damage of the file.
  if (CheckInput())
    BSE::ReportEnd(m_pErrorContext, g_nNoPages);
  return false;
}

void CDocumentCopierBase::BindFiles()
{
  if (m_bCopierReady)
    return;
  CBTree& tree = m_input.GetPageTree();
  if (tree.IsCounted())
    tree.RepeatReports();
  else
    m_input.GetPageCount();
  m_shared.RemoveAll();
  m_repeats.RemoveAll();
  m_nRepeatedEntries = 0;
  CFile& source = m_input.GetFile();
  CFile& target = m_output.GetFile();
  m_copier.SetFiles(&source, &target);
  m_copier.SetSourceTree(&tree);
  m_copier.SetStructureApart();
  target.GetObjectMap(source).SetAt(source.GetRoot().GetObjNumber(), target.GetRoot().GetObjNumber());
  m_bCopierReady = true;
}

bool CDocumentCopierBase::BeginSave(BSE::IByteStream* pStream, TEncryption encryption)
{
  if (!m_input.IsOpened())
    return false;
  m_output.Close();
  m_bCopierReady = false;
  if (SetUpOutput(pStream, encryption))
    return true;
  m_output.Close();
  return false;
}

bool CDocumentCopierBase::SetUpOutput(BSE::IByteStream* pStream, TEncryption& encryption)
{
  if (encryption.m_szStreamCrypt || encryption.m_szStringCrypt)
    m_output.SetConformance(CConformance(g_nCryptFilterVersion));
  const bool bAsInput = encryption.m_nPermissions == g_nPermissionsAsInput;
  const bool bLinearize = m_bLinearize || m_bAutoLinearize;
  if (bAsInput)
    TakeEncryption(GetInputHandler(), bLinearize, encryption);
  const CString id = m_bKeepFileId ? m_input.GetFile().GetId1() : CString();
  // The first part of PDF/A rests on PDF 1.4, whatever version is asked for (ISO 19005-1, 6.1.4).
  const bool bObjectStreams = m_bUseObjectStreams && m_output.GetConformance().GetPart() != 1;
  if (!m_output.Create(pStream, id, !bLinearize, bObjectStreams))
    return false;
  if (!SetUpEncryption(encryption, bAsInput, bLinearize))
    return false;
  m_output.CreateTree();
  m_output.GetFile().SetLinearize(bLinearize, m_bAutoLinearize, m_pLinearizer);
  BindFiles();
  return true;
}

// A file that is linearized has one cipher for all its streams.
bool CDocumentCopierBase::SetUpEncryption(TEncryption& encryption, bool bAsInput, bool bUniform)
{
  const bool bPasswords = !encryption.m_userPassword.IsEmpty() || !encryption.m_ownerPassword.IsEmpty();
  const CStandardSecurityHandler* pInput = GetInputHandler();
  CFile& file = m_output.GetFile();
  // An encrypted input does not conform to what it claims, so that its copy breaks no promise.
  if (bAsInput && !bPasswords && pInput && m_nOutputCipher == eCipherInput)
    return InstallHandler(pInput->CreateAlike(file.GetId1(), bUniform, m_pErrorContext).Get());
  const bool bAsked = !IsSubstitute(encryption.m_nPermissions);
  if (!bAsked && !bPasswords)
    return true;
  if (!bAsked)
    encryption.m_nPermissions = g_nDefaultPermissions;
  if (m_output.GetConformance().IsArchival())
  {
    BSE::ReportError(m_pErrorContext, g_nArchivalNotEncrypted);
    return false;
  }
  if (m_nOutputCipher == eCipherInput && pInput)
    pInput->TakeCiphers(bUniform, encryption);
  else if (m_nOutputCipher != eCipherInput)
    ChooseCiphers(m_nOutputCipher, encryption, file);
  return InstallHandler(CStandardSecurityHandler::Create(encryption, file.GetId1(), m_pErrorContext).Get());
}

// Null is a failure that was reported.
bool CDocumentCopierBase::InstallHandler(CSecurityHandler* pHandler)
{
  if (!pHandler)
    return false;
  m_output.GetFile().SetSecurityHandler(pHandler);
  return true;
}

const CStandardSecurityHandler* CDocumentCopierBase::GetInputHandler()
{
  return dynamic_cast<const CStandardSecurityHandler*>(m_input.GetFile().GetSecurityHandler());
}

bool CDocumentCopierBase::CopyPageObject(int nPage)
{
  CPageContext context(nPage);
  const BSE::CDynamicContextGuard guard(m_pErrorContext ? m_pErrorContext->OnGetErrorHandler() : nullptr,
                                        &context);
  const int nRepeated = m_input.GetPageTree().GetRepeatedNumber(nPage - 1);
  if (const CObjectPtr entries(nRepeated > 0 ? m_repeats.Find(nRepeated) : nullptr); entries)
    return CopyRepeat(nPage, entries);
  const CPage source = m_input.GetPage(nPage - 1);
  if (!source)
    return false;
  const CObjectPtr target = CreatePageCopy(source);
  if (!target)
    return false;
  TellStreamData(source);
  TPageCopy page{
      source, source["Contents"], {source.FindInherited("Resources"), source.GetHolder("Resources")}};
  LookAtContent(page);
  for (const char* szKey : g_inheritedKeys)
    CopyInherited(page, target, szKey);
  CopyPageEntries(page, target);
  if (nRepeated > 0)
    KeepForRepeats(nRepeated, source, target);
  return FinishPage(source, target) && !m_copier.IsRefused() && m_input.GetFile().GetReadFailure() == 0;
}

void CDocumentCopierBase::CopyPageEntries(const TPageCopy& page, const CObjectPtr& target)
{
  const CObjectPtr value = CCopyBase::GetDirect(page.m_source);
  for (int i = value.GetBegin(); i != value.GetEnd(); i = value.GetNext(i))
  {
    const char* szKey = value.GetKey(i);
    // With kids, whose loss has been reported, it would be a node of the tree in the copy.
    if (GetInheritedKey(szKey) >= 0 || IsOneOf(szKey, {"Parent", "Type", "B", "Kids", "Count"}))
      continue;
    const CObjectPtr source = KeyEquals(szKey, "Contents") ? page.m_contents : value.GetValue(i);
    if (!IsPageEntryKept(szKey, source))
      continue;
    if (const CObjectPtr entry = CopyPageEntry(szKey, source))
      target.AddEntry(szKey, entry);
  }
  const CObjectPtr beads = value["B"];
  if (!beads || !IsPageEntryKept("B", beads))
    return;
  const BSE::CScopedPtr<CListCopier> pCopier = CreateListCopier();
  pCopier->ShareWith(m_copier);
  if (const CObjectPtr entry = pCopier->VisitEntry("B", beads))
    target.AddEntry("B", entry);
  pCopier->ReleaseCopied();
}

CObjectPtr CDocumentCopierBase::CopyPageEntry(const char* szKey, const CObjectPtr& value)
{
  const CGroupScope group(m_copier, KeyEquals(szKey, "Annots") ? g_nFormGroup : m_copier.GetGroup());
  return m_visitor.VisitEntry(szKey, value);
}

CObjectPtr CDocumentCopierBase::CreatePageCopy(const CPage& source)
{
  CBTree& tree = m_output.GetPageTree();
  if (source.IsStream())
    return tree.NewPage(m_copier.GetGroup());
  bool bCreated = false;
  CObjectPtr target = m_copier.GetOrCreateCopy(source, bCreated);
  // A page that is in the tree a second time becomes a page of its own.
  if (!target || (!bCreated && CCopyBase::IsFilled(target)))
    return tree.NewPage(m_copier.GetGroup());
  tree.InitPage(*target);
  return target;
}

// A page that is listed again gets the same entries, of which the larger ones are objects that all its copies
// share.
void CDocumentCopierBase::KeepForRepeats(int nNumber, const CPage& source, const CObjectPtr& target)
{
  const CObjectPtr value = CCopyBase::GetDirect(target);
  for (int i = value.GetBegin(); i != value.GetEnd(); i = value.GetNext(i))
    if (const CObjectPtr entry = value.GetValue(i); !IsSmall(entry))
      value.AddEntry(value.GetKey(i), MakeShared(entry));
  const CObjectPtr entries(value->Clone());
  for (const char* szKey : g_inheritedKeys)
    if (source.GetHolder(szKey) >= 0)
      entries.DeleteEntry(szKey);
  m_repeats.SetAt(nNumber, entries.Get());
}

bool CDocumentCopierBase::CopyRepeat(int nPage, const CObjectPtr& entries)
{
  CBTree& tree = m_output.GetPageTree();
  const CObjectPtr target = tree.NewPage(m_copier.GetGroup());
  if (!target)
    return false;
  for (int i = entries.GetBegin(); i != entries.GetEnd(); i = entries.GetNext(i), ++m_nRepeatedEntries)
    target.AddEntry(entries.GetKey(i), entries.GetValue(i));
  for (int i = 0; i < g_nInheritedKeys; ++i)
    if (entries.GetIndex(g_inheritedKeys[i]) < 0)
      CopyInheritedValue(m_input.GetPageTree().GetInherited(nPage - 1, i), target, g_inheritedKeys[i]);
  BSE::IByteStream* pInput = m_input.GetFile().GetInput();
  if (BSE::IsOutOfProportion(m_nRepeatedEntries, g_nFreeRepeatedEntries, BSE::g_nMaxSharedRatio,
                             pInput ? pInput->GetLength() : 0))
  {
    BSE::ReportEnd(m_pErrorContext, BSE::g_nSizeExceeded);
    return false;
  }
  const bool bAdded = m_output.AddPage(target.Get()) > 0;
  if (m_copier.IsFlushing())
    target->Flush(true);
  m_copier.ReleaseCopied();
  return bAdded && !m_copier.IsRefused() && m_input.GetFile().GetReadFailure() == 0;
}

void CDocumentCopierBase::CopyInherited(const TPageCopy& page, const CObjectPtr& target, const char* szKey)
{
  if (KeyEquals(szKey, "Resources"))
    CopyInheritedValue(page.m_resources, target, szKey);
  else
    CopyInheritedValue({page.m_source.FindInherited(szKey), page.m_source.GetHolder(szKey)}, target, szKey);
}

void CDocumentCopierBase::CopyInheritedValue(const TInheritedValue& inherited, const CObjectPtr& target,
                                             const char* szKey)
{
  const CObjectPtr& value = inherited.m_value;
  const int nHolder = inherited.m_nHolder;
  if (!value)
    return;
  const bool bAlone = KeyEquals(szKey, "Resources") && m_input.GetPageTree().GetInheritingCount(nHolder) <= 1;
  const bool bShared = nHolder >= 0 && !bAlone && !IsSmall(value);
  if (const CObjectPtr entry =
          bShared ? CopyShared(nHolder, szKey, value) : m_visitor.VisitEntry(szKey, value))
    target.AddEntry(szKey, entry);
}

CObjectPtr CDocumentCopierBase::CopyShared(int nHolder, const char* szKey, const CObjectPtr& value)
{
  CFile& file = m_output.GetFile();
  if (m_shared.IsEmpty())
    m_shared.SetSize(m_input.GetPageTree().GetNodeCount() * g_nInheritedKeys);
  int& nShared = m_shared[nHolder * g_nInheritedKeys + GetInheritedKey(szKey)];
  if (nShared > 0)
    return file.GetObject(nShared, -1);
  const CObjectPtr copy = m_visitor.VisitEntry(szKey, value);
  CObjectPtr object = copy ? MakeShared(copy) : CObjectPtr();
  nShared = object.GetObjNumber();
  return object;
}

// An object of its own for a value that several pages have; the value itself where no object can be made.
CObjectPtr CDocumentCopierBase::MakeShared(const CObjectPtr& copy)
{
  CObjectPtr object = m_output.GetFile().NewObject(0, 0, m_copier.GetGroup());
  if (!object)
    return copy;
  object->SetValueObject(copy.Get());
  object->Flush(true);
  return object;
}

bool CDocumentCopierBase::FinishPage(const CPage& source, const CObjectPtr& target)
{
  const bool bAdded = m_output.AddPage(target.Get()) > 0;
  m_copier.FinishCopy(source, target);
  m_copier.ReleaseCopied();
  return bAdded;
}

bool CDocumentCopierBase::CopyCatalogEntries()
{
  const CObjectPtr catalog = CCopyBase::GetDirect(m_input.GetCatalog());
  const CObjectPtr target = m_output.GetCatalog();
  for (int i = catalog.GetBegin(); i != catalog.GetEnd(); i = catalog.GetNext(i))
  {
    const char* szKey = catalog.GetKey(i);
    const CObjectPtr value = catalog.GetValue(i);
    // Set by the output document, stated by its header, or copied below.
    if (IsOneOf(szKey, {"Type", "Pages", "Metadata", "Version", "Outlines", "StructTreeRoot", "Threads"}) ||
        !IsCatalogEntryKept(szKey, value))
      continue;
    if (const CObjectPtr entry = CopyCatalogEntry(szKey, value))
      target.AddEntry(szKey, entry);
    m_copier.TellDamage(value);
  }
  TellCatalogue();
  CopyCatalogParts(catalog, target);
  m_copier.ReleaseCopied();
  return true;
}

CObjectPtr CDocumentCopierBase::CopyCatalogEntry(const char* szKey, const CObjectPtr& value)
{
  const CGroupScope group(m_copier, KeyEquals(szKey, "AcroForm") ? g_nFormGroup : m_copier.GetGroup());
  return m_visitor.VisitEntry(szKey, value);
}

void CDocumentCopierBase::CopyCatalogParts(const CObjectPtr& catalog, const CObjectPtr& target)
{
  const auto copy = [&](auto& copier, const char* szKey, const CObjectPtr& value)
  {
    copier.ShareWith(m_copier);
    if (const CObjectPtr entry = copier.VisitEntry(szKey, value))
      target.AddEntry(szKey, entry);
    copier.ReleaseCopied();
  };
  const auto find = [&](const char* szKey)
  {
    CObjectPtr value = catalog[szKey];
    if (!value || !IsCatalogEntryKept(szKey, value))
      return CObjectPtr();
    value->Load();
    m_copier.TellDamage(value);
    return value;
  };
  // The array becomes a direct one: a copier of lists visits the elements of what it is given.
  if (const CObjectPtr threads = find("Threads"); threads.IsArray())
    copy(*CreateListCopier(), "Threads", CCopyBase::GetDirect(threads));
  if (const CObjectPtr outlines = find("Outlines"); outlines.IsDictionary())
    copy(*CreateOutlinesCopier(), "Outlines", outlines);
  const BSE::CScopedPtr<CStructTreeCopier> pStructure = CreateStructTreeCopier();
  pStructure->ShareWith(m_copier);
  if (const CObjectPtr root = find("StructTreeRoot"); root.IsDictionary())
    copy(*pStructure, "StructTreeRoot", root);
  pStructure->CopyPutOff();
  pStructure->ReleaseCopied();
}

BSE::CScopedPtr<CListCopier> CDocumentCopierBase::CreateListCopier()
{
  return BSE::CScopedPtr<CListCopier>(new CListCopier(&m_visitor));
}

BSE::CScopedPtr<CStructTreeCopier> CDocumentCopierBase::CreateStructTreeCopier()
{
  return BSE::CScopedPtr<CStructTreeCopier>(new CStructTreeCopier(&m_visitor));
}

BSE::CScopedPtr<CTreeCopier> CDocumentCopierBase::CreateOutlinesCopier()
{
  return BSE::CScopedPtr<CTreeCopier>(new CTreeCopier(&m_visitor));
}

}  // namespace PDF
