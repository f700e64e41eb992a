#pragma once

#include "pdf/Conformance.h"
#include "pdf/Object.h"

#include <span>

namespace PDF
{

enum TColorModel : int;

// The conformance for the values of "part" and "conformance" of the PDF/A identification schema (ISO 19005-1,
// 6.7.11); blanks around them do not count. None for any other pair.
CConformance GetClaimedConformance(std::span<const char> part, std::span<const char> level);

// The values of the two properties for a conformance; empty without an archival claim.
const char* GetPartText(CConformance conformance);
const char* GetLevelText(CConformance conformance);

// The colour model that the header of an ICC profile stream gives (ICC.1, 7.2.6).
TColorModel ReadProfileModel(const CObjectPtr& profile);

// Reads "1.7" into its numbers; false, and both left alone, for anything else or null.
bool ReadVersionName(const char* szName, unsigned& nMajor, unsigned& nMinor);

}  // namespace PDF
