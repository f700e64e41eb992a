#pragma once

#include "fonts/cff/CFF.h"
#include "fonts/type1/PFB.h"

namespace CFF
{

// Makes Type 2 charstrings from those of a Type 1 font, and the dictionaries that go with them.
class CType1ToType2Converter
{
public:
  // Both fonts outlive the converter; the new one is empty.
  CType1ToType2Converter(CCFF& cff, PFB::CPFB& type1) : m_cff(cff), m_type1(type1) {}

  // False, and the new font is of no use, if a glyph cannot be converted. Once for each object.
  bool Convert();

private:
  bool ReadWidths();
  void ChooseWidths();
  bool ConvertGlyph(int nGlyph);
  void ConvertDicts();

  CCFF& m_cff;
  PFB::CPFB& m_type1;
  BSE::CBasicArray<double> m_widths;
  double m_dDefaultWidth = 0;
  double m_dNominalWidth = 0;
};

// The reverse, of a font by names.
class CType2ToType1Converter
{
public:
  CType2ToType1Converter(PFB::CPFB& type1, CCFF& cff) : m_type1(type1), m_cff(cff) {}

  // As above.
  bool Convert();

private:
  bool ConvertGlyphs();
  void ConvertDicts();

  PFB::CPFB& m_type1;
  CCFF& m_cff;
};

}  // namespace CFF
