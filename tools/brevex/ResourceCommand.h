#pragma once

#include "CommandLine.h"

namespace Tool
{

// The verbs list and extract.
TExitCode RunList(const TResourceOptions& options);
TExitCode RunExtract(const TResourceOptions& options);

}  // namespace Tool
