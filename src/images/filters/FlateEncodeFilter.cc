#include "images/filters/FlateEncodeFilter.h"

#include "base/Memory.h"

#include <algorithm>
#include <climits>

#include <zlib.h>

namespace BSE
{

namespace
{

// zlib's largest: more memory for fewer, better fitting blocks.
constexpr int g_nMemoryLevel = 9;

}  // namespace

CFlateEncodeFilter::CFlateEncodeFilter(IByteStream* pSink, IErrorContext* pErrorContext, int nLevel,
                                       TFlateFormat eFormat)
    : CEncodeFilter(pSink, pErrorContext)
{
  m_output.SetSize(std::clamp(GetBlockSize(), 64, 1 << 20));
  CScopedPtr<z_stream> pStream(new z_stream{});
  const int nStatus = deflateInit2(pStream.Get(), nLevel, Z_DEFLATED, GetFlateWindowBits(eFormat),
                                   g_nMemoryLevel, Z_DEFAULT_STRATEGY);
  if (nStatus != Z_OK)
  {
    Fail(nStatus);
    return;
  }
  m_pStream = pStream.Detach();
  m_pStream->next_out = m_output.GetData();
  m_pStream->avail_out = static_cast<unsigned>(m_output.GetSize());
}

CFlateEncodeFilter::~CFlateEncodeFilter()
{
  CloseOnRelease();
  if (m_pStream)
    deflateEnd(m_pStream);
  delete m_pStream;
}

bool CFlateEncodeFilter::Fail(int nStatus)
{
  m_bFailed = true;
  if (nStatus == Z_MEM_ERROR)
    ThrowOutOfMemory();
  ReportError(m_pErrorContext, CScopedPtr<IError>(new CFlateError(nStatus)));
  return false;
}

bool CFlateEncodeFilter::WriteOutput()
{
  const std::int64_t nReady = m_output.GetSize() - static_cast<std::int64_t>(m_pStream->avail_out);
  m_pStream->next_out = m_output.GetData();
  m_pStream->avail_out = static_cast<unsigned>(m_output.GetSize());
  return m_pSource->WriteAll(m_output.GetData(), nReady);
}

bool CFlateEncodeFilter::Deflate(int nFlush)
{
  while (nFlush == Z_FINISH || m_pStream->avail_in > 0)
  {
    const int nStatus = deflate(m_pStream, nFlush);
    if (nStatus != Z_OK && nStatus != Z_STREAM_END)
      return Fail(nStatus);
    if ((m_pStream->avail_out == 0 || nStatus == Z_STREAM_END) && !WriteOutput())
      return false;
    if (nStatus == Z_STREAM_END)
      break;
  }
  return true;
}

bool CFlateEncodeFilter::EncodeBlock(std::span<const unsigned char> block)
{
  if (!m_pStream)
    return false;
  while (!block.empty())
  {
    const std::size_t nPart = std::min<std::size_t>(block.size(), INT_MAX);
    m_pStream->next_in = const_cast<unsigned char*>(block.data());
    m_pStream->avail_in = static_cast<unsigned>(nPart);
    if (!Deflate(Z_NO_FLUSH))
      return false;
    block = block.subspan(nPart);
  }
  return true;
}

bool CFlateEncodeFilter::Finish()
{
  return m_pStream && Deflate(Z_FINISH);
}

}  // namespace BSE
