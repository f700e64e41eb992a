#include "base/ByteOrder.h"
#include "base/Hash.h"

#include <algorithm>
#include <bit>
#include <utility>

#if defined(__x86_64__)
#include <cpuid.h>
#include <immintrin.h>
#endif

// The SHA-2 family, FIPS 180-4, 6.2 to 6.5. SHA-256 and SHA-512 differ in the word width and in a few
// rotations; the 32-bit constants are the upper halves of the 64-bit ones.
namespace BSE
{

namespace
{

// Fractions of the cube roots of the first 80 primes.
constexpr std::uint64_t g_constants[80] = {
    0x428A2F98D728AE22ULL, 0x7137449123EF65CDULL, 0xB5C0FBCFEC4D3B2FULL, 0xE9B5DBA58189DBBCULL,
    0x3956C25BF348B538ULL, 0x59F111F1B605D019ULL, 0x923F82A4AF194F9BULL, 0xAB1C5ED5DA6D8118ULL,
    0xD807AA98A3030242ULL, 0x12835B0145706FBEULL, 0x243185BE4EE4B28CULL, 0x550C7DC3D5FFB4E2ULL,
    0x72BE5D74F27B896FULL, 0x80DEB1FE3B1696B1ULL, 0x9BDC06A725C71235ULL, 0xC19BF174CF692694ULL,
    0xE49B69C19EF14AD2ULL, 0xEFBE4786384F25E3ULL, 0x0FC19DC68B8CD5B5ULL, 0x240CA1CC77AC9C65ULL,
    0x2DE92C6F592B0275ULL, 0x4A7484AA6EA6E483ULL, 0x5CB0A9DCBD41FBD4ULL, 0x76F988DA831153B5ULL,
    0x983E5152EE66DFABULL, 0xA831C66D2DB43210ULL, 0xB00327C898FB213FULL, 0xBF597FC7BEEF0EE4ULL,
    0xC6E00BF33DA88FC2ULL, 0xD5A79147930AA725ULL, 0x06CA6351E003826FULL, 0x142929670A0E6E70ULL,
    0x27B70A8546D22FFCULL, 0x2E1B21385C26C926ULL, 0x4D2C6DFC5AC42AEDULL, 0x53380D139D95B3DFULL,
    0x650A73548BAF63DEULL, 0x766A0ABB3C77B2A8ULL, 0x81C2C92E47EDAEE6ULL, 0x92722C851482353BULL,
    0xA2BFE8A14CF10364ULL, 0xA81A664BBC423001ULL, 0xC24B8B70D0F89791ULL, 0xC76C51A30654BE30ULL,
    0xD192E819D6EF5218ULL, 0xD69906245565A910ULL, 0xF40E35855771202AULL, 0x106AA07032BBD1B8ULL,
    0x19A4C116B8D2D0C8ULL, 0x1E376C085141AB53ULL, 0x2748774CDF8EEB99ULL, 0x34B0BCB5E19B48A8ULL,
    0x391C0CB3C5C95A63ULL, 0x4ED8AA4AE3418ACBULL, 0x5B9CCA4F7763E373ULL, 0x682E6FF3D6B2B8A3ULL,
    0x748F82EE5DEFB2FCULL, 0x78A5636F43172F60ULL, 0x84C87814A1F0AB72ULL, 0x8CC702081A6439ECULL,
    0x90BEFFFA23631E28ULL, 0xA4506CEBDE82BDE9ULL, 0xBEF9A3F7B2C67915ULL, 0xC67178F2E372532BULL,
    0xCA273ECEEA26619CULL, 0xD186B8C721C0C207ULL, 0xEADA7DD6CDE0EB1EULL, 0xF57D4F7FEE6ED178ULL,
    0x06F067AA72176FBAULL, 0x0A637DC5A2C898A6ULL, 0x113F9804BEF90DAEULL, 0x1B710B35131C471BULL,
    0x28DB77F523047D84ULL, 0x32CAAB7B40C72493ULL, 0x3C9EBE0A15C9BEBCULL, 0x431D67C49C100D4CULL,
    0x4CC5D4BECB3E42B6ULL, 0x597F299CFC657E2AULL, 0x5FCB6FAB3AD6FAECULL, 0x6C44198C4A475817ULL,
};

// Fractions of the square roots of the first 16 primes: SHA-512 and the upper halves SHA-256 start with the
// first 8, SHA-384 and the lower halves SHA-224 with the last 8.
constexpr std::uint64_t g_starts[16] = {
    0x6A09E667F3BCC908ULL, 0xBB67AE8584CAA73BULL, 0x3C6EF372FE94F82BULL, 0xA54FF53A5F1D36F1ULL,
    0x510E527FADE682D1ULL, 0x9B05688C2B3E6C1FULL, 0x1F83D9ABFB41BD6BULL, 0x5BE0CD19137E2179ULL,
    0xCBBB9D5DC1059ED8ULL, 0x629A292A367CD507ULL, 0x9159015A3070DD17ULL, 0x152FECD8F70E5939ULL,
    0x67332667FFC00B31ULL, 0x8EB44A8768581511ULL, 0xDB0C2E0D64F98FA7ULL, 0x47B5481DBEFA4FA4ULL,
};

struct TConstants32
{
  alignas(16) std::uint32_t m_values[64];
  constexpr TConstants32() : m_values()
  {
    for (int i = 0; i < 64; ++i)
      m_values[i] = static_cast<std::uint32_t>(g_constants[i] >> 32);
  }
};
constexpr TConstants32 g_constants32;

// The functions and constants of a word width W (FIPS 180-4, 4.1.2 and 4.1.3).
template <class W>
struct TWord;

template <>
struct TWord<std::uint32_t>
{
  static constexpr std::size_t g_nRounds = 64;
  static constexpr std::uint32_t Constant(std::size_t i) { return g_constants32.m_values[i]; }
  static std::uint32_t Sum0(std::uint32_t x) { return std::rotr(x, 2) ^ std::rotr(x, 13) ^ std::rotr(x, 22); }
  static std::uint32_t Sum1(std::uint32_t x) { return std::rotr(x, 6) ^ std::rotr(x, 11) ^ std::rotr(x, 25); }
  static std::uint32_t Sigma0(std::uint32_t x) { return std::rotr(x, 7) ^ std::rotr(x, 18) ^ (x >> 3); }
  static std::uint32_t Sigma1(std::uint32_t x) { return std::rotr(x, 17) ^ std::rotr(x, 19) ^ (x >> 10); }
};

template <>
struct TWord<std::uint64_t>
{
  static constexpr std::size_t g_nRounds = 80;
  static constexpr std::uint64_t Constant(std::size_t i) { return g_constants[i]; }
  static std::uint64_t Sum0(std::uint64_t x)
  {
    return std::rotr(x, 28) ^ std::rotr(x, 34) ^ std::rotr(x, 39);
  }
  static std::uint64_t Sum1(std::uint64_t x)
  {
    return std::rotr(x, 14) ^ std::rotr(x, 18) ^ std::rotr(x, 41);
  }
  static std::uint64_t Sigma0(std::uint64_t x) { return std::rotr(x, 1) ^ std::rotr(x, 8) ^ (x >> 7); }
  static std::uint64_t Sigma1(std::uint64_t x) { return std::rotr(x, 19) ^ std::rotr(x, 61) ^ (x >> 6); }
};

// One round. The eight variables a to h stay where they are, and the round's number rotates their roles; Ch
// and Maj (4.1) are written with one operation less each. The schedule overwrites w in place.
template <std::size_t i, class W>
[[gnu::always_inline]] inline void Step(W (&v)[8], W (&w)[16])
{
  using T = TWord<W>;
  const W a = v[(0 - i) & 7];
  const W b = v[(1 - i) & 7];
  const W c = v[(2 - i) & 7];
  W& d = v[(3 - i) & 7];
  const W e = v[(4 - i) & 7];
  const W f = v[(5 - i) & 7];
  const W g = v[(6 - i) & 7];
  W& h = v[(7 - i) & 7];
  if constexpr (i >= 16)
    w[i & 15] += T::Sigma1(w[(i + 14) & 15]) + w[(i + 9) & 15] + T::Sigma0(w[(i + 1) & 15]);
  h += T::Sum1(e) + (g ^ (e & (f ^ g))) + T::Constant(i) + w[i & 15];
  d += h;
  h += T::Sum0(a) + ((a & b) | (c & (a | b)));
}

template <class W, std::size_t... i>
[[gnu::always_inline]] inline void AllSteps(W (&v)[8], W (&w)[16], std::index_sequence<i...>)
{
  (Step<i>(v, w), ...);
}

template <class W>
void Process(W (&state)[8], const unsigned char* pBlocks, std::size_t nBlocks)
{
  for (; nBlocks > 0; --nBlocks, pBlocks += 16 * sizeof(W))
  {
    W w[16];
    for (std::size_t i = 0; i < 16; ++i)
      w[i] = LoadBigEndian<W>(pBlocks + i * sizeof(W));
    W v[8];
    std::ranges::copy(state, v);
    AllSteps(v, w, std::make_index_sequence<TWord<W>::g_nRounds>());
    for (int i = 0; i < 8; ++i)
      state[i] += v[i];
  }
}

template <class W>
void Finish(const W (&state)[8], int nDigestSize, std::span<unsigned char> digest)
{
  unsigned char bytes[sizeof(state)];
  for (std::size_t i = 0; i < 8; ++i)
    StoreBigEndian(state[i], bytes + i * sizeof(W));
  std::copy_n(bytes, std::min(digest.size(), static_cast<std::size_t>(nDigestSize)), digest.begin());
}

#if defined(__x86_64__)

#define BREVEX_SHA_CODE __attribute__((target("sha,sse4.1")))

// Four rounds, and with bSchedule the message words that take the place of w0.
template <bool bSchedule>
BREVEX_SHA_CODE inline void FourRounds(int i, __m128i& abef, __m128i& cdgh, __m128i& w0, __m128i w1,
                                       __m128i w2, __m128i w3)
{
  const auto* pConstants = reinterpret_cast<const __m128i*>(g_constants32.m_values + 4 * i);
  const __m128i sum = _mm_add_epi32(w0, _mm_load_si128(pConstants));
  cdgh = _mm_sha256rnds2_epu32(cdgh, abef, sum);
  abef = _mm_sha256rnds2_epu32(abef, cdgh, _mm_shuffle_epi32(sum, 0x0E));
  if (bSchedule)
    w0 = _mm_sha256msg2_epu32(_mm_add_epi32(_mm_sha256msg1_epu32(w0, w1), _mm_alignr_epi8(w3, w2, 4)), w3);
}

template <bool bSchedule>
BREVEX_SHA_CODE inline void SixteenRounds(int i, __m128i& abef, __m128i& cdgh, __m128i (&w)[4])
{
  FourRounds<bSchedule>(i, abef, cdgh, w[0], w[1], w[2], w[3]);
  FourRounds<bSchedule>(i + 1, abef, cdgh, w[1], w[2], w[3], w[0]);
  FourRounds<bSchedule>(i + 2, abef, cdgh, w[2], w[3], w[0], w[1]);
  FourRounds<bSchedule>(i + 3, abef, cdgh, w[3], w[0], w[1], w[2]);
}

// The processor's instructions keep the state as ABEF and CDGH.
BREVEX_SHA_CODE void ProcessByInstructions(std::uint32_t (&state)[8], const unsigned char* pBlocks,
                                           std::size_t nBlocks)
{
  const __m128i swap = _mm_set_epi64x(0x0C0D0E0F08090A0BLL, 0x0405060700010203LL);
  auto* pState = reinterpret_cast<__m128i*>(state);
  const __m128i cdab = _mm_shuffle_epi32(_mm_loadu_si128(pState), 0xB1);
  const __m128i efgh = _mm_shuffle_epi32(_mm_loadu_si128(pState + 1), 0x1B);
  __m128i abef = _mm_alignr_epi8(cdab, efgh, 8);
  __m128i cdgh = _mm_blend_epi16(efgh, cdab, 0xF0);
  for (; nBlocks > 0; --nBlocks, pBlocks += 64)
  {
    const __m128i abefStart = abef;
    const __m128i cdghStart = cdgh;
    const auto* pWords = reinterpret_cast<const __m128i*>(pBlocks);
    __m128i w[4];
    for (int i = 0; i < 4; ++i)
      w[i] = _mm_shuffle_epi8(_mm_loadu_si128(pWords + i), swap);
    SixteenRounds<true>(0, abef, cdgh, w);
    SixteenRounds<true>(4, abef, cdgh, w);
    SixteenRounds<true>(8, abef, cdgh, w);
    SixteenRounds<false>(12, abef, cdgh, w);
    abef = _mm_add_epi32(abef, abefStart);
    cdgh = _mm_add_epi32(cdgh, cdghStart);
  }
  const __m128i feba = _mm_shuffle_epi32(abef, 0x1B);
  const __m128i dchg = _mm_shuffle_epi32(cdgh, 0xB1);
  _mm_storeu_si128(pState, _mm_blend_epi16(feba, dchg, 0xF0));
  _mm_storeu_si128(pState + 1, _mm_alignr_epi8(dchg, feba, 8));
}

#undef BREVEX_SHA_CODE

// CPUID leaf 7, EBX bit 29; __builtin_cpu_supports does not know it everywhere.
bool HasInstructions()
{
  static const bool bHas = []
  {
    unsigned nA = 0;
    unsigned nB = 0;
    unsigned nC = 0;
    unsigned nD = 0;
    return __builtin_cpu_supports("sse4.1") && __get_cpuid_count(7, 0, &nA, &nB, &nC, &nD) && (nB >> 29 & 1);
  }();
  return bHas;
}

#else

bool HasInstructions()
{
  return false;
}

void ProcessByInstructions(std::uint32_t (&)[8], const unsigned char*, std::size_t) {}

#endif

}  // namespace

CHashSHA256::CHashSHA256(TCodePath codePath)
    : CBlockHash(64), m_bInstructions(codePath == TCodePath::Best && HasInstructions())
{
  CHashSHA256::Reset();
}

void CHashSHA256::Reset()
{
  CBlockHash::Reset();
  for (int i = 0; i < 8; ++i)
    m_state[i] = static_cast<std::uint32_t>(g_starts[i] >> 32);
}

void CHashSHA256::ProcessBlocks(const unsigned char* pBlocks, std::size_t nBlocks)
{
  if (m_bInstructions)
    ProcessByInstructions(m_state, pBlocks, nBlocks);
  else
    Process(m_state, pBlocks, nBlocks);
}

void CHashSHA256::Final(std::span<unsigned char> digest)
{
  Pad(true);
  Finish(m_state, GetDigestSize(), digest);
}

void CHashSHA224::Reset()
{
  CHashSHA256::Reset();
  for (int i = 0; i < 8; ++i)
    m_state[i] = static_cast<std::uint32_t>(g_starts[8 + i]);
}

void CHashSHA512::Reset()
{
  CBlockHash::Reset();
  std::copy_n(g_starts, 8, m_state);
}

void CHashSHA512::ProcessBlocks(const unsigned char* pBlocks, std::size_t nBlocks)
{
  Process(m_state, pBlocks, nBlocks);
}

void CHashSHA512::Final(std::span<unsigned char> digest)
{
  Pad(true);
  Finish(m_state, GetDigestSize(), digest);
}

void CHashSHA384::Reset()
{
  CHashSHA512::Reset();
  std::copy_n(g_starts + 8, 8, m_state);
}

}  // namespace BSE
