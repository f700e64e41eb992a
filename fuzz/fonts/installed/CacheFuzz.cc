// A cache of installed fonts: what is read of it is written and read as the same again.

#include "base/MemoryStream.h"
#include "fonts/installed/FontCache.h"

#include <algorithm>
#include <cstdlib>

namespace
{

constexpr std::size_t g_nDigestOffset = 9;

void Require(bool b)
{
  if (!b)
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
  // Every digest is the right one.
  PDF::CFontCache::TDigest digest = {};
  if (nSize >= g_nDigestOffset + digest.size())
    std::copy_n(pData + g_nDigestOffset, digest.size(), digest.begin());
  const PDF::CFontCache cache(digest);
  const BSE::CObjectPtr<BSE::CMemoryStream> pInput(
      new BSE::CMemoryStream(pData, static_cast<std::int64_t>(nSize)));
  const BSE::CObjectPtr<BSE::CMemoryStream> pOutput(new BSE::CMemoryStream);
  BSE::CObjectArray<PDF::CInstalledFont> fonts;
  BSE::CObjectArray<PDF::CInstalledFont> again;
  if (!cache.Read(*pInput, fonts))
  {
    Require(fonts.IsEmpty());
    return 0;
  }
  Require(cache.Write(*pOutput, fonts) && pOutput->Rewind() &&
          pOutput->GetLength() == static_cast<std::int64_t>(nSize));
  Require(cache.Read(*pOutput, again) && again.GetSize() == fonts.GetSize());
  for (int i = 0; i < fonts.GetSize(); ++i)
    Require(fonts[i]->m_sName == again[i]->m_sName && fonts[i]->GetDistance(*again[i]) < 1e9);
  return 0;
}
