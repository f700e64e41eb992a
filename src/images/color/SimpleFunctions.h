#pragma once

#include "images/color/Function.h"

namespace PDF
{

class CFunctionFactory;

// Type 2 (ISO 32000-1, 7.10.3): C0 + x^N (C1 - C0). There are as many outputs as "C0" has elements; where one
// of the two is absent, it is 0 or 1 for each element of the other one.
class CType2Function : public CFunction
{
public:
  CType2Function(const CObjectPtr& object, CColorAccount& account) : CFunction(object, account) {}

  // False if "N" is missing or "C0" and "C1" have different lengths.
  bool Load();

protected:
  bool OnEvaluate(const double* pInputs, double* pOutputs, int nCount) override;

private:
  BSE::CBasicArray<double> m_c0;
  BSE::CBasicArray<double> m_difference;
  double m_dExponent = 1;
};

// Type 3 (ISO 32000-1, 7.10.4): one function for each interval of the domain. The end of the domain belongs
// to the last one.
class CType3Function : public CFunction
{
public:
  CType3Function(const CObjectPtr& object, CColorAccount& account) : CFunction(object, account) {}

  // False if an entry is missing, "Bounds" or "Encode" are too short, or the functions do not fit together.
  // Elements beyond the needed ones are traced and not used.
  bool Load(CFunctionFactory& factory);

protected:
  bool OnEvaluate(const double* pInputs, double* pOutputs, int nCount) override;

private:
  bool LoadFunctions(CFunctionFactory& factory);
  int FindInterval(double d) const;
  double Encode(int nInterval, double d) const;

  BSE::CObjectArray<CFunction> m_functions;
  BSE::CBasicArray<double> m_bounds;  // with both ends of the domain
  BSE::CBasicArray<TRange> m_encode;
  BSE::CBasicArray<double> m_encoded;
  bool m_bAscending = true;
};

// Functions of one output each that act as one: what a shading has in place of a function.
class CFunctionArray : public CFunction
{
public:
  CFunctionArray(const CObjectPtr& object, CColorAccount& account) : CFunction(object, account) {}
  bool Load(CFunctionFactory& factory);

protected:
  bool OnEvaluate(const double* pInputs, double* pOutputs, int nCount) override;

private:
  BSE::CObjectArray<CFunction> m_functions;
  BSE::CBasicArray<double> m_column;
};

}  // namespace PDF
