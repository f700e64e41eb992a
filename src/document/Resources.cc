#include "document/Resources.h"

#include "base/Tracer.h"
#include "pdf/DictionaryObject.h"

namespace PDF
{

CObjectPtr CResources::GetCategory(const char* szCategory) const
{
  CObjectPtr category = (*this)[szCategory];
  return category.IsDictionary() ? category : CObjectPtr();
}

CObjectPtr CResources::FindResource(const char* szCategory, const char* szName) const
{
  CObjectPtr resource = GetCategory(szCategory)[szName];
  if (resource || !BSE::CTracer::IsOn())
    return resource;
  if (KeyEquals(szCategory, "Font"))
    BSE::CTracer::Trace("E", "PDF Resources", "Font resource not found %s", szName);
  else if (KeyEquals(szCategory, "XObject"))
    BSE::CTracer::Trace("E", "PDF Resources", "XObject resource not found %s", szName);
  return resource;
}

bool CResources::SetResource(const char* szCategory, const char* szName, CObject* pValue) const
{
  if (!IsDictionary())
    return false;
  CObjectPtr category = GetCategory(szCategory);
  if (!category)
  {
    category = new CDictionaryObject;
    AddEntry(szCategory, category);
  }
  return category.AddEntry(szName, pValue);
}

}  // namespace PDF
