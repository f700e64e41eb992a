#pragma once

#include "base/CodePath.h"
#include "base/Memory.h"

#include <cstddef>
#include <span>

namespace BSE
{

// The RC4 key stream. Encryption and decryption are the same.
class CRC4
{
public:
  // A key of 1 to 256 bytes, or the first 256 of a longer one; an empty key leaves the data as it is.
  explicit CRC4(std::span<const unsigned char> key);
  CRC4(const CRC4&) = default;
  CRC4& operator=(const CRC4&) = default;
  ~CRC4() { Wipe(m_state, sizeof(m_state)); }

  // Goes on where the last call ended. The output holds as many bytes as the input, and may be the input.
  void Process(std::span<const unsigned char> input, unsigned char* pOutput);

private:
  unsigned char m_state[256];
  unsigned char m_nI = 0;
  unsigned char m_nJ = 0;
  bool m_bKeyed;
};

// AES (FIPS 197) in cipher block chaining (NIST SP 800-38A, 6.2) without padding. One block with a vector of
// zeros is the plain block cipher.
class CAES
{
public:
  static constexpr std::size_t g_nBlockSize = 16;
  using TVector = unsigned char[g_nBlockSize];

  // A key of 16, 24 or 32 bytes. Of any other length it is cut or filled with zeros to the next of these.
  explicit CAES(std::span<const unsigned char> key, TCodePath codePath = TCodePath::Best);
  CAES(const CAES&) = default;
  CAES& operator=(const CAES&) = default;
  ~CAES()
  {
    Wipe(m_encryptKeys, sizeof(m_encryptKeys));
    Wipe(m_decryptKeys, sizeof(m_decryptKeys));
  }

  // Both work on whole blocks; what is left of the input stays untouched. The output holds as many bytes as
  // the input, and may be the input. The vector becomes that of the block that follows.
  void EncryptChained(std::span<const unsigned char> input, unsigned char* pOutput, TVector& vector) const;
  void DecryptChained(std::span<const unsigned char> input, unsigned char* pOutput, TVector& vector) const;

private:
  static constexpr std::size_t g_nMaxRounds = 14;

  void ExpandKey(std::span<const unsigned char> key);
  void InvertKeys();

  bool m_bInstructions;
  std::size_t m_nRounds = 0;
  // Round keys in order of use; those for decryption are mixed for the equivalent inverse cipher.
  alignas(16) unsigned char m_encryptKeys[(g_nMaxRounds + 1) * g_nBlockSize];
  alignas(16) unsigned char m_decryptKeys[(g_nMaxRounds + 1) * g_nBlockSize];
};

}  // namespace BSE
