#include "base/Random.h"

#include <sys/random.h>
#include <sys/types.h>

#include <cerrno>

namespace BSE
{

bool GetRandomBytes(std::span<unsigned char> bytes)
{
  while (!bytes.empty())
  {
    const ssize_t nRead = getrandom(bytes.data(), bytes.size(), 0);
    if (nRead > 0)
      bytes = bytes.subspan(static_cast<std::size_t>(nRead));
    else if (errno != EINTR)
      return false;
  }
  return true;
}

}  // namespace BSE
