#pragma once

#include "base/CodePath.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace BSE
{

// A message digest, fed in pieces: Reset, any number of Update, Final. A new object is reset; after Final
// only Reset, Final's digest and destruction make sense.
class CHashFunction
{
public:
  virtual ~CHashFunction() = default;
  virtual void Reset() = 0;

  // In bytes.
  virtual int GetDigestSize() const = 0;

  virtual void Update(std::span<const unsigned char> data) = 0;

  // Writes the digest, or as much of its beginning as the span holds.
  virtual void Final(std::span<unsigned char> digest) = 0;
};

// Hash of padded blocks: buffers what does not fill a block, hands all full blocks over in one call.
class CBlockHash : public CHashFunction
{
public:
  void Reset() override;
  void Update(std::span<const unsigned char> data) override;

protected:
  // 64 or 128 bytes; the message length in the padding takes an eighth of it.
  explicit CBlockHash(int nBlockSize) : m_nBlockSize(static_cast<std::size_t>(nBlockSize)) {}
  CBlockHash(const CBlockHash&) = default;
  CBlockHash& operator=(const CBlockHash&) = delete;

  virtual void ProcessBlocks(const unsigned char* pBlocks, std::size_t nBlocks) = 0;

  // Appends the padding with the length in bits in the given byte order and processes the last blocks.
  void Pad(bool bBigEndian);

private:
  static constexpr std::size_t g_nMaxBlockSize = 128;

  std::size_t m_nBlockSize;
  std::size_t m_nFill = 0;
  std::uint64_t m_nTotal = 0;
  unsigned char m_buffer[g_nMaxBlockSize] = {};
};

// RFC 1321.
class CHashMD5 : public CBlockHash
{
public:
  static constexpr int g_nDigestSize = 16;
  CHashMD5() : CBlockHash(64) { CHashMD5::Reset(); }
  void Reset() override;
  int GetDigestSize() const override { return g_nDigestSize; }
  void Final(std::span<unsigned char> digest) override;

protected:
  void ProcessBlocks(const unsigned char* pBlocks, std::size_t nBlocks) override;

private:
  std::uint32_t m_state[4];
};

// FIPS 180-4, as are all below.
class CHashSHA1 : public CBlockHash
{
public:
  static constexpr int g_nDigestSize = 20;
  CHashSHA1() : CBlockHash(64) { CHashSHA1::Reset(); }
  void Reset() override;
  int GetDigestSize() const override { return g_nDigestSize; }
  void Final(std::span<unsigned char> digest) override;

protected:
  void ProcessBlocks(const unsigned char* pBlocks, std::size_t nBlocks) override;

private:
  std::uint32_t m_state[5];
};

class CHashSHA256 : public CBlockHash
{
public:
  static constexpr int g_nDigestSize = 32;
  explicit CHashSHA256(TCodePath codePath = TCodePath::Best);
  void Reset() override;
  int GetDigestSize() const override { return g_nDigestSize; }
  void Final(std::span<unsigned char> digest) override;

protected:
  void ProcessBlocks(const unsigned char* pBlocks, std::size_t nBlocks) override;

  std::uint32_t m_state[8];

private:
  bool m_bInstructions;
};

class CHashSHA224 : public CHashSHA256
{
public:
  static constexpr int g_nDigestSize = 28;
  CHashSHA224() { CHashSHA224::Reset(); }
  void Reset() override;
  int GetDigestSize() const override { return g_nDigestSize; }
};

class CHashSHA512 : public CBlockHash
{
public:
  static constexpr int g_nDigestSize = 64;
  CHashSHA512() : CBlockHash(128) { CHashSHA512::Reset(); }
  void Reset() override;
  int GetDigestSize() const override { return g_nDigestSize; }
  void Final(std::span<unsigned char> digest) override;

protected:
  void ProcessBlocks(const unsigned char* pBlocks, std::size_t nBlocks) override;

  std::uint64_t m_state[8];
};

class CHashSHA384 : public CHashSHA512
{
public:
  static constexpr int g_nDigestSize = 48;
  CHashSHA384() { CHashSHA384::Reset(); }
  void Reset() override;
  int GetDigestSize() const override { return g_nDigestSize; }
};

// Digest of one block of data: ComputeHash<CHashMD5>(bytes).
template <class H>
std::array<unsigned char, H::g_nDigestSize> ComputeHash(std::span<const unsigned char> data)
{
  std::array<unsigned char, H::g_nDigestSize> digest;
  H hash;
  hash.Update(data);
  hash.Final(digest);
  return digest;
}

}  // namespace BSE
