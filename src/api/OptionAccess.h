#pragma once

#include "api/OptimizerHandle.h"

namespace API
{

// Options as the interface passes them: in types of C outside, in those of the record inside. A null handle
// reads as 0 and is not written.

template <class TResult, class TField>
TResult GetOption(TBrevexHandle* pHandle, TField PDF::TOptimizerOptions::*pField)
{
  return pHandle != nullptr ? static_cast<TResult>(pHandle->GetOptimizer().GetOptions().*pField) : TResult{};
}

template <class TField, class TValue>
void SetOption(TBrevexHandle* pHandle, TField PDF::TOptimizerOptions::*pField, TValue value)
{
  if (pHandle != nullptr)
    pHandle->GetOptimizer().GetOptions().*pField = static_cast<TField>(value);
}

// Options with a rule go through an operation of the record.
template <class TArgument, class TValue>
void ApplyOption(TBrevexHandle* pHandle, void (PDF::TOptimizerOptions::*pRule)(TArgument), TValue value)
{
  if (pHandle != nullptr)
    (pHandle->GetOptimizer().GetOptions().*pRule)(static_cast<TArgument>(value));
}

}  // namespace API
