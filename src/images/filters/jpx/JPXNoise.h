#pragma once

#include "images/filters/jpx/JPXParameters.h"

#include <span>

namespace BSE
{

// The ratio, in decibels, that an image has to be coded with so that its details are as true as in JPEG
// images of that quality: above GetSignalToNoise if there are few of them, a little below if there are many.
// The rows are those of the encode filter, all of them.
double ChooseSignalToNoise(const CJPXParameters& parameters, std::span<const unsigned char> rows);

}  // namespace BSE
