#include "images/filters/LZWEncodeFilter.h"

#include <algorithm>
#include <iterator>

namespace BSE
{

namespace
{

constexpr int g_nClearCode = 256;
constexpr int g_nEndCode = 257;
constexpr int g_nFirstCode = 258;
constexpr int g_nStartBits = 9;
constexpr int g_nMaxBits = 12;

// The table is given up when this code would be next.
constexpr int g_nLastCode = 4095;

// A search that long is given up: the string is then emitted without a table entry of its own, which costs
// compression only. Ordinary data needs a few steps.
constexpr int g_nMaxProbes = 64;

}  // namespace

CLZWEncodeFilter::CLZWEncodeFilter(IByteStream* pSink, IErrorContext* pErrorContext)
    : CBufferedEncodeFilter(pSink, pErrorContext)
{
  ClearTable();
}

void CLZWEncodeFilter::ClearTable()
{
  std::fill(std::begin(m_keys), std::end(m_keys), g_nEmpty);
  m_nCodeBits = g_nStartBits;
  m_nNextCode = g_nFirstCode;
}

bool CLZWEncodeFilter::WriteCode(int nCode)
{
  m_nBits = m_nBits << m_nCodeBits | static_cast<unsigned>(nCode);
  m_nBitCount += m_nCodeBits;
  while (m_nBitCount >= 8)
  {
    m_nBitCount -= 8;
    m_pOutput->PutByte(static_cast<unsigned char>(m_nBits >> m_nBitCount));
  }
  return !m_pOutput->HasFailed();
}

bool CLZWEncodeFilter::WriteString(int nCode)
{
  if (!WriteCode(nCode))
    return false;
  // The decoder is one entry behind, and grows its codes one entry early: both cancel out.
  ++m_nNextCode;
  if (m_nNextCode > (1 << m_nCodeBits) - 1 && m_nCodeBits < g_nMaxBits)
    ++m_nCodeBits;
  return true;
}

int CLZWEncodeFilter::FindSlot(int nPrefix, int nByte) const
{
  const int nKey = nByte << g_nMaxBits | nPrefix;
  int nSlot = nByte << 4 ^ nPrefix;
  for (int i = 0; i < g_nMaxProbes; ++i)
  {
    if (m_keys[nSlot] == nKey || m_keys[nSlot] == g_nEmpty)
      return nSlot;
    nSlot = nSlot == 0 ? g_nSlots - 1 : 2 * nSlot - g_nSlots;
    if (nSlot < 0)
      nSlot += g_nSlots;
  }
  return -1;
}

bool CLZWEncodeFilter::Start()
{
  if (m_bStarted)
    return true;
  m_bStarted = true;
  return WriteCode(g_nClearCode);
}

bool CLZWEncodeFilter::EndString(int nSlot, int nByte)
{
  if (nSlot >= 0)
  {
    m_keys[nSlot] = nByte << g_nMaxBits | m_nPrefix;
    m_codes[nSlot] = static_cast<unsigned short>(m_nNextCode);
  }
  if (!WriteString(m_nPrefix))
    return false;
  if (m_nNextCode < g_nLastCode)
    return true;
  const bool bDone = WriteCode(g_nClearCode);
  ClearTable();
  return bDone;
}

bool CLZWEncodeFilter::EncodeBlock(std::span<const unsigned char> block)
{
  if (!Start())
    return false;
  for (const unsigned char nByte : block)
  {
    if (m_nPrefix < 0)
    {
      m_nPrefix = nByte;
      continue;
    }
    const int nSlot = FindSlot(m_nPrefix, nByte);
    if (nSlot >= 0 && m_keys[nSlot] != g_nEmpty)
      m_nPrefix = m_codes[nSlot];
    else if (EndString(nSlot, nByte))
      m_nPrefix = nByte;
    else
      return false;
  }
  return true;
}

bool CLZWEncodeFilter::FinishBuffered()
{
  if (!Start() || (m_nPrefix >= 0 && !WriteString(m_nPrefix)) || !WriteCode(g_nEndCode))
    return false;
  return m_nBitCount == 0 || m_pOutput->PutByte(static_cast<unsigned char>(m_nBits << (8 - m_nBitCount)));
}

}  // namespace BSE
