#include "pdf/linearize/PDInput.h"

#include "base/EmbeddedStream.h"
#include "pdf/linearize/PDCharacters.h"

#include <algorithm>

PDInput::PDInput(BSE::IByteStream* pStream, int nWindow) : m_nMinimum(std::max(nWindow, 1))
{
  if (!pStream || !pStream->IsValid())
    return;
  m_pSource = new PDF::CInputMonitor(pStream);
  m_nLength = std::max<std::int64_t>(pStream->GetLength(), 0);
}

std::span<const unsigned char> PDInput::Get(std::int64_t nPos, std::int64_t n)
{
  if (nPos < 0 || nPos >= m_nLength || n <= 0)
    return {};
  n = std::min(n, m_nLength - nPos);
  if (nPos < m_nWindowPos || nPos + n > m_nWindowPos + m_nWindowFill)
  {
    const std::int64_t nRead = std::min(std::max<std::int64_t>(n, m_nMinimum), m_nLength - nPos);
    if (nRead > 0x7FFFFFFF)
      return {};
    if (m_window.GetSize() < nRead || m_window.GetSize() > std::max<std::int64_t>(nRead * 4, 1 << 20))
      m_window.SetSize(static_cast<int>(nRead));
    m_nWindowPos = nPos;
    m_nWindowFill = m_pSource->Seek(nPos) ? m_pSource->ReadFully(m_window.GetData(), nRead) : 0;
    n = std::min(n, m_nWindowFill);
  }
  return m_window.GetSpan().subspan(static_cast<std::size_t>(nPos - m_nWindowPos),
                                    static_cast<std::size_t>(n));
}

BSE::CObjectPtr<BSE::IByteStream> PDInput::CreateSection(std::int64_t nPos, std::int64_t nLength) const
{
  return new BSE::CEmbeddedStream(m_pSource.Get(), nPos, nLength);
}

bool PDCursor::Fill()
{
  m_nBase += static_cast<std::int64_t>(m_nAt);
  m_nAt = 0;
  m_bytes = m_input.Get(m_nBase, PDInput::g_nWindow);
  return !m_bytes.empty();
}

void PDCursor::SkipSpace()
{
  for (;;)
  {
    const int nByte = Peek();
    if (nByte == '%')
    {
      while (Peek() >= 0 && Peek() != '\n' && Peek() != '\r')
        Get();
    }
    else if (nByte < 0 || !IsPDSpace(static_cast<unsigned char>(nByte)))
      return;
    Get();
  }
}

bool PDCursor::ReadNumber(std::int64_t& nValue)
{
  constexpr int nMaxDigits = 18;
  SkipSpace();
  nValue = 0;
  int nDigits = 0;
  const auto isDigit = [this] { return Peek() >= '0' && Peek() <= '9'; };
  for (; nDigits < nMaxDigits && isDigit(); ++nDigits)
    nValue = nValue * 10 + (Get() - '0');
  return nDigits > 0 && !isDigit();
}

bool PDCursor::ReadWord(const char* szWord)
{
  SkipSpace();
  for (; *szWord; ++szWord)
  {
    if (Get() != static_cast<unsigned char>(*szWord))
      return false;
  }
  return Peek() < 0 || !IsPDRegular(static_cast<unsigned char>(Peek()));
}
