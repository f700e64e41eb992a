#include "images/filters/ASCII85DecodeFilter.h"

#include "images/filters/StatusCodes.h"

#include <algorithm>
#include <cstring>

namespace BSE
{

namespace
{

constexpr int g_nFirstDigit = '!';
constexpr unsigned g_nBase = 85;
constexpr std::uint64_t g_nMaxGroup = 0xFFFFFFFFU;

}  // namespace

void CASCII85DecodeFilter::ResetState()
{
  m_nGroup = 0;
  m_nGroupSize = 0;
  m_bDataEnd = false;
  m_nReports = 0;
  m_nHeldPos = m_nHeldEnd = 0;
}

void CASCII85DecodeFilter::Report(unsigned nCode)
{
  // The groups before a missing end are whole.
  m_bGap = m_bGap || nCode != g_nASCII85NoEnd || m_nGroupSize > 0;
  if (m_nReports++ < g_nMaxReports)
    ReportError(m_pErrorContext, nCode);
}

void CASCII85DecodeFilter::StoreGroup(unsigned char* pOut)
{
  // Five digits stay far below 2^64: the check at the end sees every overflow.
  if (m_nGroup > g_nMaxGroup)
  {
    Report(g_nASCII85Overflow);
    m_nGroup = g_nMaxGroup;
  }
  for (int i = 0; i < 4; ++i)
    pOut[i] = static_cast<unsigned char>(m_nGroup >> (24 - 8 * i));
  m_nGroup = 0;
  m_nGroupSize = 0;
}

int CASCII85DecodeFilter::FinishGroup(unsigned char* pOut)
{
  const int nSize = m_nGroupSize;
  if (nSize == 0)
    return 0;
  if (nSize == 1)
  {
    Report(g_nASCII85ShortGroup);
    return 0;
  }
  for (int i = nSize; i < 5; ++i)
    m_nGroup = m_nGroup * g_nBase + g_nBase - 1;
  unsigned char bytes[4];
  StoreGroup(bytes);
  std::copy_n(bytes, nSize - 1, pOut);
  return nSize - 1;
}

int CASCII85DecodeFilter::TakeOther(int nCharacter, unsigned char* pOut)
{
  if (nCharacter < 0)
  {
    Report(g_nASCII85NoEnd);
    m_bDataEnd = true;
    return 0;
  }
  if (nCharacter == '~')
  {
    m_bDataEnd = true;
    m_pInput->GetByte();
    return FinishGroup(pOut);
  }
  if (nCharacter == 'z' && m_nGroupSize == 0)
  {
    std::memset(pOut, 0, 4);
    return 4;
  }
  if (nCharacter >= g_nFirstDigit)
    Report(nCharacter == 'z' ? g_nASCII85MisplacedZ : g_nASCII85Character);
  return 0;
}

int CASCII85DecodeFilter::DecodeGroups(std::span<unsigned char> room)
{
  unsigned char* pOut = room.data();
  const unsigned char* pLast = pOut + room.size() - 4;
  while (pOut <= pLast && !m_bDataEnd)
  {
    const int nCharacter = m_pInput->GetByte();
    const auto nDigit = static_cast<unsigned>(nCharacter - g_nFirstDigit);
    if (nCharacter < 0 || nDigit >= g_nBase)
    {
      pOut += TakeOther(nCharacter, pOut);
      continue;
    }
    m_nGroup = m_nGroup * g_nBase + nDigit;
    if (++m_nGroupSize < 5)
      continue;
    StoreGroup(pOut);
    pOut += 4;
  }
  return static_cast<int>(pOut - room.data());
}

int CASCII85DecodeFilter::TakeHeld(std::span<unsigned char> room)
{
  const int nTaken = std::min(m_nHeldEnd - m_nHeldPos, static_cast<int>(room.size()));
  std::copy_n(m_held + m_nHeldPos, nTaken, room.data());
  m_nHeldPos += nTaken;
  return nTaken;
}

int CASCII85DecodeFilter::DecodeBlock(std::span<unsigned char> block)
{
  int nDone = TakeHeld(block);
  auto rest = block.subspan(static_cast<std::size_t>(nDone));
  if (rest.size() >= 4)
  {
    nDone += DecodeGroups(rest);
    rest = block.subspan(static_cast<std::size_t>(nDone));
  }
  if (!rest.empty() && !m_bDataEnd)
  {
    m_nHeldPos = 0;
    m_nHeldEnd = DecodeGroups(m_held);
    nDone += TakeHeld(rest);
  }
  m_bEnd = m_bDataEnd && m_nHeldPos == m_nHeldEnd;
  return nDone;
}

}  // namespace BSE
