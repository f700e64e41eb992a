#pragma once

#include "images/filters/jbig2/JBIG2BitReader.h"
#include "images/filters/jbig2/JBIG2HuffmanTable.h"
#include "images/filters/jbig2/JBIG2Integers.h"
#include "images/filters/jbig2/JBIG2RefinementDecoder.h"

#include <cstdint>

namespace BSE
{

// How much a refined symbol differs from its symbol in size, and where it is.
struct TJBIG2SymbolChange
{
  std::int64_t m_nWidth = 0;
  std::int64_t m_nHeight = 0;
  std::int64_t m_x = 0;
  std::int64_t m_y = 0;
};

// The numbers that a text region consists of (ITU-T T.88, 6.4), in either coding. Each operation is false,
// with the reason in the run, if there is no such number.
class IJBIG2TextCodes
{
public:
  virtual ~IJBIG2TextCodes() = default;

  virtual bool ReadStripStep(std::int64_t& nStep) = 0;
  virtual bool ReadFirstStep(std::int64_t& nStep) = 0;

  // bEnd at the end of a strip.
  virtual bool ReadStep(std::int64_t& nStep, bool& bEnd) = 0;

  // The place in a strip of that many bits.
  virtual bool ReadPlace(int nBits, std::int64_t& nPlace) = 0;
  virtual bool ReadSymbol(std::int64_t& nSymbol) = 0;
  virtual bool ReadIsRefined(bool& bRefined) = 0;
  virtual bool ReadChange(TJBIG2SymbolChange& change) = 0;

  // Directly after the change that it belongs to.
  virtual bool DecodeRefined(CJBIG2Bitmap& bitmap, const TJBIG2Reference& reference) = 0;
};

// The contexts of the numbers in a text region in arithmetic coding, for both directions.
struct TJBIG2TextContexts
{
  CJBIG2IntegerContexts m_stripSteps;
  CJBIG2IntegerContexts m_firstSteps;
  CJBIG2IntegerContexts m_steps;
  CJBIG2IntegerContexts m_places;
  CJBIG2IntegerContexts m_refined;
  CJBIG2IntegerContexts m_widths;
  CJBIG2IntegerContexts m_heights;
  CJBIG2IntegerContexts m_columns;
  CJBIG2IntegerContexts m_rows;
  CJBIG2SymbolContexts m_symbols;
};

class CJBIG2ArithmeticTextCodes final : public IJBIG2TextCodes
{
public:
  // All contexts at their start, for symbol numbers of that many bits. Borrows the rest.
  CJBIG2ArithmeticTextCodes(CJBIG2Run& run, CJBIG2ArithmeticDecoder& decoder,
                            CJBIG2RefinementDecoder& refinement, int nSymbolBits);

  bool ReadStripStep(std::int64_t& nStep) override { return Read(m_contexts.m_stripSteps, nStep); }
  bool ReadFirstStep(std::int64_t& nStep) override { return Read(m_contexts.m_firstSteps, nStep); }
  bool ReadStep(std::int64_t& nStep, bool& bEnd) override;
  bool ReadPlace(int nBits, std::int64_t& nPlace) override;
  bool ReadSymbol(std::int64_t& nSymbol) override;
  bool ReadIsRefined(bool& bRefined) override;
  bool ReadChange(TJBIG2SymbolChange& change) override;
  bool DecodeRefined(CJBIG2Bitmap& bitmap, const TJBIG2Reference& reference) override;

  // The change of a symbol that keeps the size that is known for it.
  bool ReadMove(TJBIG2SymbolChange& change);

private:
  bool Read(CJBIG2IntegerContexts& contexts, std::int64_t& nValue);
  bool CheckData();

  CJBIG2Run& m_run;
  CJBIG2ArithmeticDecoder& m_decoder;
  CJBIG2RefinementDecoder& m_refinement;
  TJBIG2TextContexts m_contexts;
};

// The tables of Huffman coding.
struct TJBIG2TextTables
{
  CObjectPtr<CJBIG2HuffmanTable> m_pFirstSteps;
  CObjectPtr<CJBIG2HuffmanTable> m_pSteps;
  CObjectPtr<CJBIG2HuffmanTable> m_pStripSteps;
  CObjectPtr<CJBIG2HuffmanTable> m_pWidths;
  CObjectPtr<CJBIG2HuffmanTable> m_pHeights;
  CObjectPtr<CJBIG2HuffmanTable> m_pColumns;
  CObjectPtr<CJBIG2HuffmanTable> m_pRows;
  CObjectPtr<CJBIG2HuffmanTable> m_pSizes;

  // Null where symbol numbers are plain bits.
  CObjectPtr<CJBIG2HuffmanTable> m_pSymbols;
  int m_nSymbolBits = 0;
};

class CJBIG2HuffmanTextCodes final : public IJBIG2TextCodes
{
public:
  // Borrows all of it.
  CJBIG2HuffmanTextCodes(CJBIG2Run& run, CJBIG2BitReader& reader, CJBIG2RefinementDecoder& refinement,
                         const TJBIG2TextTables& tables)
      : m_run(run), m_reader(reader), m_refinement(refinement), m_tables(tables)
  {
  }

  bool ReadStripStep(std::int64_t& nStep) override { return Read(*m_tables.m_pStripSteps, nStep); }
  bool ReadFirstStep(std::int64_t& nStep) override { return Read(*m_tables.m_pFirstSteps, nStep); }
  bool ReadStep(std::int64_t& nStep, bool& bEnd) override;
  bool ReadPlace(int nBits, std::int64_t& nPlace) override;
  bool ReadSymbol(std::int64_t& nSymbol) override;
  bool ReadIsRefined(bool& bRefined) override;
  bool ReadChange(TJBIG2SymbolChange& change) override;
  bool DecodeRefined(CJBIG2Bitmap& bitmap, const TJBIG2Reference& reference) override;

  // The change of a symbol that keeps the size that is known for it.
  bool ReadMove(TJBIG2SymbolChange& change);

private:
  bool Read(const CJBIG2HuffmanTable& table, std::int64_t& nValue);
  bool ReadPlain(int nBits, std::int64_t& nValue);

  CJBIG2Run& m_run;
  CJBIG2BitReader& m_reader;
  CJBIG2RefinementDecoder& m_refinement;
  const TJBIG2TextTables& m_tables;
};

// The table of symbol numbers that precedes a text region in Huffman coding (T.88, 7.4.3.1.7);
// null, with the reason in the run, for damaged data.
CObjectPtr<CJBIG2HuffmanTable> ReadJBIG2SymbolTable(CJBIG2Run& run, CJBIG2BitReader& reader, int nSymbols);

}  // namespace BSE
