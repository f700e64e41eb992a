#pragma once

#include "base/BasicString.h"

#include <span>

namespace XMP
{

enum class TPacketEncoding
{
  Utf8,
  Utf16,
  Utf32,
  Latin1  // not allowed, but found: bytes that are not UTF-8
};

// Turns the bytes of a packet into UTF-8 (ISO 16684-1, 7.3.2). The encoding shows in a byte order mark or in
// the first character, which is '<' or blank. White space and byte order marks before the packet go, and so
// does whatever follows the instruction that closes it. False for UTF-16 and UTF-32 that is invalid.
bool DecodePacket(std::span<const unsigned char> bytes, BSE::CStr8& text, TPacketEncoding& encoding);

}  // namespace XMP
