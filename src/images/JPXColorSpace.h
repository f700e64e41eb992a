#pragma once

#include "images/filters/jpx/JPXParameters.h"
#include "pdf/Object.h"

namespace PDF
{

// The colour space that JPEG 2000 data states for itself, as a decoder has found it: a device space or Lab,
// and an Indexed one over it for a palette. Null for colours that have no space.
CObjectPtr MakeJPXColorSpace(const BSE::CJPXParameters& jpx);

}  // namespace PDF
