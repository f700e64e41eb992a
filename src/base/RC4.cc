#include "base/Cipher.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace BSE
{

CRC4::CRC4(std::span<const unsigned char> key) : m_bKeyed(!key.empty())
{
  std::iota(std::begin(m_state), std::end(m_state), static_cast<unsigned char>(0));
  if (!m_bKeyed)
    return;
  unsigned j = 0;
  for (std::size_t i = 0; i < 256; ++i)
  {
    j = (j + m_state[i] + key[i % key.size()]) & 0xFF;
    std::swap(m_state[i], m_state[j]);
  }
}

void CRC4::Process(std::span<const unsigned char> input, unsigned char* pOutput)
{
  if (!m_bKeyed)
  {
    std::copy(input.begin(), input.end(), pOutput);
    return;
  }
  unsigned i = m_nI;
  unsigned j = m_nJ;
  for (const unsigned char nByte : input)
  {
    i = (i + 1) & 0xFF;
    const unsigned char nA = m_state[i];
    j = (j + nA) & 0xFF;
    const unsigned char nB = m_state[j];
    m_state[i] = nB;
    m_state[j] = nA;
    *pOutput++ = static_cast<unsigned char>(nByte ^ m_state[(nA + nB) & 0xFF]);
  }
  m_nI = static_cast<unsigned char>(i);
  m_nJ = static_cast<unsigned char>(j);
}

}  // namespace BSE
