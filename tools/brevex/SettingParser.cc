#include "SettingParser.h"

#include <charconv>
#include <cmath>
#include <optional>
#include <vector>

namespace Tool
{
namespace
{

template <class T>
std::optional<T> ParseNumber(const std::string& sText)
{
  T value{};
  const char* pEnd = sText.data() + sText.size();
  const auto [pRead, error] = std::from_chars(sText.data(), pEnd, value);
  return error == std::errc() && pRead == pEnd ? std::optional(value) : std::nullopt;
}

template <class T>
TParsedSetting MakeSetting(void (*pfSet)(TBrevexHandle*, T), T value)
{
  return {[pfSet, value](TBrevexHandle* pHandle) { pfSet(pHandle, value); }, {}};
}

std::string GetRange(const TRangeSetting& setting, const char* szBetween)
{
  return std::to_string(setting.nFirst) + szBetween + std::to_string(setting.nLast);
}

std::vector<TName> GetAllowed(const TNameSetting& setting)
{
  std::vector<TName> allowed;
  for (const TName& name : setting.pfNames())
  {
    if ((setting.nAllowed >> name.nValue & 1U) != 0)
    {
      allowed.push_back(name);
    }
  }
  return allowed;
}

std::vector<TName> GetAllowed(const TSetSetting& setting)
{
  std::vector<TName> allowed;
  for (const TName& name : setting.pfNames())
  {
    if ((setting.nAllowed & name.nValue) != 0)
    {
      allowed.push_back(name);
    }
  }
  return allowed;
}

struct TParser
{
  const std::string& sText;

  TParsedSetting operator()(const TBoolSetting& setting) const
  {
    return MakeSetting(setting.pfSet, sText == "true" ? 1 : 0);
  }

  TParsedSetting operator()(const TDpiSetting& setting) const
  {
    const std::optional<float> dValue = ParseNumber<float>(sText);
    if (!dValue || !std::isfinite(*dValue))
    {
      return {nullptr, "is no number"};
    }
    if (*dValue < 0 && !setting.bNegative)
    {
      return {nullptr, "must not be negative"};
    }
    return MakeSetting(setting.pfSet, *dValue);
  }

  TParsedSetting operator()(const TRangeSetting& setting) const
  {
    const std::optional<int> nValue = ParseNumber<int>(sText);
    if (!nValue || *nValue < setting.nFirst || *nValue > setting.nLast)
    {
      return {nullptr, "is no number from " + GetRange(setting, " to ")};
    }
    return MakeSetting(setting.pfSet, *nValue);
  }

  TParsedSetting operator()(const TNameSetting& setting) const
  {
    const std::vector<TName> allowed = GetAllowed(setting);
    const std::optional<unsigned> nValue = FindName(allowed, sText);
    if (!nValue)
    {
      return {nullptr, "is none of: " + JoinNames(allowed)};
    }
    return MakeSetting(setting.pfSet, static_cast<int>(*nValue));
  }

  TParsedSetting operator()(const TSetSetting& setting) const
  {
    const std::vector<TName> allowed = GetAllowed(setting);
    const std::optional<unsigned> nSet = ParseSet(allowed, sText);
    if (!nSet)
    {
      return {nullptr, "is no list, separated by commas, of: " + JoinNames(allowed) + "; nor none or all"};
    }
    return MakeSetting(setting.pfSet, *nSet);
  }
};

struct TDescriber
{
  std::string operator()(const TBoolSetting&) const { return {}; }
  std::string operator()(const TDpiSetting&) const { return "DPI"; }
  std::string operator()(const TRangeSetting& setting) const { return GetRange(setting, "-"); }
  std::string operator()(const TNameSetting& setting) const { return JoinNames(GetAllowed(setting)); }
  std::string operator()(const TSetSetting& setting) const
  {
    return JoinNames(GetAllowed(setting)) + "; none, all";
  }
};

}  // namespace

TParsedSetting ParseSetting(const TSettingFlag& flag, const std::string& sText)
{
  TParsedSetting parsed = std::visit(TParser{sText}, flag.setting);
  if (!parsed.sError.empty())
  {
    parsed.sError = "'" + sText + "' " + parsed.sError;
  }
  return parsed;
}

std::string DescribeValues(const TSettingFlag& flag)
{
  return std::visit(TDescriber{}, flag.setting);
}

}  // namespace Tool
