// Settings from arbitrary bytes: what was read comes back from what is written.

#include "base/BufferedInputStream.h"
#include "base/IniFile.h"
#include "base/MemoryStream.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  BSE::CMemoryInputStream input(pData, static_cast<std::int64_t>(nSize));
  BSE::CIniFile first;
  if (!first.Read(input))
    return 0;
  BSE::CMemoryStream written;
  BSE::CIniFile second;
  BSE::CMemoryStream again;
  if (!first.Write(written) || !written.Rewind())
    std::abort();
  // Characters that replace damaged ones may take the contents past the limit.
  if (!second.Read(written))
    return 0;
  if (!second.Write(again) || !written.Rewind() || !again.Rewind() || !written.Equals(&again))
    std::abort();
  return 0;
}
