#include "base/ByteOrder.h"
#include "base/Cipher.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

// AES, FIPS 197. The portable code joins substitution and column mixing in tables of words, the byte of the
// first row in the high bits, which are computed at compile time from the definition of the S-box (5.1.1).
// Decryption is the equivalent inverse cipher (5.3.5), which has the same shape and is what the processor's
// instructions do.
namespace BSE
{

namespace
{

// Product in GF(2^8) modulo x^8 + x^4 + x^3 + x + 1.
constexpr unsigned Multiply(unsigned a, unsigned b)
{
  unsigned nProduct = 0;
  for (; b != 0; b >>= 1, a = (a << 1) ^ (a & 0x80 ? 0x11BU : 0U))
    if (b & 1)
      nProduct ^= a;
  return nProduct;
}

struct TTables
{
  std::array<unsigned char, 256> m_box{};
  std::array<unsigned char, 256> m_inverseBox{};
  std::array<std::uint32_t, 256> m_mix{};         // substitution, then a column of MixColumns
  std::array<std::uint32_t, 256> m_inverseMix{};  // the same for InvMixColumns
};

constexpr TTables MakeTables()
{
  TTables tables;
  // The powers of 3 run through all values but 0; those of its inverse 0xF6 through their inverses.
  unsigned nValue = 1;
  unsigned nInverse = 1;
  do
  {
    nValue = Multiply(nValue, 3);
    nInverse = Multiply(nInverse, 0xF6);
    const auto n = static_cast<unsigned char>(nInverse);
    tables.m_box[nValue] = static_cast<unsigned char>(n ^ std::rotl(n, 1) ^ std::rotl(n, 2) ^
                                                      std::rotl(n, 3) ^ std::rotl(n, 4) ^ 0x63);
  } while (nValue != 1);
  tables.m_box[0] = 0x63;
  for (unsigned i = 0; i < 256; ++i)
    tables.m_inverseBox[tables.m_box[i]] = static_cast<unsigned char>(i);
  for (unsigned i = 0; i < 256; ++i)
  {
    const unsigned s = tables.m_box[i];
    tables.m_mix[i] = Multiply(s, 2) << 24 | s << 16 | s << 8 | Multiply(s, 3);
    const unsigned r = tables.m_inverseBox[i];
    tables.m_inverseMix[i] =
        Multiply(r, 14) << 24 | Multiply(r, 9) << 16 | Multiply(r, 13) << 8 | Multiply(r, 11);
  }
  return tables;
}

constexpr TTables g_tables = MakeTables();
static_assert(g_tables.m_box[0x53] == 0xED && g_tables.m_inverseBox[0xED] == 0x53);

using TState = std::array<std::uint32_t, 4>;  // columns

TState Load(const unsigned char* pBytes)
{
  TState state;
  for (std::size_t i = 0; i < 4; ++i)
    state[i] = LoadBigEndian<std::uint32_t>(pBytes + 4 * i);
  return state;
}

void Store(const TState& state, unsigned char* pBytes)
{
  for (std::size_t i = 0; i < 4; ++i)
    StoreBigEndian(state[i], pBytes + 4 * i);
}

TState Xor(const TState& a, const TState& b)
{
  return {a[0] ^ b[0], a[1] ^ b[1], a[2] ^ b[2], a[3] ^ b[3]};
}

// Column whose bytes come from the columns a to d, row by row, through a table of words or of bytes.
std::uint32_t MixRow(const std::array<std::uint32_t, 256>& table, std::uint32_t a, std::uint32_t b,
                     std::uint32_t c, std::uint32_t d)
{
  return table[a >> 24] ^ std::rotr(table[b >> 16 & 0xFF], 8) ^ std::rotr(table[c >> 8 & 0xFF], 16) ^
         std::rotr(table[d & 0xFF], 24);
}

std::uint32_t BoxRow(const std::array<unsigned char, 256>& box, std::uint32_t a, std::uint32_t b,
                     std::uint32_t c, std::uint32_t d)
{
  return std::uint32_t{box[a >> 24]} << 24 | std::uint32_t{box[b >> 16 & 0xFF]} << 16 |
         std::uint32_t{box[c >> 8 & 0xFF]} << 8 | box[d & 0xFF];
}

TState EncryptBlock(TState s, const unsigned char* pKeys, std::size_t nRounds)
{
  s = Xor(s, Load(pKeys));
  for (std::size_t i = 1; i < nRounds; ++i)
  {
    const auto& t = g_tables.m_mix;
    s = Xor({MixRow(t, s[0], s[1], s[2], s[3]), MixRow(t, s[1], s[2], s[3], s[0]),
             MixRow(t, s[2], s[3], s[0], s[1]), MixRow(t, s[3], s[0], s[1], s[2])},
            Load(pKeys + i * CAES::g_nBlockSize));
  }
  const auto& b = g_tables.m_box;
  return Xor({BoxRow(b, s[0], s[1], s[2], s[3]), BoxRow(b, s[1], s[2], s[3], s[0]),
              BoxRow(b, s[2], s[3], s[0], s[1]), BoxRow(b, s[3], s[0], s[1], s[2])},
             Load(pKeys + nRounds * CAES::g_nBlockSize));
}

TState DecryptBlock(TState s, const unsigned char* pKeys, std::size_t nRounds)
{
  s = Xor(s, Load(pKeys));
  for (std::size_t i = 1; i < nRounds; ++i)
  {
    const auto& t = g_tables.m_inverseMix;
    s = Xor({MixRow(t, s[0], s[3], s[2], s[1]), MixRow(t, s[1], s[0], s[3], s[2]),
             MixRow(t, s[2], s[1], s[0], s[3]), MixRow(t, s[3], s[2], s[1], s[0])},
            Load(pKeys + i * CAES::g_nBlockSize));
  }
  const auto& b = g_tables.m_inverseBox;
  return Xor({BoxRow(b, s[0], s[3], s[2], s[1]), BoxRow(b, s[1], s[0], s[3], s[2]),
              BoxRow(b, s[2], s[1], s[0], s[3]), BoxRow(b, s[3], s[2], s[1], s[0])},
             Load(pKeys + nRounds * CAES::g_nBlockSize));
}

void EncryptByTables(const unsigned char* pKeys, std::size_t nRounds, const unsigned char* pInput,
                     unsigned char* pOutput, std::size_t nBlocks, unsigned char* pVector)
{
  TState chain = Load(pVector);
  for (; nBlocks > 0; --nBlocks, pInput += CAES::g_nBlockSize, pOutput += CAES::g_nBlockSize)
  {
    chain = EncryptBlock(Xor(chain, Load(pInput)), pKeys, nRounds);
    Store(chain, pOutput);
  }
  Store(chain, pVector);
}

void DecryptByTables(const unsigned char* pKeys, std::size_t nRounds, const unsigned char* pInput,
                     unsigned char* pOutput, std::size_t nBlocks, unsigned char* pVector)
{
  TState chain = Load(pVector);
  for (; nBlocks > 0; --nBlocks, pInput += CAES::g_nBlockSize, pOutput += CAES::g_nBlockSize)
  {
    const TState block = Load(pInput);
    Store(Xor(DecryptBlock(block, pKeys, nRounds), chain), pOutput);
    chain = block;
  }
  Store(chain, pVector);
}

#if defined(__x86_64__)

#define BREVEX_AES_CODE __attribute__((target("aes,sse2")))

bool HasInstructions()
{
  static const bool bHas = __builtin_cpu_supports("aes");
  return bHas;
}

BREVEX_AES_CODE inline __m128i LoadBlock(const unsigned char* pBytes)
{
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(pBytes));
}

BREVEX_AES_CODE inline void StoreBlock(__m128i block, unsigned char* pBytes)
{
  _mm_storeu_si128(reinterpret_cast<__m128i*>(pBytes), block);
}

BREVEX_AES_CODE void EncryptByInstructions(const unsigned char* pKeys, std::size_t nRounds,
                                           const unsigned char* pInput, unsigned char* pOutput,
                                           std::size_t nBlocks, unsigned char* pVector)
{
  __m128i chain = LoadBlock(pVector);
  for (; nBlocks > 0; --nBlocks, pInput += CAES::g_nBlockSize, pOutput += CAES::g_nBlockSize)
  {
    chain = _mm_xor_si128(_mm_xor_si128(chain, LoadBlock(pInput)), LoadBlock(pKeys));
    for (std::size_t i = 1; i < nRounds; ++i)
      chain = _mm_aesenc_si128(chain, LoadBlock(pKeys + i * CAES::g_nBlockSize));
    chain = _mm_aesenclast_si128(chain, LoadBlock(pKeys + nRounds * CAES::g_nBlockSize));
    StoreBlock(chain, pOutput);
  }
  StoreBlock(chain, pVector);
}

// Decrypts a group of blocks side by side, which hides the latency of the instructions.
template <int nGroup>
BREVEX_AES_CODE inline void DecryptGroup(const unsigned char* pKeys, std::size_t nRounds,
                                         const unsigned char* pInput, unsigned char* pOutput, __m128i& chain)
{
  __m128i blocks[nGroup];
  __m128i chains[nGroup];
  const __m128i first = LoadBlock(pKeys);
  for (int i = 0; i < nGroup; ++i)
  {
    const __m128i block = LoadBlock(pInput + i * static_cast<int>(CAES::g_nBlockSize));
    chains[i] = chain;
    chain = block;
    blocks[i] = _mm_xor_si128(block, first);
  }
  for (std::size_t nRound = 1; nRound < nRounds; ++nRound)
  {
    const __m128i key = LoadBlock(pKeys + nRound * CAES::g_nBlockSize);
    for (int i = 0; i < nGroup; ++i)
      blocks[i] = _mm_aesdec_si128(blocks[i], key);
  }
  const __m128i last = LoadBlock(pKeys + nRounds * CAES::g_nBlockSize);
  for (int i = 0; i < nGroup; ++i)
    StoreBlock(_mm_xor_si128(_mm_aesdeclast_si128(blocks[i], last), chains[i]),
               pOutput + i * static_cast<int>(CAES::g_nBlockSize));
}

BREVEX_AES_CODE void DecryptByInstructions(const unsigned char* pKeys, std::size_t nRounds,
                                           const unsigned char* pInput, unsigned char* pOutput,
                                           std::size_t nBlocks, unsigned char* pVector)
{
  constexpr int nGroup = 4;
  __m128i chain = LoadBlock(pVector);
  for (; nBlocks >= nGroup; nBlocks -= nGroup)
  {
    DecryptGroup<nGroup>(pKeys, nRounds, pInput, pOutput, chain);
    pInput += nGroup * CAES::g_nBlockSize;
    pOutput += nGroup * CAES::g_nBlockSize;
  }
  for (; nBlocks > 0; --nBlocks, pInput += CAES::g_nBlockSize, pOutput += CAES::g_nBlockSize)
    DecryptGroup<1>(pKeys, nRounds, pInput, pOutput, chain);
  StoreBlock(chain, pVector);
}

#undef BREVEX_AES_CODE

#else

bool HasInstructions()
{
  return false;
}

constexpr auto& EncryptByInstructions = EncryptByTables;
constexpr auto& DecryptByInstructions = DecryptByTables;

#endif

}  // namespace

CAES::CAES(std::span<const unsigned char> key, TCodePath codePath)
    : m_bInstructions(codePath == TCodePath::Best && HasInstructions())
{
  unsigned char bytes[32] = {};
  const std::size_t nLength = key.size() <= 16 ? 16 : (key.size() <= 24 ? 24 : 32);
  std::copy_n(key.begin(), std::min(key.size(), nLength), bytes);
  ExpandKey({bytes, nLength});
  InvertKeys();
}

// FIPS 197, 5.2.
void CAES::ExpandKey(std::span<const unsigned char> key)
{
  const std::size_t nKeyWords = key.size() / 4;
  m_nRounds = nKeyWords + 6;
  std::ranges::copy(key, m_encryptKeys);
  unsigned nRoundConstant = 1;
  for (std::size_t i = nKeyWords; i < 4 * (m_nRounds + 1); ++i)
  {
    std::uint32_t nWord = LoadBigEndian<std::uint32_t>(m_encryptKeys + 4 * (i - 1));
    if (i % nKeyWords == 0)
    {
      nWord = std::rotl(nWord, 8);
      nWord = BoxRow(g_tables.m_box, nWord, nWord, nWord, nWord) ^ nRoundConstant << 24;
      nRoundConstant = Multiply(nRoundConstant, 2);
    }
    else if (nKeyWords > 6 && i % nKeyWords == 4)
      nWord = BoxRow(g_tables.m_box, nWord, nWord, nWord, nWord);
    StoreBigEndian(nWord ^ LoadBigEndian<std::uint32_t>(m_encryptKeys + 4 * (i - nKeyWords)),
                   m_encryptKeys + 4 * i);
  }
}

void CAES::InvertKeys()
{
  for (std::size_t nRound = 0; nRound <= m_nRounds; ++nRound)
  {
    TState key = Load(m_encryptKeys + (m_nRounds - nRound) * g_nBlockSize);
    if (nRound > 0 && nRound < m_nRounds)
      for (std::uint32_t& nWord : key)
      {
        // The table substitutes inversely first: the S-box undoes that.
        const std::uint32_t n = BoxRow(g_tables.m_box, nWord, nWord, nWord, nWord);
        nWord = MixRow(g_tables.m_inverseMix, n, n, n, n);
      }
    Store(key, m_decryptKeys + nRound * g_nBlockSize);
  }
}

void CAES::EncryptChained(std::span<const unsigned char> input, unsigned char* pOutput, TVector& vector) const
{
  (m_bInstructions ? EncryptByInstructions : EncryptByTables)(m_encryptKeys, m_nRounds, input.data(), pOutput,
                                                              input.size() / g_nBlockSize, vector);
}

void CAES::DecryptChained(std::span<const unsigned char> input, unsigned char* pOutput, TVector& vector) const
{
  (m_bInstructions ? DecryptByInstructions : DecryptByTables)(m_decryptKeys, m_nRounds, input.data(), pOutput,
                                                              input.size() / g_nBlockSize, vector);
}

}  // namespace BSE
