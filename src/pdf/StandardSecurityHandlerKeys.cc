// Two schemes under one interface. Up to revision 4 the file key is derived from the user's password, padded
// to 32 bytes, with what the dictionary says; O holds the user's password encrypted under the owner's, so
// that the owner's opens the file by way of the user's. From revision 5 the file key is random. UE and OE
// hold it, encrypted under a hash of either password, and U and O a second hash of each with which the
// password is checked; the hash of the owner's also takes in U. Key lengths come from the file and are
// clamped here; no value makes anything run longer.

#include "pdf/StandardSecurityHandlerKeys.h"

#include "base/ByteOrder.h"
#include "base/Cipher.h"
#include "base/Hash.h"
#include "base/Random.h"

#include <algorithm>
#include <array>

namespace PDF
{

namespace
{

constexpr int g_nMaxKeyLength = 16;
constexpr std::size_t g_nOldLength = 32;
constexpr std::size_t g_nMaxPassword = 127;
constexpr int g_nHashRounds = 50;
constexpr int g_nKeyRounds = 20;

using TPadded = std::array<unsigned char, g_nOldLength>;
using TDigest = std::array<unsigned char, 16>;
using TKey256 = std::array<unsigned char, 32>;

// ISO 32000-1, 7.6.3.3, Algorithm 2, step a).
constexpr TPadded g_padding = {0x28, 0xBF, 0x4E, 0x5E, 0x4E, 0x75, 0x8A, 0x41, 0x64, 0x00, 0x4E,
                               0x56, 0xFF, 0xFA, 0x01, 0x08, 0x2E, 0x2E, 0x00, 0xB6, 0xD0, 0x68,
                               0x3E, 0x80, 0x2F, 0x0C, 0xA9, 0xFE, 0x64, 0x53, 0x69, 0x7A};

TPadded Pad(TBytes password)
{
  TPadded padded;
  const std::size_t n = std::min(password.size(), g_nOldLength);
  std::copy_n(password.begin(), n, padded.begin());
  std::copy_n(g_padding.begin(), g_nOldLength - n, padded.begin() + static_cast<std::ptrdiff_t>(n));
  return padded;
}

// Passes the data through RC4 with the key, each of its bytes combined with the round's number.
void ProcessRound(TBytes key, int nRound, std::span<unsigned char> data)
{
  std::array<unsigned char, g_nMaxKeyLength> roundKey;
  for (std::size_t i = 0; i < key.size(); ++i)
    roundKey[i] = static_cast<unsigned char>(key[i] ^ nRound);
  BSE::CRC4(TBytes(roundKey).first(key.size())).Process(data, data.data());
}

std::size_t GetOldKeyLength(const TSecurityValues& values)
{
  return static_cast<std::size_t>(std::clamp(values.m_nKeyLength, 1, g_nMaxKeyLength));
}

// Algorithm 2.
void ComputeKey(const TSecurityValues& values, const TPadded& password, TByteArray& key)
{
  const std::size_t nKey = GetOldKeyLength(values);
  unsigned char permissions[4];
  BSE::StoreLittleEndian(static_cast<std::uint32_t>(values.m_nPermissions), permissions);
  constexpr unsigned char plainMetadata[] = {0xFF, 0xFF, 0xFF, 0xFF};
  BSE::CHashMD5 hash;
  hash.Update(password);
  hash.Update(TBytes(values.m_O).first(g_nOldLength));
  hash.Update(permissions);
  hash.Update(values.m_id1.GetSpan());
  if (values.m_nR >= 4 && !values.m_bEncryptMetadata)
    hash.Update(plainMetadata);
  TDigest digest;
  hash.Final(digest);
  if (values.m_nR >= 3)
    for (int i = 0; i < g_nHashRounds; ++i)
      digest = BSE::ComputeHash<BSE::CHashMD5>(TBytes(digest).first(nKey));
  key.RemoveAll();
  key.Append(TBytes(digest).first(nKey));
}

// Algorithms 4 and 5. What revision 3 leaves open is zero.
TPadded ComputeU(const TSecurityValues& values, TBytes key)
{
  if (values.m_nR <= 2)
  {
    TPadded result = g_padding;
    BSE::CRC4(key).Process(result, result.data());
    return result;
  }
  BSE::CHashMD5 hash;
  hash.Update(g_padding);
  hash.Update(values.m_id1.GetSpan());
  TPadded result{};
  const auto digest = std::span(result).first(BSE::CHashMD5::g_nDigestSize);
  hash.Final(digest);
  for (int i = 0; i < g_nKeyRounds; ++i)
    ProcessRound(key, i, digest);
  return result;
}

// Algorithm 3, steps a) to d): the key that encrypts the user's password. Of each round's result writers take
// as many bytes as the key has, though the text can be read as if all of them were meant.
TDigest ComputeOwnerDigest(const TSecurityValues& values, const TPadded& password, std::size_t nHashed)
{
  TDigest digest = BSE::ComputeHash<BSE::CHashMD5>(password);
  if (values.m_nR >= 3)
    for (int i = 0; i < g_nHashRounds; ++i)
      digest = BSE::ComputeHash<BSE::CHashMD5>(TBytes(digest).first(nHashed));
  return digest;
}

// Algorithm 6.
bool TryOldUser(const TSecurityValues& values, const TPadded& password, TByteArray& key)
{
  ComputeKey(values, password, key);
  const TPadded expected = ComputeU(values, key.GetSpan());
  const std::size_t nCompared = values.m_nR <= 2 ? g_nOldLength : BSE::CHashMD5::g_nDigestSize;
  return std::equal(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(nCompared), values.m_U);
}

// Algorithm 7: the user's password that the owner's hides.
TPadded RevealUserPassword(const TSecurityValues& values, const TPadded& password, std::size_t nHashed)
{
  const TDigest digest = ComputeOwnerDigest(values, password, nHashed);
  const TBytes ownerKey = TBytes(digest).first(GetOldKeyLength(values));
  TPadded user;
  std::copy_n(values.m_O, g_nOldLength, user.begin());
  for (int i = values.m_nR <= 2 ? 0 : g_nKeyRounds - 1; i >= 0; --i)
    ProcessRound(ownerKey, i, user);
  return user;
}

// On success the password becomes the user's.
bool TryOldOwner(const TSecurityValues& values, TPadded& password, TByteArray& key)
{
  // Both readings of Algorithm 3 are in use, see ComputeOwnerDigest.
  for (const std::size_t nHashed : {GetOldKeyLength(values), sizeof(TDigest)})
  {
    const TPadded user = RevealUserPassword(values, password, nHashed);
    if (!TryOldUser(values, user, key))
      continue;
    password = user;
    return true;
  }
  return false;
}

// Algorithms 3 to 5.
void MakeOldKey(TSecurityValues& values, TBytes userPassword, TBytes ownerPassword, TByteArray& key)
{
  const TDigest digest = ComputeOwnerDigest(values, Pad(ownerPassword.empty() ? userPassword : ownerPassword),
                                            GetOldKeyLength(values));
  const TBytes ownerKey = TBytes(digest).first(GetOldKeyLength(values));
  TPadded user = Pad(userPassword);
  const TPadded userPadded = user;
  const int nRounds = values.m_nR <= 2 ? 1 : g_nKeyRounds;
  for (int i = 0; i < nRounds; ++i)
    ProcessRound(ownerKey, i, user);
  std::ranges::copy(user, values.m_O);
  ComputeKey(values, userPadded, key);
  std::ranges::copy(ComputeU(values, key.GetSpan()), values.m_U);
}

// ISO 32000-2, 7.6.4.3.4, Algorithm 2.B: rounds of AES-128 over 64 repetitions of the input, each followed by
// the SHA-2 function that the result chooses.
TKey256 StrengthenHash(TKey256 first, TBytes password, TBytes ownerData)
{
  constexpr int nRepetitions = 64;
  constexpr int nMinRounds = 64;
  unsigned char digest[64];
  std::ranges::copy(first, digest);
  std::size_t nDigest = first.size();
  TByteArray data;
  bool bDone = false;
  for (int nRound = 1; !bDone; ++nRound)
  {
    data.Truncate(0);
    for (int i = 0; i < nRepetitions; ++i)
    {
      data.Append(password);
      data.Append({digest, nDigest});
      data.Append(ownerData);
    }
    BSE::CAES::TVector vector;
    std::copy_n(digest + 16, sizeof(vector), vector);
    BSE::CAES({digest, 16}).EncryptChained(data.GetSpan(), data.GetData(), vector);
    // The first 16 bytes as a number modulo 3: since 256 is 1 modulo 3, their sum has the same remainder.
    unsigned nSum = 0;
    for (int i = 0; i < 16; ++i)
      nSum += data[i];
    BSE::CHashSHA256 sha256;
    BSE::CHashSHA384 sha384;
    BSE::CHashSHA512 sha512;
    BSE::CHashFunction* const functions[] = {&sha256, &sha384, &sha512};
    BSE::CHashFunction& function = *functions[nSum % 3];
    function.Update(data.GetSpan());
    function.Final(digest);
    nDigest = static_cast<std::size_t>(function.GetDigestSize());
    // Ends with round 287 at the latest, when any last byte is small enough.
    bDone = nRound >= nMinRounds && data[data.GetSize() - 1] <= nRound - 32;
  }
  std::copy_n(digest, first.size(), first.begin());
  return first;
}

// Owner data: the 48 bytes of U for the owner's password, none for the user's.
TKey256 HashPassword(int nR, TBytes password, TBytes salt, TBytes ownerData)
{
  BSE::CHashSHA256 hash;
  hash.Update(password);
  hash.Update(salt);
  hash.Update(ownerData);
  TKey256 digest;
  hash.Final(digest);
  return nR >= 6 ? StrengthenHash(digest, password, ownerData) : digest;
}

constexpr std::size_t g_nSaltLength = 8;

TBytes GetValidationSalt(TBytes value)
{
  return value.subspan(32, g_nSaltLength);
}

TBytes GetKeySalt(TBytes value)
{
  return value.subspan(40, g_nSaltLength);
}

// Algorithm 2.A for one of the two passwords.
bool TryNewPassword(const TSecurityValues& values, TBytes password, TBytes value, TBytes encryptedKey,
                    TBytes ownerData, TByteArray& key)
{
  const TKey256 expected = HashPassword(values.m_nR, password, GetValidationSalt(value), ownerData);
  if (!std::ranges::equal(expected, value.first(expected.size())))
    return false;
  const TKey256 keyKey = HashPassword(values.m_nR, password, GetKeySalt(value), ownerData);
  BSE::CAES::TVector vector = {};
  key.SetSize(static_cast<int>(encryptedKey.size()));
  BSE::CAES(keyKey).DecryptChained(encryptedKey, key.GetData(), vector);
  return true;
}

// Algorithms 8 and 9 for one of the two passwords; the salts are in the value.
void MakeNewPassword(const TSecurityValues& values, TBytes password, std::span<unsigned char> value,
                     unsigned char* pEncryptedKey, TBytes ownerData, TBytes key)
{
  std::ranges::copy(HashPassword(values.m_nR, password, GetValidationSalt(value), ownerData), value.begin());
  const TKey256 keyKey = HashPassword(values.m_nR, password, GetKeySalt(value), ownerData);
  BSE::CAES::TVector vector = {};
  BSE::CAES(keyKey).EncryptChained(key, pEncryptedKey, vector);
}

// What Perms hides, but for its last four bytes, which are random. Of the upper half of the permissions,
// bytes 4 to 7, readers make nothing.
void FillPerms(const TSecurityValues& values, unsigned char* pPerms)
{
  BSE::StoreLittleEndian(static_cast<std::uint32_t>(values.m_nPermissions), pPerms);
  std::fill_n(pPerms + 4, 4, static_cast<unsigned char>(0xFF));
  pPerms[8] = values.m_bEncryptMetadata ? 'T' : 'F';
  pPerms[9] = 'a';
  pPerms[10] = 'd';
  pPerms[11] = 'b';
}

// Algorithm 10.
void MakePerms(TSecurityValues& values, TBytes key)
{
  unsigned char* pPerms = values.m_Perms;
  FillPerms(values, pPerms);
  BSE::CAES::TVector vector = {};
  BSE::CAES(key).EncryptChained(values.m_Perms, pPerms, vector);
}

bool MakeNewKey(TSecurityValues& values, TBytes userPassword, TBytes ownerPassword, TByteArray& key)
{
  key.SetSize(static_cast<int>(sizeof(TKey256)));
  if (!BSE::GetRandomBytes(key.GetSpan()) || !BSE::GetRandomBytes(values.m_U) ||
      !BSE::GetRandomBytes(values.m_O) || !BSE::GetRandomBytes(values.m_Perms))
    return false;
  MakeNewPassword(values, userPassword, values.m_U, values.m_UE, {}, key.GetSpan());
  MakeNewPassword(values, ownerPassword.empty() ? userPassword : ownerPassword, values.m_O, values.m_OE,
                  values.m_U, key.GetSpan());
  MakePerms(values, key.GetSpan());
  return true;
}

TBytes CutPassword(const TSecurityValues& values, TBytes password)
{
  return values.m_nR >= 5 ? password.first(std::min(password.size(), g_nMaxPassword)) : password;
}

}  // namespace

bool FindKey(const TSecurityValues& values, TBytes password, TByteArray& key)
{
  password = CutPassword(values, password);
  if (values.m_nR >= 5)
    return TryNewPassword(values, password, values.m_U, values.m_UE, {}, key) ||
           TryNewPassword(values, password, values.m_O, values.m_OE, values.m_U, key);
  TPadded padded = Pad(password);
  return TryOldUser(values, padded, key) || TryOldOwner(values, padded, key);
}

bool IsOwnerPassword(const TSecurityValues& values, TBytes password)
{
  password = CutPassword(values, password);
  TByteArray key;
  if (values.m_nR >= 5)
    return TryNewPassword(values, password, values.m_O, values.m_OE, values.m_U, key);
  TPadded padded = Pad(password);
  return TryOldOwner(values, padded, key);
}

bool HasSoundPerms(const TSecurityValues& values, TBytes key)
{
  if (values.m_nR < 5)
    return true;
  unsigned char expected[12];
  FillPerms(values, expected);
  unsigned char perms[sizeof(values.m_Perms)];
  BSE::CAES::TVector vector = {};
  BSE::CAES(key).DecryptChained(values.m_Perms, perms, vector);
  return std::equal(perms, perms + 4, expected) && std::equal(perms + 8, perms + 12, expected + 8);
}

bool MoveKey(TSecurityValues& values, TBytes password, TBytes id1, TByteArray& key)
{
  const auto setId = [&]
  {
    values.m_id1.RemoveAll();
    values.m_id1.Append(id1);
  };
  if (values.m_nR >= 5)
  {
    setId();
    return true;
  }
  TPadded user = Pad(password);
  if (!TryOldUser(values, user, key) && !TryOldOwner(values, user, key))
    return false;
  setId();
  ComputeKey(values, user, key);
  std::ranges::copy(ComputeU(values, key.GetSpan()), values.m_U);
  return true;
}

bool MakeKey(TSecurityValues& values, TBytes userPassword, TBytes ownerPassword, TByteArray& key)
{
  userPassword = CutPassword(values, userPassword);
  ownerPassword = CutPassword(values, ownerPassword);
  if (values.m_nR >= 5)
    return MakeNewKey(values, userPassword, ownerPassword, key);
  MakeOldKey(values, userPassword, ownerPassword, key);
  return true;
}

}  // namespace PDF
