#pragma once

#include "CommandLine.h"
#include "ExitCode.h"

namespace Tool
{

// The verb info: what the library says of each file, on standard output. The worst exit code of all.
TExitCode RunInfo(const TInfoOptions& options);

}  // namespace Tool
