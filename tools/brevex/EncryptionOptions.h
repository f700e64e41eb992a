#pragma once

#include <brevex/brevex.h>

#include <optional>
#include <string>

namespace Tool
{

// What becomes of the encryption of a document.
enum class TProtection
{
  Keep,    // the output opens with the passwords of the input
  Remove,  // the output is plain
  Encrypt  // with what the flags say
};

struct TEncryptionOptions
{
  TProtection protection = TProtection::Keep;
  int nCipher = BREVEX_CIPHER_AES_256;
  std::optional<std::string> sUserPassword;
  std::optional<std::string> sOwnerPassword;
  std::optional<unsigned> nPermissions;  // flags of TBrevexPermission
};

}  // namespace Tool
