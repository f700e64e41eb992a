#pragma once

#include "api/OptimizerHandle.h"

#include <new>

namespace API
{

// The way from an exported function into the library: a null handle gives the neutral value, and every
// exception ends here.

// For functions that report: an exception leaves its code with the handle.
template <class TResult, class TFunction>
TResult Call(TBrevexHandle* pHandle, TResult neutral, TFunction fnBody) noexcept
{
  if (pHandle == nullptr)
    return neutral;
  try
  {
    return fnBody(*pHandle);
  }
  catch (const BSE::CContextError* pError)
  {
    pHandle->Fail(pError->GetCode());
  }
  catch (const std::bad_alloc&)
  {
    pHandle->Fail(BSE::g_nOutOfMemory);
  }
  catch (...)
  {
    pHandle->Fail(BSE::g_nUnknownFatalError);
  }
  return neutral;
}

// For functions that leave the error code alone.
template <class TResult, class TFunction>
TResult CallQuietly(TBrevexHandle* pHandle, TResult neutral, TFunction fnBody) noexcept
{
  if (pHandle == nullptr)
    return neutral;
  try
  {
    return fnBody(*pHandle);
  }
  catch (...)
  {
    return neutral;
  }
}

}  // namespace API
