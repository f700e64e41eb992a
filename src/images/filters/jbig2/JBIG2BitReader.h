#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace BSE
{

// Bits of a segment from the high end of each byte. After the end come zeros, and the reader has failed.
class CJBIG2BitReader
{
public:
  // Borrows the data.
  explicit CJBIG2BitReader(std::span<const unsigned char> data) : m_data(data) {}

  unsigned ReadBit()
  {
    if (m_nByte >= m_data.size())
    {
      m_bFailed = true;
      return 0;
    }
    const unsigned nBit = m_data[m_nByte] >> (7 - m_nBit) & 1U;
    m_nByte += static_cast<std::size_t>(m_nBit) / 7;
    m_nBit = (m_nBit + 1) & 7;
    return nBit;
  }

  // 0 to 32 bits.
  std::uint32_t ReadBits(int n)
  {
    std::uint32_t nValue = 0;
    for (; n > 0; --n)
      nValue = nValue << 1 | ReadBit();
    return nValue;
  }

  void AlignToByte()
  {
    m_nByte += m_nBit > 0 ? 1 : 0;
    m_nBit = 0;
  }

  // All bytes that are left, and those before a place in them; the reader is at a byte.
  std::span<const unsigned char> GetRest() const { return m_data.subspan(m_nByte); }
  std::span<const unsigned char> Take(std::size_t n)
  {
    const auto rest = GetRest();
    if (n > rest.size())
    {
      m_bFailed = true;
      n = rest.size();
    }
    m_nByte += n;
    return rest.first(n);
  }

  bool HasFailed() const { return m_bFailed; }

private:
  std::span<const unsigned char> m_data;
  std::size_t m_nByte = 0;
  int m_nBit = 0;
  bool m_bFailed = false;
};

}  // namespace BSE
