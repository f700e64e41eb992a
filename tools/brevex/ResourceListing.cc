#include "ResourceListing.h"

#include <cstdlib>
#include <sstream>

namespace Tool
{
namespace
{

enum class TForm
{
  Number,
  Name,  // with "#" and two digits for some bytes
  Yes,   // true for a word, false for the other one, absent for "N/A"
  Omitted
};

struct TColumn
{
  const char* szKey;
  TForm form;
  const char* szYes = "";
};

constexpr TColumn g_imageColumns[] = {{"page", TForm::Number},
                                      {"object", TForm::Number},
                                      {"width", TForm::Number},
                                      {"height", TForm::Number},
                                      {"bitsPerComponent", TForm::Number},
                                      {"colorSpace", TForm::Name},
                                      {"resolution", TForm::Number},
                                      {"filter", TForm::Name},
                                      {"sampleBytes", TForm::Number},
                                      {"bytes", TForm::Number},
                                      {"", TForm::Omitted},
                                      {"fileName", TForm::Name}};

constexpr TColumn g_fontColumns[] = {{"name", TForm::Name},
                                     {"type", TForm::Name},
                                     {"encoding", TForm::Name},
                                     {"composite", TForm::Yes, "CID"},
                                     {"embedded", TForm::Yes, "Embedded"},
                                     {"subset", TForm::Yes, "Subsetted"},
                                     {"fileName", TForm::Name}};

std::string Unescape(const std::string& sText)
{
  std::string sResult;
  for (size_t i = 0; i < sText.size(); ++i)
  {
    if (sText[i] == '#' && i + 2 < sText.size())
    {
      sResult += static_cast<char>(std::strtol(sText.substr(i + 1, 2).c_str(), nullptr, 16));
      i += 2;
      continue;
    }
    sResult += sText[i];
  }
  return sResult;
}

// The next column, which is in quotes if it may hold a comma.
std::string TakeColumn(std::string& sLine)
{
  const bool bQuoted = !sLine.empty() && sLine[0] == '"';
  const size_t nEnd = bQuoted ? sLine.find('"', 1) : sLine.find(", ");
  const std::string sColumn = bQuoted ? sLine.substr(1, nEnd - 1) : sLine.substr(0, nEnd);
  const size_t nNext = bQuoted && nEnd != std::string::npos ? nEnd + 3 : nEnd + 2;
  sLine = nEnd == std::string::npos || nNext >= sLine.size() ? "" : sLine.substr(nNext);
  return sColumn;
}

void AddColumn(CJsonObject& object, const TColumn& column, const std::string& sText)
{
  switch (column.form)
  {
  case TForm::Number:
    object.AddNumber(column.szKey, std::atoll(sText.c_str()));
    break;
  case TForm::Name:
    object.AddText(column.szKey, Unescape(sText));
    break;
  case TForm::Yes:
    if (sText != "N/A")
    {
      object.AddFlag(column.szKey, sText == column.szYes);
    }
    break;
  case TForm::Omitted:
    break;
  }
}

}  // namespace

std::vector<CJsonObject> ParseListing(const std::string& sListing, bool bFonts)
{
  std::vector<CJsonObject> objects;
  std::istringstream lines(sListing);
  std::string sLine;
  std::getline(lines, sLine);
  while (std::getline(lines, sLine))
  {
    CJsonObject object;
    if (bFonts)
    {
      for (const TColumn& column : g_fontColumns)
      {
        AddColumn(object, column, TakeColumn(sLine));
      }
    }
    else
    {
      for (const TColumn& column : g_imageColumns)
      {
        AddColumn(object, column, TakeColumn(sLine));
      }
    }
    objects.push_back(object);
  }
  return objects;
}

}  // namespace Tool
