#include "TargetVersion.h"

#include <algorithm>
#include <string_view>

namespace Tool
{
namespace
{

constexpr size_t g_nHeaderWindow = 1024;
constexpr size_t g_nBlock = size_t{1} << 20;
constexpr size_t g_nOverlap = 64;

// Versions are numbers of two digits: 14 is 1.4.
constexpr int g_nObjectStreams = 15;
constexpr int g_nOldest = 10;

struct TDocumentVersion
{
  int nVersion = g_nOldest;
  bool bArchive1 = false;
};

bool IsDigit(char c)
{
  return c >= '0' && c <= '9';
}

// The version at a position, 0 if there is none.
int ReadVersion(std::string_view sText, size_t nAt)
{
  const bool bVersion =
      nAt + 3 <= sText.size() && IsDigit(sText[nAt]) && sText[nAt + 1] == '.' && IsDigit(sText[nAt + 2]);
  return bVersion ? 10 * (sText[nAt] - '0') + (sText[nAt + 2] - '0') : 0;
}

// Calls function(position) with the first character behind each occurrence of the key that is none of sSkip.
template <class TFunction>
void ForEachValue(std::string_view sBytes, std::string_view sKey, const char* szSkip, TFunction function)
{
  for (size_t nAt = sBytes.find(sKey); nAt != std::string_view::npos; nAt = sBytes.find(sKey, nAt + 1))
  {
    const size_t nValue = sBytes.find_first_not_of(szSkip, nAt + sKey.size());
    if (nValue != std::string_view::npos)
    {
      function(nValue);
    }
  }
}

// The catalogue's Version overrides that of the header (7.7.2). The part of ISO 19005 stands in the XMP
// packet as an element or an attribute; packets of PDF/A-1 are not filtered.
void ScanBlock(std::string_view sBytes, TDocumentVersion& version)
{
  ForEachValue(sBytes, "/Version", " \r\n\t/",
               [&](size_t nAt) { version.nVersion = std::max(version.nVersion, ReadVersion(sBytes, nAt)); });
  ForEachValue(sBytes, "pdfaid:part", " \r\n\t=>\"'",
               [&](size_t nAt) { version.bArchive1 = version.bArchive1 || sBytes[nAt] == '1'; });
}

// Looks behind the header only where that decides something.
TDocumentVersion ReadDocumentVersion(const CInput& input, bool bExact)
{
  TDocumentVersion version;
  const std::string sHead = input.Read(0, g_nHeaderWindow);
  const size_t nHeader = sHead.find("%PDF-");
  if (nHeader != std::string::npos)
  {
    version.nVersion = std::max(version.nVersion, ReadVersion(sHead, nHeader + 5));
  }
  if (version.nVersion >= g_nObjectStreams && !bExact)
  {
    return version;
  }
  for (std::int64_t nAt = 0; nAt < input.GetSize(); nAt += static_cast<std::int64_t>(g_nBlock))
  {
    ScanBlock(input.Read(nAt, g_nBlock + g_nOverlap), version);
  }
  return version;
}

std::string FormatVersion(int nVersion)
{
  return std::to_string(nVersion / 10) + "." + std::to_string(nVersion % 10);
}

}  // namespace

std::string ChooseTargetVersion(const CInput& input, const TOptimizeOptions& options)
{
  const bool bAuto = options.sPdfVersion == "auto";
  if (!bAuto && options.sPdfVersion != "keep")
  {
    return options.sPdfVersion;
  }
  const bool bRaise = bAuto && (options.nProfile != BREVEX_PROFILE_NONE || options.bSetsVersion);
  if (!bRaise && !options.bSetsVersion)
  {
    return {};
  }
  const TDocumentVersion version = ReadDocumentVersion(input, options.bSetsVersion);
  if (bRaise && version.nVersion < g_nObjectStreams && !version.bArchive1)
  {
    return FormatVersion(g_nObjectStreams);
  }
  return options.bSetsVersion ? FormatVersion(version.nVersion) : std::string();
}

}  // namespace Tool
