#include "base/Error.h"

namespace BSE
{

namespace
{

thread_local CScopedPtr<IError> g_pThreadError;

}  // namespace

IError* CTLSError::Get()
{
  return g_pThreadError.Get();
}

void CTLSError::Set(CScopedPtr<IError> pError)
{
  g_pThreadError = std::move(pError);
}

void CTLSError::SetSuccess()
{
  if (!g_pThreadError || g_pThreadError->GetCode() != 0)
    g_pThreadError.Reset(new CError(0));
}

}  // namespace BSE
