#pragma once

#include <cstddef>
#include <exception>
#include <mutex>
#include <string>

#include "FileResult.h"
#include "OptimizeOptions.h"

namespace Tool
{

// Tells the user what happens: a line that is rewritten on a terminal, one line per file, JSON objects on
// standard output. Any thread.
class CReporter
{
public:
  CReporter(const TOptimizeOptions& options, size_t nFiles);

  void OnStart(const std::string& sInput);
  void OnDone(const TFileResult& result);
  // A total, if there was more than one file.
  void OnEnd();

private:
  void ClearProgress();

  std::mutex m_lock;
  size_t m_nFiles;
  size_t m_nStarted = 0;
  size_t m_nFailed = 0;
  std::int64_t m_nInputBytes = 0;
  std::int64_t m_nOutputBytes = 0;
  bool m_bProgress;
  bool m_bLines;
  bool m_bJson;
  bool m_bVerbose;
  bool m_bProgressShown = false;
};

// Written to standard error with the program's name before it.
void WriteError(const std::string& sMessage);

// The same for what an exception says, about a file if there is a name. Needs no memory.
void WriteException(const std::string& sFile, const std::exception& exception) noexcept;

}  // namespace Tool
