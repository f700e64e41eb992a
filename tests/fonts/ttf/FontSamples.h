#pragma once

#include "fonts/ttf/TTF.h"
#include "tests/fonts/common/FontFiles.h"

#include <string>
#include <vector>

namespace Fonts
{

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
