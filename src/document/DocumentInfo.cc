// The information dictionary of a copied document (ISO 32000-1, 14.3.3).

#include "base/Unicode.h"
#include "document/DocumentCopier.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"
#include "pdf/TextString.h"

#include <ctime>

namespace PDF
{

namespace
{

std::size_t GetKeyBytes(const char16_t* szKey)
{
  return (static_cast<std::size_t>(BSE::CStr16::Length(szKey)) + 1) * sizeof(char16_t);
}

// A date (ISO 32000-1, 7.9.4) that begins with a year; the "D:" may be missing.
bool IsDate(const CObjectPtr& object)
{
  const std::span<const unsigned char> text = object.GetStringValue().GetSpan();
  if (!object.IsString() || text.size() < 4)
    return false;
  const std::size_t nFirst = text[0] == 'D' && text[1] == ':' ? 2 : 0;
  if (text.size() < nFirst + 4)
    return false;
  for (std::size_t i = nFirst; i < nFirst + 4; ++i)
    if (text[i] < '0' || text[i] > '9')
      return false;
  return true;
}

CString GetPresentTime()
{
  const std::time_t nNow = std::time(nullptr);
  std::tm time = {};
  gmtime_r(&nNow, &time);
  char szText[32] = {};
  std::strftime(szText, sizeof szText, "D:%Y%m%d%H%M%SZ", &time);
  return CString(szText);
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
  const CObjectPtr metadata = m_input.GetCatalog()["Metadata"];
  if (metadata.IsStream())
    if (const CObjectPtr copy = m_visitor.VisitEntry("Metadata", metadata))
      m_output.GetCatalog().AddEntry("Metadata", copy);
  const CObjectPtr info = CopyInfo(nullptr);
  if (!info)
    return false;
  CompleteInfo(*info);
  ApplyInfoEntries(*info);
  if (info.GetBegin() == info.GetEnd())
    m_output.GetFile().SetInfo(nullptr);
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
  CObjectPtr info = m_output.GetFile().NewObject(0, 0, 0);
  if (!info)
    return {};
  info->SetValueObject(dictionary.Get());
  m_output.GetFile().SetInfo(info.Get());
  return info;
}

void CDocumentCopierBase::CompleteInfo(CObject& info)
{
  if (m_input.GetConformance().IsArchival())
    return;
  if (!IsDate(info.GetEntry("ModDate")))
    info.AddEntry("ModDate", new CStringObject(GetPresentTime()));
  if (!info.GetEntry("Producer").IsString() && !m_producer.IsEmpty())
    info.AddEntry("Producer", new CStringObject(CTextString(m_producer.GetText())));
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
