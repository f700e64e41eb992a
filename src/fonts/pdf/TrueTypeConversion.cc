// TrueType to Type 1.

#include "fonts/pdf/FontProgramTrueType.h"
#include "fonts/pdf/FontProgramType1.h"
#include "fonts/type1/CharStringGenerator.h"

#include <cmath>
#include <cstdio>
#include <cstring>

namespace PDF
{

namespace
{

const char* GetWeightName(int nClass)
{
  static constexpr const char* aNames[] = {"Thin",   "Thin",     "Extralight", "Light",     "Regular",
                                           "Medium", "Semibold", "Bold",       "Extrabold", "Black"};
  return aNames[std::clamp(nClass / 100, 0, 9)];
}

void SetDictionary(CFontProgramTrueType& program, PFB::CPFB& font)
{
  static constexpr double aMatrix[] = {0.001, 0, 0, 0.001, 0, 0};
  const TFontBox box = program.GetFontBBox();
  const double aBox[] = {std::floor(box.m_dLeft), std::floor(box.m_dBottom), std::ceil(box.m_dRight),
                         std::ceil(box.m_dTop)};
  font.SetValues(PFB::eFontMatrix, aMatrix);
  font.SetValues(PFB::eFontBBox, aBox);
  font.SetNumber(PFB::eItalicAngle, program.GetItalicAngle());
  font.SetNumber(PFB::eIsFixedPitch, program.GetFont().GetPost().m_nIsFixedPitch != 0 ? 1 : 0);
  font.SetText(PFB::eWeight, FONT::MakeName(GetWeightName(program.GetWeightClass())));
  font.SetText(PFB::eFontName, FONT::MakeName("TrueType"));
}

// Adds glyphs in whole thousandths, each name once.
class CGlyphConverter
{
public:
  CGlyphConverter(CFontProgramTrueType& program, PFB::CPFB& font)
      : m_program(program), m_font(font), m_writer(font), m_dScale(1000 / program.GetUnitsPerEm())
  {
  }

  bool Add(const char* szName, int nGlyph)
  {
    if (m_font.FindGlyph(FONT::MakeName(szName)) >= 0)
      return true;
    TTF::COutline outline;
    if (!m_program.GetFont().GetOutline(nGlyph, outline))
      return false;
    for (TTF::TPoint& point : outline.GetSpan())
    {
      point.m_dX *= m_dScale;
      point.m_dY *= m_dScale;
    }
    FONT::CGlyph glyph;
    glyph.m_dWidth = std::round(m_program.GetWidth(nGlyph));
    TTF::ToGlyph(outline, glyph);
    return m_writer.Add(FONT::MakeName(szName), glyph) >= 0;
  }

private:
  CFontProgramTrueType& m_program;
  PFB::CPFB& m_font;
  PFB::CType1Writer m_writer;
  double m_dScale;
};

}  // namespace

BSE::CScopedPtr<CFontProgram> CFontProgramTrueType::ToType1(std::span<const char* const, 256> names,
                                                            std::span<const std::uint16_t> glyphs)
{
  BSE::CScopedPtr<CFontProgramType1> pProgram(new CFontProgramType1(m_pErrorContext));
  PFB::CPFB& font = pProgram->GetFont();
  if (!m_pFont->HasGlyphData() || glyphs.size() != names.size() || GetUnitsPerEm() <= 0)
    return nullptr;
  SetDictionary(*this, font);
  CGlyphConverter converter(*this, font);
  if (!converter.Add(".notdef", 0))
    return nullptr;
  font.SetStandardEncoding(false);
  for (std::size_t i = 0; i < names.size(); ++i)
  {
    if (glyphs[i] == 0)
      continue;
    char szName[16];
    std::snprintf(szName, sizeof(szName), "g%u", unsigned{glyphs[i]});
    const bool bNamed = names[i] && names[i][0] && std::strcmp(names[i], ".notdef") != 0;
    const char* szGlyph = bNamed ? names[i] : szName;
    if (!converter.Add(szGlyph, glyphs[i]))
      return nullptr;
    font.SetEncodedName(static_cast<int>(i), FONT::MakeName(szGlyph));
  }
  pProgram->SetValid();
  return pProgram;
}

}  // namespace PDF
