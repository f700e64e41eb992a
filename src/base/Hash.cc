#include "base/Hash.h"

#include "base/ByteOrder.h"

#include <algorithm>
#include <cstring>

namespace BSE
{

void CBlockHash::Reset()
{
  m_nFill = 0;
  m_nTotal = 0;
}

void CBlockHash::Update(std::span<const unsigned char> data)
{
  if (data.empty())
    return;
  m_nTotal += data.size();
  if (m_nFill > 0)
  {
    const std::size_t nTaken = std::min(data.size(), m_nBlockSize - m_nFill);
    std::memcpy(m_buffer + m_nFill, data.data(), nTaken);
    m_nFill += nTaken;
    data = data.subspan(nTaken);
    if (m_nFill < m_nBlockSize)
      return;
    ProcessBlocks(m_buffer, 1);
    m_nFill = 0;
  }
  if (const std::size_t nBlocks = data.size() / m_nBlockSize; nBlocks > 0)
  {
    ProcessBlocks(data.data(), nBlocks);
    data = data.subspan(nBlocks * m_nBlockSize);
  }
  std::ranges::copy(data, m_buffer);
  m_nFill = data.size();
}

void CBlockHash::Pad(bool bBigEndian)
{
  const std::size_t nLengthSize = m_nBlockSize / 8;
  m_buffer[m_nFill++] = 0x80;
  if (m_nFill > m_nBlockSize - nLengthSize)
  {
    std::memset(m_buffer + m_nFill, 0, m_nBlockSize - m_nFill);
    ProcessBlocks(m_buffer, 1);
    m_nFill = 0;
  }
  std::memset(m_buffer + m_nFill, 0, m_nBlockSize - m_nFill);
  const std::uint64_t nBits = m_nTotal << 3;
  unsigned char* pLength = m_buffer + m_nBlockSize - sizeof(nBits);
  if (bBigEndian)
  {
    StoreBigEndian(nBits, pLength);
    if (nLengthSize > sizeof(nBits))
      StoreBigEndian(m_nTotal >> 61, pLength - sizeof(nBits));
  }
  else
    StoreLittleEndian(nBits, pLength);
  ProcessBlocks(m_buffer, 1);
  m_nFill = 0;
}

}  // namespace BSE
