#include "engine/AnnotationStripper.h"

namespace PDF
{

namespace
{

enum TAnnotationFlag : std::int64_t
{
  eInvisible = 1,
  eHidden = 2,
  eNoView = 32,
  eToggleNoView = 256
};

// ISO 32000-1, table 169, and ISO 32000-2, table 171.
constexpr const char* g_subtypes[] = {
    "Text",     "Link",      "FreeText",  "Line",     "Square",    "Circle",     "Polygon",
    "PolyLine", "Highlight", "Underline", "Squiggly", "StrikeOut", "Caret",      "Stamp",
    "Ink",      "Popup",     "Sound",     "Movie",    "Screen",    "Widget",     "PrinterMark",
    "TrapNet",  "Watermark", "3D",        "Redact",   "RichMedia", "Projection", "FileAttachment"};

bool HasNormalAppearance(const CObjectPtr& annotation)
{
  const CObjectPtr normal = annotation["AP"]["N"];
  if (!normal.IsDictionary() || normal.IsStream())
    return normal.IsStream();
  const char* szState = annotation["AS"].GetNameValue();
  return szState && normal[szState].IsStream();
}

// ISO 32000-1, 12.5.2 and 12.5.4: the style takes precedence over the array, and both default to 1.
bool HasBorder(const CObjectPtr& annotation)
{
  const CObjectPtr style = annotation["BS"];
  const CObjectPtr width = style.IsDictionary() ? style["W"] : annotation["Border"][2];
  return !width.IsNumber() || width.GetRealValue() > 0;
}

bool ShowsNothing(const CObjectPtr& annotation, bool bLink)
{
  if (!CAnnotationStripper::IsVisible(annotation))
    return true;
  return bLink && !HasNormalAppearance(annotation) && !HasBorder(annotation);
}

}  // namespace

bool IsAnnotationSubtype(const CObjectPtr& subtype)
{
  for (const char* szSubtype : g_subtypes)
    if (subtype.IsName(szSubtype))
      return true;
  return false;
}

bool CAnnotationStripper::IsLostField(const CObjectPtr& field)
{
  return (m_options.m_bFlattenSignatureFields || field["V"].IsDictionary()) &&
         m_fields.Find(field).m_bSignature;
}

bool CAnnotationStripper::IsFlattened(const TSignatureField& field) const
{
  return field.m_bSignature &&
         (m_options.m_bFlattenSignatureFields || (m_options.m_bFlattenSignedFields && field.m_bValue));
}

bool CAnnotationStripper::IsFlattenedSignature(const CObjectPtr& annotation)
{
  return (m_options.m_bFlattenSignatureFields || m_options.m_bFlattenSignedFields) &&
         annotation["Subtype"].IsName("Widget") && IsFlattened(m_fields.Find(annotation));
}

void CAnnotationStripper::TellSignature(const CObjectPtr& object)
{
  if (object.GetObjNumber() > 0 && !m_told.Add(object.GetObjNumber()))
    return;
  m_bTold = true;
  BSE::ReportError(object.IsIndirect() ? object.Get() : m_pErrorContext, g_nSignatureNotCopied);
}

void CAnnotationStripper::TellSignatureOnce()
{
  if (!m_bTold)
    TellSignature({});
}

bool CAnnotationStripper::IsVisible(const CObjectPtr& annotation)
{
  const std::int64_t nFlags = GetIntegerOr(annotation["F"], 0);
  if ((nFlags & eInvisible) != 0 && !IsAnnotationSubtype(annotation["Subtype"]))
    return false;
  if ((nFlags & eHidden) != 0)
    return false;
  return (nFlags & eNoView) == 0 || (nFlags & eToggleNoView) != 0;
}

TAnnotationFate CAnnotationStripper::Decide(const CObjectPtr& annotation)
{
  if (!annotation.IsDictionary())
    return TAnnotationFate::Drop;
  if (Has(eStripHiddenAnnots) && !IsVisible(annotation))
    return TAnnotationFate::Drop;
  const CObjectPtr subtype = annotation["Subtype"];
  const bool bLink = subtype.IsName("Link");
  TAnnotationFate fate = TAnnotationFate::Keep;
  if (subtype.IsName("Widget"))
    fate = DecideWidget(annotation);
  else if (Has(bLink ? eStripLinks : eStripAnnots))
    fate = TAnnotationFate::Flatten;
  if (fate == TAnnotationFate::Flatten && ShowsNothing(annotation, bLink))
    return TAnnotationFate::Drop;
  return fate;
}

TAnnotationFate CAnnotationStripper::DecideWidget(const CObjectPtr& widget)
{
  const TSignatureField field = m_fields.Find(widget);
  if (!field.m_bSignature)
    return Has(eStripForms) ? TAnnotationFate::Flatten : TAnnotationFate::Keep;
  if (IsFlattened(field))
  {
    if (field.m_bValue)
      TellSignature(widget);
    // A stamp without an appearance is drawn by readers as they like, with a text that nobody wrote.
    return HasNormalAppearance(widget) ? TAnnotationFate::Flatten : TAnnotationFate::Drop;
  }
  if (Has(eStripForms))
    return TAnnotationFate::Drop;
  if (!field.m_bValue)
    return TAnnotationFate::Keep;
  TellSignature(widget);
  return TAnnotationFate::Drop;
}

}  // namespace PDF
