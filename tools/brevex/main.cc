#include <clocale>
#include <exception>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "Handle.h"
#include "EncryptionFlags.h"
#include "InfoCommand.h"
#include "Interruption.h"
#include "OptimizeCommand.h"
#include "Reporter.h"

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
  return command->verb == Tool::TVerb::Info ? Tool::RunInfo(command->info)
                                            : Tool::RunOptimize(command->optimize);
}

}  // namespace

int main(int nArguments, char** arguments)
{
  std::setlocale(LC_CTYPE, "");
  try
  {
    return static_cast<int>(Run(nArguments, arguments));
  }
  catch (const std::exception& exception)
  {
    Tool::WriteError(exception.what());
    return static_cast<int>(Tool::TExitCode::Internal);
  }
}
