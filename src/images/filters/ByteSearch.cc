#include "images/filters/ByteSearch.h"

#include <cstring>

namespace BSE
{

void SkipBehind(CBufferedInputStream& input, unsigned char nByte)
{
  while (input.PeekByte() >= 0)
  {
    const auto buffered = input.GetBuffered();
    if (const void* pFound = std::memchr(buffered.data(), nByte, buffered.size()))
    {
      const auto* pByte = static_cast<const unsigned char*>(pFound);
      input.Consume(static_cast<std::size_t>(pByte - buffered.data()) + 1);
      return;
    }
    input.Consume(buffered.size());
  }
}

}  // namespace BSE
