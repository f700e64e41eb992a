#include "fonts/ttf/Table.h"

namespace TTF
{

void CTable::Borrow(std::span<const unsigned char> bytes)
{
  m_own.RemoveAll();
  m_bOwn = false;
  m_borrowed = bytes;
}

void CTable::SetBytes(BSE::CBasicArray<unsigned char>&& bytes)
{
  BSE::CBasicArray<unsigned char> own(std::move(bytes));
  m_own = std::move(own);
  m_bOwn = true;
  m_borrowed = {};
}

void CTable::Keep()
{
  if (!IsBorrowing())
    return;
  BSE::CBasicArray<unsigned char> copy;
  copy.Append(m_borrowed);
  SetBytes(std::move(copy));
}

std::uint32_t CTable::GetChecksum(std::span<const unsigned char> bytes)
{
  std::uint32_t nSum = 0;
  std::size_t i = 0;
  for (; i + 4 <= bytes.size(); i += 4)
    nSum += BSE::LoadBigEndian<std::uint32_t>(bytes.data() + i);
  for (unsigned nShift = 24; i < bytes.size(); ++i, nShift -= 8)
    nSum += std::uint32_t{bytes[i]} << nShift;
  return nSum;
}

}  // namespace TTF
