#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Support
{

// What a program left behind. A death by signal n has the exit code 128 + n, as a shell has it.
struct TProcessResult
{
  int nExitCode = -1;
  std::string sOut;
  std::string sErr;
};

// Runs a program to its end with these arguments, the text as its standard input and, unless empty, the
// folder as its working directory. A program that has computed for nSeconds is killed, and one that sleeps
// for ten times as long: how many others a machine is busy with plays no part. Throws std::runtime_error when
// the program cannot be started.
TProcessResult RunProgram(const std::vector<std::string>& command, std::string_view sInput = {},
                          const std::string& sFolder = {}, int nSeconds = 60);

// Whether a program of this name is on the path.
bool HasProgram(const std::string& sName);

}  // namespace Support
