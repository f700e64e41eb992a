#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Tool
{

// Collects the members of a JSON object (RFC 8259) in the order of the calls.
class CJsonObject
{
public:
  void AddText(std::string_view sKey, std::string_view sValue);
  void AddNumber(std::string_view sKey, long long nValue);
  void AddSeconds(std::string_view sKey, double dValue);
  void AddFlag(std::string_view sKey, bool bValue);
  void AddTexts(std::string_view sKey, const std::vector<std::string>& values);
  void AddObject(std::string_view sKey, const CJsonObject& value);
  void AddObjects(std::string_view sKey, const std::vector<CJsonObject>& values);

  // The whole object on one line, without a line feed.
  std::string GetText() const { return "{" + m_sMembers + "}"; }

private:
  void AddRaw(std::string_view sKey, std::string_view sValue);

  std::string m_sMembers;
};

// Quoted and escaped. Bytes that are not UTF-8 are read as Latin-1, so that the result always is.
std::string QuoteJson(std::string_view sText);

}  // namespace Tool
