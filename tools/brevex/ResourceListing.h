#pragma once

#include <string>
#include <vector>

#include "JsonObject.h"

namespace Tool
{

// The lines of a listing of images or fonts as objects: a member for each column.
std::vector<CJsonObject> ParseListing(const std::string& sListing, bool bFonts);

}  // namespace Tool
