#pragma once

#include <functional>
#include <string>

#include "SettingFlags.h"

namespace Tool
{

// A setter with its value, or why the text is no value for it.
struct TParsedSetting
{
  std::function<void(TBrevexHandle*)> apply;
  std::string sError;
};

// The text of the command line for this flag. For a TBoolSetting: "true" or "false".
TParsedSetting ParseSetting(const TSettingFlag& flag, const std::string& sText);

// The values that the flag takes, for the help: "DPI", "0-100", "raw, flate".
std::string DescribeValues(const TSettingFlag& flag);

}  // namespace Tool
