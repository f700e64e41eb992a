#pragma once

#include "fonts/cff/CharStringGenerator.h"
#include "fonts/cff/Dictionary.h"
#include "fonts/cff/Type2Parser.h"

namespace CFF
{

// Records what a charstring draws, with its hints. The two letters of an accented one are only named.
class CType2Recorder : public CType2Parser
{
public:
  CType2Recorder(const TType2Context& context, FONT::CGlyph& glyph) : CType2Parser(context), m_glyph(glyph) {}

  bool HasAccent() const { return m_bAccent; }
  int GetBase() const { return m_nBase; }
  int GetAccent() const { return m_nAccent; }
  double GetAccentX() const { return m_dAccentX; }
  double GetAccentY() const { return m_dAccentY; }

  // There were more stems than a glyph can keep.
  bool AreStemsLost() const { return m_bStemsLost; }

protected:
  void OnWidth(double dWidth, bool bGiven) override;
  void OnStem(bool bVertical, double dEdge, double dWidth) override;
  void OnHintMask(TData mask) override { m_glyph.AddMask(MakeMask(mask)); }
  void OnCounterMask(TData mask) override { m_glyph.AddCounters(MakeMask(mask)); }
  void OnMove(double dX, double dY) override { m_glyph.MoveBy(dX, dY); }
  void OnLine(double dX, double dY) override { m_glyph.LineBy(dX, dY); }
  void OnCurve(double dX1, double dY1, double dX2, double dY2, double dX3, double dY3) override
  {
    m_glyph.CurveBy(dX1, dY1, dX2, dY2, dX3, dY3);
  }
  void OnFlex(const double (&d)[12]) override;
  void OnSeac(double dX, double dY, int nBase, int nAccent) override;

private:
  FONT::TStemMask MakeMask(TData mask) const;

  FONT::CGlyph& m_glyph;
  BSE::CBasicArray<int> m_numbers;  // of the stems in their order
  bool m_bStemsLost = false;
  bool m_bAccent = false;
  int m_nBase = 0;
  int m_nAccent = 0;
  double m_dAccentX = 0;
  double m_dAccentY = 0;
};

// Ends as soon as the width is known.
class CType2WidthParser : public CType2Parser
{
public:
  using CType2Parser::CType2Parser;
  bool GetWidth(double& dWidth) const
  {
    dWidth = m_dWidth;
    return m_bWidth;
  }

protected:
  void OnWidth(double dWidth, bool) override
  {
    m_dWidth = dWidth;
    m_bWidth = true;
    Stop();
  }

private:
  double m_dWidth = 0;
  bool m_bWidth = false;
};

// Finds out whether a glyph is made of two others.
class CType2SeacChecker : public CType2Parser
{
public:
  using CType2Parser::CType2Parser;
  bool HasAccent() const { return m_bAccent; }
  int GetBase() const { return m_nBase; }
  int GetAccent() const { return m_nAccent; }

protected:
  void OnSeac(double, double, int nBase, int nAccent) override
  {
    m_bAccent = true;
    m_nBase = nBase;
    m_nAccent = nAccent;
  }

private:
  bool m_bAccent = false;
  int m_nBase = 0;
  int m_nAccent = 0;
};

// Makes a charstring of a recorded glyph again, without subroutines.
class CType2ToType2Converter
{
public:
  explicit CType2ToType2Converter(const CDictionary& privateDict)
      : m_writer(privateDict.GetNumber(CTypes::eDefaultWidthX), privateDict.GetNumber(CTypes::eNominalWidthX))
  {
  }

  // False for a glyph that does not fit.
  bool Convert(const FONT::CGlyph& glyph) { return m_writer.Write(glyph); }

  // Valid until the next glyph.
  TData GetCharString() const { return m_writer.GetCharString(); }

private:
  CType2Writer m_writer;
};

}  // namespace CFF
