#pragma once

#include "base/BasicArray.h"
#include "base/Cipher.h"
#include "base/ObjectPtr.h"

#include <array>
#include <span>

namespace PDF
{

// A cipher of encrypted files (ISO 32000-2, 7.6.3), with the key of one object. AES data begins with its
// initialisation vector and ends with padding of 1 to 16 bytes, each of which holds their number.
class CCryptAlgorithm
{
public:
  static constexpr int g_nMaxBlockSize = 16;

  virtual ~CCryptAlgorithm() = default;

  // By the value of CFM: "V2", "RC4" and null are RC4; null for an unknown one.
  static BSE::CScopedPtr<CCryptAlgorithm> Create(const char* szName);

  // Value of CFM.
  virtual const char* GetCFM() const = 0;

  virtual CCryptAlgorithm* Clone() const = 0;
  virtual bool IsAES() const { return true; }

  // Bytes that DecryptBlock and EncryptBlock work in.
  virtual int GetBlockSize() const { return g_nMaxBlockSize; }
  virtual int GetIVLength() const { return g_nMaxBlockSize; }

  // Bytes of padding after that many.
  virtual int GetPadding(std::int64_t nLength) const
  {
    return g_nMaxBlockSize - static_cast<int>(nLength % g_nMaxBlockSize);
  }
  std::int64_t GetEncryptedLength(std::int64_t nLength) const
  {
    return GetIVLength() + nLength + GetPadding(nLength);
  }

  // Derives the key of an object from the file's.
  virtual void SetKey(std::span<const unsigned char> fileKey, int nObjNumber, int nGenNumber) = 0;

  // Starts a string or stream; the vector has GetIVLength bytes.
  virtual void BeginFile(std::span<const unsigned char> vector) = 0;

  // Whole blocks, going on where the last call ended. The output may be the input.
  virtual void DecryptBlock(std::span<const unsigned char> input, unsigned char* pOutput) = 0;
  virtual void EncryptBlock(std::span<const unsigned char> input, unsigned char* pOutput) = 0;

  // A whole string. What does not fill a block is traced and dropped; false if there are no random numbers
  // for the vector.
  bool Decrypt(std::span<const unsigned char> input, BSE::CBasicArray<unsigned char>& output);
  bool Encrypt(std::span<const unsigned char> input, BSE::CBasicArray<unsigned char>& output);

  // Sound part of the last decrypted bytes of a string or stream: their padding is cut off. Padding that is
  // not valid stays.
  std::size_t GetUnpaddedLength(std::span<const unsigned char> data) const;
};

class CRC4CryptAlgorithm : public CCryptAlgorithm
{
public:
  CRC4CryptAlgorithm() = default;
  CRC4CryptAlgorithm(const CRC4CryptAlgorithm&) = default;
  CRC4CryptAlgorithm& operator=(const CRC4CryptAlgorithm&) = default;
  ~CRC4CryptAlgorithm() override { BSE::Wipe(m_key.data(), m_key.size()); }
  const char* GetCFM() const override { return "V2"; }
  CCryptAlgorithm* Clone() const override { return new CRC4CryptAlgorithm(*this); }
  bool IsAES() const override { return false; }
  int GetBlockSize() const override { return 1; }
  int GetIVLength() const override { return 0; }
  int GetPadding(std::int64_t) const override { return 0; }
  void SetKey(std::span<const unsigned char> fileKey, int nObjNumber, int nGenNumber) override;
  void BeginFile(std::span<const unsigned char> vector) override;
  void DecryptBlock(std::span<const unsigned char> input, unsigned char* pOutput) override;
  void EncryptBlock(std::span<const unsigned char> input, unsigned char* pOutput) override;

private:
  std::array<unsigned char, 16> m_key{};
  std::size_t m_nKeyLength = 0;
  BSE::CRC4 m_cipher{{}};
};

// AES-128 with a key per object.
class CAESCryptAlgorithm : public CCryptAlgorithm
{
public:
  const char* GetCFM() const override { return "AESV2"; }
  CCryptAlgorithm* Clone() const override { return new CAESCryptAlgorithm(*this); }
  void SetKey(std::span<const unsigned char> fileKey, int nObjNumber, int nGenNumber) override;
  void BeginFile(std::span<const unsigned char> vector) override;
  void DecryptBlock(std::span<const unsigned char> input, unsigned char* pOutput) override;
  void EncryptBlock(std::span<const unsigned char> input, unsigned char* pOutput) override;

protected:
  BSE::CAES m_cipher{{}};
  BSE::CAES::TVector m_vector = {};
};

// AES-256 with the file's key.
class CAESV3CryptAlgorithm : public CAESCryptAlgorithm
{
public:
  const char* GetCFM() const override { return "AESV3"; }
  CCryptAlgorithm* Clone() const override { return new CAESV3CryptAlgorithm(*this); }
  void SetKey(std::span<const unsigned char> fileKey, int nObjNumber, int nGenNumber) override;

private:
  bool m_bKeyed = false;
};

}  // namespace PDF
