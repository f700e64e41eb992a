#pragma once

#include <brevex/brevex.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "EncryptionOptions.h"
#include "Names.h"

namespace Tool
{

enum class TProgressMode
{
  Auto,
  Always,
  Never
};

// What the verb optimize was asked to do.
struct TOptimizeOptions
{
  unsigned nProfile = g_nProfileLossless;
  std::string sPdfVersion = "auto";  // also "keep", or a version
  std::vector<std::function<void(TBrevexHandle*)>> settings;
  std::vector<std::pair<std::string, std::string>> infoEntries;
  std::vector<std::pair<std::string, std::string>> fontNames;  // old and new
  std::vector<std::string> unembeddedFonts;
  std::vector<std::pair<std::string, std::string>> embeddedFonts;  // and their files, empty for none
  std::optional<std::string> sPassword;
  TEncryptionOptions encryption;
  std::string sColorEngine;
  bool bSetsVersion = false;  // the settings may set a target version
  bool bAllowLarger = false;
  std::vector<std::string> pendingFlags;  // those given that have no effect yet

  std::vector<std::string> paths;
  std::string sOutputFolder;
  bool bInPlace = false;
  bool bRecursive = false;
  unsigned nJobs = 1;

  TProgressMode progress = TProgressMode::Auto;
  bool bJson = false;
  bool bQuiet = false;
  bool bVerbose = false;
};

// Sets the profile, then the single options.
void ApplyOptions(TBrevexHandle* pHandle, const TOptimizeOptions& options);

// What the options of the handle allow to get lost, by names that are stable: "strip-" with the name of each
// feature. Empty for a lossless run. Options that have no effect yet cost nothing.
std::vector<std::string> GetLosses(TBrevexHandle* pHandle);

}  // namespace Tool
