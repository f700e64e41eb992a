// Each operation reads the header of one kind of segment (ITU-T T.88, 7.4.2 to 7.4.7), collects what the
// segments that it refers to have left, and gives the data to the decoder of that kind. Results are kept by
// segment, and a reference finds only segments before its own, so that there are no cycles. A file may let
// thousands of segments refer to the same dictionaries: collecting symbols costs work and memory of the run
// like all else. A region that is damaged is still returned with what was decoded.

#include "images/filters/jbig2/JBIG2SegmentDecoder.h"

#include "images/filters/jbig2/JBIG2MMR.h"

#include <algorithm>

namespace BSE
{

namespace
{

// Work of a segment besides its content: contexts are set up for it.
constexpr int g_nSegmentWork = 4096;

// Memory of a symbol in the lists that are made for a segment, which grow by doubling.
constexpr std::int64_t g_nSymbolMemory = 4 * sizeof(void*);

// Number of a table that the file brings along.
constexpr int g_nOwnTable = 0;

constexpr const char* g_szCut = "the data ends too early";
constexpr const char* g_szNoTable = "a Huffman table is missing";

bool IsSet(unsigned nFlags, int nBit)
{
  return (nFlags >> nBit & 1) != 0;
}

int GetField(unsigned nFlags, int nBit, int nBits)
{
  return static_cast<int>(nFlags >> nBit & ((1U << nBits) - 1));
}

TJBIG2Offset ReadOffset(CByteCursor& cursor)
{
  const int x = cursor.Int8();
  const int y = cursor.Int8();
  return {x, y};
}

void ReadMovable(CByteCursor& cursor, TJBIG2GenericForm& form)
{
  for (int i = 0; i < form.GetMovableCount(); ++i)
    form.m_movable[static_cast<unsigned>(i)] = ReadOffset(cursor);
}

void ReadMovable(CByteCursor& cursor, TJBIG2RefinementForm& form)
{
  if (form.m_nTemplate != 0)
    return;
  for (TJBIG2Offset& offset : form.m_movable)
    offset = ReadOffset(cursor);
}

std::span<const unsigned char> TakeRest(CByteCursor& cursor)
{
  return cursor.Take(static_cast<std::int64_t>(cursor.GetRemaining()));
}

}  // namespace

CJBIG2SegmentDecoder::CJBIG2SegmentDecoder(CJBIG2Run& run, const CJBIG2SegmentList& segments)
    : m_run(run), m_segments(segments)
{
  for (int i = 0; i < segments.GetCount(); ++i)
    m_results.Add(nullptr);
}

bool CJBIG2SegmentDecoder::AddReferred(IObject* pResult, TReferred& referred)
{
  if (const auto* pDictionary = dynamic_cast<const CJBIG2SymbolDictionary*>(pResult))
  {
    referred.m_pLastDictionary = pDictionary;
    const int nCount = pDictionary->m_symbols.GetSize();
    if (!m_run.Spend(nCount) || !referred.m_memory.Take(m_run, g_nSymbolMemory * nCount))
      return false;
    for (int i = 0; i < nCount; ++i)
      referred.m_symbols.Add(pDictionary->m_symbols[i]);
  }
  else if (const auto* pPatterns = dynamic_cast<const CJBIG2PatternDictionary*>(pResult))
    referred.m_pPatterns = pPatterns;
  else if (const auto* pRegion = dynamic_cast<const CJBIG2Bitmap*>(pResult))
    referred.m_pRegion = pRegion;
  else if (auto* pTable = dynamic_cast<CJBIG2HuffmanTable*>(pResult))
    referred.m_tables.Add(pTable);
  return true;
}

bool CJBIG2SegmentDecoder::FindReferred(int nSegment, TReferred& referred)
{
  const TJBIG2Segment& segment = m_segments.Get(nSegment);
  for (int i = 0; i < segment.m_nReferences; ++i)
  {
    if (!m_run.Spend(1))
      return false;
    const int nFound = m_segments.Find(m_segments.GetReference(segment, i), nSegment);
    IObject* const pResult = nFound >= 0 ? m_results[nFound] : nullptr;
    if (!pResult)
      return m_run.Fail("a segment that it refers to is missing or damaged");
    if (!AddReferred(pResult, referred))
      return false;
  }
  return true;
}

CObjectPtr<CJBIG2HuffmanTable> CJBIG2SegmentDecoder::GetTable(TReferred& referred, int nTable)
{
  if (nTable != g_nOwnTable)
    return CJBIG2HuffmanTable::CreateStandard(m_run, nTable);
  CObjectPtr<CJBIG2HuffmanTable> pTable(referred.m_tables[referred.m_nTablesUsed++]);
  if (!pTable)
    m_run.Fail(g_szNoTable);
  return pTable;
}

bool CJBIG2SegmentDecoder::DecodeDictionary(int nSegment)
{
  if (!m_run.Spend(g_nSegmentWork))
    return false;
  switch (m_segments.Get(nSegment).m_nType)
  {
  case eJBIG2SymbolDictionary:
    return DecodeSymbols(nSegment);
  case eJBIG2PatternDictionary:
    return DecodePatterns(nSegment);
  default:
    return DecodeTables(nSegment);
  }
}

bool CJBIG2SegmentDecoder::DecodeTables(int nSegment)
{
  const auto pTable = CJBIG2HuffmanTable::Read(m_run, m_segments.Get(nSegment).m_data);
  Keep(nSegment, pTable.Get());
  return static_cast<bool>(pTable);
}

bool CJBIG2SegmentDecoder::DecodePatterns(int nSegment)
{
  CByteCursor cursor(m_segments.Get(nSegment).m_data);
  TJBIG2PatternForm form;
  const unsigned nFlags = cursor.Card8();
  form.m_bMMR = IsSet(nFlags, 0);
  form.m_nTemplate = GetField(nFlags, 1, 2);
  form.m_nWidth = static_cast<int>(cursor.Card8());
  form.m_nHeight = static_cast<int>(cursor.Card8());
  form.m_nLast = cursor.Card32();
  if (cursor.HasFailed() || form.m_nWidth == 0 || form.m_nHeight == 0)
    return m_run.Fail("the header is cut or impossible");
  const auto pPatterns = DecodeJBIG2Patterns(m_run, form, TakeRest(cursor));
  Keep(nSegment, pPatterns.Get());
  return static_cast<bool>(pPatterns);
}

bool CJBIG2SegmentDecoder::ReadSymbolForm(CByteCursor& cursor, TReferred& referred, TJBIG2SymbolForm& form,
                                          unsigned& nFlags)
{
  nFlags = cursor.Card16();
  form.m_bHuffman = IsSet(nFlags, 0);
  form.m_bAggregate = IsSet(nFlags, 1);
  form.m_generic = TJBIG2GenericForm::Make(GetField(nFlags, 10, 2));
  form.m_refinement.m_nTemplate = GetField(nFlags, 12, 1);
  if (!form.m_bHuffman)
    ReadMovable(cursor, form.m_generic);
  if (form.m_bAggregate)
    ReadMovable(cursor, form.m_refinement);
  form.m_nExported = cursor.Card32();
  form.m_nNew = cursor.Card32();
  if (cursor.HasFailed())
    return m_run.Fail(g_szCut);
  if (!form.m_bHuffman)
    return true;
  // Standard tables by the values of the flags (7.4.2.1.6).
  constexpr int heights[] = {4, 5, g_nOwnTable, g_nOwnTable};
  constexpr int widths[] = {2, 3, g_nOwnTable, g_nOwnTable};
  form.m_pHeights = GetTable(referred, heights[GetField(nFlags, 2, 2)]);
  form.m_pWidths = GetTable(referred, widths[GetField(nFlags, 4, 2)]);
  form.m_pSizes = GetTable(referred, IsSet(nFlags, 6) ? g_nOwnTable : 1);
  form.m_pCounts = GetTable(referred, IsSet(nFlags, 7) ? g_nOwnTable : 1);
  return form.m_pHeights && form.m_pWidths && form.m_pSizes && form.m_pCounts;
}

bool CJBIG2SegmentDecoder::DecodeSymbols(int nSegment)
{
  constexpr int nUsesContexts = 8;
  constexpr int nKeepsContexts = 9;
  CByteCursor cursor(m_segments.Get(nSegment).m_data);
  TReferred referred;
  TJBIG2SymbolForm form;
  unsigned nFlags = 0;
  if (!FindReferred(nSegment, referred) || !ReadSymbolForm(cursor, referred, form, nFlags))
    return false;
  CJBIG2SymbolDecoder decoder(m_run, form, referred.m_symbols, TakeRest(cursor));
  if (IsSet(nFlags, nUsesContexts))
  {
    const auto* pLast = referred.m_pLastDictionary;
    if (!pLast || !pLast->m_pKept)
      return m_run.Fail("the contexts to go on with are missing");
    if (!decoder.UseContexts(*pLast->m_pKept))
      return false;
  }
  CObjectPtr<CJBIG2SymbolDictionary> pDictionary(new CJBIG2SymbolDictionary);
  if (!decoder.Decode(pDictionary->m_symbols) ||
      !pDictionary->m_memory.Take(m_run, std::int64_t{16} * pDictionary->m_symbols.GetSize()))
    return false;
  if (static_cast<std::uint32_t>(pDictionary->m_symbols.GetSize()) != form.m_nExported)
    return m_run.Fail("another count of symbols is exported than announced");
  if (IsSet(nFlags, nKeepsContexts))
  {
    pDictionary->m_pKept = decoder.KeepContexts();
    if (!pDictionary->m_pKept)
      return false;
  }
  Keep(nSegment, pDictionary.Get());
  return true;
}

CJBIG2BitmapPtr CJBIG2SegmentDecoder::DecodeRegion(int nSegment, const TJBIG2Region& region,
                                                   const CJBIG2Bitmap* pPage)
{
  CByteCursor cursor(m_segments.Get(nSegment).m_data);
  cursor.Skip(g_nJBIG2RegionSize);
  if (!m_run.Spend(g_nSegmentWork))
    return nullptr;
  switch (m_segments.Get(nSegment).m_nType)
  {
  case eJBIG2IntermediateText:
  case eJBIG2ImmediateText:
  case eJBIG2LosslessText:
    return DecodeText(nSegment, cursor, region);
  case eJBIG2IntermediateHalftone:
  case eJBIG2ImmediateHalftone:
  case eJBIG2LosslessHalftone:
    return DecodeHalftone(nSegment, cursor, region);
  case eJBIG2IntermediateGeneric:
  case eJBIG2ImmediateGeneric:
  case eJBIG2LosslessGeneric:
    return DecodeGeneric(nSegment, cursor, region);
  default:
    return DecodeRefinement(nSegment, cursor, region, pPage);
  }
}

bool CJBIG2SegmentDecoder::ReadTextTables(unsigned nFlags, TReferred& referred, TJBIG2TextTables& tables)
{
  // Standard tables by the values of the flags (7.4.3.1.6).
  constexpr int firstSteps[] = {6, 7, g_nOwnTable, g_nOwnTable};
  constexpr int steps[] = {8, 9, 10, g_nOwnTable};
  constexpr int stripSteps[] = {11, 12, 13, g_nOwnTable};
  constexpr int changes[] = {14, 15, g_nOwnTable, g_nOwnTable};
  tables.m_pFirstSteps = GetTable(referred, firstSteps[GetField(nFlags, 0, 2)]);
  tables.m_pSteps = GetTable(referred, steps[GetField(nFlags, 2, 2)]);
  tables.m_pStripSteps = GetTable(referred, stripSteps[GetField(nFlags, 4, 2)]);
  tables.m_pWidths = GetTable(referred, changes[GetField(nFlags, 6, 2)]);
  tables.m_pHeights = GetTable(referred, changes[GetField(nFlags, 8, 2)]);
  tables.m_pColumns = GetTable(referred, changes[GetField(nFlags, 10, 2)]);
  tables.m_pRows = GetTable(referred, changes[GetField(nFlags, 12, 2)]);
  tables.m_pSizes = GetTable(referred, IsSet(nFlags, 14) ? g_nOwnTable : 1);
  return tables.m_pFirstSteps && tables.m_pSteps && tables.m_pStripSteps && tables.m_pWidths &&
         tables.m_pHeights && tables.m_pColumns && tables.m_pRows && tables.m_pSizes;
}

CJBIG2BitmapPtr CJBIG2SegmentDecoder::DecodeText(int nSegment, CByteCursor& cursor,
                                                 const TJBIG2Region& region)
{
  const unsigned nFlags = cursor.Card16();
  const bool bHuffman = IsSet(nFlags, 0);
  TJBIG2TextForm form;
  form.m_bRefined = IsSet(nFlags, 1);
  form.m_nStripBits = GetField(nFlags, 2, 2);
  form.m_corner = static_cast<TJBIG2Corner>(GetField(nFlags, 4, 2));
  form.m_bTransposed = IsSet(nFlags, 6);
  form.m_operator = static_cast<TJBIG2Operator>(GetField(nFlags, 7, 2));
  form.m_nStep = GetField(nFlags, 10, 5);
  // Five bits with a sign.
  if (form.m_nStep >= 16)
    form.m_nStep -= 32;
  TJBIG2RefinementForm refinementForm;
  refinementForm.m_nTemplate = GetField(nFlags, 15, 1);
  const unsigned nTables = bHuffman ? cursor.Card16() : 0;
  if (form.m_bRefined)
    ReadMovable(cursor, refinementForm);
  form.m_nInstances = cursor.Card32();
  TReferred referred;
  TJBIG2TextTables tables;
  if (cursor.HasFailed())
    m_run.Fail(g_szCut);
  if (cursor.HasFailed() || !FindReferred(nSegment, referred) ||
      (bHuffman && !ReadTextTables(nTables, referred, tables)))
    return nullptr;
  CJBIG2BitmapPtr pBitmap = CJBIG2Bitmap::Create(m_run, region.m_nWidth, region.m_nHeight);
  if (!pBitmap || !m_run.Spend(pBitmap->GetWork() / 8))
    return pBitmap;
  if (IsSet(nFlags, 9))
    pBitmap->Fill(true);
  CJBIG2RefinementDecoder refinement(m_run, refinementForm);
  if (bHuffman)
    DecodeHuffmanText(cursor, form, tables, refinement, referred.m_symbols, *pBitmap);
  else
    DecodeArithmeticText(cursor, form, refinement, referred.m_symbols, *pBitmap);
  return pBitmap;
}

bool CJBIG2SegmentDecoder::DecodeArithmeticText(CByteCursor& cursor, const TJBIG2TextForm& form,
                                                CJBIG2RefinementDecoder& refinement,
                                                const CJBIG2Symbols& symbols, CJBIG2Bitmap& bitmap)
{
  CJBIG2ArithmeticDecoder decoder(TakeRest(cursor));
  CJBIG2ArithmeticTextCodes codes(m_run, decoder, refinement, GetJBIG2CodeBits(symbols.GetSize()));
  return CJBIG2TextDecoder(m_run, form, symbols, codes).Decode(bitmap);
}

bool CJBIG2SegmentDecoder::DecodeHuffmanText(CByteCursor& cursor, const TJBIG2TextForm& form,
                                             TJBIG2TextTables& tables, CJBIG2RefinementDecoder& refinement,
                                             const CJBIG2Symbols& symbols, CJBIG2Bitmap& bitmap)
{
  CJBIG2BitReader reader(TakeRest(cursor));
  tables.m_pSymbols = ReadJBIG2SymbolTable(m_run, reader, symbols.GetSize());
  if (!tables.m_pSymbols)
    return false;
  CJBIG2HuffmanTextCodes codes(m_run, reader, refinement, tables);
  return CJBIG2TextDecoder(m_run, form, symbols, codes).Decode(bitmap);
}

CJBIG2BitmapPtr CJBIG2SegmentDecoder::DecodeHalftone(int nSegment, CByteCursor& cursor,
                                                     const TJBIG2Region& region)
{
  const unsigned nFlags = cursor.Card8();
  TJBIG2HalftoneForm form;
  form.m_bMMR = IsSet(nFlags, 0);
  form.m_nTemplate = GetField(nFlags, 1, 2);
  form.m_bSkip = IsSet(nFlags, 3);
  form.m_operator = static_cast<TJBIG2Operator>(GetField(nFlags, 4, 3));
  form.m_nColumns = cursor.Card32();
  form.m_nRows = cursor.Card32();
  form.m_x = cursor.Int32();
  form.m_y = cursor.Int32();
  form.m_nStepX = cursor.Card16();
  form.m_nStepY = cursor.Card16();
  TReferred referred;
  if (cursor.HasFailed() || form.m_operator > eJBIG2Replace)
    m_run.Fail("the header is cut or impossible");
  else if (FindReferred(nSegment, referred) && !referred.m_pPatterns)
    m_run.Fail("it refers to no pattern dictionary");
  if (m_run.GetFailure())
    return nullptr;
  CJBIG2BitmapPtr pBitmap = CJBIG2Bitmap::Create(m_run, region.m_nWidth, region.m_nHeight);
  if (!pBitmap || !m_run.Spend(pBitmap->GetWork() / 8))
    return pBitmap;
  if (IsSet(nFlags, 7))
    pBitmap->Fill(true);
  CJBIG2HalftoneDecoder(m_run, form, *referred.m_pPatterns).Decode(TakeRest(cursor), *pBitmap);
  return pBitmap;
}

CJBIG2BitmapPtr CJBIG2SegmentDecoder::DecodeGeneric(int nSegment, CByteCursor& cursor,
                                                    const TJBIG2Region& region)
{
  const unsigned nFlags = cursor.Card8();
  const bool bMMR = IsSet(nFlags, 0);
  TJBIG2GenericForm form =
      TJBIG2GenericForm::Make(GetField(nFlags, 1, 2), IsSet(nFlags, 4) && GetField(nFlags, 1, 2) == 0);
  form.m_bTypical = IsSet(nFlags, 3);
  if (!bMMR)
    ReadMovable(cursor, form);
  auto data = TakeRest(cursor);
  std::int64_t nHeight = region.m_nHeight;
  if (m_segments.Get(nSegment).m_bOpenLength && data.size() >= 4)
  {
    // After the mark comes the number of rows.
    nHeight = std::min<std::int64_t>(nHeight, CByteCursor(data.last(4)).Card32());
    data = data.first(data.size() - 4);
  }
  if (cursor.HasFailed())
    m_run.Fail(g_szCut);
  CJBIG2BitmapPtr pBitmap =
      cursor.HasFailed() ? nullptr : CJBIG2Bitmap::Create(m_run, region.m_nWidth, nHeight);
  if (!pBitmap)
    return nullptr;
  std::size_t nTaken = 0;
  if (bMMR)
    DecodeJBIG2MMR(m_run, data, *pBitmap, nTaken);
  else
  {
    CJBIG2ArithmeticDecoder decoder(data);
    CJBIG2GenericDecoder(m_run, form).Decode(decoder, *pBitmap);
  }
  return pBitmap;
}

CJBIG2BitmapPtr CJBIG2SegmentDecoder::DecodeRefinement(int nSegment, CByteCursor& cursor,
                                                       const TJBIG2Region& region, const CJBIG2Bitmap* pPage)
{
  const unsigned nFlags = cursor.Card8();
  TJBIG2RefinementForm form;
  form.m_nTemplate = GetField(nFlags, 0, 1);
  form.m_bTypical = IsSet(nFlags, 1);
  ReadMovable(cursor, form);
  TReferred referred;
  if (cursor.HasFailed())
    m_run.Fail(g_szCut);
  if (cursor.HasFailed() || !FindReferred(nSegment, referred))
    return nullptr;
  CJBIG2BitmapPtr pBitmap = CJBIG2Bitmap::Create(m_run, region.m_nWidth, region.m_nHeight);
  if (!pBitmap)
    return nullptr;
  // Without a region of its own it refines what the page has in its place, and sees nothing around that.
  CJBIG2BitmapPtr pPart;
  if (!referred.m_pRegion && pPage)
    pPart = pPage->CopyPart(m_run, region.m_x, region.m_y, region.m_nWidth, region.m_nHeight);
  const CJBIG2Bitmap* const pReference = referred.m_pRegion ? referred.m_pRegion : pPart.Get();
  if (!pReference || !m_run.Spend(pBitmap->GetWork()))
    return nullptr;
  CJBIG2ArithmeticDecoder decoder(TakeRest(cursor));
  CJBIG2RefinementDecoder(m_run, form).Decode(decoder, *pBitmap, {*pReference, 0, 0});
  return pBitmap;
}

}  // namespace BSE
