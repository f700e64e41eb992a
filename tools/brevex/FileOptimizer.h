#pragma once

#include "FileResult.h"
#include "OptimizeOptions.h"
#include "TaskList.h"

namespace Tool
{

// Optimizes one input into one output, with a handle of its own. The output appears only when it is complete.
// Any thread.
class CFileOptimizer
{
public:
  // The options are borrowed.
  explicit CFileOptimizer(const TOptimizeOptions& options) : m_options(options) {}

  TFileResult Run(const TTask& task) const;

private:
  void Optimize(const TTask& task, TFileResult& result) const;

  const TOptimizeOptions& m_options;
};

}  // namespace Tool
