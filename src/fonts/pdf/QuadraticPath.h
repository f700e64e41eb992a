#pragma once

#include "fonts/pdf/FontProgram.h"
#include "fonts/ttf/Outline.h"

namespace PDF
{

// Appends the contours of a TrueType outline, with its quadratic curves raised to cubic ones.
void AddQuadratics(std::span<const TTF::TPoint> points, CGlyphPath& path);

}  // namespace PDF
