#pragma once

#include "pdf/Object.h"

namespace PDF
{

// A resource dictionary (ISO 32000-1, 7.8.3).
class CResources : public CObjectPtr
{
public:
  using CObjectPtr::CObjectPtr;
  CResources() = default;
  CResources(const CObjectPtr& object) : CObjectPtr(object) {}

  // The dictionary of a category such as "Font" or "XObject"; null if there is none.
  CObjectPtr GetCategory(const char* szCategory) const;

  // A resource; null if it is absent, which is traced for fonts and XObjects.
  CObjectPtr FindResource(const char* szCategory, const char* szName) const;

  // Sets a resource, making the category's dictionary where it is missing. False without a dictionary here.
  bool SetResource(const char* szCategory, const char* szName, CObject* pValue) const;
};

}  // namespace PDF
