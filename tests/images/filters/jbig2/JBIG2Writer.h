#pragma once

#include "images/filters/jbig2/JBIG2ArithmeticEncoder.h"
#include "images/filters/jbig2/JBIG2HuffmanTable.h"
#include "images/filters/jbig2/JBIG2Integers.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/images/filters/BitmapFixture.h"

// Writes JBIG2 data of every kind, pixel by pixel as ITU-T T.88 says it, for decoders to be tested on.
namespace BSE
{

// Big-endian numbers.
std::string Number8(std::int64_t nValue);
std::string Number16(std::int64_t nValue);
std::string Number32(std::int64_t nValue);

// A segment of page 1.
std::string Segment(unsigned nNumber, int nType, const std::vector<unsigned>& references,
                    const std::string& data);
std::string PageSegment(int nWidth, std::int64_t nHeight, int nFlags = 0, int nStriping = 0);
std::string RegionHead(int nWidth, int nHeight, int x, int y, int nFlags = 0);

struct TPlace
{
  int m_x;
  int m_y;
};
using CPlaces = std::vector<TPlace>;

std::string Numbers(const CPlaces& places);

// The numbers of one arithmetic code, with the contexts of all that can be in it.
class CArithmeticWriter
{
public:
  // Contexts of bitmaps are kept by their template.
  using CContexts = std::map<unsigned, TJBIG2Context>;

  void Generic(const TBitmap& bitmap, int nTemplate, const CPlaces& movable, bool bTypical = false,
               const TBitmap* pSkip = nullptr);

  // The reference's corner is at a place of the bitmap.
  void Refinement(const TBitmap& bitmap, const TBitmap& reference, TPlace corner, int nTemplate,
                  const CPlaces& movable, bool bTypical = false);

  // Without a value: none.
  void Integer(const std::string& sProcedure, std::optional<std::int64_t> value);
  void Symbol(int nSymbol, int nBits);
  std::string Finish();

  CContexts m_generic;
  CContexts m_refinement;

private:
  CJBIG2ArithmeticEncoder m_encoder;
  std::map<std::string, CJBIG2IntegerContexts> m_integers;
  CJBIG2SymbolContexts m_symbols;
};

// The movable pixels at their default places; template 4 is template 0 with twelve of them.
CPlaces DefaultPlaces(int nTemplate);

using CLines = std::vector<TJBIG2HuffmanLine>;

// Bits of Huffman coding.
class CBitWriter
{
public:
  void Bits(std::uint64_t nValue, int nCount);
  void Align();

  // Aligns and appends.
  void Bytes(const std::string& bytes);

  // Without a value: none.
  void Number(const CLines& lines, std::optional<std::int64_t> value);
  std::string Finish();

private:
  std::string m_bytes;
  int m_nFree = 0;  // bits of the last byte
};

CLines StandardTable(int nTable);

// The data of a segment of tables.
std::string TableData(const CLines& lines, std::int64_t nHigh, int nLengthBits, int nRangeBits);

// Pixels of bitmaps.
TBitmap Part(const TBitmap& bitmap, int x, int y, int nWidth, int nHeight);

// Draws with an operator of T.88: or, and, xor, xnor, replace.
void Draw(TBitmap& bitmap, const TBitmap& source, int x, int y, int nOperator);

// The two-dimensional fax code of a bitmap.
std::string EncodeMMR(const TBitmap& bitmap, bool bEndCode);

}  // namespace BSE
