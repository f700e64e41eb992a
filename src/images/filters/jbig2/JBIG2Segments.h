#pragma once

#include "base/BasicArray.h"
#include "base/ByteCursor.h"
#include "images/filters/jbig2/JBIG2Bitmap.h"

#include <cstdint>
#include <span>

namespace BSE
{

// Types of segments (ITU-T T.88, 7.3). Immediate regions have a second, lossless type, one above.
enum TJBIG2SegmentType
{
  eJBIG2SymbolDictionary = 0,
  eJBIG2IntermediateText = 4,
  eJBIG2ImmediateText = 6,
  eJBIG2LosslessText = 7,
  eJBIG2PatternDictionary = 16,
  eJBIG2IntermediateHalftone = 20,
  eJBIG2ImmediateHalftone = 22,
  eJBIG2LosslessHalftone = 23,
  eJBIG2IntermediateGeneric = 36,
  eJBIG2ImmediateGeneric = 38,
  eJBIG2LosslessGeneric = 39,
  eJBIG2IntermediateRefinement = 40,
  eJBIG2ImmediateRefinement = 42,
  eJBIG2LosslessRefinement = 43,
  eJBIG2PageInformation = 48,
  eJBIG2EndOfPage = 49,
  eJBIG2EndOfStripe = 50,
  eJBIG2EndOfFile = 51,
  eJBIG2Profiles = 52,
  eJBIG2Tables = 53,
  eJBIG2ColourPalette = 54,
  eJBIG2Extension = 62
};

// For messages.
const char* GetJBIG2SegmentName(int nType);

constexpr bool IsJBIG2Intermediate(int nType)
{
  return nType == eJBIG2IntermediateText || nType == eJBIG2IntermediateHalftone ||
         nType == eJBIG2IntermediateGeneric || nType == eJBIG2IntermediateRefinement;
}

constexpr bool IsJBIG2Immediate(int nType)
{
  return nType == eJBIG2ImmediateText || nType == eJBIG2LosslessText || nType == eJBIG2ImmediateHalftone ||
         nType == eJBIG2LosslessHalftone || nType == eJBIG2ImmediateGeneric ||
         nType == eJBIG2LosslessGeneric || nType == eJBIG2ImmediateRefinement ||
         nType == eJBIG2LosslessRefinement;
}

// A segment: its header (T.88, 7.2) and where its data is.
struct TJBIG2Segment
{
  std::uint32_t m_nNumber;
  int m_nType;
  std::uint32_t m_nPage;
  bool m_bOpenLength;  // the data ended with a mark, and after that comes the count of rows
  bool m_bCut;         // the data is shorter than the header says
  int m_nFirstReference;
  int m_nReferences;
  std::span<const unsigned char> m_data;
};

// What every region begins with (T.88, 7.4.1).
struct TJBIG2Region
{
  std::int64_t m_nWidth = 0;
  std::int64_t m_nHeight = 0;
  std::int64_t m_x = 0;
  std::int64_t m_y = 0;
  unsigned m_nFlags = 0;

  bool HasOperator() const { return (m_nFlags & 7) <= eJBIG2Replace; }
  TJBIG2Operator GetOperator() const { return static_cast<TJBIG2Operator>(m_nFlags & 7); }
  bool HasColour() const { return (m_nFlags & 8) != 0; }
};

inline constexpr std::int64_t g_nJBIG2RegionSize = 17;
TJBIG2Region ReadJBIG2Region(CByteCursor& cursor);

// A page (T.88, 7.4.8); resolutions in dots per metre.
struct TJBIG2Page
{
  std::uint32_t m_nWidth = 0;
  std::uint32_t m_nHeight = 0;
  std::uint32_t m_nResolutionX = 0;
  std::uint32_t m_nResolutionY = 0;
  unsigned m_nFlags = 0;
  unsigned m_nStriping = 0;

  bool IsBlack() const { return (m_nFlags & 4) != 0; }
};

inline constexpr std::uint32_t g_nJBIG2UnknownHeight = 0xFFFFFFFFU;
inline constexpr std::int64_t g_nJBIG2PageSize = 19;
TJBIG2Page ReadJBIG2Page(CByteCursor& cursor);

// The segments of some data, one after the other, headers and data in turn. A file header in front, which
// such data should not have, is passed over.
class CJBIG2SegmentList
{
public:
  // Appends the segments of a block, which must live as long as the list. False if the block ends inside a
  // header or holds one that cannot be; the segments before that are there.
  bool Add(std::span<const unsigned char> data);

  int GetCount() const { return m_segments.GetSize(); }
  const TJBIG2Segment& Get(int nIndex) const { return m_segments[nIndex]; }

  // The number that a segment refers to, by its place among its references.
  std::uint32_t GetReference(const TJBIG2Segment& segment, int i) const
  {
    return m_references[segment.m_nFirstReference + i];
  }

  // Index of the last segment before another one that has a number, or -1. To be called only once all
  // segments are there.
  int Find(std::uint32_t nNumber, int nBefore) const;

private:
  bool AddSegment(CByteCursor& cursor);
  bool ReadReferences(CByteCursor& cursor, TJBIG2Segment& segment);
  void SortNumbers() const;

  CBasicArray<TJBIG2Segment> m_segments;
  CBasicArray<std::uint32_t> m_references;
  mutable CBasicArray<std::uint64_t> m_numbers;  // sorted: number and index of each segment
};

}  // namespace BSE
