#include "OptimizeCommand.h"

#include <algorithm>
#include <atomic>
#include <exception>
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

// What ends here is a report that there was no memory for: the other files are still done.
TExitCode RunTask(const CFileOptimizer& optimizer, const TTask& task, CReporter& reporter)
{
  try
  {
    reporter.OnStart(task.sInput);
    const TFileResult result = optimizer.Run(task);
    reporter.OnDone(result);
    return result.exitCode;
  }
  catch (const std::exception& exception)
  {
    WriteException(task.sInput, exception);
    return TExitCode::Internal;
  }
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
  for (const std::string& sError : list.unread)
  {
    WriteError(sError);
  }
  for (const std::string& sFlag : options.pendingFlags)
  {
    WriteError(sFlag + " has no effect yet");
  }
  if (!options.sColorEngine.empty())
  {
    BrevexSetCMSEngineA(options.sColorEngine.c_str());
  }

  CReporter reporter(options, list.tasks.size());
  const CFileOptimizer optimizer(options);
  std::vector<TExitCode> codes(list.tasks.size(), TExitCode::Internal);
  std::atomic<size_t> nNext{0};
  const auto work = [&]
  {
    for (size_t i = nNext++; i < list.tasks.size(); i = nNext++)
    {
      codes[i] = RunTask(optimizer, list.tasks[i], reporter);
    }
  };
  std::vector<std::thread> threads;
  threads.reserve(CountThreads(options, list.tasks.size()));
  try
  {
    while (threads.size() + 1 < CountThreads(options, list.tasks.size()))
    {
      threads.emplace_back(work);
    }
  }
  catch (const std::exception&)
  {
    // Those that could be started do the work, and this one.
  }
  work();
  for (std::thread& thread : threads)
  {
    thread.join();
  }
  reporter.OnEnd();
  codes.push_back(list.unread.empty() ? TExitCode::Done : TExitCode::Input);
  return *std::max_element(codes.begin(), codes.end());
}

}  // namespace Tool
