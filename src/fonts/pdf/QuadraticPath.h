#pragma once

#include "fonts/common/Glyph.h"
#include "fonts/ttf/Outline.h"

namespace PDF
{

// Appends the contours of a TrueType outline, with its quadratic curves raised to cubic ones.
void AddQuadratics(std::span<const TTF::TPoint> points, FONT::CGlyph& outline);

}  // namespace PDF
