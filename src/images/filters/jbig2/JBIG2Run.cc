#include "images/filters/jbig2/JBIG2Run.h"

#include "base/Limits.h"

#include <algorithm>

namespace BSE
{

CJBIG2Run::CJBIG2Run(std::int64_t nInputSize)
    : m_nWorkLeft(g_nFreeJBIG2Work + g_nJBIG2WorkRatio * nInputSize),
      m_nMemoryLeft(std::min(g_nFreeJBIG2Memory + g_nMaxDecodeRatio * nInputSize, g_nMaxDecodedSize))
{
}

bool CJBIG2Run::TakeMemory(std::int64_t nBytes)
{
  if (nBytes > m_nMemoryLeft)
    return Fail("more memory is needed than its size justifies");
  m_nMemoryLeft -= nBytes;
  return true;
}

bool CJBIG2Run::Fail(const char* szReason)
{
  if (!m_szFailure)
    m_szFailure = szReason;
  return false;
}

bool CJBIG2Run::FailExhausted()
{
  return Fail("more work is needed than its size justifies");
}

}  // namespace BSE
