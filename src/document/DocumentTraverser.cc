#include "document/DocumentTraverser.h"

#include "base/Tracer.h"

namespace PDF
{

bool CDocumentTraverser::TraverseCatalog(const CObjectPtr& catalog)
{
  const CObjectPtr form = catalog["AcroForm"];
  if (form.IsDictionary())
  {
    if (const CObjectPtr resources = form["DR"]; resources && !TraverseResources(resources))
      return false;
    if (!TraverseFields(form["Fields"]))
    {
      if (BSE::CTracer::IsOn())
        BSE::CTracer::Trace("E", "PDF Document", "Failed to load form fields.");
      return false;
    }
  }
  if (TraversePages())
    return true;
  if (BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF document", "Failed to load document parts.");
  return false;
}

bool CDocumentTraverser::TraversePages()
{
  for (int i = 0; i < m_document.GetPageCount(); ++i)
  {
    const CPage page = m_document.GetPage(i);
    if (!page || !TraversePage(page))
      return false;
    page->Unload();
  }
  return true;
}

bool CDocumentTraverser::TraversePage(const CPage& page)
{
  const CObjectPtr resources = page.FindInherited("Resources");
  if (resources && !TraverseResources(resources))
    return false;
  if (const CObjectPtr contents = page["Contents"]; contents && !TraverseContents(contents))
    return false;
  const CObjectPtr annots = page["Annots"];
  if (!annots.IsArray())
    return true;
  for (int i = 0; i < annots.GetSize(); ++i)
    if (const CObjectPtr annotation = annots[i]; annotation.IsDictionary() && !TraverseAnnotation(annotation))
      return false;
  return true;
}

bool CDocumentTraverser::TraverseAnnotation(const CObjectPtr& annotation)
{
  const CObjectPtr normal = annotation["AP"]["N"];
  if (normal.IsStream())
  {
    if (!TraverseAppearance(normal))
      return false;
  }
  else
  {
    for (int i = normal.GetBegin(); i != normal.GetEnd(); i = normal.GetNext(i))
      if (const CObjectPtr state = normal.GetValue(i); state.IsStream() && !TraverseAppearance(state))
        return false;
  }
  for (const char* szKey : {"AS", "V"})
    if (const CObjectPtr value = annotation[szKey]; value && !TraverseValue(szKey, value))
      return false;
  return true;
}

bool CDocumentTraverser::TraverseAppearance(const CObjectPtr& appearance)
{
  const CObjectPtr resources = appearance["Resources"];
  return !resources || TraverseResources(resources);
}

bool CDocumentTraverser::TraverseFields(const CObjectPtr& fields)
{
  struct TLevel
  {
    CObject* m_pKids;  // held by the array that goes with it
    int m_nNext;
  };
  CNumberSet visited;
  BSE::CBasicArray<TLevel> levels;
  BSE::CObjectArray<CObject> held;
  CObjectPtr kids = fields;
  while (true)
  {
    if (kids.IsArray() && (!kids.IsIndirect() || visited.Add(kids.GetObjNumber())))
    {
      levels.Add({kids.Get(), 0});
      held.Add(kids.Get());
    }
    kids.Reset();
    if (levels.IsEmpty())
      return true;
    TLevel& level = levels[levels.GetSize() - 1];
    if (level.m_nNext >= level.m_pKids->GetSize())
    {
      levels.SetSize(levels.GetSize() - 1);
      held.SetSize(levels.GetSize());
      continue;
    }
    const CObjectPtr field = level.m_pKids->GetElement(level.m_nNext++);
    if (!field.IsDictionary())
      continue;
    if (field.IsIndirect() && !visited.Add(field.GetObjNumber()))
    {
      if (BSE::CTracer::IsOn())
        BSE::CTracer::Trace("I", "PDF document", "Cyclic reference detected in form field hierarchy.");
      continue;
    }
    if (!TraverseField(field))
      return false;
    kids = field["Kids"];
  }
}

bool CDocumentTraverser::TraverseField(const CObjectPtr&)
{
  return true;
}

bool CDocumentTraverser::TraverseResources(const CObjectPtr&)
{
  return true;
}

bool CDocumentTraverser::TraverseContents(const CObjectPtr&)
{
  return true;
}

bool CDocumentTraverser::TraverseValue(const char*, const CObjectPtr&)
{
  return true;
}

}  // namespace PDF
