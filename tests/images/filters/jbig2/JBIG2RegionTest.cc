// Regions without symbols: generic, refinement and halftone regions, and how they come on a page.

#include "tests/images/filters/jbig2/JBIG2Fixture.h"

namespace BSE
{
namespace
{

enum
{
  eOr,
  eAnd,
  eXor,
  eXnor,
  eReplace
};

std::string GenericData(const TBitmap& bitmap, int nTemplate, const CPlaces& movable, bool bTypical)
{
  const bool bExtended = nTemplate == 4;
  CArithmeticWriter writer;
  writer.Generic(bitmap, nTemplate, movable, bTypical);
  return Number8((bExtended ? 16 : nTemplate << 1) | (bTypical ? 8 : 0)) + Numbers(movable) + writer.Finish();
}

std::string GenericSegment(unsigned nNumber, const TBitmap& bitmap, int x, int y, int nOperator = eOr,
                           int nType = 38)
{
  return Segment(nNumber, nType, {},
                 RegionHead(bitmap.m_nWidth, bitmap.m_nHeight, x, y, nOperator) +
                     GenericData(bitmap, 0, DefaultPlaces(0), false));
}

std::string OnPage(const TBitmap& bitmap, const std::string& data, int nType = 38)
{
  return PageSegment(bitmap.m_nWidth, bitmap.m_nHeight) +
         Segment(1, nType, {}, RegionHead(bitmap.m_nWidth, bitmap.m_nHeight, 0, 0) + data);
}

TEST(JBIG2Regions, DecodeEveryGenericTemplate)
{
  std::vector<TBitmap> bitmaps;
  for (const int nWidth : {1, 5, 63, 64, 65, 200})
  {
    bitmaps.push_back(MakeNoise(nWidth, 1, 500, 1));
    bitmaps.push_back(MakeNoise(nWidth, 30, 300, 2));
    bitmaps.push_back(MakePage(nWidth, 60, 3));
  }
  // White enough for runs that end in the middle and at the ends of words and rows.
  bitmaps.push_back(MakeNoise(3000, 40, 1, 4));
  bitmaps.push_back(TBitmap(4100, 3));
  for (const TBitmap& bitmap : bitmaps)
  {
    for (int nForm = 0; nForm < 10; ++nForm)
    {
      SCOPED_TRACE(std::to_string(bitmap.m_nWidth) + " " + std::to_string(nForm));
      ExpectPicture(OnPage(bitmap, GenericData(bitmap, nForm / 2, DefaultPlaces(nForm / 2), nForm % 2 != 0)),
                    bitmap);
    }
  }
}

TEST(JBIG2Regions, DecodeMovedPixels)
{
  const TBitmap bitmap = MakePage(150, 60, 5);
  const CPlaces places{{-9, 0}, {127, -1}, {-128, -3}, {0, -128}, {2, -1}, {-70, 0},
                       {4, -2}, {-5, -5},  {1, -1},    {-1, 0},   {9, -4}, {-64, -1}};
  for (int nTemplate = 0; nTemplate < 5; ++nTemplate)
  {
    const auto nCount = static_cast<std::ptrdiff_t>(DefaultPlaces(nTemplate).size());
    const CPlaces moved(places.begin(), places.begin() + nCount);
    ExpectPicture(OnPage(bitmap, GenericData(bitmap, nTemplate, moved, nTemplate % 2 == 0)), bitmap);
  }
}

TEST(JBIG2Regions, DecodeMMR)
{
  for (const TBitmap& bitmap : {MakePage(150, 60, 6), MakeNoise(7, 9, 500, 7), TBitmap(3, 3)})
  {
    for (const bool bEndCode : {false, true})
      ExpectPicture(OnPage(bitmap, Number8(1) + EncodeMMR(bitmap, bEndCode)), bitmap);
  }
}

// A region whose length the header does not tell, which ends with a mark and the count of its rows.
std::string OpenSegment(const TBitmap& bitmap, int nHeight, const std::string& data, const std::string& mark)
{
  std::string segment = Segment(
      1, 38, {}, RegionHead(bitmap.m_nWidth, nHeight, 0, 0) + data + mark + Number32(bitmap.m_nHeight));
  segment.replace(7, 4, Number32(0xFFFFFFFF));
  return segment;
}

TEST(JBIG2Regions, FindTheEndOfOpenData)
{
  const TBitmap bitmap = MakePage(100, 50, 8);
  const TBitmap more = MakePage(40, 10, 9);
  TBitmap expected(100, 80);
  Draw(expected, bitmap, 0, 0, eOr);
  Draw(expected, more, 3, 60, eOr);
  const std::string rest = GenericSegment(2, more, 3, 60);
  const std::string page = PageSegment(100, 80);
  ExpectPicture(page + OpenSegment(bitmap, 80, GenericData(bitmap, 0, DefaultPlaces(0), true), "") + rest,
                expected);
  ExpectPicture(
      page + OpenSegment(bitmap, 50, Number8(1) + EncodeMMR(bitmap, true), std::string(2, '\0')) + rest,
      expected);
}

TEST(JBIG2Regions, DecodeRefinements)
{
  const CPlaces plain{{-1, -1}, {-1, -1}};
  const CPlaces moved{{3, -2}, {-60, 5}};
  const TBitmap reference = MakePage(130, 50, 10);
  TBitmap bitmap = reference;
  for (int i = 0; i < 30; ++i)
    bitmap.Invert(i * 37 % 130, i * 11 % 50);
  for (int nForm = 0; nForm < 6; ++nForm)
  {
    SCOPED_TRACE(nForm);
    const int nTemplate = nForm < 4 ? 0 : 1;
    const bool bTypical = nForm % 2 != 0;
    const CPlaces movable = nForm < 2 ? plain : nForm < 4 ? moved : CPlaces();
    const std::string flags = Number8(nTemplate | (bTypical ? 2 : 0)) + Numbers(movable);
    CArithmeticWriter writer;
    writer.Refinement(bitmap, reference, {0, 0}, nTemplate, movable, bTypical);
    const std::string data = RegionHead(130, 50, 0, 0, eReplace) + flags + writer.Finish();
    // Of an intermediate region, and of what is on the page.
    ExpectPicture(
        PageSegment(130, 50) + GenericSegment(1, reference, 0, 0, eOr, 36) + Segment(2, 42, {1}, data),
        bitmap);
    ExpectPicture(PageSegment(130, 50) + GenericSegment(1, reference, 0, 0) + Segment(2, 43, {}, data),
                  bitmap);
    // A part of the page sees nothing around it, and may leave the page.
    const TBitmap part = Part(bitmap, 20, 30, 120, 15);
    CArithmeticWriter partWriter;
    partWriter.Refinement(part, Part(reference, 20, 30, 120, 15), {0, 0}, nTemplate, movable, bTypical);
    TBitmap expected = reference;
    Draw(expected, part, 20, 30, eReplace);
    ExpectPicture(PageSegment(130, 50) + GenericSegment(1, reference, 0, 0) +
                      Segment(2, 42, {}, RegionHead(120, 15, 20, 30, eReplace) + flags + partWriter.Finish()),
                  expected);
  }
}

struct THalftone
{
  int m_nColumns;
  int m_nRows;
  int m_x;  // in 256ths, as the steps
  int m_y;
  int m_nStepX;
  int m_nStepY;
};

// The numbers at the places of a grid in bit planes of Gray code, the highest one first.
std::vector<TBitmap> MakePlanes(const THalftone& grid, int nBits, const std::vector<int>& numbers)
{
  std::vector<TBitmap> planes(static_cast<size_t>(nBits), TBitmap(grid.m_nColumns, grid.m_nRows));
  for (size_t i = 0; i < numbers.size(); ++i)
  {
    const int nGray = numbers[i] ^ numbers[i] >> 1;
    for (int k = 0; k < nBits; ++k)
    {
      if ((nGray >> (nBits - 1 - k) & 1) != 0)
        planes[static_cast<size_t>(k)].Set(static_cast<int>(i) % grid.m_nColumns,
                                           static_cast<int>(i) / grid.m_nColumns);
    }
  }
  return planes;
}

TEST(JBIG2Regions, DecodeHalftones)
{
  const int nWidth = 6;
  const int nHeight = 5;
  const int nPatterns = 11;
  const TBitmap patterns = MakeNoise(nWidth * nPatterns, nHeight, 400, 11);
  const THalftone grids[] = {{20, 16, 0, 0, nWidth << 8, 0}, {17, 19, -2000, 9000, 1300, 700}};
  for (int nForm = 0; nForm < 2 * 5 * 2; ++nForm)
  {
    SCOPED_TRACE(nForm);
    const THalftone& grid = grids[nForm % 2];
    const bool bMMR = nForm / 4 == 4;
    const int nTemplate = nForm / 4 % 4;
    const bool bSkip = nForm / 2 % 2 != 0 && !bMMR;
    const int nOperator = nForm % 5;
    std::mt19937 random(static_cast<unsigned>(nForm));
    std::vector<int> numbers(static_cast<size_t>(grid.m_nColumns * grid.m_nRows));
    TBitmap expected(120, 80);
    TBitmap region(100, 60);
    TBitmap skip(grid.m_nColumns, grid.m_nRows);
    for (size_t i = 0; i < numbers.size(); ++i)
    {
      const int nColumn = static_cast<int>(i) % grid.m_nColumns;
      const int nRow = static_cast<int>(i) / grid.m_nColumns;
      const int x = (grid.m_x + nRow * grid.m_nStepY + nColumn * grid.m_nStepX) >> 8;
      const int y = (grid.m_y + nRow * grid.m_nStepX - nColumn * grid.m_nStepY) >> 8;
      numbers[i] = static_cast<int>(random() % nPatterns);
      if (bSkip && (x + nWidth <= 0 || x >= 100 || y + nHeight <= 0 || y >= 60))
      {
        numbers[i] = 0;
        skip.Set(nColumn, nRow);
      }
      Draw(region, Part(patterns, numbers[i] * nWidth, 0, nWidth, nHeight), x, y, nOperator);
    }
    Draw(expected, region, 10, 15, eXor);
    std::string dictionary = Number8((bMMR ? 1 : 0) | nTemplate << 1) + Number8(nWidth) + Number8(nHeight) +
                             Number32(nPatterns - 1);
    CPlaces movable = DefaultPlaces(nTemplate);
    std::string data;
    CArithmeticWriter writer;
    for (const TBitmap& plane : MakePlanes(grid, 4, numbers))
    {
      if (bMMR)
        data += EncodeMMR(plane, true);
      else
        writer.Generic(plane, nTemplate, movable, false, bSkip ? &skip : nullptr);
    }
    movable[0] = {-nWidth, 0};
    CArithmeticWriter patternWriter;
    patternWriter.Generic(patterns, nTemplate, movable);
    dictionary += bMMR ? EncodeMMR(patterns, true) : patternWriter.Finish();
    if (!bMMR)
      data = writer.Finish();
    ExpectPicture(
        PageSegment(120, 80) + Segment(1, 16, {}, dictionary) +
            Segment(2, 22, {1},
                    RegionHead(100, 60, 10, 15, eXor) +
                        Number8((bMMR ? 1 : 0) | nTemplate << 1 | (bSkip ? 8 : 0) | nOperator << 4) +
                        Number32(grid.m_nColumns) + Number32(grid.m_nRows) + Number32(grid.m_x) +
                        Number32(grid.m_y) + Number16(grid.m_nStepX) + Number16(grid.m_nStepY) + data),
        expected);
  }
}

TEST(JBIG2Regions, MeetThePageByTheirOperator)
{
  const TBitmap first = MakeNoise(90, 40, 500, 12);
  const TBitmap second = MakeNoise(70, 30, 500, 13);
  for (int nForm = 0; nForm < 2 * 5 * 5; ++nForm)
  {
    SCOPED_TRACE(nForm);
    const bool bBlack = nForm % 2 != 0;
    TBitmap expected(90, 40);
    if (bBlack)
      Draw(expected, expected, 0, 0, eXnor);
    Draw(expected, first, 0, 0, nForm / 2 % 5);
    Draw(expected, second, 40, 17, nForm / 10);
    ExpectPicture(PageSegment(90, 40, bBlack ? 4 : 0) + GenericSegment(1, first, 0, 0, nForm / 2 % 5) +
                      GenericSegment(2, second, 40, 17, nForm / 10),
                  expected);
  }
}

TEST(JBIG2Regions, FindTheHeightOfAPage)
{
  const TBitmap expected = MakePage(70, 90, 14);
  std::string stripes;
  for (unsigned i = 0; i < 3; ++i)
  {
    const int y = static_cast<int>(i) * 30;
    stripes += GenericSegment(2 * i + 1, Part(expected, 0, y, 70, 30), 0, y);
    stripes += Segment(2 * i + 2, 50, {}, Number32(y + 29));
  }
  ExpectPicture(PageSegment(70, 0xFFFFFFFF, 0, 0x8000 | 30) + stripes + Segment(9, 49, {}, "") +
                    Segment(10, 51, {}, ""),
                expected);
  ExpectPicture(PageSegment(70, 0xFFFFFFFF) + GenericSegment(1, expected, 0, 0), expected);
  // Segments that say nothing about the picture, a header of a file, and bytes after the end.
  ExpectPicture("\x97JB2\r\n\x1A\n\x01" + Number32(1) + Segment(7, 62, {}, "comment") + PageSegment(70, 90) +
                    Segment(6, 52, {}, Number32(0)) + GenericSegment(1, expected, 0, 0) + "\r\n",
                expected);
}

}  // namespace
}  // namespace BSE
