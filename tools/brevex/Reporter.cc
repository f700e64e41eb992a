#include "Reporter.h"

#include <unistd.h>

#include <cstdio>
#include <initializer_list>

#include "ImageReports.h"
#include "JsonObject.h"
#include "Reports.h"
#include "Text.h"

namespace Tool
{
namespace
{

const char* GetName(TOutcome outcome)
{
  switch (outcome)
  {
  case TOutcome::Smaller:
    return "smaller";
  case TOutcome::Larger:
    return "larger";
  case TOutcome::NoGain:
    return "no gain";
  case TOutcome::Failed:
    break;
  }
  return "failed";
}

std::string FormatChange(std::int64_t nInput, std::int64_t nOutput)
{
  char szPercent[32];
  const double dPercent =
      nInput > 0 ? 100.0 * static_cast<double>(nOutput - nInput) / static_cast<double>(nInput) : 0;
  std::snprintf(szPercent, sizeof szPercent, " (%+.1f %%)", dPercent);
  return GroupDigits(static_cast<unsigned long long>(nInput)) + " to " +
         GroupDigits(static_cast<unsigned long long>(nOutput)) + " bytes" + szPercent;
}

// The reports with those consequences, each in the order of the library; no more than fit a screen.
std::string FormatReports(const TFileResult& result, std::initializer_list<int> consequences)
{
  constexpr int nMaxShown = 10;
  std::string sText;
  int nShown = 0;
  for (const int nConsequence : consequences)
  {
    for (const TReport& entry : result.reports)
    {
      if (entry.report.nConsequence == nConsequence && nShown++ < nMaxShown)
      {
        sText += "; " + FormatReport(entry);
      }
    }
  }
  return sText + (nShown > nMaxShown ? "; and " + std::to_string(nShown - nMaxShown) + " more" : "");
}

std::string FormatLine(const TFileResult& result)
{
  std::string sLine = result.sInput + ": ";
  if (result.outcome == TOutcome::Failed)
  {
    sLine += result.sError;
  }
  else
  {
    sLine += result.outcome == TOutcome::NoGain
                 ? "no gain, " + GroupDigits(static_cast<unsigned long long>(result.nInputBytes)) + " bytes"
                 : FormatChange(result.nInputBytes, result.nOutputBytes);
    sLine += ", " + std::to_string(result.nPages) + (result.nPages == 1 ? " page" : " pages");
  }
  // The reason of a failure, then what is lost, then the rest.
  return sLine +
         FormatReports(result, {BREVEX_CONSEQUENCE_END, BREVEX_CONSEQUENCE_LOSS, BREVEX_CONSEQUENCE_NONE});
}

std::string FormatJson(const TFileResult& result)
{
  CJsonObject object;
  object.AddText("file", result.sInput);
  object.AddText("output", result.sOutput);
  object.AddText("result", GetName(result.outcome));
  object.AddNumber("exit", static_cast<int>(result.exitCode));
  object.AddNumber("inputBytes", result.nInputBytes);
  if (result.outcome != TOutcome::Failed)
  {
    object.AddNumber("outputBytes", result.nOutputBytes);
    object.AddNumber("pages", result.nPages);
  }
  object.AddSeconds("seconds", result.dSeconds);
  object.AddTexts("lossy", result.losses);
  std::vector<CJsonObject> reports;
  for (const TReport& report : result.reports)
  {
    reports.push_back(MakeReportJson(report));
  }
  object.AddNumber("losses", static_cast<long long>(result.nLosses));
  object.AddObjects("reports", reports);
  std::vector<CJsonObject> images;
  for (const TBrevexImage& image : result.images)
  {
    images.push_back(MakeImageJson(image));
  }
  object.AddObjects("images", images);
  if (!result.sError.empty())
  {
    object.AddText("error", result.sError);
  }
  return object.GetText();
}

bool WantsProgress(const TOptimizeOptions& options)
{
  const bool bTerminal = options.progress == TProgressMode::Auto && isatty(STDERR_FILENO) != 0;
  return !options.bQuiet && (options.progress == TProgressMode::Always || bTerminal);
}

}  // namespace

CReporter::CReporter(const TOptimizeOptions& options, size_t nFiles)
    : m_nFiles(nFiles),
      m_bProgress(WantsProgress(options)),
      m_bLines(!options.bQuiet && !options.bJson),
      m_bJson(options.bJson),
      m_bVerbose(options.bVerbose)
{
}

void CReporter::ClearProgress()
{
  if (m_bProgressShown)
  {
    std::fputs("\r\x1B[K", stderr);
    m_bProgressShown = false;
  }
}

void CReporter::OnStart(const std::string& sInput)
{
  const std::lock_guard lock(m_lock);
  ++m_nStarted;
  if (m_bProgress)
  {
    ClearProgress();
    std::fprintf(stderr, "[%zu/%zu] %s", m_nStarted, m_nFiles, MakePrintable(sInput).c_str());
    std::fflush(stderr);
    m_bProgressShown = true;
  }
}

void CReporter::OnDone(const TFileResult& result)
{
  const std::lock_guard lock(m_lock);
  ClearProgress();
  const bool bFailed = result.outcome == TOutcome::Failed;
  m_nFailed += bFailed ? 1 : 0;
  m_nInputBytes += bFailed ? 0 : result.nInputBytes;
  m_nOutputBytes += bFailed ? 0 : result.nOutputBytes;
  if (m_bJson)
  {
    std::printf("%s\n", FormatJson(result).c_str());
    std::fflush(stdout);
  }
  if (bFailed)
  {
    WriteError(FormatLine(result));
  }
  else if (m_bLines)
  {
    std::fprintf(stderr, "%s\n", MakePrintable(FormatLine(result)).c_str());
    std::fputs(m_bVerbose ? FormatImages(result.images).c_str() : "", stderr);
  }
  else if (!m_bJson && result.nLosses > 0)
  {
    WriteError(result.sInput + ": not whole" + FormatReports(result, {BREVEX_CONSEQUENCE_LOSS}));
  }
}

void CReporter::OnEnd()
{
  const std::lock_guard lock(m_lock);
  ClearProgress();
  if (m_bLines && m_nFiles > 1)
  {
    std::fprintf(stderr, "%zu files: %s%s\n", m_nFiles, FormatChange(m_nInputBytes, m_nOutputBytes).c_str(),
                 m_nFailed > 0 ? (", " + std::to_string(m_nFailed) + " failed").c_str() : "");
  }
}

void WriteError(const std::string& sMessage)
{
  std::fprintf(stderr, "brevex: %s\n", MakePrintable(sMessage).c_str());
}

void WriteException(const std::string& sFile, const std::exception& exception) noexcept
{
  try
  {
    WriteError((sFile.empty() ? "" : sFile + ": ") + GetReason(exception));
  }
  catch (const std::exception&)
  {
    std::fputs("brevex: there is not enough memory\n", stderr);
  }
}

}  // namespace Tool
