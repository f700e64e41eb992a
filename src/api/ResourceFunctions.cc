// Listings of images and fonts, what has become of images, and requests for single fonts.

#include "api/CallFrame.h"
#include "api/TextArgument.h"
#include "base/Unicode.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

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

static_assert(PDF::g_nTriedCompressions == BREVEX_IMAGE_CANDIDATES);
static_assert(int{PDF::eImageReplaced} == int{BREVEX_IMAGE_REPLACED});
static_assert(int{PDF::eClassIndexed} == int{BREVEX_IMAGE_CLASS_INDEXED});
static_assert(unsigned{PDF::eChangeCoding} == unsigned{BREVEX_IMAGE_LOSSY});

TBrevexImage MakeImage(const PDF::CImageReport& report)
{
  TBrevexImage image = {};
  image.nObject = report.m_nObjNumber;
  image.nPage = report.m_nPage;
  image.nClass = report.m_nClass;
  image.nOutcome = report.m_nOutcome;
  image.nChanges = report.m_nChanges;
  image.nWidthBefore = report.m_aWidth[0];
  image.nHeightBefore = report.m_aHeight[0];
  image.nWidthAfter = report.m_aWidth[1];
  image.nHeightAfter = report.m_aHeight[1];
  image.nCompressionBefore = static_cast<int32_t>(report.m_aCodec[0]);
  image.nCompressionAfter = static_cast<int32_t>(report.m_aCodec[1]);
  image.dResolutionX = static_cast<float>(report.m_dResolutionX);
  image.dResolutionY = static_cast<float>(report.m_dResolutionY);
  image.nBytesBefore = report.m_aSize[0];
  image.nBytesAfter = report.m_aSize[1];
  std::copy(std::begin(report.m_aTried), std::end(report.m_aTried), std::begin(image.aCandidates));
  return image;
}

// A caller that was built with an older header has room for fewer members.
int GetImage(const PDF::CImageReports& reports, int nIndex, TBrevexImage& image)
{
  const std::size_t nRoom = image.nSize;
  if (nIndex < 0 || nIndex >= reports.GetSize() || nRoom < offsetof(TBrevexImage, nObject))
    return 0;
  TBrevexImage filled = MakeImage(*reports[nIndex]);
  const std::size_t nSize = std::min(nRoom, sizeof filled);
  filled.nSize = static_cast<std::uint32_t>(nSize);
  std::memcpy(&image, &filled, nSize);
  return 1;
}

}  // namespace

int BrevexGetImageCount(TBrevexHandle* pHandle)
{
  return CallQuietly(pHandle, 0,
                     [](API::COptimizerHandle& handle)
                     { return handle.GetOptimizer().GetImageReports().GetSize(); });
}

int BrevexGetImage(TBrevexHandle* pHandle, int nIndex, TBrevexImage* pImage)
{
  if (pImage == nullptr)
    return 0;
  return CallQuietly(pHandle, 0,
                     [&](API::COptimizerHandle& handle)
                     { return GetImage(handle.GetOptimizer().GetImageReports(), nIndex, *pImage); });
}

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

// A path that the locale cannot express does not become any font that is like it.
int BrevexEmbedFontW(TBrevexHandle* pHandle, const TBrevexChar* szName, const TBrevexChar* szFile)
{
  return CallQuietly(pHandle, 0,
                     [&](API::COptimizerHandle& handle) -> int
                     {
                       BSE::CStr8 name;
                       const API::CLocaleArgument file(szFile);
                       const bool bLost = szFile != nullptr && *szFile != 0 && *file.Get() == 0;
                       return !bLost && BSE::ConvertText(szName, name) &&
                              handle.GetOptimizer().GetFontEdits().Embed(name, BSE::CStr8(file.Get()));
                     });
}

int BrevexEmbedFontA(TBrevexHandle* pHandle, const char* szName, const char* szFile)
{
  return CallQuietly(pHandle, 0,
                     [&](API::COptimizerHandle& handle) -> int
                     {
                       const API::CUtf16Argument wideName(szName);
                       BSE::CStr8 name;
                       return BSE::ConvertText(wideName.Get(), name) &&
                              handle.GetOptimizer().GetFontEdits().Embed(name, BSE::CStr8(szFile));
                     });
}
