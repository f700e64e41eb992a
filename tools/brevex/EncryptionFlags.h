#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "EncryptionOptions.h"

namespace Tool
{

// Flags for a password: --NAME, --NAME-file, and a variable of the environment that stands for both. The
// value goes into the text when CPasswordFlags::Finish is called.
class CPasswordFlags
{
public:
  // The application and the text are borrowed. Without a prefix the flag is --password.
  CPasswordFlags(CLI::App& app, const std::string& sPrefix, const std::string& sHelp,
                 std::optional<std::string>& sPassword);

  // After the command line was read: looks into the environment where it gave no password.
  void ReadEnvironment();

private:
  std::string m_sVariable;
  std::optional<std::string>& m_sPassword;
};

// The flags for the encryption of the output.
class CEncryptionFlags
{
public:
  // The application and the options are borrowed.
  CEncryptionFlags(CLI::App& app, TEncryptionOptions& options);

  // After the command line was read. Throws CLI::ValidationError for flags that do not go together.
  void Finish();

private:
  TEncryptionOptions& m_options;
  CPasswordFlags m_user;
  CPasswordFlags m_owner;
  CLI::Option* m_pCipher;
  CLI::Option* m_pDecrypt;
};

// Wipes the passwords out of the arguments of the process, where other users could read them.
void HidePasswords(int nArguments, char** arguments);

}  // namespace Tool
