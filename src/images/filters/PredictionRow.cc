// Predictors (ISO 32000-1, 7.4.4.4) replace a sample by its difference from neighbours that were decoded
// before. PNG works on bytes: "left" is the byte one whole pixel away, and each row says by its first byte
// which of five rules it follows. TIFF works on samples of 1 to 16 bits and always on the one to the left.
// Decoding a row needs the row above and nothing else, so rows flow through two buffers; the loops are
// written so that the compiler turns them into vector code.

#include "images/filters/PredictionRow.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace BSE
{

namespace
{

unsigned char ToByte(int n)
{
  return static_cast<unsigned char>(n);
}

// Whichever of left, above and upper left is nearest to left + above - upper left.
int GetPaeth(int nLeft, int nAbove, int nCorner)
{
  const int nToLeft = std::abs(nAbove - nCorner);
  const int nToAbove = std::abs(nLeft - nCorner);
  const int nToCorner = std::abs(nLeft + nAbove - 2 * nCorner);
  const int nOther = nToAbove <= nToCorner ? nAbove : nCorner;
  return nToLeft <= std::min(nToAbove, nToCorner) ? nLeft : nOther;
}

template <int t_nTag>
int Predict(int nLeft, int nAbove, int nCorner)
{
  if constexpr (t_nTag == ePNGSub)
    return nLeft;
  else if constexpr (t_nTag == ePNGAverage)
    return (nLeft + nAbove) >> 1;
  else
    return GetPaeth(nLeft, nAbove, nCorner);
}

// Eight bytes at a time; the carries of the lower seven bits of each byte stay inside it.
void DecodeUp(std::span<const unsigned char> filtered, std::span<const unsigned char> previous,
              std::span<unsigned char> row)
{
  constexpr std::uint64_t nHigh = 0x8080808080808080U;
  std::size_t i = 0;
  for (; i + 8 <= row.size(); i += 8)
  {
    std::uint64_t nA = 0;
    std::uint64_t nB = 0;
    std::memcpy(&nA, filtered.data() + i, 8);
    std::memcpy(&nB, previous.data() + i, 8);
    nA = ((nA & ~nHigh) + (nB & ~nHigh)) ^ ((nA ^ nB) & nHigh);
    std::memcpy(row.data() + i, &nA, 8);
  }
  for (; i < row.size(); ++i)
    row[i] = ToByte(filtered[i] + previous[i]);
}

// From byte nStart on, which lets it finish what a faster loop left.
template <int t_nTag>
void DecodeAnySize(std::size_t nSize, std::span<const unsigned char> filtered,
                   std::span<const unsigned char> previous, std::span<unsigned char> row,
                   std::size_t nStart = 0)
{
  for (std::size_t i = nStart; i < row.size(); ++i)
  {
    const int nLeft = i >= nSize ? row[i - nSize] : 0;
    const int nCorner = i >= nSize ? previous[i - nSize] : 0;
    row[i] = ToByte(filtered[i] + Predict<t_nTag>(nLeft, previous[i], nCorner));
  }
}

#ifdef __SSE2__

// The components of a pixel side by side in 16-bit lanes, so that a whole pixel is predicted at once.
template <std::size_t t_nSize>
__m128i LoadPixel(const unsigned char* p)
{
  // Joined in a register: a load after narrower stores to the same memory would wait for them.
  std::uint64_t nLow = 0;
  std::uint64_t nHigh = 0;
  std::memcpy(&nLow, p, std::bit_floor(t_nSize));
  std::memcpy(&nHigh, p + std::bit_floor(t_nSize), t_nSize - std::bit_floor(t_nSize));
  if constexpr (!std::has_single_bit(t_nSize))
    nLow |= nHigh << (8 * std::bit_floor(t_nSize));
  return _mm_unpacklo_epi8(_mm_cvtsi64_si128(static_cast<long long>(nLow)), _mm_setzero_si128());
}

template <std::size_t t_nSize>
void StorePixel(unsigned char* p, __m128i lanes)
{
  const auto nBytes = static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_packus_epi16(lanes, lanes)));
  std::memcpy(p, &nBytes, std::bit_floor(t_nSize));
  if constexpr (!std::has_single_bit(t_nSize))
  {
    const std::uint64_t nHigh = nBytes >> (8 * std::bit_floor(t_nSize));
    std::memcpy(p + std::bit_floor(t_nSize), &nHigh, t_nSize - std::bit_floor(t_nSize));
  }
}

__m128i GetAbs(__m128i lanes)
{
  return _mm_max_epi16(lanes, _mm_sub_epi16(_mm_setzero_si128(), lanes));
}

__m128i Select(__m128i mask, __m128i a, __m128i b)
{
  return _mm_or_si128(_mm_and_si128(mask, a), _mm_andnot_si128(mask, b));
}

template <int t_nTag>
__m128i PredictPixel(__m128i left, __m128i above, __m128i corner)
{
  if constexpr (t_nTag == ePNGSub)
    return left;
  else if constexpr (t_nTag == ePNGAverage)
    return _mm_srli_epi16(_mm_add_epi16(left, above), 1);
  else
  {
    const __m128i leftStep = _mm_sub_epi16(above, corner);
    const __m128i aboveStep = _mm_sub_epi16(left, corner);
    const __m128i toLeft = GetAbs(leftStep);
    const __m128i toAbove = GetAbs(aboveStep);
    const __m128i toCorner = GetAbs(_mm_add_epi16(leftStep, aboveStep));
    const __m128i nearest = _mm_min_epi16(toCorner, _mm_min_epi16(toLeft, toAbove));
    const __m128i other = Select(_mm_cmpeq_epi16(nearest, toAbove), above, corner);
    return Select(_mm_cmpeq_epi16(nearest, toLeft), left, other);
  }
}

template <int t_nTag, std::size_t t_nSize>
void DecodePixels(std::span<const unsigned char> filtered, std::span<const unsigned char> previous,
                  std::span<unsigned char> row)
{
  const __m128i byteMask = _mm_set1_epi16(0xFF);
  __m128i left = _mm_setzero_si128();
  __m128i corner = left;
  std::size_t i = 0;
  for (; i + t_nSize <= row.size(); i += t_nSize)
  {
    const __m128i above = t_nTag == ePNGSub ? corner : LoadPixel<t_nSize>(previous.data() + i);
    const __m128i predicted = PredictPixel<t_nTag>(left, above, corner);
    left = _mm_and_si128(_mm_add_epi16(LoadPixel<t_nSize>(filtered.data() + i), predicted), byteMask);
    corner = above;
    StorePixel<t_nSize>(row.data() + i, left);
  }
  DecodeAnySize<t_nTag>(t_nSize, filtered, previous, row, i);
}

#else

template <int t_nTag, std::size_t t_nSize>
void DecodePixels(std::span<const unsigned char> filtered, std::span<const unsigned char> previous,
                  std::span<unsigned char> row)
{
  DecodeAnySize<t_nTag>(t_nSize, filtered, previous, row);
}

#endif

// One byte a pixel: the neighbours stay in registers.
template <int t_nTag>
void DecodeBytes(std::span<const unsigned char> filtered, std::span<const unsigned char> previous,
                 std::span<unsigned char> row)
{
  const unsigned char* pIn = filtered.data();
  const unsigned char* pAbove = previous.data();
  unsigned char* pOut = row.data();
  int nLeft = 0;
  int nCorner = 0;
  for (std::size_t i = 0; i < row.size(); ++i)
  {
    const int nAbove = t_nTag == ePNGSub ? 0 : pAbove[i];
    nLeft = (pIn[i] + Predict<t_nTag>(nLeft, nAbove, nCorner)) & 0xFF;
    nCorner = nAbove;
    pOut[i] = ToByte(nLeft);
  }
}

template <int t_nTag>
void DecodeWithLeft(int nPixelSize, std::span<const unsigned char> filtered,
                    std::span<const unsigned char> previous, std::span<unsigned char> row)
{
  switch (nPixelSize)
  {
  case 1:
    return DecodeBytes<t_nTag>(filtered, previous, row);
  case 2:
    return DecodePixels<t_nTag, 2>(filtered, previous, row);
  case 3:
    return DecodePixels<t_nTag, 3>(filtered, previous, row);
  case 4:
    return DecodePixels<t_nTag, 4>(filtered, previous, row);
  case 6:
    return DecodePixels<t_nTag, 6>(filtered, previous, row);
  case 8:
    return DecodePixels<t_nTag, 8>(filtered, previous, row);
  default:
    return DecodeAnySize<t_nTag>(static_cast<std::size_t>(nPixelSize), filtered, previous, row);
  }
}

template <int t_nTag>
void EncodeWithLeft(std::size_t nSize, std::span<const unsigned char> row,
                    std::span<const unsigned char> previous, std::span<unsigned char> filtered)
{
  const std::size_t nFirst = std::min(nSize, row.size());
  for (std::size_t i = 0; i < nFirst; ++i)
    filtered[i] = ToByte(row[i] - Predict<t_nTag>(0, previous[i], 0));
  for (std::size_t i = nFirst; i < row.size(); ++i)
    filtered[i] = ToByte(row[i] - Predict<t_nTag>(row[i - nSize], previous[i], previous[i - nSize]));
}

// One-bit samples of several colours, bit by bit. Decoding takes its neighbours from what it has decoded,
// encoding runs backwards, so that it takes them from what it has not yet encoded.
void AddBit(std::span<unsigned char> row, std::size_t nBit, std::size_t nLeft)
{
  const unsigned nValue = (row[nLeft >> 3] >> (7 - (nLeft & 7))) & 1U;
  row[nBit >> 3] = static_cast<unsigned char>(row[nBit >> 3] ^ (nValue << (7 - (nBit & 7))));
}

unsigned GetCard16(const unsigned char* p)
{
  return static_cast<unsigned>(p[0] << 8 | p[1]);
}

void PutCard16(unsigned char* p, unsigned nValue)
{
  p[0] = static_cast<unsigned char>(nValue >> 8);
  p[1] = static_cast<unsigned char>(nValue);
}

}  // namespace

void DecodePNGRow(unsigned char nTag, int nPixelSize, std::span<const unsigned char> filtered,
                  std::span<const unsigned char> previous, std::span<unsigned char> row)
{
  switch (nTag)
  {
  case ePNGSub:
    return DecodeWithLeft<ePNGSub>(nPixelSize, filtered, previous, row);
  case ePNGUp:
    return DecodeUp(filtered, previous, row);
  case ePNGAverage:
    return DecodeWithLeft<ePNGAverage>(nPixelSize, filtered, previous, row);
  case ePNGPaeth:
    return DecodeWithLeft<ePNGPaeth>(nPixelSize, filtered, previous, row);
  default:
    if (!row.empty() && row.data() != filtered.data())
      std::memcpy(row.data(), filtered.data(), row.size());
  }
}

void EncodePNGRow(unsigned char nTag, int nPixelSize, std::span<const unsigned char> row,
                  std::span<const unsigned char> previous, std::span<unsigned char> filtered)
{
  const auto nSize = static_cast<std::size_t>(nPixelSize);
  switch (nTag)
  {
  case ePNGSub:
    return EncodeWithLeft<ePNGSub>(nSize, row, previous, filtered);
  case ePNGUp:
    for (std::size_t i = 0; i < row.size(); ++i)
      filtered[i] = ToByte(row[i] - previous[i]);
    return;
  case ePNGAverage:
    return EncodeWithLeft<ePNGAverage>(nSize, row, previous, filtered);
  case ePNGPaeth:
    return EncodeWithLeft<ePNGPaeth>(nSize, row, previous, filtered);
  default:
    std::copy(row.begin(), row.end(), filtered.begin());
  }
}

unsigned char ChoosePNGTag(int nPixelSize, std::span<const unsigned char> row,
                           std::span<const unsigned char> previous, std::span<unsigned char> scratch)
{
  unsigned char nBest = ePNGNone;
  std::int64_t nBestSum = -1;
  for (unsigned char nTag = ePNGNone; nTag < ePNGTagCount; ++nTag)
  {
    EncodePNGRow(nTag, nPixelSize, row, previous, scratch);
    std::int64_t nSum = 0;
    for (const unsigned char nByte : scratch)
      nSum += std::min<int>(nByte, 256 - nByte);
    if (nBestSum >= 0 && nSum >= nBestSum)
      continue;
    nBest = nTag;
    nBestSum = nSum;
  }
  return nBest;
}

void DecodeTIFFRow(int nColors, int nBitsPerComponent, std::span<unsigned char> row)
{
  const auto nStep = static_cast<std::size_t>(nColors);
  if (nBitsPerComponent == 8)
    DecodeWithLeft<ePNGSub>(nColors, row, row, row);
  else if (nBitsPerComponent == 16)
  {
    for (std::size_t i = 2 * nStep; i + 2 <= row.size(); i += 2)
      PutCard16(&row[i], GetCard16(&row[i]) + GetCard16(&row[i - 2 * nStep]));
  }
  else if (nColors == 1)
  {
    unsigned nLast = 0;
    for (unsigned char& nByte : row)
    {
      // Each bit becomes the sum of all bits from the first to it.
      unsigned nBits = nByte;
      nBits ^= nBits >> 1;
      nBits ^= nBits >> 2;
      nBits ^= nBits >> 4;
      nByte = static_cast<unsigned char>(nBits ^ (nLast ? 0xFFU : 0U));
      nLast = nByte & 1U;
    }
  }
  else
  {
    for (std::size_t i = nStep; i < 8 * row.size(); ++i)
      AddBit(row, i, i - nStep);
  }
}

void EncodeTIFFRow(int nColors, int nBitsPerComponent, std::span<unsigned char> row)
{
  const auto nStep = static_cast<std::size_t>(nColors);
  if (nBitsPerComponent == 8)
  {
    for (std::size_t i = row.size(); i > nStep; --i)
      row[i - 1] = ToByte(row[i - 1] - row[i - 1 - nStep]);
  }
  else if (nBitsPerComponent == 16)
  {
    for (std::size_t i = row.size() / 2; i > nStep; --i)
      PutCard16(&row[2 * i - 2], GetCard16(&row[2 * i - 2]) - GetCard16(&row[2 * (i - nStep) - 2]));
  }
  else
  {
    for (std::size_t i = 8 * row.size(); i > nStep; --i)
      AddBit(row, i - 1, i - 1 - nStep);
  }
}

}  // namespace BSE
