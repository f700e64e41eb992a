// Symbols are decoded one after the other (ITU-T T.88, 6.5.5), each of them paid for from the work and memory
// of the run before it is made, so that the number that a header announces only bounds the loop. The contexts
// of symbol numbers are as many as it says, within the memory of the run. A symbol that is made of others may
// use all that come before it, those of other dictionaries first: the list of symbols is one for both. A
// dictionary may begin with the contexts that another one has ended with, and only those of the same form
// fit.

#include "images/filters/jbig2/JBIG2SymbolDictionary.h"

#include "images/filters/jbig2/JBIG2MMR.h"

#include <algorithm>
#include <utility>

namespace BSE
{

namespace
{

// Work of a symbol besides its pixels, and of a number.
constexpr int g_nSymbolWork = 32;
constexpr int g_nNumberWork = 10;

// Sizes beyond this are not summed up any further.
constexpr std::int64_t g_nMaxSide = 0x7FFFFFFF;

// Rows of whole bytes into a bitmap of the same size.
void UnpackRows(std::span<const unsigned char> rows, CJBIG2Bitmap& bitmap)
{
  const std::size_t nRowSize = (static_cast<std::size_t>(bitmap.GetWidth()) + 7) / 8;
  for (int y = 0; y < bitmap.GetHeight() && bitmap.GetStride() > 0; ++y)
  {
    const auto row = rows.subspan(static_cast<std::size_t>(y) * nRowSize, nRowSize);
    std::uint64_t* const pRow = bitmap.GetRow(y);
    for (std::size_t i = 0; i < nRowSize; ++i)
      pRow[i / 8] |= std::uint64_t{row[i]} << (56 - 8 * (i % 8));
    pRow[bitmap.GetStride() - 1] &= bitmap.GetLastMask();
  }
}

}  // namespace

CJBIG2SymbolDecoder::CJBIG2SymbolDecoder(CJBIG2Run& run, const TJBIG2SymbolForm& form,
                                         const CJBIG2Symbols& symbols, std::span<const unsigned char> data)
    : m_run(run),
      m_form(form),
      m_symbols(symbols),
      m_nGiven(symbols.GetSize()),
      m_reader(data),
      m_generic(run, form.m_generic),
      m_refinement(run, form.m_refinement)
{
  if (!form.m_bHuffman)
    m_decoder = CJBIG2ArithmeticDecoder(data);
}

bool CJBIG2SymbolDecoder::UseContexts(const TJBIG2KeptContexts& kept)
{
  const bool bSameGeneric = kept.m_generic.m_nTemplate == m_form.m_generic.m_nTemplate &&
                            kept.m_genericContexts.GetSize() == m_generic.GetContexts().GetSize();
  const bool bSameRefinement =
      !m_form.m_bAggregate || kept.m_refinement.m_nTemplate == m_form.m_refinement.m_nTemplate;
  if (!bSameGeneric || !bSameRefinement)
    return m_run.Fail("the contexts to go on with are of another form");
  m_generic.GetContexts() = CBasicArray<TJBIG2Context>(kept.m_genericContexts);
  if (!kept.m_refinementContexts.IsEmpty())
    m_refinement.GetContexts() = CBasicArray<TJBIG2Context>(kept.m_refinementContexts);
  return true;
}

CScopedPtr<TJBIG2KeptContexts> CJBIG2SymbolDecoder::KeepContexts()
{
  CScopedPtr<TJBIG2KeptContexts> pKept(new TJBIG2KeptContexts);
  if (!pKept->m_memory.Take(m_run, m_generic.GetContexts().GetSize() + m_refinement.GetContexts().GetSize()))
    return nullptr;
  pKept->m_generic = m_form.m_generic;
  pKept->m_refinement = m_form.m_refinement;
  pKept->m_genericContexts = std::move(m_generic.GetContexts());
  pKept->m_refinementContexts = std::move(m_refinement.GetContexts());
  return pKept;
}

bool CJBIG2SymbolDecoder::ReadNumber(CJBIG2IntegerContexts& contexts,
                                     const CObjectPtr<CJBIG2HuffmanTable>& pTable, std::int64_t& nValue,
                                     bool& bEnd)
{
  if (!m_run.Spend(g_nNumberWork))
    return false;
  if (!m_form.m_bHuffman)
  {
    bEnd = !contexts.Decode(m_decoder, nValue);
    return !m_decoder.HasOverrun() || m_run.Fail("the data ends too early");
  }
  const TJBIG2HuffmanStatus status = pTable->Decode(m_reader, nValue);
  bEnd = status == eJBIG2NoNumber;
  return status != eJBIG2UnknownCode || m_run.Fail("a Huffman code is unknown or cut");
}

bool CJBIG2SymbolDecoder::ReadNumber(CJBIG2IntegerContexts& contexts,
                                     const CObjectPtr<CJBIG2HuffmanTable>& pTable, std::int64_t& nValue)
{
  bool bEnd = false;
  return ReadNumber(contexts, pTable, nValue, bEnd) && (!bEnd || m_run.Fail("a number is missing"));
}

bool CJBIG2SymbolDecoder::StartAggregates()
{
  const int nBits = GetJBIG2CodeBits(std::int64_t{m_nGiven} + m_form.m_nNew);
  if (!m_form.m_bHuffman)
  {
    // The contexts are as many as the numbers that the segment announces.
    if (nBits > CJBIG2SymbolContexts::g_nMaxBits || !m_memory.Take(m_run, std::int64_t{1} << nBits) ||
        !m_run.Spend((std::int64_t{1} << nBits) / 16))
      return m_run.Fail("a dictionary announces too many symbols");
    m_pTextCodes.Reset(new CJBIG2ArithmeticTextCodes(m_run, m_decoder, m_refinement, nBits));
    return true;
  }
  // The standard tables of 6.5.8.2, Table 17.
  m_tables.m_nSymbolBits = std::max(nBits, 1);
  m_tables.m_pFirstSteps = CJBIG2HuffmanTable::CreateStandard(m_run, 6);
  m_tables.m_pSteps = CJBIG2HuffmanTable::CreateStandard(m_run, 8);
  m_tables.m_pStripSteps = CJBIG2HuffmanTable::CreateStandard(m_run, 11);
  m_tables.m_pWidths = CJBIG2HuffmanTable::CreateStandard(m_run, 15);
  m_tables.m_pHeights = m_tables.m_pColumns = m_tables.m_pRows = m_tables.m_pWidths;
  m_tables.m_pSizes = CJBIG2HuffmanTable::CreateStandard(m_run, 1);
  return true;
}

bool CJBIG2SymbolDecoder::Decode(CJBIG2Symbols& exported)
{
  if (m_form.m_bAggregate && !StartAggregates())
    return false;
  while (m_symbols.GetSize() - m_nGiven < static_cast<std::int64_t>(m_form.m_nNew))
  {
    if (!DecodeClass())
      return false;
  }
  return Export(exported);
}

bool CJBIG2SymbolDecoder::DecodeClass()
{
  std::int64_t nStep = 0;
  if (!ReadNumber(m_heightSteps, m_form.m_pHeights, nStep))
    return false;
  m_nHeight += nStep;
  std::int64_t nWidth = 0;
  std::int64_t nTotal = 0;
  const bool bCollective = m_form.m_bHuffman && !m_form.m_bAggregate;
  m_widths.Truncate(0);
  while (true)
  {
    bool bEnd = false;
    if (!ReadNumber(m_widthSteps, m_form.m_pWidths, nStep, bEnd))
      return false;
    if (bEnd)
      break;
    nWidth += nStep;
    nTotal += nWidth;
    if (nWidth < 0 || nTotal > g_nMaxSide || m_nHeight < 0 || m_nHeight > g_nMaxSide)
      return m_run.Fail("a symbol has an impossible size");
    if (m_symbols.GetSize() - m_nGiven + m_widths.GetSize() >= static_cast<std::int64_t>(m_form.m_nNew))
      return m_run.Fail("there are more symbols than announced");
    if (bCollective)
      m_widths.Add(static_cast<int>(nWidth));
    else if (!DecodeSymbol(nWidth))
      return false;
  }
  if (!bCollective)
    return true;
  const CJBIG2BitmapPtr pAll = DecodeCollective(nTotal);
  return pAll && SplitCollective(*pAll);
}

bool CJBIG2SymbolDecoder::DecodeSymbol(std::int64_t nWidth)
{
  if (!m_run.Spend(g_nSymbolWork))
    return false;
  const CJBIG2BitmapPtr pSymbol = m_form.m_bAggregate ? DecodeAggregate(nWidth) : DecodePlain(nWidth);
  if (!pSymbol)
    return false;
  m_symbols.Add(pSymbol.Get());
  return true;
}

CJBIG2BitmapPtr CJBIG2SymbolDecoder::DecodePlain(std::int64_t nWidth)
{
  CJBIG2BitmapPtr pSymbol = CJBIG2Bitmap::Create(m_run, nWidth, m_nHeight);
  if (pSymbol && !m_generic.Decode(m_decoder, *pSymbol))
    return nullptr;
  return pSymbol;
}

CJBIG2BitmapPtr CJBIG2SymbolDecoder::DecodeAggregate(std::int64_t nWidth)
{
  std::int64_t nInstances = 0;
  if (!ReadNumber(m_counts, m_form.m_pCounts, nInstances))
    return nullptr;
  CJBIG2BitmapPtr pSymbol = CJBIG2Bitmap::Create(m_run, nWidth, m_nHeight);
  if (!pSymbol || !(nInstances == 1 ? DecodeOneRefined(*pSymbol) : DecodeText(*pSymbol, nInstances)))
    return nullptr;
  return pSymbol;
}

bool CJBIG2SymbolDecoder::DecodeOneRefined(CJBIG2Bitmap& bitmap)
{
  const auto decode = [&](auto& codes)
  {
    std::int64_t nSymbol = 0;
    TJBIG2SymbolChange change;
    if (!codes.ReadSymbol(nSymbol) || !codes.ReadMove(change))
      return false;
    if (nSymbol >= m_symbols.GetSize())
      return m_run.Fail("a symbol is not in the dictionaries");
    return codes.DecodeRefined(bitmap, {*m_symbols[static_cast<int>(nSymbol)], change.m_x, change.m_y});
  };
  if (!m_form.m_bHuffman)
    return decode(*m_pTextCodes);
  CJBIG2HuffmanTextCodes codes(m_run, m_reader, m_refinement, m_tables);
  return decode(codes);
}

bool CJBIG2SymbolDecoder::DecodeText(CJBIG2Bitmap& bitmap, std::int64_t nInstances)
{
  TJBIG2TextForm form;
  form.m_bRefined = true;
  form.m_nInstances = nInstances;
  if (!m_form.m_bHuffman)
    return CJBIG2TextDecoder(m_run, form, m_symbols, *m_pTextCodes).Decode(bitmap);
  CJBIG2HuffmanTextCodes codes(m_run, m_reader, m_refinement, m_tables);
  return CJBIG2TextDecoder(m_run, form, m_symbols, codes).Decode(bitmap);
}

CJBIG2BitmapPtr CJBIG2SymbolDecoder::DecodeCollective(std::int64_t nWidth)
{
  std::int64_t nSize = 0;
  if (!ReadNumber(m_counts, m_form.m_pSizes, nSize))
    return nullptr;
  CJBIG2BitmapPtr pBitmap = CJBIG2Bitmap::Create(m_run, nWidth, m_nHeight);
  if (!pBitmap || !m_run.Spend(pBitmap->GetWork()))
    return nullptr;
  m_reader.AlignToByte();
  // A size of 0 means plain rows (6.5.9).
  const bool bPlain = nSize == 0;
  if (bPlain)
    nSize = (nWidth + 7) / 8 * m_nHeight;
  if (nSize < 0 || nSize > static_cast<std::int64_t>(m_reader.GetRest().size()))
  {
    m_run.Fail("the data ends too early");
    return nullptr;
  }
  const auto data = m_reader.Take(static_cast<std::size_t>(nSize));
  std::size_t nTaken = 0;
  if (bPlain)
    UnpackRows(data, *pBitmap);
  else if (!DecodeJBIG2MMR(m_run, data, *pBitmap, nTaken))
    return nullptr;
  return pBitmap;
}

bool CJBIG2SymbolDecoder::SplitCollective(const CJBIG2Bitmap& bitmap)
{
  int x = 0;
  for (const int nWidth : m_widths.GetSpan())
  {
    const CJBIG2BitmapPtr pSymbol = bitmap.CopyPart(m_run, x, 0, nWidth, m_nHeight);
    if (!pSymbol || !m_run.Spend(g_nSymbolWork + pSymbol->GetWork()))
      return false;
    m_symbols.Add(pSymbol.Get());
    x += nWidth;
  }
  return true;
}

bool CJBIG2SymbolDecoder::Export(CJBIG2Symbols& exported)
{
  // Runs of symbols that are kept back and made known take turns (6.5.10).
  const auto pSizes = m_form.m_bHuffman ? CJBIG2HuffmanTable::CreateStandard(m_run, 1) : nullptr;
  bool bExport = false;
  for (int i = 0; i < m_symbols.GetSize(); bExport = !bExport)
  {
    std::int64_t nRun = 0;
    if (!ReadNumber(m_exports, pSizes, nRun))
      return false;
    if (nRun < 0 || nRun > m_symbols.GetSize() - i)
      return m_run.Fail("more symbols are exported than there are");
    for (; nRun > 0; --nRun, ++i)
    {
      if (bExport)
        exported.Add(m_symbols[i]);
    }
  }
  return true;
}

}  // namespace BSE
