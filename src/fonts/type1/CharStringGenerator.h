#pragma once

#include "fonts/type1/PFB.h"

namespace PFB
{

// Encodes numbers and operators of Type 1 charstrings.
class CType1CharStringGenerator
{
public:
  // A fraction becomes a quotient, exact to the 65536th. False for a number that does not fit.
  bool PutNumber(double dValue);
  void PutOperator(int nOperator);

  TData GetBytes() const { return m_bytes.GetSpan(); }
  void Clear() { m_bytes.Truncate(0); }

private:
  void PutInteger(int nValue);
  void PutByte(int nByte) { m_bytes.Add(static_cast<unsigned char>(nByte)); }

  BSE::CBasicArray<unsigned char> m_bytes;
};

// Writes glyphs as Type 1 charstrings into a new font. Hints that are in force for parts of a glyph become
// subroutines, which glyphs share. Counters, and the flatness of a flex, are not carried over.
class CType1Writer
{
public:
  // Gives the font the subroutines that all fonts begin with.
  explicit CType1Writer(CPFB& font);

  // Adds the glyph to the font. Its number, or -1 if it does not fit.
  int Add(FONT::TName name, const FONT::CGlyph& glyph);

  // The same for a glyph of two others, by their codes in Standard Encoding: the accent is moved by dX and dY
  // from where it is drawn. Both have no left side bearing.
  int AddAccented(FONT::TName name, double dWidth, double dX, double dY, int nBase, int nAccent);

private:
  bool Write(const FONT::CGlyph& glyph);
  bool WriteStems(const FONT::CGlyph& glyph, const FONT::TStemMask& mask,
                  CType1CharStringGenerator& generator);
  bool WriteHints(const FONT::CGlyph& glyph, const FONT::TStemMask& mask);
  bool WriteSegment(const FONT::TSegment& segment);
  bool Put(std::initializer_list<double> values, int nOperator);
  void Close();

  CPFB& m_font;
  BSE::CBasicMap m_hints;  // numbers of subroutines by their bytes
  CType1CharStringGenerator m_generator;
  double m_dX = 0;
  double m_dY = 0;
  bool m_bOpen = false;
};

}  // namespace PFB
