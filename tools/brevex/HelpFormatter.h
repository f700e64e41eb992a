#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace Tool
{

// The help texts: one column of flags with their values, one of wrapped descriptions, no word of the argument
// library's own terms.
class CHelpFormatter : public CLI::Formatter
{
public:
  CHelpFormatter();

protected:
  std::string make_usage(const CLI::App* pApp, std::string sName) const override;
  std::string make_option(const CLI::Option* pOption, bool bPositional) const override;
};

}  // namespace Tool
