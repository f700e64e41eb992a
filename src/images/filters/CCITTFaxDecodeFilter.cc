// A row is a list of the places where its colour changes, which is what the codes of two-dimensional rows
// refer to in the row above (ITU-T T.4, 4.2; T.6, 2.2), and becomes bits at the end. What is between rows is
// where files and their parameters disagree: fill, alignment, end-of-line codes and the end of the block.
// Codes are therefore looked for in a window of bits and taken wherever they can be nothing else, whether
// announced or not. A row that is damaged does not end the data: decoding goes on at the next end-of-line
// code, and a two-dimensional row after it refers to what could be decoded.

#include "images/filters/CCITTFaxDecodeFilter.h"

#include "base/Limits.h"
#include "images/filters/FaxCodes.h"
#include "images/filters/RowSize.h"
#include "images/filters/StatusCodes.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace BSE
{

namespace
{

constexpr int g_nEndOfLineBits = g_faxEndOfLine.m_nLength;
constexpr int g_nByteBits = 8;

// End-of-line codes that end a block: two in Group 4 (EOFB of T.6), six in Group 3 (RTC of T.4).
int GetBlockEndCodes(const CCCITTFaxParameters& parameters)
{
  return parameters.K < 0 ? 2 : 6;
}

}  // namespace

CCCITTFaxDecodeFilter::CCCITTFaxDecodeFilter(IByteStream* pSource, const CCCITTFaxParameters& parameters,
                                             IErrorContext* pErrorContext)
    : CBufferedDecodeFilter(pSource, pErrorContext),
      m_parameters(parameters),
      m_nRowSize(GetBitRowSize(parameters.Columns)),
      m_reader(*m_pInput, parameters.bReverseBits)
{
  m_bEnd = m_nRowSize == 0;
  if (m_bEnd)
    ReportError(m_pErrorContext, MakeError(g_nFilterParameters, "argument", u"DecodeParms"));
  ResetState();
}

void CCCITTFaxDecodeFilter::ResetState()
{
  m_reader.Reset();
  m_above.Start(m_nRowSize > 0 ? m_parameters.Columns : 0);
  m_row.Start(m_above.GetColumns());
  m_nRows = m_nDamaged = 0;
  m_bTooLongReported = m_bTail = m_bHasCodes = false;
}

int CCCITTFaxDecodeFilter::GetBlockSize() const
{
  return GetRowBlockSize(CDecodeFilter::GetBlockSize(), m_nRowSize);
}

std::int64_t CCCITTFaxDecodeFilter::GetSizeLimit() const
{
  // In whole rows, so that what is allowed always has room for one.
  const std::int64_t nRows = std::max<std::int64_t>(g_nMaxImagePixels / 8 / m_nRowSize, 1);
  return nRows * m_nRowSize;
}

std::int64_t CCCITTFaxDecodeFilter::Read(unsigned char* pBuffer, std::int64_t n)
{
  if (!pBuffer || n <= 0)
    return 0;
  std::int64_t nDone = 0;
  const std::int64_t nWhole = m_nRowSize > 0 ? n - n % m_nRowSize : 0;
  if (nWhole > 0 && !m_bEnd)
    nDone = CDecodeFilter::Read(pBuffer, nWhole);
  if (nDone < nWhole || nWhole == 0 || m_bEnd)
    std::memset(pBuffer + nDone, GetBlack(), static_cast<std::size_t>(n - nDone));
  return nDone;
}

int CCCITTFaxDecodeFilter::DecodeBlock(std::span<unsigned char> block)
{
  const auto nRowSize = static_cast<std::size_t>(m_nRowSize);
  std::size_t nDone = 0;
  while (block.size() - nDone >= nRowSize && DecodeRow())
  {
    m_row.Pack(block.subspan(nDone, nRowSize), GetBlack());
    std::swap(m_above, m_row);
    nDone += nRowSize;
  }
  return static_cast<int>(nDone);
}

void CCCITTFaxDecodeFilter::ReturnUnread()
{
  m_reader.ReturnUnread();
  CBufferedDecodeFilter::ReturnUnread();
}

bool CCCITTFaxDecodeFilter::IsRowTagged() const
{
  return m_parameters.K > 0 && (m_parameters.K <= g_nLastMixedK || m_nRows < g_nMixedRows);
}

bool CCCITTFaxDecodeFilter::IsEndOfLineNext()
{
  return m_reader.Peek(g_nEndOfLineBits) == g_faxEndOfLine.m_nBits;
}

int CCCITTFaxDecodeFilter::FindNextCode(int nOffset)
{
  const int nZeros = std::countl_zero(m_reader.Peek(CFaxBitReader::g_nMaxPeek) << nOffset);
  const int nFill = nZeros - (g_nEndOfLineBits - 1);
  const bool bInWindow = nOffset + nZeros < CFaxBitReader::g_nMaxPeek;
  return nFill >= 0 && nFill < g_nByteBits && bInWindow ? nFill : -1;
}

bool CCCITTFaxDecodeFilter::IsBlockEndNext()
{
  if (!IsEndOfLineNext())
    return false;
  // Where rows have no tag but an end-of-line code, a bit between two codes is a row like the one above it.
  const bool bTag = m_parameters.K > 0 && (IsRowTagged() || !m_parameters.EndOfLine);
  return FindNextCode(g_nEndOfLineBits) >= 0 || (bTag && FindNextCode(g_nEndOfLineBits + 1) >= 0);
}

void CCCITTFaxDecodeFilter::SkipFill()
{
  while (m_reader.Has(1) && m_reader.Peek(g_nEndOfLineBits) == 0)
    m_reader.Take(1);
}

void CCCITTFaxDecodeFilter::TakeBlockEnd()
{
  m_bEnd = true;
  if (!m_parameters.EndOfBlock)
    return;
  SkipFill();
  int nTag = 0;  // the bit after each code that gives the kind of the row that does not come
  for (int i = 0; i < GetBlockEndCodes(m_parameters); ++i)
  {
    const int nFill = FindNextCode(nTag);
    if (nFill < 0)
      break;
    m_reader.Take(nTag + nFill + g_nEndOfLineBits);
    nTag = m_parameters.K > 0 && m_reader.Has(1) && m_reader.Peek(1) == 1 ? 1 : 0;
  }
  m_reader.Take(nTag);
}

bool CCCITTFaxDecodeFilter::FindRow()
{
  if (m_parameters.Rows > 0 && m_nRows >= m_parameters.Rows)
  {
    TakeBlockEnd();
    return false;
  }
  // The codes that end a block need not be aligned as rows are, and the code before a row may end at the byte
  // where the row begins. Data without such codes has none before its first row: there, zeros like those of
  // a code may be a long white run after the fill.
  const bool bBlockEnd = m_parameters.EndOfBlock && IsBlockEndNext();
  const bool bCode = m_bHasCodes && FindNextCode(0) >= 0;
  if (!m_parameters.EndOfLine && m_parameters.EncodedByteAlign && !bBlockEnd && !bCode)
    m_reader.AlignToByte();
  SkipFill();
  if (!m_reader.Has(1))
  {
    m_bEnd = true;
    m_bGap = m_bGap || m_parameters.Rows > 0;
    return false;
  }
  if (!IsEndOfLineNext())
    return true;
  m_bHasCodes = m_bHasCodes || m_nRows == 0;
  if ((m_parameters.EndOfBlock || m_parameters.EndOfLine) && IsBlockEndNext())
  {
    TakeBlockEnd();
    return false;
  }
  m_reader.Take(g_nEndOfLineBits);
  m_bTail = m_parameters.EndOfLine && !m_reader.Has(g_nEndOfLineBits);
  return true;
}

bool CCCITTFaxDecodeFilter::DecodeRow()
{
  if (m_bEnd || !FindRow())
    return false;
  if (m_bTail)
    return DecodeTail();
  bool b2D = m_parameters.K != 0;
  if (IsRowTagged())
  {
    b2D = m_reader.Peek(1) == 0;
    m_reader.Take(1);
  }
  const TFaxRowStatus status = b2D ? DecodeFaxRow2D(m_reader, m_above, m_row) : DecodeFaxRow(m_reader, m_row);
  if (status != eFaxRowDone)
    HandleDamage(status, b2D);
  ++m_nRows;
  if (!m_parameters.EndOfLine && m_parameters.bAlignEndOfLine)
    m_reader.AlignToByte();
  return true;
}

bool CCCITTFaxDecodeFilter::DecodeTail()
{
  m_bEnd = true;
  const bool b2D = m_parameters.K != 0 && !(IsRowTagged() && m_reader.Peek(1) == 1);
  m_reader.Take(IsRowTagged() ? 1 : 0);
  const TFaxRowStatus status = b2D ? DecodeFaxRow2D(m_reader, m_above, m_row) : DecodeFaxRow(m_reader, m_row);
  if (status != eFaxRowDone || !m_reader.Has(0))
  {
    m_bGap = m_bGap || m_parameters.Rows > 0;
    return false;
  }
  ++m_nRows;
  return true;
}

void CCCITTFaxDecodeFilter::HandleDamage(TFaxRowStatus status, bool b2D)
{
  m_bGap = true;
  if (status == eFaxRowTooLong)
  {
    if (!std::exchange(m_bTooLongReported, true))
      ReportError(m_pErrorContext, g_nFaxRowTooLong);
    return;
  }
  if (m_nDamaged++ == m_parameters.DamagedRowsBeforeError)
  {
    if (status == eFaxRowExtended)
      ReportError(m_pErrorContext, b2D ? g_nFaxExtension2D : g_nFaxExtension1D);
    else
      ReportError(m_pErrorContext, b2D ? g_nFaxCode2D : g_nFaxCode1D);
  }
  FindEndOfLine();
}

void CCCITTFaxDecodeFilter::FindEndOfLine()
{
  while (m_reader.Has(1) && !IsEndOfLineNext())
  {
    // A code can only begin after the last one bit of the window, unless that one is its own.
    const unsigned nHead = m_reader.Peek(g_nEndOfLineBits) >> 1;
    m_reader.Take(nHead == 0 ? 1 : g_nEndOfLineBits - 1 - std::countr_zero(nHead));
  }
}

bool CCCITTFaxDecodeFilter::SkipToEnd()
{
  if (m_parameters.EndOfBlock)
  {
    while (DecodeRow())
    {
      std::swap(m_above, m_row);
      m_nPos += m_nRowSize;
    }
    ReturnUnread();
  }
  m_bEnd = true;
  return true;
}

}  // namespace BSE
