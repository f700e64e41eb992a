#pragma once

#include "images/filters/jbig2/JBIG2GenericDecoder.h"
#include "images/filters/jbig2/JBIG2TextRegion.h"

#include <cstdint>
#include <span>

namespace BSE
{

// Contexts of bitmaps that a dictionary hands on, with the form that they belong to.
struct TJBIG2KeptContexts
{
  TJBIG2GenericForm m_generic;
  TJBIG2RefinementForm m_refinement;
  CBasicArray<TJBIG2Context> m_genericContexts;
  CBasicArray<TJBIG2Context> m_refinementContexts;
  CJBIG2HeldMemory m_memory;
};

// The symbols that a dictionary makes known.
class CJBIG2SymbolDictionary final : public CObject
{
public:
  bool IsValid() const override { return true; }

  CJBIG2Symbols m_symbols;

  // Empty unless the dictionary keeps its contexts.
  CScopedPtr<TJBIG2KeptContexts> m_pKept;
  CJBIG2HeldMemory m_memory;
};

// How a symbol dictionary is coded (ITU-T T.88, 7.4.2).
struct TJBIG2SymbolForm
{
  bool m_bHuffman = false;
  bool m_bAggregate = false;  // symbols are made of other symbols
  TJBIG2GenericForm m_generic;
  TJBIG2RefinementForm m_refinement;
  std::uint32_t m_nExported = 0;
  std::uint32_t m_nNew = 0;

  // Tables of Huffman coding.
  CObjectPtr<CJBIG2HuffmanTable> m_pHeights;
  CObjectPtr<CJBIG2HuffmanTable> m_pWidths;
  CObjectPtr<CJBIG2HuffmanTable> m_pSizes;
  CObjectPtr<CJBIG2HuffmanTable> m_pCounts;
};

// Decodes the symbols of one dictionary (T.88, 6.5). They come in classes of equal height, in each of them
// from left to right, one by one or all in one bitmap.
class CJBIG2SymbolDecoder
{
public:
  // The symbols are those of the dictionaries that this one builds on. Borrows data and form.
  CJBIG2SymbolDecoder(CJBIG2Run& run, const TJBIG2SymbolForm& form, const CJBIG2Symbols& symbols,
                      std::span<const unsigned char> data);

  // Begins with the contexts of another dictionary; false, with the reason in the run, if that is of another
  // form.
  bool UseContexts(const TJBIG2KeptContexts& kept);

  // What the next dictionary can go on with, after decoding; null, with the reason in the run, if there is no
  // memory for it.
  CScopedPtr<TJBIG2KeptContexts> KeepContexts();

  // Adds the symbols that the dictionary makes known. False, with the reason in the run, for damaged data.
  bool Decode(CJBIG2Symbols& exported);

private:
  // Gets ready for symbols that are made of others.
  bool StartAggregates();
  bool DecodeClass();
  bool DecodeSymbol(std::int64_t nWidth);
  CJBIG2BitmapPtr DecodePlain(std::int64_t nWidth);
  CJBIG2BitmapPtr DecodeAggregate(std::int64_t nWidth);
  bool DecodeOneRefined(CJBIG2Bitmap& bitmap);
  bool DecodeText(CJBIG2Bitmap& bitmap, std::int64_t nInstances);

  // The bitmap of all symbols of a class, side by side.
  CJBIG2BitmapPtr DecodeCollective(std::int64_t nWidth);
  bool SplitCollective(const CJBIG2Bitmap& bitmap);
  bool Export(CJBIG2Symbols& exported);

  bool ReadNumber(CJBIG2IntegerContexts& contexts, const CObjectPtr<CJBIG2HuffmanTable>& pTable,
                  std::int64_t& nValue, bool& bEnd);
  bool ReadNumber(CJBIG2IntegerContexts& contexts, const CObjectPtr<CJBIG2HuffmanTable>& pTable,
                  std::int64_t& nValue);

  CJBIG2Run& m_run;
  const TJBIG2SymbolForm& m_form;
  CJBIG2Symbols m_symbols;  // those given and those decoded
  int m_nGiven;
  std::int64_t m_nHeight = 0;
  CBasicArray<int> m_widths;  // of the symbols of a class that come in one bitmap

  CJBIG2BitReader m_reader;
  CJBIG2ArithmeticDecoder m_decoder;
  CJBIG2GenericDecoder m_generic;
  CJBIG2RefinementDecoder m_refinement;
  CJBIG2IntegerContexts m_heightSteps;
  CJBIG2IntegerContexts m_widthSteps;
  CJBIG2IntegerContexts m_counts;
  CJBIG2IntegerContexts m_exports;
  TJBIG2TextTables m_tables;
  CScopedPtr<CJBIG2ArithmeticTextCodes> m_pTextCodes;
  CJBIG2HeldMemory m_memory;
};

}  // namespace BSE
