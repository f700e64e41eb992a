#include "fonts/pdf/StandardCMaps.h"

#include <algorithm>
#include <cstring>

namespace DOC
{

namespace
{

// What tools/tables/cmaps.py makes, all numbers big-endian:
//
//   File    number of CMaps (2), offset of each (4), the CMaps in the order of their names
//   CMap    length (1) and text of name and ordering, CMap that it uses or 0xFFFF (2), WMode (1), supplement
//   (1),
//           number (1) of code spaces with length (1), low and high code (4),
//           number (1) of ranges without glyphs with length (1), low and high code (4), CID (2),
//           number (1) of tables with code length (1), size (4), and the table
//   Table   number of ranges (4), size of the data (4), for each block of 32 ranges its first code and its
//           offset in the data (4), the data
//   Range   distance from the end of the one before, or the first code of the block; number of further codes;
//           distance from the CID that would follow, or 0. Distances with a sign are doubled, and one less
//           for those below 0. Seven bits in each byte, the high bit for those that are not the last.
constexpr char g_tables[] =
#include <StandardCMaps.inc>
    ;

constexpr std::uint32_t g_nPerBlock = 32;
constexpr std::uint32_t g_nSpaceSize = 9;
constexpr std::uint32_t g_nNotdefSize = 11;

BSE::CByteCursor GetTables()
{
  return BSE::CByteCursor({reinterpret_cast<const unsigned char*>(g_tables), sizeof(g_tables) - 1});
}

int GetCount()
{
  return static_cast<int>(GetTables().Card16());
}

BSE::CByteCursor GetCMap(int nCMap)
{
  BSE::CByteCursor cursor = GetTables();
  cursor.Seek(2 + 4 * std::int64_t{nCMap});
  return GetTables().GetPart(cursor.Card32());
}

int FindName(const char* szName)
{
  const std::span<const unsigned char> text(reinterpret_cast<const unsigned char*>(szName),
                                            std::strlen(szName));
  int nFirst = 0;
  int nEnd = GetCount();
  while (nFirst < nEnd)
  {
    const int nMiddle = (nFirst + nEnd) / 2;
    BSE::CByteCursor cursor = GetCMap(nMiddle);
    const std::span<const unsigned char> name = cursor.Take(cursor.Card8());
    if (std::equal(name.begin(), name.end(), text.begin(), text.end()))
      return nMiddle;
    if (std::lexicographical_compare(name.begin(), name.end(), text.begin(), text.end()))
      nFirst = nMiddle + 1;
    else
      nEnd = nMiddle;
  }
  return -1;
}

std::uint32_t ReadNumber(BSE::CByteCursor& cursor)
{
  std::uint32_t nValue = 0;
  for (unsigned nByte = 0x80; (nByte & 0x80) != 0;)
  {
    nByte = cursor.Card8();
    nValue = nValue << 7 | (nByte & 0x7F);
  }
  return nValue;
}

int ReadSigned(BSE::CByteCursor& cursor)
{
  const std::uint32_t nValue = ReadNumber(cursor);
  const int nHalf = static_cast<int>(nValue / 2);
  return nValue % 2 == 0 ? nHalf : -nHalf - 1;
}

}  // namespace

bool CStandardCmapExtractor::HasTables()
{
  return GetCount() > 0;
}

CStandardCmapExtractor::CStandardCmapExtractor(const char* szName)
{
  if (const int nCMap = szName ? FindName(szName) : -1; nCMap >= 0)
    Open(nCMap);
}

void CStandardCmapExtractor::Open(int nCMap)
{
  BSE::CByteCursor cursor = GetCMap(nCMap);
  cursor.Take(cursor.Card8());
  m_nCMap = nCMap;
  m_ordering = cursor.Take(cursor.Card8());
  m_nParent = static_cast<int>(cursor.Card16());
  m_nParent = m_nParent == 0xFFFF ? -1 : m_nParent;
  m_nWMode = static_cast<int>(cursor.Card8());
  m_nSupplement = static_cast<int>(cursor.Card8());
  m_nSpaces = static_cast<int>(cursor.Card8());
  m_spaces = cursor;
  cursor.Take(m_nSpaces, g_nSpaceSize);
  m_nNotdefs = static_cast<int>(cursor.Card8());
  m_notdefs = cursor;
  cursor.Take(m_nNotdefs, g_nNotdefSize);
  m_nTables = static_cast<int>(cursor.Card8());
  m_tables = cursor;
  m_bValid = !cursor.HasFailed();
}

bool CStandardCmapExtractor::IsInCodeSpace(std::uint32_t nCode, int nBytes, int nLength) const
{
  BSE::CByteCursor cursor = m_spaces;
  for (int i = 0; i < m_nSpaces; ++i)
  {
    const int nSpaceLength = static_cast<int>(cursor.Card8());
    const std::uint32_t nLow = cursor.Card32();
    const std::uint32_t nHigh = cursor.Card32();
    bool bInside = nSpaceLength == nLength && nBytes <= nLength;
    for (int n = 0; bInside && n < nBytes; ++n)
    {
      const auto GetByte = [n](std::uint32_t nValue, int nValueBytes)
      { return nValue >> (8 * (nValueBytes - 1 - n)) & 0xFF; };
      bInside = GetByte(nCode, nBytes) >= GetByte(nLow, nLength) &&
                GetByte(nCode, nBytes) <= GetByte(nHigh, nLength);
    }
    if (bInside)
      return true;
  }
  // One that uses another has the codes of that one.
  return m_nSpaces == 0 && m_nParent >= 0 &&
         CStandardCmapExtractor(m_nParent).IsInCodeSpace(nCode, nBytes, nLength);
}

bool CStandardCmapExtractor::FindTable(int nLength, TTable& table) const
{
  BSE::CByteCursor cursor = m_tables;
  for (int i = 0; i < m_nTables; ++i)
  {
    const int nTableLength = static_cast<int>(cursor.Card8());
    const std::uint32_t nSize = cursor.Card32();
    BSE::CByteCursor content(cursor.Take(nSize));
    if (nTableLength != nLength)
      continue;
    table.m_nRanges = content.Card32();
    const std::uint32_t nData = content.Card32();
    table.m_index = BSE::CByteCursor(content.Take((table.m_nRanges + g_nPerBlock - 1) / g_nPerBlock, 8));
    table.m_data = BSE::CByteCursor(content.Take(nData));
    return !content.HasFailed() && table.m_nRanges > 0;
  }
  return false;
}

CStandardCmapExtractor::TReader::TReader(const TTable& table, std::uint32_t nBlock)
    : m_table(table), m_cursor(table.m_data), m_nRange(nBlock * g_nPerBlock)
{
}

bool CStandardCmapExtractor::TReader::Next()
{
  if (m_nRange >= m_table.m_nRanges)
    return false;
  if (m_nRange % g_nPerBlock == 0)
  {
    BSE::CByteCursor index = m_table.m_index;
    index.Skip(8 * std::int64_t{m_nRange / g_nPerBlock});
    m_nNext = index.Card32();
    m_nNextCID = 0;
    m_cursor = m_table.m_data.GetPart(index.Card32());
  }
  ++m_nRange;
  m_nFirst = m_nNext + ReadNumber(m_cursor);
  m_nLast = m_nFirst + ReadNumber(m_cursor);
  m_nCID = m_nNextCID + ReadSigned(m_cursor);
  m_nNext = m_nLast + 1;
  m_nNextCID = m_nCID + static_cast<int>(m_nNext - m_nFirst);
  return !m_cursor.HasFailed();
}

int CStandardCmapExtractor::FindOwnCID(std::uint32_t nCode, int nLength) const
{
  TTable table;
  if (!FindTable(nLength, table))
    return -1;
  // The last block that begins at the code or before it.
  std::uint32_t nBlock = 0;
  for (std::uint32_t nEnd = (table.m_nRanges + g_nPerBlock - 1) / g_nPerBlock; nBlock + 1 < nEnd;)
  {
    const std::uint32_t nMiddle = (nBlock + nEnd) / 2;
    BSE::CByteCursor index = table.m_index;
    index.Skip(8 * std::int64_t{nMiddle});
    if (index.Card32() <= nCode)
      nBlock = nMiddle;
    else
      nEnd = nMiddle;
  }
  TReader reader(table, nBlock);
  for (std::uint32_t i = 0; i < g_nPerBlock && reader.Next() && reader.m_nFirst <= nCode; ++i)
    if (nCode <= reader.m_nLast)
      return reader.m_nCID + static_cast<int>(nCode - reader.m_nFirst);
  return -1;
}

int CStandardCmapExtractor::FindNotdef(std::uint32_t nCode, int nLength) const
{
  BSE::CByteCursor cursor = m_notdefs;
  for (int i = 0; i < m_nNotdefs; ++i)
  {
    const int nRangeLength = static_cast<int>(cursor.Card8());
    const std::uint32_t nLow = cursor.Card32();
    const std::uint32_t nHigh = cursor.Card32();
    const int nCID = static_cast<int>(cursor.Card16());
    if (nRangeLength == nLength && nCode >= nLow && nCode <= nHigh)
      return nCID;
  }
  return -1;
}

int CStandardCmapExtractor::FindCID(std::uint32_t nCode, int nLength) const
{
  int nNotdef = FindNotdef(nCode, nLength);
  int nCID = FindOwnCID(nCode, nLength);
  for (int nDepth = 0, nCMap = m_nParent; nCID < 0 && nCMap >= 0 && nDepth < g_nMaxDepth; ++nDepth)
  {
    const CStandardCmapExtractor parent(nCMap);
    nCID = parent.FindOwnCID(nCode, nLength);
    nNotdef = nNotdef < 0 ? parent.FindNotdef(nCode, nLength) : nNotdef;
    nCMap = parent.m_nParent;
  }
  return nCID >= 0 ? nCID : nNotdef;
}

}  // namespace DOC
