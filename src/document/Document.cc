#include "document/Document.h"

#include "base/Checked.h"
#include "document/ConformanceClaim.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"

#include <charconv>

namespace PDF
{

CDocument::CDocument(BSE::IErrorContext* pErrorContext)
    : m_pErrorContext(pErrorContext), m_file(pErrorContext)
{
  m_file.Attach(this);
}

CDocument::~CDocument()
{
  // What was not closed is not completed: a failure could be reported to nobody.
  Abandon();
  m_file.Detach(this);
}

bool CDocument::Open(BSE::IByteStream* pStream, const CString* pPassword, bool bUpdate)
{
  Close();
  if (!m_file.Open(pStream, bUpdate))
    return false;
  if (!m_file.Authenticate(pPassword))
  {
    if (m_file.HasInputFailed())
      m_file.GiveUpReading(BSE::g_nStreamReadFailed);
    m_file.Close();
    return false;
  }
  m_bOpened = true;
  m_tree.Attach(&m_file, &m_file, GetCatalog()["Pages"].Get());
  ForEachListener([this](CDocumentEventListener& listener) { listener.OnDocumentOpened(*this); });
  return true;
}

bool CDocument::Create(BSE::IByteStream* pStream, const CString& id, bool bDirectOutput, bool bObjectStreams)
{
  Close();
  m_file.InitVersion(m_nMajor, m_nMinor);
  m_file.SetConformance(m_conformance);
  if (!m_file.Create(pStream, id, bDirectOutput, bObjectStreams))
    return false;
  m_bOpened = true;
  m_bCreated = true;
  return true;
}

void CDocument::CreateTree()
{
  const CObjectPtr dictionary(new CDictionaryObject);
  dictionary.AddEntry("Type", new CNameObject("Catalog"));
  const CObjectPtr catalog = m_file.NewObject(0, 0, 0);
  catalog->SetValueObject(dictionary.Get());
  m_file.SetRoot(catalog.Get());
  m_tree.Create(&m_file, &m_file);
  dictionary.AddEntry("Pages", m_tree.GetRoot());
  ForEachListener([this](CDocumentEventListener& listener) { listener.OnDocumentOpened(*this); });
}

bool CDocument::Close()
{
  if (!m_bOpened)
    return true;
  ForEachListener([this](CDocumentEventListener& listener) { listener.OnDocumentClosing(*this); });
  bool bDone = true;
  if (m_bMetadataChanged)
    UpdateMetadata(u"", GetCatalog()["Metadata"].IsStream() ? GetCatalog()["Metadata"] : CObjectPtr());
  if (m_file.IsWritable() && m_tree.GetRoot())
  {
    bDone = m_tree.Close();
    const CObjectPtr catalog = GetCatalog();
    if (catalog["Pages"] != m_tree.GetRoot())
    {
      catalog.AddEntry("Pages", m_tree.GetRoot());
      catalog->SetDirty(true);
    }
  }
  return Release() && bDone;
}

bool CDocument::Release()
{
  m_tree.Reset();
  const bool bDone = m_file.Close();
  m_bOpened = false;
  m_bCreated = false;
  m_pXmp.Reset();
  m_bMetadataChanged = false;
  m_bClaimKnown = false;
  m_bIntentKnown = false;
  return bDone;
}

void CDocument::Abandon()
{
  if (m_bOpened)
    ForEachListener([this](CDocumentEventListener& listener) { listener.OnDocumentClosing(*this); });
  m_file.Abandon();
  Release();
}

int CDocument::GetPageCount()
{
  return m_bOpened ? m_tree.GetPageCount() : 0;
}

void CDocument::OnXRefChanged(CFile&)
{
  if (!m_bCreated && !m_bMetadataChanged)
    m_pXmp.Reset();
  m_bClaimKnown = false;
  m_bIntentKnown = false;
}

void CDocument::SetConformance(CConformance conformance)
{
  m_conformance = conformance;
  if (!conformance.IsNone())
    SetVersion(conformance.GetMajor(), conformance.GetMinor());
  if (m_bOpened)
    m_file.SetConformance(conformance);
}

void CDocument::SetVersion(int nMajor, int nMinor)
{
  m_nMajor = nMajor;
  m_nMinor = nMinor;
  if (m_bOpened)
    m_file.SetVersion(nMajor, nMinor);
}

TColorModel CDocument::GetOutputIntentModel()
{
  if (m_bIntentKnown)
    return m_nIntentModel;
  m_nIntentModel = eModelNone;
  m_bIntentKnown = true;
  const CObjectPtr intents = GetCatalog()["OutputIntents"];
  if (!intents.IsArray())
    return m_nIntentModel;
  for (int i = 0; i < intents.GetSize(); ++i)
  {
    const CObjectPtr intent = intents[i];
    if (!intent["S"].IsName("GTS_PDFA1"))
      continue;
    m_nIntentModel = ReadProfileModel(intent["DestOutputProfile"]);
    break;
  }
  return m_nIntentModel;
}

bool CDocument::GetExtension(const char* szPrefix, BSE::CStr8& baseVersion, int& nLevel)
{
  CObjectPtr extension = GetCatalog()["Extensions"][szPrefix];
  if (extension.IsArray())
    extension = extension[extension.GetSize() - 1];
  unsigned nMajor = 0;
  unsigned nMinor = 0;
  if (!ReadVersionName(extension["BaseVersion"].GetNameValue(), nMajor, nMinor))
    return false;
  char szText[24] = {};
  std::to_chars_result end = std::to_chars(szText, szText + 11, nMajor);
  *end.ptr++ = '.';
  std::to_chars(end.ptr, szText + sizeof szText - 1, nMinor);
  baseVersion.Assign(szText);
  nLevel = BSE::ClampTo<int>(extension["ExtensionLevel"].GetIntegerValue());
  return true;
}

}  // namespace PDF
