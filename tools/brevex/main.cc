#include <clocale>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "EncryptionFlags.h"
#include "ExitCode.h"
#include "Handle.h"
#include "InfoCommand.h"
#include "Interruption.h"
#include "OptimizeCommand.h"
#include "Reporter.h"
#include "ResourceCommand.h"

namespace
{

Tool::TExitCode Run(int nArguments, char** arguments)
{
  const Tool::CLibrary library;
  Tool::TExitCode exitCode = Tool::TExitCode::Internal;
  const std::vector<std::string> texts(arguments + 1, arguments + nArguments);
  Tool::HidePasswords(nArguments, arguments);
  const auto command = Tool::ParseCommandLine(texts, exitCode);
  if (!command)
  {
    return exitCode;
  }
  Tool::HandleInterruption();
  switch (command->verb)
  {
  case Tool::TVerb::Info:
    return Tool::RunInfo(command->info);
  case Tool::TVerb::List:
    return Tool::RunList(command->resources);
  case Tool::TVerb::Extract:
    return Tool::RunExtract(command->resources);
  case Tool::TVerb::Optimize:
    break;
  }
  return Tool::RunOptimize(command->optimize);
}

// What was written to standard output may not have arrived.
Tool::TExitCode CheckStandardOutput(Tool::TExitCode exitCode)
{
  const bool bWritten = std::cout.flush() && std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
  if (!bWritten)
  {
    Tool::WriteError("cannot write standard output");
  }
  return bWritten ? exitCode : Tool::GetWorse(exitCode, Tool::TExitCode::Output);
}

}  // namespace

int main(int nArguments, char** arguments)
{
  std::setlocale(LC_CTYPE, "");
  try
  {
    return static_cast<int>(CheckStandardOutput(Run(nArguments, arguments)));
  }
  catch (const std::exception& exception)
  {
    Tool::WriteException("", exception);
    return static_cast<int>(Tool::TExitCode::Internal);
  }
}
