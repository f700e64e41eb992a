#include "base/ByteOrder.h"
#include "base/Hash.h"

#include <algorithm>
#include <bit>
#include <utility>

// MD5, RFC 1321. The 64 steps are instantiated one by one, so that the rotation of the four registers costs
// nothing.
namespace BSE
{

namespace
{

constexpr std::uint32_t g_start[4] = {0x67452301U, 0xEFCDAB89U, 0x98BADCFEU, 0x10325476U};

// 2^32 times the absolute sine of 1 to 64 (RFC 1321, 3.4).
constexpr std::uint32_t g_sines[64] = {
    0xD76AA478U, 0xE8C7B756U, 0x242070DBU, 0xC1BDCEEEU, 0xF57C0FAFU, 0x4787C62AU, 0xA8304613U, 0xFD469501U,
    0x698098D8U, 0x8B44F7AFU, 0xFFFF5BB1U, 0x895CD7BEU, 0x6B901122U, 0xFD987193U, 0xA679438EU, 0x49B40821U,
    0xF61E2562U, 0xC040B340U, 0x265E5A51U, 0xE9B6C7AAU, 0xD62F105DU, 0x02441453U, 0xD8A1E681U, 0xE7D3FBC8U,
    0x21E1CDE6U, 0xC33707D6U, 0xF4D50D87U, 0x455A14EDU, 0xA9E3E905U, 0xFCEFA3F8U, 0x676F02D9U, 0x8D2A4C8AU,
    0xFFFA3942U, 0x8771F681U, 0x6D9D6122U, 0xFDE5380CU, 0xA4BEEA44U, 0x4BDECFA9U, 0xF6BB4B60U, 0xBEBFBC70U,
    0x289B7EC6U, 0xEAA127FAU, 0xD4EF3085U, 0x04881D05U, 0xD9D4D039U, 0xE6DB99E5U, 0x1FA27CF8U, 0xC4AC5665U,
    0xF4292244U, 0x432AFF97U, 0xAB9423A7U, 0xFC93A039U, 0x655B59C3U, 0x8F0CCC92U, 0xFFEFF47DU, 0x85845DD1U,
    0x6FA87E4FU, 0xFE2CE6E0U, 0xA3014314U, 0x4E0811A1U, 0xF7537E82U, 0xBD3AF235U, 0x2AD7D2BBU, 0xEB86D391U,
};

constexpr int g_shifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

template <std::size_t i>
[[gnu::always_inline]] inline void Step(std::uint32_t (&v)[4], const unsigned char* pBlock)
{
  std::uint32_t& a = v[(0 - i) & 3];
  const std::uint32_t b = v[(1 - i) & 3];
  const std::uint32_t c = v[(2 - i) & 3];
  const std::uint32_t d = v[(3 - i) & 3];
  constexpr std::size_t nRound = i / 16;
  constexpr std::size_t nWord =
      (nRound == 0 ? i : (nRound == 1 ? 5 * i + 1 : (nRound == 2 ? 3 * i + 5 : 7 * i))) & 15;
  std::uint32_t f = 0;
  if constexpr (nRound == 0)
    f = d ^ (b & (c ^ d));
  else if constexpr (nRound == 1)
    f = (c & ~d) + (b & d);
  else if constexpr (nRound == 2)
    f = b ^ c ^ d;
  else
    f = c ^ (b | ~d);
  a += f + LoadLittleEndian<std::uint32_t>(pBlock + 4 * nWord) + g_sines[i];
  a = b + std::rotl(a, g_shifts[nRound][i & 3]);
}

template <std::size_t... i>
[[gnu::always_inline]] inline void AllSteps(std::uint32_t (&v)[4], const unsigned char* pBlock,
                                            std::index_sequence<i...>)
{
  (Step<i>(v, pBlock), ...);
}

}  // namespace

void CHashMD5::Reset()
{
  CBlockHash::Reset();
  std::ranges::copy(g_start, m_state);
}

void CHashMD5::ProcessBlocks(const unsigned char* pBlocks, std::size_t nBlocks)
{
  for (; nBlocks > 0; --nBlocks, pBlocks += 64)
  {
    std::uint32_t v[4] = {m_state[0], m_state[1], m_state[2], m_state[3]};
    AllSteps(v, pBlocks, std::make_index_sequence<64>());
    for (int i = 0; i < 4; ++i)
      m_state[i] += v[i];
  }
}

void CHashMD5::Final(std::span<unsigned char> digest)
{
  Pad(false);
  unsigned char bytes[g_nDigestSize];
  for (int i = 0; i < 4; ++i)
    StoreLittleEndian(m_state[i], bytes + 4 * i);
  std::copy_n(bytes, std::min(digest.size(), sizeof(bytes)), digest.begin());
}

}  // namespace BSE
