#pragma once

#include <brevex/brevex.h>

#include <cstdint>
#include <string>
#include <vector>

#include "ExitCode.h"

namespace Tool
{

enum class TOutcome
{
  Smaller,  // the output is the optimized document
  Larger,   // the same, and it is not smaller
  NoGain,   // the output is the input
  Failed
};

// What the library reported while it opened or saved the document.
struct TReport
{
  TBrevexReport report;
  std::string sMessage;  // UTF-8; empty for a code without a text
};

// What became of one input.
struct TFileResult
{
  std::string sInput;
  std::string sOutput;
  TOutcome outcome = TOutcome::Failed;
  TExitCode exitCode = TExitCode::Done;
  std::int64_t nInputBytes = 0;
  std::int64_t nOutputBytes = 0;
  int nPages = 0;
  double dSeconds = 0;
  std::vector<std::string> losses;  // names of GetLosses
  std::vector<TReport> reports;
  std::uint64_t nLosses = 0;  // things of the input that are missing in the output
  std::vector<TBrevexImage> images;
  std::string sError;  // for a failure outside the library
};

}  // namespace Tool
