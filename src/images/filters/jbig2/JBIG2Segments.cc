#include "images/filters/jbig2/JBIG2Segments.h"

#include <algorithm>
#include <cstring>

namespace BSE
{

namespace
{

constexpr std::uint32_t g_nOpenLength = 0xFFFFFFFFU;
constexpr unsigned char g_fileId[] = {0x97, 'J', 'B', '2', 0x0D, 0x0A, 0x1A, 0x0A};

// No header is shorter than this.
constexpr std::size_t g_nMinHeader = 11;

// The identification is followed by flags and, unless those say that it is not known, the count of pages.
void SkipFileHeader(CByteCursor& cursor, std::span<const unsigned char> data)
{
  if (data.size() < sizeof(g_fileId) || std::memcmp(data.data(), g_fileId, sizeof(g_fileId)) != 0)
    return;
  cursor.Skip(sizeof(g_fileId));
  cursor.Skip((cursor.Card8() & 2) != 0 ? 0 : 4);
}

// Only these may have an open length.
bool IsGeneric(int nType)
{
  return nType == eJBIG2IntermediateGeneric || nType == eJBIG2ImmediateGeneric ||
         nType == eJBIG2LosslessGeneric;
}

// The size of data of open length, with the mark and the count of rows; -1 if there is no mark.
std::int64_t FindOpenEnd(std::span<const unsigned char> data)
{
  constexpr std::size_t nFlags = g_nJBIG2RegionSize;
  if (data.size() <= nFlags)
    return -1;
  const bool bMMR = (data[nFlags] & 1) != 0;
  const unsigned char mark[] = {static_cast<unsigned char>(bMMR ? 0 : 0xFF),
                                static_cast<unsigned char>(bMMR ? 0 : 0xAC)};
  const auto it = std::search(data.begin() + nFlags + 1, data.end(), mark, mark + 2);
  return data.end() - it >= 6 ? it - data.begin() + 6 : -1;
}

}  // namespace

const char* GetJBIG2SegmentName(int nType)
{
  switch (nType)
  {
  case eJBIG2SymbolDictionary:
    return "symbol dictionary";
  case eJBIG2IntermediateText:
  case eJBIG2ImmediateText:
  case eJBIG2LosslessText:
    return "text region";
  case eJBIG2PatternDictionary:
    return "pattern dictionary";
  case eJBIG2IntermediateHalftone:
  case eJBIG2ImmediateHalftone:
  case eJBIG2LosslessHalftone:
    return "halftone region";
  case eJBIG2IntermediateGeneric:
  case eJBIG2ImmediateGeneric:
  case eJBIG2LosslessGeneric:
    return "generic region";
  case eJBIG2IntermediateRefinement:
  case eJBIG2ImmediateRefinement:
  case eJBIG2LosslessRefinement:
    return "refinement region";
  case eJBIG2PageInformation:
    return "page";
  case eJBIG2Tables:
    return "tables";
  case eJBIG2ColourPalette:
    return "colour palette";
  default:
    return "segment";
  }
}

TJBIG2Region ReadJBIG2Region(CByteCursor& cursor)
{
  TJBIG2Region region;
  region.m_nWidth = cursor.Card32();
  region.m_nHeight = cursor.Card32();
  region.m_x = cursor.Int32();
  region.m_y = cursor.Int32();
  region.m_nFlags = cursor.Card8();
  return region;
}

TJBIG2Page ReadJBIG2Page(CByteCursor& cursor)
{
  TJBIG2Page page;
  page.m_nWidth = cursor.Card32();
  page.m_nHeight = cursor.Card32();
  page.m_nResolutionX = cursor.Card32();
  page.m_nResolutionY = cursor.Card32();
  page.m_nFlags = cursor.Card8();
  page.m_nStriping = cursor.Card16();
  return page;
}

bool CJBIG2SegmentList::Add(std::span<const unsigned char> data)
{
  CByteCursor cursor(data);
  SkipFileHeader(cursor, data);
  while (cursor.GetRemaining() >= g_nMinHeader)
  {
    if (!AddSegment(cursor))
      return false;
    if (m_segments[m_segments.GetSize() - 1].m_nType == eJBIG2EndOfFile)
      return true;
  }
  // Padding and line ends may follow.
  const auto rest = cursor.Take(static_cast<std::int64_t>(cursor.GetRemaining()));
  return std::all_of(rest.begin(), rest.end(),
                     [](unsigned char n) { return n == 0 || n == '\r' || n == '\n'; });
}

bool CJBIG2SegmentList::ReadReferences(CByteCursor& cursor, TJBIG2Segment& segment)
{
  constexpr unsigned nLong = 7;
  constexpr unsigned nMaxShort = 4;
  std::int64_t nCount = cursor.Card8() >> 5;
  if (nCount == nLong)
  {
    cursor.Seek(static_cast<std::int64_t>(cursor.GetOffset()) - 1);
    nCount = cursor.Card32() & 0x1FFFFFFFU;
    cursor.Skip((nCount + 8) / 8);
  }
  else if (nCount > nMaxShort)
    return false;
  const int nSize = segment.m_nNumber <= 256 ? 1 : segment.m_nNumber <= 65536 ? 2 : 4;
  if (cursor.HasFailed() || nCount > static_cast<std::int64_t>(cursor.GetRemaining()) / nSize)
    return false;
  segment.m_nFirstReference = m_references.GetSize();
  segment.m_nReferences = static_cast<int>(nCount);
  for (std::int64_t i = 0; i < nCount; ++i)
    m_references.Add(cursor.Card(nSize));
  return true;
}

bool CJBIG2SegmentList::AddSegment(CByteCursor& cursor)
{
  TJBIG2Segment segment{};
  segment.m_nNumber = cursor.Card32();
  const unsigned nFlags = cursor.Card8();
  segment.m_nType = static_cast<int>(nFlags & 63);
  if (!ReadReferences(cursor, segment))
    return false;
  segment.m_nPage = (nFlags & 64) != 0 ? cursor.Card32() : cursor.Card8();
  std::int64_t nLength = cursor.Card32();
  if (cursor.HasFailed())
    return false;
  const auto nLeft = static_cast<std::int64_t>(cursor.GetRemaining());
  if (nLength == g_nOpenLength && IsGeneric(segment.m_nType))
  {
    CByteCursor rest(cursor);
    nLength = FindOpenEnd(rest.Take(nLeft));
    segment.m_bOpenLength = nLength >= 0;
    segment.m_bCut = nLength < 0;
  }
  else
    segment.m_bCut = nLength > nLeft;
  segment.m_data = cursor.Take(segment.m_bCut ? nLeft : nLength);
  m_segments.Add(segment);
  return true;
}

void CJBIG2SegmentList::SortNumbers() const
{
  m_numbers.SetSize(m_segments.GetSize());
  for (int i = 0; i < m_segments.GetSize(); ++i)
    m_numbers.GetData()[i] = std::uint64_t{m_segments[i].m_nNumber} << 32 | static_cast<unsigned>(i);
  std::sort(m_numbers.GetData(), m_numbers.GetData() + m_numbers.GetSize());
}

int CJBIG2SegmentList::Find(std::uint32_t nNumber, int nBefore) const
{
  if (m_numbers.GetSize() != m_segments.GetSize())
    SortNumbers();
  const std::uint64_t* const pBegin = m_numbers.GetData();
  const std::uint64_t nKey = std::uint64_t{nNumber} << 32 | static_cast<unsigned>(nBefore);
  const std::uint64_t* const p = std::lower_bound(pBegin, pBegin + m_numbers.GetSize(), nKey);
  return p != pBegin && p[-1] >> 32 == nNumber ? static_cast<int>(p[-1] & 0xFFFFFFFFU) : -1;
}

}  // namespace BSE
