#pragma once

#include "pdf/Object.h"

namespace PDF
{

// An explicit destination by value (ISO 32000-1, 12.3.2.2): the array of a page and a view, or null.
class CDestination : public CObjectPtr
{
public:
  CDestination() = default;

  // An array, or a dictionary with the array in "D", as a tree of named destinations has it. A name or string
  // is not a destination itself and makes a null one, as everything else does.
  explicit CDestination(const CObjectPtr& object);

  // The page object; null for a page of another file, which is given by its index.
  CObjectPtr GetPage() const;

  // The 0-based index of a page of another file; -1 for a page object.
  int GetPageIndex() const;

  // "XYZ", "Fit" and so on; null if there is none. Valid while the destination lives.
  const char* GetView() const { return (*this)[1].GetNameValue(); }
};

}  // namespace PDF
