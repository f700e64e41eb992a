#pragma once

#include "fonts/cff/Types.h"
#include "fonts/common/Glyph.h"

#include <span>

namespace CFF
{

// Encodes numbers and operators of Type 2 charstrings.
class CCharStringGenerator
{
public:
  // Fractions are rounded to the 65536th. False for a number that does not fit.
  bool PutNumber(double dValue);
  void PutOperator(int nOperator);
  void PutByte(int nByte) { m_bytes.Add(static_cast<unsigned char>(nByte)); }

  std::span<const unsigned char> GetBytes() const { return m_bytes.GetSpan(); }
  void Clear() { m_bytes.Truncate(0); }

private:
  BSE::CBasicArray<unsigned char> m_bytes;
};

// Writes a glyph as a Type 2 charstring, with the operators that take the least room.
class CType2Writer
{
public:
  CType2Writer(double dDefaultWidth, double dNominalWidth)
      : m_dDefaultWidth(dDefaultWidth), m_dNominalWidth(dNominalWidth)
  {
  }

  // False for a glyph that does not fit: with too many stems, or differences that are too large.
  bool Write(const FONT::CGlyph& glyph);

  // Of the last glyph; valid until the next.
  std::span<const unsigned char> GetCharString() const { return m_generator.GetBytes(); }

private:
  static constexpr int g_nMaxArguments = 48;
  static constexpr int g_nMaxStems = 96;

  // Differences of a line or curve; a line has only the last two.
  struct TStep
  {
    bool m_bCurve;
    bool m_bFlex;
    double m_d[6];
  };

  bool WriteStems(const FONT::CGlyph& glyph, bool bMasks);
  bool WriteMask(int nOperator, const FONT::TStemMask& mask);
  bool WriteMove(double dX, double dY);
  bool WriteSteps(std::span<const TStep> steps);
  std::size_t WriteLines(std::span<const TStep> steps);
  std::size_t WriteStraightCurves(std::span<const TStep> steps, bool bVertical);
  std::size_t WriteAlternatingCurves(std::span<const TStep> steps);
  std::size_t WriteFlex(std::span<const TStep> steps);
  void AddStep(const FONT::TSegment& segment);
  void Push(double dValue) { m_arguments.Add(dValue); }
  bool Emit(int nOperator);

  double m_dDefaultWidth;
  double m_dNominalWidth;
  double m_dX = 0;
  double m_dY = 0;
  int m_nStems = 0;
  int m_order[FONT::TStemMask::g_nMaxStems] = {};
  BSE::CBasicArray<TStep> m_steps;
  BSE::CBasicArray<double> m_arguments;
  CCharStringGenerator m_generator;
};

}  // namespace CFF
