#pragma once

#include "images/color/Calculator.h"
#include "images/color/Function.h"

namespace PDF
{

// Type 4 (ISO 32000-1, 7.10.5): a program in a part of PostScript. Outputs are what the program leaves on top
// of the stack; where it stops early they are what is there, and 0 for those that are missing, which is
// reported once as a loss.
class CType4Function : public CFunction
{
public:
  CType4Function(const CObjectPtr& object, CColorAccount& account) : CFunction(object, account) {}

  // False if an entry is missing or the program cannot be compiled.
  bool Load();

protected:
  bool OnEvaluate(const double* pInputs, double* pOutputs, int nCount) override;

private:
  CCalculator m_calculator;
};

}  // namespace PDF
