#include "images/filters/FaxBitReader.h"

#include "base/ByteOrder.h"

#include <algorithm>

namespace BSE
{

namespace
{

unsigned ReverseBits(unsigned nByte)
{
  nByte = (nByte & 0x0FU) << 4 | (nByte & 0xF0U) >> 4;
  nByte = (nByte & 0x33U) << 2 | (nByte & 0xCCU) >> 2;
  return (nByte & 0x55U) << 1 | (nByte & 0xAAU) >> 1;
}

}  // namespace

void CFaxBitReader::Fill()
{
  const auto buffered = m_input.GetBuffered();
  if (buffered.size() >= 8 && !m_bReverseBits && m_nPadding == 0)
  {
    const int nBytes = (63 - m_nCount) / 8;
    const std::uint64_t nNext = LoadBigEndian<std::uint64_t>(buffered.data());
    m_nWindow |= (nNext & ~std::uint64_t{0} << (64 - 8 * nBytes)) >> m_nCount;
    m_nCount += 8 * nBytes;
    m_input.Consume(static_cast<std::size_t>(nBytes));
    return;
  }
  while (m_nCount <= 56)
  {
    int nByte = m_nPadding == 0 ? m_input.GetByte() : -1;
    if (nByte < 0)
    {
      nByte = 0;
      m_nPadding = std::min(m_nPadding, m_nCount) + 8;
    }
    const auto nBits = static_cast<unsigned>(nByte);
    m_nWindow |= std::uint64_t{m_bReverseBits ? ReverseBits(nBits) : nBits} << (56 - m_nCount);
    m_nCount += 8;
  }
}

void CFaxBitReader::Reset()
{
  m_nWindow = 0;
  m_nCount = m_nPadding = 0;
}

void CFaxBitReader::ReturnUnread()
{
  const int nBytes = (m_nCount - m_nPadding) / 8;
  if (nBytes <= 0 || !m_input.IsSeekable() || !m_input.Seek(m_input.Tell() - nBytes))
    return;
  const int nRest = (m_nCount - m_nPadding) % 8;
  m_nWindow = nRest > 0 ? m_nWindow & ~std::uint64_t{0} << (64 - nRest) : 0;
  m_nCount = nRest;
  m_nPadding = 0;
}

}  // namespace BSE
