#include "EncryptionFlags.h"

#include <fcntl.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "FileBytes.h"
#include "Names.h"

namespace Tool
{
namespace
{

constexpr const char* g_szGroup = "Encryption";
constexpr std::string_view g_passwordFlags[] = {"--password", "--user-password", "--owner-password"};

// Beyond this no line is a password.
constexpr size_t g_nMaxPasswordFile = 64 << 10;

// The first line of the file, without its end.
std::string ReadPasswordFile(const std::string& sFlag, const std::string& sName)
{
  const CFileDescriptor file(open(sName.c_str(), O_RDONLY | O_CLOEXEC));
  std::string sText;
  if (!file.IsOpen() || !ReadBytes(file.Get(), sText, g_nMaxPasswordFile))
  {
    throw CLI::ValidationError(sFlag, "cannot read " + sName);
  }
  return sText.substr(0, sText.find_first_of("\r\n"));
}

std::string GetVariable(const std::string& sPrefix)
{
  std::string sName = "BREVEX_" + sPrefix + "PASSWORD";
  std::transform(sName.begin(), sName.end(), sName.begin(),
                 [](char c) { return c == '-' ? '_' : static_cast<char>(std::toupper(c)); });
  return sName;
}

bool IsEmpty(const std::optional<std::string>& sPassword)
{
  return !sPassword || sPassword->empty();
}

void AddPermissions(CLI::App& app, std::optional<unsigned>& nPermissions)
{
  app.add_option_function<std::string>(
         "--permissions",
         [&nPermissions](const std::string& s)
         {
           nPermissions = ParseSet(GetPermissionNames(), s);
           if (!nPermissions)
           {
             throw CLI::ValidationError("--permissions", "'" + s + "' is no list, separated by commas, of: " +
                                                             JoinNames(GetPermissionNames()) +
                                                             "; nor none or all");
           }
         },
         "What the user password allows, all unless given; needs an owner password: " +
             JoinNames(GetPermissionNames()) + "; none, all")
      ->group(g_szGroup)
      ->type_name("LIST")
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
}

}  // namespace

CPasswordFlags::CPasswordFlags(CLI::App& app, const std::string& sPrefix, const std::string& sHelp,
                               std::optional<std::string>& sPassword)
    : m_sVariable(GetVariable(sPrefix)), m_sPassword(sPassword)
{
  const std::string sFlag = "--" + sPrefix + "password";
  app.add_option(sFlag, sPassword, sHelp)->group(g_szGroup)->type_name("TEXT");
  const std::string sFileFlag = sFlag + "-file";
  app.add_option_function<std::string>(
         sFileFlag,
         [sFileFlag, &sPassword](const std::string& s) { sPassword = ReadPasswordFile(sFileFlag, s); },
         "The same, read from the first line of a file; without both the variable " + m_sVariable)
      ->group(g_szGroup)
      ->type_name("FILE")
      ->excludes(sFlag);
}

void CPasswordFlags::ReadEnvironment()
{
  const char* szValue = std::getenv(m_sVariable.c_str());
  if (!m_sPassword && szValue != nullptr)
  {
    m_sPassword = szValue;
  }
}

CEncryptionFlags::CEncryptionFlags(CLI::App& app, TEncryptionOptions& options)
    : m_options(options),
      m_user(app, "user-", "Encrypt the output; this password opens it", options.sUserPassword),
      m_owner(app, "owner-", "Encrypt the output; this password lifts its permissions",
              options.sOwnerPassword)
{
  m_pCipher = app.add_option_function<std::string>(
      "--encryption",
      [&options](const std::string& s)
      {
        const std::optional<unsigned> nCipher = FindName(GetCipherNames(), s);
        if (!nCipher)
        {
          throw CLI::ValidationError("--encryption",
                                     "'" + s + "' is none of: " + JoinNames(GetCipherNames()));
        }
        options.nCipher = static_cast<int>(*nCipher);
      },
      "Encrypt the output with this cipher, aes-256 where only passwords are given: " +
          JoinNames(GetCipherNames()));
  m_pCipher->group(g_szGroup)->type_name("NAME")->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  AddPermissions(app, options.nPermissions);
  m_pDecrypt = app.add_flag_function(
      "--decrypt", [&options](std::int64_t) { options.protection = TProtection::Remove; },
      "Write a plain output; otherwise encrypted input stays encrypted, with its passwords and permissions");
  m_pDecrypt->group(g_szGroup);
}

void CEncryptionFlags::Finish()
{
  const bool bAsked = m_pCipher->count() > 0 || m_options.nPermissions.has_value();
  if (bAsked)
  {
    m_user.ReadEnvironment();
    m_owner.ReadEnvironment();
  }
  const bool bEncrypt = bAsked || m_options.sUserPassword || m_options.sOwnerPassword;
  if (m_pDecrypt->count() > 0)
  {
    if (bEncrypt)
    {
      throw CLI::ValidationError("--decrypt", "excludes what encrypts the output");
    }
    return;
  }
  if (!bEncrypt)
  {
    return;
  }
  if (IsEmpty(m_options.sUserPassword) && IsEmpty(m_options.sOwnerPassword))
  {
    throw CLI::ValidationError("--encryption",
                               "needs --user-password, --owner-password or both, and one that is not empty");
  }
  const bool bOwner =
      !IsEmpty(m_options.sOwnerPassword) && m_options.sOwnerPassword != m_options.sUserPassword;
  if (m_options.nPermissions && !bOwner)
  {
    throw CLI::ValidationError("--permissions", "needs an --owner-password that is not the user's");
  }
  m_options.protection = TProtection::Encrypt;
}

void HidePasswords(int nArguments, char** arguments)
{
  for (int i = 1; i < nArguments; ++i)
  {
    const std::string_view sArgument = arguments[i];
    if (sArgument == "--")
    {
      return;
    }
    for (const std::string_view sFlag : g_passwordFlags)
    {
      if (sArgument == sFlag && i + 1 < nArguments)
      {
        ++i;
        std::memset(arguments[i], 0, std::strlen(arguments[i]));
        break;
      }
      if (sArgument.starts_with(sFlag) && sArgument.substr(sFlag.size()).starts_with('='))
      {
        std::memset(arguments[i] + sFlag.size() + 1, 0, sArgument.size() - sFlag.size() - 1);
        break;
      }
    }
  }
}

}  // namespace Tool
