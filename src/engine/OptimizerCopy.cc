// The copy of pages and catalogue, in which features are stripped.

#include "base/ScopedValue.h"
#include "base/Tracer.h"
#include "engine/FeatureStripper.h"
#include "engine/ImageOptimizer.h"
#include "engine/OptOutlinesCopier.h"
#include "engine/OptPartCopiers.h"
#include "engine/Optimizer.h"
#include "pdf/ArrayObject.h"
#include "pdf/DictionaryObject.h"
#include "pdf/SimpleObjects.h"

#include <utility>

namespace PDF
{
namespace
{

// Group of the object streams for form fields and annotations, which are read apart from the rest.
constexpr int g_nFormGroup = 1;

void TraceUnflattened(const CObjectPtr& annotation)
{
  if (!BSE::CTracer::IsOn())
    return;
  const char* szSubtype = annotation["Subtype"].GetNameValue();
  BSE::CTracer::Trace("I", "PDF Optimizer",
                      "%s annotation, obj %d, is kept: its appearance stays unflattened.",
                      szSubtype ? szSubtype : "Unknown", annotation.GetObjNumber());
}

}  // namespace

CObjectPtr COptimizer::VisitDictionary(const CObjectPtr& object)
{
  // The first dictionary that is visited for an object is its value.
  const BSE::CScopedValue content(m_bReadContent, m_use.IsRead(std::exchange(m_nFilled, 0)));
  if (m_stripper.IsFlattenedSignature(object))
    return CopyLook(object);
  const CObjectPtr copy(new CDictionaryObject);
  for (int i = object.GetBegin(); i != object.GetEnd(); i = object.GetNext(i))
  {
    const char* szKey = object.GetKey(i);
    // It speaks of signatures that the copy does not have any more.
    if (KeyEquals(szKey, "SigFlags") && (m_bFilterSignedFields || object["Fields"]))
      continue;
    const CObjectPtr value = object.GetValue(i);
    if (m_pImages && value.IsStream() && CopyMask(object, szKey, value, copy))
      continue;
    const bool bFields = m_bFilterSignedFields && KeyEquals(szKey, "Fields") && value.IsArray();
    const BSE::CScopedValue inFields(m_bInFieldsArray, m_bInFieldsArray || bFields);
    if (const CObjectPtr entry = VisitEntry(szKey, value))
      copy.AddEntry(szKey, entry);
  }
  return copy;
}

// True if the entry is a mask of an image that does not stay as it is.
bool COptimizer::CopyMask(const CObjectPtr& image, const char* szKey, const CObjectPtr& mask,
                          const CObjectPtr& copy)
{
  const bool bSoft = KeyEquals(szKey, "SMask");
  if (!bSoft && (!KeyEquals(szKey, "Mask") || image["SMask"]))
    return false;
  switch (m_pImages->JudgeMask(image, static_cast<bool>(GetCopy(GetStandIn(mask)))))
  {
  case eMaskDropped:
    return true;
  case eMaskMadeStencil:
    if (const CObjectPtr entry = VisitEntry(szKey, mask))
      copy.AddEntry(m_pImages->IsStencilMade(mask) ? "Mask" : szKey, entry);
    return true;
  default:
    return false;
  }
}

// What a flattened signature shows stays on its page as a stamp, which has nothing of a field.
CObjectPtr COptimizer::CopyLook(const CObjectPtr& widget)
{
  CObjectPtr copy(new CDictionaryObject);
  for (const char* szKey :
       {"Type", "Rect", "P", "NM", "M", "F", "AP", "AS", "Border", "C", "StructParent", "OC"})
    if (const CObjectPtr value = widget[szKey])
      if (const CObjectPtr entry = VisitEntry(szKey, value))
        copy.AddEntry(szKey, entry);
  copy.AddEntry("Subtype", new CNameObject("Stamp"));
  return copy;
}

CObjectPtr COptimizer::VisitEntry(const char* szKey, const CObjectPtr& value)
{
  if (CFeatureStripper(m_options.m_nStrip).IsEntryDropped(szKey))
    return {};
  // A structure destination (ISO 32000-2, 12.3.2.3) in this document, not one by name in another: without the
  // tree, "D" beside it is what there is to go to.
  const bool bStructure = (m_options.m_nStrip & eStripStructure) != 0;
  if (bStructure && KeyEquals(szKey, "SD") && value.IsArray() && value[0].IsDictionary())
    return {};
  if (DropsResources() && KeyEquals(szKey, "Resources") &&
      (m_bReadContent || value.Get() == m_pageResources.Get()))
    return CopyResources(value);
  return CDocumentCopierT<CObjectCopier>::VisitEntry(szKey, value);
}

// The copy of a dictionary that loses entries: of a direct one by the function alone, of an object once.
template <class F>
CObjectPtr COptimizer::CopyShortened(const CObjectPtr& object, F fnCopy)
{
  if (!object.IsIndirect())
    return fnCopy(object);
  const CObjectPtr source = GetStandIn(object);
  if (source != object)
    TellDamage(object);
  bool bCreated = false;
  CObjectPtr target = GetOrCreateCopy(source, bCreated);
  if (!bCreated)
    return target;
  target->Lock();
  target->SetValueObject(fnCopy(source).Get());
  target->Unlock();
  FinishCopy(source, target);
  return target;
}

CObjectPtr COptimizer::CopyResources(const CObjectPtr& resources)
{
  m_pageResources.Reset();
  const CObjectPtr source = GetStandIn(resources);
  const bool bPlain = !GetDirect(source).IsDictionary() || source.IsStream() || IsPageObject(source) ||
                      m_stripper.IsDropped(source) || GetCopy(source) || !m_use.HasUnused(source);
  if (bPlain)
    return CDocumentCopierT<CObjectCopier>::VisitEntry("Resources", resources);
  return CopyShortened(resources, [this](const CObjectPtr& object) { return CopyUsedResources(object); });
}

// A form that had no resources at all would take those of its page.
CObjectPtr COptimizer::CopyUsedResources(const CObjectPtr& resources)
{
  const BSE::CScopedValue content(m_bReadContent, false);
  const CObjectPtr copy(new CDictionaryObject);
  for (int i = resources.GetBegin(); i != resources.GetEnd(); i = resources.GetNext(i))
  {
    const char* szKey = resources.GetKey(i);
    const CObjectPtr value = resources.GetValue(i);
    const bool bCategory = CResourceUse::IsCategory(szKey) && value.IsDictionary() && !value.IsStream();
    if (const CObjectPtr entry = bCategory ? CopyCategory(szKey, value) : VisitEntry(szKey, value))
      copy.AddEntry(szKey, entry);
  }
  return copy;
}

CObjectPtr COptimizer::CopyCategory(const char* szCategory, const CObjectPtr& entries)
{
  const CObjectPtr source = GetStandIn(entries);
  const bool bPlain = !GetDirect(source).IsDictionary() || IsPageObject(source) ||
                      m_stripper.IsDropped(source) || GetCopy(source) || !m_use.HasUnused(szCategory, source);
  if (bPlain)
    return VisitEntry(szCategory, entries);
  const CObjectPtr copy =
      CopyShortened(source, [&](const CObjectPtr& object) { return CopyUsedEntries(szCategory, object); });
  return copy.IsIndirect() || copy.GetBegin() != copy.GetEnd() ? copy : CObjectPtr();
}

CObjectPtr COptimizer::CopyUsedEntries(const char* szCategory, const CObjectPtr& entries)
{
  const CObjectPtr copy(new CDictionaryObject);
  for (int i = entries.GetBegin(); i != entries.GetEnd(); i = entries.GetNext(i))
  {
    const char* szName = entries.GetKey(i);
    const CObjectPtr value = entries.GetValue(i);
    if (m_use.IsUnused(szCategory, szName, value))
    {
      if (BSE::CTracer::IsOn())
        BSE::CTracer::Trace("I", "PDF Optimizer", "%s %s is not used by any content.", szCategory, szName);
      continue;
    }
    if (const CObjectPtr entry = VisitEntry(szName, value))
      copy.AddEntry(szName, entry);
  }
  return copy;
}

CObjectPtr COptimizer::VisitArray(const CObjectPtr& object)
{
  if (!m_bInFieldsArray)
    return CloseUp(object, CDocumentCopierT<CObjectCopier>::VisitArray(object));
  const BSE::CScopedValue inFields(m_bInFieldsArray, false);
  const CObjectPtr copy(new CArrayObject);
  for (int i = 0; i < object.GetSize(); ++i)
    if (const CObjectPtr field = object[i]; !m_stripper.IsLostField(field))
      if (const CObjectPtr entry = VisitElement(i, field); entry || !m_stripper.LeavesLists(field))
        copy.Add(entry);
  return copy;
}

// Fields, kids and the like are lists, in which no place counts; where something else is beside the
// references, a null keeps its place.
CObjectPtr COptimizer::CloseUp(const CObjectPtr& source, const CObjectPtr& copy) const
{
  bool bGone = false;
  for (int i = 0; i < source.GetSize(); ++i)
  {
    const CObjectPtr element = source[i];
    if (!element.IsIndirect())
      return copy;
    bGone = bGone || m_stripper.LeavesLists(element);
  }
  if (!bGone)
    return copy;
  CObjectPtr closed(new CArrayObject);
  for (int i = 0; i < source.GetSize(); ++i)
    if (!m_stripper.LeavesLists(source[i]))
      closed.Add(copy[i]);
  return closed;
}

bool COptimizer::CopyPage(int nPage)
{
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("D", "PDF Optimizer", "Page: %d", nPage);
  const BSE::CScopedValue<int> page(m_nCopiedPage, nPage);
  return CopyPageObject(nPage);
}

bool COptimizer::IsPageEntryKept(const char* szKey, const CObjectPtr& value)
{
  return !CFeatureStripper(m_options.m_nStrip).IsPageEntryDropped(szKey, value);
}

CObjectPtr COptimizer::CopyPageEntry(const char* szKey, const CObjectPtr& value)
{
  return KeyEquals(szKey, "Annots") ? CopyAnnots(value) : VisitEntry(szKey, value);
}

// An array that belongs to one page, as it should, becomes a direct one. Pages that share one share its copy,
// so that the work stays in proportion to the file.
CObjectPtr COptimizer::CopyAnnots(const CObjectPtr& annots)
{
  // Many pages may share it: it is loaded for two of them.
  const int nNumber = annots.GetObjNumber();
  if (m_emptyAnnotArrays.Contains(nNumber))
    return {};
  if (m_annotArrays.Contains(nNumber))
    if (const CObjectPtr copy = GetCopy(annots))
      return copy;
  // What is no list of annotations holds nothing that could be dropped.
  if (!annots.IsArray())
    return annots ? VisitEntry("Annots", annots) : CObjectPtr();
  TellDamage(annots);
  const CGroupScope group(*this, g_nFormGroup);
  if (!annots.IsIndirect() || m_annotArrays.Add(nNumber))
  {
    CObjectPtr copy = CopyAnnotations(annots);
    if (copy.GetSize() > 0)
      return copy;
    m_emptyAnnotArrays.Add(nNumber);
    return {};
  }
  bool bCreated = false;
  CObjectPtr target = GetOrCreateCopy(annots, bCreated);
  if (bCreated)
  {
    target->SetValueObject(CopyAnnotations(annots).Get());
    FinishCopy(annots, target);
  }
  return target;
}

CObjectPtr COptimizer::CopyAnnotations(const CObjectPtr& annots)
{
  const CObjectPtr copy(new CArrayObject);
  for (int i = 0; i < annots.GetSize(); ++i)
  {
    const CObjectPtr annotation = annots[i];
    const TAnnotationFate fate = m_stripper.Decide(annotation);
    if (fate == TAnnotationFate::Drop)
    {
      TellDamage(annotation);
      if (annotation.IsArray() || annotation.IsStream())
        BSE::ReportLoss(annots.IsIndirect() ? annots.Get() : m_pErrorContext, g_nNotRepairable);
      if (annotation)
        annotation->Unload();
      continue;
    }
    if (fate == TAnnotationFate::Flatten)
      TraceUnflattened(annotation);
    if (const CObjectPtr entry = VisitElement(i, annotation))
      copy.Add(entry);
  }
  return copy;
}

bool COptimizer::IsCatalogEntryKept(const char* szKey, const CObjectPtr& value)
{
  if (KeyEquals(szKey, "Perms") && value.IsDictionary())
    m_stripper.TellSignatureOnce();
  return !CFeatureStripper(m_options.m_nStrip).IsCatalogEntryDropped(szKey);
}

CObjectPtr COptimizer::CopyCatalogEntry(const char* szKey, const CObjectPtr& value)
{
  return KeyEquals(szKey, "AcroForm") ? CopyForm(value) : VisitEntry(szKey, value);
}

BSE::CScopedPtr<CListCopier> COptimizer::CreateListCopier()
{
  return BSE::CScopedPtr<CListCopier>(new COptListCopier(*this));
}

BSE::CScopedPtr<CStructTreeCopier> COptimizer::CreateStructTreeCopier()
{
  return BSE::CScopedPtr<CStructTreeCopier>(new COptStructTreeCopier(*this, &m_stripper));
}

BSE::CScopedPtr<CTreeCopier> COptimizer::CreateOutlinesCopier()
{
  return BSE::CScopedPtr<CTreeCopier>(
      new COptOutlinesCopier(this, (m_options.m_nStrip & eStripStructure) != 0));
}

// True also for a form without fields. A field in the place of the list is one that readers may show.
bool COptimizer::HasOnlyLostFields(const CObjectPtr& form)
{
  const CObjectPtr fields = form["Fields"];
  if (!fields.IsArray())
    return !fields.IsDictionary() || m_stripper.IsLostField(fields);
  for (int i = 0; i < fields.GetSize(); ++i)
    if (!m_stripper.IsLostField(fields[i]))
      return false;
  return true;
}

bool COptimizer::HasSignature(const CObjectPtr& fields)
{
  for (int i = 0; i < fields.GetSize(); ++i)
    if (fields[i]["V"].IsDictionary())
      return true;
  return false;
}

CObjectPtr COptimizer::CopyForm(const CObjectPtr& form)
{
  if (form["XFA"].IsNull() && HasOnlyLostFields(form))
  {
    TellDamage(form["Fields"]);
    if (HasSignature(form["Fields"]))
      m_stripper.TellSignatureOnce();
    return {};
  }
  const BSE::CScopedValue filter(m_bFilterSignedFields, true);
  const CGroupScope group(*this, g_nFormGroup);
  return VisitEntry("AcroForm", form);
}

}  // namespace PDF
