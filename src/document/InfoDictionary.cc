#include "document/InfoDictionary.h"

#include "base/Unicode.h"
#include "document/Document.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"
#include "pdf/TextString.h"

namespace PDF
{

namespace
{

// The one entry whose value is a name.
CObjectPtr MakeValue(const char* szKey, const BSE::CStr16& text)
{
  CObjectPtr value;
  BSE::CStr8 name;
  if (KeyEquals(szKey, "Trapped") && BSE::ConvertText(text.GetSpan(), name))
    value = new CNameObject(name.GetText());
  else
    value = new CStringObject(CTextString(text.GetText()));
  return value;
}

}  // namespace

bool CInfoDictionary::GetText(const char* szKey, BSE::CStr16& text)
{
  const CObjectPtr entry = m_document.GetInfo()[szKey];
  if (entry.IsString())
    text = CTextString(entry.GetStringValue()).GetText();
  else if (entry.IsName())
    text = CTextString(entry.GetNameValue()).GetText();
  else
    return false;
  return true;
}

void CInfoDictionary::SetText(const char* szKey, const BSE::CStr16& text)
{
  CFile& file = m_document.GetFile();
  if (!file.IsWritable())
    return;
  CObjectPtr info = m_document.GetInfo();
  if (!info.IsDictionary())
  {
    info = file.NewObject(0, 0, 0);
    info->SetValueObject(new CDictionaryObject);
    file.SetInfo(info.Get());
  }
  if (text.IsEmpty())
    info.DeleteEntry(szKey);
  else
    info.AddEntry(szKey, MakeValue(szKey, text));
  info->SetDirty(true);
}

}  // namespace PDF
