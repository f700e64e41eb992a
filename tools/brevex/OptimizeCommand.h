#pragma once

#include "ExitCode.h"
#include "OptimizeOptions.h"

namespace Tool
{

// The verb optimize: all its files, some at a time, each on one thread. The worst exit code of all.
TExitCode RunOptimize(const TOptimizeOptions& options);

}  // namespace Tool
