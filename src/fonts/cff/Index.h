#pragma once

#include "base/BasicArray.h"
#include "base/ByteCursor.h"
#include "fonts/common/FontLog.h"

namespace CFF
{

// Bytes of a font, which keeps them: a charstring, a subroutine, a string.
using TData = std::span<const unsigned char>;

// An INDEX: a row of data of any length.
//
//   Count      two bytes, and nothing more if it is 0
//   OffSize    one byte: the size of an offset
//   Offsets    one more than the count; the first is 1
//   Data
class CIndex
{
public:
  // Reads at the cursor and moves it to what follows. False, with a trace line, if it cannot be one.
  bool Read(BSE::CByteCursor& cursor, FONT::CFontLog& log);

  // All up to its data. False if there is too much for an INDEX.
  bool WriteStart(BSE::CBasicArray<unsigned char>& bytes) const;
  bool Write(BSE::CBasicArray<unsigned char>& bytes) const;

  // What Write makes.
  std::int64_t GetWrittenSize() const;

  // Of the data alone.
  std::int64_t GetDataSize() const;

  int GetSize() const { return m_data.GetSize(); }

  // Empty for a number out of range.
  TData operator[](int nIndex) const { return m_data[nIndex]; }
  std::span<const TData> GetSpan() const { return m_data.GetSpan(); }
  void SetAt(int nIndex, TData data) { m_data.SetAt(nIndex, data); }
  int Add(TData data) { return m_data.Add(data); }
  void SetSize(int nSize) { m_data.SetSize(nSize); }

  bool operator==(const CIndex& other) const;

private:
  BSE::CBasicArray<TData> m_data;
};

bool IsSame(TData a, TData b);

}  // namespace CFF
