#include "fonts/cff/Index.h"

#include <limits>

namespace CFF
{

namespace
{

int GetOffsetSize(std::int64_t nLast)
{
  return nLast <= 0xFF ? 1 : (nLast <= 0xFFFF ? 2 : (nLast <= 0xFFFFFF ? 3 : 4));
}

}  // namespace

bool IsSame(TData a, TData b)
{
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin());
}

bool CIndex::Read(BSE::CByteCursor& cursor, FONT::CFontLog& log)
{
  m_data.RemoveAll();
  const int nCount = static_cast<int>(cursor.Card16());
  if (nCount == 0)
    return !cursor.HasFailed();
  const int nOffsetSize = static_cast<int>(cursor.Card8());
  if (nOffsetSize < 1 || nOffsetSize > 4)
  {
    log.Fault("Invalid offset size %8d.", nOffsetSize);
    return false;
  }
  BSE::CByteCursor offsets(cursor.Take(nCount + 1, nOffsetSize));
  if (cursor.HasFailed())
  {
    log.Fault("Invalid INDEX count %8d.", nCount);
    return false;
  }
  const std::size_t nData = cursor.GetRemaining();
  const BSE::CByteCursor data = cursor.GetPart(static_cast<std::int64_t>(cursor.GetOffset()));
  m_data.SetSize(nCount);
  std::uint32_t nStart = offsets.Card(nOffsetSize);
  const std::uint32_t nFirst = nStart;
  for (int i = 0; i < nCount; ++i)
  {
    const std::uint32_t nEnd = offsets.Card(nOffsetSize);
    if (nFirst != 1 || nEnd < nStart || nEnd - 1 > nData)
    {
      log.Fault("Invalid offset at index %d.", i);
      return false;
    }
    m_data[i] = data.GetPart(std::int64_t{nStart} - 1, nEnd - nStart).Take(nEnd - nStart);
    nStart = nEnd;
  }
  cursor.Skip(std::int64_t{nStart} - 1);
  return true;
}

std::int64_t CIndex::GetDataSize() const
{
  std::int64_t nSize = 0;
  for (const TData data : m_data.GetSpan())
    nSize += static_cast<std::int64_t>(data.size());
  return nSize;
}

std::int64_t CIndex::GetWrittenSize() const
{
  const std::int64_t nData = GetDataSize();
  return GetSize() == 0 ? 2 : 3 + std::int64_t{GetOffsetSize(nData + 1)} * (GetSize() + 1) + nData;
}

bool CIndex::WriteStart(BSE::CBasicArray<unsigned char>& bytes) const
{
  const int nCount = GetSize();
  const std::int64_t nData = GetDataSize();
  if (nCount > 0xFFFF || nData >= std::numeric_limits<int>::max())
    return false;
  bytes.Add(static_cast<unsigned char>(nCount >> 8));
  bytes.Add(static_cast<unsigned char>(nCount));
  if (nCount == 0)
    return true;
  const int nOffsetSize = GetOffsetSize(nData + 1);
  bytes.Reserve(bytes.GetSize() + 1 + nOffsetSize * (nCount + 1));
  bytes.Add(static_cast<unsigned char>(nOffsetSize));
  std::uint32_t nOffset = 1;
  for (int i = 0; i <= nCount; ++i)
  {
    for (int nShift = 8 * (nOffsetSize - 1); nShift >= 0; nShift -= 8)
      bytes.Add(static_cast<unsigned char>(nOffset >> nShift));
    nOffset += static_cast<std::uint32_t>((*this)[i].size());
  }
  return true;
}

bool CIndex::Write(BSE::CBasicArray<unsigned char>& bytes) const
{
  if (!WriteStart(bytes))
    return false;
  for (const TData data : m_data.GetSpan())
    bytes.Append(data);
  return true;
}

bool CIndex::operator==(const CIndex& other) const
{
  if (GetSize() != other.GetSize())
    return false;
  for (int i = 0; i < GetSize(); ++i)
    if (!IsSame((*this)[i], other[i]))
      return false;
  return true;
}

}  // namespace CFF
