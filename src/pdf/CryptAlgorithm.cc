#include "pdf/CryptAlgorithm.h"

#include "base/Hash.h"
#include "base/Random.h"
#include "base/Tracer.h"

#include <algorithm>
#include <cstring>

namespace PDF
{

namespace
{

// ISO 32000-1, 7.6.2, Algorithm 1. Returns the length of the key.
std::size_t DeriveObjectKey(std::span<const unsigned char> fileKey, int nObjNumber, int nGenNumber, bool bAES,
                            std::array<unsigned char, 16>& key)
{
  const auto nObject = static_cast<unsigned>(nObjNumber);
  const auto nGeneration = static_cast<unsigned>(nGenNumber);
  const unsigned char numbers[] = {
      static_cast<unsigned char>(nObject), static_cast<unsigned char>(nObject >> 8),
      static_cast<unsigned char>(nObject >> 16), static_cast<unsigned char>(nGeneration),
      static_cast<unsigned char>(nGeneration >> 8)};
  constexpr unsigned char salt[] = {'s', 'A', 'l', 'T'};
  BSE::CHashMD5 hash;
  hash.Update(fileKey);
  hash.Update(numbers);
  if (bAES)
    hash.Update(salt);
  hash.Final(key);
  return std::min(fileKey.size() + sizeof(numbers), key.size());
}

}  // namespace

BSE::CScopedPtr<CCryptAlgorithm> CCryptAlgorithm::Create(const char* szName)
{
  CCryptAlgorithm* pAlgorithm = nullptr;
  if (!szName || std::strcmp(szName, "V2") == 0 || std::strcmp(szName, "RC4") == 0)
    pAlgorithm = new CRC4CryptAlgorithm;
  else if (std::strcmp(szName, "AESV2") == 0)
    pAlgorithm = new CAESCryptAlgorithm;
  else if (std::strcmp(szName, "AESV3") == 0)
    pAlgorithm = new CAESV3CryptAlgorithm;
  return BSE::CScopedPtr<CCryptAlgorithm>(pAlgorithm);
}

std::size_t CCryptAlgorithm::GetUnpaddedLength(std::span<const unsigned char> data) const
{
  const auto nBlock = static_cast<std::size_t>(GetBlockSize());
  if (nBlock == 1 || data.empty())
    return data.size();
  const std::size_t nPadding = data.back();
  return nPadding >= 1 && nPadding <= std::min(nBlock, data.size()) ? data.size() - nPadding : data.size();
}

bool CCryptAlgorithm::Decrypt(std::span<const unsigned char> input, BSE::CBasicArray<unsigned char>& output)
{
  output.RemoveAll();
  const auto nVector = static_cast<std::size_t>(GetIVLength());
  const auto nBlock = static_cast<std::size_t>(GetBlockSize());
  const bool bPartial = input.size() < nVector || (input.size() - nVector) % nBlock != 0;
  if (bPartial && !input.empty() && BSE::CTracer::IsOn())
    BSE::CTracer::Trace("E", "PDF Security Handler", "Error in AES decrypt of string");
  const bool bWhole = !bPartial || input.empty();
  if (input.size() <= nVector)
    return bWhole;
  BeginFile(input.first(nVector));
  input = input.subspan(nVector);
  input = input.first(input.size() / nBlock * nBlock);
  output.SetSize(static_cast<int>(input.size()));
  DecryptBlock(input, output.GetData());
  if (!bPartial)
    output.SetSize(static_cast<int>(GetUnpaddedLength(output.GetSpan())));
  return bWhole;
}

bool CCryptAlgorithm::Encrypt(std::span<const unsigned char> input, BSE::CBasicArray<unsigned char>& output)
{
  const auto nVector = static_cast<std::size_t>(GetIVLength());
  const auto nLength = static_cast<std::int64_t>(input.size());
  output.SetSize(static_cast<int>(GetEncryptedLength(nLength)));
  const std::span<unsigned char> bytes = output.GetSpan();
  if (!BSE::GetRandomBytes(bytes.first(nVector)))
    return false;
  BeginFile(bytes.first(nVector));
  const std::span<unsigned char> data = bytes.subspan(nVector);
  std::ranges::copy(input, data.begin());
  std::ranges::fill(data.subspan(input.size()), static_cast<unsigned char>(GetPadding(nLength)));
  EncryptBlock(data, data.data());
  return true;
}

void CRC4CryptAlgorithm::SetKey(std::span<const unsigned char> fileKey, int nObjNumber, int nGenNumber)
{
  m_nKeyLength = DeriveObjectKey(fileKey, nObjNumber, nGenNumber, false, m_key);
}

void CRC4CryptAlgorithm::BeginFile(std::span<const unsigned char>)
{
  m_cipher = BSE::CRC4(std::span<const unsigned char>(m_key).first(m_nKeyLength));
}

void CRC4CryptAlgorithm::DecryptBlock(std::span<const unsigned char> input, unsigned char* pOutput)
{
  m_cipher.Process(input, pOutput);
}

void CRC4CryptAlgorithm::EncryptBlock(std::span<const unsigned char> input, unsigned char* pOutput)
{
  m_cipher.Process(input, pOutput);
}

void CAESCryptAlgorithm::SetKey(std::span<const unsigned char> fileKey, int nObjNumber, int nGenNumber)
{
  std::array<unsigned char, 16> key{};
  const std::size_t nLength = DeriveObjectKey(fileKey, nObjNumber, nGenNumber, true, key);
  m_cipher = BSE::CAES(std::span<const unsigned char>(key).first(nLength));
}

void CAESCryptAlgorithm::BeginFile(std::span<const unsigned char> vector)
{
  std::ranges::copy(vector.first(sizeof(m_vector)), m_vector);
}

void CAESCryptAlgorithm::DecryptBlock(std::span<const unsigned char> input, unsigned char* pOutput)
{
  m_cipher.DecryptChained(input, pOutput, m_vector);
}

void CAESCryptAlgorithm::EncryptBlock(std::span<const unsigned char> input, unsigned char* pOutput)
{
  m_cipher.EncryptChained(input, pOutput, m_vector);
}

void CAESV3CryptAlgorithm::SetKey(std::span<const unsigned char> fileKey, int, int)
{
  if (!m_bKeyed)
    m_cipher = BSE::CAES(fileKey);
  m_bKeyed = true;
}

}  // namespace PDF
