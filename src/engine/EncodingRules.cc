#include "engine/EncodingRules.h"

#include "pdf/Token.h"

#include <cstddef>

namespace PDF
{

namespace
{

constexpr unsigned char g_nEndOfRuns = 128;

bool IsHexDigit(unsigned char n)
{
  return (n >= '0' && n <= '9') || (n >= 'A' && n <= 'F') || (n >= 'a' && n <= 'f');
}

}  // namespace

bool IsStrictASCIIHex(std::span<const unsigned char> data)
{
  for (const unsigned char n : data)
  {
    if (n == '>')
      return true;
    if (!IsHexDigit(n) && !IsSpace(n))
      return false;
  }
  return false;
}

bool IsStrictASCII85(std::span<const unsigned char> data)
{
  for (std::size_t i = 0; i < data.size(); ++i)
  {
    if (data[i] == '~')
      return i + 1 < data.size() && data[i + 1] == '>';
    if (data[i] <= ' ' && !IsSpace(data[i]))
      return false;
  }
  return false;
}

bool IsStrictRunLength(std::span<const unsigned char> data)
{
  for (std::size_t i = 0; i < data.size(); i += data[i] < g_nEndOfRuns ? data[i] + std::size_t{2} : 2)
    if (data[i] == g_nEndOfRuns)
      return true;
  return false;
}

bool IsStrictLZW(std::span<const unsigned char> data)
{
  return data.size() >= 2 && data[0] == 0x80 && data[1] < 0x80;
}

}  // namespace PDF
