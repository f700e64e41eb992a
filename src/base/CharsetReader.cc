#include "base/CharsetReader.h"

#include "base/Unicode.h"

#include <algorithm>

namespace BSE
{

template <class TOut, class TIn>
bool CBasicFilter<TOut, TIn>::Rewind()
{
  m_input.RemoveAll();
  m_nInputPos = 0;
  m_nPending = m_nPendingPos = 0;
  m_nPos = 0;
  m_bFailed = false;
  return m_pSource && m_pSource->Rewind();
}

template <class TOut, class TIn>
bool CBasicFilter<TOut, TIn>::Skip(std::int64_t n)
{
  TOut scratch[256];
  const bool bAll = n < 0;
  while (bAll || n > 0)
  {
    constexpr auto nScratch = static_cast<std::int64_t>(std::size(scratch));
    const std::int64_t nRead = Read(scratch, bAll ? nScratch : std::min(n, nScratch));
    if (nRead <= 0)
      return bAll && !m_bFailed;
    n -= bAll ? 0 : nRead;
  }
  return true;
}

template <class TOut, class TIn>
bool CBasicFilter<TOut, TIn>::Seek(std::int64_t nPos)
{
  if (nPos < 0 || (nPos < m_nPos && !Rewind()))
    return false;
  return Skip(nPos - m_nPos);
}

template <class TOut, class TIn>
std::int64_t CBasicFilter<TOut, TIn>::Read(TOut* pBuffer, std::int64_t n)
{
  return std::max<std::int64_t>(ReadEx(pBuffer, n), 0);
}

template <class TOut, class TIn>
std::int64_t CBasicFilter<TOut, TIn>::ReadEx(TOut* pBuffer, std::int64_t n)
{
  if (!pBuffer || n < 0 || !m_pSource)
    return -1;
  std::span<TOut> output(pBuffer, static_cast<std::size_t>(n));
  while (!output.empty())
  {
    std::size_t nWritten = 0;
    if (m_nPendingPos < m_nPending)
    {
      nWritten = std::min(output.size(), m_nPending - m_nPendingPos);
      std::copy_n(m_pending + m_nPendingPos, nWritten, output.begin());
      m_nPendingPos += nWritten;
    }
    else if (output.size() < g_nMaxUnits)
    {
      m_nPendingPos = 0;
      if (!ConvertInto(m_pending, m_nPending))
        break;
    }
    else if (!ConvertInto(output, nWritten))
      break;
    output = output.subspan(nWritten);
  }
  const std::int64_t nRead = n - static_cast<std::int64_t>(output.size());
  m_nPos += nRead;
  return nRead == 0 && n > 0 && m_bFailed ? -1 : nRead;
}

template <class TOut, class TIn>
std::int64_t CBasicFilter<TOut, TIn>::Write(const TOut*, std::int64_t)
{
  return RefuseWrite();
}

// Keeps what is unread and appends the next block of the source; false at its end or on failure.
template <class TOut, class TIn>
bool CBasicFilter<TOut, TIn>::FillInput()
{
  const int nKept = m_input.GetSize() - m_nInputPos;
  m_input.Reserve(g_nInputSize);
  std::copy_n(m_input.GetData() + m_nInputPos, nKept, m_input.GetData());
  m_nInputPos = 0;
  m_input.SetSize(g_nInputSize);
  const std::int64_t nRead = m_pSource->ReadEx(m_input.GetData() + nKept, g_nInputSize - nKept);
  m_input.Truncate(nKept + static_cast<int>(std::max<std::int64_t>(nRead, 0)));
  if (nRead < 0)
    Fail(g_nStreamReadFailed);
  return nRead > 0;
}

// Fills the output as far as the present input goes; false once nothing more comes.
template <class TOut, class TIn>
bool CBasicFilter<TOut, TIn>::ConvertInto(std::span<TOut> output, std::size_t& nWritten)
{
  nWritten = 0;
  while (!m_bFailed)
  {
    const std::span<const TIn> input =
        std::span<const TIn>(m_input.GetSpan()).subspan(static_cast<std::size_t>(m_nInputPos));
    TOutcome outcome = TOutcome::NeedsMore;
    if (!input.empty())
    {
      std::size_t nTaken = 0;
      outcome = Convert(input, output, nTaken, nWritten);
      m_nInputPos += static_cast<int>(nTaken);
      if (nWritten > 0)
        return true;
    }
    if (outcome == TOutcome::NeedsMore && FillInput())
      continue;
    if (m_nInputPos < m_input.GetSize() || outcome == TOutcome::Invalid)
      Fail(GetFailureCode());
    return false;
  }
  return false;
}

template <class TOut, class TIn>
void CBasicFilter<TOut, TIn>::Fail(unsigned nCode)
{
  if (m_bFailed)
    return;
  m_bFailed = true;
  ReportError(m_pErrorContext, nCode);
}

template <class T>
auto CUtfDecodeReader<T>::Convert(std::span<const T> input, std::span<wchar_t> output, std::size_t& nTaken,
                                  std::size_t& nWritten) -> TOutcome
{
  while (nTaken < input.size() && nWritten < output.size())
  {
    if (input[nTaken] < 0x80)
    {
      output[nWritten++] = static_cast<wchar_t>(input[nTaken++]);
      continue;
    }
    int nUnits = 0;
    const char32_t nCharacter = DecodeCharacter(input.subspan(nTaken), nUnits);
    if (nCharacter == g_nIncompleteCharacter)
      return TOutcome::NeedsMore;
    if (nCharacter == g_nInvalidCharacter)
      return TOutcome::Invalid;
    output[nWritten++] = static_cast<wchar_t>(nCharacter);
    nTaken += static_cast<std::size_t>(nUnits);
  }
  return nTaken == input.size() ? TOutcome::NeedsMore : TOutcome::Done;
}

template <class T>
auto CUtfEncodeReader<T>::Convert(std::span<const wchar_t> input, std::span<T> output, std::size_t& nTaken,
                                  std::size_t& nWritten) -> TOutcome
{
  while (nTaken < input.size() && output.size() - nWritten >= CBasicFilter<T, wchar_t>::g_nMaxUnits)
  {
    const int nUnits = EncodeCharacter(static_cast<char32_t>(input[nTaken]), output.data() + nWritten);
    if (nUnits == 0)
      return TOutcome::Invalid;
    nWritten += static_cast<std::size_t>(nUnits);
    ++nTaken;
  }
  return nTaken == input.size() ? TOutcome::NeedsMore : TOutcome::Done;
}

template class CBasicFilter<wchar_t, unsigned char>;
template class CBasicFilter<wchar_t, char16_t>;
template class CBasicFilter<unsigned char, wchar_t>;
template class CBasicFilter<char16_t, wchar_t>;
template class CBasicFilter<unsigned char, char16_t>;
template class CBasicFilter<char16_t, unsigned char>;
template class CUtfDecodeReader<unsigned char>;
template class CUtfDecodeReader<char16_t>;
template class CUtfEncodeReader<unsigned char>;
template class CUtfEncodeReader<char16_t>;

}  // namespace BSE
