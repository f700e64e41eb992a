#pragma once

#include "base/BasicArray.h"
#include "base/ByteCursor.h"

#include <cstdint>
#include <span>

namespace TTF
{

inline constexpr std::uint32_t MakeTag(const char (&szTag)[5])
{
  std::uint32_t nTag = 0;
  for (int i = 0; i < 4; ++i)
    nTag = nTag << 8 | static_cast<unsigned char>(szTag[i]);
  return nTag;
}

// A table of a font file: its tag and its bytes. They are those of the file, which the font keeps, until the
// table gets bytes of its own. A table without bytes is not in the font.
class CTable
{
public:
  explicit CTable(std::uint32_t nTag) : m_nTag(nTag) {}
  CTable(const CTable&) = delete;
  CTable& operator=(const CTable&) = delete;
  virtual ~CTable() = default;

  // Makes the bytes of what has been parsed. A table that was only read keeps those of the file.
  virtual void Serialize() {}

  // False if the bytes cannot be that table.
  virtual bool Parse() { return true; }

  std::uint32_t GetTag() const { return m_nTag; }
  bool IsPresent() const { return !GetBytes().empty(); }
  std::span<const unsigned char> GetBytes() const { return m_bOwn ? m_own.GetSpan() : m_borrowed; }
  BSE::CByteCursor GetCursor() const { return BSE::CByteCursor(GetBytes()); }

  // Bytes that outlive the table.
  void Borrow(std::span<const unsigned char> bytes);
  void SetBytes(BSE::CBasicArray<unsigned char>&& bytes);
  bool IsBorrowing() const { return !m_borrowed.empty(); }

  // Copies what is borrowed.
  void Keep();
  void Remove() { Borrow({}); }

  // The checksum of a table: the sum of its words, filled up with zeros.
  static std::uint32_t GetChecksum(std::span<const unsigned char> bytes);

private:
  std::uint32_t m_nTag;
  bool m_bOwn = false;
  std::span<const unsigned char> m_borrowed;
  BSE::CBasicArray<unsigned char> m_own;
};

// Appends big-endian values to an array, for tables that are made anew.
class CTableWriter
{
public:
  template <class T>
  void Put(T nValue)
  {
    unsigned char bytes[sizeof(T)];
    BSE::StoreBigEndian(static_cast<std::make_unsigned_t<T>>(nValue), bytes);
    m_bytes.Append(bytes);
  }
  void Card16(unsigned n) { Put(static_cast<std::uint16_t>(n)); }
  void Card32(std::uint32_t n) { Put(n); }
  void Append(std::span<const unsigned char> bytes) { m_bytes.Append(bytes); }
  int GetSize() const { return m_bytes.GetSize(); }
  BSE::CBasicArray<unsigned char>&& Detach() { return std::move(m_bytes); }

private:
  BSE::CBasicArray<unsigned char> m_bytes;
};

// A table of plain fields, which Visit of the class names once for reading and writing.
class CFieldReader
{
public:
  explicit CFieldReader(BSE::CByteCursor cursor) : m_cursor(cursor) {}
  template <class T>
  void Visit(T& nValue)
  {
    if constexpr (sizeof(T) == 8)
      nValue = m_cursor.Card64();
    else
      nValue = static_cast<T>(m_cursor.Card(static_cast<int>(sizeof(T))));
  }
  bool HasFailed() const { return m_cursor.HasFailed(); }

private:
  BSE::CByteCursor m_cursor;
};

class CFieldWriter : public CTableWriter
{
public:
  template <class T>
  void Visit(T& nValue)
  {
    Put(nValue);
  }
};

}  // namespace TTF
