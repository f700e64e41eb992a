#pragma once

#include <span>

namespace PDF
{

// Whether encoded data keep to the letter of their encoding, where decoders for reading are lenient, each in
// its own way. Nothing is decoded, and what the decoders report is left to them.

// Digits and white space up to ">" (ISO 32000-1, 7.4.2).
bool IsStrictASCIIHex(std::span<const unsigned char> data);

// Nothing but white space below the digits, and "~>" at the end (ISO 32000-1, 7.4.3).
bool IsStrictASCII85(std::span<const unsigned char> data);

// Whole runs up to the end mark (ISO 32000-1, 7.4.5).
bool IsStrictRunLength(std::span<const unsigned char> data);

// A clear code in front, high bit first (ISO 32000-1, 7.4.4.2); without it the order of bits is a guess.
bool IsStrictLZW(std::span<const unsigned char> data);

}  // namespace PDF
