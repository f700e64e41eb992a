#include "images/color/ColorSpaceObject.h"

#include <cstdarg>
#include <cstdio>
#include <utility>

namespace PDF
{

void CColorSpace::FormatKey(const char* szFormat, ...)
{
  char szKey[1024];
  va_list arguments;
  va_start(arguments, szFormat);
  const int nLength = std::vsnprintf(szKey, sizeof(szKey), szFormat, arguments);
  va_end(arguments);
  SetKey(nLength > 0 && std::cmp_less(nLength, sizeof(szKey)) ? szKey : "");
}

}  // namespace PDF
