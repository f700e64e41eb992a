#include "JsonObject.h"

#include <cstdio>

#include "Text.h"

namespace Tool
{

std::string QuoteJson(std::string_view sText)
{
  std::string sOut = "\"";
  for (const char c : ToUtf8(ToUtf16(sText).c_str()))
  {
    const auto n = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\')
    {
      sOut += '\\';
      sOut += c;
    }
    else if (n < 0x20 || n == 0x7F)
    {
      char szCode[8];
      std::snprintf(szCode, sizeof szCode, "\\u%04x", n);
      sOut += szCode;
    }
    else
    {
      sOut += c;
    }
  }
  return sOut + "\"";
}

void CJsonObject::AddRaw(std::string_view sKey, std::string_view sValue)
{
  m_sMembers += (m_sMembers.empty() ? "" : ",") + QuoteJson(sKey) + ":";
  m_sMembers += sValue;
}

void CJsonObject::AddText(std::string_view sKey, std::string_view sValue)
{
  AddRaw(sKey, QuoteJson(sValue));
}

void CJsonObject::AddNumber(std::string_view sKey, long long nValue)
{
  AddRaw(sKey, std::to_string(nValue));
}

void CJsonObject::AddSeconds(std::string_view sKey, double dValue)
{
  char szText[32];
  std::snprintf(szText, sizeof szText, "%.3f", dValue);
  AddRaw(sKey, szText);
}

void CJsonObject::AddFlag(std::string_view sKey, bool bValue)
{
  AddRaw(sKey, bValue ? "true" : "false");
}

void CJsonObject::AddTexts(std::string_view sKey, const std::vector<std::string>& values)
{
  std::string sOut;
  for (const std::string& sValue : values)
  {
    sOut += (sOut.empty() ? "" : ",") + QuoteJson(sValue);
  }
  AddRaw(sKey, "[" + sOut + "]");
}

void CJsonObject::AddObject(std::string_view sKey, const CJsonObject& value)
{
  AddRaw(sKey, value.GetText());
}

void CJsonObject::AddObjects(std::string_view sKey, const std::vector<CJsonObject>& values)
{
  std::string sOut;
  for (const CJsonObject& value : values)
  {
    sOut += (sOut.empty() ? "" : ",") + value.GetText();
  }
  AddRaw(sKey, "[" + sOut + "]");
}

}  // namespace Tool
