#include "Reports.h"

#include <cstdio>

#include "Text.h"

namespace Tool
{
namespace
{

std::string FormatCode(std::uint32_t nCode)
{
  char szText[16];
  std::snprintf(szText, sizeof szText, "0x%08X", nCode);
  return szText;
}

}  // namespace

std::vector<TReport> ReadReports(const CHandle& handle)
{
  std::vector<TReport> reports;
  for (int i = 0; i < BrevexGetReportCount(handle.Get()); ++i)
  {
    TBrevexReport report = {};
    report.nSize = sizeof report;
    if (BrevexGetReport(handle.Get(), i, &report) != 0)
    {
      reports.push_back({report, ToUtf8(BrevexGetReportTextW(handle.Get(), i))});
    }
  }
  return reports;
}

std::string FormatReport(const TReport& entry)
{
  const TBrevexReport& report = entry.report;
  std::string sText = report.nConsequence == BREVEX_CONSEQUENCE_LOSS ? "lost: " : "";
  sText += FormatCode(report.nCode) + (entry.sMessage.empty() ? "" : " " + entry.sMessage);
  std::string sPlace = report.nObject > 0 ? "object " + std::to_string(report.nObject) : "";
  if (report.nPage > 0)
  {
    sPlace += (sPlace.empty() ? "page " : ", page ") + std::to_string(report.nPage);
  }
  sText += sPlace.empty() ? "" : " (" + sPlace + ")";
  return sText + (report.nCount > 1 ? " x " + std::to_string(report.nCount) : "");
}

CJsonObject MakeReportJson(const TReport& entry)
{
  constexpr const char* szSeverities[] = {"information", "warning", "error"};
  constexpr const char* szSteps[] = {"", "open", "save", "list"};
  constexpr const char* szConsequences[] = {"none", "loss", "end"};
  const TBrevexReport& report = entry.report;
  CJsonObject object;
  object.AddText("step", szSteps[report.nStep]);
  object.AddText("code", FormatCode(report.nCode));
  object.AddText("severity", szSeverities[report.nSeverity]);
  object.AddText("consequence", szConsequences[report.nConsequence]);
  if (report.nObject > 0)
  {
    object.AddNumber("object", report.nObject);
  }
  if (report.nPage > 0)
  {
    object.AddNumber("page", report.nPage);
  }
  object.AddNumber("count", report.nCount);
  object.AddText("message", entry.sMessage);
  return object;
}

}  // namespace Tool
