#include "images/filters/ASCIIHexEncodeFilter.h"

namespace BSE
{

namespace
{

constexpr int g_nLineLength = 160;
constexpr char g_szDigits[] = "0123456789ABCDEF";

}  // namespace

bool CASCIIHexEncodeFilter::EncodeBlock(std::span<const unsigned char> block)
{
  for (const unsigned char nByte : block)
  {
    m_pOutput->PutByte(static_cast<unsigned char>(g_szDigits[nByte >> 4]));
    m_pOutput->PutByte(static_cast<unsigned char>(g_szDigits[nByte & 15]));
    m_nColumn += 2;
    if (m_nColumn < g_nLineLength)
      continue;
    m_pOutput->PutByte('\n');
    m_nColumn = 0;
  }
  return !m_pOutput->HasFailed();
}

bool CASCIIHexEncodeFilter::FinishBuffered()
{
  return m_pOutput->PutByte('>');
}

}  // namespace BSE
