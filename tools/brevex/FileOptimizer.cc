#include "FileOptimizer.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <filesystem>
#include <iterator>
#include <system_error>

#include "AtomicFile.h"
#include "Handle.h"
#include "ImageReports.h"
#include "Input.h"
#include "Reports.h"

namespace Tool
{
namespace
{

void Fail(TFileResult& result, TExitCode exitCode, std::string sError)
{
  result.outcome = TOutcome::Failed;
  result.exitCode = exitCode;
  result.sError = std::move(sError);
}

// Takes over what the library reported. A loss is the only report that a caller has to act on.
void TakeReports(TFileResult& result, const CHandle& handle)
{
  result.reports = ReadReports(handle);
  result.nLosses = BrevexGetLossCount(handle.Get());
  if (result.nLosses > 0)
  {
    result.exitCode = GetWorse(result.exitCode, TExitCode::Warnings);
  }
}

bool IsSameFile(const TTask& task)
{
  std::error_code error;
  return task.sInput != "-" && std::filesystem::equivalent(task.sInput, task.sOutput, error);
}

// Object streams, cross-reference streams and JPEG 2000 need 1.5 (ISO 32000-1, 7.5.7, 7.5.8 and 7.4.9).
void SetVersion(const CHandle& handle, const TOptimizeOptions& options)
{
  if (options.sPdfVersion == "keep")
  {
    BrevexSetMinimumVersion(handle.Get(), 1, 0);
  }
  else if (options.sPdfVersion != "auto")
  {
    BrevexSetVersionA(handle.Get(), options.sPdfVersion.c_str());
  }
  else if (options.nProfile != BREVEX_PROFILE_NONE || options.bSetsVersion)
  {
    BrevexSetMinimumVersion(handle.Get(), 1, 5);
  }
}

void SetRequests(const CHandle& handle, const TOptimizeOptions& options)
{
  for (const auto& [sKey, sValue] : options.infoEntries)
  {
    BrevexSetInfoEntryW(handle.Get(), ToUtf16(sKey).c_str(), ToUtf16(sValue).c_str());
  }
  for (const auto& [sOld, sNew] : options.fontNames)
  {
    BrevexRenameFontW(handle.Get(), ToUtf16(sOld).c_str(), ToUtf16(sNew).c_str());
  }
  for (const std::string& sName : options.unembeddedFonts)
  {
    BrevexUnembedFontW(handle.Get(), ToUtf16(sName).c_str());
  }
  for (const auto& [sName, sFile] : options.embeddedFonts)
  {
    // A file has the bytes that the system gave it, a name is text.
    if (IsAscii(sName))
    {
      BrevexEmbedFontA(handle.Get(), sName.c_str(), sFile.c_str());
    }
    else
    {
      BrevexEmbedFontW(handle.Get(), ToUtf16(sName).c_str(), ToUtf16(sFile).c_str());
    }
  }
}

// A text as the narrow functions take it: file names go through them as bytes, passwords as UTF-8 with its
// mark.
std::string MarkPassword(const std::optional<std::string>& sPassword)
{
  const std::string sText = sPassword.value_or("");
  return IsAscii(sText) ? sText : "\xEF\xBB\xBF" + ToUtf8(ToUtf16(sText).c_str());
}

bool Save(const CHandle& handle, CAtomicFile& output, const TEncryptionOptions& options)
{
  TBrevexStreamDescriptor stream;
  if (!output.Restart(stream))
  {
    return false;
  }
  // Bits without a meaning are set (ISO 32000-2, 7.6.4.2, Table 22).
  constexpr unsigned nReserved = 0xFFFFF0C0U;
  switch (options.protection)
  {
  case TProtection::Remove:
    return BrevexSaveAsStreamA(handle.Get(), &stream, nullptr, nullptr, BREVEX_PERMISSIONS_PLAIN) != 0;
  case TProtection::Encrypt:
    BrevexSetOutputCipher(handle.Get(), options.nCipher);
    return BrevexSaveAsStreamA(
               handle.Get(), &stream, MarkPassword(options.sUserPassword).c_str(),
               MarkPassword(options.sOwnerPassword).c_str(),
               static_cast<int>(nReserved | options.nPermissions.value_or(BREVEX_PERMIT_ALL))) != 0;
  case TProtection::Keep:
    break;
  }
  BrevexSetOutputCipher(handle.Get(), BREVEX_CIPHER_AS_INPUT);
  return BrevexSaveAsStreamA(handle.Get(), &stream, nullptr, nullptr, BREVEX_PERMISSIONS_AS_INPUT) != 0;
}

bool SaveWithoutOrder(const CHandle& handle, CAtomicFile& output, const TOptimizeOptions& options)
{
  BrevexSetLinearize(handle.Get(), 0);
  BrevexSetAutoLinearize(handle.Get(), 0);
  return Save(handle, output, options.encryption);
}

// The document cannot be brought into the order for a fast display, for which it is all held in memory.
bool IsOrderRefused(std::uint32_t nCode)
{
  return nCode == BREVEX_STATUS_LINEARIZE_FAILED || nCode == BREVEX_STATUS_OUT_OF_MEMORY;
}

// The order for a fast display that a profile asks for must not cost the gain: then without it. The same for
// a document that cannot be brought into that order, of which the reports are kept.
bool SaveSmaller(const CHandle& handle, CAtomicFile& output, const TOptimizeOptions& options,
                 TFileResult& result, std::vector<TReport>& refusals)
{
  const bool bLinearizes = BrevexGetLinearize(handle.Get()) != 0 || BrevexGetAutoLinearize(handle.Get()) != 0;
  const bool bSaved = Save(handle, output, options.encryption);
  if (!bSaved && bLinearizes && IsOrderRefused(BrevexGetErrorCode(handle.Get())))
  {
    TakeReports(result, handle);
    std::copy_if(result.reports.begin(), result.reports.end(), std::back_inserter(refusals),
                 [](const TReport& report) { return IsOrderRefused(report.report.nCode); });
    return SaveWithoutOrder(handle, output, options);
  }
  if (!bSaved || !bLinearizes || options.bAllowLarger || output.GetSize() < result.nInputBytes)
  {
    return bSaved;
  }
  return SaveWithoutOrder(handle, output, options);
}

// Whether the input had to be repaired when it was opened. Other readers may not open a copy of it at all.
bool WasDamaged(const std::vector<TReport>& reports)
{
  return std::any_of(reports.begin(), reports.end(),
                     [](const TReport& report) {
                       return report.report.nStep == BREVEX_STEP_OPEN &&
                              report.report.nSeverity == BREVEX_SEVERITY_ERROR;
                     });
}

// The temporary file for the output, in a folder that is made where it is missing.
bool CreateOutput(const TTask& task, const CInput& input, bool bMakeFolder, CAtomicFile& output,
                  TFileResult& result)
{
  const std::filesystem::path folder = std::filesystem::path(task.sOutput).parent_path();
  std::error_code error;
  if (bMakeFolder && !folder.empty() && !std::filesystem::create_directories(folder, error) && error)
  {
    Fail(result, TExitCode::Output, "cannot create " + folder.string() + ": " + error.message());
    return false;
  }
  if (!output.Create(task.sOutput, input.GetDescriptor()))
  {
    Fail(result, TExitCode::Output, output.GetError());
    return false;
  }
  return true;
}

}  // namespace

TFileResult CFileOptimizer::Run(const TTask& task) const
{
  TFileResult result;
  result.sInput = task.sInput;
  result.sOutput = task.sOutput;
  const auto start = std::chrono::steady_clock::now();
  try
  {
    Optimize(task, result);
  }
  catch (const std::exception& exception)
  {
    Fail(result, TExitCode::Internal, GetReason(exception));
  }
  result.dSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return result;
}

void CFileOptimizer::Optimize(const TTask& task, TFileResult& result) const
{
  CInput input;
  if (!input.Load(task.sInput))
  {
    return Fail(result, TExitCode::Input, input.GetError());
  }
  result.nInputBytes = input.GetSize();

  const CHandle handle;
  ApplyOptions(handle.Get(), m_options);
  SetRequests(handle, m_options);
  result.losses = GetLosses(handle.Get());
  if (!m_options.unembeddedFonts.empty())
  {
    result.losses.push_back("unembed-font");
  }
  SetVersion(handle, m_options);

  const bool bOpen = input.Open(handle, m_options.sPassword.value_or(""));
  if (!bOpen)
  {
    TakeReports(result, handle);
    return Fail(result, TExitCode::Input,
                "cannot be opened" + (result.reports.empty() ? ": " + handle.GetMessage() : ""));
  }
  result.nPages = BrevexGetPageCount(handle.Get());

  CAtomicFile output;
  if (!CreateOutput(task, input, !m_options.sOutputFolder.empty(), output, result))
  {
    return;
  }
  std::vector<TReport> refusals;
  const bool bSaved = SaveSmaller(handle, output, m_options, result, refusals);
  TakeReports(result, handle);
  result.reports.insert(result.reports.end(), refusals.begin(), refusals.end());
  if (!bSaved)
  {
    // Where memory is short even the report may be missing.
    return output.HasFailedToWrite()
               ? Fail(result, TExitCode::Output, output.GetError())
               : Fail(result, GetSaveExitCode(BrevexGetErrorCode(handle.Get())),
                      "cannot be saved" + (result.reports.empty() ? ": " + handle.GetMessage() : ""));
  }
  result.images = ReadImages(handle);
  BrevexClose(handle.Get());

  result.nOutputBytes = output.GetSize();
  result.outcome = result.nOutputBytes < result.nInputBytes               ? TOutcome::Smaller
                   : m_options.bAllowLarger || WasDamaged(result.reports) ? TOutcome::Larger
                                                                          : TOutcome::NoGain;
  if (result.outcome == TOutcome::NoGain)
  {
    result.nOutputBytes = result.nInputBytes;
    result.images.clear();
    if (IsSameFile(task))
    {
      return;
    }
    if (!input.CopyTo(output))
    {
      return Fail(result, TExitCode::Output, output.GetError());
    }
  }
  if (!output.Commit())
  {
    Fail(result, TExitCode::Output, output.GetError());
  }
}

}  // namespace Tool
