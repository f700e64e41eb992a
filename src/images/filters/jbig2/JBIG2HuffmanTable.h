#pragma once

#include "base/BasicArray.h"
#include "base/Object.h"
#include "base/ObjectPtr.h"
#include "images/filters/jbig2/JBIG2BitReader.h"
#include "images/filters/jbig2/JBIG2Run.h"

#include <cstdint>
#include <span>

namespace BSE
{

// What a code of a Huffman table stands for.
enum TJBIG2LineKind : unsigned char
{
  eJBIG2Range,  // m_nFirst and the numbers above it, chosen by bits after the code
  eJBIG2Lower,  // the same downwards
  eJBIG2None    // no number: the end of a list
};

// A line of a table as ITU-T T.88, annex B, prints it. Lines without a code have the length 0.
struct TJBIG2HuffmanLine
{
  std::int32_t m_nFirst;
  unsigned char m_nLength;  // of the code
  unsigned char m_nBits;    // after it
  TJBIG2LineKind m_kind;
};

enum TJBIG2HuffmanStatus
{
  eJBIG2Number,
  eJBIG2NoNumber,    // the code for none
  eJBIG2UnknownCode  // or the end of the data
};

// A Huffman table: codes of one length follow each other in the order of their lines.
class CJBIG2HuffmanTable final : public CObject
{
public:
  static constexpr int g_nMaxLength = 32;

  // Null, with the reason in the run, where lengths are above g_nMaxLength or promise more codes than there
  // are.
  static CObjectPtr<CJBIG2HuffmanTable> Create(CJBIG2Run& run, std::span<const TJBIG2HuffmanLine> lines);

  // The table of a segment of tables (B.2); null, with the reason in the run, for damaged data.
  static CObjectPtr<CJBIG2HuffmanTable> Read(CJBIG2Run& run, std::span<const unsigned char> data);

  // Table B.1 to B.15 by its number.
  static CObjectPtr<CJBIG2HuffmanTable> CreateStandard(CJBIG2Run& run, int nTable);

  bool IsValid() const override { return true; }

  TJBIG2HuffmanStatus Decode(CJBIG2BitReader& reader, std::int64_t& nValue) const;

private:
  CJBIG2HuffmanTable() = default;

  // For each length of codes: the first code, how many follow from there, and the place of the first line.
  struct TLength
  {
    std::uint32_t m_nFirstCode;
    std::uint32_t m_nCount;
    int m_nFirstLine;
  };

  TLength m_lengths[g_nMaxLength + 1] = {};
  int m_nMaxLength = 0;
  CBasicArray<TJBIG2HuffmanLine> m_lines;  // in the order of their codes
};

// The lines of a standard table, 1 to 15.
std::span<const TJBIG2HuffmanLine> GetJBIG2StandardLines(int nTable);

}  // namespace BSE
