#pragma once

#include "base/BasicArray.h"

#include <cstdint>
#include <span>

// Password algorithms of the standard security handler (ISO 32000-1, 7.6.3; ISO 32000-2, 7.6.4). Nothing here
// knows of objects.
namespace PDF
{

using TBytes = std::span<const unsigned char>;
using TByteArray = BSE::CBasicArray<unsigned char>;

// What the Encrypt dictionary holds besides its crypt filters. Strings shorter than their fields are filled
// with zeros, longer ones cut. Revisions up to 4 use the first 32 bytes of m_O and m_U.
struct TSecurityValues
{
  int m_nV = 0;
  int m_nR = 0;
  int m_nKeyLength = 5;  // in bytes
  std::int32_t m_nPermissions = -1;
  bool m_bEncryptMetadata = true;
  unsigned char m_O[48] = {};
  unsigned char m_U[48] = {};
  unsigned char m_OE[32] = {};
  unsigned char m_UE[32] = {};
  unsigned char m_Perms[16] = {};
  TByteArray m_id1;

  int GetHashLength() const { return m_nR >= 5 ? 48 : 32; }
};

// Passwords are PDFDocEncoding up to revision 4, of which 32 bytes count, and prepared UTF-8 from revision 5,
// of which 127 bytes count.

// True, with the file key, if the password is the user's or the owner's.
bool FindKey(const TSecurityValues& values, TBytes password, TByteArray& key);

// True if the password, which need not be the only one that FindKey knows, is the owner's.
bool IsOwnerPassword(const TSecurityValues& values, TBytes password);

// Algorithm 13: false if P or EncryptMetadata are others than those that were encrypted with the file key.
// True below revision 5, which knows only the plain ones.
bool HasSoundPerms(const TSecurityValues& values, TBytes key);

// For a file with another first part of its ID that opens with the same passwords: replaces the identifier,
// and the values and the key that depend on it, which is none of them from revision 5. The password is one
// that FindKey knows; false if it is not.
bool MoveKey(TSecurityValues& values, TBytes password, TBytes id1, TByteArray& key);

// Makes the file key and all values that depend on the passwords. An empty owner password stands for the
// user's. False if there are no random numbers.
bool MakeKey(TSecurityValues& values, TBytes userPassword, TBytes ownerPassword, TByteArray& key);

}  // namespace PDF
