#pragma once

#include <iosfwd>
#include <span>
#include <string>
#include <string_view>

namespace Support
{

// How much of a file is left after its damage.
enum class TDamageEffect
{
  Harmless,    // a tolerant reader still finds every page
  Partial,     // it opens at best with fewer pages, or with pages that lack something
  Destructive  // nothing can be asked but that no reader crashes or hangs
};

// One way of damaging a file. It works on what CPdfBuilder writes with a cross-reference table and without
// object streams; on other files, what it does not find it leaves alone.
struct TDamage
{
  const char* szName;
  TDamageEffect effect;
  std::string (*pfApply)(std::string_view sPdf);
};

// How GoogleTest shows it.
void PrintTo(const TDamage& damage, std::ostream* pOut);

// All ways, in a fixed order. They are deterministic.
std::span<const TDamage> GetDamages();

// Flips nCount bytes chosen by nSeed; the same arguments give the same result.
std::string FlipBytes(std::string_view sPdf, unsigned nSeed, int nCount);

// Replaces the nth occurrence (0 the first, -1 the last, -2 all); the text as it was without one.
std::string ReplaceText(std::string_view sText, std::string_view sOld, std::string_view sNew, int nWhich = 0);

}  // namespace Support
