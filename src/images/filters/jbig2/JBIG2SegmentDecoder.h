#pragma once

#include "images/filters/jbig2/JBIG2Halftone.h"
#include "images/filters/jbig2/JBIG2Segments.h"
#include "images/filters/jbig2/JBIG2SymbolDictionary.h"

namespace BSE
{

// Decodes single segments and keeps what they leave for later ones: dictionaries, tables and intermediate
// regions.
class CJBIG2SegmentDecoder
{
public:
  // Borrows both, the list with all its segments.
  CJBIG2SegmentDecoder(CJBIG2Run& run, const CJBIG2SegmentList& segments);

  // Decodes dictionaries and tables and keeps them. False, with the reason in the run, for damaged data.
  bool DecodeDictionary(int nSegment);

  // Decodes a region; pPage is what a refinement without a region of its own refines. Where the data is
  // damaged the reason is in the run, and the result may be null or have parts missing.
  CJBIG2BitmapPtr DecodeRegion(int nSegment, const TJBIG2Region& region, const CJBIG2Bitmap* pPage);

  // Keeps an intermediate region.
  void Keep(int nSegment, IObject* pResult) { m_results.SetAt(nSegment, pResult); }

private:
  // What the segments that a segment refers to have left.
  struct TReferred
  {
    CJBIG2Symbols m_symbols;
    const CJBIG2SymbolDictionary* m_pLastDictionary = nullptr;
    const CJBIG2PatternDictionary* m_pPatterns = nullptr;
    const CJBIG2Bitmap* m_pRegion = nullptr;
    CObjectArray<CJBIG2HuffmanTable> m_tables;
    int m_nTablesUsed = 0;
    CJBIG2HeldMemory m_memory;
  };

  // False if something is missing.
  bool FindReferred(int nSegment, TReferred& referred);
  bool AddReferred(IObject* pResult, TReferred& referred);

  // A standard table, or the next one of the tables referred to for the number g_nOwnTable; null if there is
  // none.
  CObjectPtr<CJBIG2HuffmanTable> GetTable(TReferred& referred, int nTable);

  bool DecodeSymbols(int nSegment);
  bool ReadSymbolForm(CByteCursor& cursor, TReferred& referred, TJBIG2SymbolForm& form, unsigned& nFlags);
  bool DecodePatterns(int nSegment);
  bool DecodeTables(int nSegment);

  CJBIG2BitmapPtr DecodeText(int nSegment, CByteCursor& cursor, const TJBIG2Region& region);
  bool DecodeArithmeticText(CByteCursor& cursor, const TJBIG2TextForm& form,
                            CJBIG2RefinementDecoder& refinement, const CJBIG2Symbols& symbols,
                            CJBIG2Bitmap& bitmap);
  bool DecodeHuffmanText(CByteCursor& cursor, const TJBIG2TextForm& form, TJBIG2TextTables& tables,
                         CJBIG2RefinementDecoder& refinement, const CJBIG2Symbols& symbols,
                         CJBIG2Bitmap& bitmap);
  bool ReadTextTables(unsigned nFlags, TReferred& referred, TJBIG2TextTables& tables);
  CJBIG2BitmapPtr DecodeHalftone(int nSegment, CByteCursor& cursor, const TJBIG2Region& region);
  CJBIG2BitmapPtr DecodeGeneric(int nSegment, CByteCursor& cursor, const TJBIG2Region& region);
  CJBIG2BitmapPtr DecodeRefinement(int nSegment, CByteCursor& cursor, const TJBIG2Region& region,
                                   const CJBIG2Bitmap* pPage);

  CJBIG2Run& m_run;
  const CJBIG2SegmentList& m_segments;
  CIObjectArray m_results;  // by segment, most of them null
};

}  // namespace BSE
