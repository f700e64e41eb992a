#include "images/filters/LZWDecodeFilter.h"

#include "images/filters/StatusCodes.h"

#include <algorithm>
#include <cstring>

namespace BSE
{

namespace
{

// Above this code the table takes no more entries.
constexpr int g_nLastEntry = 4094;

// Most strings are so short that a call would cost more than the copy.
void CopyString(unsigned char* pOut, const unsigned char* pString, std::size_t nLength)
{
  if (nLength > 16)
    std::memcpy(pOut, pString, nLength);
  else
  {
    for (std::size_t i = 0; i < nLength; ++i)
      pOut[i] = pString[i];
  }
}

}  // namespace

CLZWDecodeFilter::CLZWDecodeFilter(IByteStream* pSource, const CLZWParameters& parameters,
                                   IErrorContext* pErrorContext)
    : CBufferedDecodeFilter(pSource, pErrorContext), m_parameters(parameters)
{
  m_parameters.nCodeSize = std::clamp(m_parameters.nCodeSize, 1, g_nMaxBits - 1);
  m_parameters.EarlyChange = m_parameters.EarlyChange != 0 ? 1 : 0;
  m_nClearCode = 1 << m_parameters.nCodeSize;
  DetectBitOrder();
  ResetState();
}

void CLZWDecodeFilter::DetectBitOrder()
{
  const std::int64_t nStart = m_pInput->Tell();
  const int nFirst = m_pInput->GetByte();
  const int nSecond = m_pInput->GetByte();
  if (nFirst == 0 && nSecond >= 0 && (nSecond & 1) != 0)
  {
    m_parameters.bLSBFirst = true;
    m_parameters.EarlyChange = 0;
  }
  m_bEnd = !m_pInput->Seek(nStart);
}

void CLZWDecodeFilter::ResetState()
{
  m_nBits = 0;
  m_nBitCount = 0;
  m_nStackPos = g_nTableSize;
  ClearTable();
}

void CLZWDecodeFilter::ClearTable()
{
  m_nCodeBits = m_parameters.nCodeSize + 1;
  m_nNextCode = m_nClearCode + 2;
  m_nPrevious = -1;
}

int CLZWDecodeFilter::ReadCode()
{
  const unsigned nMask = (1U << m_nCodeBits) - 1;
  while (m_nBitCount < m_nCodeBits)
  {
    const int nByte = m_pInput->GetByte();
    if (nByte < 0)
      return -1;
    if (m_parameters.bLSBFirst)
      m_nBits |= static_cast<unsigned>(nByte) << m_nBitCount;
    else
      m_nBits = m_nBits << 8 | static_cast<unsigned>(nByte);
    m_nBitCount += 8;
  }
  m_nBitCount -= m_nCodeBits;
  if (!m_parameters.bLSBFirst)
    return static_cast<int>((m_nBits >> m_nBitCount) & nMask);
  const unsigned nCode = m_nBits & nMask;
  m_nBits >>= m_nCodeBits;
  return static_cast<int>(nCode);
}

void CLZWDecodeFilter::Unwind(int nCode)
{
  // Each entry's prefix is an earlier code, so that the walk ends and fits the stack.
  const int nClearCode = m_nClearCode;
  int nPos = m_nStackPos;
  while (nCode >= nClearCode)
  {
    m_stack[--nPos] = m_suffix[nCode];
    nCode = m_prefix[nCode];
  }
  m_nFirst = static_cast<unsigned char>(nCode);
  m_stack[--nPos] = m_nFirst;
  m_nStackPos = nPos;
}

void CLZWDecodeFilter::AddEntry()
{
  if (m_nNextCode > g_nLastEntry)
    return;
  m_prefix[m_nNextCode] = static_cast<unsigned short>(m_nPrevious);
  m_suffix[m_nNextCode] = m_nFirst;
  ++m_nNextCode;
  const int nMask = (1 << m_nCodeBits) - 1;
  if (m_nNextCode > nMask - m_parameters.EarlyChange && m_nCodeBits < g_nMaxBits)
    ++m_nCodeBits;
}

bool CLZWDecodeFilter::DecodeCode()
{
  const int nCode = ReadCode();
  if (nCode < 0 || nCode == m_nClearCode + 1)
  {
    if (nCode < 0)
      ReportError(m_pErrorContext, g_nLZWNoEnd);
    return false;
  }
  if (nCode == m_nClearCode)
  {
    ClearTable();
    return true;
  }
  // Right after a clear code no entry exists that a code could name.
  const bool bLiteral = nCode < m_nClearCode;
  if (nCode > m_nNextCode || (m_nPrevious < 0 && !bLiteral))
  {
    m_bGap = true;
    ReportError(m_pErrorContext, g_nLZWCode);
    return false;
  }
  if (nCode == m_nNextCode)
  {
    // The string of the code before with its first byte once more after it, which is the entry to come.
    m_stack[--m_nStackPos] = m_nFirst;
    Unwind(m_nPrevious);
    // A full table makes no entry of it: the code before stays the one that can be repeated.
    if (nCode > g_nLastEntry)
      return true;
  }
  else
    Unwind(nCode);
  if (m_nPrevious >= 0)
    AddEntry();
  m_nPrevious = nCode;
  return true;
}

int CLZWDecodeFilter::DecodeBlock(std::span<unsigned char> block)
{
  std::size_t nDone = 0;
  while (nDone < block.size())
  {
    if (m_nStackPos == g_nTableSize)
    {
      if (!DecodeCode())
      {
        m_bEnd = true;
        break;
      }
      continue;
    }
    const std::size_t nPart =
        std::min(block.size() - nDone, static_cast<std::size_t>(g_nTableSize - m_nStackPos));
    CopyString(block.data() + nDone, m_stack + m_nStackPos, nPart);
    m_nStackPos += static_cast<int>(nPart);
    nDone += nPart;
  }
  return static_cast<int>(nDone);
}

}  // namespace BSE
