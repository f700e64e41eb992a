// The information dictionary of a copied document (ISO 32000-1, 14.3.3).

#include "base/Unicode.h"
#include "document/DocumentCopier.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"
#include "pdf/TextString.h"

namespace PDF
{

namespace
{

std::size_t GetKeyBytes(const char16_t* szKey)
{
  return (static_cast<std::size_t>(BSE::CStr16::Length(szKey)) + 1) * sizeof(char16_t);
}

bool IsOmitted(const char* const* pszOmitted, const char* szKey)
{
  for (; pszOmitted && *pszOmitted; ++pszOmitted)
    if (KeyEquals(szKey, *pszOmitted))
      return true;
  return false;
}

}  // namespace

CDocumentCopierBase::~CDocumentCopierBase()
{
  for (int i = m_infoEntries.GetBegin(); i != m_infoEntries.GetEnd(); i = m_infoEntries.GetNext(i))
    delete static_cast<BSE::CStr16*>(m_infoEntries.GetValue(i));
}

bool CDocumentCopierBase::SetInfoEntry(const char16_t* szKey, const char16_t* szValue)
{
  if (!szKey || !szValue)
    return false;
  const int nEntry = m_infoEntries.Lookup(szKey, GetKeyBytes(szKey));
  if (nEntry >= 0)
  {
    static_cast<BSE::CStr16*>(m_infoEntries.GetValue(nEntry))->Assign(szValue);
    return true;
  }
  BSE::CScopedPtr<BSE::CStr16> pValue(new BSE::CStr16(szValue));
  m_infoEntries.SetAt(szKey, GetKeyBytes(szKey), pValue.Get());
  pValue.Detach();
  return true;
}

const char16_t* CDocumentCopierBase::GetInfoEntry(const char16_t* szKey) const
{
  const int nEntry = szKey ? m_infoEntries.Lookup(szKey, GetKeyBytes(szKey)) : -1;
  return nEntry < 0 ? nullptr : static_cast<BSE::CStr16*>(m_infoEntries.GetValue(nEntry))->GetText();
}

bool CDocumentCopierBase::CopyDocumentMetadata()
{
  const CObjectPtr info = CopyInfo(nullptr);
  if (!info)
    return false;
  const bool bNew = info.GetBegin() == info.GetEnd() && m_infoEntries.GetBegin() == m_infoEntries.GetEnd();
  const BSE::CObjectPtr<CXMP> pSource = m_input.GetXMP();
  pSource->SetPart(m_input.GetConformance().GetPart());
  m_output.GetXMP()->CopyFrom(*pSource);
  for (int i = m_infoEntries.GetBegin(); i != m_infoEntries.GetEnd(); i = m_infoEntries.GetNext(i))
    m_output.SetInfoEntry(static_cast<const char16_t*>(m_infoEntries.GetKey(i)),
                          static_cast<const BSE::CStr16*>(m_infoEntries.GetValue(i))->GetText());
  // Whatever else refers to the stream gets the new one.
  bool bCreated = false;
  const CObjectPtr metadata = m_input.GetCatalog()["Metadata"];
  if (pSource->IsCarried())
    m_output.GetCatalog().AddEntry("Metadata", m_visitor.VisitEntry("Metadata", metadata));
  m_copier.TellDamage(metadata);
  if (pSource->GetLossCode() != 0 && m_input.GetFile().GetDamage(metadata.GetObjNumber()) == 0)
    BSE::ReportLoss(metadata.Get(), pSource->GetLossCode());
  const CObjectPtr target = metadata.IsStream() ? m_copier.GetOrCreateCopy(metadata, bCreated) : CObjectPtr();
  m_output.UpdateMetadata(m_producer.GetText(), bCreated ? target : CObjectPtr());
  if (const CObjectPtr written = m_output.GetCatalog()["Metadata"]; written.IsStream() && written->IsDirty())
    m_copier.HandleStream({}, written);
  // From PDF 2.0 on the packet has everything, and ISO 19005-4 allows no dictionary in addition to it.
  if (info.GetBegin() == info.GetEnd() || (bNew && m_output.GetMajorVersion() > 1))
  {
    m_output.GetFile().SetInfo(nullptr);
    info->SetValueObject(nullptr);
    info->SetDirty(false);
  }
  return true;
}

CObjectPtr CDocumentCopierBase::CopyInfo(const char* const* pszOmitted)
{
  const CObjectPtr source = m_input.GetInfo();
  const CObjectPtr dictionary(new CDictionaryObject);
  for (int i = source.GetBegin(); i != source.GetEnd(); i = source.GetNext(i))
    if (!IsOmitted(pszOmitted, source.GetKey(i)))
      if (const CObjectPtr entry = m_visitor.VisitEntry(source.GetKey(i), source.GetValue(i)))
        dictionary.AddEntry(source.GetKey(i), entry);
  m_copier.TellDamage(source);
  TellStreamData(source);
  if (const CObjectPtr value = CCopyBase::GetDirect(source); value && !value.IsDictionary())
    BSE::ReportLoss(source.IsIndirect() ? source.Get() : m_pErrorContext, g_nNotRepairable);
  CObjectPtr info = m_output.GetFile().NewObject(0, 0, 0);
  if (!info)
    return {};
  info->SetValueObject(dictionary.Get());
  m_output.GetFile().SetInfo(info.Get());
  return info;
}

void CDocumentCopierBase::ApplyInfoEntries(CObject& info)
{
  for (int i = m_infoEntries.GetBegin(); i != m_infoEntries.GetEnd(); i = m_infoEntries.GetNext(i))
  {
    BSE::CStr8 key;
    BSE::ConvertText(static_cast<const char16_t*>(m_infoEntries.GetKey(i)), key, BSE::TInvalidText::Replace);
    const auto* pValue = static_cast<const BSE::CStr16*>(m_infoEntries.GetValue(i));
    info.AddEntry(key.GetText(), new CStringObject(CTextString(pValue->GetText())));
  }
}

}  // namespace PDF
