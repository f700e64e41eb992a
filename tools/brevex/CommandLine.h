#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ExitCode.h"
#include "OptimizeOptions.h"

namespace Tool
{

enum class TVerb
{
  Optimize,
  Info,
  List,
  Extract
};

// What the verb info was asked to do.
struct TInfoOptions
{
  std::vector<std::string> paths;
  std::optional<std::string> sPassword;
  bool bJson = false;
};

// What the verbs list and extract were asked to do.
struct TResourceOptions
{
  bool bFonts = false;  // else images
  std::string sPath;
  std::string sFolder = ".";  // for extract
  std::optional<std::string> sPassword;
  bool bJson = false;
};

struct TCommand
{
  TVerb verb = TVerb::Optimize;
  TOptimizeOptions optimize;
  TInfoOptions info;
  TResourceOptions resources;
};

// Reads the arguments after the program's name. Where there is nothing to run, after --help or a mistake,
// the text has been written and exitCode is what to end with.
std::optional<TCommand> ParseCommandLine(std::vector<std::string> arguments, TExitCode& exitCode);

}  // namespace Tool
