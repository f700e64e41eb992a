#include "pdf/linearize/PDWriter.h"

#include <charconv>
#include <cstring>

namespace
{

// Digits of any number, with a sign.
constexpr int g_nMaxDigits = 24;

}  // namespace

PDWriter::PDWriter(BSE::IByteStream* pStream) : m_pStream(pStream)
{
  m_buffer.SetSize(g_nBufferSize);
  m_bFailed = !pStream || !pStream->IsValid();
}

void PDWriter::Put(std::span<const unsigned char> bytes)
{
  const auto n = static_cast<std::int64_t>(bytes.size());
  m_nPos += n;
  if (m_pBytes)
    m_pBytes->Append(bytes);
  if (!m_pStream || m_bFailed || n == 0)
    return;
  if (n > g_nBufferSize - m_nFill && !Flush())
    return;
  if (n >= g_nBufferSize)
  {
    Send(bytes.data(), n);
    return;
  }
  std::memcpy(m_buffer.GetData() + m_nFill, bytes.data(), bytes.size());
  m_nFill += static_cast<int>(n);
}

void PDWriter::Put(const char* szText)
{
  Put({reinterpret_cast<const unsigned char*>(szText), std::strlen(szText)});
}

void PDWriter::PutByte(unsigned char nByte)
{
  Put({&nByte, 1});
}

void PDWriter::PutNumber(std::int64_t nNumber)
{
  char digits[g_nMaxDigits];
  const auto result = std::to_chars(digits, digits + g_nMaxDigits, nNumber);
  Put({reinterpret_cast<const unsigned char*>(digits), static_cast<std::size_t>(result.ptr - digits)});
}

void PDWriter::PutZeroPadded(std::int64_t nNumber, int nWidth)
{
  char digits[g_nMaxDigits];
  const auto result = std::to_chars(digits, digits + g_nMaxDigits, nNumber);
  for (auto n = result.ptr - digits; n < nWidth; ++n)
    PutByte('0');
  PutNumber(nNumber);
}

void PDWriter::PutSpacePadded(std::int64_t nNumber, int nWidth)
{
  const std::int64_t nEnd = m_nPos + nWidth;
  PutNumber(nNumber);
  while (m_nPos < nEnd)
    PutByte(' ');
}

void PDWriter::Send(const unsigned char* pBytes, std::int64_t n)
{
  m_nWritten += n;
  m_bFailed = !m_pStream->WriteAll(pBytes, n);
}

bool PDWriter::Flush()
{
  if (m_nFill > 0 && !m_bFailed)
    Send(m_buffer.GetData(), m_nFill);
  m_nFill = 0;
  return !m_bFailed;
}

std::int64_t PDWriterStream::Write(const unsigned char* pBuffer, std::int64_t n)
{
  if (n <= 0)
    return 0;
  m_writer.Put({pBuffer, static_cast<std::size_t>(n)});
  return m_writer.HasFailed() ? 0 : n;
}
