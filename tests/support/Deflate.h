#pragma once

#include <string>
#include <string_view>

namespace Support
{

// The zlib format (RFC 1950), as FlateDecode reads it.
std::string Deflate(std::string_view sData, int nLevel = 6);

// What can be decoded of damaged data; an empty text at worst.
std::string Inflate(std::string_view sData);

}  // namespace Support
