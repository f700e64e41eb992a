#include "document/Rectangle.h"

#include "pdf/ArrayObject.h"
#include "pdf/SimpleObjects.h"

#include <algorithm>
#include <cmath>

namespace PDF
{

bool ReadRectangle(const CObjectPtr& object, TRectangle& rectangle)
{
  if (!object.IsArray() || object.GetSize() < 4)
    return false;
  double dValues[4];
  for (int i = 0; i < 4; ++i)
  {
    const CObjectPtr value = object[i];
    if (!value.IsNumber())
      return false;
    dValues[i] = value.GetRealValue();
    if (!std::isfinite(dValues[i]))
      return false;
  }
  rectangle = {std::min(dValues[0], dValues[2]), std::min(dValues[1], dValues[3]),
               std::max(dValues[0], dValues[2]), std::max(dValues[1], dValues[3])};
  return true;
}

CObjectPtr MakeRectangle(const TRectangle& rectangle)
{
  const CObjectPtr array(new CArrayObject);
  for (const double dValue : {rectangle.m_dLeft, rectangle.m_dBottom, rectangle.m_dRight, rectangle.m_dTop})
  {
    const bool bWhole = std::abs(dValue) < 1e15 && std::floor(dValue) == dValue;
    if (bWhole)
      array.Add(new CIntegerObject(static_cast<std::int64_t>(dValue)));
    else
      array.Add(new CRealObject(dValue));
  }
  return array;
}

bool Intersect(TRectangle& rectangle, const TRectangle& clip)
{
  const TRectangle common = {
      std::max(rectangle.m_dLeft, clip.m_dLeft), std::max(rectangle.m_dBottom, clip.m_dBottom),
      std::min(rectangle.m_dRight, clip.m_dRight), std::min(rectangle.m_dTop, clip.m_dTop)};
  if (common.m_dLeft >= common.m_dRight || common.m_dBottom >= common.m_dTop)
    return false;
  rectangle = common;
  return true;
}

}  // namespace PDF
