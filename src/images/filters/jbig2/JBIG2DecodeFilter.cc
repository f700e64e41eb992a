#include "images/filters/jbig2/JBIG2DecodeFilter.h"

#include "base/ByteOrder.h"
#include "base/Limits.h"
#include "images/filters/RowSize.h"

#include <algorithm>

namespace BSE
{

namespace
{

constexpr double g_dMetresPerInch = 0.0254;

}  // namespace

CJBIG2DecodeFilter::CJBIG2DecodeFilter(IByteStream* pSource, const CJBIG2Parameters& parameters,
                                       IErrorContext* pErrorContext)
    : CBufferedDecodeFilter(pSource, pErrorContext), m_parameters(parameters), m_decoder(*this)
{
  ReadGlobals();
  if (!m_pInput->ReadToArray(m_data, g_nMaxDecodedSize))
    OnMessage(eJBIG2Fatal, "the data cannot be read to its end");
  m_bEnd = !m_decoder.Open(m_globals.GetSpan(), m_data.GetSpan());
  if (m_bEnd)
    return;
  const TJBIG2Page& page = m_decoder.GetPageInformation();
  m_nRowSize = GetBitRowSize(page.m_nWidth);
  m_bEnd = m_nRowSize == 0 || !CheckedNarrow(page.m_nHeight, m_parameters.nHeight);
  if (m_bEnd)
  {
    m_nRowSize = 0;
    OnMessage(eJBIG2Fatal, "the page is too large");
    return;
  }
  m_parameters.nWidth = static_cast<int>(page.m_nWidth);
  if (page.m_nResolutionX > 0)
    m_parameters.nResolutionX = page.m_nResolutionX * g_dMetresPerInch;
  if (page.m_nResolutionY > 0)
    m_parameters.nResolutionY = page.m_nResolutionY * g_dMetresPerInch;
}

void CJBIG2DecodeFilter::ReadGlobals()
{
  IByteStream* const pGlobals = m_parameters.pGlobals.Get();
  if (!pGlobals)
    return;
  if (!pGlobals->Rewind() || !pGlobals->ReadToArray(m_globals, g_nMaxDecodedSize))
    OnMessage(eJBIG2Fatal, "the globals cannot be read to their end");
  m_parameters.nGlobalsSize = m_globals.GetSize();
}

void CJBIG2DecodeFilter::OnMessage(TJBIG2Class messageClass, const char* szText)
{
  m_bDamaged = m_bDamaged || messageClass == eJBIG2Fatal;
  ReportError(m_pErrorContext, CScopedPtr<IError>(new CJBIG2Error(messageClass, szText)));
}

int CJBIG2DecodeFilter::GetBlockSize() const
{
  return GetRowBlockSize(CDecodeFilter::GetBlockSize(), m_nRowSize);
}

std::int64_t CJBIG2DecodeFilter::Read(unsigned char* pBuffer, std::int64_t n)
{
  return m_nRowSize > 0 ? CDecodeFilter::Read(pBuffer, n - n % m_nRowSize) : 0;
}

int CJBIG2DecodeFilter::DecodeBlock(std::span<unsigned char> block)
{
  if (!m_bDecoded)
  {
    m_bDecoded = true;
    m_decoder.Decode();
  }
  m_bGap = m_bGap || m_bDamaged;
  const auto nRowSize = static_cast<std::size_t>(m_nRowSize);
  std::size_t nDone = 0;
  for (; m_decoder.GetPage() && m_nRow < m_parameters.nHeight && block.size() - nDone >= nRowSize; ++m_nRow)
  {
    WriteRow(block.subspan(nDone, nRowSize));
    nDone += nRowSize;
  }
  m_bEnd = !m_decoder.GetPage() || m_nRow == m_parameters.nHeight;
  return static_cast<int>(nDone);
}

void CJBIG2DecodeFilter::WriteRow(std::span<unsigned char> row) const
{
  const std::uint64_t* pWord = m_decoder.GetPage()->GetRow(m_nRow);
  std::size_t i = 0;
  for (; i + 8 <= row.size(); i += 8)
    StoreBigEndian(~*pWord++, row.data() + i);
  for (unsigned nShift = 56; i < row.size(); ++i, nShift -= 8)
    row[i] = static_cast<unsigned char>(~*pWord >> nShift);
}

}  // namespace BSE
