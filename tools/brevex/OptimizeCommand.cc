#include "OptimizeCommand.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#include "FileOptimizer.h"
#include "Reporter.h"
#include "TaskList.h"

namespace Tool
{
namespace
{

size_t CountThreads(const TOptimizeOptions& options, size_t nTasks)
{
  const size_t nWanted =
      options.nJobs > 0 ? options.nJobs : std::max(1U, std::thread::hardware_concurrency());
  return std::min(nWanted, nTasks);
}

}  // namespace

TExitCode RunOptimize(const TOptimizeOptions& options)
{
  const TTaskList list = MakeTaskList(options);
  if (!list.sError.empty())
  {
    WriteError(list.sError);
    return TExitCode::Usage;
  }
  if (!options.sColorEngine.empty())
  {
    BrevexSetCMSEngineA(options.sColorEngine.c_str());
  }

  CReporter reporter(options, list.tasks.size());
  const CFileOptimizer optimizer(options);
  std::vector<TExitCode> codes(list.tasks.size(), TExitCode::Done);
  std::atomic<size_t> nNext{0};
  const auto work = [&]
  {
    for (size_t i = nNext++; i < list.tasks.size(); i = nNext++)
    {
      reporter.OnStart(list.tasks[i].sInput);
      const TFileResult result = optimizer.Run(list.tasks[i]);
      codes[i] = result.exitCode;
      reporter.OnDone(result);
    }
  };
  std::vector<std::thread> threads;
  for (size_t i = 1; i < CountThreads(options, list.tasks.size()); ++i)
  {
    threads.emplace_back(work);
  }
  work();
  for (std::thread& thread : threads)
  {
    thread.join();
  }
  reporter.OnEnd();
  return codes.empty() ? TExitCode::Done : *std::max_element(codes.begin(), codes.end());
}

}  // namespace Tool
