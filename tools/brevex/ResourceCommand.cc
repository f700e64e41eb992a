#include "ResourceCommand.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "Handle.h"
#include "Input.h"
#include "Reporter.h"
#include "Reports.h"
#include "ResourceListing.h"
#include "ScratchFolder.h"

namespace Tool
{
namespace
{

constexpr const char* g_szListing = "listing";

bool List(const CHandle& handle, bool bFonts, const char16_t* szPath)
{
  return (bFonts ? BrevexListFontsW(handle.Get(), szPath) : BrevexListImagesW(handle.Get(), szPath)) != 0;
}

std::string GetSystemError(int nErrno)
{
  return std::generic_category().message(nErrno);
}

// False where there is no document, which has been told.
bool OpenInput(CInput& input, const CHandle& handle, const TResourceOptions& options)
{
  BrevexSetLenientOpening(handle.Get(), 1);
  if (!input.Load(options.sPath))
  {
    WriteError(options.sPath + ": " + input.GetError());
    return false;
  }
  if (!input.Open(handle, options.sPassword.value_or("")))
  {
    WriteError(options.sPath + ": cannot be opened: " + handle.GetMessage());
    return false;
  }
  return true;
}

// What is lost, and what has ended the listing.
void WriteLosses(const TResourceOptions& options, const std::vector<TReport>& reports)
{
  for (const TReport& entry : reports)
  {
    if (entry.report.nConsequence != BREVEX_CONSEQUENCE_NONE)
    {
      WriteError(options.sPath + ": " + FormatReport(entry));
    }
  }
}

std::vector<CJsonObject> MakeReportObjects(const std::vector<TReport>& reports)
{
  std::vector<CJsonObject> objects;
  std::transform(reports.begin(), reports.end(), std::back_inserter(objects), MakeReportJson);
  return objects;
}

TExitCode GetExitCode(const CHandle& handle)
{
  const bool bWhole = BrevexGetLossCount(handle.Get()) == 0 && BrevexGetPageCount(handle.Get()) > 0;
  return bWhole ? TExitCode::Done : TExitCode::Warnings;
}

// Whose listing goes where nobody sees it: names with their bytes, and a text that is read again.
bool ListIntoText(const CHandle& handle, const TResourceOptions& options, std::string& sText)
{
  CScratchFolder folder;
  std::error_code error;
  const std::filesystem::path parent = std::filesystem::temp_directory_path(error);
  if (!folder.Create(error ? "/tmp" : parent.string()))
  {
    WriteError("cannot make a temporary folder: " + GetSystemError(errno));
    return false;
  }
  const std::string sPath = folder.GetPath() + "/" + g_szListing;
  const bool bListed = (options.bFonts ? BrevexListFontsA(handle.Get(), sPath.c_str())
                                       : BrevexListImagesA(handle.Get(), sPath.c_str())) != 0;
  std::ifstream file(sPath, std::ios::binary);
  sText.assign(std::istreambuf_iterator<char>(file), {});
  return bListed;
}

CJsonObject MakeJson(const TResourceOptions& options, const CHandle& handle, const std::string& sListing)
{
  CJsonObject object;
  object.AddText("file", options.sPath);
  object.AddObjects(options.bFonts ? "fonts" : "images", ParseListing(sListing, options.bFonts));
  object.AddNumber("losses", static_cast<long long>(BrevexGetLossCount(handle.Get())));
  object.AddObjects("reports", MakeReportObjects(ReadReports(handle)));
  return object;
}

// Brings a file out of the scratch folder, over nothing that is there.
bool Deliver(const std::string& sName, const std::string& sTarget, std::string& sError)
{
  if (link(sName.c_str(), sTarget.c_str()) == 0)
  {
    unlink(sName.c_str());
    return true;
  }
  int nErrno = errno;
  // Some file systems have no links.
  if (nErrno != EEXIST && access(sTarget.c_str(), F_OK) != 0 && rename(sName.c_str(), sTarget.c_str()) == 0)
  {
    return true;
  }
  sError = sTarget + ": " + GetSystemError(nErrno);
  return false;
}

// The names in the present folder, in their order.
std::vector<std::string> FindExtracted()
{
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(".", error))
  {
    if (entry.path().filename() != g_szListing)
    {
      names.push_back(entry.path().filename().string());
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

struct TDelivery
{
  std::vector<std::string> names;
  std::vector<std::string> errors;
};

TDelivery DeliverAll(const std::string& sFolder)
{
  TDelivery delivery;
  for (const std::string& sName : FindExtracted())
  {
    std::string sError;
    if (Deliver(sName, (std::filesystem::path(sFolder) / sName).string(), sError))
    {
      delivery.names.push_back(sName);
    }
    else
    {
      delivery.errors.push_back(sError);
    }
  }
  return delivery;
}

void WriteDelivery(const TResourceOptions& options, const CHandle& handle, const TDelivery& delivery)
{
  for (const std::string& sError : delivery.errors)
  {
    WriteError(options.sPath + ": lost: " + sError);
  }
  if (options.bJson)
  {
    CJsonObject object;
    object.AddText("file", options.sPath);
    object.AddText("folder", options.sFolder);
    object.AddTexts("files", delivery.names);
    object.AddTexts("errors", delivery.errors);
    object.AddNumber("losses",
                     static_cast<long long>(BrevexGetLossCount(handle.Get()) + delivery.errors.size()));
    object.AddObjects("reports", MakeReportObjects(ReadReports(handle)));
    std::printf("%s\n", object.GetText().c_str());
    return;
  }
  for (const std::string& sName : delivery.names)
  {
    std::printf("%s\n", sName.c_str());
  }
}

// Extracts into the scratch folder, which the library takes for the working directory.
TExitCode Extract(const TResourceOptions& options, const CHandle& handle, const std::string& sScratch,
                  const std::string& sFolder)
{
  if (chdir(sScratch.c_str()) != 0)
  {
    WriteError(options.sFolder + ": " + GetSystemError(errno));
    return TExitCode::Output;
  }
  BrevexSetExtractImages(handle.Get(), options.bFonts ? 0 : 1);
  BrevexSetExtractFonts(handle.Get(), options.bFonts ? 1 : 0);
  const bool bListed = List(handle, options.bFonts, u"listing");
  const TDelivery delivery = DeliverAll(sFolder);
  WriteLosses(options, ReadReports(handle));
  WriteDelivery(options, handle, delivery);
  const TExitCode exitCode =
      bListed ? GetExitCode(handle) : GetSaveExitCode(BrevexGetErrorCode(handle.Get()));
  return delivery.errors.empty() ? exitCode : GetWorse(exitCode, TExitCode::Warnings);
}

}  // namespace

TExitCode RunList(const TResourceOptions& options)
{
  const CHandle handle;
  CInput input;
  if (!OpenInput(input, handle, options))
  {
    return TExitCode::Input;
  }
  std::string sListing;
  const bool bListed =
      options.bJson ? ListIntoText(handle, options, sListing) : List(handle, options.bFonts, nullptr);
  WriteLosses(options, ReadReports(handle));
  if (options.bJson)
  {
    std::printf("%s\n", MakeJson(options, handle, sListing).GetText().c_str());
  }
  return bListed ? GetExitCode(handle) : GetSaveExitCode(BrevexGetErrorCode(handle.Get()));
}

TExitCode RunExtract(const TResourceOptions& options)
{
  const CHandle handle;
  CInput input;
  if (!OpenInput(input, handle, options))
  {
    return TExitCode::Input;
  }
  std::error_code error;
  std::filesystem::create_directories(options.sFolder, error);
  const std::filesystem::path folder = std::filesystem::absolute(options.sFolder, error);
  if (!std::filesystem::is_directory(folder, error))
  {
    WriteError(options.sFolder + ": " + (error ? error.message() : GetSystemError(ENOTDIR)));
    return TExitCode::Output;
  }
  CScratchFolder scratch;
  if (!scratch.Create(folder.string()))
  {
    WriteError(options.sPath + ": lost: cannot write to " + options.sFolder + ": " + GetSystemError(errno));
    return TExitCode::Warnings;
  }
  const TExitCode exitCode = Extract(options, handle, scratch.GetPath(), folder.string());
  return chdir(folder.c_str()) == 0 ? exitCode : GetWorse(exitCode, TExitCode::Output);
}

}  // namespace Tool
