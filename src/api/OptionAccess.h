#pragma once

#include "api/OptimizerHandle.h"

namespace API
{

// Options as the interface passes them. A null handle reads as 0 and is not written.

inline int GetFlag(TBrevexHandle* pHandle, bool PDF::TOptimizerOptions::*pField)
{
  return pHandle != nullptr && pHandle->GetOptimizer().GetOptions().*pField ? 1 : 0;
}

inline void SetFlag(TBrevexHandle* pHandle, bool PDF::TOptimizerOptions::*pField, int bValue)
{
  if (pHandle != nullptr)
    pHandle->GetOptimizer().GetOptions().*pField = bValue != 0;
}

template <class TField>
TField GetNumber(TBrevexHandle* pHandle, TField PDF::TOptimizerOptions::*pField)
{
  return pHandle != nullptr ? pHandle->GetOptimizer().GetOptions().*pField : TField{};
}

template <class TField>
void SetNumber(TBrevexHandle* pHandle, TField PDF::TOptimizerOptions::*pField, TField nValue)
{
  if (pHandle != nullptr)
    pHandle->GetOptimizer().GetOptions().*pField = nValue;
}

// Dots per inch: 32 bits outside, 64 inside.
inline float GetDPI(TBrevexHandle* pHandle, double PDF::TOptimizerOptions::*pField)
{
  return static_cast<float>(GetNumber(pHandle, pField));
}

inline void SetDPI(TBrevexHandle* pHandle, double PDF::TOptimizerOptions::*pField, float dValue)
{
  SetNumber(pHandle, pField, static_cast<double>(dValue));
}

// Options with a rule go through an operation of the record.
template <class TArgument>
void Apply(TBrevexHandle* pHandle, void (PDF::TOptimizerOptions::*pSetter)(TArgument), TArgument value)
{
  if (pHandle != nullptr)
    (pHandle->GetOptimizer().GetOptions().*pSetter)(value);
}

}  // namespace API
