#pragma once

#include "fonts/cff/Index.h"
#include "fonts/cff/Types.h"

namespace CFF
{

// What a charstring needs to run.
struct TType2Context
{
  const CIndex* m_pGlobalSubrs;
  const CIndex* m_pSubrs;
  double m_dDefaultWidth;
  double m_dNominalWidth;
};

// What a call adds to the number of a subroutine, so that short numbers reach more of them.
int GetSubrBias(int nCount);

// Runs a Type 2 charstring (Adobe Technical Note 5177) and calls one operation for what each operator does.
// Lengths are relative to the current point. Stack, depth and steps are bounded.
class CType2Parser
{
public:
  explicit CType2Parser(const TType2Context& context) : m_context(context) {}
  CType2Parser(const CType2Parser&) = delete;
  CType2Parser& operator=(const CType2Parser&) = delete;
  virtual ~CType2Parser() = default;

  // False, with a trace line, for a charstring that cannot be run; what came before the fault has been
  // called. One that does not end is taken to end with its data.
  bool Parse(TData charString);

  // The steps of all runs, which are their cost.
  std::int64_t GetWork() const { return m_nWork; }

protected:
  // A call, and the place of the number that it takes, if that is right before the operator.
  struct TCall
  {
    bool m_bGlobal;
    int m_nSubr;
    TData m_caller;
    int m_nOffset;  // -1 if the number is elsewhere
    int m_nLength;
  };

  // Before all others; bGiven unless it is the default width.
  virtual void OnWidth(double, bool /*bGiven*/) {}
  virtual void OnStem(bool /*bVertical*/, double /*dEdge*/, double /*dWidth*/) {}
  virtual void OnHintMask(TData) {}
  virtual void OnCounterMask(TData) {}
  virtual void OnMove(double, double) {}
  virtual void OnLine(double, double) {}
  virtual void OnCurve(double, double, double, double, double, double) {}

  // The two curves of a flex.
  virtual void OnFlex(const double (&d)[12]);

  // The end of an accented letter: two letters by their codes in Standard Encoding, the accent moved.
  virtual void OnSeac(double /*dX*/, double /*dY*/, int /*nBase*/, int /*nAccent*/) {}
  virtual void OnEnd() {}
  virtual void OnCall(const TCall&) {}

  // Ends the run with success.
  void Stop() { m_bStop = true; }

private:
  static constexpr int g_nStackSize = 513;
  static constexpr int g_nMaxDepth = 32;
  static constexpr int g_nTransients = 32;

  bool Run();
  bool ReadNumber(int nByte, BSE::CByteCursor& cursor);
  bool Execute(int nOperator, BSE::CByteCursor& cursor);
  bool ExecuteHint(int nOperator, BSE::CByteCursor& cursor);
  bool ExecuteMove(int nOperator);
  bool ExecuteLines(int nOperator);
  bool ExecuteCurves(int nOperator);
  void ExecuteStraightCurves(bool bVertical);
  void ExecuteAlternatingCurves(bool bVertical);
  bool ExecuteFlex(int nOperator);
  bool ExecuteArithmetic(int nOperator);
  bool ExecuteStack(int nOperator);
  bool ExecuteEnd();
  bool Call(bool bGlobal);
  void TakeStems(bool bVertical);
  void TakeWidth(bool bGiven);
  bool Push(double dValue);
  double Pop() { return m_stack[--m_nStack]; }
  bool Needs(int nCount);
  static bool Fail(const char* szText);

  struct TFrame
  {
    TData m_data;
    std::size_t m_nOffset;
  };

  TType2Context m_context;
  double m_stack[g_nStackSize];
  double m_transients[g_nTransients];
  TFrame m_frames[g_nMaxDepth];
  int m_nStack = 0;
  int m_nDepth = 0;
  int m_nStems = 0;
  int m_nNumberAt = -1;
  bool m_bWidthTaken = false;
  bool m_bStop = false;
  std::int64_t m_nWork = 0;
  std::int64_t m_nWorkLimit = 0;
};

}  // namespace CFF
