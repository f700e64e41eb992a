#include "TargetVersion.h"

#include <string_view>

namespace Tool
{
namespace
{

constexpr size_t g_nHeaderWindow = 1024;
constexpr size_t g_nBlock = size_t{1} << 20;
constexpr size_t g_nOverlap = 64;

bool IsDigit(char c)
{
  return c >= '0' && c <= '9';
}

// Whether a version such as "1.4" stands at the position and is 1.5 or more.
bool IsAtLeast15(std::string_view sText, size_t nAt)
{
  if (nAt + 3 > sText.size() || !IsDigit(sText[nAt]) || sText[nAt + 1] != '.' || !IsDigit(sText[nAt + 2]))
  {
    return false;
  }
  return sText[nAt] > '1' || (sText[nAt] == '1' && sText[nAt + 2] >= '5');
}

// The catalogue's Version, which overrides that of the header (7.7.2).
bool HasHigherVersion(std::string_view sBytes)
{
  constexpr std::string_view sKey = "/Version";
  for (size_t nAt = sBytes.find(sKey); nAt != std::string_view::npos; nAt = sBytes.find(sKey, nAt + 1))
  {
    const size_t nName = sBytes.find_first_not_of(" \r\n\t", nAt + sKey.size());
    if (nName != std::string_view::npos && sBytes[nName] == '/' && IsAtLeast15(sBytes, nName + 1))
    {
      return true;
    }
  }
  return false;
}

// The part of ISO 19005 in the XMP packet, as an element or an attribute. Packets of PDF/A-1 are not
// filtered.
bool ClaimsArchive1(std::string_view sBytes)
{
  constexpr std::string_view sKey = "pdfaid:part";
  for (size_t nAt = sBytes.find(sKey); nAt != std::string_view::npos; nAt = sBytes.find(sKey, nAt + 1))
  {
    const size_t nValue = sBytes.find_first_not_of(" \r\n\t=>\"'", nAt + sKey.size());
    if (nValue != std::string_view::npos && sBytes[nValue] == '1')
    {
      return true;
    }
  }
  return false;
}

}  // namespace

std::string ChooseTargetVersion(const CInput& input)
{
  const std::string sHead = input.Read(0, g_nHeaderWindow);
  const size_t nHeader = sHead.find("%PDF-");
  if (nHeader != std::string::npos && IsAtLeast15(sHead, nHeader + 5))
  {
    return {};
  }
  for (std::int64_t nAt = 0; nAt < input.GetSize(); nAt += static_cast<std::int64_t>(g_nBlock))
  {
    const std::string sBytes = input.Read(nAt, g_nBlock + g_nOverlap);
    if (HasHigherVersion(sBytes) || ClaimsArchive1(sBytes))
    {
      return {};
    }
  }
  return "1.5";
}

}  // namespace Tool
