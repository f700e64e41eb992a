#pragma once

#include <string>

#include "Input.h"
#include "OptimizeOptions.h"

namespace Tool
{

// The version to set for an input before it is opened; empty to leave it to the library, which keeps the
// version of the document. For --pdf-version auto and a profile other than none it is 1.5, for object
// streams, cross-reference streams and JPEG 2000 (ISO 32000-1, 7.5.7, 7.5.8 and 7.4.9), unless the document
// has that or claims PDF/A-1, which forbids all three (ISO 19005-1). Options that set a version on their own
// are answered with what the document has, so that it never falls.
std::string ChooseTargetVersion(const CInput& input, const TOptimizeOptions& options);

}  // namespace Tool
