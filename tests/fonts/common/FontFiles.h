#pragma once

#include "base/MemoryStream.h"
#include "fonts/common/Glyph.h"
#include "tests/fonts/common/FontFace.h"

#include <filesystem>

namespace Fonts
{

// Some of the font files with that ending in the folders of installed fonts; all of those in the folders that
// the variable BREVEX_FONTS names, separated by colons.
std::vector<std::filesystem::path> ListFonts(const char* szEnding);

CBytes ReadBytes(const std::filesystem::path& path);

BSE::CBasicArray<unsigned char> ToArray(const CBytes& data);

// All that is in the stream.
CBytes TakeBytes(BSE::CMemoryStream& stream);

using CUsed = BSE::CBasicArray<unsigned char>;

// Within a unit; glyphs with fractions of units are not compared.
void ExpectSamePath(const FONT::CGlyph& glyph, const TGlyph& expected);

}  // namespace Fonts
