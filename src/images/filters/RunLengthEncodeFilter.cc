#include "images/filters/RunLengthEncodeFilter.h"

namespace BSE
{

namespace
{

constexpr unsigned char g_nEndByte = 128;

}  // namespace

bool CRunLengthEncodeFilter::FlushWindow()
{
  if (m_nFilled == 0)
    return true;
  const int nLength = m_bRepeat ? 257 - m_nFilled : m_nFilled - 1;
  const bool bDone = m_pOutput->PutByte(static_cast<unsigned char>(nLength)) &&
                     m_pOutput->Write(m_window, m_bRepeat ? 1 : m_nFilled) > 0;
  m_nFilled = 0;
  m_bRepeat = false;
  return bDone;
}

bool CRunLengthEncodeFilter::Put(unsigned char nByte)
{
  if (m_nFilled == g_nMaxRun && !FlushWindow())
    return false;
  const bool bEqual = m_nFilled > 0 && m_window[m_nFilled - 1] == nByte;
  if (m_bRepeat && !bEqual && !FlushWindow())
    return false;
  if (!m_bRepeat && bEqual)
  {
    // The last byte leaves an open literal and starts the repeat run.
    --m_nFilled;
    if (!FlushWindow())
      return false;
    m_window[m_nFilled++] = nByte;
    m_bRepeat = true;
  }
  m_window[m_nFilled++] = nByte;
  return true;
}

bool CRunLengthEncodeFilter::EncodeBlock(std::span<const unsigned char> block)
{
  for (const unsigned char nByte : block)
  {
    if (!Put(nByte))
      return false;
  }
  return true;
}

bool CRunLengthEncodeFilter::FinishBuffered()
{
  return FlushWindow() && m_pOutput->PutByte(g_nEndByte);
}

}  // namespace BSE
