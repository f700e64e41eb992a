#include "images/filters/CCITTFaxEncodeFilter.h"

#include "images/filters/RowSize.h"
#include "images/filters/StatusCodes.h"

#include <utility>

namespace BSE
{

CCCITTFaxEncodeFilter::CCCITTFaxEncodeFilter(IByteStream* pSink, const CCCITTFaxParameters& parameters,
                                             IErrorContext* pErrorContext)
    : CBufferedEncodeFilter(pSink, pErrorContext),
      m_parameters(parameters),
      m_nRowSize(GetBitRowSize(parameters.Columns)),
      m_writer(*m_pOutput),
      m_above(m_nRowSize > 0 ? parameters.Columns : 0),
      m_row(m_above.GetColumns())
{
  if (m_nRowSize == 0)
    ReportError(m_pErrorContext, MakeError(g_nFilterParameters, "argument", u"DecodeParms"));
}

std::int64_t CCCITTFaxEncodeFilter::Write(const unsigned char* pBuffer, std::int64_t n)
{
  return m_nRowSize > 0 && n >= m_nRowSize ? CEncodeFilter::Write(pBuffer, n - n % m_nRowSize) : 0;
}

int CCCITTFaxEncodeFilter::GetBlockSize() const
{
  return GetRowBlockSize(CEncodeFilter::GetBlockSize(), m_nRowSize);
}

bool CCCITTFaxEncodeFilter::IsRowTagged() const
{
  return m_parameters.K > 0 && (m_parameters.K <= g_nLastMixedK || m_nRows < g_nMixedRows);
}

bool CCCITTFaxEncodeFilter::IsRow2D() const
{
  return m_parameters.K < 0 || (m_parameters.K > 0 && m_nRows > 0);
}

void CCCITTFaxEncodeFilter::Align()
{
  if (m_parameters.EncodedByteAlign)
    m_writer.AlignTo(0);
  if (m_parameters.bAlignEndOfLine && m_parameters.EndOfLine)
    m_writer.AlignTo(4);
}

void CCCITTFaxEncodeFilter::EncodeRow()
{
  Align();
  if (m_parameters.EndOfLine)
    m_writer.Put(g_faxEndOfLine);
  const bool b2D = IsRow2D();
  if (IsRowTagged())
    m_writer.Put(b2D ? 0 : 1, 1);
  if (b2D)
    EncodeFaxRow2D(m_writer, m_above, m_row);
  else
    EncodeFaxRow(m_writer, m_row);
  ++m_nRows;
  // At most K - 1 rows depend on the one-dimensional row before them.
  if (m_parameters.K > 0 && m_parameters.K <= g_nLastMixedK && m_nRows == m_parameters.K)
    m_nRows = 0;
  else if (m_nRows > g_nMixedRows && (m_parameters.K <= 0 || m_parameters.K > g_nLastMixedK))
    m_nRows = g_nMixedRows;
}

bool CCCITTFaxEncodeFilter::EncodeBlock(std::span<const unsigned char> block)
{
  const auto nRowSize = static_cast<std::size_t>(m_nRowSize);
  for (; block.size() >= nRowSize; block = block.subspan(nRowSize))
  {
    m_row.Unpack(block.first(nRowSize), m_parameters.BlackIs1 ? 0xFF : 0);
    EncodeRow();
    std::swap(m_above, m_row);
  }
  return !m_pOutput->HasFailed();
}

bool CCCITTFaxEncodeFilter::FinishBuffered()
{
  int nCodes = m_parameters.EndOfLine ? 1 : 0;
  if (m_parameters.EndOfBlock)
    nCodes = m_parameters.K < 0 ? 2 : 6;
  if (nCodes > 0)
    Align();
  for (; nCodes > 0; --nCodes)
  {
    m_writer.Put(g_faxEndOfLine);
    if (m_parameters.EndOfBlock && m_parameters.K > 0)
      m_writer.Put(1, 1);
  }
  m_writer.AlignTo(0);
  return !m_pOutput->HasFailed();
}

}  // namespace BSE
