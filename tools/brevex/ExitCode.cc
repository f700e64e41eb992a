#include "ExitCode.h"

#include <brevex/brevex.h>

#include <new>

namespace Tool
{

TExitCode GetSaveExitCode(std::uint32_t nStatus)
{
  switch (nStatus)
  {
  case BREVEX_STATUS_BAD_COMPLIANCE:
  case BREVEX_STATUS_BAD_ENCRYPTION:
  case BREVEX_STATUS_ENCRYPTED_ARCHIVE:
    return TExitCode::Usage;
  case BREVEX_STATUS_WRITE_FAILED:
  case BREVEX_STATUS_CREATE_FAILED:
    return TExitCode::Output;
  case BREVEX_STATUS_SUCCESS:
  case BREVEX_STATUS_INVALID_OPERATION:
  case BREVEX_STATUS_OUT_OF_MEMORY:
  case BREVEX_STATUS_FATAL:
  case BREVEX_STATUS_LINEARIZE_FAILED:
    return TExitCode::Internal;
  default:
    // Numbers of errno come from the system's calls on the output; the rest says of the document.
    return nStatus <= 32767 ? TExitCode::Output : TExitCode::Input;
  }
}

std::string GetReason(const std::exception& exception)
{
  return dynamic_cast<const std::bad_alloc*>(&exception) ? "there is not enough memory" : exception.what();
}

}  // namespace Tool
