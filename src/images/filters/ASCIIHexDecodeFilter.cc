#include "images/filters/ASCIIHexDecodeFilter.h"

#include "images/filters/ByteSearch.h"
#include "images/filters/StatusCodes.h"

#include <array>

namespace BSE
{

namespace
{

constexpr signed char g_nSkipped = -1;
constexpr signed char g_nEndMark = -2;
constexpr signed char g_nInvalid = -3;

// For each character the value of the digit, or what else it is.
constexpr std::array<signed char, 256> MakeDigits()
{
  std::array<signed char, 256> digits{};
  for (std::size_t i = 0; i < 256; ++i)
    digits[i] = i <= 32 ? g_nSkipped : g_nInvalid;
  for (std::size_t i = 0; i < 10; ++i)
    digits['0' + i] = static_cast<signed char>(i);
  for (std::size_t i = 0; i < 6; ++i)
    digits['A' + i] = digits['a' + i] = static_cast<signed char>(10 + i);
  digits['>'] = g_nEndMark;
  return digits;
}

constexpr std::array<signed char, 256> g_digits = MakeDigits();

}  // namespace

int CASCIIHexDecodeFilter::DecodeBlock(std::span<unsigned char> block)
{
  std::size_t nDone = 0;
  while (nDone < block.size())
  {
    const int nCharacter = m_pInput->GetByte();
    const int nDigit = nCharacter < 0 ? 0 : g_digits[static_cast<std::size_t>(nCharacter)];
    if (nCharacter >= 0 && nDigit >= 0)
    {
      if (m_nPending >= 0)
        block[nDone++] = static_cast<unsigned char>(m_nPending << 4 | nDigit);
      m_nPending = m_nPending >= 0 ? -1 : nDigit;
      continue;
    }
    if (nDigit == g_nSkipped)
      continue;
    if (nDigit == g_nEndMark && m_nPending >= 0)
      block[nDone++] = static_cast<unsigned char>(m_nPending << 4);
    m_bGap = m_bGap || (nCharacter < 0 && m_nPending >= 0);
    if (nDigit == g_nInvalid)
    {
      m_bGap = true;
      ReportError(m_pErrorContext, g_nASCIIHexCharacter);
    }
    m_bEnd = true;
    break;
  }
  return static_cast<int>(nDone);
}

bool CASCIIHexDecodeFilter::SkipToEnd()
{
  if (!m_bEnd)
    SkipBehind(*m_pInput, '>');
  m_bEnd = true;
  ReturnUnread();
  return true;
}

}  // namespace BSE
