#include "base/APIErrorHandler.h"

namespace BSE
{

void CAPIErrorHandler::OnHandleError(CScopedPtr<IError>& pError)
{
  if (m_bLogging)
    CStreamErrorHandler::OnHandleError(pError);
  if (pError && m_bKeepLastError)
    m_pLastError = std::move(pError);
}

}  // namespace BSE
