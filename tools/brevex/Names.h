#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Tool
{

// A word of the command line and the number that the library has for it.
struct TName
{
  const char* szName;
  unsigned nValue;
};

using TNames = std::span<const TName>;

// The command's own profile, which the library does not know.
inline constexpr unsigned g_nProfileLossless = 1000;

TNames GetProfileNames();
TNames GetCompressionNames();
TNames GetCompressionFlagNames();
TNames GetStripNames();
TNames GetColorConversionNames();
TNames GetDitheringNames();
TNames GetCipherNames();
TNames GetPermissionNames();

std::optional<unsigned> FindName(TNames names, std::string_view sName);

// The sum of the values of names separated by commas; "none" alone is 0, "all" alone is everything.
std::optional<unsigned> ParseSet(TNames names, std::string_view sText);

std::string JoinNames(TNames names);

// The names whose bits are in the set.
std::vector<std::string> GetNamesOfSet(TNames names, unsigned nSet);

}  // namespace Tool
