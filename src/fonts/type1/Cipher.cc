#include "fonts/type1/Cipher.h"

#include <algorithm>

namespace PFB
{

CPFBEncryptFilter::CPFBEncryptFilter(BSE::IByteStream* pTarget)
    : BSE::CBufferedOutputStream(pTarget), m_cipher(CCipher::g_nFileKey)
{
  static constexpr unsigned char zeros[4] = {};
  CPFBEncryptFilter::Write(zeros, sizeof zeros);
}

std::int64_t CPFBEncryptFilter::Write(const unsigned char* pBuffer, std::int64_t n)
{
  unsigned char block[1024];
  std::int64_t nDone = 0;
  while (nDone < n)
  {
    const std::int64_t nPart = std::min<std::int64_t>(n - nDone, sizeof block);
    for (std::int64_t i = 0; i < nPart; ++i)
      block[i] = m_cipher.Encrypt(pBuffer[nDone + i]);
    if (BSE::CBufferedOutputStream::Write(block, nPart) != nPart)
      return 0;
    nDone += nPart;
  }
  return n;
}

}  // namespace PFB
