#pragma once

#include <string>
#include <string_view>

namespace Tool
{

// UTF-8 to UTF-16. Bytes that are not UTF-8 are taken for Latin-1, so a text of any locale gives something.
std::u16string ToUtf16(std::string_view sText);

// UTF-16 to UTF-8; a null pointer is an empty text, a lone surrogate becomes U+FFFD.
std::string ToUtf8(const char16_t* szText);

// For a terminal: control characters and bytes that are not UTF-8, which a file name or a title may hold, as
// "\x1B".
std::string MakePrintable(std::string_view sText);

// 1234567 as "1,234,567".
std::string GroupDigits(unsigned long long nValue);

bool IsAscii(std::string_view sText);

}  // namespace Tool
