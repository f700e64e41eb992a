#pragma once

#include <algorithm>
#include <cstdint>
#include <exception>
#include <string>

namespace Tool
{

// What the program ends with; with many inputs the largest of them. Documented in the manual page.
enum class TExitCode
{
  Done = 0,
  Warnings = 1,  // done, but something of the input is missing in the output
  Usage = 2,
  Input = 3,   // the input cannot be opened, is no PDF file, or is encrypted with an unknown password
  Output = 4,  // the output cannot be written
  Internal = 5
};

inline TExitCode GetWorse(TExitCode first, TExitCode second)
{
  return std::max(first, second);
}

// The exit code for the status code that a failed save left.
TExitCode GetSaveExitCode(std::uint32_t nStatus);

// What to say to a user of an exception.
std::string GetReason(const std::exception& exception);

}  // namespace Tool
