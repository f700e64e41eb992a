#pragma once

#include <string>
#include <vector>

#include "OptimizeOptions.h"

namespace Tool
{

struct TTask
{
  std::string sInput;
  std::string sOutput;
};

// What there is to do, or why that is not known.
struct TTaskList
{
  std::vector<TTask> tasks;
  std::vector<std::string> unread;  // why folders, or parts of them, are missing
  std::string sError;
};

// Pairs inputs with outputs. Folders give their files *.pdf in the order of their names, and keep their
// structure below the output folder; folders that cannot be read are left out. An error when a folder is
// given without --recursive, when two inputs would have the same output, and when an output folder would take
// the place of an output file.
TTaskList MakeTaskList(const TOptimizeOptions& options);

}  // namespace Tool
