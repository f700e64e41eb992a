#include "engine/FontEditor.h"

#include "document/Document.h"
#include "fonts/pdf/StandardFonts.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"
#include "pdf/StreamObjects.h"

namespace PDF
{

CFontEditor::CFontEditor(CDocument& document, CFontRegistry& fonts, const TOptimizerOptions& options,
                         CStandIns& standIns, CDecodedStreams& decoded)
    : m_document(document),
      m_file(document.GetFile()),
      m_fonts(fonts),
      m_options(options),
      m_standIns(standIns),
      m_decoded(decoded)
{
  m_file.AllowEdits();
}

bool CFontEditor::Edit(const CObjectPtr& object)
{
  if (!object || !object->Load())
    return false;
  object->SetDirty(true);
  return true;
}

CObjectPtr CFontEditor::EditFont(CFont& font)
{
  const CObjectPtr object = font.GetObject();
  const int nNumber = object.GetObjNumber();
  if (nNumber <= 0 || font.HasDirectUse() || !Edit(object))
    return {};
  for (const int nOther : font.GetNumbers())
    if (nOther != nNumber && !m_standIns.Contains(nOther))
      m_standIns.Set(nOther, nNumber);
  return object;
}

CObjectPtr CFontEditor::EditDescendant(CFont& font)
{
  CObjectPtr object = EditFont(font);
  if (!object || !font.IsComposite())
    return object;
  const CObjectPtr list = object["DescendantFonts"];
  CObjectPtr descendant = GetStandIn(list[0]);
  if (descendant.IsIndirect())
    return Edit(descendant) ? descendant : CObjectPtr();
  return !list.IsIndirect() || Edit(list) ? descendant : CObjectPtr();
}

CObjectPtr CFontEditor::EditDescriptor(CFont& font)
{
  const CFontDescriptor* pDescriptor = font.GetFontDescriptor();
  if (!pDescriptor)
    return {};
  if (CObjectPtr object = pDescriptor->GetObject(); object.IsIndirect())
    return Edit(object) ? object : CObjectPtr();
  // The one that is in the holder now, and not one of an earlier reading.
  return EditDescendant(font)["FontDescriptor"];
}

BSE::IErrorContext* CFontEditor::GetContext(const CFont& font) const
{
  if (font.GetObject().IsIndirect())
    return font.GetObject().Get();
  return m_document.GetErrorContext();
}

void CFontEditor::Replace(const CObjectPtr& object, const CObjectPtr& by)
{
  const int nNumber = object.GetObjNumber();
  const int nBy = m_standIns.Get(by.GetObjNumber());
  if (nNumber > 0 && nBy > 0 && nBy != nNumber)
    m_standIns.Set(nNumber, nBy);
}

CObjectPtr CFontEditor::NewDictionary()
{
  CObjectPtr object = m_file.NewObject(0, 0, 0);
  if (object)
    object->SetValueObject(new CDictionaryObject);
  return object;
}

CObjectPtr CFontEditor::NewStream(BSE::IByteStream* pData)
{
  CObjectPtr object = m_file.NewObject(0, 0, g_nGroupDirect);
  if (!object)
    return object;
  const CObjectPtr dictionary(new CDictionaryObject);
  dictionary.AddEntry("Filter", new CNameObject("FlateDecode"));
  object->SetValueObject(dictionary);
  object->SetStreamObject(new CStreamObject(pData));
  return object;
}

void SetName(const CObjectPtr& dictionary, const char* szKey, const char* szName)
{
  if (dictionary && !dictionary[szKey].IsName(szName))
    dictionary.AddEntry(szKey, new CNameObject(szName));
}

const char* GetPlainName(const CFont& font)
{
  const char* szName = font.GetBaseName();
  return szName + GetSubsetPrefixLength(szName);
}

}  // namespace PDF
