#pragma once

#include "base/BasicArray.h"
#include "base/MemoryStream.h"
#include "fonts/ttf/TTF.h"
#include "tests/fonts/ttf/FontFace.h"

#include <filesystem>
#include <string>
#include <vector>

namespace Fonts
{

// Some of the font files with that ending in the folders of installed fonts; all of those in the folders that
// the variable BREVEX_FONTS names, separated by colons.
std::vector<std::filesystem::path> ListFonts(const char* szEnding);

CBytes ReadBytes(const std::filesystem::path& path);

// Reads and checks a font.
bool ReadFont(TTF::CTTF& font, const CBytes& data, const char* szName = "");
CBytes WriteFont(TTF::CTTF& font);

// A glyph as the bytes of glyf; the boxes are not right.
CBytes MakeSquare(int nSize);
CBytes MakeComposite(const std::vector<int>& components);

// A sound font with these glyphs, whose tables can be changed before its file is made.
struct TFontBuilder
{
  TFontBuilder() = default;
  explicit TFontBuilder(const std::vector<CBytes>& glyphs);
  CBytes Build() const;

  std::vector<std::pair<std::string, CBytes>> m_tables;
  CBytes& operator[](const std::string& sTag);
};

void Put16(CBytes& bytes, unsigned n);
void Put32(CBytes& bytes, std::uint32_t n);
void Set16(CBytes& bytes, std::size_t nOffset, unsigned n);

}  // namespace Fonts
