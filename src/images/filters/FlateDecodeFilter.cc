#include "images/filters/FlateDecodeFilter.h"

#include "base/Memory.h"

#include <algorithm>
#include <climits>

#include <zlib.h>

namespace BSE
{

CFlateDecodeFilter::CFlateDecodeFilter(IByteStream* pSource, IErrorContext* pErrorContext,
                                       TFlateFormat eFormat)
    : CDecodeFilter(pSource, pErrorContext), m_eFormat(eFormat)
{
  m_input.SetSize(std::clamp(GetBlockSize(), 1, 1 << 20));
  CScopedPtr<z_stream> pStream(new z_stream{});
  const int nStatus = inflateInit2(pStream.Get(), GetFlateWindowBits(eFormat));
  if (nStatus == Z_OK)
    m_pStream = pStream.Detach();
  else
    Fail(nStatus);
}

CFlateDecodeFilter::~CFlateDecodeFilter()
{
  if (m_pStream)
    inflateEnd(m_pStream);
  delete m_pStream;
}

void CFlateDecodeFilter::Fail(int nStatus)
{
  m_bEnd = true;
  if (nStatus == Z_MEM_ERROR)
    ThrowOutOfMemory();
  ReportError(m_pErrorContext, CScopedPtr<IError>(new CFlateError(nStatus)));
}

void CFlateDecodeFilter::ResetState()
{
  if (!m_pStream)
    return;
  // With the format named again: a search for a flush point turns the frame off, which a plain reset keeps.
  inflateReset2(m_pStream, GetFlateWindowBits(m_eFormat));
  m_pStream->avail_in = 0;
}

void CFlateDecodeFilter::ReturnUnread()
{
  if (!m_pStream || m_pStream->avail_in == 0 || !m_pSource->IsSeekable())
    return;
  m_pSource->Seek(m_pSource->Tell() - m_pStream->avail_in);
  m_pStream->avail_in = 0;
}

bool CFlateDecodeFilter::Refill()
{
  const std::int64_t nRead = m_pSource->Read(m_input.GetData(), m_input.GetSize());
  if (nRead <= 0)
    return false;
  m_pStream->next_in = m_input.GetData();
  m_pStream->avail_in = static_cast<unsigned>(nRead);
  return true;
}

bool CFlateDecodeFilter::Resynchronize()
{
  while (m_pStream->avail_in > 0 || Refill())
  {
    if (inflateSync(m_pStream) == Z_OK)
      return true;
  }
  return false;
}

int CFlateDecodeFilter::DecodeBlock(std::span<unsigned char> block)
{
  if (!m_pStream)
  {
    m_bEnd = true;
    return 0;
  }
  const auto nRoom = static_cast<unsigned>(std::min<std::size_t>(block.size(), INT_MAX));
  m_pStream->next_out = block.data();
  m_pStream->avail_out = nRoom;
  while (m_pStream->avail_out > 0 && !m_bEnd)
  {
    const int nStatus = inflate(m_pStream, Z_SYNC_FLUSH);
    if (nStatus == Z_OK || (nStatus == Z_BUF_ERROR && m_pStream->avail_in == 0))
    {
      // Input is exhausted only where output has room: otherwise more may be in zlib's window.
      if (m_pStream->avail_out > 0 && m_pStream->avail_in == 0 && !Refill())
        m_bEnd = m_bGap = true;
    }
    else if (nStatus == Z_DATA_ERROR)
    {
      m_bGap = true;
      if (!Resynchronize())
        Fail(nStatus);
    }
    else if (nStatus < 0)
      Fail(nStatus);
    else
      m_bEnd = true;
  }
  return static_cast<int>(nRoom - m_pStream->avail_out);
}

}  // namespace BSE
