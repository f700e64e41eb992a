#include "images/filters/ASCII85EncodeFilter.h"

#include <cstdint>

namespace BSE
{

namespace
{

bool IsZero(const unsigned char* pGroup)
{
  return (pGroup[0] | pGroup[1] | pGroup[2] | pGroup[3]) == 0;
}

}  // namespace

bool CASCII85EncodeFilter::EncodeBlock(std::span<const unsigned char> block)
{
  for (const unsigned char nByte : block)
  {
    m_group[m_nFilled++] = nByte;
    if (m_nFilled < 4)
      continue;
    m_nFilled = 0;
    if (IsZero(m_group))
      m_pOutput->PutByte('z');
    else
      PutGroup(5);
  }
  return !m_pOutput->HasFailed();
}

void CASCII85EncodeFilter::PutGroup(int nDigits)
{
  std::uint32_t nValue = 0;
  for (const unsigned char nByte : m_group)
    nValue = nValue << 8 | nByte;
  unsigned char digits[5];
  for (int i = 4; i >= 0; --i)
  {
    digits[i] = static_cast<unsigned char>('!' + nValue % 85);
    nValue /= 85;
  }
  for (int i = 0; i < nDigits; ++i)
    m_pOutput->PutByte(digits[i]);
}

bool CASCII85EncodeFilter::FinishBuffered()
{
  if (m_nFilled > 0)
  {
    for (int i = m_nFilled; i < 4; ++i)
      m_group[i] = 0;
    PutGroup(m_nFilled + 1);
  }
  return m_pOutput->PutByte('~') && m_pOutput->PutByte('>');
}

}  // namespace BSE
