#include "images/SampleRows.h"

#include <algorithm>
#include <cstring>

namespace PDF
{

namespace
{

unsigned GetBits(const unsigned char* pPacked, std::size_t nPos, int nBits)
{
  const std::size_t nByte = nPos / 8;
  const int nEnd = static_cast<int>(nPos % 8) + nBits;
  unsigned nValue = pPacked[nByte];
  int nHave = 8;
  for (; nHave < nEnd; nHave += 8)
    nValue = nValue << 8 | pPacked[nByte + static_cast<std::size_t>(nHave) / 8];
  return nValue >> (nHave - nEnd) & GetHighSample(nBits);
}

}  // namespace

void UnpackSamples(std::span<const unsigned char> packed, int nBits, bool bScale,
                   std::span<unsigned char> samples)
{
  const unsigned char* pPacked = packed.data();
  if (nBits == 8)
  {
    if (!samples.empty())
      std::memcpy(samples.data(), pPacked, samples.size());
    return;
  }
  if (nBits == 16)
  {
    for (std::size_t i = 0; i < samples.size(); ++i)
      samples[i] = pPacked[2 * i];
    return;
  }
  unsigned char values[128];
  const unsigned nHigh = GetHighSample(nBits);
  for (unsigned i = 0; i <= nHigh; ++i)
    values[i] = static_cast<unsigned char>(bScale ? i * 255 / nHigh : i);
  if (nBits == 1)
  {
    for (std::size_t i = 0; i < samples.size(); ++i)
      samples[i] = values[pPacked[i / 8] >> (7 - i % 8) & 1];
    return;
  }
  for (std::size_t i = 0; i < samples.size(); ++i)
    samples[i] = values[GetBits(pPacked, i * static_cast<std::size_t>(nBits), nBits)];
}

void UnpackSamples(std::span<const unsigned char> packed, int nBits, std::span<std::uint16_t> samples)
{
  for (std::size_t i = 0; i < samples.size(); ++i)
    samples[i] =
        static_cast<std::uint16_t>(GetBits(packed.data(), i * static_cast<std::size_t>(nBits), nBits));
}

void PackSamples(std::span<const std::uint16_t> samples, int nBits, std::span<unsigned char> packed)
{
  unsigned nPending = 0;
  int nHave = 0;
  std::size_t nByte = 0;
  for (const std::uint16_t nSample : samples)
  {
    nPending = nPending << nBits | nSample;
    nHave += nBits;
    for (; nHave >= 8; nHave -= 8)
      packed[nByte++] = static_cast<unsigned char>(nPending >> (nHave - 8));
    nPending &= (1U << nHave) - 1;
  }
  if (nHave > 0)
    packed[nByte] = static_cast<unsigned char>(nPending << (8 - nHave));
}

void PackBits(std::span<const unsigned char> samples, std::span<unsigned char> packed)
{
  std::fill(packed.begin(), packed.end(), static_cast<unsigned char>(0));
  for (std::size_t i = 0; i < samples.size(); ++i)
    packed[i / 8] = static_cast<unsigned char>(packed[i / 8] | (samples[i] ? 0x80U >> i % 8 : 0U));
}

}  // namespace PDF
