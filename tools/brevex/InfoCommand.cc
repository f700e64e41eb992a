#include "InfoCommand.h"

#include <cstdio>
#include <optional>

#include "ExitCode.h"
#include "Handle.h"
#include "Input.h"
#include "JsonObject.h"
#include "Names.h"
#include "Reporter.h"
#include "Reports.h"
#include "Text.h"

namespace Tool
{
namespace
{

// The entries of the document information (ISO 32000-1, 14.3.3).
constexpr const char* g_szKeys[] = {"Title",   "Author",   "Subject",      "Keywords",
                                    "Creator", "Producer", "CreationDate", "ModDate"};

struct TDocumentInfo
{
  std::string sFile;
  std::int64_t nBytes = 0;
  int nPages = 0;
  std::vector<std::pair<std::string, std::string>> entries;
  std::optional<TBrevexEncryption> encryption;
  std::vector<TReport> reports;
};

// Every document has a page, unless what leads to them is lost.
constexpr const char* g_szNoPages = "no page can be found";

bool IsDamaged(const TDocumentInfo& info)
{
  return info.nPages == 0 || !info.reports.empty();
}

TDocumentInfo ReadInfo(const CHandle& handle, const CInput& input, const std::string& sFile)
{
  TDocumentInfo info;
  info.sFile = sFile;
  info.nBytes = input.GetSize();
  info.nPages = BrevexGetPageCount(handle.Get());
  info.reports = ReadReports(handle);
  TBrevexEncryption encryption = {};
  if (BrevexGetInputEncryption(handle.Get(), &encryption))
  {
    info.encryption = encryption;
  }
  for (const char* szKey : g_szKeys)
  {
    const std::string sValue = ToUtf8(BrevexGetInfoEntryW(handle.Get(), ToUtf16(szKey).c_str()));
    if (!sValue.empty())
    {
      info.entries.emplace_back(szKey, sValue);
    }
  }
  return info;
}

// "none", or a cipher as the flags have it, but RC4 with the length of the key.
std::string GetCipherText(int nCipher, int nKeyLength)
{
  if (nCipher == BREVEX_CIPHER_RC4_128)
  {
    return "rc4-" + std::to_string(nKeyLength);
  }
  for (const TName& name : GetCipherNames())
  {
    if (name.nValue == static_cast<unsigned>(nCipher))
    {
      return name.szName;
    }
  }
  return "none";
}

// The names of which everything is allowed, but none that another one includes.
std::vector<std::string> GetPermissionTexts(const TBrevexEncryption& encryption)
{
  std::vector<std::string> found;
  unsigned nTold = 0;
  for (const TName& name : GetPermissionNames())
  {
    const bool bAllowed = (static_cast<unsigned>(encryption.nPermissions) & name.nValue) == name.nValue;
    if (bAllowed && (nTold & name.nValue) != name.nValue)
    {
      found.emplace_back(name.szName);
      nTold |= name.nValue;
    }
  }
  return found;
}

CJsonObject MakeEncryptionJson(const TBrevexEncryption& encryption)
{
  CJsonObject object;
  object.AddText("cipher", GetCipherText(encryption.nStreamCipher, encryption.nKeyLength));
  object.AddText("strings", GetCipherText(encryption.nStringCipher, encryption.nKeyLength));
  object.AddText("embedded_files", GetCipherText(encryption.nEmbeddedCipher, encryption.nKeyLength));
  object.AddNumber("key_length", encryption.nKeyLength);
  object.AddNumber("revision", encryption.nRevision);
  object.AddTexts("permissions", GetPermissionTexts(encryption));
  object.AddText("password", encryption.bOwner != 0 ? "owner" : "user");
  return object;
}

void WriteEncryptionLines(const TBrevexEncryption& encryption)
{
  const std::string sCipher = GetCipherText(encryption.nStreamCipher, encryption.nKeyLength);
  const std::string sStrings = GetCipherText(encryption.nStringCipher, encryption.nKeyLength);
  const std::string sEmbedded = GetCipherText(encryption.nEmbeddedCipher, encryption.nKeyLength);
  std::string sDetails;
  if (sStrings != sCipher)
  {
    sDetails += ", strings " + sStrings;
  }
  if (sEmbedded != sCipher)
  {
    sDetails += ", embedded files " + sEmbedded;
  }
  std::printf("Encryption:    %s%s, key of %d bits, revision %d\n", sCipher.c_str(), sDetails.c_str(),
              encryption.nKeyLength, encryption.nRevision);
  std::string sPermissions;
  for (const std::string& sName : GetPermissionTexts(encryption))
  {
    sPermissions += (sPermissions.empty() ? "" : ", ") + sName;
  }
  std::printf("Permissions:   %s\n", sPermissions.empty() ? "none" : sPermissions.c_str());
  std::printf("Opened by:     %s password\n", encryption.bOwner != 0 ? "owner" : "user");
}

void WriteJson(const TDocumentInfo& info)
{
  CJsonObject object;
  object.AddText("file", info.sFile);
  object.AddNumber("bytes", info.nBytes);
  object.AddNumber("pages", info.nPages);
  CJsonObject entries;
  for (const auto& [sKey, sValue] : info.entries)
  {
    entries.AddText(sKey, sValue);
  }
  object.AddObject("info", entries);
  if (info.encryption)
  {
    object.AddObject("encryption", MakeEncryptionJson(*info.encryption));
  }
  object.AddFlag("damaged", IsDamaged(info));
  if (IsDamaged(info))
  {
    object.AddText("message", info.reports.empty() ? g_szNoPages : info.reports.front().sMessage);
  }
  std::vector<CJsonObject> reports;
  for (const TReport& report : info.reports)
  {
    reports.push_back(MakeReportJson(report));
  }
  object.AddObjects("reports", reports);
  std::printf("%s\n", object.GetText().c_str());
}

void WriteLines(const TDocumentInfo& info)
{
  std::printf("File:          %s\n", MakePrintable(info.sFile).c_str());
  std::printf("Size:          %s bytes\n", GroupDigits(static_cast<unsigned long long>(info.nBytes)).c_str());
  std::printf("Pages:         %d\n", info.nPages);
  for (const auto& [sKey, sValue] : info.entries)
  {
    std::printf("%-14s %s\n", (sKey + ":").c_str(), MakePrintable(sValue).c_str());
  }
  if (info.encryption)
  {
    WriteEncryptionLines(*info.encryption);
  }
  for (const TReport& report : info.reports)
  {
    std::printf("Damaged:       %s\n", MakePrintable(FormatReport(report)).c_str());
  }
  if (info.nPages == 0)
  {
    std::printf("Damaged:       %s\n", g_szNoPages);
  }
}

TExitCode ShowFile(const std::string& sFile, const TInfoOptions& options)
{
  CInput input;
  if (!input.Load(sFile))
  {
    WriteError(sFile + ": " + input.GetError());
    return TExitCode::Input;
  }
  const CHandle handle;
  BrevexSetLenientOpening(handle.Get(), 1);
  if (!input.Open(handle, options.sPassword.value_or("")))
  {
    WriteError(sFile + ": cannot be opened: " + handle.GetMessage());
    return TExitCode::Input;
  }
  const TDocumentInfo info = ReadInfo(handle, input, sFile);
  options.bJson ? WriteJson(info) : WriteLines(info);
  return BrevexGetLossCount(handle.Get()) > 0 || info.nPages == 0 ? TExitCode::Warnings : TExitCode::Done;
}

}  // namespace

TExitCode RunInfo(const TInfoOptions& options)
{
  TExitCode worst = TExitCode::Done;
  for (size_t i = 0; i < options.paths.size(); ++i)
  {
    if (i > 0 && !options.bJson)
    {
      std::printf("\n");
    }
    worst = GetWorse(worst, ShowFile(options.paths[i], options));
  }
  return worst;
}

}  // namespace Tool
