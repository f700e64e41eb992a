#pragma once

#include "base/BasicArray.h"
#include "base/ByteCursor.h"
#include "fonts/common/Glyph.h"

namespace PFB
{

using TData = std::span<const unsigned char>;

// Operators of Type 1 charstrings (Adobe Type 1 Font Format, chapter 6). Those of two bytes begin with 12.
enum TOperator : int
{
  eHStem = 1,
  eVStem = 3,
  eVMoveTo = 4,
  eRLineTo = 5,
  eHLineTo = 6,
  eVLineTo = 7,
  eRRCurveTo = 8,
  eClosePath = 9,
  eCallSubr = 10,
  eReturn = 11,
  eEscape = 12,
  eHsbw = 13,
  eEndChar = 14,
  eRMoveTo = 21,
  eHMoveTo = 22,
  eVHCurveTo = 30,
  eHVCurveTo = 31,
  eLongInteger = 255,
  eDotSection = 0x0C00,
  eVStem3 = 0x0C01,
  eHStem3 = 0x0C02,
  eSeac = 0x0C06,
  eSbw = 0x0C07,
  eDiv = 0x0C0C,
  eCallOtherSubr = 0x0C10,
  ePopValue = 0x0C11,
  eSetCurrentPoint = 0x0C21
};

// Runs a Type 1 charstring and calls one operation for what each operator does. Lengths are relative to the
// current point, which begins at the left side bearing; edges of stems are absolute. Stack, depth and steps
// are bounded.
class CType1CharStringParser
{
public:
  explicit CType1CharStringParser(std::span<const TData> subrs) : m_subrs(subrs) {}
  CType1CharStringParser(const CType1CharStringParser&) = delete;
  CType1CharStringParser& operator=(const CType1CharStringParser&) = delete;
  virtual ~CType1CharStringParser() = default;

  // False, with a trace line, for a charstring that cannot be run. One that does not end is taken to end with
  // its data.
  bool Parse(TData charString);

  // The steps of all runs, which are their cost.
  std::int64_t GetWork() const { return m_nWork; }

protected:
  virtual void OnWidth(double /*dBearingX*/, double /*dBearingY*/, double /*dWidth*/) {}
  virtual void OnStem(bool /*bVertical*/, double /*dEdge*/, double /*dWidth*/) {}

  // Three stems whose counters are kept equal: edges and widths.
  virtual void OnStem3(bool bVertical, const double (&d)[6]);

  // The stems so far are no longer in force.
  virtual void OnHintReplacement() {}
  virtual void OnMove(double, double) {}

  // The current point is somewhere else, which is told in full.
  virtual void OnSetPoint(double, double) {}
  virtual void OnLine(double, double) {}
  virtual void OnCurve(double, double, double, double, double, double) {}

  // The two curves of a flex.
  virtual void OnFlex(const double (&d)[12]);
  virtual void OnClosePath() {}

  // The glyph is made of two others, by their codes in Standard Encoding; the accent is moved.
  virtual void OnSeac(double /*dX*/, double /*dY*/, int /*nBase*/, int /*nAccent*/) {}
  virtual void OnEnd() {}

  // Ends the run with success.
  void Stop() { m_bStop = true; }

private:
  static constexpr int g_nStackSize = 120;
  static constexpr int g_nMaxDepth = 32;

  bool Run();
  bool ReadNumber(int nByte, BSE::CByteCursor& cursor);
  bool Execute(int nOperator);
  bool ExecuteHint(int nOperator);
  bool ExecutePath(int nOperator);
  bool ExecuteSeac();
  bool ExecuteDiv();
  void ExecuteSetPoint();
  bool Call();
  bool CallOther();
  bool EndFlex(int nCount);
  void Move(double dX, double dY);
  void End();
  bool Push(double dValue);
  bool Needs(int nCount) const;
  static bool Fail(const char* szText, int nValue = 0);

  struct TFrame
  {
    TData m_data;
    std::size_t m_nOffset;
  };

  std::span<const TData> m_subrs;
  double m_stack[g_nStackSize];
  double m_results[g_nStackSize];  // of OtherSubrs, for pop
  TFrame m_frames[g_nMaxDepth];
  double m_flex[14];  // points, as differences from one to the next
  int m_nStack = 0;
  int m_nResults = 0;
  int m_nDepth = 0;
  int m_nFlexPoints = -1;  // -1 outside of a flex
  double m_dFlexX = 0;
  double m_dFlexY = 0;
  double m_dBearingX = 0;
  double m_dBearingY = 0;
  bool m_bFlexEnded = false;
  bool m_bStop = false;
  std::int64_t m_nWork = 0;
  std::int64_t m_nWorkLimit = 0;
};

// Records what a charstring draws, with its hints. The two letters of an accented one are only named.
class CType1Recorder : public CType1CharStringParser
{
public:
  CType1Recorder(std::span<const TData> subrs, FONT::CGlyph& glyph)
      : CType1CharStringParser(subrs), m_glyph(glyph)
  {
  }

  bool HasAccent() const { return m_bAccent; }
  int GetBase() const { return m_nBase; }
  int GetAccent() const { return m_nAccent; }
  double GetAccentX() const { return m_dAccentX; }
  double GetAccentY() const { return m_dAccentY; }

  // There were more stems than a glyph can keep.
  bool AreStemsLost() const { return m_bStemsLost; }

protected:
  void OnWidth(double dBearingX, double dBearingY, double dWidth) override;
  void OnStem(bool bVertical, double dEdge, double dWidth) override;
  void OnStem3(bool bVertical, const double (&d)[6]) override;
  void OnHintReplacement() override;
  void OnMove(double dX, double dY) override;
  void OnSetPoint(double dX, double dY) override;
  void OnLine(double dX, double dY) override;
  void OnCurve(double dX1, double dY1, double dX2, double dY2, double dX3, double dY3) override;
  void OnFlex(const double (&d)[12]) override;
  void OnSeac(double dX, double dY, int nBase, int nAccent) override;
  void OnEnd() override;

private:
  int AddStem(bool bVertical, double dEdge, double dWidth);
  void FlushHints();

  FONT::CGlyph& m_glyph;
  FONT::TStemMask m_active{};
  bool m_bHintsChanged = false;
  bool m_bStemsLost = false;
  bool m_bAccent = false;
  int m_nBase = 0;
  int m_nAccent = 0;
  double m_dAccentX = 0;
  double m_dAccentY = 0;
};

// Ends as soon as the width is known.
class CType1CharWidthParser : public CType1CharStringParser
{
public:
  using CType1CharStringParser::CType1CharStringParser;
  bool GetWidth(double& dWidth) const
  {
    dWidth = m_dWidth;
    return m_bWidth;
  }

protected:
  void OnWidth(double, double, double dWidth) override
  {
    m_dWidth = dWidth;
    m_bWidth = true;
    Stop();
  }

private:
  double m_dWidth = 0;
  bool m_bWidth = false;
};

}  // namespace PFB
