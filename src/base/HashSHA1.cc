#include "base/ByteOrder.h"
#include "base/Hash.h"

#include <algorithm>
#include <bit>
#include <utility>

// SHA-1, FIPS 180-4, 6.1, with the steps instantiated one by one and the message schedule kept in 16 words.
namespace BSE
{

namespace
{

constexpr std::uint32_t g_start[5] = {0x67452301U, 0xEFCDAB89U, 0x98BADCFEU, 0x10325476U, 0xC3D2E1F0U};
constexpr std::uint32_t g_constants[4] = {0x5A827999U, 0x6ED9EBA1U, 0x8F1BBCDCU, 0xCA62C1D6U};

template <std::size_t i>
[[gnu::always_inline]] inline void Step(std::uint32_t (&v)[5], std::uint32_t (&w)[16])
{
  const std::uint32_t a = v[(80 - i) % 5];
  std::uint32_t& b = v[(81 - i) % 5];
  const std::uint32_t c = v[(82 - i) % 5];
  const std::uint32_t d = v[(83 - i) % 5];
  std::uint32_t& e = v[(84 - i) % 5];
  if constexpr (i >= 16)
    w[i & 15] = std::rotl(w[(i + 13) & 15] ^ w[(i + 8) & 15] ^ w[(i + 2) & 15] ^ w[i & 15], 1);
  constexpr std::size_t nRound = i / 20;
  std::uint32_t f = 0;
  if constexpr (nRound == 0)
    f = d ^ (b & (c ^ d));
  else if constexpr (nRound == 2)
    f = (b & c) | (d & (b | c));
  else
    f = b ^ c ^ d;
  e += std::rotl(a, 5) + f + g_constants[nRound] + w[i & 15];
  b = std::rotl(b, 30);
}

template <std::size_t... i>
[[gnu::always_inline]] inline void AllSteps(std::uint32_t (&v)[5], std::uint32_t (&w)[16],
                                            std::index_sequence<i...>)
{
  (Step<i>(v, w), ...);
}

}  // namespace

void CHashSHA1::Reset()
{
  CBlockHash::Reset();
  std::ranges::copy(g_start, m_state);
}

void CHashSHA1::ProcessBlocks(const unsigned char* pBlocks, std::size_t nBlocks)
{
  for (; nBlocks > 0; --nBlocks, pBlocks += 64)
  {
    std::uint32_t w[16];
    for (int i = 0; i < 16; ++i)
      w[i] = LoadBigEndian<std::uint32_t>(pBlocks + 4 * i);
    std::uint32_t v[5] = {m_state[0], m_state[1], m_state[2], m_state[3], m_state[4]};
    AllSteps(v, w, std::make_index_sequence<80>());
    for (int i = 0; i < 5; ++i)
      m_state[i] += v[i];
  }
}

void CHashSHA1::Final(std::span<unsigned char> digest)
{
  Pad(true);
  unsigned char bytes[g_nDigestSize];
  for (int i = 0; i < 5; ++i)
    StoreBigEndian(m_state[i], bytes + 4 * i);
  std::copy_n(bytes, std::min(digest.size(), sizeof(bytes)), digest.begin());
}

}  // namespace BSE
