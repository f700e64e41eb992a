#pragma once

#include <cstdint>
#include <span>

namespace PDF
{

// 0 to the highest value of a sample of that many bits, at most 16.
constexpr unsigned GetHighSample(int nBits)
{
  return (1U << nBits) - 1;
}

// The samples at the start of a packed row, as many as there is room for, which the row has to have. A byte
// each, either as they are or scaled to 0 to 255 and truncated; of 16 bits the high byte in both cases.
void UnpackSamples(std::span<const unsigned char> packed, int nBits, bool bScale,
                   std::span<unsigned char> samples);

// The same without loss.
void UnpackSamples(std::span<const unsigned char> packed, int nBits, std::span<std::uint16_t> samples);

// Fills the bytes that the samples take; what is left of the last one is 0.
void PackSamples(std::span<const std::uint16_t> samples, int nBits, std::span<unsigned char> packed);

// One bit a byte, set for what is not 0; bits that are left of the last byte are 0.
void PackBits(std::span<const unsigned char> samples, std::span<unsigned char> packed);

}  // namespace PDF
