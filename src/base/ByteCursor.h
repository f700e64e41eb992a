#pragma once

#include "base/ByteOrder.h"
#include "base/Checked.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace BSE
{

// Reads big-endian values from a block of memory and cannot overrun it. The first read past the end makes the
// cursor fail for good: from then on every value is 0 and every span is empty, so that a run of fields is
// read first and HasFailed asked once after it. The block must outlive the cursor.
class CByteCursor
{
public:
  explicit CByteCursor(std::span<const unsigned char> data) : m_data(data) {}

  unsigned Card8() { return Read<std::uint8_t>(); }
  unsigned Card16() { return Read<std::uint16_t>(); }
  unsigned Card24()
  {
    const std::span<const unsigned char> bytes = Take(3);
    return bytes.empty() ? 0 : unsigned{bytes[0]} << 16 | unsigned{bytes[1]} << 8 | bytes[2];
  }
  std::uint32_t Card32() { return Read<std::uint32_t>(); }
  std::uint64_t Card64() { return Read<std::uint64_t>(); }

  int Int8() { return static_cast<std::int8_t>(Read<std::uint8_t>()); }
  int Int16() { return static_cast<std::int16_t>(Read<std::uint16_t>()); }
  std::int32_t Int32() { return static_cast<std::int32_t>(Read<std::uint32_t>()); }

  // Number of nSize bytes, 0 to 4: offsets of CFF indexes, fields of a cross-reference stream.
  std::uint32_t Card(int nSize)
  {
    if (nSize < 0 || nSize > 4)
    {
      Fail();
      return 0;
    }
    std::uint32_t nValue = 0;
    for (const unsigned char nByte : Take(nSize))
      nValue = nValue << 8 | nByte;
    return nValue;
  }

  // Borrowed bytes; all that were asked for, or none and the cursor has failed. A negative count fails.
  std::span<const unsigned char> Take(std::int64_t n)
  {
    if (n < 0 || std::cmp_greater(n, GetRemaining()))
    {
      Fail();
      return {};
    }
    const auto bytes = m_data.subspan(m_nOffset, static_cast<std::size_t>(n));
    m_nOffset += bytes.size();
    return bytes;
  }

  // A table of records, its size computed without overflow.
  std::span<const unsigned char> Take(std::int64_t nCount, std::int64_t nRecordSize)
  {
    std::int64_t n = -1;
    if (nCount < 0 || nRecordSize < 0 || !CheckedMul(nCount, nRecordSize, n))
      n = -1;
    return Take(n);
  }

  void Skip(std::int64_t n) { Take(n); }

  // To an offset in the block, its end included; others fail.
  void Seek(std::int64_t nOffset)
  {
    if (m_bFailed || nOffset < 0 || std::cmp_greater(nOffset, m_data.size()))
      Fail();
    else
      m_nOffset = static_cast<std::size_t>(nOffset);
  }

  // A cursor on a part of the block, for tables found by offsets; it has failed from the start if the part is
  // not inside or this cursor has failed. This cursor does not move.
  CByteCursor GetPart(std::int64_t nOffset, std::int64_t nLength) const
  {
    CByteCursor part(*this);
    part.Seek(nOffset);
    part.m_data = part.Take(nLength);
    part.m_nOffset = 0;
    return part;
  }

  // The same to the end of the block.
  CByteCursor GetPart(std::int64_t nOffset) const
  {
    CByteCursor part(*this);
    part.Seek(nOffset);
    part.m_data = part.Take(static_cast<std::int64_t>(part.GetRemaining()));
    part.m_nOffset = 0;
    return part;
  }

  // Where the next read begins; where the failing one began once failed.
  std::size_t GetOffset() const { return m_nOffset; }

  // 0 once failed.
  std::size_t GetRemaining() const { return m_bFailed ? 0 : m_data.size() - m_nOffset; }
  bool IsAtEnd() const { return GetRemaining() == 0; }
  bool HasFailed() const { return m_bFailed; }

private:
  template <class T>
  T Read()
  {
    if (GetRemaining() < sizeof(T))
    {
      Fail();
      return 0;
    }
    const T nValue = LoadBigEndian<T>(m_data.data() + m_nOffset);
    m_nOffset += sizeof(T);
    return nValue;
  }

  void Fail() { m_bFailed = true; }

  std::span<const unsigned char> m_data;
  std::size_t m_nOffset = 0;
  bool m_bFailed = false;
};

}  // namespace BSE
