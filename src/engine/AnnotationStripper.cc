#include "engine/AnnotationStripper.h"

#include "base/Limits.h"
#include "base/Tracer.h"

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

// The value of a key in the field or the nearest of its ancestors. A chain of parents that comes back to
// itself is found by comparing with an ancestor that moves up at powers of two.
CObjectPtr FindInFields(const CObjectPtr& field, const char* szKey)
{
  CObjectPtr node = field;
  CObjectPtr mark = field;
  for (int nStep = 1, nPower = 1; node.IsDictionary() && nStep <= BSE::g_nMaxTreeDepth; ++nStep)
  {
    if (CObjectPtr value = node[szKey])
      return value;
    node = node["Parent"];
    if (node && node == mark)
    {
      if (BSE::CTracer::IsOn())
        BSE::CTracer::Trace("E", "PDF Annotation", "Loop in form field hierarchy detected.");
      return {};
    }
    if (nStep == nPower)
    {
      mark = node;
      nPower *= 2;
    }
  }
  return {};
}

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

bool IsSignedField(const CObjectPtr& field)
{
  return field["FT"].IsName("Sig") && field["V"].IsDictionary();
}

bool IsSignedFieldOrKid(const CObjectPtr& field)
{
  return field["V"].IsDictionary() && FindInFields(field, "FT").IsName("Sig");
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

TAnnotationFate CAnnotationStripper::Decide(const CObjectPtr& annotation) const
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

TAnnotationFate CAnnotationStripper::DecideWidget(const CObjectPtr& widget) const
{
  if (!FindInFields(widget, "FT").IsName("Sig"))
    return Has(eStripForms) ? TAnnotationFate::Flatten : TAnnotationFate::Keep;
  if (m_options.m_bFlattenSignatureFields)
    return TAnnotationFate::Flatten;
  if (Has(eStripForms))
    return TAnnotationFate::Drop;
  if (!FindInFields(widget, "V").IsDictionary())
    return TAnnotationFate::Keep;
  BSE::ReportError(widget.IsIndirect() ? widget.Get() : m_pErrorContext, g_nSignatureNotCopied);
  return TAnnotationFate::Drop;
}

}  // namespace PDF
