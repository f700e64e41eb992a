// Requests for single fonts.

#include "api/CallFrame.h"
#include "api/TextArgument.h"
#include "base/Unicode.h"

using API::CallQuietly;

int BrevexRenameFontW(TBrevexHandle* pHandle, const TBrevexChar* szName, const TBrevexChar* szNewName)
{
  return CallQuietly(pHandle, 0,
                     [&](API::COptimizerHandle& handle) -> int
                     {
                       BSE::CStr8 name;
                       BSE::CStr8 newName;
                       return BSE::ConvertText(szName, name) && BSE::ConvertText(szNewName, newName) &&
                              handle.GetOptimizer().GetFontEdits().Rename(name, newName);
                     });
}

int BrevexRenameFontA(TBrevexHandle* pHandle, const char* szName, const char* szNewName)
{
  return CallQuietly(pHandle, 0,
                     [&](API::COptimizerHandle&)
                     {
                       const API::CUtf16Argument name(szName);
                       const API::CUtf16Argument newName(szNewName);
                       return BrevexRenameFontW(pHandle, name.Get(), newName.Get());
                     });
}

int BrevexUnembedFontW(TBrevexHandle* pHandle, const TBrevexChar* szName)
{
  return CallQuietly(pHandle, 0,
                     [&](API::COptimizerHandle& handle) -> int
                     {
                       BSE::CStr8 name;
                       return BSE::ConvertText(szName, name) &&
                              handle.GetOptimizer().GetFontEdits().Unembed(name);
                     });
}

int BrevexUnembedFontA(TBrevexHandle* pHandle, const char* szName)
{
  return CallQuietly(pHandle, 0,
                     [&](API::COptimizerHandle&)
                     {
                       const API::CUtf16Argument name(szName);
                       return BrevexUnembedFontW(pHandle, name.Get());
                     });
}
