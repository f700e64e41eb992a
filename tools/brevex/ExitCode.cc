#include "ExitCode.h"

#include <brevex/brevex.h>

namespace Tool
{

TExitCode GetReportExitCode(std::uint32_t nStatus)
{
  constexpr std::uint32_t nError = 0x80000000U;
  // Header, cross-reference data, trailer, and the frame of objects: what a repair finds again whole.
  constexpr std::uint32_t nFirstStructure = 0x80410101U;
  constexpr std::uint32_t nLastStructure = 0x80410308U;
  const bool bRepaired = nStatus >= nFirstStructure && nStatus <= nLastStructure;
  return (nStatus & nError) == 0 || bRepaired ? TExitCode::Done : TExitCode::Warnings;
}

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
    // Numbers of errno come from the system's calls on the output; the rest tells of the document.
    return nStatus <= 32767 ? TExitCode::Output : TExitCode::Input;
  }
}

}  // namespace Tool
