#pragma once

#include <span>

namespace PDF
{

// The operators of the calculator, in the order of their names.
enum TCalculatorOperator : int
{
  eOpAbs,
  eOpAdd,
  eOpAnd,
  eOpAtan,
  eOpBitshift,
  eOpCeiling,
  eOpCopy,
  eOpCos,
  eOpCvi,
  eOpCvr,
  eOpDiv,
  eOpDup,
  eOpEq,
  eOpExch,
  eOpExp,
  eOpFalse,
  eOpFloor,
  eOpGe,
  eOpGt,
  eOpIdiv,
  eOpIf,
  eOpIfelse,
  eOpIndex,
  eOpLe,
  eOpLn,
  eOpLog,
  eOpLt,
  eOpMod,
  eOpMul,
  eOpNe,
  eOpNeg,
  eOpNot,
  eOpOr,
  eOpPop,
  eOpRoll,
  eOpRound,
  eOpSin,
  eOpSqrt,
  eOpSub,
  eOpTrue,
  eOpTruncate,
  eOpXor,
  eOperatorCount
};

// Name, and what an operator takes from the stack and leaves there, besides what a count on the stack says.
struct TCalculatorRow
{
  const char* m_szName;
  signed char m_nTaken;
  signed char m_nLeft;
};
inline constexpr TCalculatorRow g_calculatorTable[eOperatorCount] = {
    {"abs", 1, 1},  {"add", 2, 1},  {"and", 2, 1}, {"atan", 2, 1},   {"bitshift", 2, 1}, {"ceiling", 1, 1},
    {"copy", 1, 0}, {"cos", 1, 1},  {"cvi", 1, 1}, {"cvr", 1, 1},    {"div", 2, 1},      {"dup", 1, 2},
    {"eq", 2, 1},   {"exch", 2, 2}, {"exp", 2, 1}, {"false", 0, 1},  {"floor", 1, 1},    {"ge", 2, 1},
    {"gt", 2, 1},   {"idiv", 2, 1}, {"if", 1, 0},  {"ifelse", 1, 0}, {"index", 1, 1},    {"le", 2, 1},
    {"ln", 1, 1},   {"log", 1, 1},  {"lt", 2, 1},  {"mod", 2, 1},    {"mul", 2, 1},      {"ne", 2, 1},
    {"neg", 1, 1},  {"not", 1, 1},  {"or", 2, 1},  {"pop", 1, 0},    {"roll", 2, 0},     {"round", 1, 1},
    {"sin", 1, 1},  {"sqrt", 1, 1}, {"sub", 2, 1}, {"true", 0, 1},   {"truncate", 1, 1}, {"xor", 2, 1}};

// The operator of a name, or -1.
int FindCalculatorOperator(std::span<const unsigned char> name);

}  // namespace PDF
