#include "images/filters/jbig2/JBIG2TextCodes.h"

#include <algorithm>

namespace BSE
{

namespace
{

// Work of a number: it takes some ten decisions.
constexpr int g_nNumberWork = 10;

constexpr const char* g_szCut = "the data ends too early";
constexpr const char* g_szNoNumber = "a number is missing";
constexpr const char* g_szNoCode = "a Huffman code is unknown or cut";

// Run codes for the lengths of symbol codes: 32 repeats the length before, 33 and 34 stand for no code.
constexpr int g_nRunCodes = 35;
constexpr int g_nRepeatCode = 32;

}  // namespace

CJBIG2ArithmeticTextCodes::CJBIG2ArithmeticTextCodes(CJBIG2Run& run, CJBIG2ArithmeticDecoder& decoder,
                                                     CJBIG2RefinementDecoder& refinement, int nSymbolBits)
    : m_run(run), m_decoder(decoder), m_refinement(refinement)
{
  m_contexts.m_symbols.Start(nSymbolBits);
}

bool CJBIG2ArithmeticTextCodes::CheckData()
{
  return !m_decoder.HasOverrun() || m_run.Fail(g_szCut);
}

bool CJBIG2ArithmeticTextCodes::Read(CJBIG2IntegerContexts& contexts, std::int64_t& nValue)
{
  if (!m_run.Spend(g_nNumberWork) || !CheckData())
    return false;
  return contexts.Decode(m_decoder, nValue) || m_run.Fail(g_szNoNumber);
}

bool CJBIG2ArithmeticTextCodes::ReadStep(std::int64_t& nStep, bool& bEnd)
{
  bEnd = !m_contexts.m_steps.Decode(m_decoder, nStep);
  return m_run.Spend(g_nNumberWork) && CheckData();
}

bool CJBIG2ArithmeticTextCodes::ReadPlace(int nBits, std::int64_t& nPlace)
{
  nPlace = 0;
  return nBits == 0 || Read(m_contexts.m_places, nPlace);
}

bool CJBIG2ArithmeticTextCodes::ReadSymbol(std::int64_t& nSymbol)
{
  nSymbol = m_contexts.m_symbols.Decode(m_decoder);
  return m_run.Spend(m_contexts.m_symbols.GetBits()) && CheckData();
}

bool CJBIG2ArithmeticTextCodes::ReadIsRefined(bool& bRefined)
{
  std::int64_t nValue = 0;
  const bool bDone = Read(m_contexts.m_refined, nValue);
  bRefined = nValue != 0;
  return bDone;
}

bool CJBIG2ArithmeticTextCodes::ReadChange(TJBIG2SymbolChange& change)
{
  return Read(m_contexts.m_widths, change.m_nWidth) && Read(m_contexts.m_heights, change.m_nHeight) &&
         ReadMove(change);
}

bool CJBIG2ArithmeticTextCodes::ReadMove(TJBIG2SymbolChange& change)
{
  return Read(m_contexts.m_columns, change.m_x) && Read(m_contexts.m_rows, change.m_y);
}

bool CJBIG2ArithmeticTextCodes::DecodeRefined(CJBIG2Bitmap& bitmap, const TJBIG2Reference& reference)
{
  return m_refinement.Decode(m_decoder, bitmap, reference);
}

bool CJBIG2HuffmanTextCodes::Read(const CJBIG2HuffmanTable& table, std::int64_t& nValue)
{
  if (!m_run.Spend(g_nNumberWork))
    return false;
  return table.Decode(m_reader, nValue) == eJBIG2Number || m_run.Fail(g_szNoCode);
}

bool CJBIG2HuffmanTextCodes::ReadPlain(int nBits, std::int64_t& nValue)
{
  nValue = m_reader.ReadBits(nBits);
  return !m_reader.HasFailed() || m_run.Fail(g_szCut);
}

bool CJBIG2HuffmanTextCodes::ReadStep(std::int64_t& nStep, bool& bEnd)
{
  const TJBIG2HuffmanStatus status = m_tables.m_pSteps->Decode(m_reader, nStep);
  bEnd = status == eJBIG2NoNumber;
  return m_run.Spend(g_nNumberWork) && (status != eJBIG2UnknownCode || m_run.Fail(g_szNoCode));
}

bool CJBIG2HuffmanTextCodes::ReadPlace(int nBits, std::int64_t& nPlace)
{
  return ReadPlain(nBits, nPlace);
}

bool CJBIG2HuffmanTextCodes::ReadSymbol(std::int64_t& nSymbol)
{
  return m_tables.m_pSymbols ? Read(*m_tables.m_pSymbols, nSymbol)
                             : ReadPlain(m_tables.m_nSymbolBits, nSymbol);
}

bool CJBIG2HuffmanTextCodes::ReadIsRefined(bool& bRefined)
{
  std::int64_t nValue = 0;
  const bool bDone = ReadPlain(1, nValue);
  bRefined = nValue != 0;
  return bDone;
}

bool CJBIG2HuffmanTextCodes::ReadChange(TJBIG2SymbolChange& change)
{
  return Read(*m_tables.m_pWidths, change.m_nWidth) && Read(*m_tables.m_pHeights, change.m_nHeight) &&
         ReadMove(change);
}

bool CJBIG2HuffmanTextCodes::ReadMove(TJBIG2SymbolChange& change)
{
  return Read(*m_tables.m_pColumns, change.m_x) && Read(*m_tables.m_pRows, change.m_y);
}

bool CJBIG2HuffmanTextCodes::DecodeRefined(CJBIG2Bitmap& bitmap, const TJBIG2Reference& reference)
{
  std::int64_t nSize = 0;
  if (!Read(*m_tables.m_pSizes, nSize))
    return false;
  m_reader.AlignToByte();
  const auto nLeft = static_cast<std::int64_t>(m_reader.GetRest().size());
  if (nSize < 0 || nSize > nLeft)
    return m_run.Fail(g_szCut);
  CJBIG2ArithmeticDecoder decoder(m_reader.Take(static_cast<std::size_t>(nSize)));
  return m_refinement.Decode(decoder, bitmap, reference);
}

CObjectPtr<CJBIG2HuffmanTable> ReadJBIG2SymbolTable(CJBIG2Run& run, CJBIG2BitReader& reader, int nSymbols)
{
  TJBIG2HuffmanLine runLines[g_nRunCodes];
  for (int i = 0; i < g_nRunCodes; ++i)
    runLines[i] = {i, static_cast<unsigned char>(reader.ReadBits(4)), 0, eJBIG2Range};
  const auto pRunCodes = CJBIG2HuffmanTable::Create(run, runLines);
  if (!pRunCodes || !run.Spend(nSymbols))
    return nullptr;
  CBasicArray<TJBIG2HuffmanLine> lines;
  lines.SetSize(nSymbols);
  unsigned char nLast = 0;
  for (int i = 0; i < nSymbols;)
  {
    std::int64_t nCode = 0;
    if (pRunCodes->Decode(reader, nCode) != eJBIG2Number)
    {
      run.Fail(g_szNoCode);
      return nullptr;
    }
    int nCount = 1;
    unsigned char nLength = 0;
    if (nCode < g_nRepeatCode)
      nLength = static_cast<unsigned char>(nCode);
    else if (nCode == g_nRepeatCode)
    {
      nCount = static_cast<int>(reader.ReadBits(2)) + 3;
      nLength = nLast;
    }
    else
      nCount = nCode == g_nRepeatCode + 1 ? static_cast<int>(reader.ReadBits(3)) + 3
                                          : static_cast<int>(reader.ReadBits(7)) + 11;
    for (nCount = std::min(nCount, nSymbols - i); nCount > 0; --nCount, ++i)
      lines.GetData()[i] = {i, nLength, 0, eJBIG2Range};
    nLast = nLength;
  }
  reader.AlignToByte();
  return CJBIG2HuffmanTable::Create(run, lines.GetSpan());
}

}  // namespace BSE
