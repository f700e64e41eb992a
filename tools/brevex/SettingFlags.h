#pragma once

#include <brevex/brevex.h>

#include <span>
#include <variant>

#include "Names.h"

namespace Tool
{

struct TBoolSetting
{
  void (*pfSet)(TBrevexHandle*, int);
};

struct TDpiSetting
{
  void (*pfSet)(TBrevexHandle*, float);
  bool bNegative;  // whether a value below 0 has a meaning
};

struct TRangeSetting
{
  void (*pfSet)(TBrevexHandle*, int);
  int nFirst;
  int nLast;
};

struct TNameSetting
{
  void (*pfSet)(TBrevexHandle*, int);
  TNames (*pfNames)();
  unsigned nAllowed;  // bit n: the value n
};

struct TSetSetting
{
  void (*pfSet)(TBrevexHandle*, unsigned);
  TNames (*pfNames)();
  unsigned nAllowed;  // the bits that the library keeps
};

// What a flag does besides storing a value.
enum class TEffect
{
  None,
  Content,  // it asks for more than a smaller file, so a larger one is kept
  Version,  // the library may set a target version on its own
  Pending   // nothing yet, which is told to who uses it
};

// A flag of the command line for a setter of the library.
struct TSettingFlag
{
  const char* szName;  // that of the setter, in words
  const char* szGroup;
  const char* szHelp;
  TEffect effect;
  std::variant<TBoolSetting, TDpiSetting, TRangeSetting, TNameSetting, TSetSetting> setting;
};

// All of them, in the order in which they are applied: general ones before those they contain.
std::span<const TSettingFlag> GetSettingFlags();

}  // namespace Tool
