#pragma once

#include "base/BasicArray.h"

#include <cstdint>
#include <span>

namespace PDF
{

// The part of PostScript that functions are written in (ISO 32000-1, 7.10.5.2), compiled once into a flat
// program and run for each point. A block is a jump over its body, which "if" and "ifelse" turn into one that
// depends on a condition: there are no loops, and no calls. Integers have 32 bits; a result that does not fit
// is a real one. An operator for integers or booleans takes any value and converts it.
class CCalculator
{
public:
  static constexpr int g_nStackSize = 200;

  // False, with a trace line, for unknown operators and malformed text. What follows the outermost block is
  // not looked at. Once for each object.
  bool Compile(std::span<const unsigned char> text);

  // Runs with these inputs on an empty stack; the top of the stack becomes the outputs. False, with a trace
  // line, where the program stopped early or leaves too few values; outputs that are missing are 0.
  bool Run(std::span<const double> inputs, std::span<double> outputs);

  // Units of work of a run at most, as CColorAccount counts them.
  std::int64_t GetWork() const { return m_nWork; }

  // Bytes that the program takes.
  std::int64_t GetMemory() const { return std::int64_t{m_program.GetSize()} * std::int64_t{sizeof(TEntry)}; }

private:
  friend class CCalculatorCompiler;

  enum TKind : int
  {
    eIntegerEntry,
    eRealEntry,
    eBooleanEntry,
    eOperatorEntry,
    eBlockEntry,  // goes on at the entry of its number
    eJumpEntry    // the same if the value that it takes from the stack is false
  };
  struct TEntry
  {
    TKind m_nKind;
    int m_nValue;  // of an integer, boolean, operator or the target of a jump
    double m_dValue;
  };

  bool Execute();
  bool ExecuteOperator(int nOperator);
  bool ExecuteArithmetic(int nOperator);
  bool ExecuteDivision(int nOperator);
  bool ExecuteReal(int nOperator);
  bool ExecuteRounding(int nOperator);
  bool ExecuteComparison(int nOperator);
  bool ExecuteLogic(int nOperator);
  bool ExecuteStack(int nOperator);
  bool Copy();
  bool Index();
  bool Roll();

  void PushInteger(std::int64_t n);
  void PushReal(double d) { m_stack[m_nStack++] = {eRealEntry, 0, d}; }
  void PushBoolean(bool b) { m_stack[m_nStack++] = {eBooleanEntry, b ? 1 : 0, b ? 1.0 : 0.0}; }
  const TEntry& Pop() { return m_stack[--m_nStack]; }
  static int ToInteger(const TEntry& value);
  static bool Stop(const char* szMessage);

  BSE::CBasicArray<TEntry> m_program;
  std::int64_t m_nWork = 1;
  int m_nStack = 0;
  TEntry m_stack[g_nStackSize] = {};  // numbers have their value in m_dValue whatever their kind
};

}  // namespace PDF
