#pragma once

#include <brevex/brevex.h>

#include <string>
#include <vector>

#include "Handle.h"
#include "JsonObject.h"

namespace Tool
{

// What the last save of the handle has made of the images.
std::vector<TBrevexImage> ReadImages(const CHandle& handle);

CJsonObject MakeImageJson(const TBrevexImage& image);

// A table with a line for each image, each ended by a line feed; empty for none.
std::string FormatImages(const std::vector<TBrevexImage>& images);

}  // namespace Tool
