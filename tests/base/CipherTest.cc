#include "base/Cipher.h"

#include "base/Random.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace BSE
{
namespace
{

using TBytes = std::vector<unsigned char>;

TBytes FromHex(const std::string& hex)
{
  TBytes bytes;
  for (std::size_t i = 0; i < hex.size(); i += 2)
    bytes.push_back(static_cast<unsigned char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  return bytes;
}

struct TChain
{
  unsigned char m_bytes[CAES::g_nBlockSize] = {};
  TChain() = default;
  explicit TChain(const TBytes& bytes) { std::copy_n(bytes.begin(), CAES::g_nBlockSize, m_bytes); }
};

TBytes Encrypt(const CAES& cipher, const TBytes& text, TChain vector)
{
  TBytes result(text.size());
  cipher.EncryptChained(text, result.data(), vector.m_bytes);
  return result;
}

TBytes Decrypt(const CAES& cipher, const TBytes& text, TChain vector)
{
  TBytes result(text.size());
  cipher.DecryptChained(text, result.data(), vector.m_bytes);
  return result;
}

constexpr TCodePath g_codePaths[] = {TCodePath::Best, TCodePath::Portable};

// RFC 6229 (offset 0 of the key stream) and the older vectors of the algorithm's first publication.
TEST(RC4, PublishedVectors)
{
  const struct
  {
    const char* m_szKey;
    const char* m_szText;
    const char* m_szResult;
  } cases[] = {
      {"0102030405", "00000000000000000000000000000000", "b2396305f03dc027ccc3524a0a1118a8"},
      {"0102030405060708090a0b0c0d0e0f10", "00000000000000000000000000000000",
       "9ac7cc9a609d1ef7b2932899cde41b97"},
      {"4b6579", "506c61696e74657874", "bbf316e8d940af0ad3"},
      {"57696b69", "7065646961", "1021bf0420"},
  };
  for (const auto& c : cases)
  {
    const TBytes text = FromHex(c.m_szText);
    TBytes result(text.size());
    CRC4 cipher(FromHex(c.m_szKey));
    cipher.Process(std::span(text).first(3), result.data());
    cipher.Process(std::span(text).subspan(3), result.data() + 3);
    EXPECT_EQ(result, FromHex(c.m_szResult)) << c.m_szKey;
  }
}

// FIPS 197, appendix C: one block each.
TEST(AES, PublishedBlocks)
{
  const TBytes text = FromHex("00112233445566778899aabbccddeeff");
  const struct
  {
    std::size_t m_nKeyLength;
    const char* m_szResult;
  } cases[] = {{16, "69c4e0d86a7b0430d8cdb78070b4c55a"},
               {24, "dda97ca4864cdfe06eaf70a0ec0d7191"},
               {32, "8ea2b7ca516745bfeafc49904b496089"}};
  for (const auto& c : cases)
    for (const TCodePath codePath : g_codePaths)
    {
      TBytes key(c.m_nKeyLength);
      for (std::size_t i = 0; i < key.size(); ++i)
        key[i] = static_cast<unsigned char>(i);
      const CAES cipher(key, codePath);
      EXPECT_EQ(Encrypt(cipher, text, TChain()), FromHex(c.m_szResult));
      EXPECT_EQ(Decrypt(cipher, FromHex(c.m_szResult), TChain()), text);
    }
}

// NIST SP 800-38A, F.2.1 and F.2.5.
TEST(AES, PublishedChains)
{
  const TBytes text = FromHex(
      "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
      "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710");
  const TChain vector(FromHex("000102030405060708090a0b0c0d0e0f"));
  const struct
  {
    const char* m_szKey;
    const char* m_szResult;
  } cases[] = {{"2b7e151628aed2a6abf7158809cf4f3c",
                "7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"
                "73bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7"},
               {"603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4",
                "f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"
                "39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b"}};
  for (const auto& c : cases)
    for (const TCodePath codePath : g_codePaths)
    {
      const CAES cipher(FromHex(c.m_szKey), codePath);
      EXPECT_EQ(Encrypt(cipher, text, vector), FromHex(c.m_szResult));
      EXPECT_EQ(Decrypt(cipher, FromHex(c.m_szResult), vector), text);
    }
}

TEST(AES, CodePathsAgreeInPlaceAndInPieces)
{
  std::mt19937 random(3);
  for (int nRun = 0; nRun < 60; ++nRun)
  {
    TBytes key(nRun % 2 ? 16 : 32);
    TBytes text(16 * (random() % 23));
    std::ranges::generate(key, [&] { return static_cast<unsigned char>(random()); });
    std::ranges::generate(text, [&] { return static_cast<unsigned char>(random()); });
    const CAES fast(key);
    const CAES portable(key, TCodePath::Portable);
    const TBytes encrypted = Encrypt(portable, text, TChain(key));
    EXPECT_EQ(Encrypt(fast, text, TChain(key)), encrypted);
    EXPECT_EQ(Decrypt(fast, encrypted, TChain(key)), text);
    EXPECT_EQ(Decrypt(portable, encrypted, TChain(key)), text);
    for (const CAES* pCipher : {&fast, &portable})
    {
      TBytes inPlace = text;
      const std::size_t nFirst = text.size() / 32 * 16;
      const std::span<unsigned char> pieces[] = {std::span(inPlace).first(nFirst),
                                                 std::span(inPlace).subspan(nFirst)};
      TChain chain(key);
      for (const auto piece : pieces)
        pCipher->EncryptChained(piece, piece.data(), chain.m_bytes);
      EXPECT_EQ(inPlace, encrypted);
      chain = TChain(key);
      for (const auto piece : pieces)
        pCipher->DecryptChained(piece, piece.data(), chain.m_bytes);
      EXPECT_EQ(inPlace, text);
    }
  }
}

TEST(Random, FillsAllBytes)
{
  TBytes first(1000);
  TBytes second(1000);
  ASSERT_TRUE(GetRandomBytes(first));
  ASSERT_TRUE(GetRandomBytes(second));
  EXPECT_NE(first, second);
  EXPECT_LT(std::count(first.begin() + 500, first.end(), 0), 50);
}

}  // namespace
}  // namespace BSE
