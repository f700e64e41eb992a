// Listings of images and fonts, and requests for single fonts.

#include "api/CallFrame.h"
#include "api/TextArgument.h"
#include "base/Unicode.h"

#include <cerrno>

using API::Call;
using API::CallQuietly;

namespace
{

// A path that the locale cannot express does not become standard output.
int List(TBrevexHandle* pHandle, const TBrevexChar* szPath,
         bool (API::COptimizerHandle::*pList)(const char* szPath))
{
  return Call(pHandle, 0,
              [&](API::COptimizerHandle& handle) -> int
              {
                const API::CLocaleArgument path(szPath);
                if (szPath == nullptr || *szPath == 0 || *path.Get() != 0)
                  return (handle.*pList)(path.Get());
                handle.Clear();
                handle.Fail(EILSEQ);
                return 0;
              });
}

}  // namespace

int BrevexListImagesW(TBrevexHandle* pHandle, const TBrevexChar* szPath)
{
  return List(pHandle, szPath, &API::COptimizerHandle::ListImages);
}

int BrevexListImagesA(TBrevexHandle* pHandle, const char* szPath)
{
  return Call(pHandle, 0, [&](API::COptimizerHandle& handle) -> int { return handle.ListImages(szPath); });
}

int BrevexListFontsW(TBrevexHandle* pHandle, const TBrevexChar* szPath)
{
  return List(pHandle, szPath, &API::COptimizerHandle::ListFonts);
}

int BrevexListFontsA(TBrevexHandle* pHandle, const char* szPath)
{
  return Call(pHandle, 0, [&](API::COptimizerHandle& handle) -> int { return handle.ListFonts(szPath); });
}

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
