#include "base/Hash.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace BSE
{
namespace
{

// Digests of "abc", of the 896-bit message of FIPS 180-4, of a million letters a, and of the chained digests
// of all the beginnings of a pattern up to 299 bytes, which meet every case of the padding.
struct TCase
{
  std::unique_ptr<CHashFunction> (*m_pfCreate)();
  const char* m_szShort;
  const char* m_szLong;
  const char* m_szMillion;
  const char* m_szChain;
};

const TCase g_cases[] = {
    {[] { return std::unique_ptr<CHashFunction>(new CHashMD5()); }, "900150983cd24fb0d6963f7d28e17f72",
     "03dd8807a93175fb062dfb55dc7d359c", "7707d6ae4e027c70eea2a935c2296f21",
     "7822672476780d31feb48545a90bc2ae"},
    {[] { return std::unique_ptr<CHashFunction>(new CHashSHA1()); },
     "a9993e364706816aba3e25717850c26c9cd0d89d", "a49b2446a02c645bf419f995b67091253a04a259",
     "34aa973cd4c4daa4f61eeb2bdbad27316534016f", "ca9349a03c700fe25e6c2cde997aa96ac2227d8a"},
    {[] { return std::unique_ptr<CHashFunction>(new CHashSHA224()); },
     "23097d223405d8228642a477bda255b32aadbce4bda0b3f7e36c9da7",
     "c97ca9a559850ce97a04a96def6d99a9e0e0e2ab14e6b8df265fc0b3",
     "20794655980c91d8bbb4c1ea97618a4bf03f42581948b2ee4ee7ad67",
     "5f7950f53f41eebd9543fb23018cdccfb5c4c3bfb2a89447014ef130"},
    {[] { return std::unique_ptr<CHashFunction>(new CHashSHA256()); },
     "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
     "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1",
     "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0",
     "7b074096cabb18dd0d1b468a173cb2f97f80e952525bca29542e606fd6d0753a"},
    {[] { return std::unique_ptr<CHashFunction>(new CHashSHA256(TCodePath::Portable)); },
     "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
     "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1",
     "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0",
     "7b074096cabb18dd0d1b468a173cb2f97f80e952525bca29542e606fd6d0753a"},
    {[] { return std::unique_ptr<CHashFunction>(new CHashSHA384()); },
     "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed8086072ba1e7cc2358baeca134c825a7",
     "09330c33f71147e83d192fc782cd1b4753111b173b3b05d22fa08086e3b0f712fcc7c71a557e2db966c3e9fa91746039",
     "9d0e1809716474cb086e834e310a4a1ced149e9c00f248527972cec5704c2a5b07b8b3dc38ecc4ebae97ddd87f3d8985",
     "3349f9e93dc68265966dd4b4eeb7d0a68a152793b87f45699e689686e9c4438a66fff34d4f5a8f701dafeec6c29475d2"},
    {[] { return std::unique_ptr<CHashFunction>(new CHashSHA512()); },
     "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a2192992a274fc1a836ba3c23a3feebbd454d442"
     "3643ce80e2a9ac94fa54ca49f",
     "8e959b75dae313da8cf4f72814fc143f8f7779c6eb9f7fa17299aeadb6889018501d289e4900f7e4331b99dec4b5433ac7d329e"
     "eb6dd26545e96e55b874be909",
     "e718483d0ce769644e2e42c7bc15b4638e1f98b13b2044285632a803afa973ebde0ff244877ea60a4cb0432ce577c31beb009c5"
     "c2c49aa2e4eadb217ad8cc09b",
     "ef606bab51d67f7cb5a90635c7fcde9f432e07fcdf712be07573dfce3f71136c5e01c111214f5e2038133624ee53638b903fa43"
     "83bcee60d1b5aa63a5aac7c77"},
};

constexpr std::string_view g_szLong =
    "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmno"
    "ijklmnopjklmnopqklmnopqrlmnopqrsmnopqrstnopqrstu";

std::span<const unsigned char> Bytes(std::string_view text)
{
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::vector<unsigned char> Finish(CHashFunction& hash)
{
  std::vector<unsigned char> digest(static_cast<std::size_t>(hash.GetDigestSize()));
  hash.Final(digest);
  return digest;
}

std::string ToHex(std::span<const unsigned char> bytes)
{
  std::string text;
  for (const unsigned char nByte : bytes)
  {
    text += "0123456789abcdef"[nByte >> 4];
    text += "0123456789abcdef"[nByte & 15];
  }
  return text;
}

std::string Digest(CHashFunction& hash, std::string_view text)
{
  hash.Reset();
  hash.Update(Bytes(text));
  return ToHex(Finish(hash));
}

TEST(Hash, PublishedVectors)
{
  const std::string million(1000000, 'a');
  for (const TCase& c : g_cases)
  {
    const auto pHash = c.m_pfCreate();
    EXPECT_EQ(Digest(*pHash, "abc"), c.m_szShort);
    EXPECT_EQ(Digest(*pHash, g_szLong), c.m_szLong);
    EXPECT_EQ(Digest(*pHash, million), c.m_szMillion);
  }
  EXPECT_EQ(ToHex(ComputeHash<CHashMD5>({})), "d41d8cd98f00b204e9800998ecf8427e");
}

TEST(Hash, EveryLengthAndPiece)
{
  std::string pattern;
  for (int i = 0; i < 300; ++i)
    pattern += static_cast<char>(i * 7 + 3);
  for (const TCase& c : g_cases)
  {
    const auto pChain = c.m_pfCreate();
    const auto pHash = c.m_pfCreate();
    for (std::size_t nLength = 0; nLength < pattern.size(); ++nLength)
    {
      pHash->Reset();
      const std::size_t nPiece = nLength % 37 + 1;
      for (std::size_t nPos = 0; nPos < nLength; nPos += nPiece)
      {
        pHash->Update(Bytes(std::string_view(pattern).substr(nPos, std::min(nPiece, nLength - nPos))));
        pHash->Update({});
      }
      pChain->Update(Finish(*pHash));
    }
    EXPECT_EQ(ToHex(Finish(*pChain)), c.m_szChain);
  }
}

}  // namespace
}  // namespace BSE
