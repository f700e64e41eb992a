#pragma once

#include <string>

#include "Input.h"

namespace Tool
{

// The version to ask for so that every encoding of a profile may be used: 1.5 brings object streams,
// cross-reference streams and JPEG 2000 (ISO 32000-1, 7.5.7, 7.5.8 and 7.4.9). Empty when the document keeps
// the version it has: it has 1.5 or more already, or it claims PDF/A-1, which forbids all three (ISO
// 19005-1).
std::string ChooseTargetVersion(const CInput& input);

}  // namespace Tool
