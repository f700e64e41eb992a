#include "document/Destination.h"

#include "base/Checked.h"

namespace PDF
{

CDestination::CDestination(const CObjectPtr& object)
    : CObjectPtr(object.IsDictionary() ? object["D"] : object)
{
  if (!IsArray())
    Reset();
}

CObjectPtr CDestination::GetPage() const
{
  const CObjectPtr page = (*this)[0];
  return page.IsDictionary() ? page : CObjectPtr();
}

int CDestination::GetPageIndex() const
{
  const CObjectPtr page = (*this)[0];
  return page.IsInteger() ? BSE::ClampTo<int>(page.GetIntegerValue()) : -1;
}

}  // namespace PDF
