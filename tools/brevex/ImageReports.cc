#include "ImageReports.h"

#include <cmath>
#include <cstdio>

#include "Names.h"

namespace Tool
{
namespace
{

constexpr const char* g_szClasses[] = {"unknown", "bitonal", "continuous", "indexed"};
constexpr const char* g_szOutcomes[] = {"not tried", "kept as is", "not read", "smallest", "replaced"};
constexpr TName g_changes[] = {{"resampled", BREVEX_IMAGE_RESAMPLED},
                               {"converted", BREVEX_IMAGE_CONVERTED},
                               {"simplified", BREVEX_IMAGE_SIMPLIFIED},
                               {"lossy", BREVEX_IMAGE_LOSSY}};

// The name that flags have for it.
std::string GetCompressionName(int nCompression)
{
  for (const TName& name : GetCompressionNames())
  {
    if (nCompression != BREVEX_COMPRESSION_UNSPECIFIED && name.nValue == static_cast<unsigned>(nCompression))
    {
      return name.szName;
    }
  }
  return "other";
}

int GetResolution(const TBrevexImage& image)
{
  return static_cast<int>(std::lround(std::fmin(image.dResolutionX, image.dResolutionY)));
}

std::string FormatBytes(std::int64_t nBytes)
{
  return nBytes >= 0 ? std::to_string(nBytes) : "?";
}

}  // namespace

std::vector<TBrevexImage> ReadImages(const CHandle& handle)
{
  std::vector<TBrevexImage> images;
  for (int i = 0; i < BrevexGetImageCount(handle.Get()); ++i)
  {
    TBrevexImage image = {};
    image.nSize = sizeof image;
    if (BrevexGetImage(handle.Get(), i, &image) != 0)
    {
      images.push_back(image);
    }
  }
  return images;
}

CJsonObject MakeImageJson(const TBrevexImage& image)
{
  CJsonObject object;
  object.AddNumber("object", image.nObject);
  if (image.nPage > 0)
  {
    object.AddNumber("page", image.nPage);
  }
  object.AddText("class", g_szClasses[image.nClass]);
  object.AddText("outcome", g_szOutcomes[image.nOutcome]);
  object.AddTexts("changes", GetNamesOfSet(g_changes, image.nChanges));
  object.AddNumber("width", image.nWidthBefore);
  object.AddNumber("height", image.nHeightBefore);
  object.AddNumber("widthAfter", image.nWidthAfter);
  object.AddNumber("heightAfter", image.nHeightAfter);
  if (GetResolution(image) > 0)
  {
    object.AddNumber("resolution", GetResolution(image));
  }
  object.AddText("filter", GetCompressionName(image.nCompressionBefore));
  object.AddText("filterAfter", GetCompressionName(image.nCompressionAfter));
  object.AddNumber("bytes", image.nBytesBefore);
  if (image.nBytesAfter >= 0)
  {
    object.AddNumber("bytesAfter", image.nBytesAfter);
  }
  CJsonObject candidates;
  for (int i = 0; i < BREVEX_IMAGE_CANDIDATES; ++i)
  {
    if (image.aCandidates[i] >= 0)
    {
      candidates.AddNumber(GetCompressionName(i), image.aCandidates[i]);
    }
  }
  object.AddObject("candidates", candidates);
  return object;
}

std::string FormatImages(const std::vector<TBrevexImage>& images)
{
  std::string sText;
  if (!images.empty())
  {
    sText =
        "  object   page  class       size         dpi  filter                bytes                  "
        "outcome\n";
  }
  for (const TBrevexImage& image : images)
  {
    const std::string sSize = std::to_string(image.nWidthBefore) + "x" + std::to_string(image.nHeightBefore);
    const std::string sFilter =
        GetCompressionName(image.nCompressionBefore) + " > " + GetCompressionName(image.nCompressionAfter);
    const std::string sBytes = FormatBytes(image.nBytesBefore) + " > " + FormatBytes(image.nBytesAfter);
    std::string sOutcome = g_szOutcomes[image.nOutcome];
    for (const std::string& sChange : GetNamesOfSet(g_changes, image.nChanges))
    {
      sOutcome += ", " + sChange;
    }
    std::string sTried;
    for (int i = 0; i < BREVEX_IMAGE_CANDIDATES; ++i)
    {
      if (image.aCandidates[i] >= 0)
      {
        sTried +=
            (sTried.empty() ? "" : ", ") + GetCompressionName(i) + " " + std::to_string(image.aCandidates[i]);
      }
    }
    char szLine[200];
    std::snprintf(szLine, sizeof szLine, "%8d %6d  %-10s  %-11s %4d  %-20s  %-21s  ", image.nObject,
                  image.nPage, g_szClasses[image.nClass], sSize.c_str(), GetResolution(image),
                  sFilter.c_str(), sBytes.c_str());
    sText += szLine + sOutcome + (sTried.empty() ? "" : " (" + sTried + ")") + "\n";
  }
  return sText;
}

}  // namespace Tool
