#include "tests/images/filters/jbig2/JBIG2Writer.h"

#include "base/MemoryStream.h"
#include "images/filters/CCITTFaxEncodeFilter.h"

#include <stdexcept>

namespace BSE
{

namespace
{

std::string Number(std::int64_t nValue, int nBytes)
{
  std::string bytes;
  for (int i = nBytes - 1; i >= 0; --i)
    bytes.push_back(static_cast<char>(nValue >> (8 * i)));
  return bytes;
}

// The pixels of a context from the low bit on; movable ones are given by their index, with a row of 1.
CPlaces GetNeighbours(int nTemplate)
{
  const auto movable = [](int i) { return TPlace{i, 1}; };
  switch (nTemplate)
  {
  case 0:
    return {{-1, 0},  {-2, 0},  {-3, 0},    {-4, 0},    movable(0), {2, -1}, {1, -1},  {0, -1},
            {-1, -1}, {-2, -1}, movable(1), movable(2), {1, -2},    {0, -2}, {-1, -2}, movable(3)};
  case 1:
    return {{-1, 0},  {-2, 0},  {-3, 0}, movable(0), {2, -1}, {1, -1}, {0, -1},
            {-1, -1}, {-2, -1}, {2, -2}, {1, -2},    {0, -2}, {-1, -2}};
  case 2:
    return {{-1, 0}, {-2, 0}, movable(0), {1, -1}, {0, -1}, {-1, -1}, {-2, -1}, {1, -2}, {0, -2}, {-1, -2}};
  case 3:
    return {{-1, 0}, {-2, 0}, {-3, 0}, {-4, 0}, movable(0), {1, -1}, {0, -1}, {-1, -1}, {-2, -1}, {-3, -1}};
  default:
    return {{-1, 0},  movable(0), movable(6),  movable(7), movable(9), movable(5), {1, -1},    {0, -1},
            {-1, -1}, movable(2), movable(11), movable(8), movable(4), movable(1), movable(3), movable(10)};
  }
}

constexpr unsigned g_typicalContexts[] = {0x9B25, 0x0795, 0x00E5, 0x0195, 0x9B25};

unsigned GetContext(const TBitmap& bitmap, int x, int y, const CPlaces& neighbours, const CPlaces& movable)
{
  unsigned nContext = 0;
  for (size_t i = 0; i < neighbours.size(); ++i)
  {
    const TPlace place =
        neighbours[i].m_y == 1 ? movable[static_cast<size_t>(neighbours[i].m_x)] : neighbours[i];
    nContext |= (bitmap.Get(x + place.m_x, y + place.m_y) ? 1U : 0U) << i;
  }
  return nContext;
}

bool AreRowsEqual(const TBitmap& bitmap, int y)
{
  for (int x = 0; x < bitmap.m_nWidth; ++x)
  {
    if (bitmap.Get(x, y) != bitmap.Get(x, y - 1))
      return false;
  }
  return true;
}

// Whether the nine pixels of the reference around a place are alike.
bool IsUniform(const TBitmap& reference, int x, int y)
{
  for (int i = 0; i < 9; ++i)
  {
    if (reference.Get(x - 1 + i % 3, y - 1 + i / 3) != reference.Get(x, y))
      return false;
  }
  return true;
}

}  // namespace

std::string Number8(std::int64_t nValue)
{
  return Number(nValue, 1);
}

std::string Number16(std::int64_t nValue)
{
  return Number(nValue, 2);
}

std::string Number32(std::int64_t nValue)
{
  return Number(nValue, 4);
}

std::string Segment(unsigned nNumber, int nType, const std::vector<unsigned>& references,
                    const std::string& data)
{
  const auto nCount = static_cast<std::int64_t>(references.size());
  std::string bytes = Number32(nNumber) + Number8(nType);
  if (nCount <= 4)
    bytes += Number8(nCount << 5);
  else
    bytes += Number32(nCount | 7LL << 29) + std::string(references.size() / 8 + 1, '\0');
  for (const unsigned nReference : references)
    bytes += Number(nReference, nNumber <= 256 ? 1 : nNumber <= 65536 ? 2 : 4);
  return bytes + Number8(1) + Number32(static_cast<std::int64_t>(data.size())) + data;
}

std::string PageSegment(int nWidth, std::int64_t nHeight, int nFlags, int nStriping)
{
  return Segment(0, 48, {},
                 Number32(nWidth) + Number32(nHeight) + Number32(11811) + Number32(23622) + Number8(nFlags) +
                     Number16(nStriping));
}

std::string RegionHead(int nWidth, int nHeight, int x, int y, int nFlags)
{
  return Number32(nWidth) + Number32(nHeight) + Number32(x) + Number32(y) + Number8(nFlags);
}

std::string Numbers(const CPlaces& places)
{
  std::string bytes;
  for (const TPlace& place : places)
    bytes += Number8(place.m_x) + Number8(place.m_y);
  return bytes;
}

CPlaces DefaultPlaces(int nTemplate)
{
  switch (nTemplate)
  {
  case 0:
    return {{3, -1}, {-3, -1}, {2, -2}, {-2, -2}};
  case 1:
    return {{3, -1}};
  case 2:
  case 3:
    return {{2, -1}};
  default:
    return {{-2, 0}, {0, -2}, {-2, -1}, {-1, -2}, {1, -2},  {2, -1},
            {-3, 0}, {-4, 0}, {2, -2},  {3, -1},  {-2, -2}, {-3, -1}};
  }
}

void CArithmeticWriter::Generic(const TBitmap& bitmap, int nTemplate, const CPlaces& movable, bool bTypical,
                                const TBitmap* pSkip)
{
  const CPlaces neighbours = GetNeighbours(nTemplate);
  bool bLast = false;
  for (int y = 0; y < bitmap.m_nHeight; ++y)
  {
    if (bTypical)
    {
      const bool bEqual = AreRowsEqual(bitmap, y);
      m_encoder.Encode(m_generic[g_typicalContexts[nTemplate]], bEqual != bLast ? 1 : 0);
      bLast = bEqual;
      if (bEqual)
        continue;
    }
    for (int x = 0; x < bitmap.m_nWidth; ++x)
    {
      if (!pSkip || !pSkip->Get(x, y))
        m_encoder.Encode(m_generic[GetContext(bitmap, x, y, neighbours, movable)], bitmap.Get(x, y) ? 1 : 0);
    }
  }
}

void CArithmeticWriter::Refinement(const TBitmap& bitmap, const TBitmap& reference, TPlace corner,
                                   int nTemplate, const CPlaces& movable, bool bTypical)
{
  const CPlaces own = nTemplate == 0 ? CPlaces{{-1, 0}, {1, -1}, {0, -1}, {0, 1}}
                                     : CPlaces{{-1, 0}, {1, -1}, {0, -1}, {-1, -1}};
  const CPlaces other = nTemplate == 0
                            ? CPlaces{{1, 1}, {0, 1}, {-1, 1}, {1, 0}, {0, 0}, {-1, 0}, {1, -1}, {0, -1}}
                            : CPlaces{{1, 1}, {0, 1}, {1, 0}, {0, 0}, {-1, 0}, {0, -1}};
  bool bLast = false;
  for (int y = 0; y < bitmap.m_nHeight; ++y)
  {
    bool bPredicted = bTypical;
    for (int x = 0; bPredicted && x < bitmap.m_nWidth; ++x)
      bPredicted = !IsUniform(reference, x - corner.m_x, y - corner.m_y) ||
                   bitmap.Get(x, y) == reference.Get(x - corner.m_x, y - corner.m_y);
    if (bTypical)
    {
      m_encoder.Encode(m_refinement[nTemplate == 0 ? 0x100 : 0x80], bPredicted != bLast ? 1 : 0);
      bLast = bPredicted;
    }
    for (int x = 0; x < bitmap.m_nWidth; ++x)
    {
      if (bPredicted && IsUniform(reference, x - corner.m_x, y - corner.m_y))
        continue;
      unsigned nContext = GetContext(bitmap, x, y, own, movable);
      // In the reference nothing is given by its index.
      for (size_t i = 0; i < other.size(); ++i)
        nContext |= (reference.Get(x - corner.m_x + other[i].m_x, y - corner.m_y + other[i].m_y) ? 1U : 0U)
                    << (i + 4);
      if (nTemplate == 0 && reference.Get(x - corner.m_x + movable[1].m_x, y - corner.m_y + movable[1].m_y))
        nContext |= 1U << 12;
      m_encoder.Encode(m_refinement[nContext], bitmap.Get(x, y) ? 1 : 0);
    }
  }
}

void CArithmeticWriter::Integer(const std::string& sProcedure, std::optional<std::int64_t> value)
{
  if (value)
    m_integers[sProcedure].Encode(m_encoder, *value);
  else
    m_integers[sProcedure].EncodeNone(m_encoder);
}

void CArithmeticWriter::Symbol(int nSymbol, int nBits)
{
  if (m_symbols.GetBits() != nBits)
    m_symbols.Start(nBits);
  if (nBits > 0)
    m_symbols.Encode(m_encoder, nSymbol);
}

std::string CArithmeticWriter::Finish()
{
  m_encoder.Flush();
  const auto bytes = m_encoder.GetBytes();
  return std::string(bytes.begin(), bytes.end());
}

void CBitWriter::Bits(std::uint64_t nValue, int nCount)
{
  for (int i = nCount - 1; i >= 0; --i)
  {
    if (m_nFree == 0)
    {
      m_bytes.push_back('\0');
      m_nFree = 8;
    }
    --m_nFree;
    m_bytes.back() = static_cast<char>(m_bytes.back() | static_cast<char>((nValue >> i & 1) << m_nFree));
  }
}

void CBitWriter::Align()
{
  m_nFree = 0;
}

void CBitWriter::Bytes(const std::string& bytes)
{
  Align();
  m_bytes += bytes;
}

void CBitWriter::Number(const CLines& lines, std::optional<std::int64_t> value)
{
  // Codes by length and, in each length, in the order of the lines.
  std::uint64_t nCode = 0;
  for (int nLength = 1; nLength <= 32; ++nLength, nCode <<= 1)
  {
    for (const TJBIG2HuffmanLine& line : lines)
    {
      if (line.m_nLength != nLength)
        continue;
      const std::int64_t nOffset =
          line.m_kind == eJBIG2Lower ? line.m_nFirst - value.value_or(0) : value.value_or(0) - line.m_nFirst;
      const bool bFound = line.m_kind == eJBIG2None
                              ? !value
                              : value && nOffset >= 0 && nOffset < std::int64_t{1} << line.m_nBits;
      if (bFound)
      {
        Bits(nCode, nLength);
        return Bits(static_cast<std::uint64_t>(nOffset), line.m_nBits);
      }
      ++nCode;
    }
  }
  throw std::logic_error("a table has no code for a number");
}

std::string CBitWriter::Finish()
{
  Align();
  return m_bytes;
}

CLines StandardTable(int nTable)
{
  const auto lines = GetJBIG2StandardLines(nTable);
  return CLines(lines.begin(), lines.end());
}

std::string TableData(const CLines& lines, std::int64_t nHigh, int nLengthBits, int nRangeBits)
{
  const bool bNone = lines.back().m_kind == eJBIG2None;
  CBitWriter writer;
  writer.Bytes(Number8((bNone ? 1 : 0) | (nLengthBits - 1) << 1 | (nRangeBits - 1) << 4) +
               Number32(lines.front().m_nFirst) + Number32(nHigh));
  for (const TJBIG2HuffmanLine& line : lines)
  {
    writer.Bits(line.m_nLength, nLengthBits);
    if (line.m_nBits < 32 && line.m_kind == eJBIG2Range)
      writer.Bits(line.m_nBits, nRangeBits);
  }
  return writer.Finish();
}

TBitmap Part(const TBitmap& bitmap, int x, int y, int nWidth, int nHeight)
{
  TBitmap part(nWidth, nHeight);
  for (int i = 0; i < nWidth * nHeight; ++i)
  {
    if (bitmap.Get(x + i % nWidth, y + i / nWidth))
      part.Set(i % nWidth, i / nWidth);
  }
  return part;
}

void Draw(TBitmap& bitmap, const TBitmap& source, int x, int y, int nOperator)
{
  for (int i = 0; i < source.m_nWidth * source.m_nHeight; ++i)
  {
    const int nColumn = x + i % source.m_nWidth;
    const int nRow = y + i / source.m_nWidth;
    const bool bOld = bitmap.Get(nColumn, nRow);
    const bool bNew = source.Get(i % source.m_nWidth, i / source.m_nWidth);
    const bool results[] = {bOld || bNew, bOld && bNew, bOld != bNew, bOld == bNew, bNew};
    if (results[nOperator] != bOld)
      bitmap.Invert(nColumn, nRow);
  }
}

std::string EncodeMMR(const TBitmap& bitmap, bool bEndCode)
{
  CCCITTFaxParameters parameters;
  parameters.K = -1;
  parameters.Columns = bitmap.m_nWidth;
  parameters.BlackIs1 = true;
  parameters.EndOfBlock = bEndCode;
  const CObjectPtr<CMemoryStream> pSink(new CMemoryStream);
  const CObjectPtr<CCCITTFaxEncodeFilter> pFilter(new CCCITTFaxEncodeFilter(pSink.Get(), parameters));
  pFilter->WriteAll(reinterpret_cast<const unsigned char*>(bitmap.m_rows.data()),
                    static_cast<std::int64_t>(bitmap.m_rows.size()));
  pFilter->Close();
  std::string bytes(static_cast<size_t>(pSink->GetLength()), '\0');
  pSink->Rewind();
  pSink->ReadFully(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<std::int64_t>(bytes.size()));
  return bytes;
}

}  // namespace BSE
