#include "tests/support/Process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "tests/support/TempFolder.h"

namespace Support
{
namespace
{

// Standard streams go through files, so that no pipe can fill up and block.
[[noreturn]] void BecomeProgram(const std::vector<std::string>& command, const CTempFolder& streams,
                                const std::string& sFolder, int nSeconds)
{
  const int nIn = open((streams / "in").c_str(), O_RDONLY | O_CLOEXEC);
  const int nOut = open((streams / "out").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  const int nErr = open((streams / "err").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  const bool bReady = dup2(nIn, 0) == 0 && dup2(nOut, 1) == 1 && dup2(nErr, 2) == 2 &&
                      (sFolder.empty() || chdir(sFolder.c_str()) == 0);
  if (bReady)
  {
    std::vector<char*> arguments;
    for (const std::string& s : command)
      arguments.push_back(const_cast<char*>(s.c_str()));
    arguments.push_back(nullptr);
    const auto nLimit = static_cast<rlim_t>(nSeconds);
    const rlimit limit = {nLimit, nLimit + 1};
    setrlimit(RLIMIT_CPU, &limit);
    alarm(10 * static_cast<unsigned>(nSeconds));
    execvp(arguments[0], arguments.data());
  }
  _exit(127);
}

}  // namespace

TProcessResult RunProgram(const std::vector<std::string>& command, std::string_view sInput,
                          const std::string& sFolder, int nSeconds)
{
  const CTempFolder streams;
  WriteFile(streams / "in", sInput);
  const pid_t nProcess = fork();
  if (nProcess == 0)
    BecomeProgram(command, streams, sFolder, nSeconds);
  int nStatus = 0;
  if (nProcess < 0 || waitpid(nProcess, &nStatus, 0) != nProcess ||
      (WIFEXITED(nStatus) && WEXITSTATUS(nStatus) == 127))
    throw std::runtime_error("cannot run " + command.at(0));
  TProcessResult result;
  result.nExitCode = WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : 128 + WTERMSIG(nStatus);
  result.sOut = ReadFile(streams / "out");
  result.sErr = ReadFile(streams / "err");
  return result;
}

bool HasProgram(const std::string& sName)
{
  const char* szPath = std::getenv("PATH");
  std::istringstream folders(szPath != nullptr ? szPath : "");
  for (std::string sFolder; std::getline(folders, sFolder, ':');)
    if (access((std::filesystem::path(sFolder) / sName).c_str(), X_OK) == 0)
      return true;
  return false;
}

}  // namespace Support
