#include "images/filters/FaxRow.h"

#include "base/ByteOrder.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace BSE
{

namespace
{

constexpr int g_nStartRoom = 64;

// Inverts the bits from one position up to another one.
void InvertBits(std::span<unsigned char> bytes, int nFrom, int nTo)
{
  const auto nFirst = static_cast<std::size_t>(nFrom) / 8;
  const auto nLast = static_cast<std::size_t>(nTo - 1) / 8;
  const auto nHead = static_cast<unsigned char>(0xFF >> (nFrom & 7));
  const auto nTail = static_cast<unsigned char>(0xFF00 >> (((nTo - 1) & 7) + 1));
  if (nFirst == nLast)
  {
    bytes[nFirst] = static_cast<unsigned char>(bytes[nFirst] ^ (nHead & nTail));
    return;
  }
  bytes[nFirst] = static_cast<unsigned char>(bytes[nFirst] ^ nHead);
  for (std::size_t i = nFirst + 1; i < nLast; ++i)
    bytes[i] = static_cast<unsigned char>(~bytes[i]);
  bytes[nLast] = static_cast<unsigned char>(bytes[nLast] ^ nTail);
}

}  // namespace

void CFaxRow::Start(int nColumns)
{
  m_nColumns = nColumns;
  m_nCount = 0;
  if (m_positions.GetSize() < g_nStartRoom)
    m_positions.SetSize(g_nStartRoom);
  Finish();
}

void CFaxRow::Grow()
{
  m_positions.SetSize(2 * m_positions.GetSize());
}

void CFaxRow::Finish()
{
  std::fill_n(m_positions.GetData() + m_nCount, g_nSentinels, m_nColumns);
}

void CFaxRow::Pack(std::span<unsigned char> bytes, unsigned char nBlack) const
{
  std::memset(bytes.data(), static_cast<unsigned char>(~nBlack), bytes.size());
  const int* pPositions = GetPositions();
  for (int i = 0; i < m_nCount; i += 2)
    InvertBits(bytes, pPositions[i], pPositions[i + 1]);
}

void CFaxRow::AddChanges(std::uint64_t nBits, std::uint64_t& nLast, int nPos)
{
  // A bit is set where it differs from the one before it.
  std::uint64_t nChanges = nBits ^ (nBits >> 1 | nLast << 63);
  nLast = nBits & 1;
  while (nChanges != 0)
  {
    const int nOffset = std::countl_zero(nChanges);
    if (nPos + nOffset >= m_nColumns)
      return;
    AddChange(nPos + nOffset);
    nChanges ^= std::uint64_t{1} << (63 - nOffset);
  }
}

void CFaxRow::Unpack(std::span<const unsigned char> bytes, unsigned char nBlack)
{
  const std::uint64_t nInvert = nBlack == 0 ? ~std::uint64_t{0} : 0;
  std::uint64_t nLast = 0;
  std::size_t nDone = 0;
  m_nCount = 0;
  for (; nDone + 8 <= bytes.size(); nDone += 8)
    AddChanges(LoadBigEndian<std::uint64_t>(bytes.data() + nDone) ^ nInvert, nLast,
               static_cast<int>(8 * nDone));
  if (nDone < bytes.size())
  {
    unsigned char rest[8] = {};
    std::copy(bytes.begin() + static_cast<std::ptrdiff_t>(nDone), bytes.end(), rest);
    AddChanges(LoadBigEndian<std::uint64_t>(rest) ^ nInvert, nLast, static_cast<int>(8 * nDone));
  }
  Finish();
}

}  // namespace BSE
