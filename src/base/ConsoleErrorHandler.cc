#include "base/ConsoleErrorHandler.h"

#include "base/StreamErrorHandler.h"

namespace BSE
{

void CConsoleErrorHandler::OnHandleError(CScopedPtr<IError>& pError)
{
  if (!pError || !m_pFile)
    return;
  CStr8 text;
  AppendErrorText(*pError, m_nIndent, m_bVerbose, text);
  std::fputs(text.GetText(), m_pFile);
  std::fflush(m_pFile);
}

}  // namespace BSE
