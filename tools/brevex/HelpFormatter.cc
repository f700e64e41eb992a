#include "HelpFormatter.h"

#include <sstream>

namespace Tool
{
namespace
{

constexpr size_t g_nColumn = 32;
constexpr size_t g_nWidth = 110;

// "--linearize,--no-linearize{false}" as "--[no-]linearize".
std::string ShortenNegated(const std::string& sNames)
{
  const size_t nComma = sNames.find(",--no-");
  return nComma == std::string::npos ? sNames : "--[no-]" + sNames.substr(2, nComma - 2);
}

}  // namespace

CHelpFormatter::CHelpFormatter()
{
  column_width(g_nColumn);
}

std::string CHelpFormatter::make_usage(const CLI::App* pApp, std::string sName) const
{
  return "Usage: " + (sName.empty() ? pApp->get_name() + " [VERB]" : sName) + " [OPTIONS] FILE...\n";
}

std::string CHelpFormatter::make_option(const CLI::Option* pOption, bool bPositional) const
{
  std::string sLine = "  " + ShortenNegated(pOption->get_name(bPositional, true));
  if (pOption->get_type_size() != 0 && !bPositional)
  {
    const std::string sType = pOption->get_type_name();
    sLine += " " + sType.substr(0, sType.find(':'));
  }
  if (sLine.size() + 1 > g_nColumn)
  {
    sLine += "\n" + std::string(g_nColumn, ' ');
  }
  else
  {
    sLine.resize(g_nColumn, ' ');
  }

  std::istringstream words(pOption->get_description());
  size_t nAt = g_nColumn;
  for (std::string sWord; words >> sWord;)
  {
    if (nAt + 1 + sWord.size() > g_nWidth)
    {
      sLine += "\n" + std::string(g_nColumn, ' ');
      nAt = g_nColumn;
    }
    const bool bFirst = nAt == g_nColumn;
    sLine += (bFirst ? "" : " ") + sWord;
    nAt += sWord.size() + (bFirst ? 0 : 1);
  }
  return sLine + "\n";
}

}  // namespace Tool
