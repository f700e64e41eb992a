#include "base/EncodeFilter.h"

#include "base/Tracer.h"

namespace BSE
{

std::int64_t CEncodeFilter::Read(unsigned char*, std::int64_t)
{
  if (CTracer::IsOn())
    CTracer::Trace("E", "Stream", "Reading from output stream.");
  return 0;
}

std::int64_t CEncodeFilter::Write(const unsigned char* pBuffer, std::int64_t n)
{
  if (!pBuffer || n <= 0 || m_bClosed || m_bFailed)
    return 0;
  if (!m_pSource || !EncodeBlock({pBuffer, static_cast<std::size_t>(n)}))
  {
    m_bFailed = true;
    return 0;
  }
  m_nPos += n;
  return n;
}

bool CEncodeFilter::Close(bool bChain)
{
  if (!m_bClosed)
  {
    m_bClosed = true;
    if (!m_pSource || (!m_bFailed && !Finish()))
      m_bFailed = true;
  }
  bool bDone = !m_bFailed;
  if (bChain)
  {
    if (auto* pNext = dynamic_cast<CEncodeFilter*>(m_pSource.Get()))
      bDone = pNext->Close() && bDone;
  }
  return bDone;
}

void CEncodeFilter::CloseOnRelease()
{
  try
  {
    Close(false);
  }
  catch (...)
  {
    // Memory ran out, or a caller's stream threw; there is nobody left to tell.
    m_bFailed = true;
  }
}

CBufferedEncodeFilter::CBufferedEncodeFilter(IByteStream* pSink, IErrorContext* pErrorContext)
    : CEncodeFilter(pSink, pErrorContext), m_pOutput(new CBufferedOutputStream(pSink))
{
}

bool CBufferedEncodeFilter::Finish()
{
  return FinishBuffered() && m_pOutput->Flush();
}

}  // namespace BSE
